#include <OpenSG/OSGMatrix.h>

#include <cmath>

namespace osg {
namespace detail {

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
