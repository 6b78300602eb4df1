#ifndef _OSGSHADERPARAMETERVEC2F_H_
#define _OSGSHADERPARAMETERVEC2F_H_

#include <OpenSG/OSGShaderParameterVec2fBase.h>

namespace osg {

/*! A uniform holding a Vec2f; made and owned by ShaderParameterChunk. */
class ShaderParameterVec2f : public ShaderParameterVec2fBase
{
  public:
    typedef ShaderParameterVec2fBase Inherited;

  protected:
    friend class FieldContainer;
    friend class ShaderParameterVec2fBase;

    ShaderParameterVec2f(void);
    ShaderParameterVec2f(const ShaderParameterVec2f &source);
    ~ShaderParameterVec2f(void) override;
};

} // namespace osg

#endif
