#include <OpenSG/OSGGeoColors.h>

namespace osg {

GeoColors::GeoColors(void) : Inherited(), GeoPropertyInterface<Color3f>()
{
}

GeoColors::GeoColors(const GeoColors &source) :
    Inherited(source), GeoPropertyInterface<Color3f>(source)
{
}

GeoColors::~GeoColors(void) = default;

void GeoColors::changed(BitVector whichField, UInt32 origin)
{
    Inherited::changed(whichField, origin);
    notifyGeometries(this, whichField);
}

} // namespace osg
