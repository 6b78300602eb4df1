// Thread-count independence and the once-per-change update.
#include "SkinTestSupport.h"

#include <OpenSGExt/Skinning/detail/skSkinKernels.h>

#include <tbb/global_control.h>
#include <tbb/task_arena.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>

using namespace osg;
using namespace skintest;

namespace {

struct Output
{
    std::vector<Vec4i> idx;
    std::vector<Vec4f> w;
    std::vector<float> pos, nor;
};

// Influences and deformation of one rig in an arena of the given size, at a small grain so
// that the work really is split.
Output runIn(int threads, const Rig &rig, UInt32 vertices)
{
    Output out;
    tbb::task_arena arena(threads);
    arena.execute([&]
    {
        std::vector<skskin::JointWeights> lists;
        for(const DeformerClusterPtr &c : rig.clusters)
            lists.push_back(skskin::JointWeights{ &c->getWeights()[0], c->getWeights().size() });
        out.idx.resize(vertices);
        out.w.resize(vertices);
        EXPECT_TRUE(skskin::computeInfluences(lists.data(), lists.size(), vertices, out.idx.data(),
                                              out.w.data(), nullptr, nullptr));
        std::vector<Matrix> mats;
        for(UInt32 j = 0; j < rig.clusters.size(); ++j)
            mats.push_back(toOsg(referenceDeformer(rig, j)));
        const MFPnt3f &p = GeoPositions3fPtr::dcast(rig.geo->getPositions())->getField();
        const MFVec3f &n = GeoNormals3fPtr::dcast(rig.geo->getNormals())->getField();
        out.pos.resize(3 * vertices);
        out.nor.resize(3 * vertices);
        skskin::DeformJob job;
        job.positions    = p[0].getValues();
        job.normals      = n[0].getValues();
        job.indices      = out.idx.data();
        job.weights      = out.w.data();
        job.matrices     = mats.data();
        job.numMatrices  = mats.size();
        job.numVertices  = vertices;
        job.outPositions = out.pos.data();
        job.outNormals   = out.nor.data();
        job.grain        = 37;
        EXPECT_TRUE(job.run());
    });
    return out;
}

template <class T>
bool sameBytes(const std::vector<T> &a, const std::vector<T> &b)
{
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0;
}

} // namespace

TEST(SkinThreads, OneTwoAndEightThreadsAreBitIdentical)
{
    // Eight threads even on a smaller machine.
    tbb::global_control allow(tbb::global_control::max_allowed_parallelism, 8);
    constexpr UInt32 V = 4000;
    std::unique_ptr<Rig> rig = makeRig(V, 64, 31, false);
    const Output one = runIn(1, *rig, V);
    for(int threads : {2, 8})
    {
        const Output many = runIn(threads, *rig, V);
        EXPECT_TRUE(sameBytes(one.idx, many.idx)) << threads;
        EXPECT_TRUE(sameBytes(one.w, many.w)) << threads;
        EXPECT_TRUE(sameBytes(one.pos, many.pos)) << threads;
        EXPECT_TRUE(sameBytes(one.nor, many.nor)) << threads;
    }
    // Every range split gives the same bytes as one straight pass on this thread.
    Output straight = one;
    skskin::DeformJob job;
    std::vector<Matrix> mats;
    for(UInt32 j = 0; j < 64; ++j)
        mats.push_back(toOsg(referenceDeformer(*rig, j)));
    job.positions    = GeoPositions3fPtr::dcast(rig->geo->getPositions())->getField()[0].getValues();
    job.normals      = GeoNormals3fPtr::dcast(rig->geo->getNormals())->getField()[0].getValues();
    job.indices      = one.idx.data();
    job.weights      = one.w.data();
    job.matrices     = mats.data();
    job.numMatrices  = 64;
    job.numVertices  = V;
    job.outPositions = straight.pos.data();
    job.outNormals   = straight.nor.data();
    job.runRange(0, V);
    EXPECT_TRUE(sameBytes(one.pos, straight.pos));
    EXPECT_TRUE(sameBytes(one.nor, straight.nor));
}

