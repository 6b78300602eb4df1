#include <OpenSG/OSGGeoIndices.h>

namespace osg {

GeoIndices::GeoIndices(void) : Inherited(), GeoPropertyInterface<UInt32>()
{
}

GeoIndices::GeoIndices(const GeoIndices &source) :
    Inherited(source), GeoPropertyInterface<UInt32>(source)
{
}

GeoIndices::~GeoIndices(void) = default;

void GeoIndices::changed(BitVector whichField, UInt32 origin)
{
    Inherited::changed(whichField, origin);
    notifyGeometries(this, whichField);
}

} // namespace osg
