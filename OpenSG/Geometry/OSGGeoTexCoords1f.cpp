#include <OpenSG/OSGGeoTexCoords1f.h>

namespace osg {

GeoTexCoords1f::GeoTexCoords1f(void) : Inherited()
{
}

GeoTexCoords1f::GeoTexCoords1f(const GeoTexCoords1f &source) : Inherited(source)
{
}

GeoTexCoords1f::~GeoTexCoords1f(void) = default;

} // namespace osg
