#ifndef SK_OPENSGEXT_GEOMETRY_DETAIL_SKUNIFYVERTICES_H
#define SK_OPENSGEXT_GEOMETRY_DETAIL_SKUNIFYVERTICES_H

// Vertex unification on plain arrays: redirects every index to the first earlier vertex that the
// toleranced comparison finds equal.
//
// The result is defined by an ordered map searched with the comparison, in index order: found ->
// the index takes the found vertex, not found -> the vertex is inserted. With tolerances above zero
// the comparison is not transitive and the outcome depends on the map's shape, so the map itself is
// the reference. A hash over exact values gives the same answer whenever the comparison is a strict
// weak order on the vertices in use with exact equality as its equivalence; that is checked on the
// data (positions compared exactly; within every group of distinct vertices at one position, either
// only exact comparisons tell them apart or the comparison is checked pairwise to be a strict total
// order), and the map is used when the check fails.

#include <OpenSGExt/Geometry/detail/skVertexWeld.h>

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace osg {
namespace detail {

class VertexUnifier
{
  public:
    enum class Method
    {
        Auto,   // the hash where the data allow it, else the map
        Map     // always the map
    };

    explicit VertexUnifier(const VertexCompareContext &context, Method method = Method::Auto);
    ~VertexUnifier(void);
    VertexUnifier(const VertexUnifier &) = delete;
    VertexUnifier &operator=(const VertexUnifier &) = delete;

    /*! Why the indices cannot be unified (an index past a compared attribute, NaN in a compared
        value of a vertex in use), or empty when they can. */
    std::string validate(const UInt32 *indices, std::size_t count) const;

    /*! Writes each index's representative to result (indices itself, or memory that does not
        overlap them) for valid indices (see validate) and returns the number of distinct vertices
        among them. Call once. */
    std::size_t run(const UInt32 *indices, std::size_t count, UInt32 *result);
    std::size_t run(UInt32 *indices, std::size_t count) { return run(indices, count, indices); }

    /*! The vertex the map holds for vertex v, or -1 if it holds none equal to it (or v is past a
        compared attribute); valid after run. */
    Int64 find(UInt32 v);

    /*! True if run took the hash (for tests and benchmarks). */
    bool usedHash(void) const { return _usedHash; }

  private:
    struct Less
    {
        const VertexCompareContext *context;
        bool operator()(UInt32 a, UInt32 b) const { return context->less(a, b); }
    };
    typedef std::map<UInt32, UInt32, Less> Map;

    // A compared attribute as raw words (floats) or bytes, in comparison order.
    struct Part
    {
        const UInt32 *words      = NULL;
        const UInt8  *bytes      = NULL;
        UInt32        size       = 0;   // elements
        UInt32        dim        = 0;
        bool          toleranced = false;
    };

    void runMap(const UInt32 *indices, std::size_t count, UInt32 *result);
    bool runHash(const UInt32 *indices, std::size_t count, UInt32 *result);
    void groupByPosition(void);
    bool groupsAreOrdered(void);
    void collectMembers(const std::vector<UInt32> *onlyGroups);
    void replayMap(void);

    UInt32 positionHash(UInt32 v) const;
    UInt32 hashOf(UInt32 v) const;
    bool   same(UInt32 a, UInt32 b, bool onlyToleranced) const;
    bool   samePosition(UInt32 a, UInt32 b) const;
    bool   hasNaN(UInt32 v) const;
    std::string describeProblem(const UInt32 *indices, std::size_t count) const;

    VertexCompareContext _context;
    Method               _method;
    bool                 _usedHash = false;
    std::unique_ptr<Map> _map;

    Part   _parts[VertexCompareContext::NumAttributes];
    UInt32 _numParts      = 0;
    bool   _anyToleranced = false;

    // The hash: distinct vertices by all compared values, in order of first use; groups of them
    // by exact position (named by their first vertex) where a toleranced attribute could tie two
    // of them; the groups whose toleranced attributes differ, and (built when needed) the groups'
    // members as (first vertex, member), sorted.
    HashIndex                                  _vertices;
    HashIndex                                  _positions;
    std::vector<UInt32>                        _representatives;
    std::vector<UInt32>                        _inexactGroups;
    std::vector<std::pair<UInt32, UInt32>>     _members;
    bool                                       _membersComplete = false;
};

} // namespace detail
} // namespace osg

#endif
