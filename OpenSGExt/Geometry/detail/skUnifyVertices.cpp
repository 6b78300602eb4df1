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

inline bool isNaNBits(UInt32 bits)
{
    return (bits & 0x7fffffffu) > 0x7f800000u;
}

// Blocks of a fixed length let the compiler vectorize these scans at -O2.
constexpr std::size_t ScanBlock = 16;

bool anyNaN(const UInt32 *words, std::size_t n)
{
    UInt32 found = 0;
    std::size_t i = 0;
    for(; i + ScanBlock <= n; i += ScanBlock)
    {
        for(std::size_t j = 0; j < ScanBlock; ++j)
            found |= UInt32(isNaNBits(words[i + j]));
    }
    for(; i < n; ++i)
        found |= UInt32(isNaNBits(words[i]));
    return found != 0;
}

UInt32 largest(const UInt32 *values, std::size_t n)
{
    UInt32 top = 0;
    std::size_t i = 0;
    for(; i + ScanBlock <= n; i += ScanBlock)
    {
        for(std::size_t j = 0; j < ScanBlock; ++j)
            top = std::max(top, values[i + j]);
    }
    for(; i < n; ++i)
        top = std::max(top, values[i]);
    return top;
}

} // namespace

VertexUnifier::VertexUnifier(const VertexCompareContext &context, Method method) :
    _context(context), _method(method)
{
    for(const CompareAttribute &at : _context.attr)
    {
        if(at.kind == CompareAttribute::None)
            continue;
        Part &part = _parts[_numParts++];
        if(at.kind == CompareAttribute::Floats)
            part.words = static_cast<const UInt32 *>(at.data);
        else
            part.bytes = static_cast<const UInt8 *>(at.data);
        part.size       = at.size;
        part.dim        = at.dim;
        part.toleranced = !at.exact();
        _anyToleranced  = _anyToleranced || part.toleranced;
    }
}

VertexUnifier::~VertexUnifier(void) = default;

/*------------------------------ keys ---------------------------------------*/

// On the hash path part 0 is the positions, three floats.
UInt32 VertexUnifier::positionHash(UInt32 v) const
{
    const UInt32 *p = _parts[0].words + 3 * std::size_t(v);
    return hashFinish(hashWord(hashWord(hashWord(HashSeed, canonicalBits(p[0])),
                                        canonicalBits(p[1])),
                               canonicalBits(p[2])));
}

UInt32 VertexUnifier::hashOf(UInt32 v) const
{
    UInt64 h = HashSeed;
    for(UInt32 k = 0; k < _numParts; ++k)
    {
        const Part &part = _parts[k];
        if(part.words != NULL)
        {
            const UInt32 *w = part.words + part.dim * std::size_t(v);
            for(UInt32 c = 0; c < part.dim; ++c)
                h = hashWord(h, canonicalBits(w[c]));
        }
        else
        {
            const UInt8 *b = part.bytes + part.dim * std::size_t(v);
            UInt32 word = 0;
            for(UInt32 c = 0; c < part.dim; ++c)
                word = (word << 8) | b[c];
            h = hashWord(h, word);
        }
    }
    return hashFinish(h);
}

bool VertexUnifier::same(UInt32 a, UInt32 b, bool onlyToleranced) const
{
    for(UInt32 k = 0; k < _numParts; ++k)
    {
        const Part &part = _parts[k];
        if(onlyToleranced && !part.toleranced)
            continue;
        if(part.words != NULL)
        {
            const UInt32 *wa = part.words + part.dim * std::size_t(a);
            const UInt32 *wb = part.words + part.dim * std::size_t(b);
            for(UInt32 c = 0; c < part.dim; ++c)
            {
                if(!sameFloatBits(wa[c], wb[c]))
                    return false;
            }
        }
        else if(std::memcmp(part.bytes + part.dim * std::size_t(a),
                            part.bytes + part.dim * std::size_t(b), part.dim) != 0)
            return false;
    }
    return true;
}

bool VertexUnifier::samePosition(UInt32 a, UInt32 b) const
{
    const UInt32 *pa = _parts[0].words + 3 * std::size_t(a);
    const UInt32 *pb = _parts[0].words + 3 * std::size_t(b);
    return sameFloatBits(pa[0], pb[0]) && sameFloatBits(pa[1], pb[1]) &&
           sameFloatBits(pa[2], pb[2]);
}

