// The triangle iterator: primitive kinds, index mappings, every attribute, and bad data.

#include "kernel/GeometryTestSupport.h"

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

namespace {

typedef std::vector<std::string> Tris;

// Replaces the geometry's indices by a 16-bit copy, which must read the same.
void narrowIndices(const GeometryPtr &geo)
{
    GeoIndicesUI16Ptr narrow = GeoIndicesUI16::create();
    for(UInt32 i = 0; i < geo->getIndices()->getSize(); ++i)
        narrow->addValue(geo->getIndices()->getValue(i));
    edit(geo, Geometry::IndicesFieldMask, [&] { geo->setIndices(narrow); });
}

} // namespace

TEST(TriangleIteration, ListsStripsFansAndQuads)
{
    const struct { UInt8 type; UInt32 length; Tris expected; } cases[] = {
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
    for(const auto &c : cases)
    {
        Pool held;
        EXPECT_EQ(positionTriangles(held(makeGeometry({ c.type }, { c.length }, 9))), c.expected)
            << "type " << UInt32(c.type);
    }
}

TEST(TriangleIteration, PrimitivesFollowEachOtherAndDegenerateStripTrianglesAreLeftOut)
{
    // A strip whose repeated index makes its second and third triangle degenerate, a point,
    // then a fan: all over one index list.
    Pool held;
    GeometryPtr geo = held(makeGeometry({ GL_TRIANGLE_STRIP, GL_POINTS, GL_TRIANGLE_FAN },
                                        { 6, 1, 4 }, 8, { 0, 1, 2, 2, 3, 4,  7,  4, 5, 6, 7 }));
    const Tris expected = { "0 1 2", "3 2 4", "4 5 6", "4 6 7" };
    EXPECT_EQ(positionTriangles(geo), expected);
    TriangleIterator it = geo->beginTriangles();
    std::vector<UInt32> numbersAndKinds;
    for(; !it.isAtEnd(); it++)
        numbersAndKinds.insert(numbersAndKinds.end(), { UInt32(it.getIndex()), it.getType() });
    EXPECT_EQ(numbersAndKinds, std::vector<UInt32>({ 0, GL_TRIANGLE_STRIP, 1, GL_TRIANGLE_STRIP,
                                                     2, GL_TRIANGLE_FAN, 3, GL_TRIANGLE_FAN }));
    EXPECT_EQ(it, geo->endTriangles());
    narrowIndices(geo);
    EXPECT_EQ(positionTriangles(geo), expected);
    // Without lengths the first primitive takes every point.
    edit(geo, Geometry::LengthsFieldMask, [&] { geo->setLengths(NullFC); });
    EXPECT_EQ(positionTriangles(geo).size(), 6u);   // 9 strip triangles, 3 degenerate
}

TEST(TriangleIteration, SeekCompareAndConstructionFromNodes)
{
    Pool held;
    GeometryPtr geo = makeGeometry({ GL_TRIANGLE_FAN }, { 6 }, 6);
    NodePtr node = held(nodeWith(geo));
    TriangleIterator a(node), b = geo->beginTriangles();
    EXPECT_EQ(a.getGeometry(), geo);
    EXPECT_TRUE(a == b);
    ++a;                        EXPECT_TRUE(a != b);
    b.seek(1);                  EXPECT_TRUE(a == b);
    EXPECT_EQ(b.getPositionIndex(2), 3);
    b.seek(3);                  EXPECT_EQ(b.getPositionIndex(1), 4);
    EXPECT_EQ(b.getIndex(), 3);
    b.seek(10);                 EXPECT_TRUE(b.isAtEnd());
    EXPECT_EQ(b.getPositionIndex(0), -1);
    b.setToBegin();             EXPECT_EQ(b.getIndex(), 0);
    b.setToEnd();               EXPECT_EQ(b, geo->endTriangles());
    EXPECT_NE(TriangleIterator(), geo->endTriangles());   // another geometry (none)

    LogCapture capture;
    EXPECT_TRUE(TriangleIterator(held(nodeWith(Group::create()))).isAtEnd());
    EXPECT_TRUE(TriangleIterator(GeometryPtr()).isAtEnd());
    EXPECT_EQ(capture.count(), 2u);
    // A geometry without types has no triangles and nothing to report.
    GeometryPtr empty = held(Geometry::create());
    EXPECT_EQ(empty->beginTriangles(), empty->endTriangles());
    EXPECT_EQ(capture.count(), 2u);
}

TEST(TriangleIteration, MultiIndexedGeometryReadsEveryAttributeThroughItsEntry)
{
    // Two triangles over interleaved indices: entry 0 for positions and colours, entry 1 for
    // normals, texture units 0, 1, 3 and 7, entry 2 for the secondary colours; unit 5 is in no
    // entry and so uses indices[s * n + k]; units 2, 4, 6 are missing.
    Pool held;
    GeometryPtr geo = held(makeGeometry({ GL_TRIANGLES }, { 6 }, 6,
                                        { 0, 5, 1,  1, 4, 2,  2, 3, 0,    // position, normal,
                                          3, 2, 3,  4, 1, 4,  5, 0, 5 }));  // secondary colour
    GeoNormals3bPtr normals = GeoNormals3b::create();
    GeoColors3fPtr colors = GeoColors3f::create();
    GeoColors4ubPtr secondary = GeoColors4ub::create();
    GeoTexCoords2fPtr tex0 = GeoTexCoords2f::create(), tex5 = GeoTexCoords2f::create();
    GeoTexCoords1fPtr tex1 = GeoTexCoords1f::create();
    GeoTexCoords3fPtr tex3 = GeoTexCoords3f::create();
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
    edit(geo, FieldBits::AllFields, [&] {
        geo->setNormals(normals);
        geo->setColors(colors);
        geo->setSecondaryColors(secondary);
        geo->setTexCoords(tex0);
        geo->setTexCoords1(tex1);
        geo->setTexCoords3(tex3);
        geo->setTexCoords5(tex5);
        geo->setTexCoords7(tex0);
        MFUInt16 &mapping = *geo->editMFIndexMapping();
        mapping.push_back(Geometry::MapPosition | Geometry::MapColor);
        mapping.push_back(Geometry::MapNormal | Geometry::MapTexCoords |
                          Geometry::MapTexCoords1 | Geometry::MapTexCoords3 |
                          Geometry::MapTexCoords7);
        mapping.push_back(Geometry::MapSecondaryColor);
    });

    typedef std::vector<Int32> Ints;
    TriangleIterator it = geo->beginTriangles();
    ASSERT_FALSE(it.isAtEnd());
    // Index of the index, position, normal, colour, secondary colour, units 0, 7, 5 (indices[0 *
    // 3 + 1]), 2 and 6 (missing), and corners that do not exist.
    EXPECT_EQ(Ints({ it.getIndexIndex(1), it.getPositionIndex(1), it.getNormalIndex(0),
                     it.getColorIndex(2), it.getSecondaryColorIndex(2), it.getTexCoordsIndex(1),
                     it.getTexCoordsIndex7(0), it.getTexCoordsIndex5(1), it.getTexCoordsIndex2(0),
                     it.getTexCoordsIndex6(1), it.getPositionIndex(3), it.getPositionIndex(-1) }),
              Ints({ 3, 1, 5, 2, 0, 4, 5, 5, -1, -1, -1, -1 }));
    EXPECT_EQ(it.getPosition(1), Pnt3f(1.f, 1.f, -1.f));
    EXPECT_EQ(it.getNormal(0), Vec3f(11.f / 255.f, 1.f / 255.f, -9.f / 255.f));
    EXPECT_EQ(it.getColor(2), Color3f(0.2f, 0.f, 1.f));
    EXPECT_EQ(it.getSecondaryColor(1), Color3f(20.f / 255.f, 1.f, 0.f));
    EXPECT_EQ(it.getTexCoords(1), Vec2f(4.f, 0.5f));
    EXPECT_EQ(it.getTexCoords1(2), Vec2f(3.25f, 0.f));
    EXPECT_EQ(it.getTexCoords3(0), Vec2f(5.f, 2.f));
    EXPECT_EQ(it.getTexCoords7(0), Vec2f(5.f, 0.5f));
    EXPECT_EQ(it.getTexCoords5(1), Vec2f(-5.f, 1.f));
    EXPECT_EQ(it.getTexCoords4(0), Vec2f());
    ++it;
    ASSERT_FALSE(it.isAtEnd());
    // Index of the index, position, normal, secondary colour, unit 5 (indices[0 * 3 + 5]), 1.
    EXPECT_EQ(Ints({ it.getIndexIndex(0), it.getPositionIndex(0), it.getNormalIndex(2),
                     it.getSecondaryColorIndex(1), it.getTexCoordsIndex5(2),
                     it.getTexCoordsIndex1(1) }),
              Ints({ 9, 3, 0, 4, 2, 1 }));
    ++it;
    EXPECT_TRUE(it.isAtEnd());
    EXPECT_EQ(it.getNormalIndex(0), -1);
    EXPECT_EQ(it.getPosition(0), Pnt3f());

    const Tris wide = triangleDump(geo, true);
    narrowIndices(geo);
    EXPECT_EQ(triangleDump(geo, true), wide);
}

TEST(TriangleIteration, SingleIndexAndNonIndexedGeometriesShareOneIndexPerPoint)
{
    Pool held;
    GeometryPtr geo = held(makeGeometry({ GL_QUADS }, { 4 }, 4, { 3, 2, 1, 0 }));
    edit(geo, FieldBits::AllFields, [&] {
        geo->setNormals(GeoNormals3f::create());    // present, but empty
        geo->setTexCoords2(makeProperty<GeoTexCoords2fPtr>(
            { Vec2f(0, 0), Vec2f(1, 0), Vec2f(2, 0), Vec2f(3, 0) }));
        geo->editMFIndexMapping()->push_back(Geometry::MapPosition);   // one entry: shared
    });
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
    GeoPositions2fPtr flat = GeoPositions2f::create();
    for(UInt32 i = 0; i < 4; ++i)
        flat->addValue(Pnt3f(Real32(i), 1.f, 0.f));
    edit(geo, FieldBits::AllFields, [&] {
        geo->setIndices(NullFC);
        geo->setPositions(flat);
        geo->setNormals(NullFC);
    });
    it.setToBegin();
    EXPECT_EQ(it.getIndexIndex(0), -1);
    EXPECT_EQ(it.getPosition(2), Pnt3f(2.f, 1.f, 0.f));
    ++it;
    EXPECT_EQ(it.getPositionIndex(2), 3);
    EXPECT_EQ(it.getTexCoords2(2), Vec2f(3.f, 0.f));
    EXPECT_EQ(it.getNormalIndex(0), -1);
}

TEST(TriangleIteration, BadDataStopsOrReadsAsMissingWithOneReport)
{
    const struct
    {
        const char *what;
        std::initializer_list<UInt8> types;
        std::initializer_list<UInt32> lengths, index;
        Tris expected;
        const char *message;
    } cases[] = {
        // Corners beyond the positions read as missing; the next triangle is whole.
        { "beyond", { GL_TRIANGLES }, { 9 }, { 0, 1, 2, 7, 1, 9, 0, 2, 1 },
          { "0 1 2", "-1 1 -1", "0 2 1" }, "beyond" },
        { "lengths past the indices are cut", { GL_TRIANGLES, GL_TRIANGLES }, { 3, 30 },
          { 0, 1, 2, 3, 4, 5, 0 }, { "0 1 2", "3 4 5" }, "run past" },
        { "fewer lengths than types, an unknown type", { 42, GL_TRIANGLES, GL_TRIANGLES },
          { 3, 3 }, {}, { "3 4 5" }, "" },
        { "lengths beyond 32-bit sums", { GL_TRIANGLES, GL_TRIANGLES }, { 3, 0xFFFFFFFFu }, {},
          { "0 1 2", "3 4 5" }, "" },
    };
    for(const auto &c : cases)
    {
        SCOPED_TRACE(c.what);
        Pool held;
        LogCapture capture;
        EXPECT_EQ(positionTriangles(held(makeGeometry(c.types, c.lengths, 6, c.index))),
                  c.expected);
        EXPECT_EQ(capture.count(), 1u);
        EXPECT_TRUE(capture.contains(c.message));
    }
    // An empty index list with primitives: nothing to read, nothing read.
    Pool held;
    GeometryPtr geo = held(makeGeometry({ GL_TRIANGLES }, { 3 }, 3));
    edit(geo, Geometry::IndicesFieldMask, [&] { geo->setIndices(GeoIndicesUI32::create()); });
    EXPECT_TRUE(geo->beginTriangles().isAtEnd());
}
