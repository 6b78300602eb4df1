#include <OpenSG/OSGShaderParameterMInt.h>

namespace osg {

ShaderParameterMInt::ShaderParameterMInt(void) : Inherited()
{
}

ShaderParameterMInt::ShaderParameterMInt(const ShaderParameterMInt &source) : Inherited(source)
{
}

ShaderParameterMInt::~ShaderParameterMInt(void) = default;

} // namespace osg
