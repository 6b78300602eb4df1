#include <OpenSGExt/OSGMultiStereoCameraDecorator.h>

#include <OpenSG/OSGLog.h>
#include <OpenSG/OSGPerspectiveCamera.h>

namespace osg {

MultiStereoCameraDecorator::MultiStereoCameraDecorator(void) : Inherited()
{
}

MultiStereoCameraDecorator::MultiStereoCameraDecorator(const MultiStereoCameraDecorator &source) :
    Inherited(source)
{
}

MultiStereoCameraDecorator::~MultiStereoCameraDecorator(void) = default;

void MultiStereoCameraDecorator::getProjection(Matrix &result, UInt32 width, UInt32 height,
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
        SWARNING << "MultiStereoCameraDecorator::getProjection: can only decorate "
                 << "PerspectiveCameras!" << std::endl;
        result.setIdentity();
        return;
    }
    cam->getProjection(result, width, height, eye, depthFlag);

    const Real32 e = getEyeOffset();
    if(e == 0.f)
        return;
    Real32 zp = getZeroParallaxDistance();
    if(zp < 1e-6f)
    {
        SWARNING << "MultiStereoCameraDecorator::getProjection: zero parallax distance " << zp
                 << " very small, using 1!" << std::endl;
        zp = 1.f;
    }
    // S * T: x' = (x - e) - e / zp * z.
    Matrix st;
    st[2][0] = -e / zp;
    st[3][0] = -e;
    result.mult(st);
}

} // namespace osg
