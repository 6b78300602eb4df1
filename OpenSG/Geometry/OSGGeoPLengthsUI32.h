#ifndef _OSGGEOPLENGTHSUI32_H_
#define _OSGGEOPLENGTHSUI32_H_

#include <OpenSG/OSGGeoPLengthsUI32Base.h>
#include <OpenSG/OSGGeoPropertyImpl.h>

namespace osg {

struct GeoPLengthsUI32Desc
{
    typedef MFUInt32 FieldType;
    static constexpr geoprop::Scaling ScalingMode = geoprop::Plain;
    static constexpr BitVector        FieldMask   = GeoPLengthsUI32Base::LengthsFieldMask;
    static       FieldType &field(      GeoPLengthsUI32Base &p) { return *p.editMFLengths(); }
    static const FieldType &field(const GeoPLengthsUI32Base &p) { return *p.getMFLengths(); }
};

/*! Primitive lengths of 32 bits. */
class GeoPLengthsUI32 : public GeoPropertyImpl<GeoPLengthsUI32Base, GeoPLengthsUI32Desc>
{
  public:
    typedef GeoPropertyImpl<GeoPLengthsUI32Base, GeoPLengthsUI32Desc> Inherited;

  protected:
    friend class FieldContainer;
    friend class GeoPLengthsUI32Base;

    GeoPLengthsUI32(void);
    GeoPLengthsUI32(const GeoPLengthsUI32 &source);
    ~GeoPLengthsUI32(void) override;
};

} // namespace osg

#endif
