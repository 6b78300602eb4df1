#include <OpenSG/OSGShaderParameterVec3f.h>

namespace osg {

ShaderParameterVec3f::ShaderParameterVec3f(void) : Inherited()
{
}

ShaderParameterVec3f::ShaderParameterVec3f(const ShaderParameterVec3f &source) : Inherited(source)
{
}

ShaderParameterVec3f::~ShaderParameterVec3f(void) = default;

} // namespace osg
