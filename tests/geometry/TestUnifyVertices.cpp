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

#include <cmath>
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

std::vector<UInt32> plainMap(const Mesh &m, const ReferenceLess &less,
                             std::map<UInt32, UInt32, ReferenceLess> &map)
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
    (void)less;
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
        Mesh m;
        for(int v = 0; v < 40; ++v)
        {
            m.pos.insert(m.pos.end(), { inPositions ? 0.6f * float(v % 20) : float(v % 4), 0.f,
                                        0.f });
            m.tex.insert(m.tex.end(), { 0.f, inPositions ? 0.3f * float(v / 20)
                                                         : 0.3f * float(v / 4) });
        }
        m.idx.resize(120);
        std::uniform_int_distribution<int> pick(0, 39);
        for(UInt32 &i : m.idx)
            i = UInt32(pick(rng));
        const Real32 eps = inPositions ? 1.f : 0.f, texEps = inPositions ? 0.f : 0.5f;
        const ReferenceLess less = { &m, eps, 0.01f, texEps };
        std::map<UInt32, UInt32, ReferenceLess> map(less);
        const std::vector<UInt32> expect = plainMap(m, less, map);
        differsFromBruteForce += expect != bruteForce(m, less) ? 1 : 0;

        std::vector<UInt32> idx = m.idx;
        VertexUnifier unifier(m.context(eps, 0.01f, texEps));
        unifier.run(idx.data(), idx.size());
        EXPECT_FALSE(unifier.usedHash());
        EXPECT_EQ(idx, expect) << "round " << round;
        for(UInt32 v = 0; v < 40; ++v)
        {
            const auto it = map.find(v);
            EXPECT_EQ(unifier.find(v), it == map.end() ? -1 : Int64(it->second));
        }
    }
    // The chains really are not transitive: the first-equal rule would answer differently.
    EXPECT_GT(differsFromBruteForce, 0);
}

TEST(UnifyVerticesPlain, HashLookupsOfUnusedVerticesAgreeWithTheMap)
{
    // Exact positions and distinct texture coordinates 0 and 1 at each position (the hash), plus
    // unused vertices at 0.4 (equal to 0 within 0.5), 0.5 (equal to both) and 3 (to none).
    Mesh m;
    const float t[] = { 0.f, 1.f, 0.4f, 0.5f, 3.f };
    for(int v = 0; v < 10; ++v)
    {
        m.pos.insert(m.pos.end(), { float(v / 5), 0.f, 0.f });
        m.tex.insert(m.tex.end(), { t[v % 5], 0.f });
    }
    m.idx = { 1, 0, 6, 5, 1, 5 };
    const ReferenceLess less = { &m, 0.f, 0.01f, 0.5f };
    std::map<UInt32, UInt32, ReferenceLess> map(less);
    const std::vector<UInt32> expect = plainMap(m, less, map);
    std::vector<UInt32> idx = m.idx;
    VertexUnifier unifier(m.context(0.f, 0.01f, 0.5f));
    unifier.run(idx.data(), idx.size());
    EXPECT_TRUE(unifier.usedHash());
    EXPECT_EQ(idx, expect);
    for(UInt32 v = 0; v < 10; ++v)
    {
        const auto it = map.find(v);
        EXPECT_EQ(unifier.find(v), it == map.end() ? -1 : Int64(it->second)) << v;
    }
}

TEST(UnifyVerticesPlain, LargeGroupsAtOnePositionTakeTheHashOnlyWhenExact)
{
    // A pole: 100 vertices at one position told apart by texture s alone, each used twice; too
    // many to check pairwise, so a tolerance sends them to the map.
    Mesh m;
    for(int v = 0; v < 100; ++v)
    {
        m.pos.insert(m.pos.end(), { 0.f, 0.f, 1.f });
        m.tex.insert(m.tex.end(), { 0.01f * float(v), 0.f });
        m.idx.push_back(UInt32(v));
        m.idx.push_back(UInt32(99 - v));
    }
    for(Real32 texEps : { 0.f, 1e-8f })
    {
        const ReferenceLess less = { &m, 0.f, 0.01f, texEps };
        std::map<UInt32, UInt32, ReferenceLess> map(less);
        const std::vector<UInt32> expect = plainMap(m, less, map);
        std::vector<UInt32> idx = m.idx;
        VertexUnifier unifier(m.context(0.f, 0.01f, texEps));
        EXPECT_EQ(unifier.run(idx.data(), idx.size()), 100u);
        EXPECT_EQ(unifier.usedHash(), texEps == 0.f);
        EXPECT_EQ(idx, expect);
    }
}

TEST(UnifyVerticesPlain, IndicesPastAnAttributeAndNaNAreRefused)
{
    Mesh m;
    m.pos = { 0, 0, 0, 1, 0, 0 };
    m.tex = { 0, 0 };
    m.idx = { 0, 1 };
    VertexUnifier unifier(m.context(0.f, 0.01f, 0.f));
    EXPECT_NE(unifier.validate(m.idx.data(), 2).find("past the 1 texture coordinates 0"),
              std::string::npos);
    m.tex = { 0, 0, std::numeric_limits<Real32>::quiet_NaN(), 0 };
    VertexUnifier nan(m.context(0.f, 0.01f, 0.f));
    EXPECT_NE(nan.validate(m.idx.data(), 2).find("NaN"), std::string::npos);
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

TEST(UnifyVerticesGraphOp, DefaultsFlagsAndANonIndexedGeometry)
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

    // Normals off: corner 5 joins 2 as well.
    GeometryPtr second = makeSoup(pool);
    op.setCompareMode(true, false, true, true, true, true, true, true, true, true, true, true);
    op.process(second);
    EXPECT_EQ(indexValues(second), (std::vector<UInt32>{ 0, 1, 2, 1, 4, 2 }));

    // A position epsilon of 0.2 merges (0,1,0) into... nothing new here, but a wider normal
    // epsilon merges corner 5 too.
    GeometryPtr third = makeSoup(pool);
    UnifyVerticesGraphOp wide;
    wide.setNormalEpsilon(0.6f);
    wide.process(third);
    EXPECT_EQ(indexValues(third), (std::vector<UInt32>{ 0, 1, 2, 1, 4, 2 }));
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

    // NaN in a compared normal: reported, indices unchanged.
    GeometryPtr bad = makeSoup(pool);
    beginEditCP(bad->getNormals());
    bad->getNormals()->setValue(Vec3f(std::numeric_limits<Real32>::quiet_NaN(), 0, 1), 3);
    endEditCP(bad->getNormals());
    {
        LogCapture capture;
        op.process(bad);
        EXPECT_TRUE(capture.contains("NaN"));
    }
    EXPECT_EQ(indexValues(bad), (std::vector<UInt32>{ 0, 1, 2, 3, 4, 5 }));

    // Fewer normals than the indices use: reported, unchanged.
    GeometryPtr shortNormals = makeSoup(pool);
    beginEditCP(shortNormals->getNormals());
    GeoNormals3fPtr::dcast(shortNormals->getNormals())->editField().resize(4);
    endEditCP(shortNormals->getNormals());
    {
        LogCapture capture;
        op.process(shortNormals);
        EXPECT_TRUE(capture.contains("past the 4 normals"));
    }
    EXPECT_EQ(indexValues(shortNormals), (std::vector<UInt32>{ 0, 1, 2, 3, 4, 5 }));

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
