#ifndef _OSGTRANSFORMVARIANT_H_
#define _OSGTRANSFORMVARIANT_H_

#include <OpenSGExt/OSGTransformVariantBase.h>
#include <OpenSG/OSGTransform3D.h>

namespace osg {

/*! A named, partial set of transform values: a reference transformation and the bits of
    applyFlags that say which of its components the variant overrides.

    Mixing: each mixer takes the target's current value and returns it with the overridden parts
    replaced by the variant's. Translation, Euler rotation and scale decide axis by axis; the
    pivot groups (ApplyScalePivot, ApplyRotatePivot) replace all three components at once. The
    rotation mode follows any rotation bit and ApplyRotationMode. A variant without a
    transformation overrides with zeros (rotation mode 0), as its getters read.

    Ownership of `transformation`: the variant holds one reference to it. setTransformation takes
    the new one's and gives back the old one's; destroying the variant gives it back. A shallow
    copy takes its own reference. Reading the field from a stream or synchronising it takes none;
    a loader that ends its edit with the origin Abstract|AbstrIncRefCount makes the variant take
    it then. Setting the field through the generated accessors leaves the references to the
    caller (TransformVariantBase::setTransformation is hidden here for that reason).

    Watching: whenever the variant's changed() sees `transformation` change (and on creation),
    it registers a changed function on the new transformation, so that edits of the
    transformation's values reach whoever watches the variant: the variant's own changed
    functions are then called with TransformationFieldMask. Nothing is recorded in the change
    list for that, as no field of the variant changed. The function object is replaced on each
    change, so an old transformation stops reporting without being touched. */
class TransformVariant : public TransformVariantBase
{
  public:
    typedef TransformVariantBase Inherited;

    /*------------------------- applyFlags bits ----------------------------*/
    static constexpr UInt32 ApplyTranslationX  = 0x001;
    static constexpr UInt32 ApplyTranslationY  = 0x002;
    static constexpr UInt32 ApplyTranslationZ  = 0x004;
    static constexpr UInt32 ApplyRotationX     = 0x008;
    static constexpr UInt32 ApplyRotationY     = 0x010;
    static constexpr UInt32 ApplyRotationZ     = 0x020;
    static constexpr UInt32 ApplyRotationMode  = 0x040;
    static constexpr UInt32 ApplyScaleX        = 0x080;
    static constexpr UInt32 ApplyScaleY        = 0x100;
    static constexpr UInt32 ApplyScaleZ        = 0x200;
    /*! Scale pivot and scale pivot translation. */
    static constexpr UInt32 ApplyScalePivot    = 0x400;
    /*! Rotate pivot, Euler rotation orientation and rotate pivot translation. */
    static constexpr UInt32 ApplyRotatePivot   = 0x800;

    static constexpr UInt32 ApplyTranslation   = 0x007;
    static constexpr UInt32 ApplyRotation      = 0x038;
    static constexpr UInt32 ApplyScale         = 0x380;
    static constexpr UInt32 ApplyAll           = 0xFFF;

    /*! The vector components of a Transform3D, in the order the variant state compares them. */
    enum Component
    {
        Translation = 0,
        EulerRotation,
        Scale,
        ScalePivot,
        ScalePivotTranslation,
        RotatePivot,
        EulerRotationOrientation,
        RotatePivotTranslation,
        ComponentCount
    };

    /*! A component of a transform core; zero for a null core or an invalid component. */
    static Vec3f readComponent(const Transform3DPtr &transform, Component component);
    /*! The applyFlags bits that cover a component. */
    static UInt32 componentFlags(Component component);

    /*------------------------- own values (zero without transformation) ---*/
    Vec3f getComponent(Component component) const;

    Vec3f getTranslation             (void) const;
    Vec3f getEulerRotation           (void) const;
    Vec3f getScale                   (void) const;
    Vec3f getScalePivot              (void) const;
    Vec3f getScalePivotTranslation   (void) const;
    Vec3f getRotatePivot             (void) const;
    Vec3f getEulerRotationOrientation(void) const;
    Vec3f getRotatePivotTranslation  (void) const;
    Int32 getRotationMode            (void) const;

    /*------------------------- mixers -------------------------------------*/
    Vec3f mixComponent(Component component, const Vec3f &current) const;

    Vec3f mixTranslation             (const Vec3f &current) const;
    Vec3f mixEulerRotation           (const Vec3f &current) const;
    Vec3f mixScale                   (const Vec3f &current) const;
    Vec3f mixScalePivot              (const Vec3f &current) const;
    Vec3f mixScalePivotTranslation   (const Vec3f &current) const;
    Vec3f mixRotatePivot             (const Vec3f &current) const;
    Vec3f mixEulerRotationOrientation(const Vec3f &current) const;
    Vec3f mixRotatePivotTranslation  (const Vec3f &current) const;
    Int32 mixRotationMode            (Int32 current) const;

    /*------------------------- operations ---------------------------------*/
    /*! A new variant (reference count 0, owned by the caller) with this one's name and flags and
        a shallow copy of its transformation (null stays null). */
    TransformVariantPtr duplicate(void) const;

    /*! Replaces the transformation under the ownership rule above, as one edit of
        TransformationFieldMask; setting the current one again changes nothing. */
    void setTransformation(const Transform3DPtr &transformation);

    void changed(BitVector whichField, UInt32 origin) override;

  protected:
    friend class FieldContainer;
    friend class TransformVariantBase;

    TransformVariant(void);
    TransformVariant(const TransformVariant &source);
    ~TransformVariant(void) override;

    void onCreate(const TransformVariant *source = NULL);
    void onDestroy(void) override;

  private:
    void watchTransformation(void);

    ChangedFunctionPtr _transformationChanged;
};

} // namespace osg

#endif
