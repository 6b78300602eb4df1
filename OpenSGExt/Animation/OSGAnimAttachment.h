#ifndef _OSGANIMATTACHMENT_H_
#define _OSGANIMATTACHMENT_H_

#include <OpenSGExt/OSGAnimAttachmentBase.h>
#include <OpenSGExt/OSGAnimNode.h>

#include <vector>

namespace osg {

/*! The animations of a scene node, material or other container: the root of its animation tree
    ("AnimationRoot", a group AnimNode) whose AnimNode children are the top-level animations.

    Ownership: the attachment holds one reference on the node in animationRoot, whoever set the
    field (onCreate, a generated setter inside an edit, a loaded record, a deep clone): when an
    edit of the field ends, the new root is referenced and the previous one released; the
    reference is released when the attachment is destroyed. A shallow copy makes a root of its
    own rather than sharing its source's tree.

    Searches and transfers look at the root's children only; a null child or a plain Node is
    never listed. Bad input (a null animation, a null target, the attachment itself, a target
    without root) is refused with a warning and changes nothing. */
class AnimAttachment : public AnimAttachmentBase
{
  public:
    typedef AnimAttachmentBase Inherited;

    void addAnimation(const AnimNodePtr &anim);
    void subAnimation(const AnimNodePtr &anim);
    void removeAnimations(void);

    void getTopLevelAnimations(std::vector<AnimNodePtr> &out, bool includeHidden) const;
    /*! Top-level animations whose core is an AnimCurve (or derived). */
    void getTopLevelCurveNodes(std::vector<AnimNodePtr> &out) const;
    /*! Top-level animations whose core is an AnimBlock (or derived). */
    void getTopLevelBlockNodes(std::vector<AnimNodePtr> &out) const;
    bool hasAnimations(void) const;
    /*! Whether a node anywhere under the root has a VertexAnimCurves core (false without root). */
    bool hasVertexAnimation(void) const;

    /*! Moves every top-level animation, hidden ones included, to other. */
    void transferAnimationsTo(const AnimAttachmentPtr &other);

    void changed(BitVector whichField, UInt32 origin) override;
    void dump(UInt32 uiIndent = 0, const BitVector bvFlags = BitVector(0)) const override;

  protected:
    friend class FieldContainer;
    friend class AnimAttachmentBase;

    AnimAttachment(void);
    AnimAttachment(const AnimAttachment &source);
    ~AnimAttachment(void) override;

    /*! Makes the root (nothing while OpenSG starts up, when the prototype is made). */
    void onCreate(const AnimAttachment *source = NULL);
    void onDestroy(void) override;

  private:
    /*! The root this attachment holds its reference on. */
    AnimNodePtr _heldRoot;
};

} // namespace osg

#endif
