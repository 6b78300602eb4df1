#include <OpenSG/OSGGeoColors4ub.h>

namespace osg {

GeoColors4ub::GeoColors4ub(void) : Inherited()
{
}

GeoColors4ub::GeoColors4ub(const GeoColors4ub &source) : Inherited(source)
{
}

GeoColors4ub::~GeoColors4ub(void) = default;

} // namespace osg
