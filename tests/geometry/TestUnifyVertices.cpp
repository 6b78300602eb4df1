// Vertex unification: against a brute-force O(n^2) reference where the tolerances make equality
// an equivalence, against a plain std::map searched in index order where they do not (the hash
// must then step aside), and the graph operation's handling of geometries (non-indexed input,
// flags, shared cores, refused input).

#include "kernel/GeometryTestSupport.h"

#include <OpenSGExt/Geometry/detail/skUnifyVertices.h>
#include <OpenSGExt/OSGUnifyVerticesGraphOp.h>

#include <OpenSG/OSGChangeList.h>
#include <OpenSG/OSGGeoNormals3b.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGLog.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <map>
#include <random>
#include <vector>

using namespace osg;
using namespace osg::detail;
using namespace geotest;

namespace {

/*! Plain per-vertex data: position, normal, one texture coordinate. */
struct Mesh
{
    std::vector<Real32> pos, nrm, tex;   // 3, 3, 2 floats per vertex
    std::vector<UInt32> idx;

    VertexCompareContext context(Real32 eps, Real32 angle, Real32 texEps) const
    {
        VertexCompareContext ctx;
        ctx.angleEps = angle;
        const Real32 tol[3] = { eps, 0.f, texEps };
        const std::vector<Real32> *arrays[3] = { &pos, &nrm, &tex };
        const UInt8 dims[3] = { 3, 3, 2 };
        const UInt32 slots[3] = { 0, 1, 4 };
        for(UInt32 k = 0; k < 3; ++k)
        {
            if(arrays[k]->empty())
                continue;
            CompareAttribute &at = ctx.attr[slots[k]];
            at.data      = arrays[k]->data();
            at.size      = UInt32(arrays[k]->size() / dims[k]);
            at.kind      = CompareAttribute::Floats;
            at.dim       = dims[k];
            at.tolerance = tol[k];
            at.angle     = k == 1;
        }
        return ctx;
    }
};

/*! The comparison written out from its definition, for the references. */
struct ReferenceLess
{
    const Mesh *m;
    Real32      eps, angle, texEps;

    static int cmp(const Real32 *a, const Real32 *b, UInt32 dim, Real32 e)
    {
        for(UInt32 c = 0; c < dim; ++c)
        {
            if(a[c] < b[c] - e)
                return -1;
            if(a[c] > b[c] + e)
                return 1;
        }
        return 0;
    }

    bool operator()(UInt32 a, UInt32 b) const
    {
        int r = cmp(&m->pos[3 * a], &m->pos[3 * b], 3, eps);
        if(r != 0)
            return r < 0;
        if(!m->nrm.empty())
        {
            const Real32 *na = &m->nrm[3 * a], *nb = &m->nrm[3 * b];
            const Real32 la = std::sqrt(na[0] * na[0] + na[1] * na[1] + na[2] * na[2]);
            const Real32 lb = std::sqrt(nb[0] * nb[0] + nb[1] * nb[1] + nb[2] * nb[2]);
            Real32 d = 0.f;
            for(int c = 0; c < 3; ++c)
                d = d + (na[c] / la) * (nb[c] / lb);
            if(!(std::acos(d) <= angle))
            {
                r = cmp(na, nb, 3, 0.f);
                if(r != 0)
                    return r < 0;
            }
        }
        if(!m->tex.empty())
            return cmp(&m->tex[2 * a], &m->tex[2 * b], 2, texEps) < 0;
        return false;
    }
};

std::vector<UInt32> bruteForce(const Mesh &m, const ReferenceLess &less)
{
    std::vector<UInt32> out(m.idx);
    for(std::size_t i = 0; i < m.idx.size(); ++i)
    {
        for(std::size_t j = 0; j < i; ++j)
        {
            if(!less(m.idx[j], m.idx[i]) && !less(m.idx[i], m.idx[j]))
            {
                out[i] = out[j];
                break;
            }
        }
    }
    return out;
}

std::vector<UInt32> plainMap(const Mesh &m, std::map<UInt32, UInt32, ReferenceLess> &map)
{
    std::vector<UInt32> out(m.idx);
    for(std::size_t i = 0; i < out.size(); ++i)
    {
        auto it = map.find(out[i]);
        if(it != map.end())
            out[i] = it->second;
        else
            map.insert(std::make_pair(out[i], out[i]));
    }
    return out;
}

/*! Vertices around a few well separated cluster centres, jittered by far less than the
    tolerances and never in a component that orders two clusters, so that the comparison is a
    strict weak order whose "equal" is an equivalence. */
Mesh clusteredMesh(std::mt19937 &rng, bool jitter)
{
    std::uniform_int_distribution<int> centre(0, 3), dir(0, 2), pick(0, 239);
    std::uniform_real_distribution<float> small(-1e-4f, 1e-4f);
    Mesh m;
    for(int v = 0; v < 240; ++v)
    {
        const float j = jitter ? 1.f : 0.f;
        m.pos.insert(m.pos.end(), { float(centre(rng)) + j * small(rng), float(centre(rng)),
                                    float(centre(rng)) + j * small(rng) });
        const int d = dir(rng);
        // Jitter only where it cannot decide between directions: (1,0,s), (0,1,s), (0,s,1).
        m.nrm.insert(m.nrm.end(), { d == 0 ? 1.f : 0.f, d == 1 ? 1.f : (d == 2 ? j * small(rng) : 0.f),
                                    d == 2 ? 1.f : j * small(rng) });
        m.tex.insert(m.tex.end(), { float(centre(rng) % 2) + j * small(rng), 0.5f });
    }
    for(int i = 0; i < 720; ++i)
        m.idx.push_back(UInt32(pick(rng)));
    return m;
}

} // namespace

