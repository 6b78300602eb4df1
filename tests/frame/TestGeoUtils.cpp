// skGeoUtils: the problem bits of checkGeometryCore over combinations of missing and unusual
// properties, their messages, texture channels, and the side rule read from ValuePairs.

#include "SceneTestSupport.h"

#include <OpenSGExt/skGeoUtils.h>

#include <OpenSG/OSGChunkMaterial.h>
#include <OpenSG/OSGGeoFunctions.h>
#include <OpenSG/OSGLog.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>

using namespace osg;
using namespace scenetest;

namespace {

const char *const Incomplete   = "Geometry data incomplete. ";
const char *const NoPositions  = "Found geometry without positions.";
const char *const NotTriangles = "Geometry is not triangulated.";
const char *const Nonstandard  = "Found nonstandard geometry.";

// A good single-indexed triangle, then one change applied to it.
struct GeometryCase
{
    const char                        *what;
    std::function<void(GeometryPtr &)> change;
    bool                               checkTriangulated;
    UInt32                             mask;
    std::string                        message;
};

GeometryPtr goodTriangle(void)
{
    return triangleGeometry({Pnt3f(0, 0, 0), Pnt3f(1, 0, 0), Pnt3f(0, 1, 0)}, {0, 1, 2});
}

TEST(GeoUtilsCheck, ProblemsAndMessagesOverCombinations)
{
    const GeometryCase cases[] = {
        {"good", [](GeometryPtr &) {}, true, 0, ""},
        {"no lengths", [](GeometryPtr &g) { g->setLengths(NullFC); }, true, 2, Incomplete},
        {"empty lengths", [](GeometryPtr &g) { g->setLengths(lengths({})); }, true, 16,
         Nonstandard},
        {"two lengths", [](GeometryPtr &g) { g->setLengths(lengths({3, 0})); }, true, 16,
         Nonstandard},
        {"no types", [](GeometryPtr &g) { g->setTypes(NullFC); }, true, 1, Incomplete},
        {"empty types", [](GeometryPtr &g) { g->setTypes(types({})); }, true, 1, Incomplete},
        {"strip, checked", [](GeometryPtr &g) { g->setTypes(types({GL_TRIANGLE_STRIP})); },
         true, 32, NotTriangles},
        {"strip, unchecked", [](GeometryPtr &g) { g->setTypes(types({GL_TRIANGLE_STRIP})); },
         false, 0, ""},
        {"triangles after a strip",
         [](GeometryPtr &g) { g->setTypes(types({GL_TRIANGLE_STRIP, GL_TRIANGLES})); }, true,
         32, NotTriangles},
        {"no indices", [](GeometryPtr &g) { g->setIndices(NullFC); }, true, 8, Incomplete},
        {"empty indices", [](GeometryPtr &g) { g->setIndices(indices({})); }, true, 8,
         Incomplete},
        {"empty mapping", [](GeometryPtr &g) { g->editMFIndexMapping()->clear(); }, true, 16,
         Nonstandard},
        {"two mappings",
         [](GeometryPtr &g) { g->editMFIndexMapping()->push_back(Geometry::MapNormal); }, true,
         16, Nonstandard},
        {"no positions", [](GeometryPtr &g) { g->setPositions(NullFC); }, true, 4,
         NoPositions},
        {"empty positions", [](GeometryPtr &g) { g->setPositions(positions({})); }, true, 4,
         NoPositions},
        {"no lengths, no positions",
         [](GeometryPtr &g) {
             g->setLengths(NullFC);
             g->setPositions(NullFC);
         },
         true, 6, std::string(Incomplete) + NoPositions},
        {"no indices, strip",
         [](GeometryPtr &g) {
             g->setIndices(NullFC);
             g->setTypes(types({GL_TRIANGLE_STRIP}));
         },
         true, 40, Incomplete},
        {"no positions, strip",
         [](GeometryPtr &g) {
             g->setPositions(NullFC);
             g->setTypes(types({GL_TRIANGLE_STRIP}));
         },
         true, 36, NoPositions},
        {"strip, two lengths",
         [](GeometryPtr &g) {
             g->setTypes(types({GL_TRIANGLE_STRIP}));
             g->setLengths(lengths({2, 1}));
         },
         true, 48, NotTriangles},
        {"everything missing",
         [](GeometryPtr &g) {
             g->setTypes(NullFC);
             g->setLengths(NullFC);
             g->setPositions(NullFC);
             g->setIndices(NullFC);
             g->editMFIndexMapping()->clear();
         },
         true, 31, std::string(Incomplete) + NoPositions},
    };

    for(const GeometryCase &c : cases)
    {
        SCOPED_TRACE(c.what);
        GeometryPtr geo = goodTriangle();
        Held hold(geo);
        beginEditCP(geo);
        c.change(geo);
        endEditCP(geo);
        const UInt32 mask = skGeoUtils::checkGeometryCore(geo, c.checkTriangulated);
        EXPECT_EQ(mask, c.mask);
        EXPECT_EQ(skGeoUtils::getGeometryErrorString(mask), c.message);
    }
}

TEST(GeoUtilsCheck, NullGeometryIsBit64WithoutMessage)
{
    EXPECT_EQ(skGeoUtils::checkGeometryCore(NullFC, true), 64u);
    EXPECT_EQ(skGeoUtils::checkGeometryCore(NullFC, false), 64u);
    EXPECT_EQ(skGeoUtils::getGeometryErrorString(64), "");
}

TEST(GeoUtilsCheck, MessagesFollowTheRuleOrder)
{
    EXPECT_EQ(skGeoUtils::getGeometryErrorString(0), "");
    EXPECT_EQ(skGeoUtils::getGeometryErrorString(1 | 32 | 16), Incomplete);
    EXPECT_EQ(skGeoUtils::getGeometryErrorString(8 | 4), std::string(Incomplete) + NoPositions);
    EXPECT_EQ(skGeoUtils::getGeometryErrorString(4 | 32 | 16), NoPositions);
    EXPECT_EQ(skGeoUtils::getGeometryErrorString(32 | 16), NotTriangles);
    EXPECT_EQ(skGeoUtils::getGeometryErrorString(16 | 64), Nonstandard);
    EXPECT_EQ(skGeoUtils::getGeometryErrorString(128), "") << "unknown bits say nothing";
}

TEST(GeoUtilsCheck, CreateSingleIndexRepairsInterleavedIndices)
{
    // Positions and normals with their own index each: standard only after the rewrite.
    GeometryPtr geo = goodTriangle();
    Held hold(geo);
    beginEditCP(geo);
    geo->setNormals(normals({Vec3f(0, 0, 1)}));
    geo->setIndices(indices({0, 0, 1, 0, 2, 0}));
    geo->editMFIndexMapping()->clear();
    geo->editMFIndexMapping()->push_back(Geometry::MapPosition);
    geo->editMFIndexMapping()->push_back(Geometry::MapNormal);
    endEditCP(geo);
    EXPECT_EQ(skGeoUtils::checkGeometryCore(geo, true), 16u);
    ASSERT_EQ(createSingleIndex(geo), 3);
    EXPECT_EQ(skGeoUtils::checkGeometryCore(geo, true), 0u);
}

TEST(GeoUtilsNodes, GetGeometryOnlyForGeometryCores)
{
    GeometryPtr geo = goodTriangle();
    NodePtr node = nodeWith(geo);
    Held hold(node);
    EXPECT_EQ(skGeoUtils::getGeometry(node), geo);
    NodePtr group = groupNode();
    Held holdGroup(group);
    EXPECT_EQ(skGeoUtils::getGeometry(group), NullFC);
    NodePtr bare = Node::create();
    Held holdBare(bare);
    EXPECT_EQ(skGeoUtils::getGeometry(bare), NullFC);
    EXPECT_EQ(skGeoUtils::getGeometry(NullFC), NullFC);
}

TEST(GeoUtilsTexCoords, ChannelsAreTheEightUnits)
{
    GeometryPtr geo = goodTriangle();
    Held hold(geo);
    GeoTexCoords2fPtr unit0 = texCoords({Vec2f(0, 0), Vec2f(1, 0), Vec2f(0, 1)});
    GeoTexCoords2fPtr unit7 = texCoords({Vec2f(0, 0)});
    GeoTexCoords2fPtr unit3 = texCoords({});
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
    Held hold(node);
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
    EXPECT_EQ(skGeoUtils::isVisibleSide(geo, 0), true);
    EXPECT_EQ(skGeoUtils::isVisibleSide(geo, 1), false);

    EXPECT_EQ(sides(node), "F-") << "a node without its own value";
    setCullFace(node, "none");
    EXPECT_EQ(sides(node), "FB") << "the node before its geometry";
    setCullFace(node, "frontAndBack");
    EXPECT_EQ(sides(node), "--");
    EXPECT_EQ(sides(NullFC), "F-");
}

TEST(GeoUtilsSides, BadValuesAndArguments)
{
    GeometryPtr geo = goodTriangle();
    Held hold(geo);
    EXPECT_FALSE(skGeoUtils::isVisibleSide(GeometryPtr(NullFC), 0));

    LogCapture log;
    setCullFace(geo, "Back");
    EXPECT_TRUE(skGeoUtils::isVisibleSide(geo, 1)) << "unknown values cull nothing";
    EXPECT_TRUE(log.contains("Back"));
    log.clear();
    setCullFace(geo, "back");
    EXPECT_FALSE(skGeoUtils::isVisibleSide(geo, 2));
    EXPECT_EQ(log.count(), 1u);
}

} // namespace
