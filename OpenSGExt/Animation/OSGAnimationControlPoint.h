#ifndef _OSGANIMATIONCONTROLPOINT_H_
#define _OSGANIMATIONCONTROLPOINT_H_

#include <OpenSGExt/OSGAnimationControlPointBase.h>

#include <set>

namespace osg {

/*! One key of an AnimationCurve: (time, value), both handles and a tangent rule. Holds no
    pointers. */
class AnimationControlPoint : public AnimationControlPointBase
{
  public:
    typedef AnimationControlPointBase Inherited;


  protected:
    friend class FieldContainer;
    friend class AnimationControlPointBase;

    AnimationControlPoint(void);
    AnimationControlPoint(const AnimationControlPoint &source);
    ~AnimationControlPoint(void) override;
};

} // namespace osg

#endif
