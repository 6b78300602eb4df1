// Animation: verify on 1M shuffled keys against std::sort of the same keys; both handles of 1M
// sorted keys; MFCCPnt encode/decode against memcpy of the same bytes; cloneAnimTree and
// deepCloneAnimTree of a 10k-node tree against the kernel's cloneTree/deepCloneTree of the same
// tree; moveBy on 10k and 100k nodes (linear growth), run after run and from cold caches (as an
// edit between rendered frames meets the tree), beside a plain walk that only reads each node's
// offset in the same trees, to show how much of the growth the memory hierarchy gives (the 10k
// tree stays in cache between runs, the 100k tree does not). Ratios are printed after the table.

#include <OpenSGExt/OSGAnimCurve.h>
#include <OpenSGExt/OSGAnimNode.h>
#include <OpenSGExt/Animation/detail/CurveAlgorithms.h>

#include <OpenSG/OSGBinaryDataHandler.h>
#include <OpenSG/OSGChangeList.h>
#include <OpenSG/OSGNode.h>

#include "support/BenchSupport.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <iomanip>
#include <random>
#include <vector>

using namespace osg;

namespace {

const UInt32 KeyCount = 1000000;

const std::vector<CCPnt> &shuffledKeys(void)
{
    static const std::vector<CCPnt> keys = [] {
        std::vector<CCPnt> k;
        k.reserve(KeyCount);
        std::mt19937 rng(42);
        std::uniform_real_distribution<float> value(-10.f, 10.f);
        for(UInt32 i = 0; i < KeyCount; ++i)
            k.push_back(CCPnt(Pnt2f(Real32(i) * 0.01f, value(rng)), Vec2f(0.f, 0.f),
                              Vec2f(0.f, 0.f), 3, 3));
        std::shuffle(k.begin(), k.end(), rng);
        return k;
    }();
    return keys;
}

const MFCCPnt &sortedField(void)
{
    static const MFCCPnt f = [] {
        MFCCPnt m;
        m.getValues().assign(shuffledKeys().begin(), shuffledKeys().end());
        curve::sortByTime(m.getValues());
        return m;
    }();
    return f;
}

void clearChanges(void)
{
    if(ChangeList *list = Thread::getCurrentChangeList())
        list->clearAll();
}

void BM_Verify_1M(benchmark::State &state)
{
    AnimCurvePtr curve = AnimCurve::create();
    addRefCP(curve);
    for(auto _ : state)
    {
        state.PauseTiming();
        curve->editMFControlPoints()->getValues().assign(shuffledKeys().begin(), shuffledKeys().end());
        state.ResumeTiming();
        curve->verify(true, true, true);
        benchmark::DoNotOptimize(curve->getControlPoints().getValues().data());
    }
    subRefCP(curve);
    state.SetItemsProcessed(int64_t(state.iterations()) * KeyCount);
}

void BM_StdSort_1M(benchmark::State &state)
{
    std::vector<CCPnt> keys;
    for(auto _ : state)
    {
        state.PauseTiming();
        keys.assign(shuffledKeys().begin(), shuffledKeys().end());
        state.ResumeTiming();
        std::sort(keys.begin(), keys.end(),
                  [](const CCPnt &a, const CCPnt &b) { return a.point[0] < b.point[0]; });
        benchmark::DoNotOptimize(keys.data());
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * KeyCount);
}

void BM_Handles_1M(benchmark::State &state)
{
    std::vector<CCPnt> keys(sortedField().begin(), sortedField().end());
    for(auto _ : state)
    {
        curve::recomputeAll(keys);
        benchmark::DoNotOptimize(keys.data());
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * KeyCount);
}

void BM_MFCCPnt_Encode(benchmark::State &state)
{
    const MFCCPnt          &f = sortedField();
    MemoryBinaryDataHandler h;
    h.reserve(f.getBinSize());
    for(auto _ : state)
    {
        h.clear();
        f.copyToBin(h);
        benchmark::DoNotOptimize(h.getBuffer().data());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * f.getBinSize());
}

void BM_MFCCPnt_Decode(benchmark::State &state)
{
    MemoryBinaryDataHandler out;
    sortedField().copyToBin(out);
    const std::vector<UInt8> bytes = out.getBuffer();
    MFCCPnt                  target;
    for(auto _ : state)
    {
        MemoryBinaryDataHandler h(bytes.data(), bytes.size());
        target.copyFromBin(h);
        benchmark::DoNotOptimize(target.getValues().data());
    }
    if(target.size() != KeyCount)
        state.SkipWithError("decoded size differs");
    state.SetBytesProcessed(int64_t(state.iterations()) * bytes.size());
}

void BM_MFCCPnt_Memcpy(benchmark::State &state)
{
    const size_t       size = sortedField().getBinSize();
    std::vector<UInt8> src(size, 1), dst(size);
    for(auto _ : state)
    {
        std::memcpy(dst.data(), src.data(), size);
        benchmark::DoNotOptimize(dst.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * size);
}

// A tree of AnimNodes, four children per node, curves at every node.
AnimNodePtr makeTree(UInt32 count)
{
    std::vector<AnimNodePtr> nodes;
    nodes.reserve(count);
    AnimCurvePtr curve = AnimCurve::create();
    curve->addPointSimple(Pnt2f(0.f, 0.f));
    curve->addPointSimple(Pnt2f(1.f, 1.f));
    for(UInt32 i = 0; i < count; ++i)
    {
        AnimNodePtr n = AnimNode::create();
        n->setCore(i % 2 == 0 ? NodeCorePtr(curve) : NodeCorePtr(AnimCurve::create()));
        if(i > 0)
            nodes[(i - 1) / 4]->addChild(n);
        nodes.push_back(n);
    }
    addRefCP(nodes[0]);
    clearChanges();
    return nodes[0];
}

AnimNodePtr tree10k(void)
{
    static AnimNodePtr t = makeTree(10000);
    return t;
}

template <class CloneF>
void cloneBench(benchmark::State &state, CloneF clone)
{
    AnimNodePtr src = tree10k();
    for(auto _ : state)
    {
        NodePtr copy = clone(src);
        addRefCP(copy);
        state.PauseTiming();
        subRefCP(copy);
        clearChanges();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * 10000);
}

void BM_CloneAnimTree_10k(benchmark::State &s)
{
    cloneBench(s, [](const AnimNodePtr &r) { return NodePtr(cloneAnimTree(r, true)); });
}
void BM_KernelCloneTree_10k(benchmark::State &s)
{
    cloneBench(s, [](const AnimNodePtr &r) { return cloneTree(r); });
}
void BM_DeepCloneAnimTree_10k(benchmark::State &s)
{
    cloneBench(s, [](const AnimNodePtr &r) { return NodePtr(deepCloneAnimTree(r, "")); });
}
void BM_KernelDeepCloneTree_10k(benchmark::State &s)
{
    cloneBench(s, [](const AnimNodePtr &r) { return deepCloneTree(r, std::vector<std::string>()); });
}

void BM_MoveBy(benchmark::State &state)
{
    AnimNodePtr root = makeTree(UInt32(state.range(0)));
    for(auto _ : state)
    {
        root->moveBy(0.5f, 0.f);
        state.PauseTiming();
        clearChanges();
        state.ResumeTiming();
    }
    subRefCP(root);
    clearChanges();
    state.SetItemsProcessed(int64_t(state.iterations()) * state.range(0));
}

// Sweeps a buffer well beyond the last-level cache of one core complex, so that the tree and
// its translations start from memory.
void evictCaches(void)
{
    static std::vector<UInt64> sweep(size_t(256) << 17); // 256 MB
    UInt64                     sum = 0;
    for(UInt64 &v : sweep)
        sum += ++v;
    benchmark::DoNotOptimize(sum);
}

void BM_MoveByCold(benchmark::State &state)
{
    AnimNodePtr root = makeTree(UInt32(state.range(0)));
    for(auto _ : state)
    {
        state.PauseTiming();
        clearChanges();
        evictCaches();
        state.ResumeTiming();
        root->moveBy(0.5f, 0.f);
    }
    subRefCP(root);
    clearChanges();
    state.SetItemsProcessed(int64_t(state.iterations()) * state.range(0));
}

// The least any time edit must do: visit every node once and read its offset.
void BM_ReadWalk(benchmark::State &state)
{
    AnimNodePtr       root = makeTree(UInt32(state.range(0)));
    std::vector<Node *> stack;
    for(auto _ : state)
    {
        Real32 sum = 0.f;
        stack.assign(1, root.getCPtr());
        while(!stack.empty())
        {
            AnimNode *node = static_cast<AnimNode *>(stack.back());
            stack.pop_back();
            sum += node->getOffset()[0];
            for(const NodePtr &child : node->getChildren())
                stack.push_back(child.getCPtr());
        }
        benchmark::DoNotOptimize(sum);
    }
    subRefCP(root);
    clearChanges();
    state.SetItemsProcessed(int64_t(state.iterations()) * state.range(0));
}

BENCHMARK(BM_StdSort_1M)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Verify_1M)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Handles_1M)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MFCCPnt_Memcpy)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_MFCCPnt_Encode)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_MFCCPnt_Decode)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_KernelCloneTree_10k)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CloneAnimTree_10k)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_KernelDeepCloneTree_10k)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DeepCloneAnimTree_10k)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MoveBy)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MoveByCold)->Arg(10000)->Arg(100000)->Iterations(40)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadWalk)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

