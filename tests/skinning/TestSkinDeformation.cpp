// Skin deformation through SkinAttachment against a double-precision glm reference.
#include <OpenSG/OSGRefPtr.h>
#include "SkinTestSupport.h"

#include <OpenSGExt/skMatrixCache.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace osg;
using namespace skintest;

namespace {

constexpr UInt32 Vertices = 3000;
constexpr UInt32 Joints   = 64;

double relErr(const glm::dvec3 &got, const glm::dvec3 &want)
{
    return glm::length(got - want) / std::max(1.0, glm::length(want));
}

} // namespace

TEST(SkinDeformation, RandomRigMatchesDoubleReference)
{
    for(unsigned seed : {1u, 2u})
    {
        std::unique_ptr<Rig> rig = makeRig(Vertices, Joints, seed);
        ASSERT_TRUE(rig->skin->update(true));
        const Pnt3f *pos = nullptr;
        const Vec3f *nor = nullptr;
        rig->skin->getDeformedVertices(pos, nor);
        ASSERT_NE(pos, nullptr);
        ASSERT_NE(nor, nullptr);

        std::vector<glm::dmat4> D(Joints);
        for(UInt32 j = 0; j < Joints; ++j)
            D[j] = referenceDeformer(*rig, j);
        const std::vector<Influences> inf = referenceInfluences(*rig, Vertices);
        const MFPnt3f &bindPos = GeoPositions3fPtr::dcast(rig->geo->getPositions())->getField();
        const MFVec3f &bindNor = GeoNormals3fPtr::dcast(rig->geo->getNormals())->getField();

        int normalsChecked = 0;
        for(UInt32 v = 0; v < Vertices; ++v)
        {
            glm::dmat4 M(0.0);
            for(int k = 0; k < 4; ++k)
                M += inf[v].weight[k] * D[inf[v].joint[k]];
            glm::dvec4 p = M * glm::dvec4(bindPos[v][0], bindPos[v][1], bindPos[v][2], 1.0);
            ASSERT_LT(relErr(glm::dvec3(pos[v][0], pos[v][1], pos[v][2]), glm::dvec3(p)), 1e-5)
                << "vertex " << v;
            if(std::fabs(glm::determinant(M)) < 0.01)
                continue;
            glm::dvec4 n = glm::transpose(glm::inverse(M)) *
                           glm::dvec4(bindNor[v][0], bindNor[v][1], bindNor[v][2], 0.0);
            ASSERT_LT(relErr(glm::dvec3(nor[v][0], nor[v][1], nor[v][2]), glm::dvec3(n)), 1e-5)
                << "normal " << v;
            ++normalsChecked;
        }
        EXPECT_GT(normalsChecked, int(Vertices) / 2);

        // The stored fields agree with the plain selection.
        for(UInt32 v = 0; v < Vertices; ++v)
            for(int k = 0; k < 4; ++k)
            {
                ASSERT_EQ(rig->skin->getJointIndices(v)[k], inf[v].joint[k]) << v;
                ASSERT_NEAR(rig->skin->getSkinWeights(v)[k], inf[v].weight[k], 1e-6) << v;
            }
    }
}

TEST(SkinDeformation, MatricesFollowTheJointsAndRestPoseIsIdentity)
{
    std::unique_ptr<Rig> rig = makeRig(50, 4, 7);
    // Bind both poses to the current pose: every deformer matrix is the identity (up to the
    // rounding of the inverses), so the skin reproduces its bind positions.
    for(UInt32 j = 0; j < 4; ++j)
    {
        beginEditCP(rig->clusters[j]);
        rig->clusters[j]->setNodeBindPose(toOsg(rig->world[j]));
        endEditCP(rig->clusters[j]);
    }
    ASSERT_TRUE(rig->skin->update(true));
    std::vector<Matrix> m;
    rig->skin->getDeformerMatrices(m);
    ASSERT_EQ(m.size(), 4u);
    for(const Matrix &d : m)
        EXPECT_TRUE(d.equals(Matrix(), 1e-4f)) << d;

    // An inactive joint node keeps the identity exactly; a joint without node too.
    rig->jointNodes[1]->setActive(false);
    beginEditCP(rig->clusters[2], DeformerCluster::NodeFieldMask);
    rig->clusters[2]->setNode(NullFC);
    endEditCP(rig->clusters[2], DeformerCluster::NodeFieldMask);
    std::mt19937 rng(3);
    setMatrix(rig->jointCores[1], toOsg(randomAffine(rng)));
    rig->skin->update(true);
    rig->skin->getDeformerMatrices(m);
    EXPECT_EQ(std::memcmp(m[1].getValues(), Matrix().getValues(), 64), 0);
    EXPECT_EQ(std::memcmp(m[2].getValues(), Matrix().getValues(), 64), 0);
}

