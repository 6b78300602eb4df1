// The containers' heap: blocks are aligned, disjoint and intact however sizes and frees mix;
// freed pages serve other sizes; empty segments go back to the system; threads may share it.
// Every block is filled with its own byte and checked before it is freed, so a block handed
// out twice or overlapping another shows up as a wrong byte.

#include <OpenSG/FieldContainer/detail/ContainerHeap.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGRefPtr.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

using namespace osg;
using detail::ContainerHeap;

namespace
{

struct Block
{
    unsigned char *at;
    size_t bytes;
    unsigned char fill;
};

Block take(size_t bytes, unsigned char fill)
{
    Block b{static_cast<unsigned char *>(ContainerHeap::allocate(bytes)), bytes, fill};
    EXPECT_EQ(reinterpret_cast<uintptr_t>(b.at) % ContainerHeap::LineBytes, 0u) << bytes;
    std::memset(b.at, fill, bytes);
    return b;
}

// True when the block still holds only its own byte.
bool intact(const Block &b)
{
    return std::all_of(b.at, b.at + b.bytes, [&b](unsigned char c) { return c == b.fill; });
}

void giveBack(std::vector<Block> &blocks, std::mt19937 &rng)
{
    std::shuffle(blocks.begin(), blocks.end(), rng);
    for(const Block &b : blocks)
    {
        ASSERT_TRUE(intact(b)) << b.bytes << " bytes";
        ContainerHeap::release(b.at);
    }
    blocks.clear();
}

size_t randomSize(std::mt19937 &rng)
{
    switch(rng() % 4)
    {
    case 0:
        return 1 + rng() % 64;
    case 1:
        return 200 + rng() % 700;
    case 2:
        return 1 + rng() % ContainerHeap::LargestBlock;
    default:
        return ContainerHeap::LargestBlock - 8 + rng() % 64; // both sides of the limit
    }
}

} // namespace

TEST(ContainerHeap, MixedSizesStayDisjointAndAllComesBack)
{
    const ContainerHeap::Stats before = ContainerHeap::stats();
    std::mt19937 rng(11);
    std::vector<Block> blocks;
    for(int round = 0; round < 3; ++round)
    {
        for(int i = 0; i < 20000; ++i)
            blocks.push_back(take(randomSize(rng), static_cast<unsigned char>(rng())));
        // Free half, refill the holes with other sizes, then free everything.
        std::shuffle(blocks.begin(), blocks.end(), rng);
        std::vector<Block> half(blocks.begin() + blocks.size() / 2, blocks.end());
        blocks.resize(blocks.size() / 2);
        giveBack(half, rng);
        for(int i = 0; i < 10000; ++i)
            blocks.push_back(take(randomSize(rng), static_cast<unsigned char>(rng())));
        giveBack(blocks, rng);
    }
    ContainerHeap::release(nullptr);
    const ContainerHeap::Stats after = ContainerHeap::stats();
    EXPECT_EQ(after.liveBlocks, before.liveBlocks);
    EXPECT_EQ(after.largeBlocks, before.largeBlocks);
    EXPECT_EQ(after.usedPages, before.usedPages);
    EXPECT_LE(after.segments, before.segments + ContainerHeap::KeptEmpty)
        << "empty segments stay mapped";
}

TEST(ContainerHeap, FreedPagesServeOtherSizes)
{
    std::mt19937 rng(5);
    std::vector<Block> blocks;
    for(int i = 0; i < 40000; ++i) // about 2.5 MB of the smallest class
        blocks.push_back(take(48, 0x5A));
    const size_t peak = ContainerHeap::stats().segments;
    giveBack(blocks, rng);
    for(int i = 0; i < 2400; ++i) // the same bytes in blocks of 1 KB
        blocks.push_back(take(1024, 0xA5));
    EXPECT_LE(ContainerHeap::stats().segments, peak);
    giveBack(blocks, rng);
}

TEST(ContainerHeap, ThreadsShareIt)
{
    const ContainerHeap::Stats before = ContainerHeap::stats();
    std::vector<std::thread> threads;
    for(unsigned t = 0; t < 4; ++t)
    {
        threads.emplace_back(
            [t]
            {
                std::mt19937 rng(100 + t);
                std::vector<Block> blocks;
                for(int i = 0; i < 20000; ++i)
                {
                    blocks.push_back(take(randomSize(rng), static_cast<unsigned char>(t * 50 + i)));
                    if(rng() % 3 == 0)
                    {
                        std::swap(blocks[rng() % blocks.size()], blocks.back());
                        EXPECT_TRUE(intact(blocks.back()));
                        ContainerHeap::release(blocks.back().at);
                        blocks.pop_back();
                    }
                }
                giveBack(blocks, rng);
            });
    }
    for(std::thread &t : threads)
        t.join();
    EXPECT_EQ(ContainerHeap::stats().liveBlocks, before.liveBlocks);
}

TEST(ContainerHeap, ContainersLiveThere)
{
#ifdef SKOSG_HEAP_ASAN
    GTEST_SKIP() << "under AddressSanitizer containers use its heap";
#else
    RefPtr<NodePtr> first(Node::create()); // the type's prototype may come with the first one
    const size_t before = ContainerHeap::stats().liveBlocks;
    NodePtr node = Node::create();
    EXPECT_EQ(ContainerHeap::stats().liveBlocks, before + 1);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(node.getCPtr()) % ContainerHeap::LineBytes, 0u);
    addRefCP(node);
    subRefCP(node);
    EXPECT_EQ(ContainerHeap::stats().liveBlocks, before);
#endif
}
