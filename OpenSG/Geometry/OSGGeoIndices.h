#ifndef _OSGGEOINDICES_H_
#define _OSGGEOINDICES_H_

#include <OpenSG/OSGGeoIndicesBase.h>
#include <OpenSG/OSGGeoPropertyInterface.h>

namespace osg {

/*! Vertex indices of geometries, possibly interleaved (see Geometry::indexMapping); generic
    type UInt32. The geometries using a property are its parents (not referenced; each geometry
    holds one reference per slot it occupies). */
class GeoIndices : public GeoIndicesBase, public GeoPropertyInterface<UInt32>
{
  public:
    typedef GeoIndicesBase Inherited;

    /*! A new property of the same concrete type and values, without parents. */
    virtual GeoIndicesPtr clone(void) = 0;

    /*! A change of the data tells every geometry using the property which of its slots
        changed (origin ChangedOrigin::Child). */
    void changed(BitVector whichField, UInt32 origin) override;

  protected:
    friend class FieldContainer;
    friend class GeoIndicesBase;

    GeoIndices(void);
    GeoIndices(const GeoIndices &source);
    ~GeoIndices(void) override;
};

} // namespace osg

#endif