TEST(UnifyVerticesPlain, MatchesBruteForceWhereEqualityIsAnEquivalence)
{
    std::mt19937 rng(7);
    for(int round = 0; round < 4; ++round)
    {
        // Jittered: tolerances 1e-3 (map); exact copies: zero tolerances (the hash).
        const bool jitter = round % 2 == 0;
        const Mesh m = clusteredMesh(rng, jitter);
        const Real32 eps = jitter ? 1e-3f : 0.f, texEps = jitter ? 1e-3f : 0.f;
        const ReferenceLess less = { &m, eps, 0.01f, texEps };
        const std::vector<UInt32> expect = bruteForce(m, less);

        for(VertexUnifier::Method method : { VertexUnifier::Method::Auto,
                                             VertexUnifier::Method::Map })
        {
            std::vector<UInt32> idx = m.idx;
            VertexUnifier unifier(m.context(eps, 0.01f, texEps), method);
            ASSERT_EQ(unifier.validate(idx.data(), idx.size()), "");
            const std::size_t distinct = unifier.run(idx.data(), idx.size());
            EXPECT_EQ(idx, expect) << "round " << round;
            EXPECT_EQ(distinct, std::set<UInt32>(expect.begin(), expect.end()).size());
            EXPECT_EQ(unifier.usedHash(), !jitter && method == VertexUnifier::Method::Auto);
            // Every vertex in use finds its representative.
            for(std::size_t i = 0; i < idx.size(); ++i)
                EXPECT_EQ(unifier.find(m.idx[i]), Int64(idx[i]));
        }
    }
}

