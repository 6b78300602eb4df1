#ifndef _OSGGEOPOSITIONS4F_H_
#define _OSGGEOPOSITIONS4F_H_

#include <OpenSG/OSGGeoPositions4fBase.h>
#include <OpenSG/OSGGeoPropertyImpl.h>

namespace osg {

struct GeoPositions4fDesc
{
    typedef MFPnt4f FieldType;
    static constexpr geoprop::Scaling ScalingMode = geoprop::Plain;
    static constexpr BitVector        FieldMask   = GeoPositions4fBase::PositionsFieldMask;
    static       FieldType &field(      GeoPositions4fBase &p) { return *p.editMFPositions(); }
    static const FieldType &field(const GeoPositions4fBase &p) { return *p.getMFPositions(); }
};

/*! Positions of four floats; read without w, written with w = 0. */
class GeoPositions4f : public GeoPropertyImpl<GeoPositions4fBase, GeoPositions4fDesc>
{
  public:
    typedef GeoPropertyImpl<GeoPositions4fBase, GeoPositions4fDesc> Inherited;

  protected:
    friend class FieldContainer;
    friend class GeoPositions4fBase;

    GeoPositions4f(void);
    GeoPositions4f(const GeoPositions4f &source);
    ~GeoPositions4f(void) override;
};

} // namespace osg

#endif
