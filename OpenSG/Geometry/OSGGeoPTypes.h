#ifndef _OSGGEOPTYPES_H_
#define _OSGGEOPTYPES_H_

#include <OpenSG/OSGGeoPTypesBase.h>
#include <OpenSG/OSGGeoPropertyInterface.h>

namespace osg {

/*! Primitive types of geometries (GL_TRIANGLES, GL_TRIANGLE_STRIP, ...); generic type UInt8.
    The geometries using a property are its parents (not referenced; each geometry holds one
    reference per slot it occupies). */
class GeoPTypes : public GeoPTypesBase, public GeoPropertyInterface<UInt8>
{
  public:
    typedef GeoPTypesBase Inherited;

    /*! A new property of the same concrete type and values, without parents. */
    virtual GeoPTypesPtr clone(void) = 0;

    /*! A change of the data tells every geometry using the property which of its slots
        changed (origin ChangedOrigin::Child). */
    void changed(BitVector whichField, UInt32 origin) override;

  protected:
    friend class FieldContainer;
    friend class GeoPTypesBase;

    GeoPTypes(void);
    GeoPTypes(const GeoPTypes &source);
    ~GeoPTypes(void) override;
};

} // namespace osg

#endif
