#include <OpenSGExt/OSGAnimationTrack.h>
#include <OpenSGExt/Animation/detail/FlatModelRefs.h>
#include <OpenSGExt/Animation/detail/FlatModelSearch.h>

namespace osg {

AnimationTrack::AnimationTrack(void) : Inherited()
{
}

AnimationTrack::AnimationTrack(const AnimationTrack &source) : Inherited(source)
{
}

AnimationTrack::~AnimationTrack(void) = default;

void AnimationTrack::onCreate(const AnimationTrack *source)
{
    Inherited::onCreate(source);
    if(source == NULL)
        return;
    flat::referenceAll(_mfBlocks);
    flat::referenceAll(_mfClips);
    flat::referenceAll(_mfSequences);
}

void AnimationTrack::onDestroy(void)
{
    if(flat::shuttingDown())
        return;
    flat::releaseAll(_mfBlocks);
    flat::releaseAll(_mfClips);
    flat::releaseAll(_mfSequences);
    Inherited::onDestroy();
}

void AnimationTrack::changed(BitVector whichField, UInt32 origin)
{
    Inherited::changed(whichField, origin);
    if(!flat::isLoad(origin))
        return;
    if(whichField & BlocksFieldMask)
        flat::referenceAll(_mfBlocks);
    if(whichField & ClipsFieldMask)
        flat::referenceAll(_mfClips);
    if(whichField & SequencesFieldMask)
        flat::referenceAll(_mfSequences);
}

void AnimationTrack::addBlock(const AnimationBlockPtr &block)
{
    flat::append(_mfBlocks, block);
}

void AnimationTrack::addClip(const FieldContainerPtr &clip)
{
    flat::append(_mfClips, clip);
}

void AnimationTrack::addSequence(const AnimationBlockPtr &block)
{
    flat::append(_mfSequences, block);
}

void AnimationTrack::getReferencedCurvesAndBlocks(std::set<AnimationCurvePtr> &curves,
                                                  std::set<AnimationBlockPtr> &blocks) const
{
    flat::collectReferenced(AnimationTrackPtr(const_cast<AnimationTrack *>(this)), curves, blocks);
}

} // namespace osg
