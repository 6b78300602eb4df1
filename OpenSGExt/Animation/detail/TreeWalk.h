#ifndef SKOSG_ANIMATION_DETAIL_TREEWALK_H
#define SKOSG_ANIMATION_DETAIL_TREEWALK_H

// The order of the animation-tree walks (clone, unshare, time edits), worked out before the walk
// runs. A large tree is scattered over memory, and a depth-first walk meets each node only when
// it gets there, paying the full memory latency node after node; breadth-first, the nodes to
// come are known long before they are needed and their loads overlap. So the plan reads the
// tree breadth-first and puts it in depth-first order afterwards, from arrays of its own; the
// walk then goes through the plan and loads the nodes a few steps ahead.

#include <OpenSGExt/Animation/detail/VisitedIds.h>

#include <OpenSG/OSGNode.h>

#include <algorithm>
#include <vector>

namespace osg {
namespace anim {

struct WalkStep
{
    Node  *node;
    UInt32 end;  // one past the last step of this node's subtree
    bool   leaf; // the node has no children at all, null entries and other types included
};

/*! The exact-type test first: nearly every node of an animation tree is exactly an AnimNode. */
bool isAnimNode(const Node *node);

/*! Starts loading the given bytes of an object, a cache line at a time. Inlined by force: a
    call to it looks free of effects, and the optimiser would drop it. */
inline __attribute__((always_inline)) void prefetchBytes(const void *from, size_t bytes)
{
    const char *p = static_cast<const char *>(from);
    for(size_t at = 0; at < bytes; at += 64)
        __builtin_prefetch(p + at);
    __builtin_prefetch(p + bytes - 1);
}

/*! The nodes below root, root first, each once, in the order of a depth-first walk that takes
    the children in list order and ends a branch at a node it has met before, so that cycles
    and nodes listed under several parents (both only from files) stay finite: a node's subtree
    is the steps [its own, end). With animOnly, a child that is not an AnimNode is left out with
    its subtree; null children always are. A tree (no node met twice) is read breadth-first;
    anything else is read again depth-first, in the walk's own order.

    The nodes are those below root when the plan is made; whoever runs it must keep them
    alive. A thread keeps the buffers of its last plan for the next one (a plan made while
    another is alive makes its own), so repeated edits of a large tree neither allocate nor
    touch fresh memory. */
class WalkPlan
{
  public:
    static constexpr UInt32 NoStep = 0xFFFFFFFFu;

    WalkPlan(Node *root, bool animOnly);
    ~WalkPlan(void);
    WalkPlan(const WalkPlan &) = delete;
    WalkPlan &operator=(const WalkPlan &) = delete;

    const std::vector<WalkStep> &steps(void) const { return _buffers->steps; }

    /*! Goes through the steps in order. enter(parent, step) comes first for each step (parent
        is NoStep for the root) and leaves the step's subtree out when it returns false;
        leave(step) follows for each step entered, once its subtree is done, before anything
        after it. prefetch(step) comes once for each step before it is entered, up to ahead
        steps early (steps skipped with a subtree may have had theirs). */
    template <class Enter, class Leave, class Prefetch>
    void run(Enter enter, Leave leave, UInt32 ahead, Prefetch prefetch);

  private:
    struct Queued
    {
        Node  *node;  // NULL: left out
        UInt32 first; // the node's children in the queue: [first, last)
        UInt32 last;
        UInt32 size;  // steps in the node's subtree
        UInt32 step;
        bool   leaf;
    };
    struct Open
    {
        Node  *node;
        UInt32 next;
        UInt32 step;
    };
    struct Buffers
    {
        std::vector<WalkStep> steps;
        std::vector<Queued>   queue;
        std::vector<Open>     stack;
        std::vector<UInt32>   open;
        VisitedIds            seen;
    };
    friend struct SpareBuffers;

    bool readTree (Node *root, bool animOnly);
    void readGraph(Node *root, bool animOnly);

    Buffers *_buffers;
};

template <class Enter, class Leave, class Prefetch>
void WalkPlan::run(Enter enter, Leave leave, UInt32 ahead, Prefetch prefetch)
{
    const std::vector<WalkStep> &all     = _buffers->steps;
    std::vector<UInt32>         &open    = _buffers->open;
    const UInt32                 size    = UInt32(all.size());
    UInt32                       fetched = 0; // steps before it are prefetched or skipped
    open.clear();
    for(UInt32 i = 0; i < size; ++i)
    {
        for(fetched = std::max(fetched, i); fetched < size && fetched - i <= ahead; ++fetched)
            prefetch(all[fetched]);
        // The innermost step still open is the parent of step i.
        for(; !open.empty() && all[open.back()].end <= i; open.pop_back())
            leave(open.back());
        if(enter(open.empty() ? NoStep : open.back(), i))
            open.push_back(i);
        else
            i = all[i].end - 1;
    }
    for(; !open.empty(); open.pop_back())
        leave(open.back());
}

} // namespace anim
} // namespace osg

#endif
