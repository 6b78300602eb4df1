#include <OpenSG/OSGShaderParameterReal.h>

namespace osg {

ShaderParameterReal::ShaderParameterReal(void) : Inherited()
{
}

ShaderParameterReal::ShaderParameterReal(const ShaderParameterReal &source) : Inherited(source)
{
}

ShaderParameterReal::~ShaderParameterReal(void) = default;

} // namespace osg
