#include <OpenSG/OSGCamera.h>
#include <OpenSG/OSGLog.h>
#include <OpenSG/OSGNode.h>

namespace osg {

Camera::Camera(void) : Inherited()
{
}

Camera::Camera(const Camera &source) : Inherited(source)
{
}

Camera::~Camera(void) = default;

NodePtr &Camera::getBeacon(void)
{
    return Inherited::getBeacon();
}

const NodePtr &Camera::getBeacon(void) const
{
    return Inherited::getBeacon();
}

void Camera::setBeacon(const NodePtr &value)
{
    Inherited::setBeacon(value);
}

Real32 &Camera::getNear(void)
{
    return Inherited::getNear();
}

const Real32 &Camera::getNear(void) const
{
    return Inherited::getNear();
}

void Camera::setNear(const Real32 &value)
{
    Inherited::setNear(value);
}

Real32 &Camera::getFar(void)
{
    return Inherited::getFar();
}

const Real32 &Camera::getFar(void) const
{
    return Inherited::getFar();
}

void Camera::setFar(const Real32 &value)
{
    Inherited::setFar(value);
}

void Camera::getTransform(Matrix &result, CameraSpace space) const
{
    const NodePtr &beacon = getBeacon();
    if(beacon == NullFC)
    {
        SWARNING << "Camera::getTransform: no beacon!" << std::endl;
        result.setIdentity();
        return;
    }
    if(space == CameraToParent)
    {
        result.setIdentity();
        if(beacon->getCore() != NullFC)
            beacon->getCore()->accumulateMatrix(result);
        return;
    }
    beacon->getToWorld(result);
}

void Camera::getProjection(Matrix &result, UInt32, UInt32, Int32, bool)
{
    SWARNING << "Camera::getProjection: not implemented!" << std::endl;
    result.setIdentity();
}

void Camera::getProjectionTranslation(Matrix &result, UInt32, UInt32, Int32)
{
    result.setIdentity();
}

void Camera::getViewing(Matrix &result, UInt32, UInt32, Int32)
{
    if(getBeacon() == NullFC)
    {
        SWARNING << "Camera::getViewing: no beacon!" << std::endl;
        result.setIdentity();
        return;
    }
    getTransform(result, CameraToWorld);
    result.invert();
}

void Camera::getDecoration(Matrix &result, UInt32, UInt32)
{
    result.setIdentity();
}

void Camera::getWorldToScreen(Matrix &result, UInt32 width, UInt32 height, Int32 eye,
                              bool depthFlag)
{
    Matrix pt, v;
    getProjection(result, width, height, eye, depthFlag);
    getProjectionTranslation(pt, width, height, eye);
    getViewing(v, width, height, eye);
    result.mult(pt);
    result.mult(v);
}

} // namespace osg
