// Renumbering the skin's vertex indices.
#include "SkinTestSupport.h"

#include <gtest/gtest.h>

using namespace osg;
using namespace skintest;

namespace {

std::vector<IndexWeight> entries(const DeformerClusterPtr &c)
{
    return std::vector<IndexWeight>(c->getWeights().begin(), c->getWeights().end());
}

void setEntries(const DeformerClusterPtr &c, const std::vector<IndexWeight> &e)
{
    beginEditCP(c, DeformerCluster::WeightsFieldMask);
    c->editMFWeights()->getValues().assign(e.begin(), e.end());
    endEditCP(c, DeformerCluster::WeightsFieldMask);
}

} // namespace

TEST(SkinRemap, SplitMergeAndPartial)
{
    std::unique_ptr<Rig> rig = makeRig(6, 2, 51);
    setEntries(rig->clusters[0], {IndexWeight(0, 0.5f), IndexWeight(1, 0.25f), IndexWeight(2, 1.f)});
    setEntries(rig->clusters[1], {IndexWeight(1, 0.75f), IndexWeight(3, 1.f)});

    // Split: new vertices 0..4 come from old 0, 1, 1, 2, 3 (vertex 1 used twice).
    const UInt32 from[] = {0, 1, 1, 2, 3};
    const UInt32 to[]   = {0, 1, 2, 3, 4};
    ASSERT_TRUE(rig->skin->remapIndices(from, 5, to, true));
    EXPECT_EQ(entries(rig->clusters[0]),
              (std::vector<IndexWeight>{IndexWeight(0, 0.5f), IndexWeight(1, 0.25f),
                                        IndexWeight(2, 0.25f), IndexWeight(3, 1.f)}));
    EXPECT_EQ(entries(rig->clusters[1]),
              (std::vector<IndexWeight>{IndexWeight(1, 0.75f), IndexWeight(2, 0.75f),
                                        IndexWeight(4, 1.f)}));

    // Merge: 0 and 1 become 0, 2 and 3 become 1, 4 becomes 2; one entry per joint and vertex,
    // that of the smallest old index.
    std::map<UInt32, UInt32> merge{{0, 0}, {1, 0}, {2, 1}, {3, 1}, {4, 2}};
    ASSERT_TRUE(rig->skin->remapIndices(merge));
    EXPECT_EQ(entries(rig->clusters[0]),
              (std::vector<IndexWeight>{IndexWeight(0, 0.5f), IndexWeight(1, 0.25f)}));
    EXPECT_EQ(entries(rig->clusters[1]),
              (std::vector<IndexWeight>{IndexWeight(0, 0.75f), IndexWeight(1, 0.75f),
                                        IndexWeight(2, 1.f)}));

    // Partial: unlisted entries stay without replace, go with it.
    const UInt32 f2[] = {2};
    const UInt32 t2[] = {5};
    ASSERT_TRUE(rig->skin->remapIndices(f2, 1, t2, false));
    EXPECT_EQ(entries(rig->clusters[1]),
              (std::vector<IndexWeight>{IndexWeight(0, 0.75f), IndexWeight(1, 0.75f),
                                        IndexWeight(5, 1.f)}));
    ASSERT_TRUE(rig->skin->remapIndices(f2, 0, t2, true));
    EXPECT_TRUE(entries(rig->clusters[1]).empty());

    EXPECT_FALSE(rig->skin->remapIndices(nullptr, 3, t2, true));
}

TEST(SkinRemap, SplitVerticesDeformLikeTheirSource)
{
    std::unique_ptr<Rig> rig = makeRig(40, 5, 53);
    ASSERT_TRUE(rig->skin->update(true));
    const Pnt3f *pos = nullptr;
    const Vec3f *nor = nullptr;
    rig->skin->getDeformedVertices(pos, nor);
    ASSERT_NE(pos, nullptr);
    const std::vector<Pnt3f> before(pos, pos + 40);

    // Duplicate every vertex in reverse after the originals: 80 vertices, i and 79 - i alike.
    std::vector<UInt32> from(80), to(80);
    std::vector<Pnt3f> p2(80);
    std::vector<Vec3f> n2(80);
    const MFPnt3f &p = GeoPositions3fPtr::dcast(rig->geo->getPositions())->getField();
    const MFVec3f &n = GeoNormals3fPtr::dcast(rig->geo->getNormals())->getField();
    for(UInt32 i = 0; i < 80; ++i)
    {
        from[i] = i < 40 ? i : 79 - i;
        to[i]   = i;
        p2[i]   = p[from[i]];
        n2[i]   = n[from[i]];
    }
    beginEditCP(rig->geo, Geometry::PositionsFieldMask | Geometry::NormalsFieldMask);
    rig->geo->setPositions(scenetest::positions(p2));
    rig->geo->setNormals(scenetest::normals(n2));
    endEditCP(rig->geo, Geometry::PositionsFieldMask | Geometry::NormalsFieldMask);
    ASSERT_TRUE(rig->skin->remapIndices(from.data(), 80, to.data(), true));
    rig->skin->update(true);
    rig->skin->getDeformedVertices(pos, nor);
    for(UInt32 i = 0; i < 80; ++i)
        EXPECT_EQ(pos[i], before[from[i]]) << i;
}
