#ifndef _OSGTRANSFORMCAMERADECORATOR_H_
#define _OSGTRANSFORMCAMERADECORATOR_H_

#include <OpenSGExt/OSGTransformCameraDecoratorBase.h>

namespace osg {

/*! Moves the decoratee's view by the matrix of a transform core: viewing = M * (decoratee's
    viewing) with M the matrix of viewTransform (the decoratee's viewing unchanged without
    one). Projection and projection translation are the decoratee's. Without a decoratee:
    "TransformCameraDecorator::getViewing: no decoratee!" (or getProjection) and the identity.

    Ownership: the decorator holds one reference to viewTransform, taken by setViewTransform
    (which gives back the old one) and given back on destruction; a shallow copy takes its own.
    Reading or synchronising the field takes none unless the edit ends with the origin
    Abstract|AbstrIncRefCount. */
class TransformCameraDecorator : public TransformCameraDecoratorBase
{
  public:
    typedef TransformCameraDecoratorBase Inherited;

    void setViewTransform(const Transform3DPtr &value);

    void getViewing(Matrix &result, UInt32 width, UInt32 height, Int32 eye = -1) override;
    void getProjection(Matrix &result, UInt32 width, UInt32 height, Int32 eye = -1,
                       bool depthFlag = false) override;
    void getProjectionTranslation(Matrix &result, UInt32 width, UInt32 height,
                                  Int32 eye = -1) override;

    void changed(BitVector whichField, UInt32 origin) override;

  protected:
    friend class FieldContainer;
    friend class TransformCameraDecoratorBase;

    TransformCameraDecorator(void);
    TransformCameraDecorator(const TransformCameraDecorator &source);
    ~TransformCameraDecorator(void) override;

    void onCreate(const TransformCameraDecorator *source = NULL);
    void onDestroy(void) override;
};

} // namespace osg

#endif