SKBENCH_REPORT([](std::ostream &os, const skbench::Results &r) {
    os << std::fixed << std::setprecision(2) << "\nAnimation:\n";
    if(r.has("BM_Verify_1M") && r.has("BM_StdSort_1M"))
        os << "  verify(true, true, true) / std::sort, 1M shuffled keys: "
           << r.ratio("BM_Verify_1M", "BM_StdSort_1M") << "x (goal <= 3x)\n";
    auto h = r.itemsPerSecond.find("BM_Handles_1M");
    if(h != r.itemsPerSecond.end())
        os << "  both handles of 1M sorted keys: " << h->second / 1e6
           << " million keys/s (goal >= 5)\n";
    for(const char *op : { "Encode", "Decode" })
    {
        const std::string name = std::string("BM_MFCCPnt_") + op;
        if(r.has(name) && r.has("BM_MFCCPnt_Memcpy"))
            os << "  MFCCPnt " << op << ": " << std::setprecision(1)
               << 100.0 * r.ratio("BM_MFCCPnt_Memcpy", name) << " % of memcpy (goal >= 20 %)\n"
               << std::setprecision(2);
    }
    if(r.has("BM_CloneAnimTree_10k") && r.has("BM_KernelCloneTree_10k"))
        os << "  cloneAnimTree / cloneTree, 10k nodes: "
           << r.ratio("BM_CloneAnimTree_10k", "BM_KernelCloneTree_10k") << "x (goal <= 1.5x)\n";
    if(r.has("BM_DeepCloneAnimTree_10k") && r.has("BM_KernelDeepCloneTree_10k"))
        os << "  deepCloneAnimTree / deepCloneTree, 10k nodes: "
           << r.ratio("BM_DeepCloneAnimTree_10k", "BM_KernelDeepCloneTree_10k")
           << "x (goal <= 1.5x)\n";
    if(r.has("BM_MoveBy/100000") && r.has("BM_MoveBy/10000"))
        os << "  moveBy 100k / 10k nodes: " << r.ratio("BM_MoveBy/100000", "BM_MoveBy/10000")
           << "x (goal <= 12x)\n";
    const char *cold10k = "BM_MoveByCold/10000/iterations:40", *cold100k = "BM_MoveByCold/100000/iterations:40";
    if(r.has(cold100k) && r.has(cold10k))
        os << "  moveBy 100k / 10k nodes, cold caches: " << r.ratio(cold100k, cold10k) << "x (goal <= 12x)\n";
    if(r.has("BM_ReadWalk/100000") && r.has("BM_ReadWalk/10000"))
        os << "  read-only walk 100k / 10k nodes (reference): "
           << r.ratio("BM_ReadWalk/100000", "BM_ReadWalk/10000") << "x\n";
});

SKBENCH_CLEANUP([] {
    subRefCP(tree10k());
    clearChanges();
});

} // namespace
