#include <OpenSG/OSGGeoIndicesUI16.h>

namespace osg {

GeoIndicesUI16::GeoIndicesUI16(void) : Inherited()
{
}

GeoIndicesUI16::GeoIndicesUI16(const GeoIndicesUI16 &source) : Inherited(source)
{
}

GeoIndicesUI16::~GeoIndicesUI16(void) = default;

} // namespace osg