namespace {

/*! Runs the unifier in place and into another array and checks both against the plain map
    searched in index order; then the lookup of every vertex, once in a row after one run and once
    each right after a run of its own (a lookup may switch the unifier over to the map). Returns
    whether the hash ran. */
bool expectSameAsMap(const Mesh &m, Real32 eps, Real32 angle, Real32 texEps)
{
    const ReferenceLess less = { &m, eps, angle, texEps };
    std::map<UInt32, UInt32, ReferenceLess> map(less);
    const std::vector<UInt32> expect = plainMap(m, map);
    std::vector<UInt32> inPlace = m.idx, aside(m.idx.size());
    VertexUnifier a(m.context(eps, angle, texEps)), b(m.context(eps, angle, texEps));
    EXPECT_EQ(a.validate(m.idx.data(), m.idx.size()), "");
    EXPECT_EQ(a.run(inPlace.data(), inPlace.size()), map.size());
    EXPECT_EQ(b.run(m.idx.data(), m.idx.size(), aside.data()), map.size());
    EXPECT_EQ(inPlace, expect);
    EXPECT_EQ(aside, expect);
    EXPECT_EQ(a.usedHash(), b.usedHash());
    for(UInt32 v = 0; v < m.pos.size() / 3; ++v)
    {
        const auto it = map.find(v);
        const Int64 want = it == map.end() ? -1 : Int64(it->second);
        EXPECT_EQ(a.find(v), want) << "vertex " << v << " in a row";
        VertexUnifier fresh(m.context(eps, angle, texEps));
        fresh.run(m.idx.data(), m.idx.size(), aside.data());
        EXPECT_EQ(fresh.find(v), want) << "vertex " << v << " alone";
    }
    return a.usedHash();
}

/*! Vertices at (x, 0, 0) with texture coordinates (s, t) and no normals, indexed as given. */
Mesh lineMesh(const std::vector<std::array<float, 3>> &xst, const std::vector<UInt32> &idx)
{
    Mesh m;
    for(const auto &v : xst)
    {
        m.pos.insert(m.pos.end(), { v[0], 0.f, 0.f });
        m.tex.insert(m.tex.end(), { v[1], v[2] });
    }
    m.idx = idx;
    return m;
}

} // namespace

TEST(UnifyVerticesPlain, NonTransitiveChainsFollowTheMapSearch)
{
    // x = 0, 0.6, 1.2, ... with epsilon 1: neighbours are equal, the chain is not. The outcome
    // depends on the index order and the tree's shape; the plain map is the reference.
    std::mt19937 rng(11);
    int differsFromBruteForce = 0;
    for(int round = 0; round < 6; ++round)
    {
        // The chain lies in the positions (epsilon 1), or, with exact positions shared by ten
        // vertices each, in texture t (0, 0.3, 0.6, ... with tolerance 0.5).
        const bool inPositions = round % 2 == 0;
        std::vector<std::array<float, 3>> xst;
        for(int v = 0; v < 40; ++v)
            xst.push_back({ inPositions ? 0.6f * float(v % 20) : float(v % 4), 0.f,
                            inPositions ? 0.3f * float(v / 20) : 0.3f * float(v / 4) });
        std::vector<UInt32> idx(120);
        std::uniform_int_distribution<int> pick(0, 39);
        for(UInt32 &i : idx)
            i = UInt32(pick(rng));
        const Mesh m = lineMesh(xst, idx);
        const Real32 eps = inPositions ? 1.f : 0.f, texEps = inPositions ? 0.f : 0.5f;
        EXPECT_FALSE(expectSameAsMap(m, eps, 0.01f, texEps)) << "round " << round;
        const ReferenceLess less = { &m, eps, 0.01f, texEps };
        std::map<UInt32, UInt32, ReferenceLess> map(less);
        differsFromBruteForce += plainMap(m, map) != bruteForce(m, less) ? 1 : 0;
    }
    // The chains really are not transitive: the first-equal rule would answer differently.
    EXPECT_GT(differsFromBruteForce, 0);
}

