#ifndef _OSGGEONORMALS3B_H_
#define _OSGGEONORMALS3B_H_

#include <OpenSG/OSGGeoNormals3bBase.h>
#include <OpenSG/OSGGeoPropertyImpl.h>

namespace osg {

struct GeoNormals3bDesc
{
    typedef MFVec3b FieldType;
    static constexpr geoprop::Scaling ScalingMode = geoprop::SignedUnit;
    static constexpr BitVector        FieldMask   = GeoNormals3bBase::NormalsFieldMask;
    static       FieldType &field(      GeoNormals3bBase &p) { return *p.editMFNormals(); }
    static const FieldType &field(const GeoNormals3bBase &p) { return *p.getMFNormals(); }
};

/*! Normals of three signed bytes: b reads as (2b + 1) / 255, f is stored as trunc((255 f - 1) /
    2), saturated. */
class GeoNormals3b : public GeoPropertyImpl<GeoNormals3bBase, GeoNormals3bDesc>
{
  public:
    typedef GeoPropertyImpl<GeoNormals3bBase, GeoNormals3bDesc> Inherited;

  protected:
    friend class FieldContainer;
    friend class GeoNormals3bBase;

    GeoNormals3b(void);
    GeoNormals3b(const GeoNormals3b &source);
    ~GeoNormals3b(void) override;
};

} // namespace osg

#endif
