#ifndef _OSGTRANSFORMVARIANTSATTACHMENT_H_
#define _OSGTRANSFORMVARIANTSATTACHMENT_H_

#include <OpenSGExt/OSGTransformVariantsAttachmentBase.h>
#include <OpenSGExt/OSGTransformVariant.h>
#include <OpenSG/OSGAttachmentContainer.h>
#include <OpenSG/OSGTransform3D.h>

#include <set>
#include <string>

namespace osg {

/*! The ordered transform variants of a transform core, and the set of those whose values the core
    currently shows.

    Target: the first parent of the attachment when it is a Transform3D (or derived); any other
    parent, or none, means no target, and then the variant state is empty.

    Ownership of `transformVariants`: the attachment holds one reference per entry, taken by
    insertTransformVariant and given back by removeTransformVariant, clearTransformVariants and
    destruction. A shallow copy takes its own references. Reading the field from a stream or
    synchronising it takes none; a loader that ends its edit with the origin
    Abstract|AbstrIncRefCount makes the attachment take them then. Editing the field by hand
    through the generated accessors leaves the references to the caller. The attachment holds
    nothing on its target: the target owns the attachment.

    Variant state: the variant at index i is in the set when, for the translation, Euler
    rotation, scale, scale pivot, scale pivot translation, rotate pivot, Euler rotation
    orientation and rotate pivot translation, the target's value and the variant's mix of it
    differ by at most 1e-6 in every component, and the rotation modes agree exactly (the
    rotation mode is compared as well: applying such a variant would change the target's field,
    so the target does not show it). Null entries never match. The state is re-run by changed()
    whenever `transformVariants` or the parents change (inserts and removes report that change),
    and whenever the target or a variant reports a change through its changed functions.

    Watching: changed() registers one changed function on every variant when the list changes,
    and one on the target when the parents change. Each registration uses a fresh function
    object, so variants taken out of the list and former targets stop reporting without being
    touched (they may be gone already).

    Supposed state: the container id of one remembered variant (0 for none), so that it is found
    again after inserts and removes.

    The list operations edit `transformVariants` as one edit of TransformVariantsFieldMask each.
    Per-component getters take a variant by index or by pointer; `mixed` asks for the target's
    value with the variant mixed in. Without a transformation on the variant, and for a mixed
    value without a target, they give the defaults (zero; scale (1, 1, 1); rotation mode 0;
    rotation order "xyz"). Invalid indices and null variants are warned about and give the
    defaults too. */
class TransformVariantsAttachment : public TransformVariantsAttachmentBase
{
  public:
    typedef TransformVariantsAttachmentBase Inherited;
    typedef std::set<Int32>                 StateSet;

    /*! The rotation order reported by default, that of a fresh Transform3D. */
    static const char *const DefaultEulerRotationOrder;

    /*------------------------- variant list -------------------------------*/
    UInt32              getTransformVariantCount(void) const;
    /*! NullFC (and a warning) for an index out of range. */
    TransformVariantPtr getTransformVariant(UInt32 index) const;
    /*! The first variant with this name, or NullFC. */
    TransformVariantPtr getTransformVariant(const std::string &name) const;
    /*! Index of the variant in the list, or -1. */
    Int32               findTransformVariant(const TransformVariantPtr &variant) const;

    /*! Inserts before index (index == count appends) and takes a reference. A null variant and
        an index beyond the end are refused with a warning; a variant already in the list is
        inserted again and takes one more reference (each entry has its own index in the
        variant state; the remembered state finds the first). */
    bool insertTransformVariant(const TransformVariantPtr &variant, UInt32 index);
    /*! Takes the variant out, reports the change, re-runs the state unless skipStateUpdate, and
        gives the reference back. An index out of range is refused with a warning. */
    bool removeTransformVariant(UInt32 index, bool skipStateUpdate = false);
    /*! Removes all variants as one edit. */
    void clearTransformVariants(void);

    /*------------------------- transforms ---------------------------------*/
    Transform3DPtr getTargetTransform (void) const;
    Transform3DPtr getVariantTransform(UInt32 index) const;
    Transform3DPtr getVariantTransform(const TransformVariantPtr &variant) const;

    /*------------------------- component values ---------------------------*/
    Vec3f getComponent(UInt32 index, TransformVariant::Component component, bool mixed) const;
    Vec3f getComponent(const TransformVariantPtr &variant, TransformVariant::Component component,
                       bool mixed) const;

