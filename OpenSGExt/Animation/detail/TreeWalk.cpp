#include <OpenSGExt/Animation/detail/TreeWalk.h>
#include <OpenSGExt/OSGAnimNode.h>

#include <typeinfo>

namespace osg {
namespace anim {

namespace {

// How many queue entries ahead the breadth-first reading starts loading a node (its identity
// and children header) and, later, its children array: far enough to cover a miss to memory at
// a few nanoseconds per entry, near enough that the lines are still in the first-level cache.
const size_t NodeAhead     = 48;
const size_t ChildrenAhead = 6;

bool taken(const Node *node, bool animOnly)
{
    return !animOnly || isAnimNode(node);
}

} // namespace

/*! A thread's buffers for its next plan. The flag outlives the holder (it is trivially
    destructible), so a plan made while the thread's storage goes away makes its own. */
struct SpareBuffers
{
    WalkPlan::Buffers *buffers = NULL;
    ~SpareBuffers(void);
};

namespace {
thread_local SpareBuffers spare;
thread_local bool         spareGone = false;
} // namespace

SpareBuffers::~SpareBuffers(void)
{
    delete buffers;
    buffers   = NULL;
    spareGone = true;
}

bool isAnimNode(const Node *node)
{
    return typeid(*node) == typeid(AnimNode) || dynamic_cast<const AnimNode *>(node) != NULL;
}

WalkPlan::WalkPlan(Node *root, bool animOnly) : _buffers(NULL)
{
    if(!spareGone && spare.buffers != NULL)
    {
        _buffers      = spare.buffers;
        spare.buffers = NULL;
    }
    else
        _buffers = new Buffers;
    _buffers->steps.clear();
    if(root == NULL)
        return;
    if(!readTree(root, animOnly))
    {
        _buffers->steps.clear();
        readGraph(root, animOnly);
    }
}

WalkPlan::~WalkPlan(void)
{
    if(!spareGone && spare.buffers == NULL)
        spare.buffers = _buffers;
    else
        delete _buffers;
}

/*! Breadth-first, then put in depth-first order by subtree sizes (children come after their
    parent in the queue, so one pass backwards sums them, and one forwards places each child
    after its parent and its elder siblings' subtrees); false, with the steps unusable, as soon
    as a node comes round a second time. Elements are written in place: building them on the
    stack and copying them in stalls on the partial writes. */
bool WalkPlan::readTree(Node *root, bool animOnly)
{
    std::vector<Queued> &queue = _buffers->queue;
    VisitedIds          &seen  = _buffers->seen;
    queue.clear();
    seen.clear();
    queue.emplace_back();
    queue.back().node = root;
    for(size_t head = 0; head < queue.size(); ++head)
    {
        if(head + NodeAhead < queue.size())
        {
            const Node *ahead = queue[head + NodeAhead].node;
            __builtin_prefetch(ahead);
            prefetchBytes(&ahead->getChildren(), sizeof(MFNodePtr));
        }
        if(head + ChildrenAhead < queue.size())
        {
            const MFNodePtr &children = queue[head + ChildrenAhead].node->getChildren();
            if(!children.empty())
                prefetchBytes(&children[0], children.size() * sizeof(NodePtr));
        }

        Node *node = queue[head].node;
        if(head > 0 && !taken(node, animOnly))
        {
            queue[head].node = NULL;
            continue;
        }
        if(!seen.insert(node))
            return false;
        const MFNodePtr &children = node->getChildren();
        const UInt32     first    = UInt32(queue.size());
        for(const NodePtr &child : children)
        {
            if(child == NullFC)
                continue;
            queue.emplace_back();
            queue.back().node = child.getCPtr();
        }
        Queued &q = queue[head];
        q.first   = first;
        q.last    = UInt32(queue.size());
        q.leaf    = children.empty();
    }

    for(size_t at = queue.size(); at-- > 0;)
    {
        Queued &q = queue[at];
        if(q.node == NULL)
            continue;
        q.size = 1;
        for(UInt32 c = q.first; c < q.last; ++c)
            q.size += queue[c].size;
    }

    std::vector<WalkStep> &steps = _buffers->steps;
    steps.resize(queue[0].size);
    for(const Queued &q : queue)
    {
        if(q.node == NULL)
            continue;
        WalkStep &s = steps[q.step];
        s.node      = q.node;
        s.end       = q.step + q.size;
        s.leaf      = q.leaf;
        UInt32 next = q.step + 1;
        for(UInt32 c = q.first; c < q.last; ++c)
        {
            queue[c].step = next;
            next += queue[c].size;
        }
    }
    return true;
}

/*! Depth-first: the order of the walk itself, whatever the structure. */
void WalkPlan::readGraph(Node *root, bool animOnly)
{
    std::vector<WalkStep> &steps = _buffers->steps;
    std::vector<Open>     &stack = _buffers->stack;
    VisitedIds            &seen  = _buffers->seen;
    stack.clear();
    seen.clear();
    seen.insert(root);
    steps.push_back(WalkStep{ root, 0, root->getNChildren() == 0 });
    stack.push_back(Open{ root, 0, 0 });
    while(!stack.empty())
    {
        Open            &top      = stack.back();
        const MFNodePtr &children = top.node->getChildren();
        if(top.next < children.size())
        {
            Node *child = children[top.next++].getCPtr();
            if(child == NULL || !taken(child, animOnly) || !seen.insert(child))
                continue;
            const UInt32 step = UInt32(steps.size());
            steps.push_back(WalkStep{ child, 0, child->getNChildren() == 0 });
            stack.push_back(Open{ child, 0, step });
        }
        else
        {
            steps[top.step].end = UInt32(steps.size());
            stack.pop_back();
        }
    }
}

} // namespace anim
} // namespace osg
