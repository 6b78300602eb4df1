#ifndef _OSGSHADERPARAMETERVEC3F_H_
#define _OSGSHADERPARAMETERVEC3F_H_

#include <OpenSG/OSGShaderParameterVec3fBase.h>

namespace osg {

/*! A uniform holding a Vec3f; made and owned by ShaderParameterChunk. */
class ShaderParameterVec3f : public ShaderParameterVec3fBase
{
  public:
    typedef ShaderParameterVec3fBase Inherited;

  protected:
    friend class FieldContainer;
    friend class ShaderParameterVec3fBase;

    ShaderParameterVec3f(void);
    ShaderParameterVec3f(const ShaderParameterVec3f &source);
    ~ShaderParameterVec3f(void) override;
};

} // namespace osg

#endif
