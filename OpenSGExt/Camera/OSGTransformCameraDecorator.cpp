#include <OpenSGExt/OSGTransformCameraDecorator.h>

#include <OpenSG/OSGLog.h>
#include <OpenSG/OSGTransform3D.h>

namespace osg {

TransformCameraDecorator::TransformCameraDecorator(void) : Inherited()
{
}

TransformCameraDecorator::TransformCameraDecorator(const TransformCameraDecorator &source) :
    Inherited(source)
{
}

TransformCameraDecorator::~TransformCameraDecorator(void) = default;

void TransformCameraDecorator::onCreate(const TransformCameraDecorator *source)
{
    Inherited::onCreate(source);
    if(source != NULL)
        addRefCP(_sfViewTransform.getValue());
}

void TransformCameraDecorator::onDestroy(void)
{
    Transform3DPtr old = _sfViewTransform.getValue();
    _sfViewTransform.setValue(NullFC);
    subRefCP(old);
    Inherited::onDestroy();
}

void TransformCameraDecorator::changed(BitVector whichField, UInt32 origin)
{
    if((whichField & ViewTransformFieldMask) && (origin & ChangedOrigin::Abstract) &&
       (origin & ChangedOrigin::AbstrIncRefCount))
    {
        addRefCP(_sfViewTransform.getValue());
    }
    Inherited::changed(whichField, origin);
}

void TransformCameraDecorator::setViewTransform(const Transform3DPtr &value)
{
    Transform3DPtr old = _sfViewTransform.getValue();
    addRefCP(value);
    _sfViewTransform.setValue(value);
    subRefCP(old);
}

void TransformCameraDecorator::getViewing(Matrix &result, UInt32 width, UInt32 height, Int32 eye)
{
    if(getDecoratee() == NullFC)
    {
        SWARNING << "TransformCameraDecorator::getViewing: no decoratee!" << std::endl;
        result.setIdentity();
        return;
    }
    getDecoratee()->getViewing(result, width, height, eye);
    if(getViewTransform() != NullFC)
        result.multLeft(getViewTransform()->getMatrix());
}

void TransformCameraDecorator::getProjection(Matrix &result, UInt32 width, UInt32 height,
                                             Int32 eye, bool depthFlag)
{
    if(getDecoratee() == NullFC)
    {
        SWARNING << "TransformCameraDecorator::getProjection: no decoratee!" << std::endl;
        result.setIdentity();
        return;
    }
    getDecoratee()->getProjection(result, width, height, eye, depthFlag);
}

void TransformCameraDecorator::getProjectionTranslation(Matrix &result, UInt32 width,
                                                        UInt32 height, Int32 eye)
{
    if(getDecoratee() == NullFC)
    {
        SWARNING << "TransformCameraDecorator::getProjectionTranslation: no decoratee!"
                 << std::endl;
        result.setIdentity();
        return;
    }
    getDecoratee()->getProjectionTranslation(result, width, height, eye);
}

} // namespace osg
