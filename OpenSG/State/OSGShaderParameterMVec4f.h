#ifndef _OSGSHADERPARAMETERMVEC4F_H_
#define _OSGSHADERPARAMETERMVEC4F_H_

#include <OpenSG/OSGShaderParameterMVec4fBase.h>

namespace osg {

/*! A uniform holding a MFVec4f; made and owned by ShaderParameterChunk. */
class ShaderParameterMVec4f : public ShaderParameterMVec4fBase
{
  public:
    typedef ShaderParameterMVec4fBase Inherited;

  protected:
    friend class FieldContainer;
    friend class ShaderParameterMVec4fBase;

    ShaderParameterMVec4f(void);
    ShaderParameterMVec4f(const ShaderParameterMVec4f &source);
    ~ShaderParameterMVec4f(void) override;
};

} // namespace osg

#endif
