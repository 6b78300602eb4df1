// The triangle iterator: primitive kinds, index mappings, every attribute, and bad data.

#include "kernel/GeometryTestSupport.h"

#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGGeoNormals3b.h>
#include <OpenSG/OSGGeoColors4ub.h>
#include <OpenSG/OSGGeoTexCoords1f.h>
#include <OpenSG/OSGGeoTexCoords3f.h>
#include <OpenSG/OSGGeoPositions2f.h>
#include <OpenSG/OSGLog.h>

#include <gtest/gtest.h>

using namespace osg;
using namespace geotest;

typedef std::vector<std::string> Tris;

TEST(TriangleIteration, ListsStripsFansAndQuads)
{
    struct Case
    {
        UInt8  type;
        UInt32 length;
        Tris   expected;
    };
    const Case cases[] = {
        { GL_TRIANGLES,      7, { "0 1 2", "3 4 5" } },
        { GL_TRIANGLE_STRIP, 6, { "0 1 2", "2 1 3", "2 3 4", "4 3 5" } },
        { GL_QUAD_STRIP,     6, { "0 1 2", "2 1 3", "2 3 4", "4 3 5" } },
        { GL_TRIANGLE_FAN,   5, { "0 1 2", "0 2 3", "0 3 4" } },
        { GL_POLYGON,        4, { "0 1 2", "0 2 3" } },
        { GL_QUADS,          9, { "0 1 2", "0 2 3", "4 5 6", "4 6 7" } },
        { GL_POINTS,         6, {} },
        { GL_LINES,          6, {} },
        { GL_LINE_STRIP,     6, {} },
        { GL_TRIANGLE_FAN,   2, {} },
    };
    for(const Case &c : cases)
    {
        GeometryPtr geo = makeGeometry({ c.type }, { c.length }, 9);
        addRefCP(geo);
        EXPECT_EQ(positionTriangles(geo), c.expected) << "type " << UInt32(c.type);
        subRefCP(geo);
    }
}

TEST(TriangleIteration, PrimitivesFollowEachOtherAndDegenerateStripTrianglesAreLeftOut)
{
    // A strip whose repeated index makes its second and third triangle degenerate, a point,
    // then a fan: all over one index list.
    GeometryPtr geo = makeGeometry({ GL_TRIANGLE_STRIP, GL_POINTS, GL_TRIANGLE_FAN }, { 6, 1, 4 },
                                   8, { 0, 1, 2, 2, 3, 4,  7,  4, 5, 6, 7 });
    addRefCP(geo);
    EXPECT_EQ(positionTriangles(geo), Tris({ "0 1 2", "3 2 4", "4 5 6", "4 6 7" }));

    TriangleIterator it = geo->beginTriangles();
    std::vector<Int32> numbers;
    std::vector<UInt32> kinds;
    for(; !it.isAtEnd(); it++)
    {
        numbers.push_back(it.getIndex());
        kinds.push_back(it.getType());
    }
    EXPECT_EQ(numbers, std::vector<Int32>({ 0, 1, 2, 3 }));
    EXPECT_EQ(kinds, std::vector<UInt32>({ GL_TRIANGLE_STRIP, GL_TRIANGLE_STRIP,
                                           GL_TRIANGLE_FAN, GL_TRIANGLE_FAN }));
    EXPECT_EQ(it, geo->endTriangles());

    // 16-bit indices read the same.
    GeoIndicesUI16Ptr narrow = GeoIndicesUI16::create();
    for(UInt32 i = 0; i < geo->getIndices()->getSize(); ++i)
        narrow->addValue(geo->getIndices()->getValue(i));
    GeoIndicesPtr wide = geo->getIndices();
    addRefCP(wide);
    beginEditCP(geo, Geometry::IndicesFieldMask);
    geo->setIndices(narrow);
    endEditCP(geo, Geometry::IndicesFieldMask);
    EXPECT_EQ(positionTriangles(geo), Tris({ "0 1 2", "3 2 4", "4 5 6", "4 6 7" }));
    beginEditCP(geo, Geometry::IndicesFieldMask);
    geo->setIndices(wide);
    endEditCP(geo, Geometry::IndicesFieldMask);
    subRefCP(wide);

    // Without lengths the first primitive takes every point.
    beginEditCP(geo, Geometry::LengthsFieldMask);
    geo->setLengths(NullFC);
    endEditCP(geo, Geometry::LengthsFieldMask);
    EXPECT_EQ(positionTriangles(geo).size(), 6u);   // 9 strip triangles, 3 degenerate
    subRefCP(geo);
}

