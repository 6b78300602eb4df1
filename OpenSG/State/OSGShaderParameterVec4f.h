#ifndef _OSGSHADERPARAMETERVEC4F_H_
#define _OSGSHADERPARAMETERVEC4F_H_

#include <OpenSG/OSGShaderParameterVec4fBase.h>

namespace osg {

/*! A uniform holding a Vec4f; made and owned by ShaderParameterChunk. */
class ShaderParameterVec4f : public ShaderParameterVec4fBase
{
  public:
    typedef ShaderParameterVec4fBase Inherited;

  protected:
    friend class FieldContainer;
    friend class ShaderParameterVec4fBase;

    ShaderParameterVec4f(void);
    ShaderParameterVec4f(const ShaderParameterVec4f &source);
    ~ShaderParameterVec4f(void) override;
};

} // namespace osg

#endif
