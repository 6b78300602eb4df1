#ifndef _OSGTONEMAPPINGSETTINGS_H_
#define _OSGTONEMAPPINGSETTINGS_H_

#include <OpenSGExt/OSGTonemappingSettingsBase.h>

namespace osg {

/*! Tone-mapping settings of a camera (CameraSetting::tonemappingSettings). Registered so that
    settings can point to it and files that carry it load; its own fields are not defined yet. */
class TonemappingSettings : public TonemappingSettingsBase
{
  public:
    typedef TonemappingSettingsBase Inherited;

  protected:
    friend class FieldContainer;
    friend class TonemappingSettingsBase;

    TonemappingSettings(void);
    TonemappingSettings(const TonemappingSettings &source);
    ~TonemappingSettings(void) override;
};

} // namespace osg

#endif