TEST(TriangleIteration, SeekCompareAndConstructionFromNodes)
{
    GeometryPtr geo = makeGeometry({ GL_TRIANGLE_FAN }, { 6 }, 6);
    NodePtr node = Node::create();
    addRefCP(node);
    beginEditCP(node, Node::CoreFieldMask);
    node->setCore(geo);
    endEditCP(node, Node::CoreFieldMask);

    TriangleIterator a(node), b = geo->beginTriangles();
    EXPECT_EQ(a.getGeometry(), geo);
    EXPECT_TRUE(a == b);
    ++a;
    EXPECT_TRUE(a != b);
    b.seek(1);
    EXPECT_TRUE(a == b);
    EXPECT_EQ(b.getPositionIndex(2), 3);
    b.seek(3);
    EXPECT_EQ(b.getIndex(), 3);
    EXPECT_EQ(b.getPositionIndex(1), 4);
    b.seek(10);
    EXPECT_TRUE(b.isAtEnd());
    EXPECT_EQ(b.getPositionIndex(0), -1);
    b.setToBegin();
    EXPECT_EQ(b.getIndex(), 0);
    b.setToEnd();
    EXPECT_EQ(b, geo->endTriangles());
    EXPECT_NE(TriangleIterator(), geo->endTriangles());   // another geometry (none)

    LogCapture capture;
    NodePtr group = Node::create();
    addRefCP(group);
    beginEditCP(group, Node::CoreFieldMask);
    group->setCore(Group::create());
    endEditCP(group, Node::CoreFieldMask);
    EXPECT_TRUE(TriangleIterator(group).isAtEnd());
    EXPECT_TRUE(TriangleIterator(GeometryPtr()).isAtEnd());
    EXPECT_EQ(capture.count(), 2u);

    // A geometry without types has no triangles and nothing to report.
    capture.clear();
    GeometryPtr empty = Geometry::create();
    addRefCP(empty);
    EXPECT_EQ(empty->beginTriangles(), empty->endTriangles());
    EXPECT_EQ(capture.count(), 0u);
    subRefCP(empty);
    subRefCP(group);
    subRefCP(node);
}

