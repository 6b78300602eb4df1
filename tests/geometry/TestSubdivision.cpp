// Adaptive and Phong subdivision: triangle counts, corner order and positions worked out by hand
// on single triangles and a regular tetrahedron, the stop conditions, and the graph operations'
// rewrite of a geometry (non-indexed list, attributes and material kept, skipped nodes).

#include "kernel/GeometryTestSupport.h"

#include <OpenSGExt/Geometry/detail/skSubdivide.h>
#include <OpenSGExt/OSGPhongSubdivideGeometryGraphOp.h>
#include <OpenSGExt/OSGSubdivideGeometryGraphOp.h>

#include <OpenSG/OSGChunkMaterial.h>
#include <OpenSG/OSGGeoColors3f.h>
#include <OpenSG/OSGGeoTexCoords3f.h>
#include <OpenSG/OSGGeoTexCoords4f.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGLog.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <set>
#include <vector>

using namespace osg;
using namespace osg::detail;
using namespace geotest;

namespace {

typedef std::array<float, 3> P3;

// A soup of position-only vertices (width 3).
std::vector<Real32> soupOf(std::initializer_list<P3> corners)
{
    std::vector<Real32> s;
    for(const P3 &c : corners)
        s.insert(s.end(), c.begin(), c.end());
    return s;
}

P3 vertexAt(const std::vector<Real32> &soup, std::size_t v, UInt32 width = 3)
{
    return { soup[v * width], soup[v * width + 1], soup[v * width + 2] };
}

std::vector<P3> corners(const std::vector<Real32> &soup, UInt32 width = 3)
{
    std::vector<P3> out;
    for(std::size_t v = 0; v < soup.size() / width; ++v)
        out.push_back(vertexAt(soup, v, width));
    return out;
}

std::vector<Real32> adaptive(const std::vector<Real32> &in, Real32 maxEdge,
                             SubdivStatus expect = SubdivStatus::Ok)
{
    std::vector<Real32> out;
    EXPECT_EQ(subdivideAdaptive(in.data(), in.size() / 9, 3, maxEdge, 1u << 20, out), expect);
    return out;
}

} // namespace

TEST(AdaptiveSubdivision, OneSplitEdgeJoinsItsMidpointToTheOppositeCorner)
{
    // The edge from (0,0,0) to (1,0,0) is exactly the maximum (split); the other two are about
    // 0.56. Wherever it lies in the corner order, the winding is kept.
    const P3 a = { 0, 0, 0 }, b = { 1, 0, 0 }, apex = { 0.5f, 0.25f, 0 }, m = { 0.5f, 0, 0 };
    const struct
    {
        const char *edge;
        std::vector<Real32> tri;
        std::vector<P3> out;
    } cases[] = {
        { "0-1", soupOf({ a, b, apex }), { a, m, apex, m, b, apex } },
        { "1-2", soupOf({ apex, a, b }), { apex, a, m, apex, m, b } },
        { "2-0", soupOf({ b, apex, a }), { b, apex, m, apex, a, m } },
    };
    for(const auto &c : cases)
    {
        EXPECT_EQ(corners(adaptive(c.tri, 1.f)), c.out) << c.edge;
        // Every edge shorter than the maximum: emitted as it is.
        EXPECT_EQ(adaptive(c.tri, std::nextafter(1.f, 2.f)), c.tri) << c.edge;
    }
}