TEST(SkinDeformation, MatrixChangesAreDetectedExactly)
{
    std::unique_ptr<Rig> rig = makeRig(20, 2, 9);
    // Identity bind poses: D is the joint's world matrix itself, so one ulp of W shows in D.
    beginEditCP(rig->clusters[0]);
    rig->clusters[0]->setNodeBindPose(Matrix());
    rig->clusters[0]->setGeoBindPose(Matrix());
    endEditCP(rig->clusters[0]);
    ASSERT_TRUE(rig->skin->update(true));
    EXPECT_TRUE(rig->skin->getDeformerMatricesDirty());
    const Pnt3f *pos = nullptr;
    const Vec3f *nor = nullptr;
    rig->skin->getDeformedVertices(pos, nor);
    EXPECT_FALSE(rig->skin->getDeformerMatricesDirty());
    // Same scene: nothing changed.
    EXPECT_FALSE(rig->skin->update(true));
    // A change far below Matrix::operator=='s tolerance still counts.
    Matrix w = toOsg(rig->world[0]);
    w[3][0] = std::nextafter(w[3][0], 1e9f);
    ASSERT_TRUE(w == toOsg(rig->world[0]));   // within the tolerance of operator==
    setMatrix(rig->jointCores[0], w);
    EXPECT_TRUE(rig->skin->update(true));
    EXPECT_TRUE(rig->skin->getDeformerMatricesDirty());
}

TEST(SkinDeformation, VolumeHoldsEveryDeformedPosition)
{
    std::unique_ptr<Rig> rig = makeRig(2000, 16, 11);
    // A few vertices with a negative weight (not a convex blend) and one with a zero sum.
    beginEditCP(rig->clusters[3], DeformerCluster::WeightsFieldMask);
    rig->clusters[3]->editMFWeights()->push_back(IndexWeight(5, -0.75f));
    rig->clusters[3]->editMFWeights()->push_back(IndexWeight(6, 2.f));
    endEditCP(rig->clusters[3], DeformerCluster::WeightsFieldMask);
    rig->skin->update(true);
    const Pnt3f *pos = nullptr;
    const Vec3f *nor = nullptr;
    rig->skin->getDeformedVertices(pos, nor);
    ASSERT_NE(pos, nullptr);

    BoxVolume box = rig->skin->getJointVolume();
    ASSERT_FALSE(box.isEmpty());
    BoxVolume recomputed;
    skMatrixCache cache;
    rig->skin->updateJointVolumes(recomputed, &cache);
    Pnt3f lo, hi, lo2, hi2;
    box.getBounds(lo, hi);
    recomputed.getBounds(lo2, hi2);
    EXPECT_EQ(lo, lo2);
    EXPECT_EQ(hi, hi2);

    Pnt3f tightLo(1e30f, 1e30f, 1e30f), tightHi(-1e30f, -1e30f, -1e30f);
    for(UInt32 v = 0; v < 2000; ++v)
    {
        EXPECT_TRUE(box.intersect(pos[v])) << "vertex " << v << " at " << pos[v];
        for(int i = 0; i < 3; ++i)
        {
            tightLo[i] = std::min(tightLo[i], pos[v][i]);
            tightHi[i] = std::max(tightHi[i], pos[v][i]);
        }
    }
    // Conservative, but not absurdly so.
    for(int i = 0; i < 3; ++i)
        EXPECT_LT(hi[i] - lo[i], 4.f * (tightHi[i] - tightLo[i]) + 1.f);

    // The geometry's volume comes from the skin.
    DynamicVolume dv;
    SkinAttachment::getVolumeCacheCB(rig->geo, dv);
    Pnt3f glo, ghi;
    dv.getBounds(glo, ghi);
    EXPECT_EQ(glo, lo);
    EXPECT_EQ(ghi, hi);
    EXPECT_TRUE(bool(rig->geo->getVolumeCacheCB()));
}

