#include <OpenSG/OSGGeoPLengths.h>

namespace osg {

GeoPLengths::GeoPLengths(void) : Inherited(), GeoPropertyInterface<UInt32>()
{
}

GeoPLengths::GeoPLengths(const GeoPLengths &source) :
    Inherited(source), GeoPropertyInterface<UInt32>(source)
{
}

GeoPLengths::~GeoPLengths(void) = default;

void GeoPLengths::changed(BitVector whichField, UInt32 origin)
{
    Inherited::changed(whichField, origin);
    notifyGeometries(this, whichField);
}

} // namespace osg
