#ifndef SK_OPENSGEXT_GEOMETRY_DETAIL_SKVERTEXWELD_H
#define SK_OPENSGEXT_GEOMETRY_DETAIL_SKVERTEXWELD_H

// Vertex keying, hashing and welding on plain arrays, shared by the geometry operations. Private to
// the library: no public header includes this one.

#include <OpenSG/OSGBaseTypes.h>
#include <OpenSG/OSGVector.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <unordered_map>
#include <vector>

namespace osg {
namespace detail {

/*! FNV-1a over the 32-bit patterns of a fixed-size key; keys of equal values hash equally. */
struct ArrayHash
{
    template <class T, std::size_t N>
    std::size_t operator()(const std::array<T, N> &a) const noexcept
    {
        std::size_t h = 0xcbf29ce484222325ull;
        for(const T &v : a)
            h = (h ^ std::size_t(UInt32(v))) * 0x100000001b3ull;
        return h;
    }
};

/*! A position's coordinates bit for bit, with -0 taken as 0, so that equal keys mean exactly equal
    positions (NaN payloads stay distinct). */
typedef std::array<UInt32, 3> PositionKey;

inline PositionKey positionKey(const Pnt3f &p)
{
    PositionKey key;
    for(UInt32 i = 0; i < 3; ++i)
    {
        const Real32 c = p[i] == 0.f ? 0.f : p[i];
        std::memcpy(&key[i], &c, sizeof(c));
    }
    return key;
}

/*! classOf[i] = the lowest index j with positions[j] bit-equal to positions[i] (see positionKey).
    Linear in count (expected). */
void weldPositions(const Pnt3f *positions, std::size_t count, std::vector<UInt32> &classOf);

/*! Union-find with path halving over parent[], where parent[i] == i marks a root. */
inline UInt32 findRoot(std::vector<UInt32> &parent, UInt32 i)
{
    while(parent[i] != i)
    {
        parent[i] = parent[parent[i]];
        i = parent[i];
    }
    return i;
}

/*! Joins the sets of a and b; the root of a's set stays the root. */
inline void unite(std::vector<UInt32> &parent, UInt32 a, UInt32 b)
{
    const UInt32 ra = findRoot(parent, a), rb = findRoot(parent, b);
    if(ra != rb)
        parent[rb] = ra;
}

/*! Welds corner tuples: corners holds numCorners rows of width attribute indices (width <= N).
    Equal rows become one vertex, numbered in the order of first appearance; vertices receives each
    vertex's row (padded with -1) and indices one vertex number per corner. */
template <std::size_t N>
void weldCorners(const Int32 *corners, std::size_t numCorners, std::size_t width,
                 std::vector<std::array<Int32, N>> &vertices, std::vector<UInt32> &indices)
{
    typedef std::array<Int32, N> Key;
    std::unordered_map<Key, UInt32, ArrayHash> vertexOf;
    vertexOf.reserve(numCorners);
    vertices.clear();
    indices.clear();
    indices.reserve(numCorners);
    for(std::size_t c = 0; c < numCorners; ++c)
    {
        Key key;
        key.fill(-1);
        for(std::size_t a = 0; a < width && a < N; ++a)
            key[a] = corners[c * width + a];
        const auto inserted = vertexOf.emplace(key, UInt32(vertices.size()));
        if(inserted.second)
            vertices.push_back(key);
        indices.push_back(inserted.first->second);
    }
}

/*------------------------------ toleranced comparison ----------------------------------*/

/*! One vertex attribute as the toleranced comparison sees it: a view on the property's values in
    their own type. Kind None takes no part. */
struct CompareAttribute
{
    enum Kind : UInt8
    {
        None   = 0,
        Floats = 1,   // dim floats per element
        Bytes  = 2    // dim signed bytes per element, compared exactly
    };

    const void *data      = NULL;
    UInt32      size      = 0;       // elements
    UInt8       kind      = None;
    UInt8       dim       = 0;
    Real32      tolerance = 0.f;     // per component
    bool        angle     = false;   // float normals: equal when the angle is within angleEps

    const Real32 *floats(UInt32 v) const { return static_cast<const Real32 *>(data) + v * dim; }
    const Int8   *bytes (UInt32 v) const { return static_cast<const Int8 *>(data) + v * dim; }
};

/*! The attributes in comparison order (positions, normals, colours, secondary colours, texture
    coordinates 0 to 7) and the normals' angle tolerance in radians. */
struct VertexCompareContext
{
    static constexpr UInt32 NumAttributes = 12;

    CompareAttribute attr[NumAttributes];
    Real32           angleEps = 0.f;

    /*! The toleranced less-than of vertex a against vertex b: per attribute, per component from
        the first, a < b - e is less, a > b + e is not less, otherwise the next component decides;
        float normals within angleEps count as equal as a whole. Not transitive when a tolerance
        is above zero. */
    bool less(UInt32 a, UInt32 b) const;

    /*! True if the attributes of a and b are equal value for value (the comparison without any
        tolerance; -0 equals 0). */
    bool same(UInt32 a, UInt32 b) const;

    /*! A hash of the compared values for which same() vertices hash equally. */
    std::size_t hash(UInt32 v) const;
};

/*! A float's bits with -0 taken as 0. */
inline UInt32 canonicalBits(Real32 f)
{
    const Real32 c = f == 0.f ? 0.f : f;
    UInt32 bits;
    std::memcpy(&bits, &c, sizeof(bits));
    return bits;
}

} // namespace detail
} // namespace osg

#endif
