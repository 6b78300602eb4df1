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

// n nodes (every seventh a plain Node), node i > 0 listed under a random earlier node, then
// `extra` entries from random nodes to random nodes (shared nodes, cycles, duplicates) and
// `nulls` null entries. The lists hold no references: the graph holds every node.
struct Graph
{
    std::vector<RefPtr<NodePtr>> nodes;

    Graph(std::mt19937 &rng, size_t n, size_t extra, size_t nulls)
    {
        for(size_t i = 0; i < n; ++i)
            nodes.emplace_back(i % 7 == 3 ? Node::create() : NodePtr(AnimNode::create()));
        for(size_t i = 1; i < n; ++i)
            (*this)[rng() % i]->editMFChildren()->push_back(nodes[i]);
        for(size_t e = 0; e < extra; ++e)
            (*this)[rng() % n]->editMFChildren()->push_back(nodes[rng() % n]);
        for(size_t e = 0; e < nulls; ++e)
        {
            MFNodePtr &list = *(*this)[rng() % n]->editMFChildren();
            list.insert(list.begin() + rng() % (list.size() + 1), NullFC);
        }
    }
    ~Graph()
    {
        for(auto &n : nodes)
            n->editMFChildren()->clear();
    }
    Node       *operator[](size_t i) const { return nodes[i].getCPtr(); }
    std::string name(const Node *n) const
    {
        size_t i = 0;
        while(i < nodes.size() && (*this)[i] != n)
            ++i;
        return n == NULL ? "-" : std::to_string(i);
    }
    std::string describe(const std::vector<anim::WalkStep> &steps) const
    {
        std::string s;
        for(const anim::WalkStep &st : steps)
            s += name(st.node) + "/" + std::to_string(st.end) + (st.leaf ? "L " : " ");
        return s;
    }
};

// The walk as a recursive function: children in list order, a node met before ends the branch.
// The steps cover every node; the events ("+parent>node" on entering, "<" on leaving) stop at a
// refused node, which is entered but neither left nor descended into.
struct Reference
{
    const Graph                &g;
    bool                        animOnly;
    std::set<Node *>            seen;
    std::vector<anim::WalkStep> steps;
    std::string                 events;

    void walk(Node *parent, Node *node, bool emit)
    {
        const size_t at      = steps.size();
        const bool   refused = refusedAt(node);
        steps.push_back(anim::WalkStep{ node, 0, node->getNChildren() == 0 });
        if(emit)
            events += "+" + g.name(parent) + ">" + g.name(node);
        for(const NodePtr &c : node->getChildren())
        {
            Node *child = c.getCPtr();
            if(child != NULL && (!animOnly || dynamic_cast<AnimNode *>(child) != NULL) &&
               seen.insert(child).second)
                walk(node, child, emit && !refused);
        }
        steps[at].end = UInt32(steps.size());
        if(emit && !refused)
            events += "<";
    }
    bool refusedAt(const Node *n) const { return std::stoul("0" + g.name(n)) % 5 == 4; }
};

} // namespace

TEST(WalkPlan, PlanAndRunMatchTheRecursiveWalk)
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
        for(int seed = 0; seed < 4; ++seed)
        {
            Graph g(rng, shape.nodes, shape.extra, shape.nulls);
            for(size_t r : { size_t(0), shape.nodes / 2 })
                for(bool animOnly : { false, true })
                {
                    Reference ref{ g, animOnly, { g[r] }, {}, {} };
                    ref.walk(NULL, g[r], true);
                    const std::string where = std::string(shape.what) + ", root " +
                                              std::to_string(r) + ", animOnly " +
                                              std::to_string(animOnly);
                    anim::WalkPlan                     plan(g[r], animOnly);
                    const std::vector<anim::WalkStep> &steps = plan.steps();
                    ASSERT_EQ(g.describe(steps), g.describe(ref.steps)) << where;

                    // Entering a refused node fails: its subtree is left out and it is not left.
                    std::string            events;
                    std::set<const Node *> prefetched;
                    plan.run(
                        [&](UInt32 parent, UInt32 i) {
                            events += "+" +
                                      g.name(parent == anim::WalkPlan::NoStep ? NULL
                                                                              : steps[parent].node) +
                                      ">" + g.name(steps[i].node);
                            EXPECT_TRUE(prefetched.count(steps[i].node)) << where << ", step " << i;
                            return !ref.refusedAt(steps[i].node);
                        },
                        [&](UInt32) { events += "<"; }, 3,
                        [&](const anim::WalkStep &ahead) { prefetched.insert(ahead.node); });
                    ASSERT_EQ(events, ref.events) << where;
                }
        }

    // A plan made while another is alive has buffers of its own; a null root plans nothing.
    Graph          a(rng, 200, 0, 0), b(rng, 50, 0, 0);
    anim::WalkPlan outer(a[0], false), inner(b[0], false), none(NULL, true);
    EXPECT_EQ(outer.steps().size(), 200u);
    EXPECT_EQ(inner.steps().size(), 50u);
    EXPECT_EQ(outer.steps()[0].node, a[0]);
    EXPECT_TRUE(none.steps().empty());
}