bool VertexUnifier::hasNaN(UInt32 v) const
{
    for(UInt32 k = 0; k < _numParts; ++k)
    {
        const Part &part = _parts[k];
        if(part.words == NULL)
            continue;
        const UInt32 *w = part.words + part.dim * std::size_t(v);
        for(UInt32 c = 0; c < part.dim; ++c)
        {
            if(isNaNBits(w[c]))
                return true;
        }
    }
    return false;
}

/*------------------------------ validation ---------------------------------*/

std::string VertexUnifier::validate(const UInt32 *indices, std::size_t count) const
{
    if(count == 0 || _numParts == 0)
        return std::string();
    // Quick passes first; the message is worked out only for input that fails them.
    UInt32 limit = UInt32(-1);
    for(const CompareAttribute &at : _context.attr)
    {
        if(at.kind != CompareAttribute::None)
            limit = std::min(limit, at.size);
    }
    bool bad = largest(indices, count) >= limit;
    for(UInt32 k = 0; k < _numParts && !bad; ++k)
    {
        const Part &part = _parts[k];
        if(part.words == NULL)
            continue;
        // Where the indices use about every element, one straight scan of the array beats
        // gathering; only a NaN in it (perhaps unused) needs the gather.
        if(count >= part.size && !anyNaN(part.words, std::size_t(part.size) * part.dim))
            continue;
        for(std::size_t i = 0; i < count; ++i)
        {
            const UInt32 *w = part.words + part.dim * std::size_t(indices[i]);
            for(UInt32 c = 0; c < part.dim; ++c)
                bad |= isNaNBits(w[c]);
        }
    }
    return bad ? describeProblem(indices, count) : std::string();
}

std::string VertexUnifier::describeProblem(const UInt32 *indices, std::size_t count) const
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

/*------------------------------ unification --------------------------------*/

std::size_t VertexUnifier::run(const UInt32 *indices, std::size_t count, UInt32 *result)
{
    if(_method == Method::Auto)
    {
        // The map needs the input when the hash steps aside, so in place the hash writes aside.
        std::vector<UInt32> aside;
        UInt32 *out = result;
        if(result == indices)
        {
            aside.resize(count);
            out = aside.data();
        }
        if(runHash(indices, count, out))
        {
            if(out != result)
                std::copy(aside.begin(), aside.end(), result);
            _usedHash = true;
            return _representatives.size();
        }
        _vertices = HashIndex();
        _positions = HashIndex();
        _representatives.clear();
        _inexactGroups.clear();
    }
    runMap(indices, count, result);
    return _map->size();
}

void VertexUnifier::runMap(const UInt32 *indices, std::size_t count, UInt32 *result)
{
    _map.reset(new Map(Less{ &_context }));
    for(std::size_t i = 0; i < count; ++i)
    {
        const UInt32 v  = indices[i];
        const auto   it = _map->find(v);
        if(it != _map->end())
            result[i] = it->second;
        else
        {
            _map->insert(std::make_pair(v, v));
            result[i] = v;
        }
    }
}

bool VertexUnifier::runHash(const UInt32 *indices, std::size_t count, UInt32 *result)
{
    const CompareAttribute &positions = _context.attr[0];
    if(positions.kind != CompareAttribute::Floats || positions.dim != 3 ||
       !positions.exact())
        return false;

    // Sized for a quarter of the corners being distinct (typical of soups); it grows if not.
    const std::size_t expected = std::max<std::size_t>(count / 4, 64);
    _vertices.reset(expected);
    _representatives.clear();
    _representatives.reserve(expected);
    _inexactGroups.clear();

    forEachHashed(
        count, _vertices, [this, indices](std::size_t i) { return hashOf(indices[i]); },
        [this, indices, result](std::size_t i, UInt32 h) {
            const UInt32 v = indices[i];
            bool inserted;
            result[i] = _vertices.findOrInsert(
                h, v, [this, v](UInt32 stored) { return same(stored, v, false); }, inserted);
            if(inserted)
                _representatives.push_back(v);
        });
    // Without a toleranced attribute, vertices at one position are told apart exactly.
    if(!_anyToleranced)
        return true;
    groupByPosition();
    return _inexactGroups.empty() || groupsAreOrdered();
}