TEST(UnifyVerticesPlain, TheHashStepsInOnlyWhereItAgreesWithTheMap)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    // Exact positions and distinct texture coordinates 0 and 1 at each position, plus unused
    // vertices at 0.4 (equal to 0 within 0.5), 0.5 (equal to both), 3 (to none) and NaN (ties
    // with everything in the comparison).
    const Mesh unused = lineMesh({ { 0, 0, 0 }, { 0, 1, 0 }, { 0, 0.4f, 0 }, { 0, 0.5f, 0 },
                                   { 0, 3, 0 }, { 1, 0, 0 }, { 1, 1, 0 }, { 1, 0.4f, 0 },
                                   { 1, nan, 0 }, { nan, 0, 0 } },
                                 { 1, 0, 6, 5, 1, 5 });
    // A pole: 100 vertices at one position told apart by texture s alone, each used twice; too
    // many to check pairwise, so any tolerance sends them to the map.
    std::vector<std::array<float, 3>> pole;
    std::vector<UInt32> poleIdx;
    for(int v = 0; v < 100; ++v)
    {
        pole.push_back({ 1.f, 0.01f * float(v), 0.f });
        poleIdx.insert(poleIdx.end(), { UInt32(v), UInt32(99 - v) });
    }
    const Mesh poleMesh = lineMesh(pole, poleIdx);

    // Hard edges: three normals 90 degrees apart at each of two positions, checked pairwise to
    // be ordered; and one direction at two lengths, which the angle calls equal (map).
    Mesh edges;
    const Vec3f dirs[4] = { Vec3f(1, 0, 0), Vec3f(0, 1, 0), Vec3f(0, 0, 1), Vec3f(0, 0, 2) };
    for(int v = 0; v < 8; ++v)
    {
        edges.pos.insert(edges.pos.end(), { float(v / 4), 0.f, 0.f });
        edges.nrm.insert(edges.nrm.end(), { dirs[v % 4][0], dirs[v % 4][1], dirs[v % 4][2] });
    }
    edges.idx = { 0, 1, 2, 4, 5, 6, 2, 1, 0, 6 };
    Mesh parallel = edges;
    parallel.idx.insert(parallel.idx.end(), { 3, 7 });

    const struct
    {
        const char *what;
        const Mesh *mesh;
        Real32      texEps;
        bool        hash;
    } cases[] = {
        { "unused vertices", &unused, 0.5f, true },
        { "pole, exact", &poleMesh, 0.f, true },
        { "pole, toleranced", &poleMesh, 1e-8f, false },
        { "hard edges", &edges, 0.f, true },
        { "parallel normals", &parallel, 0.f, false },
    };
    for(const auto &c : cases)
    {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(expectSameAsMap(*c.mesh, 0.f, 0.01f, c.texEps), c.hash);
    }
}

TEST(UnifyVerticesPlain, IndicesPastAnAttributeAndNaNInUseAreRefused)
{
    const Real32 nan = std::numeric_limits<Real32>::quiet_NaN();
    const struct
    {
        std::vector<Real32> tex;
        std::vector<UInt32> idx;
        const char         *problem;
    } cases[] = {
        { { 0, 0 }, { 0, 1 }, "index 1 at 1 is past the 1 texture coordinates 0" },
        { { 0, 0, nan, 0 }, { 0, 1 }, "vertex 1 has NaN in its texture coordinates 0" },
        { { 0, 0, nan, 0 }, { 0, 0 }, "" },   // NaN in a vertex no index uses
        { { 0, 0, 1, 0, 2, 0 }, { 0, 1 }, "" },
    };
    for(const auto &c : cases)
    {
        Mesh m;
        m.pos = { 0, 0, 0, 1, 0, 0, 2, 0, 0 };
        m.tex = c.tex;
        m.idx = c.idx;
        VertexUnifier unifier(m.context(0.f, 0.01f, 0.f));
        EXPECT_EQ(unifier.validate(m.idx.data(), m.idx.size()), c.problem);
    }
}

TEST(VertexWeld, PositionsAndCornerRowsMatchAQuadraticSearch)
{
    // Coordinates from a few values, -0 among them (equal to 0), so that most points repeat.
    std::mt19937 rng(5);
    std::uniform_int_distribution<int> pick(0, 4);
    const float values[5] = { 0.f, -0.f, 1.f, 0.5f, -2.f };
    std::vector<Pnt3f> points(3000);
    for(Pnt3f &p : points)
        p = Pnt3f(values[pick(rng)], values[pick(rng)], values[pick(rng)]);
    std::vector<UInt32> classOf;
    weldPositions(points.data(), points.size(), classOf);
    for(std::size_t i = 0; i < points.size(); ++i)
    {
        std::size_t j = 0;
        while(!(points[j][0] == points[i][0] && points[j][1] == points[i][1] &&
                points[j][2] == points[i][2]))
            ++j;
        ASSERT_EQ(classOf[i], j) << i;
    }

    // Rows of two attribute indices, numbered in the order of first appearance.
    std::vector<Int32> rows(2 * 2000);
    for(Int32 &r : rows)
        r = pick(rng) * 7;
    std::vector<std::array<Int32, 4>> vertices;
    std::vector<UInt32> indices;
    weldCorners(rows.data(), 2000, 2, vertices, indices);
    std::vector<std::array<Int32, 4>> expect;
    for(std::size_t c = 0; c < 2000; ++c)
    {
        const std::array<Int32, 4> row = { rows[2 * c], rows[2 * c + 1], -1, -1 };
        const auto at = std::find(expect.begin(), expect.end(), row);
        ASSERT_EQ(indices[c], UInt32(at - expect.begin())) << c;
        if(at == expect.end())
            expect.push_back(row);
    }
    EXPECT_EQ(vertices, expect);
}

