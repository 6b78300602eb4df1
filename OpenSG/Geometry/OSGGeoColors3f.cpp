#include <OpenSG/OSGGeoColors3f.h>

namespace osg {

GeoColors3f::GeoColors3f(void) : Inherited()
{
}

GeoColors3f::GeoColors3f(const GeoColors3f &source) : Inherited(source)
{
}

GeoColors3f::~GeoColors3f(void) = default;

} // namespace osg
