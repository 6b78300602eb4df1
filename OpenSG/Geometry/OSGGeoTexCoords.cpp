#include <OpenSG/OSGGeoTexCoords.h>

namespace osg {

GeoTexCoords::GeoTexCoords(void) : Inherited(), GeoPropertyInterface<Vec2f>()
{
}

GeoTexCoords::GeoTexCoords(const GeoTexCoords &source) :
    Inherited(source), GeoPropertyInterface<Vec2f>(source)
{
}

GeoTexCoords::~GeoTexCoords(void) = default;

void GeoTexCoords::changed(BitVector whichField, UInt32 origin)
{
    Inherited::changed(whichField, origin);
    notifyGeometries(this, whichField);
}

} // namespace osg
