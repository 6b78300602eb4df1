#include <OpenSG/OSGGeoPTypes.h>

namespace osg {

GeoPTypes::GeoPTypes(void) : Inherited(), GeoPropertyInterface<UInt8>()
{
}

GeoPTypes::GeoPTypes(const GeoPTypes &source) :
    Inherited(source), GeoPropertyInterface<UInt8>(source)
{
}

GeoPTypes::~GeoPTypes(void) = default;

void GeoPTypes::changed(BitVector whichField, UInt32 origin)
{
    Inherited::changed(whichField, origin);
    notifyGeometries(this, whichField);
}

} // namespace osg
