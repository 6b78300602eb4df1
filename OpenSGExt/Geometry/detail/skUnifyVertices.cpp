#include <OpenSGExt/Geometry/detail/skUnifyVertices.h>

#include <algorithm>
#include <cmath>
#include <sstream>

namespace osg {
namespace detail {

namespace {

// Larger groups of distinct vertices at one position are rare; checking them pairwise would cost
// more than the map.
constexpr std::size_t MaxCheckedGroup = 64;

const char *const AttributeNames[VertexCompareContext::NumAttributes] = {
    "positions", "normals", "colors", "secondary colors",
    "texture coordinates 0", "texture coordinates 1", "texture coordinates 2",
    "texture coordinates 3", "texture coordinates 4", "texture coordinates 5",
    "texture coordinates 6", "texture coordinates 7" };

/*! Open-addressing table of vertex numbers (+1, 0 = free) keyed by a context's hash/same. */
class VertexTable
{
  public:
    void reset(std::size_t expected)
    {
        std::size_t size = 64;
        while(size < expected * 2)
            size <<= 1;
        _slots.assign(size, 0);
        _used = 0;
    }

    // The stored vertex same() as v, or v itself after storing it (inserted = true).
    UInt32 findOrInsert(const VertexCompareContext &ctx, UInt32 v, bool &inserted)
    {
        if((_used + 1) * 2 > _slots.size())
            grow(ctx);
        const std::size_t mask = _slots.size() - 1;
        for(std::size_t s = ctx.hash(v) & mask; ; s = (s + 1) & mask)
        {
            const UInt32 e = _slots[s];
            if(e == 0)
            {
                _slots[s] = v + 1;
                ++_used;
                inserted = true;
                return v;
            }
            if(ctx.same(e - 1, v))
            {
                inserted = false;
                return e - 1;
            }
        }
    }

    Int64 find(const VertexCompareContext &ctx, UInt32 v) const
    {
        if(_slots.empty())
            return -1;
        const std::size_t mask = _slots.size() - 1;
        for(std::size_t s = ctx.hash(v) & mask; ; s = (s + 1) & mask)
        {
            const UInt32 e = _slots[s];
            if(e == 0)
                return -1;
            if(ctx.same(e - 1, v))
                return Int64(e - 1);
        }
    }

    std::vector<UInt32> &slots(void) { return _slots; }

  private:
    void grow(const VertexCompareContext &ctx)
    {
        std::vector<UInt32> old;
        old.swap(_slots);
        _slots.assign(old.size() * 2, 0);
        const std::size_t mask = _slots.size() - 1;
        for(UInt32 e : old)
        {
            if(e == 0)
                continue;
            std::size_t s = ctx.hash(e - 1) & mask;
            while(_slots[s] != 0)
                s = (s + 1) & mask;
            _slots[s] = e;
        }
    }

