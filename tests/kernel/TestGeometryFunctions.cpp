// createSingleIndex, calcVertexNormals and the geometry's bounding volume with its hooks.

#include "kernel/GeometryTestSupport.h"

#include <OpenSG/OSGGeoFunctions.h>
#include <OpenSG/OSGGeoColors4ub.h>
#include <OpenSG/OSGGeoTexCoords3f.h>
#include <OpenSG/OSGGeoNormals3b.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGLog.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace osg;
using namespace geotest;

namespace {

/*! Two triangles and a strip over interleaved indices (position/colour, normal/tex 0/tex 7,
    secondary colour/tex 3), with tuples repeated between points. The normals are shared with
    a second geometry when one is given. */
GeometryPtr makeMultiIndexed(GeometryPtr sharer = NullFC)
{
    GeometryPtr geo = Geometry::create();
    GeoNormals3bPtr normals = GeoNormals3b::create();
    GeoColors3fPtr colors = GeoColors3f::create();
    GeoColors4ubPtr secondary = GeoColors4ub::create();
    GeoTexCoords2fPtr tex0 = GeoTexCoords2f::create();
    GeoTexCoords3fPtr tex3 = GeoTexCoords3f::create();
    for(Int32 i = 0; i < 5; ++i)
    {
        normals->editField().push_back(Vec3b(Int8(10 * i), Int8(-i), 100));
        colors->editField().push_back(Color3f(0.125f * Real32(i), 0.5f, 0.f));
        secondary->editField().push_back(Color4ub(UInt8(i), UInt8(2 * i), 3, 4));
        tex0->editField().push_back(Vec2f(Real32(i), -Real32(i)));
        tex3->editField().push_back(Vec3f(Real32(i), 0.5f, 9.f));
    }
    beginEditCP(geo);
    geo->setTypes(types({ GL_TRIANGLES, GL_TRIANGLE_STRIP }));
    geo->setLengths(lengths({ 6, 4 }));
    geo->setPositions(numberedPositions(5));
    geo->setNormals(normals);
    geo->setColors(colors);
    geo->setSecondaryColors(secondary);
    geo->setTexCoords(tex0);
    geo->setTexCoords3(tex3);
    geo->setTexCoords7(tex0);
    geo->setIndices(indices({ 0, 0, 4,  1, 1, 3,  2, 2, 2,      // triangle 1
                              2, 2, 2,  1, 1, 3,  3, 0, 1,      // triangle 2
                              0, 0, 4,  4, 4, 0,  1, 1, 3,  3, 3, 0 }));   // strip
    MFUInt16 &mapping = *geo->editMFIndexMapping();
    mapping.push_back(Geometry::MapPosition | Geometry::MapColor);
    mapping.push_back(Geometry::MapNormal | Geometry::MapTexCoords | Geometry::MapTexCoords7);
    mapping.push_back(Geometry::MapSecondaryColor | Geometry::MapTexCoords3);
    endEditCP(geo);
    if(sharer != NullFC)
    {
        beginEditCP(sharer, Geometry::NormalsFieldMask);
        sharer->setNormals(normals);
        endEditCP(sharer, Geometry::NormalsFieldMask);
    }
    return geo;
}

} // namespace