void VertexUnifier::groupByPosition(void)
{
    const std::size_t n = _representatives.size();
    _positions.reset(n);
    forEachHashed(
        n, _positions, [this](std::size_t r) { return positionHash(_representatives[r]); },
        [this](std::size_t r, UInt32 h) {
            const UInt32 v = _representatives[r];
            bool inserted;
            const UInt32 first = _positions.findOrInsert(
                h, v, [this, v](UInt32 stored) { return samePosition(stored, v); }, inserted);
            if(!inserted && !same(first, v, true))
                _inexactGroups.push_back(first);
        });
}

bool VertexUnifier::groupsAreOrdered(void)
{
    std::sort(_inexactGroups.begin(), _inexactGroups.end());
    _inexactGroups.erase(std::unique(_inexactGroups.begin(), _inexactGroups.end()),
                         _inexactGroups.end());
    collectMembers(&_inexactGroups);

    // Within such a group the comparison must be a strict total order: of two distinct vertices
    // exactly one is less, and the counts of vertices each one beats are 0 .. m-1 (no cycle).
    std::vector<UInt32> score;
    for(std::size_t begin = 0, end = 0; begin < _members.size(); begin = end)
    {
        while(end < _members.size() && _members[end].first == _members[begin].first)
            ++end;
        const std::size_t m = end - begin;
        if(m > MaxCheckedGroup)
            return false;
        score.assign(m, 0);
        for(std::size_t i = 0; i < m; ++i)
        {
            for(std::size_t j = i + 1; j < m; ++j)
            {
                const UInt32 a = _members[begin + i].second, b = _members[begin + j].second;
                const bool ab = _context.less(a, b);
                const bool ba = _context.less(b, a);
                if(ab == ba)
                    return false;
                ++score[ab ? j : i];
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

void VertexUnifier::collectMembers(const std::vector<UInt32> *onlyGroups)
{
    _members.clear();
    for(UInt32 r : _representatives)
    {
        const Int64 first = _positions.find(
            positionHash(r), [this, r](UInt32 stored) { return samePosition(stored, r); });
        if(first < 0)
            continue;
        if(onlyGroups != NULL &&
           !std::binary_search(onlyGroups->begin(), onlyGroups->end(), UInt32(first)))
            continue;
        _members.push_back(std::make_pair(UInt32(first), r));
    }
    std::sort(_members.begin(), _members.end());
    _membersComplete = onlyGroups == NULL;
}

/*------------------------------ lookups ------------------------------------*/

Int64 VertexUnifier::find(UInt32 v)
{
    for(const CompareAttribute &at : _context.attr)
    {
        if(at.kind != CompareAttribute::None && v >= at.size)
            return -1;
    }
    if(!_map && _usedHash)
    {
        // NaN ties with everything in the comparison; only the map's own search can tell.
        if(!hasNaN(v))
        {
            const Int64 exact = _vertices.find(
                hashOf(v), [this, v](UInt32 stored) { return same(stored, v, false); });
            if(exact >= 0 || !_anyToleranced)
                return exact;   // without tolerances, a tie is an exact match
            const Int64 first = _positions.find(
                positionHash(v), [this, v](UInt32 stored) { return samePosition(stored, v); });
            if(first < 0)
                return -1;   // no vertex at this position: positions alone decide
            // Unlike every stored vertex at its position: the map finds nothing unless the
            // comparison calls it equal to one of them, and then only the map's own search can
            // tell which.
            if(!_membersComplete)
                collectMembers(NULL);
            bool equalToSome = false;
            auto it = std::lower_bound(_members.begin(), _members.end(),
                                       std::make_pair(UInt32(first), UInt32(0)));
            for(; it != _members.end() && it->first == UInt32(first) && !equalToSome; ++it)
                equalToSome = !_context.less(v, it->second) && !_context.less(it->second, v);
            if(!equalToSome)
                return -1;
        }
        replayMap();
    }
    if(!_map)
        return -1;
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
