#ifndef _OSGSHADERPARAMETERMVEC3F_H_
#define _OSGSHADERPARAMETERMVEC3F_H_

#include <OpenSG/OSGShaderParameterMVec3fBase.h>

namespace osg {

/*! A uniform holding a MFVec3f; made and owned by ShaderParameterChunk. */
class ShaderParameterMVec3f : public ShaderParameterMVec3fBase
{
  public:
    typedef ShaderParameterMVec3fBase Inherited;

  protected:
    friend class FieldContainer;
    friend class ShaderParameterMVec3fBase;

    ShaderParameterMVec3f(void);
    ShaderParameterMVec3f(const ShaderParameterMVec3f &source);
    ~ShaderParameterMVec3f(void) override;
};

} // namespace osg

#endif
