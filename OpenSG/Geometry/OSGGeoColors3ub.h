#ifndef _OSGGEOCOLORS3UB_H_
#define _OSGGEOCOLORS3UB_H_

#include <OpenSG/OSGGeoColors3ubBase.h>
#include <OpenSG/OSGGeoPropertyImpl.h>

namespace osg {

struct GeoColors3ubDesc
{
    typedef MFColor3ub FieldType;
    static constexpr geoprop::Scaling ScalingMode = geoprop::UnsignedUnit;
    static constexpr BitVector        FieldMask   = GeoColors3ubBase::ColorsFieldMask;
    static       FieldType &field(      GeoColors3ubBase &p) { return *p.editMFColors(); }
    static const FieldType &field(const GeoColors3ubBase &p) { return *p.getMFColors(); }
};

/*! Colours of three bytes: c reads as c / 255, f is stored as trunc(255 f), saturated. */
class GeoColors3ub : public GeoPropertyImpl<GeoColors3ubBase, GeoColors3ubDesc>
{
  public:
    typedef GeoPropertyImpl<GeoColors3ubBase, GeoColors3ubDesc> Inherited;

  protected:
    friend class FieldContainer;
    friend class GeoColors3ubBase;

    GeoColors3ub(void);
    GeoColors3ub(const GeoColors3ub &source);
    ~GeoColors3ub(void) override;
};

} // namespace osg

#endif
