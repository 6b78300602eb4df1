#include <OpenSG/OSGShaderParameterVec2f.h>

namespace osg {

ShaderParameterVec2f::ShaderParameterVec2f(void) : Inherited()
{
}

ShaderParameterVec2f::ShaderParameterVec2f(const ShaderParameterVec2f &source) : Inherited(source)
{
}

ShaderParameterVec2f::~ShaderParameterVec2f(void) = default;

} // namespace osg
