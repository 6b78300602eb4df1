#include <OpenSG/OSGShaderParameterMVec3f.h>

namespace osg {

ShaderParameterMVec3f::ShaderParameterMVec3f(void) : Inherited()
{
}

ShaderParameterMVec3f::ShaderParameterMVec3f(const ShaderParameterMVec3f &source) : Inherited(source)
{
}

ShaderParameterMVec3f::~ShaderParameterMVec3f(void) = default;

} // namespace osg
