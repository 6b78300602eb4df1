#include <OpenSG/OSGGeoTexCoords3f.h>

namespace osg {

GeoTexCoords3f::GeoTexCoords3f(void) : Inherited()
{
}

GeoTexCoords3f::GeoTexCoords3f(const GeoTexCoords3f &source) : Inherited(source)
{
}

GeoTexCoords3f::~GeoTexCoords3f(void) = default;

} // namespace osg
