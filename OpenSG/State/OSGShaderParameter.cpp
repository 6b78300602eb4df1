#include <OpenSG/OSGShaderParameter.h>

namespace osg {

ShaderParameter::ShaderParameter(void) : Inherited()
{
}

ShaderParameter::ShaderParameter(const ShaderParameter &source) : Inherited(source)
{
}

ShaderParameter::~ShaderParameter(void) = default;

} // namespace osg
