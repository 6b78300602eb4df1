// The host's scene data: root ownership, frame rate, and the change stamp under two threads.

#include <platform/skSceneData.h>

#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGLog.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <limits>
#include <thread>
#include <vector>

using namespace osg;

namespace {

TEST(SceneData, RootIsReferencedWhileSet)
{
    skSceneData data;
    NodePtr a = Node::create();
    NodePtr b = Node::create();
    const UInt32 idA = a.getFieldContainerId();

    data.setRoot(a);
    EXPECT_EQ(data.getRoot(), a);
    EXPECT_EQ(getRefCount(a), 1);
    data.setRoot(a);
    EXPECT_EQ(getRefCount(a), 1) << "setting the same root again takes no second reference";

    addRefCP(b);
    data.setRoot(b);
    // The old root had no other owner, so giving its reference back destroyed it.
    EXPECT_EQ(FieldContainerFactory::the()->getContainer(idA), NullFC);
    EXPECT_EQ(getRefCount(b), 2);

    data.setRoot(NullFC);
    EXPECT_EQ(data.getRoot(), NullFC);
    EXPECT_EQ(getRefCount(b), 1);
    subRefCP(b);
}

TEST(SceneData, FrameRateRejectsNonsense)
{
    skSceneData data;
    EXPECT_EQ(data.getFrameRate(), 0.f);
    data.setFrameRate(59.94f);
    EXPECT_FLOAT_EQ(data.getFrameRate(), 59.94f);

    LogCapture log;
    data.setFrameRate(-1.f);
    data.setFrameRate(std::numeric_limits<Real32>::quiet_NaN());
    data.setFrameRate(std::numeric_limits<Real32>::infinity());
    EXPECT_FLOAT_EQ(data.getFrameRate(), 59.94f);
    EXPECT_EQ(log.count(), 3u);
}

TEST(SceneData, StampAdvancesAndExchanges)
{
    skSceneData data;
    EXPECT_EQ(data.getChangeStamp(), 0u);
    EXPECT_EQ(data.advanceChangeStamp(), 1u);
    EXPECT_EQ(data.advanceChangeStamp(), 2u);

    UInt64 expected = 1;
    EXPECT_FALSE(data.compareExchangeChangeStamp(expected, 10));
    EXPECT_EQ(expected, 2u) << "a failed exchange reports the current stamp";
    EXPECT_TRUE(data.compareExchangeChangeStamp(expected, 10));
    EXPECT_EQ(data.getChangeStamp(), 10u);

    std::atomic<UInt64> seen(0);
    EXPECT_TRUE(data.claimChange(seen));
    EXPECT_EQ(seen.load(), 10u);
    EXPECT_FALSE(data.claimChange(seen)) << "one change is processed once";

    // A consumer that is ahead (set by someone else) is not moved back.
    seen = 12;
    EXPECT_FALSE(data.claimChange(seen));
    EXPECT_EQ(seen.load(), 12u);
}

TEST(SceneData, StampAdvancedFromTwoThreadsLosesNothing)
{
    skSceneData data;
    const UInt32 perThread = 100000;
    std::vector<UInt64> got[2];
    auto run = [&](std::vector<UInt64> &out) {
        out.reserve(perThread);
        for(UInt32 i = 0; i < perThread; ++i)
            out.push_back(data.advanceChangeStamp());
    };
    std::thread t0(run, std::ref(got[0]));
    std::thread t1(run, std::ref(got[1]));
    t0.join();
    t1.join();

    EXPECT_EQ(data.getChangeStamp(), UInt64(2 * perThread));
    std::vector<UInt64> all(got[0]);
    all.insert(all.end(), got[1].begin(), got[1].end());
    std::sort(all.begin(), all.end());
    // Every value from 1 to 2n handed out exactly once.
    for(size_t i = 0; i < all.size(); ++i)
        ASSERT_EQ(all[i], UInt64(i + 1));
}

TEST(SceneData, EachChangeIsClaimedByOneOfTwoThreads)
{
    skSceneData         data;
    std::atomic<UInt64> seen(0);
    const UInt32        rounds = 2000;
    std::atomic<UInt32> round(0);
    std::atomic<UInt32> arrived(0);
    std::atomic<UInt32> claims[2] = {{0}, {0}};
    std::atomic<UInt32> claimedRounds(0);

    // Both workers wait for the same round, then race for its one change.
    auto worker = [&](int who) {
        for(UInt32 r = 1; r <= rounds; ++r)
        {
            while(round.load() < r)
                std::this_thread::yield();
            if(data.claimChange(seen))
            {
                claims[who].fetch_add(1);
                claimedRounds.fetch_add(1);
            }
            arrived.fetch_add(1);
        }
    };
    std::thread a(worker, 0), b(worker, 1);
    for(UInt32 r = 1; r <= rounds; ++r)
    {
        data.advanceChangeStamp();
        round.store(r);
        while(arrived.load() < 2 * r)
            std::this_thread::yield();
        EXPECT_EQ(claimedRounds.load(), r) << "round " << r << " not claimed exactly once";
    }
    a.join();
    b.join();
    EXPECT_EQ(claims[0].load() + claims[1].load(), rounds);
    EXPECT_EQ(seen.load(), UInt64(rounds));
}

} // namespace
