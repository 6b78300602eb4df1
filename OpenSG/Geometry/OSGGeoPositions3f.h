#ifndef _OSGGEOPOSITIONS3F_H_
#define _OSGGEOPOSITIONS3F_H_

#include <OpenSG/OSGGeoPositions3fBase.h>
#include <OpenSG/OSGGeoPropertyImpl.h>

namespace osg {

struct GeoPositions3fDesc
{
    typedef MFPnt3f FieldType;
    static constexpr geoprop::Scaling ScalingMode = geoprop::Plain;
    static constexpr BitVector        FieldMask   = GeoPositions3fBase::PositionsFieldMask;
    static       FieldType &field(      GeoPositions3fBase &p) { return *p.editMFPositions(); }
    static const FieldType &field(const GeoPositions3fBase &p) { return *p.getMFPositions(); }
};

/*! Positions of three floats. */
class GeoPositions3f : public GeoPropertyImpl<GeoPositions3fBase, GeoPositions3fDesc>
{
  public:
    typedef GeoPropertyImpl<GeoPositions3fBase, GeoPositions3fDesc> Inherited;

  protected:
    friend class FieldContainer;
    friend class GeoPositions3fBase;

    GeoPositions3f(void);
    GeoPositions3f(const GeoPositions3f &source);
    ~GeoPositions3f(void) override;
};

} // namespace osg

#endif