TEST(CreateSingleIndex, InterleavedIndicesBecomeOneIndexWithEveryAttributeKept)
{
    GeometryPtr other = makeGeometry({ GL_TRIANGLES }, { 3 }, 5);
    addRefCP(other);
    GeometryPtr geo = makeMultiIndexed(other);
    addRefCP(geo);
    GeoNormalsPtr sharedNormals = geo->getNormals();
    std::vector<std::string> before = triangleDump(geo, false);
    std::vector<std::string> otherBefore = triangleDump(other, true);
    ASSERT_EQ(before.size(), 4u);

    // Distinct tuples in order of first use: 004 113 222 301 440 330.
    EXPECT_EQ(createSingleIndex(geo), 6);
    EXPECT_EQ(triangleDump(geo, false), before);
    ASSERT_EQ(geo->getIndexMapping().size(), 1u);
    EXPECT_EQ(geo->getIndexMapping()[0],
              Geometry::MapPosition | Geometry::MapColor | Geometry::MapNormal |
              Geometry::MapTexCoords | Geometry::MapTexCoords7 | Geometry::MapSecondaryColor |
              Geometry::MapTexCoords3);
    GeoIndicesUI32Ptr single = GeoIndicesUI32Ptr::dcast(geo->getIndices());
    ASSERT_NE(single, NullFC);
    EXPECT_EQ(single->getField().getValues(),
              MFUInt32::StorageType({ 0, 1, 2, 2, 1, 3, 0, 4, 1, 5 }));
    EXPECT_EQ(geo->getPositions()->getSize(), 6u);
    EXPECT_EQ(geo->getSecondaryColors()->getSize(), 6u);
    EXPECT_EQ(geo->getTexCoords7()->getSize(), 6u);

    // The normals were shared: the other geometry keeps the original, untouched.
    EXPECT_NE(geo->getNormals(), sharedNormals);
    EXPECT_EQ(other->getNormals(), sharedNormals);
    EXPECT_EQ(triangleDump(other, true), otherBefore);

    // Once single-indexed, nothing changes any more.
    std::vector<std::string> after = triangleDump(geo, true);
    EXPECT_EQ(createSingleIndex(geo), 6);
    EXPECT_EQ(triangleDump(geo, true), after);
    subRefCP(geo);
    subRefCP(other);
}

TEST(CreateSingleIndex, NonIndexedEmptyMappingAndBadInput)
{
    GeometryPtr geo = makeGeometry({ GL_TRIANGLE_FAN }, { 5 }, 5);
    addRefCP(geo);
    geo->editMFIndexMapping()->push_back(Geometry::MapPosition);
    std::vector<std::string> before = triangleDump(geo, true);
    EXPECT_EQ(createSingleIndex(geo), 0);
    ASSERT_NE(geo->getIndices(), NullFC);
    EXPECT_EQ(GeoIndicesUI32Ptr::dcast(geo->getIndices())->getField().getValues(),
              MFUInt32::StorageType({ 0, 1, 2, 3, 4 }));
    ASSERT_EQ(geo->getIndexMapping().size(), 1u);
    EXPECT_EQ(geo->getIndexMapping()[0], Geometry::MapPosition);
    EXPECT_EQ(triangleDump(geo, true), before);

    // An empty mapping over indices is spelled out as one entry of the present attributes.
    beginEditCP(geo, Geometry::TexCoords2FieldMask | Geometry::IndexMappingFieldMask);
    geo->editMFIndexMapping()->clear();
    geo->setTexCoords2(makeProperty<GeoTexCoords2fPtr>({ Vec2f(), Vec2f(), Vec2f(), Vec2f(),
                                                          Vec2f() }));
    endEditCP(geo, Geometry::TexCoords2FieldMask | Geometry::IndexMappingFieldMask);
    EXPECT_EQ(createSingleIndex(geo), 5);
    ASSERT_EQ(geo->getIndexMapping().size(), 1u);
    EXPECT_EQ(geo->getIndexMapping()[0], Geometry::MapPosition | Geometry::MapTexCoords2);
    subRefCP(geo);

    // Interleaved indices that point beyond a property change nothing.
    geo = makeMultiIndexed();
    addRefCP(geo);
    beginEditCP(geo->getIndices());
    geo->getIndices()->setValue(17, 4);   // point 1's normal
    endEditCP(geo->getIndices());
    GeoIndicesPtr indices = geo->getIndices();
    GeoPositionsPtr positions = geo->getPositions();
    LogCapture capture;
    EXPECT_EQ(createSingleIndex(geo), -1);
    EXPECT_TRUE(capture.contains("element 17"));
    EXPECT_EQ(geo->getIndices(), indices);
    EXPECT_EQ(geo->getPositions(), positions);
    EXPECT_EQ(geo->getIndexMapping().size(), 3u);
    EXPECT_EQ(indices->getSize(), 30u);
    subRefCP(geo);

    capture.clear();
    EXPECT_EQ(createSingleIndex(NullFC), -1);
    EXPECT_TRUE(capture.contains("no geometry"));
}

