#include <OpenSG/OSGShaderParameterMMatrix.h>

namespace osg {

ShaderParameterMMatrix::ShaderParameterMMatrix(void) : Inherited()
{
}

ShaderParameterMMatrix::ShaderParameterMMatrix(const ShaderParameterMMatrix &source) : Inherited(source)
{
}

ShaderParameterMMatrix::~ShaderParameterMMatrix(void) = default;

} // namespace osg
