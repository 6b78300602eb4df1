#ifndef _OSGANIMATIONTRACK_H_
#define _OSGANIMATIONTRACK_H_

#include <OpenSGExt/OSGAnimationTrackBase.h>
#include <OpenSGExt/OSGAnimationBlock.h>
#include <set>

namespace osg {

/*! Blocks lined up on a track, which can also hold clips. Ownership: each entry of blocks,
    clips and sequences holds one reference. The add operations ignore null and open no edit. */
class AnimationTrack : public AnimationTrackBase
{
  public:
    typedef AnimationTrackBase Inherited;

    void addBlock   (const AnimationBlockPtr &block);
    /*! Any container may be stored; only AnimationClips count in searches. */
    void addClip    (const FieldContainerPtr &clip);
    void addSequence(const AnimationBlockPtr &block);

    /*! Every curve and block reachable from the track (its clips, sequences and blocks). */
    void getReferencedCurvesAndBlocks(std::set<AnimationCurvePtr> &curves,
                                      std::set<AnimationBlockPtr> &blocks) const;

    /*! Takes the references of pointers read by a load (origin Abstract|AbstrIncRefCount). */
    void changed(BitVector whichField, UInt32 origin) override;

  protected:
    friend class FieldContainer;
    friend class AnimationTrackBase;

    AnimationTrack(void);
    AnimationTrack(const AnimationTrack &source);
    ~AnimationTrack(void) override;

    /*! A copy references the pointers it copied from its source. */
    void onCreate(const AnimationTrack *source = NULL);
    /*! Releases every held reference (nothing while OpenSG shuts down). */
    void onDestroy(void) override;
};

} // namespace osg

#endif