TEST(AdaptiveSubdivision, TwoSplitEdgesCutTheQuadAlongTheStrictlyShorterDiagonal)
{
    // Apex c1 high above a short base c2-c0: edges 0-1 and 1-2 split, 2-0 not. Corner triangle
    // (m01, c1, m12) first, then the quadrilateral c0, m01, m12, c2.
    const auto run = [](float apexX) {
        return corners(adaptive(soupOf({ { -0.5f, 0, 0 }, { apexX, 3, 0 }, { 0.5f, 0, 0 } }), 2.f));
    };
    // Symmetric: both diagonals are (0.75, 1.5) long, the tie takes the second (m01-c2).
    EXPECT_EQ(run(0.f), (std::vector<P3>{ { -0.25f, 1.5f, 0 }, { 0, 3, 0 }, { 0.25f, 1.5f, 0 },
                                          { -0.5f, 0, 0 }, { -0.25f, 1.5f, 0 }, { 0.5f, 0, 0 },
                                          { -0.25f, 1.5f, 0 }, { 0.25f, 1.5f, 0 },
                                          { 0.5f, 0, 0 } }));
    // Apex to the left: c0-m12 is (0.7, 1.5), m01-c2 is (0.8, 1.5): the first diagonal.
    EXPECT_EQ(run(-0.1f), (std::vector<P3>{ { -0.3f, 1.5f, 0 }, { -0.1f, 3, 0 }, { 0.2f, 1.5f, 0 },
                                            { -0.5f, 0, 0 }, { -0.3f, 1.5f, 0 }, { 0.2f, 1.5f, 0 },
                                            { -0.5f, 0, 0 }, { 0.2f, 1.5f, 0 },
                                            { 0.5f, 0, 0 } }));
    // Apex to the right: the second diagonal is strictly shorter.
    EXPECT_EQ(run(0.1f), (std::vector<P3>{ { -0.2f, 1.5f, 0 }, { 0.1f, 3, 0 }, { 0.3f, 1.5f, 0 },
                                           { -0.5f, 0, 0 }, { -0.2f, 1.5f, 0 }, { 0.5f, 0, 0 },
                                           { -0.2f, 1.5f, 0 }, { 0.3f, 1.5f, 0 },
                                           { 0.5f, 0, 0 } }));
}

TEST(AdaptiveSubdivision, ThreeSplitEdgesGiveFourTrianglesAndRecurse)
{
    const std::vector<Real32> tri = soupOf({ { 0, 0, 0 }, { 2, 0, 0 }, { 0, 2, 0 } });
    // Edges 2, 2.83, 2 against 1.5: one level, sub-edges 1, 1.41, 1 stop.
    EXPECT_EQ(corners(adaptive(tri, 1.5f)),
              (std::vector<P3>{ { 0, 0, 0 }, { 1, 0, 0 }, { 0, 1, 0 },
                                { 1, 0, 0 }, { 2, 0, 0 }, { 1, 1, 0 },
                                { 1, 1, 0 }, { 0, 2, 0 }, { 0, 1, 0 },
                                { 1, 0, 0 }, { 1, 1, 0 }, { 0, 1, 0 } }));
    // Against 1 the sub-edges of length 1 split again: 16 triangles, all on the half grid.
    const std::vector<P3> fine = corners(adaptive(tri, 1.f));
    ASSERT_EQ(fine.size(), 48u);
    for(const P3 &p : fine)
    {
        EXPECT_EQ(p[0] * 2, std::floor(p[0] * 2));
        EXPECT_EQ(p[1] * 2, std::floor(p[1] * 2));
    }

    // A regular tetrahedron of edge 2*sqrt(2): against 2 every face splits once (16 triangles
    // over the 4 corners and 6 edge midpoints); against 1.4 the sqrt(2) edges split again.
    const P3 a = { 1, 1, 1 }, b = { 1, -1, -1 }, c = { -1, 1, -1 }, d = { -1, -1, 1 };
    const std::vector<Real32> tet = soupOf({ a, b, c, a, c, d, a, d, b, b, d, c });
    const std::vector<P3> once = corners(adaptive(tet, 2.f));
    EXPECT_EQ(once.size(), 48u);
    EXPECT_EQ(std::set<P3>(once.begin(), once.end()),
              (std::set<P3>{ a, b, c, d, { 1, 0, 0 }, { 0, 1, 0 }, { 0, 0, 1 }, { 0, 0, -1 },
                             { 0, -1, 0 }, { -1, 0, 0 } }));
    EXPECT_EQ(adaptive(tet, 1.4f).size(), 64u * 9);
}

TEST(AdaptiveSubdivision, OtherAttributesAverageAndNormalsAreNotRenormalised)
{
    // Width 6: position then normal. Normals (1,0,0) and (0,1,0) average to (0.5,0.5,0).
    const std::vector<Real32> tri = { 0, 0, 0, 1, 0, 0,   1, 0, 0, 0, 1, 0,
                                      0.5f, 0.25f, 0, 0, 0, 1 };
    std::vector<Real32> out;
    ASSERT_EQ(subdivideAdaptive(tri.data(), 1, 6, 1.f, 100, out), SubdivStatus::Ok);
    ASSERT_EQ(out.size(), 36u);
    EXPECT_EQ(std::vector<Real32>(out.begin() + 6, out.begin() + 12),
              (std::vector<Real32>{ 0.5f, 0, 0, 0.5f, 0.5f, 0 }));
}

