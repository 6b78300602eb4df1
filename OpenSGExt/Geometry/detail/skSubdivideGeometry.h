#ifndef SK_OPENSGEXT_GEOMETRY_DETAIL_SKSUBDIVIDEGEOMETRY_H
#define SK_OPENSGEXT_GEOMETRY_DETAIL_SKSUBDIVIDEGEOMETRY_H

// What the two subdivision operations share between a Geometry and the float soups of
// skSubdivide.h: which attributes a vertex carries, reading corners and writing the result back.

#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGColor.h>

#include <cstddef>
#include <vector>

namespace osg {
namespace detail {

/*! The attributes a subdivision vertex carries, packed as floats: position (3), normal (3),
    colour (3), secondary colour (3), texture coordinates 0 to 5 (2 each), 6 (3) and 7 (4), each
    only if the geometry has it. */
struct SubdivLayout
{
    static constexpr UInt32 NumAttributes = 12;
    static constexpr UInt32 Dims[NumAttributes] = { 3, 3, 3, 3, 2, 2, 2, 2, 2, 2, 3, 4 };

    bool   present[NumAttributes] = {};
    UInt32 offset [NumAttributes] = {};
    UInt32 width                  = 0;

    static SubdivLayout of(const GeometryPtr &geo);
    /*! The layout of the attributes whose bits (1 << attribute) are set; positions always. */
    static SubdivLayout fromMask(UInt16 attributes);
    UInt16 mask(void) const;

    Int32 normalOffset(void) const { return present[1] ? Int32(offset[1]) : -1; }

    /*! Writes one corner into dst (width floats); absent attributes are skipped. */
    void pack(Real32 *dst, const Pnt3f &p, const Vec3f &n, const Color3f &c, const Color3f &sc,
              const Vec2f *const tex[6], const Vec3f &t6, const Vec4f &t7) const;
};

/*! One triangle's corners as a TriangleIterator reads them, sets 6 and 7 looked up through the
    iterator's indices as 3 and 4 components. Absent attributes read as zero. */
struct SubdivCorners
{
    Pnt3f   p[3];
    Vec3f   n[3];
    Color3f c[3], sc[3];
    Vec2f   t[6][3];
    Vec3f   t6[3];
    Vec4f   t7[3];
};

/*! Calls f(const SubdivCorners &) for each triangle of the geometry, in iterator order. */
template <class F>
void forEachSubdivTriangle(const GeometryPtr &geo, F f);

/*! Triangles of the geometry as the iterator gives them. */
std::size_t countTriangles(const GeometryPtr &geo);

/*! Rewrites the geometry as one non-indexed GL_TRIANGLES list from a soup in the layout: new
    properties for the present attributes, no indices, no index mapping, the material set again.
    Every change is recorded. */
void writeTriangleSoup(const GeometryPtr &geo, const SubdivLayout &layout,
                       const std::vector<Real32> &soup);

/*------------------------------ inline -------------------------------------*/

void readSubdivCorners(const TriangleIterator &it, const GeometryPtr &geo, SubdivCorners &out);

template <class F>
void forEachSubdivTriangle(const GeometryPtr &geo, F f)
{
    SubdivCorners corners;
    for(TriangleIterator it = geo->beginTriangles(); it != geo->endTriangles(); ++it)
    {
        readSubdivCorners(it, geo, corners);
        f(static_cast<const SubdivCorners &>(corners));
    }
}

} // namespace detail
} // namespace osg

#endif
