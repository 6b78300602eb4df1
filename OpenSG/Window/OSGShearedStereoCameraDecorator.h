#ifndef _OSGSHEAREDSTEREOCAMERADECORATOR_H_
#define _OSGSHEAREDSTEREOCAMERADECORATOR_H_

#include <OpenSG/OSGShearedStereoCameraDecoratorBase.h>

namespace osg {

/*! Stereo by off-axis frusta: both eyes look parallel, each frustum is sheared so that the two
    meet in the rectangle the decoratee sees at zeroParallaxDistance. The eye's shift along x is
    part of the projection (MatrixStereoPerspective's frustum times its eye translation); the
    viewing is the decoratee's. */
class ShearedStereoCameraDecorator : public ShearedStereoCameraDecoratorBase
{
  public:
    typedef ShearedStereoCameraDecoratorBase Inherited;

    /*! An empty viewport gives the identity. The decoratee must be a PerspectiveCamera
        ("ShearedStereoCameraDecorator::getProjection: can only decorate PerspectiveCameras!"
        and the identity otherwise). An eye separation of 0 gives the decoratee's projection. */
    void getProjection(Matrix &result, UInt32 width, UInt32 height, Int32 eye = -1,
                       bool depthFlag = false) override;

    /*! The decoratee's decoration; the identity for an empty viewport or without decoratee. */
    void getDecoration(Matrix &result, UInt32 width, UInt32 height) override;

  protected:
    friend class FieldContainer;
    friend class ShearedStereoCameraDecoratorBase;

    ShearedStereoCameraDecorator(void);
    ShearedStereoCameraDecorator(const ShearedStereoCameraDecorator &source);
    ~ShearedStereoCameraDecorator(void) override;
};

} // namespace osg

#endif
