#include <OpenSGExt/OSGAnimationControlPoint.h>

namespace osg {

AnimationControlPoint::AnimationControlPoint(void) : Inherited()
{
}

AnimationControlPoint::AnimationControlPoint(const AnimationControlPoint &source) : Inherited(source)
{
}

AnimationControlPoint::~AnimationControlPoint(void) = default;

} // namespace osg
