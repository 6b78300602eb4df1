// IndexWeight as a value and a field type, and the cluster's matrices.
#include <OpenSG/OSGRefPtr.h>
#include "SkinTestSupport.h"

#include <OpenSGExt/OSGIndexWeightFields.h>
#include <OpenSGExt/OSGDeformerAttachment.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

using namespace osg;
using namespace skintest;

TEST(IndexWeight, EqualityAndOrder)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(IndexWeight(3, 0.5f), IndexWeight(3, 0.5f));
    EXPECT_NE(IndexWeight(3, 0.5f), IndexWeight(4, 0.5f));
    EXPECT_NE(IndexWeight(3, nan), IndexWeight(3, nan));
    EXPECT_TRUE(IndexWeight(3, 0.9f) < IndexWeight(4, 0.1f));
    EXPECT_TRUE(IndexWeight(3, 0.1f) < IndexWeight(3, 0.9f));
    EXPECT_FALSE(IndexWeight(3, 0.9f) < IndexWeight(3, 0.1f));
    // NaN after numbers of the same index; equivalent among themselves.
    EXPECT_TRUE(IndexWeight(3, 1e30f) < IndexWeight(3, nan));
    EXPECT_FALSE(IndexWeight(3, nan) < IndexWeight(3, nan));
    std::vector<IndexWeight> v{IndexWeight(2, nan), IndexWeight(2, 1.f), IndexWeight(1, 5.f),
                               IndexWeight(2, -1.f)};
    std::sort(v.begin(), v.end());
    EXPECT_EQ(v[0], IndexWeight(1, 5.f));
    EXPECT_EQ(v[1], IndexWeight(2, -1.f));
    EXPECT_EQ(v[2], IndexWeight(2, 1.f));
    EXPECT_TRUE(std::isnan(v[3].getWeight()));

    IndexWeight iw(1, 2.f);
    iw.setIndex(7);
    iw.setWeight(0.5f);
    EXPECT_EQ(iw.getIndex(), 7u);
    EXPECT_EQ(iw.getWeight(), 0.5f);
}

TEST(IndexWeight, BinaryFormIsIndexThenWeightBigEndian)
{
    MFIndexWeight f;
    f.push_back(IndexWeight(0x01020304u, 1.f));
    f.push_back(IndexWeight(5u, -2.5f));
    EXPECT_EQ(f.getBinSize(), 4u + 16u);
    MemoryBinaryDataHandler out;
    f.copyToBin(out);
    // count 2; 0x01020304, 1.0f = 0x3F800000; 5, -2.5f = 0xC0200000
    const std::vector<UInt8> golden{0, 0, 0, 2, 1, 2, 3, 4, 0x3F, 0x80, 0, 0,
                                    0, 0, 0, 5, 0xC0, 0x20, 0, 0};
    ASSERT_EQ(out.getBuffer().size(), golden.size());
    EXPECT_TRUE(std::equal(golden.begin(), golden.end(), out.getBuffer().begin()));

    MFIndexWeight back;
    MemoryBinaryDataHandler in(golden.data(), golden.size());
    back.copyFromBin(in);
    EXPECT_FALSE(in.isFailed());
    EXPECT_EQ(back.getValues(), f.getValues());

    // A truncated element fails the read and leaves the field empty.
    MFIndexWeight cut;
    MemoryBinaryDataHandler short_(golden.data(), golden.size() - 1);
    cut.copyFromBin(short_);
    EXPECT_TRUE(short_.isFailed());
    EXPECT_TRUE(cut.empty());
}

