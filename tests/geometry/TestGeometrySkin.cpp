// The geometry operations on skinned geometry: subdivision leaves it alone, unification and the
// single-index split inside the tangent operation carry the skin along, so that every corner
// deforms as before; entries of vertices no index uses end as (0, 0).

#include "skinning/SkinTestSupport.h"

#include <OpenSGExt/OSGCalcBinormalTangentGraphOp.h>
#include <OpenSGExt/OSGPhongSubdivideGeometryGraphOp.h>
#include <OpenSGExt/OSGSubdivideGeometryGraphOp.h>
#include <OpenSGExt/OSGUnifyVerticesGraphOp.h>

#include <OpenSG/OSGGeoIndicesUI32.h>
#include <OpenSG/OSGGeoPLengthsUI32.h>
#include <OpenSG/OSGGeoPTypesUI8.h>
#include <OpenSG/OSGGeoTexCoords2f.h>

#include <gtest/gtest.h>

using namespace osg;
using namespace skintest;

namespace {

std::vector<Pnt3f> deformed(const std::unique_ptr<Rig> &rig)
{
    rig->skin->update(true);
    const Pnt3f *pos = NULL;
    const Vec3f *nor = NULL;
    rig->skin->getDeformedVertices(pos, nor);
    const UInt32 n = rig->geo->getPositions()->getSize();
    return pos != NULL ? std::vector<Pnt3f>(pos, pos + n) : std::vector<Pnt3f>();
}

void setTriangles(const GeometryPtr &geo, UInt32 corners)
{
    GeoPTypesUI8Ptr types = GeoPTypesUI8::create();
    GeoPLengthsUI32Ptr lengths = GeoPLengthsUI32::create();
    beginEditCP(types);
    types->editField().push_back(UInt8(GL_TRIANGLES));
    endEditCP(types);
    beginEditCP(lengths);
    lengths->editField().push_back(corners);
    endEditCP(lengths);
    beginEditCP(geo, Geometry::TypesFieldMask | Geometry::LengthsFieldMask);
    geo->setTypes(types);
    geo->setLengths(lengths);
    endEditCP(geo, Geometry::TypesFieldMask | Geometry::LengthsFieldMask);
}

std::vector<UInt32> indexValues(const GeometryPtr &geo)
{
    std::vector<UInt32> v;
    for(UInt32 i = 0; i < geo->getIndices()->getSize(); ++i)
        v.push_back(geo->getIndices()->getValue(i));
    return v;
}

void expectSame(const Pnt3f &a, const Pnt3f &b)
{
    for(int c = 0; c < 3; ++c)
        EXPECT_NEAR(a[c], b[c], 1e-5f * (1.f + std::fabs(b[c])));
}

} // namespace

TEST(GeometryOpsOnSkins, SubdivisionSkipsSkinnedGeometry)
{
    std::unique_ptr<Rig> rig = makeRig(6, 2, 31);
    setTriangles(rig->geo, 6);
    const GeoPositionsPtr before = rig->geo->getPositions();
    PhongSubdivideGeometryGraphOp phong;
    phong.traverse(rig->geoNode);
    SubdivideGeometryGraphOp adaptive;
    adaptive.setMaxEdgeLength(0.01f);
    adaptive.traverse(rig->geoNode);
    EXPECT_EQ(rig->geo->getPositions(), before);
    EXPECT_EQ(rig->geo->getIndices(), NullFC);
}

