#ifndef _OSGGEOCOLORS_H_
#define _OSGGEOCOLORS_H_

#include <OpenSG/OSGGeoColorsBase.h>
#include <OpenSG/OSGGeoPropertyInterface.h>
#include <OpenSG/OSGColor.h>

namespace osg {

/*! Vertex colours of geometries (primary or secondary); generic type Color3f. The geometries
    using a property are its parents (not referenced; each geometry holds one reference per slot
    it occupies). */
class GeoColors : public GeoColorsBase, public GeoPropertyInterface<Color3f>
{
  public:
    typedef GeoColorsBase Inherited;

    /*! A new property of the same concrete type and values, without parents. */
    virtual GeoColorsPtr clone(void) = 0;

    /*! A change of the data tells every geometry using the property which of its slots
        changed (origin ChangedOrigin::Child). */
    void changed(BitVector whichField, UInt32 origin) override;

  protected:
    friend class FieldContainer;
    friend class GeoColorsBase;

    GeoColors(void);
    GeoColors(const GeoColors &source);
    ~GeoColors(void) override;
};

} // namespace osg

#endif
