#include <OpenSGExt/OSGAnimNode.h>
#include <OpenSGExt/OSGAnimObject.h>
#include <OpenSGExt/OSGAnimCurve.h>
#include <OpenSGExt/OSGVertexAnimCurves.h>
#include <OpenSGExt/OSGTimeShapeCache.h>
#include <OpenSGExt/Animation/detail/TreeWalk.h>
#include <OpenSGExt/Animation/detail/VisitedIds.h>

#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGLog.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <exception>
#include <iostream>
#include <unordered_map>

namespace osg {

namespace {

AnimNode *asAnim(const NodePtr &node)
{
    return node != NullFC && anim::isAnimNode(node.getCPtr()) ? static_cast<AnimNode *>(node.getCPtr())
                                                             : NULL;
}

bool finite(Real32 v)
{
    return std::isfinite(v);
}

// Steps of a planned walk the walks start loading ahead of the one they are at.
const UInt32 StepsAhead = 8;

AnimNode *animAt(const anim::WalkStep &step)
{
    return static_cast<AnimNode *>(step.node);
}

// What a walk reads or writes of each AnimNode besides its identity and virtual table.
enum Touches : UInt32
{
    TouchOffset     = 1,
    TouchScale      = 2,
    TouchApScale    = 4, // accumulatedParentScale
    TouchCore       = 8,
    TouchLeafVolume = 16 // the volume state of leaves, where volumes are invalidated
};

/*! Starts loading what a walk touches of an AnimNode, each a cache line or two: memory traffic
    is what a walk over a large tree waits for. Inlined by force: a call to it looks free of
    effects, and the optimiser would drop it. */
inline __attribute__((always_inline)) void prefetchAnimNode(const anim::WalkStep &step,
                                                             UInt32 touches)
{
    const AnimNode *node = animAt(step);
    __builtin_prefetch(node);
    if(touches & TouchOffset)
        anim::prefetchBytes(&node->getOffset(), sizeof(Vec2f));
    if(touches & TouchScale)
        __builtin_prefetch(&node->getScale());
    if(touches & TouchApScale)
        __builtin_prefetch(&node->getAccumulatedParentScale());
    if(touches & TouchCore)
        __builtin_prefetch(node->getSFCore());
    if((touches & TouchLeafVolume) && step.leaf)
        anim::prefetchBytes(&node->getVolume(), sizeof(Volume));
}

/*! Walks the AnimNodes below root once each (see anim::WalkPlan). pre(parent, child) runs
    before the child's descendants, post(child) after them; leaf(node) runs for every visited
    node without children (root included), as the push operations' recursion does on reaching
    a leaf, before that node's post. touches names what the three read or write of a node. */
template <class Pre, class Post, class Leaf>
void walkBelow(AnimNode *root, UInt32 touches, Pre pre, Post post, Leaf leaf)
{
    anim::WalkPlan                     plan(root, true);
    const std::vector<anim::WalkStep> &steps = plan.steps();
    plan.run(
        [&](UInt32 parent, UInt32 i) {
            if(parent != anim::WalkPlan::NoStep)
                pre(animAt(steps[parent]), animAt(steps[i]));
            if(steps[i].leaf)
                leaf(animAt(steps[i]));
            return true;
        },
        [&](UInt32 i) {
            if(i != 0)
                post(animAt(steps[i]));
        },
        StepsAhead, [touches](const anim::WalkStep &step) { prefetchAnimNode(step, touches); });
}

std::vector<std::string> splitNames(const std::string &names, bool commas)
{
    std::vector<std::string> out;
    std::string              current;
    for(char ch : names)
    {
        if(std::isspace(static_cast<unsigned char>(ch)) || (commas && ch == ','))
        {
            if(!current.empty())
                out.push_back(current);
            current.clear();
        }
        else
            current += ch;
    }
    if(!current.empty())
        out.push_back(current);
    return out;
}

std::vector<const FieldContainerType *> resolveTypes(const std::vector<std::string> &names)
{
    std::vector<const FieldContainerType *> types;
    for(const std::string &name : names)
    {
        const FieldContainerType *t = FieldContainerFactory::the()->findType(name.c_str());
        if(t != NULL)
            types.push_back(t);
    }
    return types;
}

bool isOfTypes(const FieldContainerPtr &fc, const std::vector<const FieldContainerType *> &types)
{
    for(const FieldContainerType *t : types)
    {
        if(fc->getType().isDerivedFrom(*t))
            return true;
    }
    return false;
}

const BitVector CopiedFields = AnimNode::OffsetFieldMask | AnimNode::AccumulatedParentOffsetFieldMask |
                               AnimNode::ScaleFieldMask | AnimNode::AccumulatedParentScaleFieldMask |
                               AnimNode::PostCyclesFieldMask | AnimNode::FlippedFieldMask |
                               AnimNode::LockedFieldMask | AnimNode::HiddenFieldMask;

/*! The node part of cloneAnimTree: a new AnimNode with src's traversal mask, the given core and
    the copied timing fields. The caller ends the edit of the returned mask. */
AnimNodePtr newCloneNode(const NodePtr &src, const NodeCorePtr &core, BitVector &mask)
{
    AnimNodePtr copy = AnimNode::create();
    if(copy == NullFC)
        return copy;
    mask = Node::AttachmentsFieldMask | Node::CoreFieldMask | Node::TravMaskFieldMask |
           Node::ChildrenFieldMask;
    beginEditCP(copy, mask);
    copy->setTravMask(src->getTravMask());
    copy->setCore(core);
    if(const AnimNode *a = asAnim(src))
    {
        mask |= CopiedFields;
        copy->setOffset(a->getOffset());
        copy->setAccumulatedParentOffset(a->getAccumulatedParentOffset());
        copy->setScale(a->getScale());
        copy->setAccumulatedParentScale(a->getAccumulatedParentScale());
        copy->setPostCycles(a->getPostCycles());
        copy->setFlipped(a->getFlipped());
        copy->setLocked(a->getLocked());
        copy->setHidden(a->getHidden());
    }
    return copy;
}

/*! Copies the tree under root, node by node, without recursion; makeNode(src, isRoot, mask)
    gives the copy of one node with its edit begun. A node reached twice is not copied again. */
/*! Copies the tree under root, node by node, without recursion; makeNode(src, isRoot, mask)
    gives the copy of one node with its edit begun, which ends once the copy's children are in.
    A node reached twice is not copied again; a node that cannot be copied is left out with its
    subtree. */
template <class MakeNode>
AnimNodePtr copyTree(const NodePtr &root, MakeNode makeNode)
{
    struct Made
    {
        AnimNodePtr copy;
        BitVector   mask;
    };
    anim::WalkPlan                     plan(root.getCPtr(), false);
    const std::vector<anim::WalkStep> &steps = plan.steps();
    std::vector<Made>                  open;
    AnimNodePtr                        result;
    plan.run(
        [&](UInt32 parent, UInt32 i) {
            BitVector   mask;
            AnimNodePtr copy = makeNode(NodePtr(steps[i].node), parent == anim::WalkPlan::NoStep,
                                        mask);
            if(copy == NullFC)
                return false;
            if(open.empty())
                result = copy;
            else
                open.back().copy->addChild(copy);
            open.push_back(Made{ copy, mask });
            return true;
        },
        [&](UInt32) {
            endEditCP(open.back().copy, open.back().mask);
            open.pop_back();
        },
        StepsAhead, [](const anim::WalkStep &ahead) {
            __builtin_prefetch(ahead.node);
            __builtin_prefetch(ahead.node->getSFCore());
        });
    return result;
}

} // namespace

AnimNode::AnimNode(void) : Inherited(), _callbacks()
{
}

AnimNode::AnimNode(const AnimNode &source) : Inherited(source), _callbacks()
{
}

AnimNode::~AnimNode(void) = default;

void AnimNode::onDestroy(void)
{
    _callbacks.reset();
    Inherited::onDestroy();
}

void AnimNode::changed(BitVector whichField, UInt32 origin)
{
    Inherited::changed(whichField, origin);
}

/*------------------------------ callbacks --------------------------------*/

void AnimNode::registerFinishedAnimationCallback(const CallbackPtr &cb, bool once)
{
    if(!cb)
    {
        SWARNING << "AnimNode::registerFinishedAnimationCallback: null callback ignored"
                 << std::endl;
        return;
    }
    if(!_callbacks)
        _callbacks.reset(new CallbackLists(1));
    CallbackList &list = _callbacks->front();
    for(const CallbackEntry &e : list)
    {
        if(e.callback.lock() == cb)
            return;
    }
    list.push_back(CallbackEntry{ cb, once });
}

void AnimNode::unregisterFinishedAnimationCallback(const CallbackPtr &cb)
{
    if(!_callbacks || !cb)
        return;
    CallbackList &list = _callbacks->front();
    for(auto it = list.begin(); it != list.end(); ++it)
    {
        if(it->callback.lock() == cb)
        {
            list.erase(it);
            return;
        }
    }
}

void AnimNode::unregisterFinishedAnimationCallbacks(void)
{
    if(_callbacks)
        _callbacks->front().clear();
}

void AnimNode::unregisterSingleCallFinishedAnimationCallbacks(void)
{
    if(!_callbacks)
        return;
    CallbackList &list = _callbacks->front();
    list.erase(std::remove_if(list.begin(), list.end(),
                              [](const CallbackEntry &e) { return e.once; }),
               list.end());
}

void AnimNode::unregisterAllCallbacks(void)
{
    _callbacks.reset();
}

UInt32 AnimNode::getNumFinishedAnimationCallbacks(void) const
{
    return _callbacks ? UInt32(_callbacks->front().size()) : 0u;
}

void AnimNode::finishedAnimation(void)
{
    if(!_callbacks)
        return;
    // Callbacks may change the list, so walk a snapshot and look each entry up again before it
    // is called: entries unregistered meanwhile are skipped, new ones wait for the next call.
    CallbackList snapshot = _callbacks->front();
    for(const CallbackEntry &entry : snapshot)
    {
        if(!_callbacks)
            return;
        CallbackList &list = _callbacks->front();
        auto          it   = std::find_if(list.begin(), list.end(), [&entry](const CallbackEntry &e) {
            return !e.callback.owner_before(entry.callback) &&
                   !entry.callback.owner_before(e.callback);
        });
        if(it == list.end())
            continue;
        CallbackPtr cb = it->callback.lock();
        if(!cb)
        {
            list.erase(it);
            continue;
        }
        if(it->once)
            list.erase(it);
        try
        {
            (*cb)();
        }
        catch(const std::bad_function_call &)
        {
            throw;
        }
        catch(const std::exception &e)
        {
            SWARNING << "AnimNode::finishedAnimation: a callback threw: " << e.what() << std::endl;
        }
        catch(...)
        {
            SWARNING << "AnimNode::finishedAnimation: a callback threw" << std::endl;
        }
    }
}

/*------------------------------ sharing ----------------------------------*/

void AnimNode::unshare(const std::string &shareTypes)
{
    unshare(splitNames(shareTypes, false));
}

void AnimNode::unshare(const std::vector<std::string> &shareTypes)
{
    const std::vector<const FieldContainerType *> shared = resolveTypes(shareTypes);
    AnimNodePtr                                   thisP(this);

    NodeCorePtr core = getCore();
    if(core != NullFC && core->getParents().size() > 1 && !isOfTypes(core, shared))
    {
        NodeCorePtr copy = NodeCorePtr::dcast(deepClone(core, shareTypes));
        if(copy != NullFC)
        {
            beginEditCP(thisP, CoreFieldMask);
            setCore(copy);
            endEditCP(thisP, CoreFieldMask);
        }
    }

    AttachmentMap attachments = getAttachments();
    bool          editing     = false;
    for(const auto &entry : attachments)
    {
        const AttachmentPtr &a = entry.second;
        if(a == NullFC || a->getParents().size() <= 1 || isOfTypes(a, shared))
            continue;
        AttachmentPtr copy = AttachmentPtr::dcast(deepClone(a, shareTypes));
        if(copy == NullFC)
            continue;
        if(!editing)
        {
            beginEditCP(thisP, AttachmentsFieldMask);
            editing = true;
        }
        addAttachment(copy, UInt16(entry.first & 0xFFFFu));
    }
    if(editing)
        endEditCP(thisP, AttachmentsFieldMask);
}

void AnimNode::unshareTree(const std::string &shareTypes)
{
    const std::vector<std::string> names = splitNames(shareTypes, false);
    unshare(names);
    walkBelow(
        this, TouchCore, [&names](AnimNode *, AnimNode *child) { child->unshare(names); },
        [](AnimNode *) {}, [](AnimNode *) {});
}

/*------------------------------ time edits -------------------------------*/

void AnimNode::moveBy(Real32 dt, Real32 dv)
{
    if(!finite(dt) || !finite(dv))
    {
        SWARNING << "AnimNode::moveBy: non-finite offset (" << dt << ", " << dv << ") ignored"
                 << std::endl;
        return;
    }
    AnimNodePtr thisP(this);
    beginEditCP(thisP, OffsetFieldMask);
    _sfOffset.getValue() += Vec2f(dt, dv);
    endEditCP(thisP, OffsetFieldMask);
    pushOffsetDelta(dt, dv);
}

void AnimNode::pushOffsetDelta(Real32 dt, Real32 dv)
{
    if(!finite(dt) || !finite(dv))
    {
        SWARNING << "AnimNode::pushOffsetDelta: non-finite offset (" << dt << ", " << dv
                 << ") ignored" << std::endl;
        return;
    }
    walkBelow(
        this, TouchOffset | TouchLeafVolume,
        [dt, dv](AnimNode *, AnimNode *child) {
            AnimNodePtr c(child);
            beginEditCP(c, OffsetFieldMask);
            child->editOffset() += Vec2f(dt, dv);
            endEditCP(c, OffsetFieldMask);
        },
        [](AnimNode *) {}, [](AnimNode *leaf) { leaf->invalidateUpwards(); });
}

void AnimNode::scaleBy(Real32 s, Real32 pivot)
{
    if(!finite(s) || !finite(pivot))
    {
        SWARNING << "AnimNode::scaleBy: non-finite scale " << s << " or pivot " << pivot
                 << " ignored" << std::endl;
        return;
    }
    AnimNodePtr thisP(this);
    NodeCorePtr core = getCore();
    if(core != NullFC && (core->getType().isDerivedFrom(VertexAnimCurves::getClassType()) ||
                          core->getType().isDerivedFrom(TimeShapeCache::getClassType())))
    {
        const BitVector mask = OffsetFieldMask | ScaleFieldMask;
        beginEditCP(thisP, mask);
        _sfScale.getValue() *= s;
        _sfOffset.getValue()[0] = (_sfOffset.getValue()[0] - pivot) * s + pivot;
        endEditCP(thisP, mask);
    }
    else
    {
        beginEditCP(thisP, ScaleFieldMask);
        _sfScale.setValue(s);
        endEditCP(thisP, ScaleFieldMask);
    }
    pushScale(s, pivot);
}

void AnimNode::pushScale(Real32 s, Real32 pivot)
{
    if(!finite(s) || !finite(pivot))
    {
        SWARNING << "AnimNode::pushScale: non-finite scale " << s << " or pivot " << pivot
                 << " ignored" << std::endl;
        return;
    }
    const BitVector mask = OffsetFieldMask | ScaleFieldMask;
    walkBelow(
        this, TouchOffset | TouchScale | TouchLeafVolume, [](AnimNode *, AnimNode *) {},
        [s, pivot, &mask](AnimNode *child) {
            AnimNodePtr c(child);
            beginEditCP(c, mask);
            child->editScale() *= s;
            child->editOffset()[0] = (child->getOffset()[0] - pivot) * s + pivot;
            endEditCP(c, mask);
        },
        [](AnimNode *leaf) { leaf->invalidateUpwards(); });
}

void AnimNode::flip(void)
{
    if(getPostCycles() < 0)
        return;
    Pnt3f lo, hi;
    if(!getBounds(lo, hi))
        return;
    const Real32 p = (hi[0] - lo[0]) / Real32(getPostCycles() + 1) + 2.f * lo[0];
    if(!finite(p))
    {
        SWARNING << "AnimNode::flip: the bounds give no finite pivot; nothing flipped" << std::endl;
        return;
    }
    AnimNodePtr     thisP(this);
    const BitVector mask = OffsetFieldMask | ScaleFieldMask;
    beginEditCP(thisP, mask);
    _sfScale.getValue()     = -_sfScale.getValue();
    _sfOffset.getValue()[0] = p - _sfOffset.getValue()[0];
    endEditCP(thisP, mask);
    pushFlip(p);
}

void AnimNode::pushFlip(Real32 pivot)
{
    if(!finite(pivot))
    {
        SWARNING << "AnimNode::pushFlip: non-finite pivot ignored" << std::endl;
        return;
    }
    const BitVector mask = OffsetFieldMask | ScaleFieldMask;
    walkBelow(
        this, TouchOffset | TouchScale | TouchLeafVolume, [](AnimNode *, AnimNode *) {},
        [pivot, &mask](AnimNode *child) {
            AnimNodePtr c(child);
            beginEditCP(c, mask);
            child->editScale()     = -child->getScale();
            child->editOffset()[0] = pivot - child->getOffset()[0];
            endEditCP(c, mask);
        },
        [](AnimNode *leaf) { leaf->invalidateUpwards(); });
}

void AnimNode::updateAccumulatedParentScale(Real32)
{
    // Both bits are reported, as players listening for offset changes expect.
    const BitVector mask = AccumulatedParentScaleFieldMask | OffsetFieldMask;
    walkBelow(
        this, TouchScale | TouchApScale,
        [&mask](AnimNode *parent, AnimNode *child) {
            AnimNodePtr c(child);
            beginEditCP(c, mask);
            child->setAccumulatedParentScale(parent->getAccumulatedParentScale() *
                                             parent->getScale());
            endEditCP(c, mask);
        },
        [](AnimNode *) {}, [](AnimNode *) {});
}

/*------------------------------ volume -----------------------------------*/

void AnimNode::invalidateUpwards(void)
{
    // The first invalid volume ends the climb, and each step leaves one behind, so a cycle of
    // parents ends at the repeat by itself. Only a changed callback that validates volumes again
    // could keep it going: long climbs keep a guard for that.
    const UInt32     Unguarded = 64;
    UInt32           steps     = 0;
    anim::VisitedIds seen;
    for(NodePtr n(this); n != NullFC; n = n->getParent())
    {
        if(++steps > Unguarded && !seen.insert(n.getCPtr()))
            return;
        DynamicVolume &vol = n->editVolume(false);
        if(!vol.isValid() || vol.isStatic())
            return;
        beginEditCP(n, VolumeFieldMask);
        vol.setValid(false);
        endEditCP(n, VolumeFieldMask);
    }
}

void AnimNode::updateVolume(void)
{
    struct Frame
    {
        NodePtr node;
        UInt32  next;
    };
    anim::VisitedIds   seen;
    std::vector<Frame> stack;
    NodePtr            thisP(this);
    if(getVolume().isValid() || getTravMask() == 0)
        return;
    seen.insert(this);
    stack.push_back(Frame{ thisP, 0 });
    while(!stack.empty())
    {
        Frame &top = stack.back();
        if(top.next < top.node->getNChildren())
        {
            NodePtr child = top.node->getChild(top.next++);
            if(child == NullFC || child->getTravMask() == 0 || child->getVolume().isValid() ||
               !seen.insert(child.getCPtr()))
                continue;
            stack.push_back(Frame{ child, 0 });
            continue;
        }
        NodePtr        node = top.node;
        DynamicVolume &vol  = node->editVolume(false);
        DynamicVolume  result(vol);
        result.setEmpty();
        for(UInt32 i = 0; i < node->getNChildren(); ++i)
        {
            NodePtr child = node->getChild(i);
            if(child != NullFC && child->getTravMask() != 0)
                result.extendBy(child->getVolume());
        }
        if(AnimObject *obj = dynamic_cast<AnimObject *>(node->getCore().getCPtr()))
            obj->adjustVolume(result);
        beginEditCP(node, VolumeFieldMask);
        vol = result;
        vol.setValid();
        endEditCP(node, VolumeFieldMask);
        stack.pop_back();
    }
}

void AnimNode::getWorldVolume(DynamicVolume &result)
{
    Matrix m;
    if(getParent() != NullFC)
        getParent()->getToWorld(m);
    else
        m.setIdentity();
    updateVolume();
    result = getVolume();
    result.transform(m);
}

bool AnimNode::getBounds(Pnt3f &lo, Pnt3f &hi)
{
    DynamicVolume world;
    getWorldVolume(world);
    if(world.isEmpty())
    {
        lo = hi = Pnt3f(0.f, 0.f, 0.f);
        return false;
    }
    world.getBounds(lo, hi);
    return true;
}

void AnimNode::dump(UInt32 uiIndent, const BitVector) const
{
    struct Frame
    {
        const Node *node;
        UInt32      depth;
    };
    anim::VisitedIds   seen;
    std::vector<Frame> stack{ Frame{ this, 0 } };
    while(!stack.empty())
    {
        Frame f = stack.back();
        stack.pop_back();
        std::string pad(uiIndent + 2 * f.depth, ' ');
        if(!seen.insert(f.node))
        {
            std::cout << pad << "(repeat)\n";
            continue;
        }
        const AnimNode *a    = dynamic_cast<const AnimNode *>(f.node);
        NodeCorePtr     core = f.node->getCore();
        std::cout << pad << (a != NULL ? "AnimNode" : "Node") << " #"
                  << NodePtr(const_cast<Node *>(f.node)).getFieldContainerId() << " core "
                  << (core != NullFC ? core->getTypeName() : std::string("none"));
        if(const AnimObject *obj = dynamic_cast<const AnimObject *>(core.getCPtr()))
            std::cout << " \"" << obj->getName() << "\"";
        if(a != NULL)
            std::cout << " offset (" << a->getOffset()[0] << ", " << a->getOffset()[1]
                      << ") scale " << a->getScale() << (a->getHidden() ? " hidden" : "");
        std::cout << "\n";
        for(UInt32 i = f.node->getNChildren(); i-- > 0; )
        {
            NodePtr child = f.node->getChild(i);
            if(child != NullFC)
                stack.push_back(Frame{ child.getCPtr(), f.depth + 1 });
        }
    }
}

/*------------------------------ cloning ----------------------------------*/

AnimNodePtr cloneAnimTree(const NodePtr &root, bool withAttachments)
{
    if(root == NullFC)
        return AnimNodePtr();
    return copyTree(root, [withAttachments](const NodePtr &src, bool isRoot, BitVector &mask) {
        AnimNodePtr copy = newCloneNode(src, src->getCore(), mask);
        if(copy == NullFC)
            return copy;
        if(withAttachments || !isRoot)
            copy->addAttachments(src);
        else
            copy->copyName(src);
        return copy;
    });
}

AnimNodePtr deepCloneAnimTree(const AnimNodePtr &root, const std::vector<std::string> &shareTypes)
{
    if(root == NullFC)
        return AnimNodePtr();
    const std::vector<const FieldContainerType *> shared = resolveTypes(shareTypes);
    std::unordered_map<UInt32, NodeCorePtr>       cores;
    return copyTree(root, [&](const NodePtr &src, bool, BitVector &mask) {
        NodeCorePtr core = src->getCore();
        if(core != NullFC && !isOfTypes(core, shared))
        {
            auto known = cores.find(core.getFieldContainerId());
            if(known != cores.end())
                core = known->second;
            else
            {
                NodeCorePtr copy = NodeCorePtr::dcast(deepClone(core, shareTypes));
                cores[core.getFieldContainerId()] = copy;
                core = copy;
            }
        }
        AnimNodePtr copy = newCloneNode(src, core, mask);
        if(copy != NullFC)
            deepCloneAttachments(src, copy, shareTypes);
        return copy;
    });
}

AnimNodePtr deepCloneAnimTree(const AnimNodePtr &root, const std::string &shareTypes)
{
    return deepCloneAnimTree(root, splitNames(shareTypes, true));
}

} // namespace osg
