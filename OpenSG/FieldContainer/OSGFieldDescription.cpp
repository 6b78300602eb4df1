#include <OpenSG/OSGFieldDescription.h>

namespace osg {

FieldDescription::FieldDescription(const TypeBase   &fieldType,
                                   const Char8      *name,
                                   UInt32            fieldId,
                                   BitVector         fieldMask,
                                   bool              internal,
                                   FieldAccessMethod accessMethod,
                                   const Char8      *defaultValue) :
    _name        (name != NULL ? name : ""),
    _fieldType   (fieldType),
    _fieldId     (fieldId),
    _fieldMask   (fieldMask),
    _internal    (internal),
    _accessMethod(accessMethod),
    _defaultValue(defaultValue != NULL ? defaultValue : "")
{
}

FieldDescription::FieldDescription(const FieldDescription &source) = default;

FieldDescription::~FieldDescription() = default;

Field *FieldDescription::getField(FieldContainer *container) const
{
    if(container == NULL || _accessMethod == NULL)
        return NULL;
    return _accessMethod(container);
}

} // namespace osg
