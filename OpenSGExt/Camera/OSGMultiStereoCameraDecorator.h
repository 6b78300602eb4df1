#ifndef _OSGMULTISTEREOCAMERADECORATOR_H_
#define _OSGMULTISTEREOCAMERADECORATOR_H_

#include <OpenSGExt/OSGMultiStereoCameraDecoratorBase.h>

namespace osg {

/*! One view of a multi-view (autostereoscopic) display: an eye at eyeOffset along the camera's
    x axis, looking parallel to the decoratee, whose image agrees with the decoratee's in the
    plane at zeroParallaxDistance (the display's screen).

    Projection: P = P0 * S * T with P0 the decoratee's projection (any model: offsets, skew and
    reversed depth carry over), T the translation by -eyeOffset along x (the eye moves, the
    world shifts the other way), and S the shear x += -eyeOffset / zeroParallaxDistance * z that
    makes the frustum off-axis so that every point of the screen plane keeps its image. An
    offset of 0 gives P0 exactly. The viewing is the decoratee's; eyeSeparation, leftEye and
    overlap play no part: each view is one decorator with its own offset.

    The decoratee must be a PerspectiveCamera (PerspectiveCamera2 is one): otherwise
    "MultiStereoCameraDecorator::getProjection: can only decorate PerspectiveCameras!" and the
    identity. An empty viewport gives the identity; a zero-parallax distance below 1e-6 is
    warned about and taken as 1. getDecoration is the decoratee's, as for sheared stereo. */
class MultiStereoCameraDecorator : public MultiStereoCameraDecoratorBase
{
  public:
    typedef MultiStereoCameraDecoratorBase Inherited;

    void getProjection(Matrix &result, UInt32 width, UInt32 height, Int32 eye = -1,
                       bool depthFlag = false) override;

  protected:
    friend class FieldContainer;
    friend class MultiStereoCameraDecoratorBase;

    MultiStereoCameraDecorator(void);
    MultiStereoCameraDecorator(const MultiStereoCameraDecorator &source);
    ~MultiStereoCameraDecorator(void) override;
};

} // namespace osg

#endif