TEST(AdaptiveSubdivision, InputsThatWouldNeverEndAreRefused)
{
    const std::vector<Real32> tri = soupOf({ { 0, 0, 0 }, { 1, 0, 0 }, { 0, 1, 0 } });
    std::vector<Real32> out = { 42.f };
    const auto nan = std::numeric_limits<Real32>::quiet_NaN();
    EXPECT_EQ(subdivideAdaptive(tri.data(), 1, 3, 0.f, 100, out), SubdivStatus::BadParameter);
    EXPECT_EQ(subdivideAdaptive(tri.data(), 1, 3, -1.f, 100, out), SubdivStatus::BadParameter);
    EXPECT_EQ(subdivideAdaptive(tri.data(), 1, 3, nan, 100, out), SubdivStatus::BadParameter);
    std::vector<Real32> inf = tri;
    inf[4] = std::numeric_limits<Real32>::infinity();
    EXPECT_EQ(subdivideAdaptive(inf.data(), 1, 3, 0.5f, 100, out), SubdivStatus::NonFinite);
    // 0.01 needs thousands of triangles.
    EXPECT_EQ(subdivideAdaptive(tri.data(), 1, 3, 0.01f, 100, out), SubdivStatus::TooLarge);
    // Float spacing at 1e7 is 1: the midpoint of an edge one unit long lands on an end.
    const std::vector<Real32> far = soupOf({ { 1e7f, 0, 0 }, { 1e7f + 1, 0, 0 }, { 1e7f, 1, 0 } });
    EXPECT_EQ(subdivideAdaptive(far.data(), 1, 3, 1e-3f, 1u << 20, out), SubdivStatus::NoProgress);
    EXPECT_EQ(out, std::vector<Real32>{ 42.f });
}

TEST(PhongSubdivision, MidpointsLiftTowardsTheCornersTangentPlanes)
{
    // Corners on the unit sphere's axes with normals equal to the positions (width 6).
    const std::vector<Real32> tri = { 1, 0, 0, 1, 0, 0,   0, 1, 0, 0, 1, 0,   0, 0, 1, 0, 0, 1 };
    std::vector<Real32> out;
    ASSERT_EQ(subdividePhong(tri.data(), 1, 6, 3, 1, 100, out), SubdivStatus::Ok);
    ASSERT_EQ(out.size(), 4u * 18);
    // Triangle order (c0, m01, m20), (m20, m01, m12), (m12, m01, c1), (m12, c2, m20).
    const P3 c0 = { 1, 0, 0 }, c1 = { 0, 1, 0 }, c2 = { 0, 0, 1 };
    const P3 m01 = { 0.625f, 0.625f, 0 }, m12 = { 0, 0.625f, 0.625f }, m20 = { 0.625f, 0, 0.625f };
    EXPECT_EQ(corners(out, 6), (std::vector<P3>{ c0, m01, m20, m20, m01, m12, m12, m01, c1,
                                                 m12, c2, m20 }));
    // The midpoint's normal is the plain average.
    EXPECT_EQ(std::vector<Real32>(out.begin() + 9, out.begin() + 12),
              (std::vector<Real32>{ 0.5f, 0.5f, 0 }));

    // Without normals (or with zero ones) the midpoints stay on the flat edges.
    const std::vector<Real32> flat = soupOf({ c0, c1, c2 });
    out.clear();
    ASSERT_EQ(subdividePhong(flat.data(), 1, 3, -1, 1, 100, out), SubdivStatus::Ok);
    EXPECT_EQ(vertexAt(out, 1), (P3{ 0.5f, 0.5f, 0 }));
}

