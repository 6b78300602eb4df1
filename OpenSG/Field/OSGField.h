#ifndef _OSGFIELD_H_
#define _OSGFIELD_H_

#include <OpenSG/OSGFieldType.h>

#include <string>

namespace osg {

class BinaryDataHandler;

/*! Generic interface of every single- and multi-value field. */
class Field
{
  public:
    virtual ~Field() = default;

    virtual const FieldType &getType(void) const = 0;

    const DataType         &getContentType(void) const { return getType().getContentType(); }
    FieldType::Cardinality  getCardinality(void) const { return getType().getCardinality(); }

    /*! Number of values: 1 for a single field, the element count for a multi field. */
    virtual UInt32 getSize(void) const = 0;
    virtual bool   isEmpty(void) const = 0;

    /*! Appends the field's value in text form ("1, 2, 3"; multi fields bracketed). */
    virtual void getValueByStr(std::string &out) const = 0;
    std::string  getValueByStr(void) const { std::string s; getValueByStr(s); return s; }

    /*! Copies the value of a field of the same type; false (nothing changed) otherwise. */
    virtual bool setAbstrValue(const Field &other) = 0;

    virtual UInt32 getBinSize (void) const = 0;
    virtual void   copyToBin  (BinaryDataHandler &pMem) const = 0;
    virtual void   copyFromBin(BinaryDataHandler &pMem) = 0;

  protected:
    Field() = default;
    Field(const Field &) = default;
    Field &operator=(const Field &) = default;
};

} // namespace osg

#endif
