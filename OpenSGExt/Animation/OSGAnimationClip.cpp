#include <OpenSGExt/OSGAnimationClip.h>
#include <OpenSGExt/Animation/detail/FlatModelRefs.h>
#include <OpenSGExt/Animation/detail/FlatModelSearch.h>

namespace osg {

AnimationClip::AnimationClip(void) : Inherited()
{
}

AnimationClip::AnimationClip(const AnimationClip &source) : Inherited(source)
{
}

AnimationClip::~AnimationClip(void) = default;

void AnimationClip::onCreate(const AnimationClip *source)
{
    Inherited::onCreate(source);
    if(source == NULL)
        return;
    flat::referenceAll(_mfBlocks);
    flat::referenceAll(_mfSubclips);
    flat::referenceAll(_mfTracks);
}

void AnimationClip::onDestroy(void)
{
    if(flat::shuttingDown())
        return;
    flat::releaseAll(_mfBlocks);
    flat::releaseAll(_mfSubclips);
    flat::releaseAll(_mfTracks);
    Inherited::onDestroy();
}

void AnimationClip::changed(BitVector whichField, UInt32 origin)
{
    Inherited::changed(whichField, origin);
    if(!flat::isLoad(origin))
        return;
    if(whichField & BlocksFieldMask)
        flat::referenceAll(_mfBlocks);
    if(whichField & SubclipsFieldMask)
        flat::referenceAll(_mfSubclips);
    if(whichField & TracksFieldMask)
        flat::referenceAll(_mfTracks);
}

void AnimationClip::addBlock(const AnimationBlockPtr &block)
{
    flat::append(_mfBlocks, block);
}

void AnimationClip::addSubclip(const FieldContainerPtr &clip)
{
    flat::append(_mfSubclips, clip);
}

void AnimationClip::addTrack(const AnimationTrackPtr &track)
{
    flat::append(_mfTracks, track);
}

void AnimationClip::getReferencedCurvesAndBlocks(std::set<AnimationCurvePtr> &curves,
                                                 std::set<AnimationBlockPtr> &blocks) const
{
    flat::collectReferenced(AnimationClipPtr(const_cast<AnimationClip *>(this)), curves, blocks);
}

} // namespace osg
