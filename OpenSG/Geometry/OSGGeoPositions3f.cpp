#include <OpenSG/OSGGeoPositions3f.h>

namespace osg {

GeoPositions3f::GeoPositions3f(void) : Inherited()
{
}

GeoPositions3f::GeoPositions3f(const GeoPositions3f &source) : Inherited(source)
{
}

GeoPositions3f::~GeoPositions3f(void) = default;

} // namespace osg
