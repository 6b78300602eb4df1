#ifndef _OSGSHADERPARAMETERBOOL_H_
#define _OSGSHADERPARAMETERBOOL_H_

#include <OpenSG/OSGShaderParameterBoolBase.h>

namespace osg {

/*! A uniform holding a bool; made and owned by ShaderParameterChunk. */
class ShaderParameterBool : public ShaderParameterBoolBase
{
  public:
    typedef ShaderParameterBoolBase Inherited;

  protected:
    friend class FieldContainer;
    friend class ShaderParameterBoolBase;

    ShaderParameterBool(void);
    ShaderParameterBool(const ShaderParameterBool &source);
    ~ShaderParameterBool(void) override;
};

} // namespace osg

#endif
