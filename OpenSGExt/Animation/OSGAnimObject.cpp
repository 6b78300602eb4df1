#include <OpenSGExt/OSGAnimObject.h>

namespace osg {

AnimObject::AnimObject(void) : Inherited()
{
}

AnimObject::AnimObject(const AnimObject &source) : Inherited(source)
{
}

AnimObject::~AnimObject(void) = default;

void AnimObject::adjustVolume(Volume &volume)
{
    Inherited::adjustVolume(volume);
}

} // namespace osg
