#ifndef _OSGSHADERPARAMETER_H_
#define _OSGSHADERPARAMETER_H_

#include <OpenSG/OSGShaderParameterBase.h>

namespace osg {

/*! Base of the named uniforms that a ShaderParameterChunk holds; the kind of value is the
    concrete type (ShaderParameterBool, ...Int, ...MVec3f and so on). */
class ShaderParameter : public ShaderParameterBase
{
  public:
    typedef ShaderParameterBase Inherited;

  protected:
    friend class FieldContainer;
    friend class ShaderParameterBase;

    ShaderParameter(void);
    ShaderParameter(const ShaderParameter &source);
    ~ShaderParameter(void) override;
};

} // namespace osg

#endif
