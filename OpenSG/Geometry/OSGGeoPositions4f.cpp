#include <OpenSG/OSGGeoPositions4f.h>

namespace osg {

GeoPositions4f::GeoPositions4f(void) : Inherited()
{
}

GeoPositions4f::GeoPositions4f(const GeoPositions4f &source) : Inherited(source)
{
}

GeoPositions4f::~GeoPositions4f(void) = default;

} // namespace osg
