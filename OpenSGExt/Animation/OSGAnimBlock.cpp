#include <OpenSGExt/OSGAnimBlock.h>

namespace osg {

AnimBlock::AnimBlock(void) : Inherited()
{
}

AnimBlock::AnimBlock(const AnimBlock &source) : Inherited(source)
{
}

AnimBlock::~AnimBlock(void) = default;

} // namespace osg
