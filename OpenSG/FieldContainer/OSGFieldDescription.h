#ifndef _OSGFIELDDESCRIPTION_H_
#define _OSGFIELDDESCRIPTION_H_

#include <OpenSG/OSGBaseTypes.h>
#include <OpenSG/OSGBitVector.h>
#include <OpenSG/OSGTypeBase.h>
#include <OpenSG/OSGFieldType.h>

#include <string>

namespace osg {

class Field;
class FieldContainer;

/*! Describes one field of a container type: name, field type, id, mask, and the accessor that
    gives generic access to the field of an instance. */
class FieldDescription
{
  public:
    /*! Generic access to a field of a container; generated per field from its edit accessor. */
    typedef Field *(*FieldAccessMethod)(FieldContainer *);

    FieldDescription(const TypeBase   &fieldType,
                     const Char8      *name,
                     UInt32            fieldId,
                     BitVector         fieldMask,
                     bool              internal,
                     FieldAccessMethod accessMethod,
                     const Char8      *defaultValue = NULL);
    FieldDescription(const FieldDescription &source);
    ~FieldDescription();

    FieldDescription &operator=(const FieldDescription &) = delete;

    const Char8       *getCName       (void) const { return _name.c_str();   }
    const std::string &getName        (void) const { return _name;           }
    UInt32             getTypeId      (void) const { return _fieldType.getId(); }
    const TypeBase    &getFieldType   (void) const { return _fieldType;      }
    BitVector          getFieldMask   (void) const { return _fieldMask;      }
    UInt32             getFieldId     (void) const { return _fieldId;        }
    bool               isInternal     (void) const { return _internal;       }
    bool               isValid        (void) const { return !_name.empty();  }
    const Char8       *getDefaultValue(void) const
    {
        return _defaultValue.empty() ? NULL : _defaultValue.c_str();
    }
    FieldAccessMethod  getAccessMethod(void) const { return _accessMethod;   }

    void setFieldId  (UInt32 fieldId)      { _fieldId   = fieldId;   }
    void setFieldMask(const BitVector &m)  { _fieldMask = m;         }

    /*! The described field of a container, or NULL without an accessor or container. */
    Field *getField(FieldContainer *container) const;

  private:
    std::string       _name;
    const TypeBase   &_fieldType;
    UInt32            _fieldId;
    BitVector         _fieldMask;
    bool              _internal;
    FieldAccessMethod _accessMethod;
    std::string       _defaultValue;
};

} // namespace osg

#endif
