#include <OpenSGExt/Geometry/detail/skSubdivide.h>

#include <cmath>
#include <cstdint>
#include <cstring>

namespace osg {
namespace detail {

namespace {

// Deeper than any split that still makes progress can go before the triangle cap stops it;
// only float-precision stalls reach it.
constexpr UInt32 MaxAdaptiveDepth = 160;

inline Real32 edgeLength(const Real32 *a, const Real32 *b)
{
    const Real32 dx = a[0] - b[0], dy = a[1] - b[1], dz = a[2] - b[2];
    return std::sqrt(dx * dx + dy * dy + dz * dz);
}

bool finitePositions(const Real32 *soup, std::size_t numTriangles, UInt32 width)
{
    const std::size_t corners = numTriangles * 3;
    for(std::size_t c = 0; c < corners; ++c)
    {
        const Real32 *p = soup + c * width;
        if(!std::isfinite(p[0]) || !std::isfinite(p[1]) || !std::isfinite(p[2]))
            return false;
    }
    return true;
}

struct Adaptive
{
    UInt32               width;
    Real32               maxEdge;
    std::size_t          cap;
    std::size_t          emitted;
    std::vector<Real32> &out;
    SubdivStatus         status;

    void emit(const Real32 *a, const Real32 *b, const Real32 *c)
    {
        if(++emitted > cap)
        {
            status = SubdivStatus::TooLarge;
            return;
        }
        out.insert(out.end(), a, a + width);
        out.insert(out.end(), b, b + width);
        out.insert(out.end(), c, c + width);
    }

    // The midpoint of a split edge; a midpoint that lands on an end can never shorten the edge.
    bool midpoint(const Real32 *a, const Real32 *b, Real32 *m)
    {
        for(UInt32 i = 0; i < width; ++i)
            m[i] = 0.5f * (a[i] + b[i]);
        const bool stuck = std::memcmp(m, a, 3 * sizeof(Real32)) == 0 ||
                           std::memcmp(m, b, 3 * sizeof(Real32)) == 0;
        if(stuck)
            status = SubdivStatus::NoProgress;
        return !stuck;
    }

    void quad(const Real32 *q0, const Real32 *q1, const Real32 *q2, const Real32 *q3, UInt32 depth)
    {
        if(edgeLength(q0, q2) < edgeLength(q1, q3))
        {
            process(q0, q1, q2, depth);
            process(q0, q2, q3, depth);
        }
        else
        {
            process(q0, q1, q3, depth);
            process(q1, q2, q3, depth);
        }
    }

    void process(const Real32 *c0, const Real32 *c1, const Real32 *c2, UInt32 depth)
    {
        if(status != SubdivStatus::Ok)
            return;
        const bool s01 = edgeLength(c0, c1) >= maxEdge;
        const bool s12 = edgeLength(c1, c2) >= maxEdge;
        const bool s20 = edgeLength(c2, c0) >= maxEdge;
        if(!s01 && !s12 && !s20)
        {
            emit(c0, c1, c2);
            return;
        }
        if(depth >= MaxAdaptiveDepth)
        {
            status = SubdivStatus::NoProgress;
            return;
        }
        Real32 m01[MaxSubdivWidth], m12[MaxSubdivWidth], m20[MaxSubdivWidth];
        if((s01 && !midpoint(c0, c1, m01)) || (s12 && !midpoint(c1, c2, m12)) ||
           (s20 && !midpoint(c2, c0, m20)))
            return;
        const UInt32 next = depth + 1;
        const int    k    = int(s01) + int(s12) + int(s20);
        if(k == 3)
        {
            process(c0, m01, m20, next);
            process(m01, c1, m12, next);
            process(m12, c2, m20, next);
            process(m01, m12, m20, next);
        }
        else if(k == 1)
        {
            if(s01)
            {
                process(c0, m01, c2, next);
                process(m01, c1, c2, next);
            }
            else if(s12)
            {
                process(c0, c1, m12, next);
                process(c0, m12, c2, next);
            }
            else
            {
                process(c0, c1, m20, next);
                process(c1, c2, m20, next);
            }
        }
        else if(s01 && s12)
        {
            process(m01, c1, m12, next);
            quad(c0, m01, m12, c2, next);
        }
        else if(s01 && s20)
        {
            process(c0, m01, m20, next);
            quad(m01, c1, c2, m20, next);
        }
        else
        {
            process(m12, c2, m20, next);
            quad(c0, c1, m12, m20, next);
        }
    }
};

// The width is a template constant for the common layouts so that the per-vertex loops unroll;
// W = 0 takes it from the run-time value.
template <UInt32 W>
struct Phong
{
    UInt32  runtimeWidth;
    Int32   normalOffset;
    Int32   iterations;
    Real32 *dst;

