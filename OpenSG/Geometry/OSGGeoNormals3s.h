#ifndef _OSGGEONORMALS3S_H_
#define _OSGGEONORMALS3S_H_

#include <OpenSG/OSGGeoNormals3sBase.h>
#include <OpenSG/OSGGeoPropertyImpl.h>

namespace osg {

struct GeoNormals3sDesc
{
    typedef MFVec3s FieldType;
    static constexpr geoprop::Scaling ScalingMode = geoprop::SignedUnit;
    static constexpr BitVector        FieldMask   = GeoNormals3sBase::NormalsFieldMask;
    static       FieldType &field(      GeoNormals3sBase &p) { return *p.editMFNormals(); }
    static const FieldType &field(const GeoNormals3sBase &p) { return *p.getMFNormals(); }
};

/*! Normals of three signed shorts: s reads as (2s + 1) / 65535, f is stored as trunc((65535 f -
    1) / 2), saturated. */
class GeoNormals3s : public GeoPropertyImpl<GeoNormals3sBase, GeoNormals3sDesc>
{
  public:
    typedef GeoPropertyImpl<GeoNormals3sBase, GeoNormals3sDesc> Inherited;

  protected:
    friend class FieldContainer;
    friend class GeoNormals3sBase;

    GeoNormals3s(void);
    GeoNormals3s(const GeoNormals3s &source);
    ~GeoNormals3s(void) override;
};

} // namespace osg

#endif
