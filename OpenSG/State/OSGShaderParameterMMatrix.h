#ifndef _OSGSHADERPARAMETERMMATRIX_H_
#define _OSGSHADERPARAMETERMMATRIX_H_

#include <OpenSG/OSGShaderParameterMMatrixBase.h>

namespace osg {

/*! A uniform holding a MFMatrix; made and owned by ShaderParameterChunk. */
class ShaderParameterMMatrix : public ShaderParameterMMatrixBase
{
  public:
    typedef ShaderParameterMMatrixBase Inherited;

  protected:
    friend class FieldContainer;
    friend class ShaderParameterMMatrixBase;

    ShaderParameterMMatrix(void);
    ShaderParameterMMatrix(const ShaderParameterMMatrix &source);
    ~ShaderParameterMMatrix(void) override;
};

} // namespace osg

#endif