    UInt32 width(void) const { return W != 0 ? W : runtimeWidth; }

    const Real32 *normal(const Real32 *v) const
    {
        static const Real32 zero[3] = { 0.f, 0.f, 0.f };
        return normalOffset >= 0 ? v + normalOffset : zero;
    }

    // p - n ((p - q) . n), n as stored
    static void project(const Real32 *p, const Real32 *q, const Real32 *n, Real32 *r)
    {
        const Real32 d = (p[0] - q[0]) * n[0] + (p[1] - q[1]) * n[1] + (p[2] - q[2]) * n[2];
        r[0] = p[0] - n[0] * d;
        r[1] = p[1] - n[1] * d;
        r[2] = p[2] - n[2] * d;
    }

    // Midpoint of the edge with barycentric weights w over the triangle's corners c. With
    // finite corners the zero-weight corner's term is a signed zero, which cannot change a sum
    // that started at +0, so it is left out; otherwise all three terms are taken as written.
    void midpoint(const Real32 *const c[3], const Real32 w[3], UInt32 e0, UInt32 e1,
                  Real32 *m, bool finite) const
    {
        const UInt32 n = width();
        for(UInt32 i = 0; i < n; ++i)
            m[i] = 0.5f * (c[e0][i] + c[e1][i]);
        Real32 p[3], star[3] = { 0.f, 0.f, 0.f };
        for(UInt32 i = 0; i < 3; ++i)
            p[i] = w[0] * c[0][i] + w[1] * c[1][i] + w[2] * c[2][i];
        for(UInt32 k = 0; k < 3; ++k)
        {
            if(finite && w[k] == 0.f)
                continue;
            Real32 r[3];
            project(p, c[k], normal(c[k]), r);
            for(UInt32 i = 0; i < 3; ++i)
                star[i] += w[k] * r[i];
        }
        for(UInt32 i = 0; i < 3; ++i)
            m[i] = 0.5f * star[i] + 0.5f * p[i];
    }

    void emit(const Real32 *a, const Real32 *b, const Real32 *c)
    {
        const UInt32 n = width();
        std::memcpy(dst, a, n * sizeof(Real32));
        std::memcpy(dst + n, b, n * sizeof(Real32));
        std::memcpy(dst + 2 * n, c, n * sizeof(Real32));
        dst += 3 * n;
    }

