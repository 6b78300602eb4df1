#include <OpenSG/OSGShaderParameterMVec4f.h>

namespace osg {

ShaderParameterMVec4f::ShaderParameterMVec4f(void) : Inherited()
{
}

ShaderParameterMVec4f::ShaderParameterMVec4f(const ShaderParameterMVec4f &source) : Inherited(source)
{
}

ShaderParameterMVec4f::~ShaderParameterMVec4f(void) = default;

} // namespace osg
