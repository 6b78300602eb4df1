#include <OpenSG/OSGGeoPositions.h>

namespace osg {

GeoPositions::GeoPositions(void) : Inherited(), GeoPropertyInterface<Pnt3f>()
{
}

GeoPositions::GeoPositions(const GeoPositions &source) :
    Inherited(source), GeoPropertyInterface<Pnt3f>(source)
{
}

GeoPositions::~GeoPositions(void) = default;

void GeoPositions::changed(BitVector whichField, UInt32 origin)
{
    Inherited::changed(whichField, origin);
    notifyGeometries(this, whichField);
}

} // namespace osg
