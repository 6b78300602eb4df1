#ifndef _OSGGEOTEXCOORDS4F_H_
#define _OSGGEOTEXCOORDS4F_H_

#include <OpenSG/OSGGeoTexCoords4fBase.h>
#include <OpenSG/OSGGeoPropertyImpl.h>

namespace osg {

struct GeoTexCoords4fDesc
{
    typedef MFVec4f FieldType;
    static constexpr geoprop::Scaling ScalingMode = geoprop::Plain;
    static constexpr BitVector        FieldMask   = GeoTexCoords4fBase::TexCoordsFieldMask;
    static       FieldType &field(      GeoTexCoords4fBase &p) { return *p.editMFTexCoords(); }
    static const FieldType &field(const GeoTexCoords4fBase &p) { return *p.getMFTexCoords(); }
};

/*! Texture coordinates of four floats; read as (s, t), written with r = q = 0. */
class GeoTexCoords4f : public GeoPropertyImpl<GeoTexCoords4fBase, GeoTexCoords4fDesc>
{
  public:
    typedef GeoPropertyImpl<GeoTexCoords4fBase, GeoTexCoords4fDesc> Inherited;

  protected:
    friend class FieldContainer;
    friend class GeoTexCoords4fBase;

    GeoTexCoords4f(void);
    GeoTexCoords4f(const GeoTexCoords4f &source);
    ~GeoTexCoords4f(void) override;
};

} // namespace osg

#endif
