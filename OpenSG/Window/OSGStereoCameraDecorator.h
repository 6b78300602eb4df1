#ifndef _OSGSTEREOCAMERADECORATOR_H_
#define _OSGSTEREOCAMERADECORATOR_H_

#include <OpenSG/OSGStereoCameraDecoratorBase.h>

namespace osg {

/*! Base of the decorators that give one eye of a stereo pair. The eye is the caller's choice
    when it names one (0 left, anything else but -1 right); -1 leaves it to the leftEye field. */
class StereoCameraDecorator : public StereoCameraDecoratorBase
{
  public:
    typedef StereoCameraDecoratorBase Inherited;

    /*! True when eye (as passed to the matrix getters) selects the left eye. */
    bool isLeftEye(Int32 eye) const { return eye == 0 || (eye == -1 && getLeftEye()); }

  protected:
    friend class FieldContainer;
    friend class StereoCameraDecoratorBase;

    StereoCameraDecorator(void);
    StereoCameraDecorator(const StereoCameraDecorator &source);
    ~StereoCameraDecorator(void) override;
};

} // namespace osg

#endif