/*------------------------------ graph operation ----------------------------*/

namespace {

/*! A non-indexed triangle list: two triangles sharing an edge, the shared corners repeated with
    normals 0.005 rad apart (merged by default) and, for the second pair, 0.5 rad apart. */
GeometryPtr makeSoup(Pool &pool)
{
    GeometryPtr geo = pool(Geometry::create());
    const Vec3f up(0, 0, 1), near(std::sin(0.005f), 0, std::cos(0.005f)),
        far(std::sin(0.5f), 0, std::cos(0.5f));
    beginEditCP(geo);
    geo->setTypes(types({ GL_TRIANGLES }));
    geo->setLengths(lengths({ 6 }));
    geo->setPositions(positions({ Pnt3f(0, 0, 0), Pnt3f(1, 0, 0), Pnt3f(0, 1, 0),
                                  Pnt3f(1, 0, 0), Pnt3f(1, 1, 0), Pnt3f(0, 1, 0) }));
    geo->setNormals(makeProperty<GeoNormals3fPtr>({ up, up, up, near, up, far }));
    endEditCP(geo);
    return geo;
}

std::vector<UInt32> indexValues(const GeometryPtr &geo)
{
    std::vector<UInt32> v;
    for(UInt32 i = 0; i < geo->getIndices()->getSize(); ++i)
        v.push_back(geo->getIndices()->getValue(i));
    return v;
}

} // namespace

TEST(UnifyVerticesGraphOp, DefaultsFlagsAndIndexForms)
{
    UnifyVerticesGraphOp op;
    EXPECT_STREQ(UnifyVerticesGraphOp::getClassname(), "UnifyVerticesGraphOp");
    GraphOp *fresh = op.create();
    EXPECT_EQ(fresh->getName(), "UnifyVertices");
    EXPECT_EQ(fresh->usage(), "");
    delete fresh;

    Pool pool;
    GeometryPtr geo = makeSoup(pool);
    NodePtr node = pool(nodeWith(geo));
    EXPECT_TRUE(op.traverse(node));
    // Gains 0..5 and one mapping entry; corner 3 joins 1 (0.005 rad), corner 5 stays (0.5 rad).
    EXPECT_EQ(indexValues(geo), (std::vector<UInt32>{ 0, 1, 2, 1, 4, 5 }));
    ASSERT_EQ(geo->getIndexMapping().size(), 1u);
    EXPECT_EQ(geo->getIndexMapping()[0], Geometry::MapPosition | Geometry::MapNormal);
    EXPECT_EQ(geo->getPositions()->getSize(), 6u);   // no data removed

    const auto normalsOff = [](UnifyVerticesGraphOp &o) {
        o.setCompareMode(true, false, true, true, true, true, true, true, true, true, true, true);
    };
    const auto wideAngle = [](UnifyVerticesGraphOp &o) { o.setNormalEpsilon(0.6f); };
    const auto defaults = [](UnifyVerticesGraphOp &) {};
    const struct
    {
        const char *what;
        std::function<void(UnifyVerticesGraphOp &)> configure;
        bool shortIndices;   // given 16-bit indices 0..5, kept in that form
        std::vector<UInt32> result;
    } cases[] = {
        { "normals off: corner 5 joins 2 as well", normalsOff, false, { 0, 1, 2, 1, 4, 2 } },
        { "a normal epsilon of 0.6 merges corner 5 too", wideAngle, false, { 0, 1, 2, 1, 4, 2 } },
        { "16-bit indices", defaults, true, { 0, 1, 2, 1, 4, 5 } },
    };
    for(const auto &c : cases)
    {
        SCOPED_TRACE(c.what);
        GeometryPtr soup = makeSoup(pool);
        if(c.shortIndices)
        {
            beginEditCP(soup, Geometry::IndicesFieldMask | Geometry::IndexMappingFieldMask);
            soup->setIndices(makeProperty<GeoIndicesUI16Ptr>({ UInt16(0), UInt16(1), UInt16(2),
                                                               UInt16(3), UInt16(4),
                                                               UInt16(5) }));
            soup->editMFIndexMapping()->push_back(Geometry::MapPosition | Geometry::MapNormal);
            endEditCP(soup, Geometry::IndicesFieldMask | Geometry::IndexMappingFieldMask);
        }
        UnifyVerticesGraphOp configured;
        c.configure(configured);
        configured.process(soup);
        EXPECT_EQ(indexValues(soup), c.result);
        EXPECT_EQ(GeoIndicesUI16Ptr::dcast(soup->getIndices()) != NullFC, c.shortIndices);
    }
}

