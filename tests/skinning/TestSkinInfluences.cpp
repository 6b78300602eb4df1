// Influence selection: the plain kernel and the skin's fields, edge cases and bad input.
#include "SkinTestSupport.h"

#include <OpenSGExt/Skinning/detail/skSkinKernels.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace osg;
using namespace skintest;

namespace {

struct Result
{
    std::vector<Vec4i> idx;
    std::vector<Vec4f> w;
    skskin::InfluenceReport report;
    bool ok;
    std::string error;
};

Result select(const std::vector<std::vector<IndexWeight>> &joints, std::size_t vertices)
{
    std::vector<skskin::JointWeights> lists(joints.size());
    for(std::size_t j = 0; j < joints.size(); ++j)
        lists[j] = skskin::JointWeights{ joints[j].data(), joints[j].size() };
    Result r;
    r.idx.assign(vertices, Vec4i(-7, -7, -7, -7));
    r.w.assign(vertices, Vec4f(-7, -7, -7, -7));
    r.ok = skskin::computeInfluences(lists.data(), lists.size(), vertices, r.idx.data(), r.w.data(),
                                     &r.report, &r.error);
    return r;
}

const float NaN = std::numeric_limits<float>::quiet_NaN();

} // namespace

TEST(SkinInfluences, KeepsTheFourHeaviestRenormalised)
{
    // Vertex 0 is listed by six joints with weights 1..6 (joint j has weight j + 1).
    std::vector<std::vector<IndexWeight>> joints(6);
    for(UInt32 j = 0; j < 6; ++j)
        joints[j].push_back(IndexWeight(0, Real32(j + 1)));
    Result r = select(joints, 1);
    ASSERT_TRUE(r.ok) << r.error;
    EXPECT_EQ(r.idx[0], Vec4i(5, 4, 3, 2));
    const float sum = 6 + 5 + 4 + 3;
    EXPECT_FLOAT_EQ(r.w[0][0], 6 / sum);
    EXPECT_FLOAT_EQ(r.w[0][3], 3 / sum);
    EXPECT_NEAR(r.w[0][0] + r.w[0][1] + r.w[0][2] + r.w[0][3], 1.f, 1e-6f);
    EXPECT_EQ(r.report.overBudget, 1u);
    EXPECT_EQ(r.report.maxListed, 6u);
}

TEST(SkinInfluences, TiesGoToTheLowerJointAndFewerThanFourPad)
{
    // Five equal weights on vertex 1: joints 0..3 win over joint 4, whatever the list order.
    std::vector<std::vector<IndexWeight>> joints(5);
    for(UInt32 j = 0; j < 5; ++j)
        joints[4 - j].push_back(IndexWeight(1, 0.5f));
    // Vertex 0: two joints, padded with (0, 0).
    joints[3].push_back(IndexWeight(0, 0.25f));
    joints[1].push_back(IndexWeight(0, 0.75f));
    Result r = select(joints, 2);
    ASSERT_TRUE(r.ok);
    EXPECT_EQ(r.idx[1], Vec4i(0, 1, 2, 3));
    EXPECT_EQ(r.w[1], Vec4f(0.25f, 0.25f, 0.25f, 0.25f));
    EXPECT_EQ(r.idx[0], Vec4i(1, 3, 0, 0));
    EXPECT_EQ(r.w[0], Vec4f(0.75f, 0.25f, 0.f, 0.f));
}

TEST(SkinInfluences, ZeroSumNanAndNone)
{
    std::vector<std::vector<IndexWeight>> joints(3);
    // Vertex 0: weights 0 and 0 stay unnormalised.
    joints[0].push_back(IndexWeight(0, 0.f));
    joints[2].push_back(IndexWeight(0, 0.f));
    // Vertex 1: +0.5 and -0.5 sum to zero: kept as they are.
    joints[1].push_back(IndexWeight(1, 0.5f));
    joints[2].push_back(IndexWeight(1, -0.5f));
    // Vertex 2: a NaN weight sorts last and makes the sum NaN, which still divides.
    joints[0].push_back(IndexWeight(2, NaN));
    joints[1].push_back(IndexWeight(2, 0.5f));
    // Vertex 3: nobody lists it.
    Result r = select(joints, 4);
    ASSERT_TRUE(r.ok);
    EXPECT_EQ(r.idx[0], Vec4i(0, 2, 0, 0));
    EXPECT_EQ(r.w[0], Vec4f(0, 0, 0, 0));
    EXPECT_EQ(r.idx[1], Vec4i(1, 2, 0, 0));
    EXPECT_EQ(r.w[1], Vec4f(0.5f, -0.5f, 0, 0));
    EXPECT_EQ(r.idx[2], Vec4i(1, 0, 0, 0));
    EXPECT_TRUE(std::isnan(r.w[2][0]) && std::isnan(r.w[2][1]));
    EXPECT_EQ(r.w[2][2], 0.f);
    EXPECT_EQ(r.idx[3], Vec4i(0, 0, 0, 0));
    EXPECT_EQ(r.w[3], Vec4f(1, 0, 0, 0));
    EXPECT_EQ(r.report.zeroSum, 2u);
    EXPECT_EQ(r.report.nanSum, 1u);
    EXPECT_EQ(r.report.unweighted, 1u);
    EXPECT_EQ(r.report.negative, 1u);
}

