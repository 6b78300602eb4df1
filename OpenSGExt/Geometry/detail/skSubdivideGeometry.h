#ifndef SK_OPENSGEXT_GEOMETRY_DETAIL_SKSUBDIVIDEGEOMETRY_H
#define SK_OPENSGEXT_GEOMETRY_DETAIL_SKSUBDIVIDEGEOMETRY_H

// What the two subdivision operations share between a Geometry and the float soups of
// skSubdivide.h: which attributes a vertex carries, reading corners and writing the result back.

#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGColor.h>
#include <OpenSGExt/Geometry/detail/skSubdivide.h>

#include <cstddef>
#include <tuple>
#include <vector>

namespace osg {
namespace detail {

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

    /*! Writes a triangle's three corners into dst (3 x width floats), skipping absent
        attributes. */
    void pack(Real32 *dst, const SubdivCorners &corners) const;
};

/*! Calls f with the corners as the operations' processTriangle takes them: positions, normals,
    colours, secondary colours, sets 0 to 5 set by set, set 6 and set 7, three corners each. */
template <class F>
void expandCorners(const SubdivCorners &k, F &&f)
{
    f(k.p[0], k.p[1], k.p[2], k.n[0], k.n[1], k.n[2], k.c[0], k.c[1], k.c[2], k.sc[0], k.sc[1],
      k.sc[2], k.t[0][0], k.t[0][1], k.t[0][2], k.t[1][0], k.t[1][1], k.t[1][2], k.t[2][0],
      k.t[2][1], k.t[2][2], k.t[3][0], k.t[3][1], k.t[3][2], k.t[4][0], k.t[4][1], k.t[4][2],
      k.t[5][0], k.t[5][1], k.t[5][2], k.t6[0], k.t6[1], k.t6[2], k.t7[0], k.t7[1], k.t7[2]);
}

/*! The corners back from processTriangle's arguments, in the order of expandCorners. */
template <class... Corners>
SubdivCorners cornersOf(const Corners &...corners)
{
    static_assert(sizeof...(Corners) == 36, "the arguments expandCorners passes");
    const std::tuple<const Corners &...> a(corners...);
    using std::get;
    return SubdivCorners{
        { get<0>(a), get<1>(a), get<2>(a) },    { get<3>(a), get<4>(a), get<5>(a) },
        { get<6>(a), get<7>(a), get<8>(a) },    { get<9>(a), get<10>(a), get<11>(a) },
        { { get<12>(a), get<13>(a), get<14>(a) }, { get<15>(a), get<16>(a), get<17>(a) },
          { get<18>(a), get<19>(a), get<20>(a) }, { get<21>(a), get<22>(a), get<23>(a) },
          { get<24>(a), get<25>(a), get<26>(a) }, { get<27>(a), get<28>(a), get<29>(a) } },
        { get<30>(a), get<31>(a), get<32>(a) }, { get<33>(a), get<34>(a), get<35>(a) } };
}

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

/*------------------------------ the graph operations' shared steps --------*/

/*! What a subdivision operation keeps of the geometry it is working on: its own members. */
struct SubdivScratch
{
    UInt16              &attributes;      // the layout's bits
    UInt32              &triangleCount;   // triangles emitted so far
    Int32               &status;          // the first problem met (a SubdivStatus)
    std::vector<Real32> &out;             // the output soup
};

/*! True if the operations leave the geometry alone without a word: skinned, or no positions. */
bool skipsSubdivision(const GeometryPtr &geo);

/*! Runs one geometry through an operation: resets the scratch for the geometry's layout, reserves
    room for reserveTriangles output triangles, hands each triangle to process (see expandCorners)
    while the status stays Ok, then rewrites the geometry from the soup and lets the soup go.
    Returns Ok, or the first problem met with the geometry as it was and soup and count emptied;
    reporting it is the caller's. */
template <class F>
SubdivStatus subdivideGeometry(const GeometryPtr &geo, std::size_t reserveTriangles,
                               SubdivScratch scratch, F process);

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

SubdivStatus finishSubdivision(const GeometryPtr &geo, const SubdivLayout &layout,
                               SubdivScratch &scratch);

template <class F>
SubdivStatus subdivideGeometry(const GeometryPtr &geo, std::size_t reserveTriangles,
                               SubdivScratch scratch, F process)
{
    const SubdivLayout layout = SubdivLayout::of(geo);
    scratch.attributes    = layout.mask();
    scratch.triangleCount = 0;
    scratch.status        = Int32(SubdivStatus::Ok);
    scratch.out.clear();
    scratch.out.reserve(reserveTriangles * 3 * layout.width);
    forEachSubdivTriangle(geo, [&](const SubdivCorners &k) {
        if(scratch.status == Int32(SubdivStatus::Ok))
            expandCorners(k, process);
    });
    return finishSubdivision(geo, layout, scratch);
}

} // namespace detail
} // namespace osg

#endif