TEST(TriangleIteration, MultiIndexedGeometryReadsEveryAttributeThroughItsEntry)
{
    // Two triangles over interleaved indices: entry 0 for positions and colours, entry 1 for
    // normals, texture units 0, 1, 3 and 7, entry 2 for the secondary colours; unit 5 is in no
    // entry and so uses indices[s * n + k]; units 2, 4, 6 are missing.
    GeometryPtr geo = Geometry::create();
    addRefCP(geo);
    GeoNormals3bPtr normals = GeoNormals3b::create();
    GeoColors3fPtr colors = GeoColors3f::create();
    GeoColors4ubPtr secondary = GeoColors4ub::create();
    GeoTexCoords2fPtr tex0 = GeoTexCoords2f::create();
    GeoTexCoords1fPtr tex1 = GeoTexCoords1f::create();
    GeoTexCoords3fPtr tex3 = GeoTexCoords3f::create();
    GeoTexCoords2fPtr tex5 = GeoTexCoords2f::create();
    for(Int32 i = 0; i < 6; ++i)
    {
        normals->editField().push_back(Vec3b(Int8(i), 0, Int8(-i)));
        colors->editField().push_back(Color3f(0.1f * Real32(i), 0.f, 1.f));
        secondary->editField().push_back(Color4ub(UInt8(10 * i), 255, 0, 7));
        tex0->editField().push_back(Vec2f(Real32(i), 0.5f));
        tex1->editField().push_back(Real32(i) + 0.25f);
        tex3->editField().push_back(Vec3f(Real32(i), 2.f, 3.f));
        tex5->editField().push_back(Vec2f(-Real32(i), 1.f));
    }
    beginEditCP(geo);
    geo->setTypes(types({ GL_TRIANGLES }));
    geo->setLengths(lengths({ 6 }));
    geo->setPositions(numberedPositions(6));
    geo->setNormals(normals);
    geo->setColors(colors);
    geo->setSecondaryColors(secondary);
    geo->setTexCoords(tex0);
    geo->setTexCoords1(tex1);
    geo->setTexCoords3(tex3);
    geo->setTexCoords5(tex5);
    geo->setTexCoords7(tex0);
    geo->setIndices(indices({ 0, 5, 1,  1, 4, 2,  2, 3, 0,    // point: position, normal, secondary
                              3, 2, 3,  4, 1, 4,  5, 0, 5 }));
    MFUInt16 &mapping = *geo->editMFIndexMapping();
    mapping.push_back(Geometry::MapPosition | Geometry::MapColor);
    mapping.push_back(Geometry::MapNormal | Geometry::MapTexCoords | Geometry::MapTexCoords1 |
                      Geometry::MapTexCoords3 | Geometry::MapTexCoords7);
    mapping.push_back(Geometry::MapSecondaryColor);
    endEditCP(geo);

    TriangleIterator it = geo->beginTriangles();
    ASSERT_FALSE(it.isAtEnd());
    EXPECT_EQ(it.getIndexIndex(1), 3);
    EXPECT_EQ(it.getPositionIndex(1), 1);
    EXPECT_EQ(it.getPosition(1), Pnt3f(1.f, 1.f, -1.f));
    EXPECT_EQ(it.getNormalIndex(0), 5);
    EXPECT_EQ(it.getNormal(0), Vec3f(11.f / 255.f, 1.f / 255.f, -9.f / 255.f));
    EXPECT_EQ(it.getColorIndex(2), 2);
    EXPECT_EQ(it.getColor(2), Color3f(0.2f, 0.f, 1.f));
    EXPECT_EQ(it.getSecondaryColorIndex(2), 0);
    EXPECT_EQ(it.getSecondaryColor(1), Color3f(20.f / 255.f, 1.f, 0.f));
    EXPECT_EQ(it.getTexCoordsIndex(1), 4);
    EXPECT_EQ(it.getTexCoords(1), Vec2f(4.f, 0.5f));
    EXPECT_EQ(it.getTexCoords1(2), Vec2f(3.25f, 0.f));
    EXPECT_EQ(it.getTexCoords3(0), Vec2f(5.f, 2.f));
    EXPECT_EQ(it.getTexCoordsIndex7(0), 5);
    EXPECT_EQ(it.getTexCoords7(0), Vec2f(5.f, 0.5f));
    EXPECT_EQ(it.getTexCoordsIndex5(1), 5);   // indices[0 * 3 + 1]
    EXPECT_EQ(it.getTexCoords5(1), Vec2f(-5.f, 1.f));
    EXPECT_EQ(it.getTexCoordsIndex2(0), -1);
    EXPECT_EQ(it.getTexCoords4(0), Vec2f());
    EXPECT_EQ(it.getTexCoordsIndex6(1), -1);
    EXPECT_EQ(it.getPositionIndex(3), -1);      // corners are 0, 1 and 2
    EXPECT_EQ(it.getPositionIndex(-1), -1);

    ++it;
    ASSERT_FALSE(it.isAtEnd());
    EXPECT_EQ(it.getIndexIndex(0), 9);
    EXPECT_EQ(it.getPositionIndex(0), 3);
    EXPECT_EQ(it.getNormalIndex(2), 0);
    EXPECT_EQ(it.getSecondaryColorIndex(1), 4);
    EXPECT_EQ(it.getTexCoordsIndex5(2), 2);   // indices[0 * 3 + 5]
    EXPECT_EQ(it.getTexCoordsIndex1(1), 1);
    ++it;
    EXPECT_TRUE(it.isAtEnd());
    EXPECT_EQ(it.getNormalIndex(0), -1);
    EXPECT_EQ(it.getPosition(0), Pnt3f());

    // 16-bit indices give the same triangles.
    Tris wide = triangleDump(geo, true);
    GeoIndicesUI16Ptr narrow = GeoIndicesUI16::create();
    for(UInt32 i = 0; i < geo->getIndices()->getSize(); ++i)
        narrow->addValue(geo->getIndices()->getValue(i));
    beginEditCP(geo, Geometry::IndicesFieldMask);
    geo->setIndices(narrow);
    endEditCP(geo, Geometry::IndicesFieldMask);
    EXPECT_EQ(triangleDump(geo, true), wide);
    subRefCP(geo);
}