TEST(SkinThreads, SkinOutputIndependentOfArenaSize)
{
    tbb::global_control allow(tbb::global_control::max_allowed_parallelism, 8);
    std::vector<float> first;
    for(int threads : {1, 2, 8})
    {
        std::unique_ptr<Rig> rig = makeRig(5000, 64, 33);
        tbb::task_arena arena(threads);
        std::vector<float> got;
        arena.execute([&]
        {
            rig->skin->update(true);
            const Pnt3f *pos = nullptr;
            const Vec3f *nor = nullptr;
            rig->skin->getDeformedVertices(pos, nor);
            ASSERT_NE(pos, nullptr);
            got.assign(pos[0].getValues(), pos[0].getValues() + 3 * 5000);
            got.insert(got.end(), nor[0].getValues(), nor[0].getValues() + 3 * 5000);
        });
        if(first.empty())
            first = got;
        else
            EXPECT_TRUE(sameBytes(first, got)) << threads;
    }
}

TEST(SkinThreads, ConcurrentUpdatesDoTheWorkOnce)
{
    std::unique_ptr<Rig> rig = makeRig(500, 8, 35);
    skSceneData *scene = skSceneDataManager::getSceneData();
    ASSERT_TRUE(rig->skin->update(true));
    std::mt19937 rng(36);
    for(int round = 0; round < 5; ++round)
    {
        // A scene change that moves a joint: of eight concurrent update(false), one works.
        setMatrix(rig->jointCores[round % 8], toOsg(randomAffine(rng)));
        scene->advanceChangeStamp();
        std::atomic<int> worked(0), go(0);
        std::vector<std::thread> threads;
        for(int t = 0; t < 8; ++t)
            threads.emplace_back([&]
            {
                while(go.load() == 0)
                    std::this_thread::yield();
                if(rig->skin->update(false))
                    worked.fetch_add(1);
                const Pnt3f *pos = nullptr;
                const Vec3f *nor = nullptr;
                rig->skin->getDeformedVertices(pos, nor);
            });
        go.store(1);
        for(std::thread &t : threads)
            t.join();
        EXPECT_EQ(worked.load(), 1) << "round " << round;
        // Without a further change, nothing to do.
        EXPECT_FALSE(rig->skin->update(false));
    }
}

TEST(SkinThreads, UpdateAllDeformersUpdatesEverySkin)
{
    std::unique_ptr<Rig> a = makeRig(300, 6, 41);
    std::unique_ptr<Rig> b = makeRig(300, 6, 42);
    std::vector<SkinAttachmentPtr> registered = SkinAttachment::getDeformers();
    EXPECT_NE(std::find(registered.begin(), registered.end(), a->skin), registered.end());
    EXPECT_NE(std::find(registered.begin(), registered.end(), b->skin), registered.end());

    skSceneDataManager::getSceneData()->advanceChangeStamp();
    EXPECT_TRUE(SkinAttachment::updateAllDeformers(false));
    EXPECT_TRUE(a->skin->getDeformerMatricesDirty());
    EXPECT_TRUE(b->skin->getDeformerMatricesDirty());
    EXPECT_FALSE(SkinAttachment::updateAllDeformers(false));

    std::vector<Matrix> m;
    a->skin->getDeformerMatrices(m);
    ASSERT_EQ(m.size(), 6u);
    for(UInt32 j = 0; j < 6; ++j)
        EXPECT_TRUE(m[j].equals(toOsg(referenceDeformer(*a, j)), 1e-4f)) << j;

    // A destroyed skin leaves the registry.
    SkinAttachmentPtr skin = b->skin;
    beginEditCP(b->geo, Geometry::AttachmentsFieldMask);
    b->geo->subAttachment(skin);
    endEditCP(b->geo, Geometry::AttachmentsFieldMask);
    registered = SkinAttachment::getDeformers();
    EXPECT_EQ(std::find(registered.begin(), registered.end(), skin), registered.end());
}
