#ifndef _OSGGEOTEXCOORDS1F_H_
#define _OSGGEOTEXCOORDS1F_H_

#include <OpenSG/OSGGeoTexCoords1fBase.h>
#include <OpenSG/OSGGeoPropertyImpl.h>

namespace osg {

struct GeoTexCoords1fDesc
{
    typedef MFReal32 FieldType;
    static constexpr geoprop::Scaling ScalingMode = geoprop::Plain;
    static constexpr BitVector        FieldMask   = GeoTexCoords1fBase::TexCoordsFieldMask;
    static       FieldType &field(      GeoTexCoords1fBase &p) { return *p.editMFTexCoords(); }
    static const FieldType &field(const GeoTexCoords1fBase &p) { return *p.getMFTexCoords(); }
};

/*! Texture coordinates of one float; read as (s, 0). */
class GeoTexCoords1f : public GeoPropertyImpl<GeoTexCoords1fBase, GeoTexCoords1fDesc>
{
  public:
    typedef GeoPropertyImpl<GeoTexCoords1fBase, GeoTexCoords1fDesc> Inherited;

  protected:
    friend class FieldContainer;
    friend class GeoTexCoords1fBase;

    GeoTexCoords1f(void);
    GeoTexCoords1f(const GeoTexCoords1f &source);
    ~GeoTexCoords1f(void) override;
};

} // namespace osg

#endif
