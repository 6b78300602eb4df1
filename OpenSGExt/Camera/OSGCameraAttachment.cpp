#include <OpenSGExt/OSGCameraAttachment.h>

namespace osg {

CameraAttachment::CameraAttachment(void) : Inherited()
{
}

CameraAttachment::CameraAttachment(const CameraAttachment &source) : Inherited(source)
{
}

CameraAttachment::~CameraAttachment(void) = default;

void CameraAttachment::addTurntableAnimationFlag(UInt32 flag)
{
    const UInt32 old = getTurntableAnimationFlags();
    if((old | flag) == old)
        return;
    FieldContainerPtr self(this);
    beginEditCP(self, TurntableAnimationFlagsFieldMask);
    _sfTurntableAnimationFlags.setValue(old | flag);
    endEditCP(self, TurntableAnimationFlagsFieldMask);
}

void CameraAttachment::subTurntableAnimationFlag(UInt32 flag)
{
    const UInt32 old = getTurntableAnimationFlags();
    if((old & ~flag) == old)
        return;
    FieldContainerPtr self(this);
    beginEditCP(self, TurntableAnimationFlagsFieldMask);
    _sfTurntableAnimationFlags.setValue(old & ~flag);
    endEditCP(self, TurntableAnimationFlagsFieldMask);
}

bool CameraAttachment::hasTurntableAnimationFlag(UInt32 flag) const
{
    return (getTurntableAnimationFlags() & flag) == flag;
}

} // namespace osg
