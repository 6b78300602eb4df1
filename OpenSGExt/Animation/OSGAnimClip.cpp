#include <OpenSGExt/OSGAnimClip.h>

namespace osg {

AnimClip::AnimClip(void) : Inherited()
{
}

AnimClip::AnimClip(const AnimClip &source) : Inherited(source)
{
}

AnimClip::~AnimClip(void) = default;

} // namespace osg
