#ifndef _OSGGEOCOLORS3F_H_
#define _OSGGEOCOLORS3F_H_

#include <OpenSG/OSGGeoColors3fBase.h>
#include <OpenSG/OSGGeoPropertyImpl.h>

namespace osg {

struct GeoColors3fDesc
{
    typedef MFColor3f FieldType;
    static constexpr geoprop::Scaling ScalingMode = geoprop::Plain;
    static constexpr BitVector        FieldMask   = GeoColors3fBase::ColorsFieldMask;
    static       FieldType &field(      GeoColors3fBase &p) { return *p.editMFColors(); }
    static const FieldType &field(const GeoColors3fBase &p) { return *p.getMFColors(); }
};

/*! Colours of three floats. */
class GeoColors3f : public GeoPropertyImpl<GeoColors3fBase, GeoColors3fDesc>
{
  public:
    typedef GeoPropertyImpl<GeoColors3fBase, GeoColors3fDesc> Inherited;

  protected:
    friend class FieldContainer;
    friend class GeoColors3fBase;

    GeoColors3f(void);
    GeoColors3f(const GeoColors3f &source);
    ~GeoColors3f(void) override;
};

} // namespace osg

#endif
