#ifndef _OSGGEOTEXCOORDS2F_H_
#define _OSGGEOTEXCOORDS2F_H_

#include <OpenSG/OSGGeoTexCoords2fBase.h>
#include <OpenSG/OSGGeoPropertyImpl.h>

namespace osg {

struct GeoTexCoords2fDesc
{
    typedef MFVec2f FieldType;
    static constexpr geoprop::Scaling ScalingMode = geoprop::Plain;
    static constexpr BitVector        FieldMask   = GeoTexCoords2fBase::TexCoordsFieldMask;
    static       FieldType &field(      GeoTexCoords2fBase &p) { return *p.editMFTexCoords(); }
    static const FieldType &field(const GeoTexCoords2fBase &p) { return *p.getMFTexCoords(); }
};

/*! Texture coordinates of two floats. */
class GeoTexCoords2f : public GeoPropertyImpl<GeoTexCoords2fBase, GeoTexCoords2fDesc>
{
  public:
    typedef GeoPropertyImpl<GeoTexCoords2fBase, GeoTexCoords2fDesc> Inherited;

  protected:
    friend class FieldContainer;
    friend class GeoTexCoords2fBase;

    GeoTexCoords2f(void);
    GeoTexCoords2f(const GeoTexCoords2f &source);
    ~GeoTexCoords2f(void) override;
};

} // namespace osg

#endif
