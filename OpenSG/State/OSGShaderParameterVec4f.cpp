#include <OpenSG/OSGShaderParameterVec4f.h>

namespace osg {

ShaderParameterVec4f::ShaderParameterVec4f(void) : Inherited()
{
}

ShaderParameterVec4f::ShaderParameterVec4f(const ShaderParameterVec4f &source) : Inherited(source)
{
}

ShaderParameterVec4f::~ShaderParameterVec4f(void) = default;

} // namespace osg
