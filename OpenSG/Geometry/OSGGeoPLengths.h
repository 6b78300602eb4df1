#ifndef _OSGGEOPLENGTHS_H_
#define _OSGGEOPLENGTHS_H_

#include <OpenSG/OSGGeoPLengthsBase.h>
#include <OpenSG/OSGGeoPropertyInterface.h>

namespace osg {

/*! Primitive lengths of geometries, in vertices; generic type UInt32. The geometries using a
    property are its parents (not referenced; each geometry holds one reference per slot it
    occupies). */
class GeoPLengths : public GeoPLengthsBase, public GeoPropertyInterface<UInt32>
{
  public:
    typedef GeoPLengthsBase Inherited;

    /*! A new property of the same concrete type and values, without parents. */
    virtual GeoPLengthsPtr clone(void) = 0;

    /*! A change of the data tells every geometry using the property which of its slots
        changed (origin ChangedOrigin::Child). */
    void changed(BitVector whichField, UInt32 origin) override;

  protected:
    friend class FieldContainer;
    friend class GeoPLengthsBase;

    GeoPLengths(void);
    GeoPLengths(const GeoPLengths &source);
    ~GeoPLengths(void) override;
};

} // namespace osg

#endif
