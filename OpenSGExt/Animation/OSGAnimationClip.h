#ifndef _OSGANIMATIONCLIP_H_
#define _OSGANIMATIONCLIP_H_

#include <OpenSGExt/OSGAnimationClipBase.h>
#include <OpenSGExt/OSGAnimationTrack.h>
#include <set>

namespace osg {

/*! Blocks, tracks and sub-clips grouped into one clip. Ownership: each entry of blocks,
    subclips and tracks holds one reference. The add operations ignore null and open no edit. */
class AnimationClip : public AnimationClipBase
{
  public:
    typedef AnimationClipBase Inherited;

    void addBlock  (const AnimationBlockPtr &block);
    /*! Any container may be stored; only AnimationClips count in searches. */
    void addSubclip(const FieldContainerPtr &clip);
    void addTrack  (const AnimationTrackPtr &track);

    /*! Every curve and block reachable from the clip (sub-clips, tracks, blocks). */
    void getReferencedCurvesAndBlocks(std::set<AnimationCurvePtr> &curves,
                                      std::set<AnimationBlockPtr> &blocks) const;

    /*! Takes the references of pointers read by a load (origin Abstract|AbstrIncRefCount). */
    void changed(BitVector whichField, UInt32 origin) override;

  protected:
    friend class FieldContainer;
    friend class AnimationClipBase;

    AnimationClip(void);
    AnimationClip(const AnimationClip &source);
    ~AnimationClip(void) override;

    /*! A copy references the pointers it copied from its source. */
    void onCreate(const AnimationClip *source = NULL);
    /*! Releases every held reference (nothing while OpenSG shuts down). */
    void onDestroy(void) override;
};

} // namespace osg

#endif
