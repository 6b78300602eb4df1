#include <OpenSG/OSGGeoNormals3f.h>

namespace osg {

GeoNormals3f::GeoNormals3f(void) : Inherited()
{
}

GeoNormals3f::GeoNormals3f(const GeoNormals3f &source) : Inherited(source)
{
}

GeoNormals3f::~GeoNormals3f(void) = default;

} // namespace osg
