#include <OpenSG/OSGShaderParameterBool.h>

namespace osg {

ShaderParameterBool::ShaderParameterBool(void) : Inherited()
{
}

ShaderParameterBool::ShaderParameterBool(const ShaderParameterBool &source) : Inherited(source)
{
}

ShaderParameterBool::~ShaderParameterBool(void) = default;

} // namespace osg
