#include <OpenSG/OSGGeoIndicesUI32.h>

namespace osg {

GeoIndicesUI32::GeoIndicesUI32(void) : Inherited()
{
}

GeoIndicesUI32::GeoIndicesUI32(const GeoIndicesUI32 &source) : Inherited(source)
{
}

GeoIndicesUI32::~GeoIndicesUI32(void) = default;

} // namespace osg
