#include <OpenSGExt/OSGAnimSequence.h>

namespace osg {

AnimSequence::AnimSequence(void) : Inherited()
{
}

AnimSequence::AnimSequence(const AnimSequence &source) : Inherited(source)
{
}

AnimSequence::~AnimSequence(void) = default;

} // namespace osg
