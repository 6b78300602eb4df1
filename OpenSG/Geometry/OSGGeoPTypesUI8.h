#ifndef _OSGGEOPTYPESUI8_H_
#define _OSGGEOPTYPESUI8_H_

#include <OpenSG/OSGGeoPTypesUI8Base.h>
#include <OpenSG/OSGGeoPropertyImpl.h>

namespace osg {

struct GeoPTypesUI8Desc
{
    typedef MFUInt8 FieldType;
    static constexpr geoprop::Scaling ScalingMode = geoprop::Plain;
    static constexpr BitVector        FieldMask   = GeoPTypesUI8Base::TypesFieldMask;
    static       FieldType &field(      GeoPTypesUI8Base &p) { return *p.editMFTypes(); }
    static const FieldType &field(const GeoPTypesUI8Base &p) { return *p.getMFTypes(); }
};

/*! Primitive types of one byte. */
class GeoPTypesUI8 : public GeoPropertyImpl<GeoPTypesUI8Base, GeoPTypesUI8Desc>
{
  public:
    typedef GeoPropertyImpl<GeoPTypesUI8Base, GeoPTypesUI8Desc> Inherited;

  protected:
    friend class FieldContainer;
    friend class GeoPTypesUI8Base;

    GeoPTypesUI8(void);
    GeoPTypesUI8(const GeoPTypesUI8 &source);
    ~GeoPTypesUI8(void) override;
};

} // namespace osg

#endif
