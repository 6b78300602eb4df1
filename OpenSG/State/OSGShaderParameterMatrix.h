#ifndef _OSGSHADERPARAMETERMATRIX_H_
#define _OSGSHADERPARAMETERMATRIX_H_

#include <OpenSG/OSGShaderParameterMatrixBase.h>

namespace osg {

/*! A uniform holding a Matrix; made and owned by ShaderParameterChunk. */
class ShaderParameterMatrix : public ShaderParameterMatrixBase
{
  public:
    typedef ShaderParameterMatrixBase Inherited;

  protected:
    friend class FieldContainer;
    friend class ShaderParameterMatrixBase;

    ShaderParameterMatrix(void);
    ShaderParameterMatrix(const ShaderParameterMatrix &source);
    ~ShaderParameterMatrix(void) override;
};

} // namespace osg

#endif
