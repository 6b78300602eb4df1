#ifndef _OSGGEOTEXCOORDS_H_
#define _OSGGEOTEXCOORDS_H_

#include <OpenSG/OSGGeoTexCoordsBase.h>
#include <OpenSG/OSGGeoPropertyInterface.h>
#include <OpenSG/OSGVector.h>

namespace osg {

/*! Texture coordinates of geometries, one set per property; generic type Vec2f. The geometries
    using a property are its parents (not referenced; each geometry holds one reference per slot
    it occupies). */
class GeoTexCoords : public GeoTexCoordsBase, public GeoPropertyInterface<Vec2f>
{
  public:
    typedef GeoTexCoordsBase Inherited;

    /*! A new property of the same concrete type and values, without parents. */
    virtual GeoTexCoordsPtr clone(void) = 0;

    /*! An element as three or four components, whatever the stored dimension: missing
        components are 0, surplus ones dropped. An index out of range is reported and reads
        zero. */
    Vec3f getValue3f(const UInt32 index) const;
    Vec4f getValue4f(const UInt32 index) const;

    /*! A change of the data tells every geometry using the property which of its slots
        changed (origin ChangedOrigin::Child). */
    void changed(BitVector whichField, UInt32 origin) override;

  protected:
    friend class FieldContainer;
    friend class GeoTexCoordsBase;

    GeoTexCoords(void);
    GeoTexCoords(const GeoTexCoords &source);
    ~GeoTexCoords(void) override;
};

} // namespace osg

#endif