    Vec3f getTranslation(UInt32 index, bool mixed) const;
    Vec3f getTranslation(const TransformVariantPtr &variant, bool mixed) const;
    Vec3f getEulerRotation(UInt32 index, bool mixed) const;
    Vec3f getEulerRotation(const TransformVariantPtr &variant, bool mixed) const;
    Vec3f getScale(UInt32 index, bool mixed) const;
    Vec3f getScale(const TransformVariantPtr &variant, bool mixed) const;
    Vec3f getScalePivot(UInt32 index, bool mixed) const;
    Vec3f getScalePivot(const TransformVariantPtr &variant, bool mixed) const;
    Vec3f getScalePivotTranslation(UInt32 index, bool mixed) const;
    Vec3f getScalePivotTranslation(const TransformVariantPtr &variant, bool mixed) const;
    Vec3f getRotatePivot(UInt32 index, bool mixed) const;
    Vec3f getRotatePivot(const TransformVariantPtr &variant, bool mixed) const;
    Vec3f getEulerRotationOrientation(UInt32 index, bool mixed) const;
    Vec3f getEulerRotationOrientation(const TransformVariantPtr &variant, bool mixed) const;
    Vec3f getRotatePivotTranslation(UInt32 index, bool mixed) const;
    Vec3f getRotatePivotTranslation(const TransformVariantPtr &variant, bool mixed) const;
    Int32 getRotationMode(UInt32 index, bool mixed) const;
    Int32 getRotationMode(const TransformVariantPtr &variant, bool mixed) const;
    /*! The transform core's own order string, passed through: the variant transformation's, or,
        mixed, the target's (no flag overrides the order, so mixing keeps the target's). */
    std::string getEulerRotationOrder(UInt32 index, bool mixed) const;
    std::string getEulerRotationOrder(const TransformVariantPtr &variant, bool mixed) const;

    /*------------------------- variant state ------------------------------*/
    /*! Recomputes the set of matching variant indices (see above). */
    void            updateVariantState(void);
    const StateSet &getActiveStates   (void) const { return _activeStates; }

    /*! -1 for no match, the only match, or with several the remembered variant's index when it
        matches, else the smallest matching index. */
    Int32 getSupposedActiveStateIndex(void) const;
    /*! Remembers the variant at index; a negative index or one without a variant forgets (the
        latter with a warning). */
    void  setSupposedState(Int32 index);
    /*! The remembered variant's current index, or -1. */
    Int32 getSupposedState(void) const;

    /*------------------------- on a container -----------------------------*/
    /*! The container's transform-variants attachment, or NullFC. */
    static TransformVariantsAttachmentPtr
        getTransformVariantsAttachment(const AttachmentContainerPtr &container);
    /*! The container's attachment; a new one is created and attached when it has none. */
    static TransformVariantsAttachmentPtr
        createTransformVariantsAttachment(const AttachmentContainerPtr &container);
    /*! Attaches the attachment, replacing (and releasing) the container's former one. */
    static bool setTransformVariantsAttachment(const AttachmentContainerPtr       &container,
                                               const TransformVariantsAttachmentPtr &attachment);
    /*! Detaches (and releases) the container's attachment; false when it has none. */
    static bool removeTransformVariantsAttachment(const AttachmentContainerPtr &container);

    void changed(BitVector whichField, UInt32 origin) override;

  protected:
    friend class FieldContainer;
    friend class TransformVariantsAttachmentBase;

    TransformVariantsAttachment(void);
    TransformVariantsAttachment(const TransformVariantsAttachment &source);
    ~TransformVariantsAttachment(void) override;

    void onCreate(const TransformVariantsAttachment *source = NULL);
    void onDestroy(void) override;

  private:
    TransformVariantPtr variantAt(UInt32 index, const char *caller) const;
    Vec3f componentOf(const TransformVariantPtr &variant, TransformVariant::Component component,
                      bool mixed) const;
    Int32 rotationModeOf(const TransformVariantPtr &variant, bool mixed) const;
    std::string rotationOrderOf(const TransformVariantPtr &variant, bool mixed) const;
    bool  matches(const TransformVariantPtr &variant, const Transform3DPtr &target) const;
    Int32 indexOfContainer(UInt32 containerId) const;

    void watchVariants(void);
    void watchTarget  (void);

    StateSet           _activeStates;
    UInt32             _supposedState;
    bool               _skipStateUpdate;
    ChangedFunctionPtr _variantChanged;
    ChangedFunctionPtr _targetChanged;
};

} // namespace osg

#endif
