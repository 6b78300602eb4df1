#ifndef _OSGSHADERPARAMETERINT_H_
#define _OSGSHADERPARAMETERINT_H_

#include <OpenSG/OSGShaderParameterIntBase.h>

namespace osg {

/*! A uniform holding a Int32; made and owned by ShaderParameterChunk. */
class ShaderParameterInt : public ShaderParameterIntBase
{
  public:
    typedef ShaderParameterIntBase Inherited;

  protected:
    friend class FieldContainer;
    friend class ShaderParameterIntBase;

    ShaderParameterInt(void);
    ShaderParameterInt(const ShaderParameterInt &source);
    ~ShaderParameterInt(void) override;
};

} // namespace osg

#endif
