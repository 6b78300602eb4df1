#include <OpenSG/OSGPerspectiveCamera.h>
#include <OpenSG/OSGLog.h>
#include <OpenSG/OSGMatrixUtility.h>

namespace osg {

PerspectiveCamera::PerspectiveCamera(void) : Inherited()
{
}

PerspectiveCamera::PerspectiveCamera(const PerspectiveCamera &source) : Inherited(source)
{
}

PerspectiveCamera::~PerspectiveCamera(void) = default;

Real32 &PerspectiveCamera::getFov(void)
{
    return Inherited::getFov();
}

const Real32 &PerspectiveCamera::getFov(void) const
{
    return Inherited::getFov();
}

void PerspectiveCamera::setFov(const Real32 &value)
{
    Inherited::setFov(value);
}

void PerspectiveCamera::getProjection(Matrix &result, UInt32 width, UInt32 height, Int32, bool depthFlag)
{
    Real32 fov = getFov();
    if(fov < 0.f || width == 0 || height == 0)
    {
        result.setIdentity();
        return;
    }
    if(fov > Real32(Pi))
        fov = osgdegree2rad(fov);

    const Real32 n = getNear(), f = getFar();
    const Real32 a = Real32(width) / Real32(height) * getAspect();

    // The same checks and messages as MatrixPerspective, whose half-angle form is not used
    // here because the opening can be fixed in either direction.
    Matrix probe;
    if(MatrixPerspective(probe, fov / 2.f, a, n, f, depthFlag))
    {
        result.setIdentity();
        return;
    }

    const Real32 ct = osgtan(fov / 2.f);
    Real32 x = ct * n, y = ct * n;
    switch(getFovMode())
    {
        case FOV_vertical:
            x *= a;
            break;
        case FOV_horizontal:
            y /= a;
            break;
        case FOV_smaller:
            if(Real32(width) * getAspect() >= Real32(height))
                x *= a;
            else
                y /= a;
            break;
        default:
            result.setIdentity();
            return;
    }
    MatrixFrustum(result, -x, x, -y, y, n, f, depthFlag);
}

} // namespace osg