TEST(SkinDeformation, BadShapesDeformNothing)
{
    std::unique_ptr<Rig> rig = makeRig(30, 3, 13);
    ASSERT_TRUE(rig->skin->update(true));
    const Pnt3f *pos = reinterpret_cast<const Pnt3f *>(0x1);
    const Vec3f *nor = reinterpret_cast<const Vec3f *>(0x1);

    // Normals of another count: the caller's pointers stay as they were.
    beginEditCP(rig->geo, Geometry::NormalsFieldMask);
    rig->geo->setNormals(scenetest::normals({Vec3f(0, 0, 1)}));
    endEditCP(rig->geo, Geometry::NormalsFieldMask);
    rig->skin->getDeformedVertices(pos, nor);
    EXPECT_EQ(pos, reinterpret_cast<const Pnt3f *>(0x1));
    EXPECT_EQ(nor, reinterpret_cast<const Vec3f *>(0x1));

    // Weights shorter than the positions.
    std::unique_ptr<Rig> rig2 = makeRig(30, 3, 14);
    ASSERT_TRUE(rig2->skin->update(true));
    beginEditCP(rig2->skin, SkinAttachment::SkinWeightsFieldMask);
    rig2->skin->editMFSkinWeights()->resize(29);
    endEditCP(rig2->skin, SkinAttachment::SkinWeightsFieldMask);
    rig2->skin->getDeformedVertices(pos, nor);
    EXPECT_EQ(pos, reinterpret_cast<const Pnt3f *>(0x1));

    // A joint index past the joints, written by hand.
    std::unique_ptr<Rig> rig3 = makeRig(30, 3, 15);
    ASSERT_TRUE(rig3->skin->update(true));
    beginEditCP(rig3->skin, SkinAttachment::JointIndicesFieldMask);
    rig3->skin->editJointIndices(4)[2] = 3;
    endEditCP(rig3->skin, SkinAttachment::JointIndicesFieldMask);
    rig3->skin->getDeformedVertices(pos, nor);
    EXPECT_EQ(pos, reinterpret_cast<const Pnt3f *>(0x1));

    // No geometry at all.
    SkinAttachmentPtr lone = SkinAttachment::create();
    RefPtr<FieldContainerPtr> hold(lone);
    lone->getDeformedVertices(pos, nor);
    EXPECT_EQ(pos, reinterpret_cast<const Pnt3f *>(0x1));
    EXPECT_FALSE(lone->updateIndicesAndWeights());
    EXPECT_EQ(lone->getGeometry(), NullFC);
}

TEST(SkinDeformation, HasSkinningAndClearData)
{
    std::unique_ptr<Rig> rig = makeRig(10, 2, 17);
    EXPECT_TRUE(SkinAttachment::hasSkinning(rig->geo));
    EXPECT_FALSE(SkinAttachment::hasSkinning(NullFC));
    GeometryPtr plain = Geometry::create();
    RefPtr<FieldContainerPtr> hold(plain);
    EXPECT_FALSE(SkinAttachment::hasSkinning(plain));
    EXPECT_EQ(rig->skin->getGeometry(), rig->geo);

    ASSERT_TRUE(rig->skin->update(true));
    EXPECT_EQ(rig->skin->getJointIndices().size(), 10u);
    rig->skin->clearData();
    EXPECT_EQ(rig->skin->getJointIndices().size(), 0u);
    EXPECT_EQ(rig->skin->getSkinWeights().size(), 0u);
    std::vector<Matrix> m;
    rig->skin->getDeformerMatrices(m);
    EXPECT_TRUE(m.empty());
    // The next request starts afresh.
    const Pnt3f *pos = nullptr;
    const Vec3f *nor = nullptr;
    rig->skin->getDeformedVertices(pos, nor);
    EXPECT_NE(pos, nullptr);
    EXPECT_EQ(rig->skin->getJointIndices().size(), 10u);
}