TEST(CalcVertexNormals, FaceNormalsAreSummedPerPositionAndFollowThePositionsIndex)
{
    // Two triangles folded 90 degrees along the edge 1-2: (0,0,1) and (1,0,0) faces.
    GeometryPtr geo = Geometry::create();
    addRefCP(geo);
    beginEditCP(geo);
    geo->setTypes(types({ GL_TRIANGLES }));
    geo->setLengths(lengths({ 6 }));
    geo->setPositions(positions({ Pnt3f(0, 0, 0), Pnt3f(1, 0, 0), Pnt3f(1, 1, 0),
                                  Pnt3f(1, 0, -1), Pnt3f(7, 7, 7) }));
    geo->setTexCoords(makeProperty<GeoTexCoords2fPtr>({ Vec2f(), Vec2f(1, 1) }));
    geo->setIndices(indices({ 0, 0,  1, 1,  2, 0,   1, 0,  3, 1,  2, 1 }));
    geo->editMFIndexMapping()->push_back(Geometry::MapPosition);
    geo->editMFIndexMapping()->push_back(Geometry::MapTexCoords | Geometry::MapNormal);
    endEditCP(geo);

    calcVertexNormals(geo);
    ASSERT_NE(geo->getNormals(), NullFC);
    EXPECT_EQ(geo->getNormals()->getSize(), 5u);
    EXPECT_EQ(geo->getIndexMapping()[0], Geometry::MapPosition | Geometry::MapNormal);
    EXPECT_EQ(geo->getIndexMapping()[1], Geometry::MapTexCoords);

    const Real32 h = 1.f / std::sqrt(2.f);
    TriangleIterator it = geo->beginTriangles();
    EXPECT_EQ(it.getNormal(0), Vec3f(0, 0, 1));
    EXPECT_EQ(it.getNormal(1), Vec3f(h, 0, h));
    ++it;
    EXPECT_EQ(it.getNormal(1), Vec3f(1, 0, 0));
    EXPECT_EQ(it.getNormal(2), Vec3f(h, 0, h));
    EXPECT_EQ(geo->getNormals()->getValue(4), Vec3f());   // used by no triangle

    LogCapture capture;
    calcVertexNormals(NullFC);
    GeometryPtr bare = Geometry::create();
    addRefCP(bare);
    calcVertexNormals(bare);
    EXPECT_EQ(bare->getNormals(), NullFC);
    EXPECT_EQ(capture.count(), 2u);
    subRefCP(bare);
    subRefCP(geo);
}

TEST(GeometryVolume, PositionsOrTheVolumeCallbackBoundTheNode)
{
    GeometryPtr geo = Geometry::create();
    beginEditCP(geo, Geometry::PositionsFieldMask);
    geo->setPositions(positions({ Pnt3f(1, 2, 3), Pnt3f(-1, 5, 0), Pnt3f(0, 0, 4) }));
    endEditCP(geo, Geometry::PositionsFieldMask);
    NodePtr node = Node::create();
    addRefCP(node);
    beginEditCP(node, Node::CoreFieldMask);
    node->setCore(geo);
    endEditCP(node, Node::CoreFieldMask);

    Pnt3f lo, hi;
    node->getVolume(true).getBounds(lo, hi);
    EXPECT_EQ(lo, Pnt3f(-1, 0, 0));
    EXPECT_EQ(hi, Pnt3f(1, 5, 4));

    // The callback replaces the positions; its installation does not invalidate by itself.
    int supplied = 0, invalidated = 0;
    geo->setVolumeCacheCB([&](const GeometryPtr &g, DynamicVolume &vol) {
        EXPECT_EQ(g, geo);
        EXPECT_TRUE(vol.isEmpty());
        ++supplied;
        vol.extendBy(Pnt3f(10, 10, 10));
        vol.extendBy(Pnt3f(20, 30, 40));
    });
    geo->setInvalidateVolumeCacheCB([&](const GeometryPtr &g) {
        EXPECT_EQ(g, geo);
        ++invalidated;
    });
    geo->invalidateVolume();
    EXPECT_EQ(invalidated, 1);
    node->getVolume(true).getBounds(lo, hi);
    EXPECT_EQ(supplied, 1);
    EXPECT_EQ(lo, Pnt3f(10, 10, 10));
    EXPECT_EQ(hi, Pnt3f(20, 30, 40));

    // New positions invalidate through the hook as well.
    beginEditCP(geo, Geometry::PositionsFieldMask);
    geo->setPositions(positions({ Pnt3f(0, 0, 0) }));
    endEditCP(geo, Geometry::PositionsFieldMask);
    EXPECT_EQ(invalidated, 2);
    EXPECT_FALSE(node->getVolume().isValid());

    geo->setVolumeCacheCB(Geometry::VolumeCacheFunctor());
    geo->setInvalidateVolumeCacheCB(Geometry::InvalidateVolumeCacheFunctor());
    node->getVolume(true).getBounds(lo, hi);
    EXPECT_EQ(hi, Pnt3f(0, 0, 0));
    EXPECT_EQ(supplied, 1);

    // Copies do not inherit the hooks.
    geo->setVolumeCacheCB([](const GeometryPtr &, DynamicVolume &) {});
    GeometryPtr copy = GeometryPtr::dcast(geo->shallowCopy());
    addRefCP(copy);
    EXPECT_FALSE(copy->getVolumeCacheCB());
    EXPECT_EQ(copy->getPositions(), geo->getPositions());
    subRefCP(copy);
    subRefCP(node);
}

