#include <OpenSG/OSGGeoPositions2f.h>

namespace osg {

GeoPositions2f::GeoPositions2f(void) : Inherited()
{
}

GeoPositions2f::GeoPositions2f(const GeoPositions2f &source) : Inherited(source)
{
}

GeoPositions2f::~GeoPositions2f(void) = default;

} // namespace osg
