#include <OpenSG/OSGGeoPropertyImpl.h>

namespace osg {
namespace geoprop {

void warnIndex(const Char8 *typeName, const Char8 *operation, UInt32 index, UInt32 size)
{
    SWARNING << typeName << "::" << operation << ": index " << index << " is beyond the "
             << size << " values; ignored" << std::endl;
}

void warnRange(const Char8 *typeName, const Char8 *operation)
{
    SWARNING << typeName << "::" << operation
             << ": the value does not fit the stored type; saturated" << std::endl;
}

} // namespace geoprop
} // namespace osg
