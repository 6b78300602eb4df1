#include <OpenSGExt/OSGAnimShot.h>

namespace osg {

AnimShot::AnimShot(void) : Inherited()
{
}

AnimShot::AnimShot(const AnimShot &source) : Inherited(source)
{
}

AnimShot::~AnimShot(void) = default;

} // namespace osg
