#ifndef SK_OPENSGEXT_GEOMETRY_DETAIL_SKVERTEXWELD_H
#define SK_OPENSGEXT_GEOMETRY_DETAIL_SKVERTEXWELD_H

// Vertex keying, hashing and welding on plain arrays, shared by the geometry operations. Private to
// the library: no public header includes this one.

#include <OpenSG/OSGBaseTypes.h>
#include <OpenSG/OSGVector.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <vector>

namespace osg {
namespace detail {

/*------------------------------ hashing ------------------------------------------------*/

constexpr UInt64 HashSeed = 0x243f6a8885a308d3ull;

/*! Mixes one 32-bit word into a running hash; finish with hashFinish. */
inline UInt64 hashWord(UInt64 h, UInt32 word)
{
    return (h ^ word) * 0x9e3779b97f4a7c15ull;
}

/*! Folds a running hash to 32 well-mixed bits (the multiply chain leaves the low bits weak). */
inline UInt32 hashFinish(UInt64 h)
{
    h ^= h >> 31;
    h *= 0xbf58476d1ce4e5b9ull;
    return UInt32(h ^ (h >> 32));
}

/*! A float's bits with -0 taken as 0, so that equal values have equal bits. */
inline UInt32 canonicalBits(UInt32 bits)
{
    return (bits << 1) == 0 ? 0u : bits;
}

inline UInt32 canonicalBits(Real32 f)
{
    UInt32 bits;
    std::memcpy(&bits, &f, sizeof(bits));
    return canonicalBits(bits);
}

/*! True if two float bit patterns hold equal values or are the same NaN (-0 equals 0). */
inline bool sameFloatBits(UInt32 a, UInt32 b)
{
    return a == b || ((a | b) << 1) == 0;
}

/*! Open-addressing table of 32-bit ids under 32-bit hashes that the caller computes. Each id is
    kept beside its hash, so growing reads no keys and the caller's equality runs only where the
    hashes agree. Linear probing, at most three quarters full (the kept hashes make long probes
    cheap); the first id stored for a key stays. */
class HashIndex
{
  public:
    /*! Empties the table and sizes it for expected ids before it has to grow. */
    void reset(std::size_t expected)
    {
        std::size_t size = 64;
        while(size / 4 * 3 < expected && size < (std::size_t(1) << 32))
            size <<= 1;
        _slots.assign(size, 0);
        _mask = size - 1;
        _used = 0;
    }

    /*! The stored id that same(id) accepts among those under this hash, or id after storing it
        (then inserted is true). Ids run up to 2^32 - 2. */
    template <class Same>
    UInt32 findOrInsert(UInt32 hash, UInt32 id, Same same, bool &inserted)
    {
        if(_used + 1 > _slots.size() / 4 * 3)
            grow();
        const UInt64 tag = UInt64(hash) << 32;
        for(std::size_t s = hash & _mask; ; s = (s + 1) & _mask)
        {
            const UInt64 e = _slots[s];
            if(e == 0)
            {
                _slots[s] = tag | (UInt64(id) + 1);
                ++_used;
                inserted = true;
                return id;
            }
            if((e & ~UInt64(0xffffffffu)) == tag && same(UInt32(e) - 1))
            {
                inserted = false;
                return UInt32(e) - 1;
            }
        }
    }

    /*! The stored id that same accepts under this hash, or -1. */
    template <class Same>
    Int64 find(UInt32 hash, Same same) const
    {
        if(_slots.empty())
            return -1;
        const UInt64 tag = UInt64(hash) << 32;
        for(std::size_t s = hash & _mask; ; s = (s + 1) & _mask)
        {
            const UInt64 e = _slots[s];
            if(e == 0)
                return -1;
            if((e & ~UInt64(0xffffffffu)) == tag && same(UInt32(e) - 1))
                return Int64(UInt32(e) - 1);
        }
    }

    /*! Asks the cache for the slot where a search under this hash starts. */
    void prefetch(UInt32 hash) const
    {
#if defined(__GNUC__)
        __builtin_prefetch(_slots.data() + (hash & _mask));
#else
        (void)hash;
#endif
    }

    std::size_t size(void) const { return _used; }

  private:
    void grow(void)
    {
        std::vector<UInt64> old(_slots.size() * 2, 0);
        old.swap(_slots);
        _mask = _slots.size() - 1;
        for(UInt64 e : old)
        {
            if(e == 0)
                continue;
            std::size_t s = std::size_t(e >> 32) & _mask;
            while(_slots[s] != 0)
                s = (s + 1) & _mask;
            _slots[s] = e;
        }
    }

    std::vector<UInt64> _slots;   // hash << 32 | (id + 1); 0 is free
    std::size_t         _mask = 0;
    std::size_t         _used = 0;
};

/*! Calls visit(i, hash(i)) for i = 0 .. count - 1, each hash worked out a few steps early and
    its slot in table asked of the cache, so that the table's memory latency overlaps the work. */
template <class Hash, class Visit>
void forEachHashed(std::size_t count, const HashIndex &table, Hash hash, Visit visit)
{
    constexpr std::size_t Ahead = 8;
    UInt32 ring[Ahead];
    for(std::size_t i = 0; i < count && i < Ahead; ++i)
    {
        ring[i] = hash(i);
        table.prefetch(ring[i]);
    }
    for(std::size_t i = 0; i < count; ++i)
    {
        const UInt32 h = ring[i % Ahead];
        if(i + Ahead < count)
        {
            ring[i % Ahead] = hash(i + Ahead);
            table.prefetch(ring[i % Ahead]);
        }
        visit(i, h);
    }
}

/*------------------------------ welding ------------------------------------------------*/

/*! classOf[i] = the lowest index j whose position has the same coordinates as positions[i], bit
    for bit with -0 taken as 0 (NaN payloads stay distinct). Linear in count (expected). */
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
    HashIndex vertexOf;
    vertexOf.reset(numCorners);
    vertices.clear();
    indices.clear();
    indices.reserve(numCorners);
    for(std::size_t c = 0; c < numCorners; ++c)
    {
        Key key;
        key.fill(-1);
        for(std::size_t a = 0; a < width && a < N; ++a)
            key[a] = corners[c * width + a];
        UInt64 h = HashSeed;
        for(Int32 k : key)
            h = hashWord(h, UInt32(k));
        bool inserted;
        const UInt32 v = vertexOf.findOrInsert(
            hashFinish(h), UInt32(vertices.size()),
            [&](UInt32 other) { return vertices[other] == key; }, inserted);
        if(inserted)
            vertices.push_back(key);
        indices.push_back(v);
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
    const UInt32 *words (UInt32 v) const { return static_cast<const UInt32 *>(data) + v * dim; }

    /*! True if the comparison of this attribute is exact: equal values are its only ties. */
    bool exact(void) const { return kind != Floats || (tolerance == 0.f && !angle); }
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
};

} // namespace detail
} // namespace osg

#endif
