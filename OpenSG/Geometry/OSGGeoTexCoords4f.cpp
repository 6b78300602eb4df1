#include <OpenSG/OSGGeoTexCoords4f.h>

namespace osg {

GeoTexCoords4f::GeoTexCoords4f(void) : Inherited()
{
}

GeoTexCoords4f::GeoTexCoords4f(const GeoTexCoords4f &source) : Inherited(source)
{
}

GeoTexCoords4f::~GeoTexCoords4f(void) = default;

} // namespace osg
