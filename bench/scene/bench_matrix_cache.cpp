// To-world matrices of every node of a 100k-node tree: Node::getToWorld (one walk to the root per
// node) against skMatrixCache, starting empty each round (every node computed once from its
// cached parent) and already filled (hits only). The cache benchmarks put their speed-up over the uncached walk into their own rows
// ("x_uncached"), so the comparison stands in the usual table.

#include <OpenSGExt/skMatrixCache.h>

#include <OpenSG/OSGChangeList.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGTransform.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <vector>

using namespace osg;

namespace {

const UInt32 NodeCount = 100000;
const UInt32 Branching = 4;

// The nodes in breadth-first order (parents before children): a tree of depth 9, three of four
// nodes a Transform with a small translation, the others a Group. Kept for the whole run.
const std::vector<NodePtr> &tree(void)
{
    static const std::vector<NodePtr> nodes = [] {
        std::vector<NodePtr> n;
        n.reserve(NodeCount);
        for(UInt32 i = 0; i < NodeCount; ++i)
        {
            NodeCorePtr core;
            if(i % 4 == 3)
                core = Group::create();
            else
            {
                TransformPtr t = Transform::create();
                Matrix m;
                m.setTranslate(0.001f * Real32(i % 7), 0.01f, -0.002f * Real32(i % 5));
                t->setMatrix(m);
                core = t;
            }
            NodePtr node = Node::create();
            node->setCore(core);
            if(i == 0)
                addRefCP(node);
            else
                n[(i - 1) / Branching]->addChild(node);
            n.push_back(node);
        }
        Thread::getCurrentChangeList()->clearAll();
        return n;
    }();
    return nodes;
}

// Nanoseconds per query of the last uncached run, for the cached runs' ratio.
double uncachedNsPerQuery = 0.0;

double nsPerQuery(std::chrono::steady_clock::duration elapsed, benchmark::IterationCount n)
{
    return std::chrono::duration<double, std::nano>(elapsed).count() /
           (double(n) * double(NodeCount));
}

void reportRatio(benchmark::State &state, double ns)
{
    if(uncachedNsPerQuery > 0.0 && ns > 0.0)
        state.counters["x_uncached"] = uncachedNsPerQuery / ns;
}

void BM_MatrixCache_Uncached(benchmark::State &state)
{
    const std::vector<NodePtr> &nodes = tree();
    Matrix m;
    const auto start = std::chrono::steady_clock::now();
    for(auto _ : state)
    {
        Real32 sum = 0.f;
        for(const NodePtr &n : nodes)
        {
            n->getToWorld(m);
            sum += m[3][0];
        }
        benchmark::DoNotOptimize(sum);
    }
    uncachedNsPerQuery = nsPerQuery(std::chrono::steady_clock::now() - start, state.iterations());
    state.SetItemsProcessed(int64_t(state.iterations()) * NodeCount);
}

void BM_MatrixCache_CachedCold(benchmark::State &state)
{
    const std::vector<NodePtr> &nodes = tree();
    skMatrixCache cache;
    Matrix m;
    const auto start = std::chrono::steady_clock::now();
    for(auto _ : state)
    {
        cache.clear();
        Real32 sum = 0.f;
        for(const NodePtr &n : nodes)
        {
            cache.getToWorld(n, m);
            sum += m[3][0];
        }
        benchmark::DoNotOptimize(sum);
    }
    reportRatio(state, nsPerQuery(std::chrono::steady_clock::now() - start, state.iterations()));
    if(cache.size() != NodeCount)
        state.SkipWithError("the cache did not hold every node");
    state.SetItemsProcessed(int64_t(state.iterations()) * NodeCount);
}

void BM_MatrixCache_CachedWarm(benchmark::State &state)
{
    const std::vector<NodePtr> &nodes = tree();
    skMatrixCache cache;
    Matrix m;
    for(const NodePtr &n : nodes)
        cache.getToWorld(n, m);
    const auto start = std::chrono::steady_clock::now();
    for(auto _ : state)
    {
        Real32 sum = 0.f;
        for(const NodePtr &n : nodes)
        {
            cache.getToWorld(n, m);
            sum += m[3][0];
        }
        benchmark::DoNotOptimize(sum);
    }
    reportRatio(state, nsPerQuery(std::chrono::steady_clock::now() - start, state.iterations()));
    state.SetItemsProcessed(int64_t(state.iterations()) * NodeCount);
}

// Registered in this order so that the uncached walk runs first and the ratios can refer to it.
BENCHMARK(BM_MatrixCache_Uncached)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MatrixCache_CachedCold)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MatrixCache_CachedWarm)->Unit(benchmark::kMillisecond);

} // namespace
