#ifndef _OSGGEOPOSITIONS2F_H_
#define _OSGGEOPOSITIONS2F_H_

#include <OpenSG/OSGGeoPositions2fBase.h>
#include <OpenSG/OSGGeoPropertyImpl.h>

namespace osg {

struct GeoPositions2fDesc
{
    typedef MFPnt2f FieldType;
    static constexpr geoprop::Scaling ScalingMode = geoprop::Plain;
    static constexpr BitVector        FieldMask   = GeoPositions2fBase::PositionsFieldMask;
    static       FieldType &field(      GeoPositions2fBase &p) { return *p.editMFPositions(); }
    static const FieldType &field(const GeoPositions2fBase &p) { return *p.getMFPositions(); }
};

/*! Positions of two floats; read with z = 0. */
class GeoPositions2f : public GeoPropertyImpl<GeoPositions2fBase, GeoPositions2fDesc>
{
  public:
    typedef GeoPropertyImpl<GeoPositions2fBase, GeoPositions2fDesc> Inherited;

  protected:
    friend class FieldContainer;
    friend class GeoPositions2fBase;

    GeoPositions2f(void);
    GeoPositions2f(const GeoPositions2f &source);
    ~GeoPositions2f(void) override;
};

} // namespace osg

#endif
