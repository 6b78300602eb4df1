// skShellUtils: shells joined through shared and repeated positions, the shell geometries handed
// out, and the visibility and one-sidedness rules.

#include "support/SceneTestSupport.h"

#include <OpenSGExt/skShellUtils.h>

#include <OpenSG/OSGRefPtr.h>
#include <OpenSG/OSGChunkMaterial.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGLog.h>
#include <OpenSG/OSGTriangleIterator.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

using namespace osg;
using namespace scenetest;

namespace {

typedef std::vector<Int32> Shells;

// Quad A (positions 0-3) in z = 0, quad B (4-7) in z = 1, and a triangle (8-10) whose first
// position repeats position 1 of A under another index: triangles A A B B C.
GeometryPtr twoPieces(void)
{
    return triangleGeometry({Pnt3f(0, 0, 0), Pnt3f(1, 0, 0), Pnt3f(1, 1, 0), Pnt3f(0, 1, 0),
                             Pnt3f(0, 0, 1), Pnt3f(1, 0, 1), Pnt3f(1, 1, 1), Pnt3f(0, 1, 1),
                             Pnt3f(1, 0, 0), Pnt3f(2, 0, 0), Pnt3f(2, 1, 0)},
                            {0, 1, 2, 0, 2, 3, 4, 5, 6, 4, 6, 7, 8, 9, 10});
}

std::vector<Pnt3f> cornerPositions(const GeometryPtr &geo)
{
    std::vector<Pnt3f> out;
    for(TriangleIterator it = geo->beginTriangles(); !it.isAtEnd(); ++it)
    {
        for(Int32 w = 0; w < 3; ++w)
            out.push_back(it.getPosition(w));
    }
    return out;
}

TEST(ShellUtilsShells, SharedAndRepeatedPositionsJoinShells)
{
    std::vector<Int32> shells = {7};
    EXPECT_EQ(skShellUtils::computeShells(NullFC, shells), 0u);
    EXPECT_TRUE(shells.empty());

    GeometryPtr pieces = twoPieces();
    // A strip whose indices are shared, then a separate triangle.
    GeometryPtr strip = triangleGeometry({Pnt3f(0, 0, 0), Pnt3f(1, 0, 0), Pnt3f(0, 1, 0),
                                          Pnt3f(1, 1, 0), Pnt3f(5, 5, 5), Pnt3f(6, 5, 5),
                                          Pnt3f(5, 6, 5)},
                                         {0, 1, 2, 3, 4, 5, 6});
    GeometryPtr lines = triangleGeometry({Pnt3f(0, 0, 0), Pnt3f(1, 0, 0)}, {0, 1});
    // A triangle pointing past the positions belongs to no shell.
    GeometryPtr bad = triangleGeometry({Pnt3f(0, 0, 0), Pnt3f(1, 0, 0), Pnt3f(0, 1, 0)},
                                       {0, 1, 2, 0, 1, 9});
    RefPtr<FieldContainerPtr> h1(pieces), h2(strip), h3(lines), h4(bad);
    beginEditCP(strip);
    strip->setTypes(types({GL_TRIANGLE_STRIP, GL_TRIANGLES}));
    strip->setLengths(lengths({4, 3}));
    endEditCP(strip);
    beginEditCP(lines);
    lines->setTypes(types({GL_LINES}));
    endEditCP(lines);

    LogCapture log;
    const struct { GeometryPtr geo; UInt32 count; Shells shells; } cases[] = {
        {pieces, 2, {0, 0, 1, 1, 0}}, {strip, 2, {0, 0, 1}}, {lines, 0, {}}, {bad, 1, {0, -1}}};
    for(const auto &c : cases)
    {
        EXPECT_EQ(skShellUtils::computeShells(c.geo, shells), c.count);
        EXPECT_EQ(shells, c.shells);
    }
}

TEST(ShellUtilsForShells, EachShellBecomesAGeometryOfItsOwn)
{
    GeometryPtr geo = twoPieces();
    RefPtr<FieldContainerPtr> hold(geo);
    const std::vector<Pnt3f> all = cornerPositions(geo);
    ChunkMaterialPtr material = ChunkMaterial::create();
    std::vector<Vec3f> normalValues;   // normal z = position index
    for(UInt32 i = 0; i < 11; ++i)
        normalValues.push_back(Vec3f(0, 0, Real32(i)));
    beginEditCP(geo);
    geo->setNormals(normals(normalValues));
    geo->editMFIndexMapping()->clear();
    geo->editMFIndexMapping()->push_back(Geometry::MapPosition | Geometry::MapNormal);
    geo->setMaterial(material);
    endEditCP(geo);

    std::vector<std::vector<Pnt3f> > got;
    std::vector<UInt32> vertexCounts;
    skShellUtils::forShellsOfComponent(geo, [&](NodePtr node, GeometryPtr shell) {
        ASSERT_NE(shell, NullFC);
        EXPECT_EQ(node->getCore(), NodeCorePtr(shell));
        EXPECT_EQ(shell->getMaterial(), MaterialPtr(material));
        ASSERT_EQ(shell->getMFIndexMapping()->size(), 1u);
        EXPECT_EQ(shell->getIndexMapping(0), Geometry::MapPosition | Geometry::MapNormal);
        ASSERT_EQ(shell->getTypes()->getSize(), 1u);
        EXPECT_EQ(shell->getTypes()->getValue(0), GL_TRIANGLES);
        EXPECT_EQ(shell->getLengths()->getValue(0), shell->getIndices()->getSize());
        // Normals travel with their positions.
        for(TriangleIterator it = shell->beginTriangles(); !it.isAtEnd(); ++it)
        {
            for(Int32 w = 0; w < 3; ++w)
                EXPECT_EQ(it.getPosition(w),
                          geo->getPositions()->getValue(UInt32(it.getNormal(w)[2])));
        }
        got.push_back(cornerPositions(shell));
        vertexCounts.push_back(shell->getPositions()->getSize());
    });

    ASSERT_EQ(got.size(), 2u);
    // Shell 0: triangles 0, 1 and 4 in their order; shell 1: triangles 2 and 3.
    std::vector<Pnt3f> expected0(all.begin(), all.begin() + 6);
    expected0.insert(expected0.end(), all.begin() + 12, all.end());
    EXPECT_EQ(got[0], expected0);
    EXPECT_EQ(got[1], std::vector<Pnt3f>(all.begin() + 6, all.begin() + 12));
    // One vertex per distinct index: 4 of the quad and 3 of the triangle, 4 of quad B.
    EXPECT_EQ(vertexCounts, (std::vector<UInt32>{7, 4}));
}

TEST(ShellUtilsForShells, InterleavedIndicesGiveOneVertexPerCombination)
{
    // A quad whose corners share one normal through a second index column.
    GeometryPtr geo = triangleGeometry(
        {Pnt3f(0, 0, 0), Pnt3f(1, 0, 0), Pnt3f(1, 1, 0), Pnt3f(0, 1, 0)},
        {0, 0, 1, 0, 2, 0, 0, 0, 2, 0, 3, 0});
    RefPtr<FieldContainerPtr> hold(geo);
    beginEditCP(geo);
    geo->setLengths(lengths({6}));
    geo->setNormals(normals({Vec3f(0, 0, 1)}));
    geo->editMFIndexMapping()->push_back(Geometry::MapNormal);
    endEditCP(geo);
    UInt32 calls = 0;
    skShellUtils::forShellsOfComponent(geo, [&](NodePtr, GeometryPtr shell) {
        ++calls;
        EXPECT_EQ(shell->getPositions()->getSize(), 4u);
        EXPECT_EQ(shell->getNormals()->getSize(), 4u);
        EXPECT_EQ(shell->getIndexMapping(0), Geometry::MapPosition | Geometry::MapNormal);
        EXPECT_EQ(shell->getNormals()->getValue(3), Vec3f(0, 0, 1));
    });
    EXPECT_EQ(calls, 1u);
}

TEST(ShellUtilsForShells, ShellsLiveOnlyWhenKeptAndBadCallsAreReported)
{
    GeometryPtr geo = twoPieces();
    NodePtr parent = groupNode();
    RefPtr<FieldContainerPtr> hold(geo), holdParent(parent);
    std::vector<UInt32> ids;
    skShellUtils::forShellsOfComponent(geo, [&](NodePtr node, GeometryPtr) {
        ids.push_back(node.getFieldContainerId());
        if(ids.size() == 1)
            addChild(parent, node);
    });
    ASSERT_EQ(ids.size(), 2u);
    FieldContainerFactory *factory = FieldContainerFactory::the();
    EXPECT_EQ(factory->getContainer(ids[0]), FieldContainerPtr(parent->getChild(0)));
    EXPECT_EQ(factory->getContainer(ids[1]), NullFC) << "the unkept shell is gone";

    LogCapture log;
    skShellUtils::forShellsOfComponent(NullFC, [](NodePtr, GeometryPtr) {});
    skShellUtils::forShellsOfComponent(geo, skShellUtils::ShellFunction());
    EXPECT_EQ(log.count(), 2u);
    UInt32 calls = 0;
    skShellUtils::forShellsOfComponent(geo, [&](NodePtr, GeometryPtr) {
        ++calls;
        throw std::runtime_error("no room");
    });
    EXPECT_EQ(calls, 1u) << "the iteration ends";
    EXPECT_TRUE(log.contains("no room"));
}

class ShellVisibility : public ::testing::Test
{
  protected:
    void SetUp() override { addChild(parent, node); }

