#include <OpenSG/OSGGeoColors4f.h>

namespace osg {

GeoColors4f::GeoColors4f(void) : Inherited()
{
}

GeoColors4f::GeoColors4f(const GeoColors4f &source) : Inherited(source)
{
}

GeoColors4f::~GeoColors4f(void) = default;

} // namespace osg
