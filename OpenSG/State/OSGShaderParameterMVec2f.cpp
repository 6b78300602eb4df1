#include <OpenSG/OSGShaderParameterMVec2f.h>

namespace osg {

ShaderParameterMVec2f::ShaderParameterMVec2f(void) : Inherited()
{
}

ShaderParameterMVec2f::ShaderParameterMVec2f(const ShaderParameterMVec2f &source) : Inherited(source)
{
}

ShaderParameterMVec2f::~ShaderParameterMVec2f(void) = default;

} // namespace osg