    void process(const Real32 *c0, const Real32 *c1, const Real32 *c2, Int32 depth)
    {
        if(iterations <= depth)
        {
            emit(c0, c1, c2);
            return;
        }
        static const Real32 w01[3] = { 0.5f, 0.5f, 0.f };
        static const Real32 w12[3] = { 0.f, 0.5f, 0.5f };
        static const Real32 w20[3] = { 0.5f, 0.f, 0.5f };
        const Real32 *const c[3] = { c0, c1, c2 };
        Real32 m01[W != 0 ? W : MaxSubdivWidth], m12[W != 0 ? W : MaxSubdivWidth],
            m20[W != 0 ? W : MaxSubdivWidth];
        bool finite = true;
        for(UInt32 k = 0; k < 3; ++k)
        {
            const Real32 *n = normal(c[k]);
            for(UInt32 i = 0; i < 3; ++i)
                finite = finite && std::isfinite(c[k][i]) && std::isfinite(n[i]);
        }
        midpoint(c, w01, 0, 1, m01, finite);
        midpoint(c, w12, 1, 2, m12, finite);
        midpoint(c, w20, 2, 0, m20, finite);
        process(c0, m01, m20, depth + 1);
        process(m20, m01, m12, depth + 1);
        process(m12, m01, c1, depth + 1);
        process(m12, c2, m20, depth + 1);
    }
};

template <UInt32 W>
void runPhong(const Real32 *soup, std::size_t numTriangles, UInt32 width, Int32 normalOffset,
              Int32 iterations, Real32 *dst)
{
    Phong<W> phong = { width, normalOffset, iterations, dst };
    for(std::size_t t = 0; t < numTriangles; ++t)
    {
        const Real32 *c0 = soup + 3 * t * width;
        phong.process(c0, c0 + width, c0 + 2 * width, 0);
    }
}

} // namespace

std::string subdivStatusText(SubdivStatus status)
{
    switch(status)
    {
        case SubdivStatus::Ok:           return std::string();
        case SubdivStatus::BadParameter: return "the maximum edge length must be a positive number";
        case SubdivStatus::NonFinite:    return "a position is not finite";
        case SubdivStatus::TooLarge:     return "the result would exceed the triangle cap";
        case SubdivStatus::NoProgress:
            return "edges stop getting shorter in float precision before they reach the maximum "
                   "edge length";
        case SubdivStatus::BadLayout:    return "unsupported vertex layout";
    }
    return std::string();
}

bool needsSubdivision(const Real32 *a, const Real32 *b, const Real32 *c, Real32 maxEdge)
{
    if(edgeLength(a, b) >= maxEdge)
        return true;
    if(edgeLength(b, c) >= maxEdge)
        return true;
    return edgeLength(c, a) >= maxEdge;
}

SubdivStatus subdivideAdaptive(const Real32 *soup, std::size_t numTriangles, UInt32 width,
                               Real32 maxEdge, std::size_t maxTriangles, std::vector<Real32> &out)
{
    if(width < 3 || width > MaxSubdivWidth)
        return SubdivStatus::BadLayout;
    if(!(maxEdge > 0.f))
        return SubdivStatus::BadParameter;
    if(!finitePositions(soup, numTriangles, width))
        return SubdivStatus::NonFinite;
    const std::size_t before = out.size();
    Adaptive split = { width, maxEdge, maxTriangles, 0, out, SubdivStatus::Ok };
    for(std::size_t t = 0; t < numTriangles && split.status == SubdivStatus::Ok; ++t)
    {
        const Real32 *c0 = soup + 3 * t * width;
        split.process(c0, c0 + width, c0 + 2 * width, 0);
    }
    if(split.status != SubdivStatus::Ok)
        out.resize(before);
    return split.status;
}

std::size_t phongTriangleCount(std::size_t numTriangles, Int32 iterations)
{
    std::size_t count = numTriangles;
    for(Int32 i = 0; i < iterations && count != 0; ++i)
    {
        if(count > SIZE_MAX / 4)
            return SIZE_MAX;
        count *= 4;
    }
    return count;
}

SubdivStatus subdividePhong(const Real32 *soup, std::size_t numTriangles, UInt32 width,
                            Int32 normalOffset, Int32 iterations, std::size_t maxTriangles,
                            std::vector<Real32> &out)
{
    if(width < 3 || width > MaxSubdivWidth ||
       (normalOffset >= 0 && (normalOffset < 3 || UInt32(normalOffset) + 3 > width)))
        return SubdivStatus::BadLayout;
    const std::size_t triangles = phongTriangleCount(numTriangles, iterations);
    if(triangles > maxTriangles || triangles > SIZE_MAX / (3 * std::size_t(width)))
        return SubdivStatus::TooLarge;

    const std::size_t before = out.size();
    out.resize(before + triangles * 3 * width);
    Real32 *dst = out.data() + before;
    if(width == 3)
        runPhong<3>(soup, numTriangles, width, normalOffset, iterations, dst);
    else if(width == 6)
        runPhong<6>(soup, numTriangles, width, normalOffset, iterations, dst);
    else if(width == 8)
        runPhong<8>(soup, numTriangles, width, normalOffset, iterations, dst);
    else
        runPhong<0>(soup, numTriangles, width, normalOffset, iterations, dst);
    return SubdivStatus::Ok;
}

} // namespace detail
} // namespace osg
