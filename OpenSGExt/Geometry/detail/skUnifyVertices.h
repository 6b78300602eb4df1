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
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace osg {
namespace detail {

struct VertexUnifierTables;

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

    /*! Rewrites the indices (valid ones, see validate) and returns the number of distinct
        vertices among them. Call once. */
    std::size_t run(UInt32 *indices, std::size_t count);

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

    void runMap(UInt32 *indices, std::size_t count);
    bool runHash(UInt32 *indices, std::size_t count);
    bool groupsAreOrdered(void);
    bool exactWithin(const UInt32 *members, std::size_t m) const;
    void replayMap(void);

    VertexCompareContext _context;
    VertexCompareContext _positionsOnly;
    Method               _method;
    bool                 _usedHash = false;
    std::unique_ptr<Map> _map;

    // The hash: distinct vertices in order of first use, tables of vertices by all compared
    // values and of position groups (by the group's first vertex), and the groups' members.
    std::unique_ptr<VertexUnifierTables>        _tables;
    std::vector<UInt32>                         _representatives;
    std::vector<UInt32>                         _groupOfFirst;   // by vertex number
    std::vector<UInt32>                         _groupStart, _groupMembers;
};

} // namespace detail
} // namespace osg

#endif
