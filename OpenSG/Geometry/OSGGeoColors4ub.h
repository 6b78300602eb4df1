#ifndef _OSGGEOCOLORS4UB_H_
#define _OSGGEOCOLORS4UB_H_

#include <OpenSG/OSGGeoColors4ubBase.h>
#include <OpenSG/OSGGeoPropertyImpl.h>

namespace osg {

struct GeoColors4ubDesc
{
    typedef MFColor4ub FieldType;
    static constexpr geoprop::Scaling ScalingMode = geoprop::UnsignedUnit;
    static constexpr BitVector        FieldMask   = GeoColors4ubBase::ColorsFieldMask;
    static       FieldType &field(      GeoColors4ubBase &p) { return *p.editMFColors(); }
    static const FieldType &field(const GeoColors4ubBase &p) { return *p.getMFColors(); }
};

/*! Colours of four bytes: c reads as c / 255 without alpha, f is stored as trunc(255 f),
    saturated, with alpha 0. */
class GeoColors4ub : public GeoPropertyImpl<GeoColors4ubBase, GeoColors4ubDesc>
{
  public:
    typedef GeoPropertyImpl<GeoColors4ubBase, GeoColors4ubDesc> Inherited;

  protected:
    friend class FieldContainer;
    friend class GeoColors4ubBase;

    GeoColors4ub(void);
    GeoColors4ub(const GeoColors4ub &source);
    ~GeoColors4ub(void) override;
};

} // namespace osg

#endif
