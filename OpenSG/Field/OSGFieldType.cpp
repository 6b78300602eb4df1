#include <OpenSG/OSGFieldType.h>

namespace osg {

FieldType::FieldType(const Char8 *name, const Char8 *parentName, const DataType &contentType,
                     CreateFieldMethod createMethod, Cardinality cardinality) :
    DataType(name, parentName),
    _contentType(contentType),
    _createMethod(createMethod),
    _cardinality(cardinality)
{
}

FieldType::~FieldType() = default;

} // namespace osg
