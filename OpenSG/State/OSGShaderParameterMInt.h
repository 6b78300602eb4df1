#ifndef _OSGSHADERPARAMETERMINT_H_
#define _OSGSHADERPARAMETERMINT_H_

#include <OpenSG/OSGShaderParameterMIntBase.h>

namespace osg {

/*! A uniform holding a MFInt32; made and owned by ShaderParameterChunk. */
class ShaderParameterMInt : public ShaderParameterMIntBase
{
  public:
    typedef ShaderParameterMIntBase Inherited;

  protected:
    friend class FieldContainer;
    friend class ShaderParameterMIntBase;

    ShaderParameterMInt(void);
    ShaderParameterMInt(const ShaderParameterMInt &source);
    ~ShaderParameterMInt(void) override;
};

} // namespace osg

#endif
