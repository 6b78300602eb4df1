#include <OpenSG/OSGShaderParameterInt.h>

namespace osg {

ShaderParameterInt::ShaderParameterInt(void) : Inherited()
{
}

ShaderParameterInt::ShaderParameterInt(const ShaderParameterInt &source) : Inherited(source)
{
}

ShaderParameterInt::~ShaderParameterInt(void) = default;

} // namespace osg
