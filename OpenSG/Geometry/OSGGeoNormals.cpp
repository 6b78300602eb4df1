#include <OpenSG/OSGGeoNormals.h>

namespace osg {

GeoNormals::GeoNormals(void) : Inherited(), GeoPropertyInterface<Vec3f>()
{
}

GeoNormals::GeoNormals(const GeoNormals &source) :
    Inherited(source), GeoPropertyInterface<Vec3f>(source)
{
}

GeoNormals::~GeoNormals(void) = default;

void GeoNormals::changed(BitVector whichField, UInt32 origin)
{
    Inherited::changed(whichField, origin);
    notifyGeometries(this, whichField);
}

} // namespace osg
