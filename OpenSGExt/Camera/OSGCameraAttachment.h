#ifndef _OSGCAMERAATTACHMENT_H_
#define _OSGCAMERAATTACHMENT_H_

#include <OpenSGExt/OSGCameraAttachmentBase.h>

namespace osg {

/*! A view's turntable and start-up settings, attached to a camera's node. The turntable
    flags are a bit set of the host's options; the flag operations report a change of
    turntableAnimationFlags only when a bit actually changes. Defaults: a 10-second turn, no
    flags, no fade or pause, everything else false or empty. */
class CameraAttachment : public CameraAttachmentBase
{
  public:
    typedef CameraAttachmentBase Inherited;

    void addTurntableAnimationFlag(UInt32 flag);
    void subTurntableAnimationFlag(UInt32 flag);
    /*! True when every bit of flag is set. */
    bool hasTurntableAnimationFlag(UInt32 flag) const;

  protected:
    friend class FieldContainer;
    friend class CameraAttachmentBase;

    CameraAttachment(void);
    CameraAttachment(const CameraAttachment &source);
    ~CameraAttachment(void) override;
};

} // namespace osg

#endif
