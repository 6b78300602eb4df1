#include <OpenSG/OSGGeoTexCoords2f.h>

namespace osg {

GeoTexCoords2f::GeoTexCoords2f(void) : Inherited()
{
}

GeoTexCoords2f::GeoTexCoords2f(const GeoTexCoords2f &source) : Inherited(source)
{
}

GeoTexCoords2f::~GeoTexCoords2f(void) = default;

} // namespace osg