TEST(GeometryOpsOnSkins, UnificationKeepsEveryCornersDeformation)
{
    // 13 vertices: 6..11 repeat 0..5 (position, normal, influences); 12 is used by no triangle.
    std::unique_ptr<Rig> rig = makeRig(13, 3, 32);
    GeoPositionsPtr pos = rig->geo->getPositions();
    GeoNormalsPtr nor = rig->geo->getNormals();
    beginEditCP(pos);
    beginEditCP(nor);
    for(UInt32 v = 0; v < 6; ++v)
    {
        pos->setValue(pos->getValue(v), v + 6);
        nor->setValue(nor->getValue(v), v + 6);
    }
    endEditCP(nor);
    endEditCP(pos);
    for(UInt32 j = 0; j < 3; ++j)
    {
        std::vector<IndexWeight> e;
        for(const IndexWeight &w : rig->clusters[j]->getWeights())
        {
            if(w.getIndex() < 6)
            {
                e.push_back(w);
                e.push_back(IndexWeight(w.getIndex() + 6, w.getWeight()));
            }
        }
        if(j == 0)
            e.push_back(IndexWeight(12, 1.f));
        beginEditCP(rig->clusters[j], DeformerCluster::WeightsFieldMask);
        rig->clusters[j]->editMFWeights()->getValues().assign(e.begin(), e.end());
        endEditCP(rig->clusters[j], DeformerCluster::WeightsFieldMask);
    }
    setTriangles(rig->geo, 12);
    GeoIndicesUI32Ptr indices = GeoIndicesUI32::create();
    beginEditCP(indices);
    for(UInt32 i = 0; i < 12; ++i)
        indices->editField().push_back(i);
    endEditCP(indices);
    beginEditCP(rig->geo, Geometry::IndicesFieldMask | Geometry::IndexMappingFieldMask);
    rig->geo->setIndices(indices);
    rig->geo->editMFIndexMapping()->push_back(Geometry::MapPosition | Geometry::MapNormal);
    endEditCP(rig->geo, Geometry::IndicesFieldMask | Geometry::IndexMappingFieldMask);
    const std::vector<Pnt3f> before = deformed(rig);
    ASSERT_EQ(before.size(), 13u);

    UnifyVerticesGraphOp op;
    op.process(rig->geo);
    const std::vector<UInt32> idx = indexValues(rig->geo);
    EXPECT_EQ(idx, (std::vector<UInt32>{ 0, 1, 2, 3, 4, 5, 0, 1, 2, 3, 4, 5 }));
    const std::vector<Pnt3f> after = deformed(rig);
    ASSERT_EQ(after.size(), 13u);
    for(UInt32 i = 0; i < 12; ++i)
        expectSame(after[idx[i]], before[i]);
    // The unused vertex's entry is (0, 0); no entry names a merged-away vertex.
    bool zeroEntry = false;
    for(UInt32 j = 0; j < 3; ++j)
    {
        for(const IndexWeight &w : rig->clusters[j]->getWeights())
        {
            EXPECT_TRUE(w.getIndex() < 6) << w.getIndex();
            zeroEntry = zeroEntry || (j == 0 && w.getIndex() == 0 && w.getWeight() == 0.f);
        }
    }
    EXPECT_TRUE(zeroEntry);

    // Entries past the positions: reported, nothing changes.
    std::unique_ptr<Rig> bad = makeRig(6, 1, 33);
    setTriangles(bad->geo, 6);
    beginEditCP(bad->clusters[0], DeformerCluster::WeightsFieldMask);
    bad->clusters[0]->editMFWeights()->push_back(IndexWeight(40, 1.f));
    endEditCP(bad->clusters[0], DeformerCluster::WeightsFieldMask);
    LogCapture capture;
    op.process(bad->geo);
    EXPECT_TRUE(capture.contains("vertex 40 of 6"));
    EXPECT_EQ(bad->clusters[0]->getWeights().back().getIndex(), 40u);
}

TEST(GeometryOpsOnSkins, SplitVerticesTakeTheirPositionsInfluences)
{
    // Two triangles over four positions, texture coordinates of their own per corner: the single
    // index gives six vertices, positions 0 and 2 split in two.
    std::unique_ptr<Rig> rig = makeRig(4, 2, 34);
    const std::vector<Pnt3f> before = deformed(rig);
    GeoTexCoords2fPtr tex = GeoTexCoords2f::create();
    beginEditCP(tex);
    const Vec2f st[6] = { Vec2f(0, 0), Vec2f(1, 0), Vec2f(1, 1),
                          Vec2f(0, 0), Vec2f(1, 1), Vec2f(0, 1) };
    for(const Vec2f &t : st)
        tex->editField().push_back(t);
    endEditCP(tex);
    GeoIndicesUI32Ptr indices = GeoIndicesUI32::create();
    const UInt32 corners[6][2] = { { 0, 0 }, { 1, 1 }, { 2, 2 }, { 0, 3 }, { 2, 4 }, { 3, 5 } };
    beginEditCP(indices);
    for(const auto &c : corners)
    {
        indices->editField().push_back(c[0]);
        indices->editField().push_back(c[1]);
    }
    endEditCP(indices);
    setTriangles(rig->geo, 6);
    beginEditCP(rig->geo);
    rig->geo->setTexCoords(tex);
    rig->geo->setIndices(indices);
    rig->geo->editMFIndexMapping()->push_back(Geometry::MapPosition | Geometry::MapNormal);
    rig->geo->editMFIndexMapping()->push_back(Geometry::MapTexCoords);
    endEditCP(rig->geo);

    CalcBinormalTangentGraphOp op;
    op.traverse(rig->geoNode);
    ASSERT_EQ(rig->geo->getPositions()->getSize(), 6u);
    ASSERT_NE(rig->geo->getTexCoords1(), NullFC);
    const std::vector<UInt32> idx = indexValues(rig->geo);
    const std::vector<Pnt3f> after = deformed(rig);
    ASSERT_EQ(after.size(), 6u);
    for(UInt32 i = 0; i < 6; ++i)
        expectSame(after[idx[i]], before[corners[i][0]]);
}
