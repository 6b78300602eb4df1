#ifndef SK_OPENSGEXT_GEOMETRY_DETAIL_SKSUBDIVIDE_H
#define SK_OPENSGEXT_GEOMETRY_DETAIL_SKSUBDIVIDE_H

// Triangle subdivision on interleaved float vertices: the adaptive midpoint split and the uniform
// Phong split. Arrays in, arrays out; no scene graph.
//
// A vertex is `width` floats (at most MaxSubdivWidth): the position in floats 0..2, then whatever
// else the caller carries. Every attribute of a new vertex is the plain average 0.5 * (a + b) of
// its edge's ends; only the Phong position differs. Input and output are triangle soups: three
// vertices per triangle, corners in order.

#include <OpenSG/OSGBaseTypes.h>

#include <cstddef>
#include <string>
#include <vector>

namespace osg {
namespace detail {

constexpr UInt32 MaxSubdivWidth = 32;

enum class SubdivStatus
{
    Ok,
    BadParameter,   // maximum edge length <= 0 or NaN
    NonFinite,      // a position that is not finite
    TooLarge,       // the output would pass the triangle cap
    NoProgress,     // midpoints stop moving in float precision: splitting would never end
    BadLayout       // width out of range or a normal offset that does not fit
};

/*! A readable sentence for a status (empty for Ok). */
std::string subdivStatusText(SubdivStatus status);

/*! True if |a-b|, |b-c| or |c-a| is at least maxEdge (float Euclidean lengths). */
bool needsSubdivision(const Real32 *a, const Real32 *b, const Real32 *c, Real32 maxEdge);

/*! Splits every triangle whose edges reach maxEdge at the long edges' midpoints, again and again,
    until no edge of an emitted triangle does. k = 1: the midpoint is joined to the opposite
    corner; k = 2: the corner between the split edges gets its own triangle and the rest is cut
    along the strictly shorter diagonal (the second on a tie); k = 3: four triangles. Emitted
    depth first, appended to out. On any status but Ok, out is left as it was. */
SubdivStatus subdivideAdaptive(const Real32 *soup, std::size_t numTriangles, UInt32 width,
                               Real32 maxEdge, std::size_t maxTriangles,
                               std::vector<Real32> &out);

/*! Splits every triangle into four, iterations times, in the order (c0, m01, m20),
    (m20, m01, m12), (m12, m01, c1), (m12, c2, m20). A new position is 0.5 * p + 0.5 * p*, p the
    edge midpoint and p* the barycentric blend of p projected onto the corners' tangent planes
    (normals at normalOffset, used as stored; normalOffset < 0: zero normals, so p* = p).
    iterations <= 0 copies the soup. The output size, triangles * 4^iterations, is checked
    against maxTriangles before anything is allocated. The result is appended to out on Ok;
    otherwise out is untouched. */
SubdivStatus subdividePhong(const Real32 *soup, std::size_t numTriangles, UInt32 width,
                            Int32 normalOffset, Int32 iterations, std::size_t maxTriangles,
                            std::vector<Real32> &out);

/*! Triangles that numTriangles becomes after the given Phong iterations, saturated at SIZE_MAX. */
std::size_t phongTriangleCount(std::size_t numTriangles, Int32 iterations);

} // namespace detail
} // namespace osg

#endif
