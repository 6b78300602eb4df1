#include <OpenSG/OSGMatrix.h>

#include <cmath>

namespace osg {
namespace detail {

namespace {

typedef Real64 Mat3[3][3];   // [c][r]

Real64 det3(const Mat3 m)
{
    return m[0][0] * (m[1][1] * m[2][2] - m[2][1] * m[1][2]) -
           m[1][0] * (m[0][1] * m[2][2] - m[2][1] * m[0][2]) +
           m[2][0] * (m[0][1] * m[1][2] - m[1][1] * m[0][2]);
}

void cross(const Real64 a[3], const Real64 b[3], Real64 r[3])
{
    r[0] = a[1] * b[2] - a[2] * b[1];
    r[1] = a[2] * b[0] - a[0] * b[2];
    r[2] = a[0] * b[1] - a[1] * b[0];
}

Real64 dot(const Real64 a[3], const Real64 b[3])
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Real64 normalise(Real64 v[3])
{
    Real64 len = std::sqrt(dot(v, v));
    if(len > 0)
    {
        v[0] /= len;
        v[1] /= len;
        v[2] /= len;
    }
    return len;
}

/*! Eigenvectors (columns of v, v[c][r]) of the symmetric s by cyclic Jacobi rotations; s ends up
    (numerically) diagonal. */
void jacobiEigen(Real64 s[3][3], Mat3 v)
{
    for(UInt32 c = 0; c < 3; ++c)
        for(UInt32 r = 0; r < 3; ++r)
            v[c][r] = (c == r) ? 1.0 : 0.0;

    for(UInt32 sweep = 0; sweep < 64; ++sweep)
    {
        Real64 off  = s[0][1] * s[0][1] + s[0][2] * s[0][2] + s[1][2] * s[1][2];
        Real64 diag = s[0][0] * s[0][0] + s[1][1] * s[1][1] + s[2][2] * s[2][2];
        if(off <= 1e-34 * diag || off == 0)
            break;

        for(UInt32 p = 0; p < 2; ++p)
            for(UInt32 q = p + 1; q < 3; ++q)
            {
                if(s[p][q] == 0)
                    continue;
                Real64 theta = (s[q][q] - s[p][p]) / (2 * s[p][q]);
                Real64 t     = (theta >= 0 ? 1.0 : -1.0) / (std::fabs(theta) + std::sqrt(theta * theta + 1));
                Real64 c     = 1 / std::sqrt(t * t + 1);
                Real64 sn    = t * c;

                // s = J^T s J with J the rotation in the (p, q) plane.
                for(UInt32 k = 0; k < 3; ++k)
                {
                    Real64 skp = s[k][p], skq = s[k][q];
                    s[k][p] = c * skp - sn * skq;
                    s[k][q] = sn * skp + c * skq;
                }
                for(UInt32 k = 0; k < 3; ++k)
                {
                    Real64 spk = s[p][k], sqk = s[q][k];
                    s[p][k] = c * spk - sn * sqk;
                    s[q][k] = sn * spk + c * sqk;
                }
                // v = v J: columns p and q mix.
                for(UInt32 k = 0; k < 3; ++k)
                {
                    Real64 vp = v[p][k], vq = v[q][k];
                    v[p][k] = c * vp - sn * vq;
                    v[q][k] = sn * vp + c * vq;
                }
            }
    }
}

} // namespace

void decomposeAffine3(const Real64 a[3][3], Real64 rot[3][3], Real64 scale[3], Real64 scaleRot[3][3])
{
    // A = U diag(sigma) V^T from the eigenvectors V of A^T A; then A = (U V^T)(V diag V^T).
    Real64 ata[3][3];   // symmetric, index order irrelevant
    for(UInt32 i = 0; i < 3; ++i)
        for(UInt32 j = 0; j < 3; ++j)
            ata[i][j] = dot(a[i], a[j]);

    Mat3 v;
    jacobiEigen(ata, v);
    if(det3(v) < 0)
    {
        v[2][0] = -v[2][0];
        v[2][1] = -v[2][1];
        v[2][2] = -v[2][2];
    }

    // b_i = A v_i; its length is sigma_i, its direction u_i.
    Mat3   u;
    Real64 sigma[3];
    for(UInt32 i = 0; i < 3; ++i)
    {
        for(UInt32 r = 0; r < 3; ++r)
            u[i][r] = a[0][r] * v[i][0] + a[1][r] * v[i][1] + a[2][r] * v[i][2];
        sigma[i] = std::sqrt(dot(u[i], u[i]));
    }

    // Orthonormalise U, largest singular value first; vanishing ones get any orthogonal direction.
    UInt32 order[3] = { 0, 1, 2 };
    for(UInt32 i = 0; i < 3; ++i)
        for(UInt32 j = i + 1; j < 3; ++j)
            if(sigma[order[j]] > sigma[order[i]])
            {
                UInt32 tmp = order[i];
                order[i] = order[j];
                order[j] = tmp;
            }

    Real64 tol = sigma[order[0]] * 1e-12;
    UInt32 i0 = order[0], i1 = order[1], i2 = order[2];

    if(sigma[i0] <= 0 || !std::isfinite(sigma[i0]))
    {
        // Zero (or broken) matrix: no rotation, no scale.
        for(UInt32 c = 0; c < 3; ++c)
            for(UInt32 r = 0; r < 3; ++r)
            {
                rot[c][r]      = (c == r) ? 1.0 : 0.0;
                scaleRot[c][r] = (c == r) ? 1.0 : 0.0;
            }
        scale[0] = scale[1] = scale[2] = 0;
        return;
    }

    normalise(u[i0]);

    Real64 d = dot(u[i0], u[i1]);
    for(UInt32 r = 0; r < 3; ++r)
        u[i1][r] -= d * u[i0][r];
    if(sigma[i1] <= tol || normalise(u[i1]) <= tol)
    {
        Real64 axis[3] = { 0, 0, 0 };
        axis[std::fabs(u[i0][0]) < 0.6 ? 0 : 1] = 1;
        cross(u[i0], axis, u[i1]);
        normalise(u[i1]);
        sigma[i1] = 0;
    }

    Real64 w[3];
    cross(u[i0], u[i1], w);
    normalise(w);
    Real64 sign = dot(w, u[i2]) < 0 ? -1.0 : 1.0;
    if(sigma[i2] <= tol)
    {
        sigma[i2] = 0;
        sign      = 1;
    }
    for(UInt32 r = 0; r < 3; ++r)
        u[i2][r] = sign * w[r];

    for(UInt32 i = 0; i < 3; ++i)
        scale[i] = sigma[i];

    // A negative determinant goes into the scale: (-U)(-diag) = U diag.
    if(det3(u) < 0)
    {
        for(UInt32 c = 0; c < 3; ++c)
        {
            scale[c] = -scale[c];
            for(UInt32 r = 0; r < 3; ++r)
                u[c][r] = -u[c][r];
        }
    }

    // rot = U V^T
    for(UInt32 c = 0; c < 3; ++c)
        for(UInt32 r = 0; r < 3; ++r)
        {
            rot[c][r] = u[0][r] * v[0][c] + u[1][r] * v[1][c] + u[2][r] * v[2][c];
            scaleRot[c][r] = v[c][r];
        }
}

void rotationToQuat(const Real64 m[3][3], Real64 q[4])
{
    Real64 tr = m[0][0] + m[1][1] + m[2][2];
    if(tr > 0)
    {
        Real64 s = std::sqrt(tr + 1);
        q[3] = s * 0.5;
        s    = 0.5 / s;
        q[0] = (m[1][2] - m[2][1]) * s;
        q[1] = (m[2][0] - m[0][2]) * s;
        q[2] = (m[0][1] - m[1][0]) * s;
    }
    else
    {
        // Largest diagonal entry i keeps the square root away from zero.
        static const UInt32 next[3] = { 1, 2, 0 };
        UInt32 i = 0;
        if(m[1][1] > m[0][0])
            i = 1;
        if(m[2][2] > m[i][i])
            i = 2;
        UInt32 j = next[i], k = next[j];
        Real64 s = std::sqrt(m[i][i] - (m[j][j] + m[k][k]) + 1);
        q[i] = s * 0.5;
        s    = 0.5 / s;
        q[3] = (m[j][k] - m[k][j]) * s;
        q[j] = (m[i][j] + m[j][i]) * s;
        q[k] = (m[i][k] + m[k][i]) * s;
    }

    Real64 len = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    if(len > 0 && std::isfinite(len))
    {
        for(UInt32 n = 0; n < 4; ++n)
            q[n] /= len;
    }
    else
    {
        q[0] = q[1] = q[2] = 0;
        q[3] = 1;
    }
}

} // namespace detail
} // namespace osg
