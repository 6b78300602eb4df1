// skGeoUtils: the problem bits of checkGeometryCore over combinations of missing and unusual
// properties, their messages, texture channels, and the side rule read from ValuePairs.

#include "support/SceneTestSupport.h"

#include <OpenSGExt/skGeoUtils.h>

#include <OpenSG/OSGRefPtr.h>
#include <OpenSG/OSGChunkMaterial.h>
#include <OpenSG/OSGLog.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>

using namespace osg;
using namespace scenetest;

namespace {

const std::string Incomplete   = "Geometry data incomplete. ";
const std::string NoPositions  = "Found geometry without positions.";
const std::string NotTriangles = "Geometry is not triangulated.";
const std::string Nonstandard  = "Found nonstandard geometry.";

GeometryPtr goodTriangle(void)
{
    return triangleGeometry({Pnt3f(0, 0, 0), Pnt3f(1, 0, 0), Pnt3f(0, 1, 0)}, {0, 1, 2});
}

TEST(GeoUtilsCheck, ProblemsAndMessagesOverCombinations)
{
    typedef GeometryPtr G;
    const auto strip = [](G &g) { g->setTypes(types({GL_TRIANGLE_STRIP})); };
    const auto noLengths = [](G &g) { g->setLengths(NullFC); };
    const auto noPositions = [](G &g) { g->setPositions(NullFC); };
    const auto noIndices = [](G &g) { g->setIndices(NullFC); };
    // A good single-indexed triangle, then one change applied to it.
    const struct
    {
        const char *what;
        std::function<void(G &)> change;
        bool checkTriangulated;
        UInt32 mask;
        std::string message;
    } cases[] = {
        {"good", [](G &) {}, true, 0, ""},
        {"no lengths", noLengths, true, 2, Incomplete},
        {"empty lengths", [](G &g) { g->setLengths(lengths({})); }, true, 16, Nonstandard},
        {"two lengths", [](G &g) { g->setLengths(lengths({3, 0})); }, true, 16, Nonstandard},
        {"no types", [](G &g) { g->setTypes(NullFC); }, true, 1, Incomplete},
        {"empty types", [](G &g) { g->setTypes(types({})); }, true, 1, Incomplete},
        {"strip, checked", strip, true, 32, NotTriangles},
        {"strip, unchecked", strip, false, 0, ""},
        {"triangles after a strip",
         [](G &g) { g->setTypes(types({GL_TRIANGLE_STRIP, GL_TRIANGLES})); }, true, 32,
         NotTriangles},
        {"no indices", noIndices, true, 8, Incomplete},
        {"empty indices", [](G &g) { g->setIndices(indices({})); }, true, 8, Incomplete},
        {"empty mapping", [](G &g) { g->editMFIndexMapping()->clear(); }, true, 16, Nonstandard},
        {"two mappings",
         [](G &g) { g->editMFIndexMapping()->push_back(Geometry::MapNormal); }, true, 16,
         Nonstandard},
        {"no positions", noPositions, true, 4, NoPositions},
        {"empty positions", [](G &g) { g->setPositions(positions({})); }, true, 4, NoPositions},
        {"no lengths, no positions", [&](G &g) { noLengths(g); noPositions(g); }, true, 6,
         Incomplete + NoPositions},
        {"no indices, strip", [&](G &g) { noIndices(g); strip(g); }, true, 40, Incomplete},
        {"no positions, strip", [&](G &g) { noPositions(g); strip(g); }, true, 36, NoPositions},
        {"strip, two lengths", [&](G &g) { strip(g); g->setLengths(lengths({2, 1})); }, true,
         48, NotTriangles},
        {"everything missing",
         [&](G &g) {
             noLengths(g);
             noPositions(g);
             noIndices(g);
             g->setTypes(NullFC);
             g->editMFIndexMapping()->clear();
         },
         true, 31, Incomplete + NoPositions},
    };
    for(const auto &c : cases)
    {
        SCOPED_TRACE(c.what);
        GeometryPtr geo = goodTriangle();
        RefPtr<FieldContainerPtr> hold(geo);
        beginEditCP(geo);
        c.change(geo);
        endEditCP(geo);
        const UInt32 mask = skGeoUtils::checkGeometryCore(geo, c.checkTriangulated);
        EXPECT_EQ(mask, c.mask);
        EXPECT_EQ(skGeoUtils::getGeometryErrorString(mask), c.message);
    }

    // A null geometry is 64 alone, said nothing about; the message rules apply in order.
    EXPECT_EQ(skGeoUtils::checkGeometryCore(NullFC, true), 64u);
    EXPECT_EQ(skGeoUtils::checkGeometryCore(NullFC, false), 64u);
    const std::pair<UInt32, std::string> messages[] = {
        {64, ""},           {1 | 32 | 16, Incomplete}, {8 | 4, Incomplete + NoPositions},
        {4 | 32 | 16, NoPositions}, {32 | 16, NotTriangles}, {16 | 64, Nonstandard},
        {128, ""}};
    for(const auto &m : messages)
        EXPECT_EQ(skGeoUtils::getGeometryErrorString(m.first), m.second) << m.first;
}

TEST(GeoUtilsNodes, GeometryCoresAndTextureChannels)
{
    GeometryPtr geo = goodTriangle();
    NodePtr node = nodeWith(geo), group = groupNode(), bare = Node::create();
    RefPtr<FieldContainerPtr> hold(node), holdGroup(group), holdBare(bare);
    EXPECT_EQ(skGeoUtils::getGeometry(node), geo);
    for(const NodePtr &other : {group, bare, NodePtr()})
        EXPECT_EQ(skGeoUtils::getGeometry(other), NullFC);

    GeoTexCoords2fPtr unit0 = texCoords({Vec2f(0, 0), Vec2f(1, 0), Vec2f(0, 1)});
    GeoTexCoords2fPtr unit7 = texCoords({Vec2f(0, 0)}), unit3 = texCoords({});
    beginEditCP(geo);
    geo->setTexSlot(0, unit0);
    geo->setTexSlot(7, unit7);
    geo->setTexSlot(3, unit3);
    endEditCP(geo);
    EXPECT_EQ(skGeoUtils::getOSGTexCoords(geo, 0), GeoTexCoordsPtr(unit0));
    EXPECT_EQ(skGeoUtils::getOSGTexCoords(geo, 7), GeoTexCoordsPtr(unit7));
    EXPECT_EQ(skGeoUtils::getOSGTexCoords(geo, 3), GeoTexCoordsPtr(unit3));
    EXPECT_EQ(skGeoUtils::getOSGTexCoords(geo, 1), NullFC);
    EXPECT_TRUE(skGeoUtils::hasTexCoords(geo, 0));
    EXPECT_TRUE(skGeoUtils::hasTexCoords(geo, 7));
    EXPECT_FALSE(skGeoUtils::hasTexCoords(geo, 3)) << "an empty property holds none";
    EXPECT_FALSE(skGeoUtils::hasTexCoords(geo, 1));
    EXPECT_FALSE(skGeoUtils::hasTexCoords(NullFC, 0));

    LogCapture log;
    EXPECT_EQ(skGeoUtils::getOSGTexCoords(geo, 8), NullFC);
    EXPECT_FALSE(skGeoUtils::hasTexCoords(geo, 100));
    EXPECT_EQ(log.count(), 2u);
}

TEST(GeoUtilsSides, CullFaceFromNodeGeometryOrMaterial)
{
    GeometryPtr geo = goodTriangle();
    NodePtr node = nodeWith(geo);
    RefPtr<FieldContainerPtr> hold(node);
    auto sides = [&](const NodePtr &n) {
        return std::string(skGeoUtils::isVisibleSide(n, geo, 0) ? "F" : "-") +
               (skGeoUtils::isVisibleSide(n, geo, 1) ? "B" : "-");
    };
    EXPECT_EQ(sides(NullFC), "FB") << "nothing culled by default";

    ChunkMaterialPtr material = ChunkMaterial::create();
    beginEditCP(geo, Geometry::MaterialFieldMask);
    geo->setMaterial(material);
    endEditCP(geo, Geometry::MaterialFieldMask);
    setCullFace(material, "front");
    EXPECT_EQ(sides(NullFC), "-B") << "from the material";
    setCullFace(geo, "back");
    EXPECT_EQ(sides(NullFC), "F-") << "the geometry before its material";
    EXPECT_TRUE(skGeoUtils::isVisibleSide(geo, 0));
    EXPECT_FALSE(skGeoUtils::isVisibleSide(geo, 1));
    EXPECT_EQ(sides(node), "F-") << "a node without its own value";
    setCullFace(node, "none");
    EXPECT_EQ(sides(node), "FB") << "the node before its geometry";
    setCullFace(node, "frontAndBack");
    EXPECT_EQ(sides(node), "--");
    EXPECT_EQ(sides(NullFC), "F-");

    // Bad values and arguments.
    EXPECT_FALSE(skGeoUtils::isVisibleSide(GeometryPtr(NullFC), 0));
    LogCapture log;
    setCullFace(geo, "Back");
    EXPECT_TRUE(skGeoUtils::isVisibleSide(geo, 1)) << "unknown values cull nothing";
    EXPECT_TRUE(log.contains("Back"));
    setCullFace(geo, "back");
    log.clear();
    EXPECT_FALSE(skGeoUtils::isVisibleSide(geo, 2));
    EXPECT_EQ(log.count(), 1u);
}

} // namespace
