#ifndef _OSGGEOINDICESUI32_H_
#define _OSGGEOINDICESUI32_H_

#include <OpenSG/OSGGeoIndicesUI32Base.h>
#include <OpenSG/OSGGeoPropertyImpl.h>

namespace osg {

struct GeoIndicesUI32Desc
{
    typedef MFUInt32 FieldType;
    static constexpr geoprop::Scaling ScalingMode = geoprop::Plain;
    static constexpr BitVector        FieldMask   = GeoIndicesUI32Base::IndicesFieldMask;
    static       FieldType &field(      GeoIndicesUI32Base &p) { return *p.editMFIndices(); }
    static const FieldType &field(const GeoIndicesUI32Base &p) { return *p.getMFIndices(); }
};

/*! Indices of 32 bits. */
class GeoIndicesUI32 : public GeoPropertyImpl<GeoIndicesUI32Base, GeoIndicesUI32Desc>
{
  public:
    typedef GeoPropertyImpl<GeoIndicesUI32Base, GeoIndicesUI32Desc> Inherited;

  protected:
    friend class FieldContainer;
    friend class GeoIndicesUI32Base;

    GeoIndicesUI32(void);
    GeoIndicesUI32(const GeoIndicesUI32 &source);
    ~GeoIndicesUI32(void) override;
};

} // namespace osg

#endif
