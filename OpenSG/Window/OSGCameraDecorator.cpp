#include <OpenSG/OSGCameraDecorator.h>
#include <OpenSG/OSGLog.h>

namespace osg {

CameraDecorator::CameraDecorator(void) : Inherited()
{
}

CameraDecorator::CameraDecorator(const CameraDecorator &source) : Inherited(source)
{
}

CameraDecorator::~CameraDecorator(void) = default;

Camera *CameraDecorator::decorateeOrWarn(const Char8 *who) const
{
    const CameraPtr &d = getDecoratee();
    if(d == NullFC)
    {
        SWARNING << who << ": no decoratee!" << std::endl;
        return NULL;
    }
    return d.getCPtr();
}

NodePtr &CameraDecorator::getBeacon(void)
{
    Camera *d = decorateeOrWarn("CameraDecorator::getBeacon");
    return d != NULL ? d->getBeacon() : Inherited::getBeacon();
}

const NodePtr &CameraDecorator::getBeacon(void) const
{
    const Camera *d = decorateeOrWarn("CameraDecorator::getBeacon");
    return d != NULL ? d->getBeacon() : Inherited::getBeacon();
}

void CameraDecorator::setBeacon(const NodePtr &value)
{
    Camera *d = decorateeOrWarn("CameraDecorator::setBeacon");
    if(d == NULL)
    {
        Inherited::setBeacon(value);
        return;
    }
    CameraPtr dp(d);
    beginEditCP(dp, BeaconFieldMask);
    d->setBeacon(value);
    endEditCP(dp, BeaconFieldMask);
}

Real32 &CameraDecorator::getNear(void)
{
    Camera *d = decorateeOrWarn("CameraDecorator::getNear");
    return d != NULL ? d->getNear() : Inherited::getNear();
}

const Real32 &CameraDecorator::getNear(void) const
{
    const Camera *d = decorateeOrWarn("CameraDecorator::getNear");
    return d != NULL ? d->getNear() : Inherited::getNear();
}

void CameraDecorator::setNear(const Real32 &value)
{
    Camera *d = decorateeOrWarn("CameraDecorator::setNear");
    if(d == NULL)
    {
        Inherited::setNear(value);
        return;
    }
    CameraPtr dp(d);
    beginEditCP(dp, NearFieldMask);
    d->setNear(value);
    endEditCP(dp, NearFieldMask);
}

Real32 &CameraDecorator::getFar(void)
{
    Camera *d = decorateeOrWarn("CameraDecorator::getFar");
    return d != NULL ? d->getFar() : Inherited::getFar();
}

const Real32 &CameraDecorator::getFar(void) const
{
    const Camera *d = decorateeOrWarn("CameraDecorator::getFar");
    return d != NULL ? d->getFar() : Inherited::getFar();
}

void CameraDecorator::setFar(const Real32 &value)
{
    Camera *d = decorateeOrWarn("CameraDecorator::setFar");
    if(d == NULL)
    {
        Inherited::setFar(value);
        return;
    }
    CameraPtr dp(d);
    beginEditCP(dp, FarFieldMask);
    d->setFar(value);
    endEditCP(dp, FarFieldMask);
}

void CameraDecorator::getTransform(Matrix &result, CameraSpace space) const
{
    const Camera *d = decorateeOrWarn("CameraDecorator::getTransform");
    if(d == NULL)
    {
        result.setIdentity();
        return;
    }
    d->getTransform(result, space);
}

void CameraDecorator::getProjection(Matrix &result, UInt32 width, UInt32 height, Int32 eye,
                                    bool depthFlag)
{
    Camera *d = decorateeOrWarn("CameraDecorator::getProjection");
    if(d == NULL)
    {
        result.setIdentity();
        return;
    }
    d->getProjection(result, width, height, eye, depthFlag);
}

void CameraDecorator::getProjectionTranslation(Matrix &result, UInt32 width, UInt32 height,
                                               Int32 eye)
{
    Camera *d = decorateeOrWarn("CameraDecorator::getProjectionTranslation");
    if(d == NULL)
    {
        result.setIdentity();
        return;
    }
    d->getProjectionTranslation(result, width, height, eye);
}

void CameraDecorator::getViewing(Matrix &result, UInt32 width, UInt32 height, Int32 eye)
{
    Camera *d = decorateeOrWarn("CameraDecorator::getViewing");
    if(d == NULL)
    {
        result.setIdentity();
        return;
    }
    d->getViewing(result, width, height, eye);
}

} // namespace osg