#include <OpenSG/OSGIntersectAction.h>
#include <OpenSG/OSGTransform.h>

TEST(GeometryIntersection, NearestTriangleThroughATransform)
{
    // Two parallel quads (two triangles each) at z = 0 and z = -2, seen down -z from z = 5.
    GeometryPtr geo = Geometry::create();
    GeoPositions3fPtr pos = GeoPositions3f::create();
    const Real32 zs[2] = {0.f, -2.f};
    for(Real32 z : zs)
    {
        pos->editField().push_back(Pnt3f(-1.f, -1.f, z));
        pos->editField().push_back(Pnt3f(1.f, -1.f, z));
        pos->editField().push_back(Pnt3f(1.f, 1.f, z));
        pos->editField().push_back(Pnt3f(-1.f, -1.f, z));
        pos->editField().push_back(Pnt3f(1.f, 1.f, z));
        pos->editField().push_back(Pnt3f(-1.f, 1.f, z));
    }
    GeoPTypesUI8Ptr types = GeoPTypesUI8::create();
    types->editField().push_back(GL_TRIANGLES);
    GeoPLengthsUI32Ptr lengths = GeoPLengthsUI32::create();
    lengths->editField().push_back(12);
    beginEditCP(geo);
    geo->setPositions(pos);
    geo->setTypes(types);
    geo->setLengths(lengths);
    endEditCP(geo);

    NodePtr geoNode = Node::create();
    beginEditCP(geoNode, Node::CoreFieldMask);
    geoNode->setCore(geo);
    endEditCP(geoNode, Node::CoreFieldMask);

    // Moved by +1 in x, so the hit of a line at x = 1.5 lies inside the quads.
    TransformPtr xform = Transform::create();
    beginEditCP(xform, Transform::MatrixFieldMask);
    xform->editMatrix().setTranslate(1.f, 0.f, 0.f);
    endEditCP(xform, Transform::MatrixFieldMask);
    NodePtr root = Node::create();
    addRefCP(root);
    beginEditCP(root, Node::CoreFieldMask | Node::ChildrenFieldMask);
    root->setCore(xform);
    root->addChild(geoNode);
    endEditCP(root, Node::CoreFieldMask | Node::ChildrenFieldMask);
    root->updateVolume();

    IntersectAction *ia = IntersectAction::create(Line(Pnt3f(1.5f, 0.8f, 5.f), Vec3f(0.f, 0.f, -1.f)));
    ia->apply(root);
    ASSERT_TRUE(ia->didHit());
    EXPECT_NEAR(ia->getHitT(), 5.f, 1e-5f);
    EXPECT_EQ(ia->getHitObject(), geoNode);
    EXPECT_EQ(ia->getHitTriangle(), 1);   // (-1,-1),(1,1),(-1,1) contains local (0.5, 0.8)
    EXPECT_NEAR(ia->getHitPoint()[0], 1.5f, 1e-5f);

    // Outside the moved quads.
    ia->setLine(Line(Pnt3f(-0.5f, 0.f, 5.f), Vec3f(0.f, 0.f, -1.f)));
    ia->apply(root);
    EXPECT_FALSE(ia->didHit());
    delete ia;
    subRefCP(root);
}
