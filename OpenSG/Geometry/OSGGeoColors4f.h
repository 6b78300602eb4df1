#ifndef _OSGGEOCOLORS4F_H_
#define _OSGGEOCOLORS4F_H_

#include <OpenSG/OSGGeoColors4fBase.h>
#include <OpenSG/OSGGeoPropertyImpl.h>

namespace osg {

struct GeoColors4fDesc
{
    typedef MFColor4f FieldType;
    static constexpr geoprop::Scaling ScalingMode = geoprop::Plain;
    static constexpr BitVector        FieldMask   = GeoColors4fBase::ColorsFieldMask;
    static       FieldType &field(      GeoColors4fBase &p) { return *p.editMFColors(); }
    static const FieldType &field(const GeoColors4fBase &p) { return *p.getMFColors(); }
};

/*! Colours of four floats; read without alpha, written with alpha 0. */
class GeoColors4f : public GeoPropertyImpl<GeoColors4fBase, GeoColors4fDesc>
{
  public:
    typedef GeoPropertyImpl<GeoColors4fBase, GeoColors4fDesc> Inherited;

  protected:
    friend class FieldContainer;
    friend class GeoColors4fBase;

    GeoColors4f(void);
    GeoColors4f(const GeoColors4f &source);
    ~GeoColors4f(void) override;
};

} // namespace osg

#endif
