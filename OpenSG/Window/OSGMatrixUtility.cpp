#include <OpenSG/OSGMatrixUtility.h>
#include <OpenSG/OSGLog.h>

namespace osg {

namespace {

// Clip z and w of an eye point (0, 0, z, 1): w = -z for a perspective projection. The
// reversed terms map -n to 1 and -f to 0 after the divide.
void setPerspectiveDepth(Matrix &m, Real32 n, Real32 f, bool reversedDepth)
{
    const Real32 dz = f - n;
    if(reversedDepth)
    {
        m[2][2] = n / dz;
        m[3][2] = n * f / dz;
    }
    else
    {
        m[2][2] = -(f + n) / dz;
        m[3][2] = -2.f * f * n / dz;
    }
}

bool checkPerspective(const Char8 *who, Real32 fovy, Real32 aspect, Real32 n, Real32 f)
{
    bool ok = true;
    if(n > f)
    {
        SWARNING << who << ": near " << n << " > far " << f << "!" << std::endl;
        ok = false;
    }
    if(fovy <= Eps)
    {
        SWARNING << who << ": fovy " << fovy << " very small!" << std::endl;
        ok = false;
    }
    if(osgabs(n - f) < Eps)
    {
        SWARNING << who << ": near " << n << " ~= far " << f << "!" << std::endl;
        ok = false;
    }
    if(aspect < Eps)
    {
        SWARNING << who << ": aspect ratio " << aspect << " very small!" << std::endl;
        ok = false;
    }
    return ok;
}

} // namespace

bool MatrixOrthogonal(Matrix &result, Real32 rLeft, Real32 rRight, Real32 rBottom, Real32 rTop,
                      Real32 rNear, Real32 rFar, bool reversedDepth)
{
    const Real32 dx = rRight - rLeft, dy = rTop - rBottom, dz = rFar - rNear;
    result.setValueTransposed(2.f / dx, 0.f, 0.f, 0.f,
                              0.f, 2.f / dy, 0.f, 0.f,
                              0.f, 0.f, -2.f / dz, 0.f,
                              -(rRight + rLeft) / dx, -(rTop + rBottom) / dy,
                              -(rFar + rNear) / dz, 1.f);
    if(reversedDepth)
    {
        // z_eye = -n -> 1, z_eye = -f -> 0 (no divide: w stays 1).
        result[2][2] = 1.f / dz;
        result[3][2] = rFar / dz;
    }
    return false;
}

bool MatrixFrustum(Matrix &result, Real32 rLeft, Real32 rRight, Real32 rBottom, Real32 rTop,
                   Real32 rNear, Real32 rFar, bool reversedDepth)
{
    const Real32 dx = rRight - rLeft, dy = rTop - rBottom;
    result.setValueTransposed(2.f * rNear / dx, 0.f, 0.f, 0.f,
                              0.f, 2.f * rNear / dy, 0.f, 0.f,
                              (rRight + rLeft) / dx, (rTop + rBottom) / dy, 0.f, -1.f,
                              0.f, 0.f, 0.f, 0.f);
    setPerspectiveDepth(result, rNear, rFar, reversedDepth);
    return false;
}

bool MatrixPerspective(Matrix &result, Real32 rFovy, Real32 rAspect, Real32 rNear, Real32 rFar,
                       bool reversedDepth)
{
    if(!checkPerspective("MatrixPerspective", rFovy, rAspect, rNear, rFar))
    {
        result.setIdentity();
        return true;
    }
    const Real32 ct = osgtan(rFovy);
    MatrixFrustum(result, -rNear * ct * rAspect, rNear * ct * rAspect, -rNear * ct, rNear * ct,
                  rNear, rFar, reversedDepth);
    return false;
}

bool MatrixStereoPerspective(Matrix &projection, Matrix &projtrans, Real32 rFovy, Real32 rAspect,
                             Real32 rNear, Real32 rFar, Real32 rZeroparallax, Real32 rEyedistance,
                             Real32 rWhicheye, Real32 rOverlap, bool reversedDepth)
{
    bool ok = checkPerspective("MatrixStereoPerspective", rFovy, rAspect, rNear, rFar);
    if(rZeroparallax < Eps)
    {
        SWARNING << "MatrixStereoPerspective: zero parallax " << rZeroparallax << " very small, "
                 << "setting to 1!" << std::endl;
        rZeroparallax = 1.f;
        ok = false;
    }
    if(!ok)
    {
        projection.setIdentity();
        projtrans.setIdentity();
        return true;
    }

    // The eye sits at e on the x axis; the screen rectangle at the zero-parallax plane is shared
    // by both eyes, so each frustum is sheared towards it.
    const Real32 side = rWhicheye - 0.5f;
    const Real32 e    = -rEyedistance * side;
    const Real32 top  = osgtan(rFovy / 2.f) * rNear;
    const Real32 g    = osgtan(rFovy / 2.f) * rAspect;
    Real32 left  = (-g + e / rZeroparallax) * rNear;
    Real32 right = ( g + e / rZeroparallax) * rNear;
    const Real32 d = right - left;
    left  += d * (1.f - rOverlap) * side;
    right += d * (1.f - rOverlap) * side;

    MatrixFrustum(projection, left, right, -top, top, rNear, rFar, reversedDepth);
    projtrans.setIdentity();
    projtrans[3][0] = e;
    return false;
}

bool MatrixLookAt(Matrix &result, Real32 fromx, Real32 fromy, Real32 fromz,
                  Real32 atx, Real32 aty, Real32 atz, Real32 upx, Real32 upy, Real32 upz)
{
    return MatrixLookAt(result, Pnt3f(fromx, fromy, fromz), Pnt3f(atx, aty, atz),
                        Vec3f(upx, upy, upz));
}

bool MatrixLookAt(Matrix &result, const Pnt3f &from, const Pnt3f &at, const Vec3f &up)
{
    Vec3f view = from - at;
    view.normalize();
    Vec3f right = up.cross(view);
    if(right.dot(right) < Eps)
        return true;
    right.normalize();
    Vec3f newUp = view.cross(right);

    result.setIdentity();
    result.setValue(right, newUp, view, from.subZero());
    return false;
}

} // namespace osg