    // Shell 0 has area; shell 1 is a flat sliver (all corners on a line).
    GeometryPtr geo = triangleGeometry({Pnt3f(0, 0, 0), Pnt3f(1, 0, 0), Pnt3f(0, 1, 0),
                                        Pnt3f(5, 0, 0), Pnt3f(6, 0, 0), Pnt3f(7, 0, 0)},
                                       {0, 1, 2, 3, 4, 5});
    NodePtr node = nodeWith(geo), parent = groupNode();
    RefPtr<FieldContainerPtr>    hold{parent};
};

TEST_F(ShellVisibility, ShellsWithAreaOnTraversedNodesShowingADrawnSide)
{
    EXPECT_TRUE(skShellUtils::isVisibleShellComponent(node, geo, 0));
    EXPECT_FALSE(skShellUtils::isVisibleShellComponent(node, geo, 1)) << "no area";
    EXPECT_FALSE(skShellUtils::isVisibleShellComponent(node, geo, 2)) << "no such shell";
    EXPECT_FALSE(skShellUtils::isVisibleShellComponent(NullFC, geo, 0));
    EXPECT_FALSE(skShellUtils::isVisibleShellComponent(node, NullFC, 0));

    auto visible = [&] { return skShellUtils::isVisibleShellComponent(node, geo, 0); };
    parent->setTravMask(0);             EXPECT_FALSE(visible()) << "parent not traversed";
    parent->setTravMask(0x2);           EXPECT_TRUE(visible()) << "partly traversed";
    node->setOcclusionMask(1);          EXPECT_FALSE(visible());
    node->setOcclusionMask(0);
    setCullFace(geo, "back");           EXPECT_TRUE(visible()) << "the front is seen";
    setCullFace(geo, "frontAndBack");   EXPECT_FALSE(visible());
    setCullFace(node, "none");          EXPECT_TRUE(visible()) << "the node decides";

    LogCapture log;
    EXPECT_FALSE(skShellUtils::isVisibleShellComponent(parent, geo, 0));
    EXPECT_TRUE(log.contains("does not show the geometry"));
}

TEST_F(ShellVisibility, OneSidedWhenExactlyOneSideIsDrawn)
{
    EXPECT_FALSE(skShellUtils::isShellGeoOneSided(node, geo));
    setCullFace(geo, "back");           EXPECT_TRUE(skShellUtils::isShellGeoOneSided(node, geo));
    EXPECT_TRUE(skShellUtils::isShellGeoOneSided(NullFC, geo));
    setCullFace(node, "none");          EXPECT_FALSE(skShellUtils::isShellGeoOneSided(node, geo));
    setCullFace(geo, "frontAndBack");
    EXPECT_FALSE(skShellUtils::isShellGeoOneSided(NullFC, geo)) << "nothing drawn";
    EXPECT_FALSE(skShellUtils::isShellGeoOneSided(node, NullFC));

    LogCapture log;
    EXPECT_FALSE(skShellUtils::isShellGeoOneSided(parent, geo));
    EXPECT_EQ(log.count(), 1u);
}

} // namespace
