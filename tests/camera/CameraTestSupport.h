// Comparisons of OpenSG matrices with glm's, and small camera fixtures.
#ifndef SKOSG_TESTS_CAMERA_CAMERATESTSUPPORT_H
#define SKOSG_TESTS_CAMERA_CAMERATESTSUPPORT_H

#include <OpenSG/OSGMatrix.h>

#include <glm/glm.hpp>
#include <gtest/gtest.h>

#include <cmath>

namespace camtest {

// Both store columns: OpenSG m[c][r], glm g[c][r].
inline ::testing::AssertionResult matricesNear(const osg::Matrix &m, const glm::mat4 &g,
                                               float tol = 1e-5f)
{
    for(int c = 0; c < 4; ++c)
        for(int r = 0; r < 4; ++r)
        {
            const float a = m[c][r], b = g[c][r];
            if(!(std::fabs(a - b) <= tol * std::max(1.f, std::fabs(b))))
                return ::testing::AssertionFailure()
                       << "column " << c << " row " << r << ": " << a << " vs " << b;
        }
    return ::testing::AssertionSuccess();
}

inline ::testing::AssertionResult matricesNear(const osg::Matrix &m, const osg::Matrix &n,
                                               float tol = 1e-5f)
{
    for(int c = 0; c < 4; ++c)
        for(int r = 0; r < 4; ++r)
        {
            const float a = m[c][r], b = n[c][r];
            if(!(std::fabs(a - b) <= tol * std::max(1.f, std::fabs(b))))
                return ::testing::AssertionFailure()
                       << "column " << c << " row " << r << ": " << a << " vs " << b;
        }
    return ::testing::AssertionSuccess();
}

inline bool isIdentity(const osg::Matrix &m)
{
    return bool(matricesNear(m, osg::Matrix(), 0.f));
}

// Normalised device coordinates of an eye-space point.
inline glm::vec3 ndc(const osg::Matrix &m, const glm::vec3 &p)
{
    osg::Pnt3f q(p.x, p.y, p.z);
    osg::Pnt3f out;
    m.multFullMatrixPnt(q, out);
    return glm::vec3(out[0], out[1], out[2]);
}

} // namespace camtest

#endif
