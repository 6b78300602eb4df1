#ifndef _OSGSHADERPARAMETERMREAL_H_
#define _OSGSHADERPARAMETERMREAL_H_

#include <OpenSG/OSGShaderParameterMRealBase.h>

namespace osg {

/*! A uniform holding a MFReal32; made and owned by ShaderParameterChunk. */
class ShaderParameterMReal : public ShaderParameterMRealBase
{
  public:
    typedef ShaderParameterMRealBase Inherited;

  protected:
    friend class FieldContainer;
    friend class ShaderParameterMRealBase;

    ShaderParameterMReal(void);
    ShaderParameterMReal(const ShaderParameterMReal &source);
    ~ShaderParameterMReal(void) override;
};

} // namespace osg

#endif
