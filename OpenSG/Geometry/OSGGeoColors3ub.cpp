#include <OpenSG/OSGGeoColors3ub.h>

namespace osg {

GeoColors3ub::GeoColors3ub(void) : Inherited()
{
}

GeoColors3ub::GeoColors3ub(const GeoColors3ub &source) : Inherited(source)
{
}

GeoColors3ub::~GeoColors3ub(void) = default;

} // namespace osg