TEST(SkinInfluences, NanOrderIsStrictWeak)
{
    using skskin::influenceBefore;
    EXPECT_TRUE(influenceBefore(5, 1.f, 0, NaN));
    EXPECT_FALSE(influenceBefore(0, NaN, 5, 1.f));
    EXPECT_TRUE(influenceBefore(0, NaN, 1, NaN));
    EXPECT_FALSE(influenceBefore(1, NaN, 1, NaN));
    EXPECT_TRUE(influenceBefore(1, 2.f, 0, 1.f));
    EXPECT_TRUE(influenceBefore(0, 1.f, 1, 1.f));
    EXPECT_FALSE(influenceBefore(1, 1.f, 1, 1.f));
}

TEST(SkinInfluences, BadIndicesChangeNothing)
{
    std::vector<std::vector<IndexWeight>> joints(2);
    joints[0].push_back(IndexWeight(0, 1.f));
    joints[1].push_back(IndexWeight(3, 1.f));   // only vertices 0..2 exist
    Result r = select(joints, 3);
    EXPECT_FALSE(r.ok);
    EXPECT_NE(r.error.find("joint 1 entry 0 names vertex 3 of 3"), std::string::npos) << r.error;
    EXPECT_EQ(r.idx[0], Vec4i(-7, -7, -7, -7));
    EXPECT_EQ(r.w[0], Vec4f(-7, -7, -7, -7));

    // Through the skin: the fields keep their previous contents and a message is logged.
    std::unique_ptr<Rig> rig = makeRig(10, 3, 21);
    ASSERT_TRUE(rig->skin->updateIndicesAndWeights());
    const std::vector<Vec4i> before(rig->skin->getJointIndices().begin(),
                                    rig->skin->getJointIndices().end());
    beginEditCP(rig->clusters[1], DeformerCluster::WeightsFieldMask);
    rig->clusters[1]->editMFWeights()->push_back(IndexWeight(10, 0.5f));
    endEditCP(rig->clusters[1], DeformerCluster::WeightsFieldMask);
    EXPECT_FALSE(rig->skin->updateIndicesAndWeights());
    EXPECT_TRUE(std::equal(before.begin(), before.end(), rig->skin->getJointIndices().begin()));

    // A null joint is refused the same way.
    beginEditCP(rig->clusters[1], DeformerCluster::WeightsFieldMask);
    rig->clusters[1]->editMFWeights()->pop_back();
    endEditCP(rig->clusters[1], DeformerCluster::WeightsFieldMask);
    beginEditCP(rig->skin, SkinAttachment::JointsFieldMask);
    rig->skin->editMFJoints()->push_back(NullFC);
    endEditCP(rig->skin, SkinAttachment::JointsFieldMask);
    EXPECT_FALSE(rig->skin->updateIndicesAndWeights());
    EXPECT_TRUE(std::equal(before.begin(), before.end(), rig->skin->getJointIndices().begin()));
    EXPECT_FALSE(rig->skin->addJoint(NullFC));
}

TEST(SkinInfluences, ClusterEditsMakeTheSkinReselect)
{
    std::unique_ptr<Rig> rig = makeRig(8, 2, 23);
    beginEditCP(rig->clusters[0], DeformerCluster::WeightsFieldMask);
    rig->clusters[0]->editMFWeights()->clear();
    endEditCP(rig->clusters[0], DeformerCluster::WeightsFieldMask);
    beginEditCP(rig->clusters[1], DeformerCluster::WeightsFieldMask);
    rig->clusters[1]->editMFWeights()->clear();
    rig->clusters[1]->editMFWeights()->push_back(IndexWeight(3, 1.f));
    endEditCP(rig->clusters[1], DeformerCluster::WeightsFieldMask);
    ASSERT_TRUE(rig->skin->update(true));
    EXPECT_EQ(rig->skin->getJointIndices(3), Vec4i(1, 0, 0, 0));

    // Registry: the cluster knows its skin; editing it marks the skin stale, and the next
    // update(false) after a scene change reselects.
    std::set<SkinAttachmentPtr> targets = SkinAttachment::getInfluencerTargets(rig->clusters[1]);
    ASSERT_EQ(targets.size(), 1u);
    EXPECT_EQ(*targets.begin(), rig->skin);
    beginEditCP(rig->clusters[1], DeformerCluster::WeightsFieldMask);
    rig->clusters[1]->editWeights(0).setIndex(4);
    endEditCP(rig->clusters[1], DeformerCluster::WeightsFieldMask);
    skSceneDataManager::getSceneData()->advanceChangeStamp();
    rig->skin->update(false);
    EXPECT_EQ(rig->skin->getJointIndices(3), Vec4i(0, 0, 0, 0));
    EXPECT_EQ(rig->skin->getJointIndices(4), Vec4i(1, 0, 0, 0));
}