    std::vector<UInt32> _slots;
    std::size_t         _used = 0;
};

} // namespace

struct VertexUnifierTables
{
    VertexTable vertices;
    VertexTable groups;   // keyed by positions; holds each group's first vertex
};

VertexUnifier::VertexUnifier(const VertexCompareContext &context, Method method) :
    _context(context), _method(method)
{
    _positionsOnly.attr[0] = _context.attr[0];
}

VertexUnifier::~VertexUnifier(void) = default;

std::string VertexUnifier::validate(const UInt32 *indices, std::size_t count) const
{
    for(UInt32 a = 0; a < VertexCompareContext::NumAttributes; ++a)
    {
        const CompareAttribute &at = _context.attr[a];
        if(at.kind == CompareAttribute::None)
            continue;
        for(std::size_t i = 0; i < count; ++i)
        {
            const UInt32 v = indices[i];
            if(v >= at.size)
            {
                std::ostringstream msg;
                msg << "index " << v << " at " << i << " is past the " << at.size << " "
                    << AttributeNames[a];
                return msg.str();
            }
            if(at.kind != CompareAttribute::Floats)
                continue;
            const Real32 *f = at.floats(v);
            for(UInt32 c = 0; c < at.dim; ++c)
            {
                if(std::isnan(f[c]))
                {
                    std::ostringstream msg;
                    msg << "vertex " << v << " has NaN in its " << AttributeNames[a];
                    return msg.str();
                }
            }
        }
    }
    return std::string();
}

std::size_t VertexUnifier::run(UInt32 *indices, std::size_t count)
{
    if(_method == Method::Auto && runHash(indices, count))
    {
        _usedHash = true;
        return _representatives.size();
    }
    _tables.reset();
    _representatives.clear();
    runMap(indices, count);
    return _map->size();
}

void VertexUnifier::runMap(UInt32 *indices, std::size_t count)
{
    _map.reset(new Map(Less{ &_context }));
    for(std::size_t i = 0; i < count; ++i)
    {
        const UInt32 v  = indices[i];
        const auto   it = _map->find(v);
        if(it != _map->end())
            indices[i] = it->second;
        else
            _map->insert(std::make_pair(v, v));
    }
}

bool VertexUnifier::runHash(UInt32 *indices, std::size_t count)
{
    const CompareAttribute &positions = _context.attr[0];
    if(positions.kind != CompareAttribute::Floats || positions.tolerance != 0.f)
        return false;

    _tables.reset(new VertexUnifierTables);
    // Sized for a quarter of the corners being distinct (typical of soups); it grows if not.
    _tables->vertices.reset(std::max<std::size_t>(count / 4, 64));
    std::vector<UInt32> result(indices, indices + count);
    _representatives.clear();
    for(std::size_t i = 0; i < count; ++i)
    {
        bool inserted;
        result[i] = _tables->vertices.findOrInsert(_context, indices[i], inserted);
        if(inserted)
            _representatives.push_back(indices[i]);
    }

    if(!groupsAreOrdered())
    {
        _tables.reset();
        _representatives.clear();
        return false;
    }
    std::copy(result.begin(), result.end(), indices);
    return true;
}

bool VertexUnifier::groupsAreOrdered(void)
{
    // Group the distinct vertices by exact position; a group is named by its first vertex.
    const std::size_t n = _representatives.size();
    _tables->groups.reset(std::min<std::size_t>(n, 1u << 16));
    std::vector<UInt32> firstOf(n);
    std::size_t numGroups = 0;
    for(std::size_t r = 0; r < n; ++r)
    {
        bool inserted;
        firstOf[r] = _tables->groups.findOrInsert(_positionsOnly, _representatives[r], inserted);
        numGroups += inserted ? 1 : 0;
    }
    _groupOfFirst.clear();
    _groupStart.clear();
    _groupMembers.clear();
    if(numGroups == n)
        return true;   // every position distinct: positions alone decide every comparison

    // Members of each group, contiguous (counting sort over group numbers).
    _groupOfFirst.assign(_context.attr[0].size, UInt32(-1));
    std::vector<UInt32> sizes;
    for(std::size_t r = 0; r < n; ++r)
    {
        UInt32 &g = _groupOfFirst[firstOf[r]];
        if(g == UInt32(-1))
        {
            g = UInt32(sizes.size());
            sizes.push_back(0);
        }
        ++sizes[g];
    }
    _groupStart.assign(sizes.size() + 1, 0);
    for(std::size_t g = 0; g < sizes.size(); ++g)
        _groupStart[g + 1] = _groupStart[g] + sizes[g];
    _groupMembers.resize(n);
    std::vector<UInt32> fill(_groupStart.begin(), _groupStart.end() - 1);
    for(std::size_t r = 0; r < n; ++r)
        _groupMembers[fill[_groupOfFirst[firstOf[r]]]++] = _representatives[r];

    // Within a group the comparison must be a strict total order: of two distinct vertices
    // exactly one is less, and the counts of vertices each one beats are 0 .. m-1 (no cycle).
    std::vector<UInt32> score;
    for(std::size_t g = 0; g < sizes.size(); ++g)
    {
        const std::size_t m = sizes[g];
        if(m < 2)
            continue;
        const UInt32 *mem = _groupMembers.data() + _groupStart[g];
        if(exactWithin(mem, m))
            continue;
        if(m > MaxCheckedGroup)
            return false;
        score.assign(m, 0);
        for(std::size_t i = 0; i < m; ++i)
        {
            for(std::size_t j = i + 1; j < m; ++j)
            {
                const bool ij = _context.less(mem[i], mem[j]);
                const bool ji = _context.less(mem[j], mem[i]);
                if(ij == ji)
                    return false;
                ++score[ij ? j : i];
            }
        }
        std::sort(score.begin(), score.end());
        for(std::size_t i = 0; i < m; ++i)
        {
            if(score[i] != i)
                return false;
        }
    }
    return true;
}

bool VertexUnifier::exactWithin(const UInt32 *members, std::size_t m) const
{
    // An attribute whose values are the same throughout the group never decides within it;
    // where every varying attribute compares without tolerance, the order is lexicographic.
    for(const CompareAttribute &at : _context.attr)
    {
        if(at.kind == CompareAttribute::None || (at.tolerance == 0.f && !at.angle))
            continue;
        VertexCompareContext one;
        one.attr[0] = at;
        for(std::size_t i = 1; i < m; ++i)
        {
            if(!one.same(members[0], members[i]))
                return false;
        }
    }
    return true;
}

Int64 VertexUnifier::find(UInt32 v)
{
    for(const CompareAttribute &at : _context.attr)
    {
        if(at.kind != CompareAttribute::None && v >= at.size)
            return -1;
    }
    if(_map)
    {
        const auto it = _map->find(v);
        return it == _map->end() ? -1 : Int64(it->second);
    }
    if(!_tables)
        return -1;
    const Int64 exact = _tables->vertices.find(_context, v);
    if(exact >= 0)
        return exact;
    const Int64 first = _tables->groups.find(_positionsOnly, v);
    if(first < 0)
        return -1;   // no vertex at this position: positions alone decide
    // Unlike every stored vertex at its position: the map finds nothing unless the comparison
    // calls it equal to one of them, and then only the map's own search can tell which.
    bool equalToSome = false;
    if(_groupOfFirst.empty())
        equalToSome = !_context.less(v, UInt32(first)) && !_context.less(UInt32(first), v);
    else
    {
        const UInt32 g = _groupOfFirst[std::size_t(first)];
        for(UInt32 k = _groupStart[g]; k < _groupStart[g + 1] && !equalToSome; ++k)
        {
            const UInt32 m = _groupMembers[k];
            equalToSome = !_context.less(v, m) && !_context.less(m, v);
        }
    }
    if(!equalToSome)
        return -1;
    replayMap();
    const auto it = _map->find(v);
    return it == _map->end() ? -1 : Int64(it->second);
}

void VertexUnifier::replayMap(void)
{
    // The map run inserts exactly the distinct vertices, in order of first use, when the hash's
    // conditions hold; inserting them again rebuilds the same tree.
    _map.reset(new Map(Less{ &_context }));
    for(UInt32 r : _representatives)
        _map->insert(std::make_pair(r, r));
}

} // namespace detail
} // namespace osg
