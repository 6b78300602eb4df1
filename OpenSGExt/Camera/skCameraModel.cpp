#include <OpenSGExt/skCameraModel.h>

#include <OpenSG/OSGLog.h>

#include <cmath>

using namespace osg;

Real32 skCameraModel::fovInRadians(Real32 fov)
{
    return fov > 3.1415927f ? Real32(fov * Pi / 180.0) : fov;
}

Real32 skCameraModel::focalLength(Real32 sensor, Real32 fov)
{
    const double angle = fovInRadians(fov);
    return Real32(double(sensor) / (2.0 * std::tan(angle / 2.0)));
}

Real32 skCameraModel::fieldOfView(Real32 sensor, Real32 focal)
{
    return Real32(2.0 * std::atan2(double(sensor) / 2.0, double(focal)));
}

Matrix skCameraModel::kMatrix(const Lens &lens, Real32 w, Real32 h)
{
    const Real32 f  = focalLength(sensorOf(lens), lens.fieldOfView);
    const Real32 sw = lens.sensorWidth, sh = lens.sensorHeight;
    Real32 p = 0.f;
    if(lens.offsetUnit == 1)
        p = w / sw;
    else if(lens.offsetUnit == 0)
        p = h / sh;
    const Real32 ox = lens.principalPointOffset[0] * p;
    const Real32 oy = lens.principalPointOffset[1] * p;

    // Row by row.
    return Matrix(f / sw, lens.skewFactor * h / 1080.f, w / 2.f + ox, 0.f,
                  0.f,    f / sh,                       h / 2.f - oy, 0.f,
                  0.f,    0.f,                          1.f,          0.f,
                  0.f,    0.f,                          0.f,          0.f);
}

bool skCameraModel::projection(Matrix &P, const Lens &lens, Real32 w, Real32 h, Real32 n,
                               Real32 f, bool reversedDepth)
{
    const Matrix K  = kMatrix(lens, w, h);
    const Real32 sw = lens.sensorWidth, sh = lens.sensorHeight;
    const Real32 a  = sh * w / (sw * h);

    bool failed = false;
    if(n > f)
    {
        SWARNING << "MatrixICPProjection: near " << n << " > far " << f << "!" << std::endl;
        failed = true;
    }
    if(lens.fieldOfView <= 1e-6f)
    {
        SWARNING << "MatrixICPProjection: fovy " << lens.fieldOfView << " very small!" << std::endl;
        failed = true;
    }
    if(std::fabs(n - f) < 1e-6f)
    {
        SWARNING << "MatrixICPProjection: near " << n << " ~= far " << f << "!" << std::endl;
        P.setIdentity();
        return true;
    }
    // Written so that a NaN aspect (zero-sized sensor) also lands here.
    if(!(a >= 1e-6f))
    {
        SWARNING << "MatrixICPProjection: aspect ratio " << a << " very small!" << std::endl;
        P.setIdentity();
        return true;
    }
    if(failed)
    {
        P.setIdentity();
        return true;
    }

    // K(r, c) is K[c][r] in OpenSG's indexing; P(r, c) likewise goes to P[c][r].
    Real32 p00 = 1.f, p11 = 1.f;
    if(lens.fovMode == 1)
    {
        p00 = 2.f * K[0][0];
        p11 = 2.f * K[1][1] * (w / h) * (sh / sw);
    }
    else if(lens.fovMode == 0)
    {
        p11 = 2.f * K[1][1];
        p00 = 2.f * K[0][0] * (sw / sh) / (w / h);
    }

    P.setValue(p00, 2.f * K[1][0] / w, 2.f * K[2][0] / w - 1.f, 0.f,
               0.f, p11,               2.f * K[2][1] / h - 1.f, 0.f,
               0.f, 0.f,               0.f,                     0.f,
               0.f, 0.f,               -1.f,                    0.f);
    if(reversedDepth)
    {
        P[2][2] = n / (f - n);
        P[3][2] = n * f / (f - n);
    }
    else
    {
        P[2][2] = -(f + n) / (f - n);
        P[3][2] = -2.f * f * n / (f - n);
    }
    return true;
}

void skCameraModel::distanceHeightAngle(const Pnt3f &from, const Pnt3f &at, bool zUp,
                                        Real32 &distance, Real32 &height, Real32 &angle)
{
    const Vec3f d = from - at;
    Real32 a;
    if(zUp)
    {
        a      = std::atan2(d[1], d[0]);
        height = d[2];
    }
    else
    {
        a      = std::atan2(d[2], d[0]);
        height = d[1];
    }
    const Real32 c = std::cos(a);
    if(c >= 1e-6f || c <= -1e-6f)
    {
        distance = d[0] / c;
    }
    else
    {
        const Real32 len = d.length();
        // An eye on the target has no direction at all: distance 0.
        distance = len > 0.f ? std::cos(std::asin(height / len)) * len : 0.f;
    }
    a = a / 6.2831855f * 360.f;
    if(a < 0.f)
        a += 360.f;
    angle = a;
}

void skCameraModel::fromDistanceHeightAngle(const Vec3f &dha, const Pnt3f &at, bool zUp,
                                            Pnt3f &from, Vec3f &up)
{
    const Real32 D = dha[0], H = dha[1];
    const Real32 a = Real32(dha[2] * Pi / 180.0);
    if(zUp)
    {
        from.setValues(at[0] + D * std::cos(a), at[1] + D * std::sin(a), at[2] + H);
        up.setValues(0.f, 0.f, 1.f);
    }
    else
    {
        from.setValues(at[0] + D * std::cos(a), at[1] + H, at[2] + D * std::sin(a));
        up.setValues(0.f, 1.f, 0.f);
    }
}