TEST(DeformerCluster, DeformerMatrixMatchesReference)
{
    std::mt19937 rng(61);
    DeformerClusterPtr c = DeformerCluster::create();
    RefPtr<FieldContainerPtr> hold(c);

    // Identity bind poses: D is W.
    const glm::dmat4 W = randomAffine(rng);
    Matrix m = toOsg(W);
    c->getDeformerMatrix(m);
    EXPECT_TRUE(m.equals(toOsg(W), 1e-6f));

    const glm::dmat4 N = randomAffine(rng), G = randomAffine(rng);
    beginEditCP(c, DeformerCluster::NodeBindPoseFieldMask | DeformerCluster::GeoBindPoseFieldMask);
    c->setNodeBindPose(toOsg(N));
    c->setGeoBindPose(toOsg(G));
    endEditCP(c, DeformerCluster::NodeBindPoseFieldMask | DeformerCluster::GeoBindPoseFieldMask);
    const glm::dmat4 Nf = toGlm(toOsg(N)), Gf = toGlm(toOsg(G));
    EXPECT_TRUE(c->getJointSpaceMatrix().equals(toOsg(glm::inverse(Nf) * Gf), 1e-4f));

    m = toOsg(W);
    c->getDeformerMatrix(m);
    const glm::dmat4 D = glm::inverse(Gf) * toGlm(toOsg(W)) * glm::inverse(Nf) * Gf;
    EXPECT_TRUE(m.equals(toOsg(D), 1e-4f)) << m << "\n" << toOsg(D);

    // At rest (W = nodeBindPose) D is the identity.
    m = toOsg(N);
    c->getDeformerMatrix(m);
    EXPECT_TRUE(m.equals(Matrix(), 1e-4f)) << m;

    // Only the bind poses recompute: an edit of the weights leaves J alone, and a singular
    // bind pose gives an identity inverse.
    const Matrix J = c->getJointSpaceMatrix();
    beginEditCP(c, DeformerCluster::WeightsFieldMask);
    c->editMFWeights()->push_back(IndexWeight(0, 1.f));
    endEditCP(c, DeformerCluster::WeightsFieldMask);
    EXPECT_EQ(std::memcmp(J.getValues(), c->getJointSpaceMatrix().getValues(), 64), 0);
    Matrix zero;
    zero.setScale(0.f);
    beginEditCP(c, DeformerCluster::GeoBindPoseFieldMask);
    c->setGeoBindPose(zero);
    endEditCP(c, DeformerCluster::GeoBindPoseFieldMask);
    EXPECT_TRUE(c->getGeoBindPoseInverse().equals(Matrix(), 0.f));
}

TEST(DeformerCluster, NodeAndJointReferences)
{
    NodePtr node = Node::create();
    RefPtr<FieldContainerPtr> holdNode(node);
    const Int32 base = node->getRefCount();
    DeformerClusterPtr c = DeformerCluster::create();
    addRefCP(c);
    c->setNode(node);
    EXPECT_EQ(node->getRefCount(), base + 1);
    EXPECT_EQ(c->getJointNode(), node);
    SkinAttachmentPtr skin = SkinAttachment::create();
    addRefCP(skin);
    skin->addJoint(c);
    EXPECT_EQ(c->getRefCount(), 2);
    EXPECT_EQ(SkinAttachment::getInfluencerTargets(c).size(), 1u);
    subRefCP(skin);   // gives back its joint
    EXPECT_EQ(c->getRefCount(), 1);
    EXPECT_TRUE(SkinAttachment::getInfluencerTargets(c).empty());
    c->setNode(NullFC);
    EXPECT_EQ(node->getRefCount(), base);
    c->setNode(node);
    subRefCP(c);      // gives back the node
    EXPECT_EQ(node->getRefCount(), base);
}

TEST(DeformerAttachment, EnabledByDefaultAndBufferNotCopied)
{
    DeformerAttachmentPtr d = DeformerAttachment::create();
    RefPtr<FieldContainerPtr> hold(d);
    EXPECT_TRUE(d->getEnabled());
    std::shared_ptr<int> buffer = std::make_shared<int>(5);
    d->setBuffer(buffer);
    EXPECT_EQ(d->getBuffer().get(), buffer.get());
    DeformerAttachmentPtr copy = DeformerAttachmentPtr::dcast(d->shallowCopy());
    RefPtr<FieldContainerPtr> holdCopy(copy);
    EXPECT_EQ(copy->getBuffer(), nullptr);
}
