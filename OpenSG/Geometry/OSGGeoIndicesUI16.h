#ifndef _OSGGEOINDICESUI16_H_
#define _OSGGEOINDICESUI16_H_

#include <OpenSG/OSGGeoIndicesUI16Base.h>
#include <OpenSG/OSGGeoPropertyImpl.h>

namespace osg {

struct GeoIndicesUI16Desc
{
    typedef MFUInt16 FieldType;
    static constexpr geoprop::Scaling ScalingMode = geoprop::Plain;
    static constexpr BitVector        FieldMask   = GeoIndicesUI16Base::IndicesFieldMask;
    static       FieldType &field(      GeoIndicesUI16Base &p) { return *p.editMFIndices(); }
    static const FieldType &field(const GeoIndicesUI16Base &p) { return *p.getMFIndices(); }
};

/*! Indices of 16 bits; larger values are reported and saturate. */
class GeoIndicesUI16 : public GeoPropertyImpl<GeoIndicesUI16Base, GeoIndicesUI16Desc>
{
  public:
    typedef GeoPropertyImpl<GeoIndicesUI16Base, GeoIndicesUI16Desc> Inherited;

  protected:
    friend class FieldContainer;
    friend class GeoIndicesUI16Base;

    GeoIndicesUI16(void);
    GeoIndicesUI16(const GeoIndicesUI16 &source);
    ~GeoIndicesUI16(void) override;
};

} // namespace osg

#endif
