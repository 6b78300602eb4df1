#ifndef _OSGGEOTEXCOORDS3F_H_
#define _OSGGEOTEXCOORDS3F_H_

#include <OpenSG/OSGGeoTexCoords3fBase.h>
#include <OpenSG/OSGGeoPropertyImpl.h>

namespace osg {

struct GeoTexCoords3fDesc
{
    typedef MFVec3f FieldType;
    static constexpr geoprop::Scaling ScalingMode = geoprop::Plain;
    static constexpr BitVector        FieldMask   = GeoTexCoords3fBase::TexCoordsFieldMask;
    static       FieldType &field(      GeoTexCoords3fBase &p) { return *p.editMFTexCoords(); }
    static const FieldType &field(const GeoTexCoords3fBase &p) { return *p.getMFTexCoords(); }
};

/*! Texture coordinates of three floats; read as (s, t), written with r = 0. */
class GeoTexCoords3f : public GeoPropertyImpl<GeoTexCoords3fBase, GeoTexCoords3fDesc>
{
  public:
    typedef GeoPropertyImpl<GeoTexCoords3fBase, GeoTexCoords3fDesc> Inherited;

  protected:
    friend class FieldContainer;
    friend class GeoTexCoords3fBase;

    GeoTexCoords3f(void);
    GeoTexCoords3f(const GeoTexCoords3f &source);
    ~GeoTexCoords3f(void) override;
};

} // namespace osg

#endif