TEST(PhongSubdivision, IterationsCountsAndTheCap)
{
    // A flat triangle whose normals are its face normal keeps every point in its plane.
    const std::vector<Real32> tri = { 0, 0, 0, 0, 0, 1,   1, 0, 0, 0, 0, 1,   0, 1, 0, 0, 0, 1 };
    std::vector<Real32> out;
    ASSERT_EQ(subdividePhong(tri.data(), 1, 6, 3, 2, 100, out), SubdivStatus::Ok);
    ASSERT_EQ(out.size(), 16u * 18);
    for(const P3 &p : corners(out, 6))
    {
        EXPECT_EQ(p[2], 0.f);
        EXPECT_EQ(p[0] * 4, std::floor(p[0] * 4));   // quarter points of the flat split
    }
    // 0 or fewer iterations copy; the result is appended.
    ASSERT_EQ(subdividePhong(tri.data(), 1, 6, 3, -3, 100, out), SubdivStatus::Ok);
    EXPECT_EQ(std::vector<Real32>(out.end() - 18, out.end()), tri);

    // The cap is checked before allocating, also where 4^iterations overflows.
    std::vector<Real32> none;
    EXPECT_EQ(subdividePhong(tri.data(), 1, 6, 3, 3, 63, none), SubdivStatus::TooLarge);
    EXPECT_EQ(subdividePhong(tri.data(), 1, 6, 3, 1000, 1u << 30, none), SubdivStatus::TooLarge);
    EXPECT_EQ(phongTriangleCount(12, 2), 192u);
    EXPECT_EQ(phongTriangleCount(1, 40), SIZE_MAX);
    EXPECT_TRUE(none.empty());
    EXPECT_EQ(subdividePhong(tri.data(), 1, 6, 4, 1, 100, none), SubdivStatus::BadLayout);
}

/*------------------------------ graph operations ---------------------------*/

namespace {

/*! An indexed quad (GL_QUADS) of side 1 with normals, colours, texture sets 0, 6 (3 floats) and
    7 (4 floats) and a material. */
GeometryPtr makeQuad(Pool &pool)
{
    GeometryPtr geo = pool(Geometry::create());
    GeoNormals3fPtr normals = makeProperty<GeoNormals3fPtr>(
        { Vec3f(0, 0, 1), Vec3f(0, 0, 1), Vec3f(0, 0, 1), Vec3f(0, 0, 1) });
    GeoColors3fPtr colors = makeProperty<GeoColors3fPtr>(
        { Color3f(1, 0, 0), Color3f(0, 1, 0), Color3f(0, 0, 1), Color3f(1, 1, 1) });
    GeoTexCoords2fPtr tex0 = makeProperty<GeoTexCoords2fPtr>(
        { Vec2f(0, 0), Vec2f(1, 0), Vec2f(1, 1), Vec2f(0, 1) });
    GeoTexCoords3fPtr tex6 = makeProperty<GeoTexCoords3fPtr>(
        { Vec3f(0, 0, 2), Vec3f(1, 0, 2), Vec3f(1, 1, 2), Vec3f(0, 1, 2) });
    GeoTexCoords4fPtr tex7 = makeProperty<GeoTexCoords4fPtr>(
        { Vec4f(0, 0, 0, 8), Vec4f(4, 0, 0, 8), Vec4f(4, 4, 0, 8), Vec4f(0, 4, 0, 8) });
    beginEditCP(geo);
    geo->setTypes(types({ GL_QUADS }));
    geo->setLengths(lengths({ 4 }));
    geo->setPositions(positions({ Pnt3f(0, 0, 0), Pnt3f(1, 0, 0), Pnt3f(1, 1, 0),
                                  Pnt3f(0, 1, 0) }));
    geo->setNormals(normals);
    geo->setColors(colors);
    geo->setTexCoords(tex0);
    geo->setTexCoords6(tex6);
    geo->setTexCoords7(tex7);
    geo->setIndices(indices({ 0, 1, 2, 3 }));
    geo->editMFIndexMapping()->push_back(UInt16(0xFFF & ~(Geometry::MapSecondaryColor)));
    geo->setMaterial(ChunkMaterial::create());
    endEditCP(geo);
    return geo;
}

} // namespace

