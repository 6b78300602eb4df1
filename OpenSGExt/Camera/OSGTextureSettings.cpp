#include <OpenSGExt/OSGTextureSettings.h>

namespace osg {

TextureSettings::TextureSettings(void) : Inherited()
{
}

TextureSettings::TextureSettings(const TextureSettings &source) : Inherited(source)
{
}

TextureSettings::~TextureSettings(void) = default;

} // namespace osg
