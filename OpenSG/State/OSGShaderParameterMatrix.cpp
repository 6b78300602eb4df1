#include <OpenSG/OSGShaderParameterMatrix.h>

namespace osg {

ShaderParameterMatrix::ShaderParameterMatrix(void) : Inherited()
{
}

ShaderParameterMatrix::ShaderParameterMatrix(const ShaderParameterMatrix &source) : Inherited(source)
{
}

ShaderParameterMatrix::~ShaderParameterMatrix(void) = default;

} // namespace osg
