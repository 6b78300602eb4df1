#include <OpenSG/OSGShearedStereoCameraDecorator.h>
#include <OpenSG/OSGLog.h>
#include <OpenSG/OSGMatrixUtility.h>
#include <OpenSG/OSGPerspectiveCamera.h>

namespace osg {

ShearedStereoCameraDecorator::ShearedStereoCameraDecorator(void) : Inherited()
{
}

ShearedStereoCameraDecorator::ShearedStereoCameraDecorator(
    const ShearedStereoCameraDecorator &source) :
    Inherited(source)
{
}

ShearedStereoCameraDecorator::~ShearedStereoCameraDecorator(void) = default;

void ShearedStereoCameraDecorator::getProjection(Matrix &result, UInt32 width, UInt32 height,
                                                 Int32 eye, bool depthFlag)
{
    if(width == 0 || height == 0)
    {
        result.setIdentity();
        return;
    }
    PerspectiveCameraPtr cam = PerspectiveCameraPtr::dcast(getDecoratee());
    if(cam == NullFC)
    {
        SWARNING << "ShearedStereoCameraDecorator::getProjection: can only decorate "
                 << "PerspectiveCameras!" << std::endl;
        result.setIdentity();
        return;
    }
    if(getEyeSeparation() == 0.f)
    {
        cam->getProjection(result, width, height, eye, depthFlag);
        return;
    }
    Matrix trans;
    MatrixStereoPerspective(result, trans, cam->getFov(),
                            Real32(width) / Real32(height) * cam->getAspect(), cam->getNear(),
                            cam->getFar(), getZeroParallaxDistance(), getEyeSeparation(),
                            isLeftEye(eye) ? 0.f : 1.f, getOverlap(), depthFlag);
    result.mult(trans);
}

void ShearedStereoCameraDecorator::getDecoration(Matrix &result, UInt32 width, UInt32 height)
{
    if(width == 0 || height == 0 || getDecoratee() == NullFC)
    {
        result.setIdentity();
        return;
    }
    getDecoratee()->getDecoration(result, width, height);
}

} // namespace osg
