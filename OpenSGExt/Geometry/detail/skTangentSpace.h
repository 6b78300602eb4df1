#ifndef SK_OPENSGEXT_GEOMETRY_DETAIL_SKTANGENTSPACE_H
#define SK_OPENSGEXT_GEOMETRY_DETAIL_SKTANGENTSPACE_H

// Per-vertex tangent frames from positions, normals and 2-component texture coordinates, on plain
// arrays.

#include <OpenSG/OSGBaseTypes.h>
#include <OpenSG/OSGVector.h>

#include <cstddef>
#include <string>

namespace osg {
namespace detail {

struct TangentInput
{
    const Pnt3f  *positions    = NULL;
    const Vec3f  *normals      = NULL;   // one per position
    std::size_t   numPositions = 0;
    const Vec2f  *texCoords    = NULL;
    std::size_t   numTexCoords = 0;
    const UInt32 *triPositions = NULL;   // three position indices per triangle
    const UInt32 *triTexCoords = NULL;   // three texture-coordinate indices per triangle
    std::size_t   numTriangles = 0;

    /*! Why the input cannot be used (an index past its array), or empty. */
    std::string validate(void) const;
};

/*! Writes numPositions tangents and binormals. Per triangle, with ds/dt the texture differences
    from corner 0 to corners 1 and 2 and det = ds1 dt2 - ds2 dt1, the binormal
    (ds1 (P0 - P2) - ds2 (P0 - P1)) / det (the surface's derivative along t) is summed at its three
    corners, unguarded: det = 0 spreads inf or NaN. Per vertex with normal N and sum S:
    tangent = S x N, binormal = N x tangent, each normalised when its length is at least 1e-6.
    Returns the number of triangles with det = 0 (or NaN). */
std::size_t computeTangentFrames(const TangentInput &in, Vec3f *tangents, Vec3f *binormals);

} // namespace detail
} // namespace osg

#endif
