#ifndef _OSGTEXTURESETTINGS_H_
#define _OSGTEXTURESETTINGS_H_

#include <OpenSGExt/OSGTextureSettingsBase.h>

namespace osg {

/*! Settings of a texture that a camera uses, such as an eye's distortion map
    (CameraSetting::leftEyeDistortionMap). Registered so that settings can point to it and files
    that carry it load; its own fields are not defined yet. */
class TextureSettings : public TextureSettingsBase
{
  public:
    typedef TextureSettingsBase Inherited;

  protected:
    friend class FieldContainer;
    friend class TextureSettingsBase;

    TextureSettings(void);
    TextureSettings(const TextureSettings &source);
    ~TextureSettings(void) override;
};

} // namespace osg

#endif
