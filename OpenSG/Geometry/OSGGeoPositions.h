#ifndef _OSGGEOPOSITIONS_H_
#define _OSGGEOPOSITIONS_H_

#include <OpenSG/OSGGeoPositionsBase.h>
#include <OpenSG/OSGGeoPropertyInterface.h>
#include <OpenSG/OSGVector.h>

namespace osg {

/*! Vertex positions of geometries; generic type Pnt3f. The geometries using a property are its
    parents (not referenced; each geometry holds one reference per slot it occupies). */
class GeoPositions : public GeoPositionsBase, public GeoPropertyInterface<Pnt3f>
{
  public:
    typedef GeoPositionsBase Inherited;

    /*! A new property of the same concrete type and values, without parents. */
    virtual GeoPositionsPtr clone(void) = 0;

    /*! A change of the data tells every geometry using the property which of its slots
        changed (origin ChangedOrigin::Child). */
    void changed(BitVector whichField, UInt32 origin) override;

  protected:
    friend class FieldContainer;
    friend class GeoPositionsBase;

    GeoPositions(void);
    GeoPositions(const GeoPositions &source);
    ~GeoPositions(void) override;
};

} // namespace osg

#endif