TEST(TriangleIteration, SingleIndexAndNonIndexedGeometriesShareOneIndexPerPoint)
{
    GeometryPtr geo = makeGeometry({ GL_QUADS }, { 4 }, 4, { 3, 2, 1, 0 });
    addRefCP(geo);
    GeoPositions2fPtr flat = GeoPositions2f::create();
    for(UInt32 i = 0; i < 4; ++i)
        flat->addValue(Pnt3f(Real32(i), 1.f, 0.f));
    beginEditCP(geo);
    geo->setNormals(GeoNormals3f::create());    // present, but empty
    geo->setTexCoords2(
        makeProperty<GeoTexCoords2fPtr>({ Vec2f(0, 0), Vec2f(1, 0), Vec2f(2, 0), Vec2f(3, 0) }));
    geo->editMFIndexMapping()->push_back(Geometry::MapPosition);   // one entry: shared index
    endEditCP(geo);

    LogCapture capture;
    TriangleIterator it = geo->beginTriangles();
    EXPECT_EQ(it.getPositionIndex(0), 3);
    EXPECT_EQ(it.getTexCoordsIndex2(0), 3);     // not in the entry, still indices[p]
    EXPECT_EQ(it.getTexCoords2(1), Vec2f(2.f, 0.f));
    EXPECT_EQ(it.getNormalIndex(0), -1);        // beyond the empty normals: reported once
    EXPECT_EQ(it.getNormal(1), Vec3f());
    EXPECT_EQ(capture.count(), 1u);
    EXPECT_TRUE(capture.contains("normals"));

    // Without indices point p is element p of every property, whatever its dimension.
    beginEditCP(geo);
    geo->setIndices(NullFC);
    geo->setPositions(flat);
    geo->setNormals(NullFC);
    endEditCP(geo);
    it.setToBegin();
    EXPECT_EQ(it.getIndexIndex(0), -1);
    EXPECT_EQ(it.getPositionIndex(2), 2);
    EXPECT_EQ(it.getPosition(2), Pnt3f(2.f, 1.f, 0.f));
    ++it;
    EXPECT_EQ(it.getPositionIndex(2), 3);
    EXPECT_EQ(it.getTexCoords2(2), Vec2f(3.f, 0.f));
    EXPECT_EQ(it.getNormalIndex(0), -1);
    subRefCP(geo);
}

TEST(TriangleIteration, BadDataStopsOrReadsAsMissingWithOneReport)
{
    LogCapture capture;

    // Indices beyond the positions: those corners read as missing, the next triangle is whole.
    GeometryPtr geo = makeGeometry({ GL_TRIANGLES }, { 9 }, 3, { 0, 1, 2, 7, 1, 9, 0, 2, 1 });
    addRefCP(geo);
    Tris tris = positionTriangles(geo);
    EXPECT_EQ(tris, Tris({ "0 1 2", "-1 1 -1", "0 2 1" }));
    EXPECT_EQ(capture.count(), 1u);
    EXPECT_TRUE(capture.contains("beyond"));
    subRefCP(geo);

    // Lengths that run past the indices are cut at the last point.
    capture.clear();
    geo = makeGeometry({ GL_TRIANGLES, GL_TRIANGLES }, { 3, 30 }, 6, { 0, 1, 2, 3, 4, 5, 0 });
    addRefCP(geo);
    EXPECT_EQ(positionTriangles(geo), Tris({ "0 1 2", "3 4 5" }));
    EXPECT_EQ(capture.count(), 1u);
    EXPECT_TRUE(capture.contains("run past"));
    subRefCP(geo);

    // Fewer lengths than types, an unknown type, lengths beyond 32-bit sums.
    capture.clear();
    geo = makeGeometry({ 42, GL_TRIANGLES, GL_TRIANGLES }, { 3, 3 }, 6);
    addRefCP(geo);
    EXPECT_EQ(positionTriangles(geo), Tris({ "3 4 5" }));
    EXPECT_EQ(capture.count(), 1u);
    subRefCP(geo);

    capture.clear();
    geo = makeGeometry({ GL_TRIANGLES, GL_TRIANGLES }, { 3, 0xFFFFFFFFu }, 6);
    addRefCP(geo);
    EXPECT_EQ(positionTriangles(geo), Tris({ "0 1 2", "3 4 5" }));
    EXPECT_EQ(capture.count(), 1u);
    subRefCP(geo);

    // An empty index list with primitives: nothing to read, nothing read.
    capture.clear();
    geo = makeGeometry({ GL_TRIANGLES }, { 3 }, 3, {});
    addRefCP(geo);
    beginEditCP(geo, Geometry::IndicesFieldMask);
    geo->setIndices(GeoIndicesUI32::create());
    endEditCP(geo, Geometry::IndicesFieldMask);
    EXPECT_TRUE(geo->beginTriangles().isAtEnd());
    subRefCP(geo);
}
