#ifndef _OSGANIMATIONATTACHMENT_H_
#define _OSGANIMATIONATTACHMENT_H_

#include <OpenSGExt/OSGAnimationAttachmentBase.h>
#include <OpenSGExt/OSGAnimationClip.h>
#include <set>

namespace osg {

/*! The top-level curves, clips and blocks of a scene object (the flat animation model).
    Ownership: each entry of the three lists holds one reference. The add operations ignore
    null, open no edit and report nothing (wrap them in an edit to be notified).

    The reference searches walk the model once per container, without recursion: a clip that
    reaches itself (from a file) ends the walk there instead of recursing without end. */
class AnimationAttachment : public AnimationAttachmentBase
{
  public:
    typedef AnimationAttachmentBase Inherited;

    void addCurve(const AnimationCurvePtr &curve);
    void addClip (const AnimationClipPtr &clip);
    void addBlock(const AnimationBlockPtr &block);

    /*! Release and empty curves, clips and blocks (in that order), or one list; no change is
        reported. */
    void clear      (void);
    void clearCurves(void);
    void clearClips (void);
    void clearBlocks(void);

    /*! Every curve and block reachable from the attachment, each listed once. */
    void getReferencedCurvesAndBlocks(std::set<AnimationCurvePtr> &curves,
                                      std::set<AnimationBlockPtr> &blocks) const;

    void dump(UInt32 uiIndent = 0, const BitVector bvFlags = BitVector(0)) const override;

    /*! Takes the references of pointers read by a load (origin Abstract|AbstrIncRefCount). */
    void changed(BitVector whichField, UInt32 origin) override;

  protected:
    friend class FieldContainer;
    friend class AnimationAttachmentBase;

    AnimationAttachment(void);
    AnimationAttachment(const AnimationAttachment &source);
    ~AnimationAttachment(void) override;

    /*! A copy references the pointers it copied from its source. */
    void onCreate(const AnimationAttachment *source = NULL);
    /*! Releases every held reference (nothing while OpenSG shuts down). */
    void onDestroy(void) override;
};

} // namespace osg

#endif
