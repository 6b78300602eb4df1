#include <OpenSGExt/OSGAnimationBlock.h>
#include <OpenSGExt/Animation/detail/FlatModelRefs.h>
#include <OpenSGExt/Animation/detail/FlatModelSearch.h>

namespace osg {

AnimationBlock::AnimationBlock(void) : Inherited()
{
}

AnimationBlock::AnimationBlock(const AnimationBlock &source) : Inherited(source)
{
}

AnimationBlock::~AnimationBlock(void) = default;

void AnimationBlock::onCreate(const AnimationBlock *source)
{
    Inherited::onCreate(source);
    if(source == NULL)
        return;
    flat::referenceAll(_mfCurves);
    flat::referenceAll(_sfAppropriateNode);
}

void AnimationBlock::onDestroy(void)
{
    if(flat::shuttingDown())
        return;
    flat::releaseAll(_mfCurves);
    flat::releaseAll(_sfAppropriateNode);
    Inherited::onDestroy();
}

void AnimationBlock::changed(BitVector whichField, UInt32 origin)
{
    Inherited::changed(whichField, origin);
    if(!flat::isLoad(origin))
        return;
    if(whichField & CurvesFieldMask)
        flat::referenceAll(_mfCurves);
    if(whichField & AppropriateNodeFieldMask)
        flat::referenceAll(_sfAppropriateNode);
}

void AnimationBlock::addCurve(const AnimationCurvePtr &curve)
{
    flat::append(_mfCurves, curve);
}

void AnimationBlock::setAppropriateNode(const NodePtr &node)
{
    flat::setReferenced(_sfAppropriateNode, node);
}

void AnimationBlock::setAppropriateNodeNoRefCount(const NodePtr &node)
{
    _sfAppropriateNode.setValue(node);
}

void AnimationBlock::getReferencedCurvesAndBlocks(std::set<AnimationCurvePtr> &curves,
                                                  std::set<AnimationBlockPtr> &blocks) const
{
    flat::collectReferenced(AnimationBlockPtr(const_cast<AnimationBlock *>(this)), curves, blocks);
}

} // namespace osg
