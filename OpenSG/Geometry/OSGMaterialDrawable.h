#ifndef _OSGMATERIALDRAWABLE_H_
#define _OSGMATERIALDRAWABLE_H_

#include <OpenSG/OSGMaterialDrawableBase.h>
#include <OpenSG/OSGMaterial.h>

namespace osg {

/*! A drawable with a material.

    Ownership of `material`: the drawable holds one reference. setMaterial takes it for the new
    material and gives back the old one's; destroying the drawable gives it back. A shallow copy
    shares its source's material and takes its own reference. Reading the field from a stream or
    synchronising it takes none; a loader that ends its edit with the origin
    Abstract|AbstrIncRefCount makes the drawable take it then. setMaterial does not record the
    drawable's field: wrap it in an edit of MaterialFieldMask. */
class MaterialDrawable : public MaterialDrawableBase
{
  public:
    typedef MaterialDrawableBase Inherited;

    void setMaterial(const MaterialPtr &material);

    void changed(BitVector whichField, UInt32 origin) override;

  protected:
    friend class FieldContainer;
    friend class MaterialDrawableBase;

    MaterialDrawable(void);
    MaterialDrawable(const MaterialDrawable &source);
    ~MaterialDrawable(void) override;

    void onCreate(const MaterialDrawable *source = NULL);
    void onDestroy(void) override;
};

} // namespace osg

#endif