TEST(UnifyVerticesGraphOp, SharedCoresOnceAndRefusedInput)
{
    Pool pool;
    GeometryPtr geo = makeSoup(pool);
    NodePtr group = pool(nodeWith(Group::create()));
    beginEditCP(group, Node::ChildrenFieldMask);
    group->addChild(nodeWith(geo));
    group->addChild(nodeWith(geo));
    endEditCP(group, Node::ChildrenFieldMask);

    UnifyVerticesGraphOp op;
    ChangeList *changes = Thread::getCurrentChangeList();
    changes->clearAll();
    EXPECT_TRUE(op.traverse(group));
    // The index property is written once although two nodes carry the core.
    const UInt32 id = geo->getIndices().getFieldContainerId();
    UInt32 edits = 0;
    for(const ChangeList::ChangeEntry &e : changes->getChanged())
        edits += e.first == id ? 1 : 0;
    EXPECT_EQ(edits, 3u);   // filled and given its parent when created, then rewritten once
    changes->clearAll();
    EXPECT_TRUE(op.traverse(group));   // a new traversal visits it again
    edits = 0;
    for(const ChangeList::ChangeEntry &e : changes->getChanged())
        edits += e.first == id ? 1 : 0;
    EXPECT_EQ(edits, 1u);

    // Reported, indices unchanged.
    const struct
    {
        const char *what;
        std::function<void(GeoNormals3fPtr)> change;
        const char *message;
    } refused[] = {
        { "NaN in a compared normal",
          [](GeoNormals3fPtr n) {
              n->setValue(Vec3f(std::numeric_limits<Real32>::quiet_NaN(), 0, 1), 3);
          },
          "vertex 3 has NaN in its normals" },
        { "fewer normals than the indices use", [](GeoNormals3fPtr n) { n->editField().resize(4); },
          "index 4 at 4 is past the 4 normals" },
    };
    for(const auto &c : refused)
    {
        SCOPED_TRACE(c.what);
        GeometryPtr bad = makeSoup(pool);
        GeoNormals3fPtr normals = GeoNormals3fPtr::dcast(bad->getNormals());
        beginEditCP(normals);
        c.change(normals);
        endEditCP(normals);
        LogCapture capture;
        op.process(bad);
        EXPECT_TRUE(capture.contains(c.message));
        EXPECT_EQ(indexValues(bad), (std::vector<UInt32>{ 0, 1, 2, 3, 4, 5 }));
    }

    // Byte normals compare exactly.
    GeometryPtr bytes = makeSoup(pool);
    beginEditCP(bytes, Geometry::NormalsFieldMask);
    bytes->setNormals(makeProperty<GeoNormals3bPtr>({ Vec3b(0, 0, 127), Vec3b(0, 0, 127),
                                                      Vec3b(0, 0, 127), Vec3b(1, 0, 127),
                                                      Vec3b(0, 0, 127), Vec3b(0, 0, 127) }));
    endEditCP(bytes, Geometry::NormalsFieldMask);
    op.process(bytes);
    EXPECT_EQ(indexValues(bytes), (std::vector<UInt32>{ 0, 1, 2, 3, 4, 2 }));
}
