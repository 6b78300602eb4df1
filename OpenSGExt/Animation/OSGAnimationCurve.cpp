#include <OpenSGExt/OSGAnimationCurve.h>
#include <OpenSGExt/Animation/detail/FlatModelRefs.h>
#include <OpenSGExt/Animation/detail/FlatModelSearch.h>

namespace osg {

AnimationCurve::AnimationCurve(void) : Inherited()
{
}

AnimationCurve::AnimationCurve(const AnimationCurve &source) : Inherited(source)
{
}

AnimationCurve::~AnimationCurve(void) = default;

void AnimationCurve::onCreate(const AnimationCurve *source)
{
    Inherited::onCreate(source);
    if(source == NULL)
        return;
    flat::referenceAll(_mfCurvePoints);
    flat::referenceAll(_sfAppropriateNode);
    flat::referenceAll(_sfAFAppNode);
}

void AnimationCurve::onDestroy(void)
{
    if(flat::shuttingDown())
        return;
    flat::releaseAll(_mfCurvePoints);
    flat::releaseAll(_sfAppropriateNode);
    flat::releaseAll(_sfAFAppNode);
    Inherited::onDestroy();
}

void AnimationCurve::changed(BitVector whichField, UInt32 origin)
{
    Inherited::changed(whichField, origin);
    if(!flat::isLoad(origin))
        return;
    if(whichField & CurvePointsFieldMask)
        flat::referenceAll(_mfCurvePoints);
    if(whichField & AppropriateNodeFieldMask)
        flat::referenceAll(_sfAppropriateNode);
    if(whichField & AFAppNodeFieldMask)
        flat::referenceAll(_sfAFAppNode);
}

void AnimationCurve::addCurvePoint(const AnimationControlPointPtr &point)
{
    flat::append(_mfCurvePoints, point);
}

void AnimationCurve::setAppropriateNode(const NodePtr &node)
{
    flat::setReferenced(_sfAppropriateNode, node);
}

void AnimationCurve::setAFAppNode(const NodePtr &node)
{
    flat::setReferenced(_sfAFAppNode, node);
}

void AnimationCurve::setAppropriateNodeNoRefCount(const NodePtr &node)
{
    _sfAppropriateNode.setValue(node);
}

void AnimationCurve::setAFAppNodeNoRefCount(const NodePtr &node)
{
    _sfAFAppNode.setValue(node);
}

} // namespace osg
