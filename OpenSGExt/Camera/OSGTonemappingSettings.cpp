#include <OpenSGExt/OSGTonemappingSettings.h>

namespace osg {

TonemappingSettings::TonemappingSettings(void) : Inherited()
{
}

TonemappingSettings::TonemappingSettings(const TonemappingSettings &source) : Inherited(source)
{
}

TonemappingSettings::~TonemappingSettings(void) = default;

} // namespace osg
