#ifndef _OSGFIELDTYPE_H_
#define _OSGFIELDTYPE_H_

#include <OpenSG/OSGTypeBase.h>

namespace osg {

class Field;

/*! The type of a field: "SFReal32", "MFNodePtr", ... with its content data type. */
class FieldType : public DataType
{
  public:
    enum Cardinality { SINGLE_FIELD, MULTI_FIELD };

    typedef Field *(*CreateFieldMethod)(void);

    FieldType(const Char8 *name, const Char8 *parentName, const DataType &contentType,
              CreateFieldMethod createMethod, Cardinality cardinality);
    ~FieldType() override;

    const DataType   &getContentType(void) const { return _contentType; }
    Cardinality       getCardinality(void) const { return _cardinality; }
    CreateFieldMethod getCreateMethod(void) const { return _createMethod; }

  private:
    const DataType   &_contentType;
    CreateFieldMethod _createMethod;
    Cardinality       _cardinality;
};

} // namespace osg

#endif
