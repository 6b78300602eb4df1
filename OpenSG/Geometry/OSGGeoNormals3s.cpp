#include <OpenSG/OSGGeoNormals3s.h>

namespace osg {

GeoNormals3s::GeoNormals3s(void) : Inherited()
{
}

GeoNormals3s::GeoNormals3s(const GeoNormals3s &source) : Inherited(source)
{
}

GeoNormals3s::~GeoNormals3s(void) = default;

} // namespace osg
