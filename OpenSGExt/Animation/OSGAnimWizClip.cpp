#include <OpenSGExt/OSGAnimWizClip.h>

namespace osg {

AnimWizClip::AnimWizClip(void) : Inherited()
{
}

AnimWizClip::AnimWizClip(const AnimWizClip &source) : Inherited(source)
{
}

AnimWizClip::~AnimWizClip(void) = default;

} // namespace osg
