#ifndef _OSGGEONORMALS_H_
#define _OSGGEONORMALS_H_

#include <OpenSG/OSGGeoNormalsBase.h>
#include <OpenSG/OSGGeoPropertyInterface.h>
#include <OpenSG/OSGVector.h>

namespace osg {

/*! Vertex normals of geometries; generic type Vec3f. The geometries using a property are its
    parents (not referenced; each geometry holds one reference per slot it occupies). */
class GeoNormals : public GeoNormalsBase, public GeoPropertyInterface<Vec3f>
{
  public:
    typedef GeoNormalsBase Inherited;

    /*! A new property of the same concrete type and values, without parents. */
    virtual GeoNormalsPtr clone(void) = 0;

    /*! A change of the data tells every geometry using the property which of its slots
        changed (origin ChangedOrigin::Child). */
    void changed(BitVector whichField, UInt32 origin) override;

  protected:
    friend class FieldContainer;
    friend class GeoNormalsBase;

    GeoNormals(void);
    GeoNormals(const GeoNormals &source);
    ~GeoNormals(void) override;
};

} // namespace osg

#endif
