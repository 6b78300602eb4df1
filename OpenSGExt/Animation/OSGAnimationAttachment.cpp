#include <OpenSGExt/OSGAnimationAttachment.h>
#include <OpenSGExt/Animation/detail/FlatModelRefs.h>
#include <OpenSGExt/Animation/detail/FlatModelSearch.h>
#include <iostream>

namespace osg {

AnimationAttachment::AnimationAttachment(void) : Inherited()
{
}

AnimationAttachment::AnimationAttachment(const AnimationAttachment &source) : Inherited(source)
{
}

AnimationAttachment::~AnimationAttachment(void) = default;

void AnimationAttachment::onCreate(const AnimationAttachment *source)
{
    Inherited::onCreate(source);
    if(source == NULL)
        return;
    flat::referenceAll(_mfCurves);
    flat::referenceAll(_mfClips);
    flat::referenceAll(_mfBlocks);
}

void AnimationAttachment::onDestroy(void)
{
    if(flat::shuttingDown())
        return;
    clear();
    Inherited::onDestroy();
}

void AnimationAttachment::changed(BitVector whichField, UInt32 origin)
{
    Inherited::changed(whichField, origin);
    if(!flat::isLoad(origin))
        return;
    if(whichField & CurvesFieldMask)
        flat::referenceAll(_mfCurves);
    if(whichField & ClipsFieldMask)
        flat::referenceAll(_mfClips);
    if(whichField & BlocksFieldMask)
        flat::referenceAll(_mfBlocks);
}

void AnimationAttachment::addCurve(const AnimationCurvePtr &curve)
{
    flat::append(_mfCurves, curve);
}

void AnimationAttachment::addClip(const AnimationClipPtr &clip)
{
    flat::append(_mfClips, clip);
}

void AnimationAttachment::addBlock(const AnimationBlockPtr &block)
{
    flat::append(_mfBlocks, block);
}

void AnimationAttachment::clear(void)
{
    clearCurves();
    clearClips();
    clearBlocks();
}

void AnimationAttachment::clearCurves(void)
{
    flat::releaseAll(_mfCurves);
}

void AnimationAttachment::clearClips(void)
{
    flat::releaseAll(_mfClips);
}

void AnimationAttachment::clearBlocks(void)
{
    flat::releaseAll(_mfBlocks);
}

void AnimationAttachment::getReferencedCurvesAndBlocks(std::set<AnimationCurvePtr> &curves,
                                                       std::set<AnimationBlockPtr> &blocks) const
{
    flat::collectReferenced(AnimationAttachmentPtr(const_cast<AnimationAttachment *>(this)),
                            curves, blocks);
}

void AnimationAttachment::dump(UInt32 uiIndent, const BitVector bvFlags) const
{
    std::set<AnimationCurvePtr> curves;
    std::set<AnimationBlockPtr> blocks;
    getReferencedCurvesAndBlocks(curves, blocks);
    std::cout << std::string(uiIndent, ' ') << "AnimationAttachment: " << _mfCurves.size()
              << " curves, " << _mfClips.size() << " clips, " << _mfBlocks.size()
              << " blocks; references " << curves.size() << " curves and " << blocks.size()
              << " blocks\n";
    Inherited::dump(uiIndent + 2, bvFlags);
}

} // namespace osg
