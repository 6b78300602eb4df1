#include <OpenSG/OSGGeoNormals3b.h>

namespace osg {

GeoNormals3b::GeoNormals3b(void) : Inherited()
{
}

GeoNormals3b::GeoNormals3b(const GeoNormals3b &source) : Inherited(source)
{
}

GeoNormals3b::~GeoNormals3b(void) = default;

} // namespace osg
