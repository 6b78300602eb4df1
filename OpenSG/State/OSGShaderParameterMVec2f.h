#ifndef _OSGSHADERPARAMETERMVEC2F_H_
#define _OSGSHADERPARAMETERMVEC2F_H_

#include <OpenSG/OSGShaderParameterMVec2fBase.h>

namespace osg {

/*! A uniform holding a MFVec2f; made and owned by ShaderParameterChunk. */
class ShaderParameterMVec2f : public ShaderParameterMVec2fBase
{
  public:
    typedef ShaderParameterMVec2fBase Inherited;

  protected:
    friend class FieldContainer;
    friend class ShaderParameterMVec2fBase;

    ShaderParameterMVec2f(void);
    ShaderParameterMVec2f(const ShaderParameterMVec2f &source);
    ~ShaderParameterMVec2f(void) override;
};

} // namespace osg

#endif
