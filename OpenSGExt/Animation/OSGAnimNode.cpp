#include <OpenSGExt/OSGAnimNode.h>
#include <OpenSGExt/OSGAnimObject.h>
#include <OpenSGExt/OSGAnimCurve.h>
#include <OpenSGExt/OSGVertexAnimCurves.h>
#include <OpenSGExt/OSGTimeShapeCache.h>

#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGLog.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <exception>
#include <iostream>
#include <unordered_map>
#include <unordered_set>

namespace osg {

namespace {

AnimNode *asAnim(const NodePtr &node)
{
    return node == NullFC ? NULL : dynamic_cast<AnimNode *>(node.getCPtr());
}

bool finite(Real32 v)
{
    return std::isfinite(v);
}

/*! Walks the AnimNodes below root once each (a repeat ends that branch). pre(parent, child)
    runs before the child's descendants, post(child) after them; leaf(node) runs for every
    visited node without children (root included), as the push operations' recursion does on
    reaching a leaf, before that node's post. */
template <class Pre, class Post, class Leaf>
void walkBelow(AnimNode *root, Pre pre, Post post, Leaf leaf)
{
    struct Frame
    {
        AnimNode *node;
        UInt32    next;
    };
    std::unordered_set<const AnimNode *> seen;
    std::vector<Frame>                   stack;
    seen.insert(root);
    if(root->getNChildren() == 0)
        leaf(root);
    stack.push_back(Frame{ root, 0 });
    while(!stack.empty())
    {
        Frame &top = stack.back();
        if(top.next < top.node->getNChildren())
        {
            AnimNode *parent = top.node;
            AnimNode *child  = asAnim(parent->getChild(top.next++));
            if(child == NULL || !seen.insert(child).second)
                continue;
            pre(parent, child);
            if(child->getNChildren() == 0)
                leaf(child);
            stack.push_back(Frame{ child, 0 });
        }
        else
        {
            AnimNode *done = top.node;
            stack.pop_back();
            if(!stack.empty())
                post(done);
        }
    }
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
template <class MakeNode>
AnimNodePtr copyTree(const NodePtr &root, MakeNode makeNode)
{
    struct Frame
    {
        NodePtr     src;
        AnimNodePtr copy;
        BitVector   mask;
        UInt32      next;
    };
    std::unordered_set<const Node *> seen;
    std::vector<Frame>               stack;
    BitVector                        mask;
    AnimNodePtr                      result = makeNode(root, true, mask);
    if(result == NullFC)
        return result;
    seen.insert(root.getCPtr());
    stack.push_back(Frame{ root, result, mask, 0 });
    while(!stack.empty())
    {
        Frame &top = stack.back();
        if(top.next < top.src->getNChildren())
        {
            NodePtr child = top.src->getChild(top.next++);
            if(child == NullFC || !seen.insert(child.getCPtr()).second)
                continue;
            AnimNodePtr parentCopy = top.copy;
            AnimNodePtr copy       = makeNode(child, false, mask);
            if(copy == NullFC)
                continue;
            parentCopy->addChild(copy);
            stack.push_back(Frame{ child, copy, mask, 0 });
        }
        else
        {
            endEditCP(top.copy, top.mask);
            stack.pop_back();
        }
    }
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
        this, [&names](AnimNode *, AnimNode *child) { child->unshare(names); },
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
        this,
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
        this, [](AnimNode *, AnimNode *) {},
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
        this, [](AnimNode *, AnimNode *) {},
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
        this,
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
    std::unordered_set<const Node *> seen;
    for(NodePtr n(this); n != NullFC && seen.insert(n.getCPtr()).second; n = n->getParent())
    {
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
    std::unordered_set<const Node *> seen;
    std::vector<Frame>               stack;
    NodePtr                          thisP(this);
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
               !seen.insert(child.getCPtr()).second)
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
    std::unordered_set<const Node *> seen;
    std::vector<Frame>               stack{ Frame{ this, 0 } };
    while(!stack.empty())
    {
        Frame f = stack.back();
        stack.pop_back();
        std::string pad(uiIndent + 2 * f.depth, ' ');
        if(!seen.insert(f.node).second)
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
