// The planned tree walks against plain oracles: the id set against std::set, and the plan and
// its run against a recursive depth-first walk with a std::set of visited nodes, on trees,
// shared nodes, cycles, duplicate and null entries and nodes of other types, as files give them.

#include "animation/AnimTestSupport.h"

#include <OpenSGExt/Animation/detail/TreeWalk.h>
#include <OpenSGExt/Animation/detail/VisitedIds.h>

#include <OpenSG/OSGRefPtr.h>

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <set>
#include <string>

using namespace osg;
using namespace animtest;

TEST(VisitedIds, AgreesWithASet)
{
    std::mt19937 rng(7);
    const std::vector<std::pair<const char *, std::function<UInt32(UInt32)>>> patterns = {
        { "rising, dense", [](UInt32 i) { return 1000 + i / 2; } },
        { "falling across pages", [](UInt32 i) { return 5000000 - 4096 * (i / 3) - i % 3; } },
        { "extremes", [](UInt32 i) { return i % 3 == 0 ? 0u : i % 3 == 1 ? 0xFFFFFFFFu : 0x80000000u; } },
        { "scattered", [&rng](UInt32) { return UInt32(rng() % 50000) * 997u; } },
    };
    anim::VisitedIds seen;
    for(const auto &p : patterns)
    {
        std::set<UInt32> oracle;
        seen.clear();
        for(UInt32 i = 0; i < 20000; ++i)
        {
            const UInt32 id = p.second(i);
            ASSERT_EQ(seen.insert(id), oracle.insert(id).second) << p.first << ", id " << id;
        }
    }
}

namespace {

struct Graph
{
    std::vector<RefPtr<NodePtr>> nodes; // holds every node; the lists below hold no references

    ~Graph()
    {
        for(auto &n : nodes)
            n->editMFChildren()->clear();
    }
    Node *operator[](size_t i) const { return nodes[i].get().getCPtr(); }
    size_t indexOf(const Node *n) const
    {
        size_t i = 0;
        while(i < nodes.size() && (*this)[i] != n)
            ++i;
        return i;
    }
};

// n nodes (every seventh a plain Node), node i > 0 listed under a random earlier node, then
// `extra` further entries from random nodes to random nodes (shared nodes, cycles, duplicates)
// and `nulls` null entries.
void build(Graph &g, std::mt19937 &rng, size_t n, size_t extra, size_t nulls)
{
    for(size_t i = 0; i < n; ++i)
        g.nodes.push_back(RefPtr<NodePtr>(i % 7 == 3 ? Node::create() : NodePtr(AnimNode::create())));
    for(size_t i = 1; i < n; ++i)
        g[rng() % i]->editMFChildren()->push_back(NodePtr(g[i]));
    for(size_t e = 0; e < extra; ++e)
        g[rng() % n]->editMFChildren()->push_back(NodePtr(g[rng() % n]));
    for(size_t e = 0; e < nulls; ++e)
    {
        MFNodePtr &list = *g[rng() % n]->editMFChildren();
        list.insert(list.begin() + rng() % (list.size() + 1), NullFC);
    }
}

// The walk as a recursive function: children in list order, a node met before ends the branch.
void reference(Node *node, bool animOnly, std::set<Node *> &seen, std::vector<anim::WalkStep> &out)
{
    const size_t at = out.size();
    out.push_back(anim::WalkStep{ node, 0, node->getNChildren() == 0 });
    for(const NodePtr &c : node->getChildren())
    {
        Node *child = c.getCPtr();
        if(child == NULL || (animOnly && dynamic_cast<AnimNode *>(child) == NULL) ||
           !seen.insert(child).second)
            continue;
        reference(child, animOnly, seen, out);
    }
    out[at].end = UInt32(out.size());
}

std::string describe(const std::vector<anim::WalkStep> &steps, const Graph &g)
{
    std::string s;
    for(const anim::WalkStep &st : steps)
        s += std::to_string(g.indexOf(st.node)) + "/" + std::to_string(st.end) + (st.leaf ? "L " : " ");
    return s;
}

} // namespace

TEST(WalkPlan, MatchesTheRecursiveWalk)
{
    struct Shape
    {
        const char *what;
        size_t      nodes, extra, nulls;
    };
    const Shape shapes[] = { { "tree", 300, 0, 0 },         { "tree with nulls", 300, 0, 20 },
                             { "one node", 1, 0, 0 },        { "shared and cyclic", 300, 25, 5 },
                             { "self loop", 2, 2, 0 },       { "dense graph", 40, 200, 10 } };
    std::mt19937 rng(11);
    for(const Shape &shape : shapes)
    {
        for(int seed = 0; seed < 4; ++seed)
        {
            Graph g;
            build(g, rng, shape.nodes, shape.extra, shape.nulls);
            for(size_t r : { size_t(0), shape.nodes / 2 })
            {
                for(bool animOnly : { false, true })
                {
                    std::vector<anim::WalkStep> expected;
                    std::set<Node *>            seen{ g[r] };
                    reference(g[r], animOnly, seen, expected);
                    anim::WalkPlan plan(g[r], animOnly);
                    ASSERT_EQ(describe(plan.steps(), g), describe(expected, g))
                        << shape.what << ", root " << r << ", animOnly " << animOnly;
                }
            }
        }
    }
    anim::WalkPlan none(NULL, true);
    EXPECT_TRUE(none.steps().empty());
}

TEST(WalkPlan, RunEntersAndLeavesInDepthFirstOrder)
{
    std::mt19937 rng(5);
    Graph        g;
    build(g, rng, 200, 0, 0);
    // Entering every fifth node fails: its subtree is left out, and it is not left.
    auto refused = [&g](const Node *n) { return g.indexOf(n) % 5 == 4; };
    std::string expected;
    std::function<void(const Node *, const Node *)> visit = [&](const Node *parent, const Node *node) {
        expected += "+" + (parent ? std::to_string(g.indexOf(parent)) : std::string("-")) + ">" +
                    std::to_string(g.indexOf(node));
        if(refused(node))
            return;
        for(const NodePtr &c : node->getChildren())
            visit(node, c.getCPtr());
        expected += "<";
    };
    visit(NULL, g[0]);

    anim::WalkPlan                     plan(g[0], false);
    const std::vector<anim::WalkStep> &steps = plan.steps();
    std::string                        got;
    std::set<const Node *>             prefetched;
    plan.run(
        [&](UInt32 parent, UInt32 i) {
            got += "+" +
                   (parent == anim::WalkPlan::NoStep ? std::string("-")
                                                     : std::to_string(g.indexOf(steps[parent].node))) +
                   ">" + std::to_string(g.indexOf(steps[i].node));
            EXPECT_TRUE(prefetched.count(steps[i].node)) << "step " << i;
            return !refused(steps[i].node);
        },
        [&](UInt32) { got += "<"; }, 3,
        [&](const anim::WalkStep &ahead) { prefetched.insert(ahead.node); });
    EXPECT_EQ(got, expected);

    // A plan made while another is alive has buffers of its own.
    Graph other;
    build(other, rng, 50, 0, 0);
    anim::WalkPlan inner(other[0], false);
    EXPECT_EQ(inner.steps().size(), 50u);
    EXPECT_EQ(steps.size(), 200u);
    EXPECT_EQ(steps[0].node, g[0]);
}
