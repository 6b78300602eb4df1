#include <OpenSG/OSGShaderParameterMReal.h>

namespace osg {

ShaderParameterMReal::ShaderParameterMReal(void) : Inherited()
{
}

ShaderParameterMReal::ShaderParameterMReal(const ShaderParameterMReal &source) : Inherited(source)
{
}

ShaderParameterMReal::~ShaderParameterMReal(void) = default;

} // namespace osg
