#ifndef _OSGGEONORMALS3F_H_
#define _OSGGEONORMALS3F_H_

#include <OpenSG/OSGGeoNormals3fBase.h>
#include <OpenSG/OSGGeoPropertyImpl.h>

namespace osg {

struct GeoNormals3fDesc
{
    typedef MFVec3f FieldType;
    static constexpr geoprop::Scaling ScalingMode = geoprop::Plain;
    static constexpr BitVector        FieldMask   = GeoNormals3fBase::NormalsFieldMask;
    static       FieldType &field(      GeoNormals3fBase &p) { return *p.editMFNormals(); }
    static const FieldType &field(const GeoNormals3fBase &p) { return *p.getMFNormals(); }
};

/*! Normals of three floats. */
class GeoNormals3f : public GeoPropertyImpl<GeoNormals3fBase, GeoNormals3fDesc>
{
  public:
    typedef GeoPropertyImpl<GeoNormals3fBase, GeoNormals3fDesc> Inherited;

  protected:
    friend class FieldContainer;
    friend class GeoNormals3fBase;

    GeoNormals3f(void);
    GeoNormals3f(const GeoNormals3f &source);
    ~GeoNormals3f(void) override;
};

} // namespace osg

#endif
