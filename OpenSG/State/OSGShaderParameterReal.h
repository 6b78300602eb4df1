#ifndef _OSGSHADERPARAMETERREAL_H_
#define _OSGSHADERPARAMETERREAL_H_

#include <OpenSG/OSGShaderParameterRealBase.h>

namespace osg {

/*! A uniform holding a Real32; made and owned by ShaderParameterChunk. */
class ShaderParameterReal : public ShaderParameterRealBase
{
  public:
    typedef ShaderParameterRealBase Inherited;

  protected:
    friend class FieldContainer;
    friend class ShaderParameterRealBase;

    ShaderParameterReal(void);
    ShaderParameterReal(const ShaderParameterReal &source);
    ~ShaderParameterReal(void) override;
};

} // namespace osg

#endif