TEST(SubdivideGraphOps, NamesDefaultsAndAQuadBecomesANonIndexedTriangleList)
{
    SubdivideGeometryGraphOp op;
    EXPECT_STREQ(SubdivideGeometryGraphOp::getClassname(), "SubdivideGeometryGraphOp");
    EXPECT_STREQ(PhongSubdivideGeometryGraphOp::getClassname(), "PhongSubdivideGeometryGraphOp");
    op.setMaxEdgeLength(5.f);
    GraphOp *fresh = op.create();
    EXPECT_EQ(fresh->getName(), "SubdivideGeometry");
    EXPECT_EQ(static_cast<SubdivideGeometryGraphOp *>(fresh)->getMaxEdgeLength(), 0.1f);
    EXPECT_EQ(fresh->usage(), "");
    delete fresh;
    PhongSubdivideGeometryGraphOp phong;
    fresh = phong.create();
    EXPECT_EQ(fresh->getName(), "SubdivideGeometry");
    EXPECT_EQ(static_cast<PhongSubdivideGeometryGraphOp *>(fresh)->getIterations(), 1);
    delete fresh;

    Pool pool;
    GeometryPtr geo = makeQuad(pool);
    const MaterialPtr material = geo->getMaterial();
    NodePtr node = pool(nodeWith(geo));
    op.setParams("ignored=1");
    op.setMaxEdgeLength(1.f);   // the sides split (exactly 1), the diagonals too
    EXPECT_TRUE(op.traverse(node));
    // Two triangles, each with all three edges split: 8.
    EXPECT_EQ(op.getTriangleCount(), 8u);
    EXPECT_EQ(geo->getIndices(), NullFC);
    EXPECT_TRUE(geo->getIndexMapping().empty());
    EXPECT_EQ(geo->getTypes()->getSize(), 1u);
    EXPECT_EQ(geo->getTypes()->getValue(0), UInt32(GL_TRIANGLES));
    EXPECT_EQ(geo->getLengths()->getValue(0), 24u);
    EXPECT_EQ(geo->getPositions()->getSize(), 24u);
    EXPECT_EQ(geo->getMaterial(), material);
    EXPECT_EQ(geo->getSecondaryColors(), NullFC);
    ASSERT_NE(GeoTexCoords3fPtr::dcast(geo->getTexCoords6()), NullFC);
    ASSERT_NE(GeoTexCoords4fPtr::dcast(geo->getTexCoords7()), NullFC);
    // First triangle (0,1,2) -> (c0, m01, m20): set 7 carried as four floats.
    EXPECT_EQ(geo->getTexCoords7()->getValue4f(1), Vec4f(2, 0, 0, 8));
    EXPECT_EQ(geo->getTexCoords6()->getValue3f(2), Vec3f(0.5f, 0.5f, 2));
    EXPECT_EQ(geo->getColors()->getValue(1), Color3f(0.5f, 0.5f, 0));
    EXPECT_EQ(geo->getPositions()->getValue(1), Pnt3f(0.5f, 0, 0));
}

TEST(SubdivideGraphOps, PhongCountsSkippedNodesAndRefusedInput)
{
    Pool pool;
    GeometryPtr geo = makeQuad(pool);
    NodePtr group = pool(nodeWith(Group::create()));
    NodePtr child = nodeWith(geo);
    beginEditCP(group, Node::ChildrenFieldMask);
    group->addChild(child);
    endEditCP(group, Node::ChildrenFieldMask);

    // A group: one warning, and the child below it is not visited.
    PhongSubdivideGeometryGraphOp phong;
    phong.setIterations(2);
    {
        LogCapture capture;
        phong.traverse(group);
        ASSERT_EQ(capture.entries().size(), 1u);
        EXPECT_EQ(capture.entries()[0].text,
                  "PhongSubdivideGeometryGraphOp: travNodeEnter got a non-Geometry Node");
        EXPECT_EQ(capture.entries()[0].level, LOG_WARNING);
    }
    EXPECT_NE(geo->getIndices(), NullFC);
    SubdivideGeometryGraphOp adaptiveOp;
    {
        LogCapture capture;
        adaptiveOp.traverse(group);
        EXPECT_EQ(capture.count(), 0u);
    }

    // Over the cap (2 x 16 = 32 > 31): reported, untouched.
    const std::vector<std::string> before = triangleDump(geo, true);
    phong.setMaxTriangles(31);
    {
        LogCapture capture;
        phong.traverse(child);
        EXPECT_TRUE(capture.contains("cap"));
    }
    EXPECT_EQ(triangleDump(geo, true), before);
    adaptiveOp.setMaxEdgeLength(0.f);
    {
        LogCapture capture;
        adaptiveOp.traverse(child);
        EXPECT_TRUE(capture.contains("positive"));
    }
    EXPECT_EQ(triangleDump(geo, true), before);

    phong.setMaxTriangles(32);
    phong.traverse(child);
    EXPECT_EQ(phong.getTriangleCount(), 32u);
    EXPECT_EQ(geo->getPositions()->getSize(), 96u);
    // A flat quad with face normals stays flat.
    for(UInt32 i = 0; i < 96; ++i)
        EXPECT_EQ(geo->getPositions()->getValue(i)[2], 0.f);

    // Without positions: nothing happens.
    GeometryPtr empty = pool(Geometry::create());
    NodePtr emptyNode = pool(nodeWith(empty));
    phong.traverse(emptyNode);
    EXPECT_EQ(empty->getTypes(), NullFC);
}
