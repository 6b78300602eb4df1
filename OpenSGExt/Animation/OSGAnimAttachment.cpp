#include <OpenSGExt/OSGAnimAttachment.h>
#include <OpenSGExt/OSGAnimCurve.h>
#include <OpenSGExt/OSGAnimBlock.h>
#include <OpenSGExt/OSGVertexAnimCurves.h>
#include <OpenSGExt/NodeUtils.h>
#include <OpenSGExt/Animation/detail/VisitedIds.h>

#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGLog.h>

#include <iostream>

namespace osg {

namespace {

AnimNodePtr asAnim(const NodePtr &node)
{
    return node == NullFC ? AnimNodePtr() : AnimNodePtr::dcast(node);
}

bool coreIs(const AnimNodePtr &node, const FieldContainerType &type)
{
    NodeCorePtr core = node->getCore();
    return core != NullFC && core->getType().isDerivedFrom(type);
}

} // namespace

AnimAttachment::AnimAttachment(void) : Inherited(), _heldRoot()
{
}

AnimAttachment::AnimAttachment(const AnimAttachment &source) : Inherited(source), _heldRoot()
{
}

AnimAttachment::~AnimAttachment(void) = default;

void AnimAttachment::onCreate(const AnimAttachment *source)
{
    Inherited::onCreate(source);
    // A copy's field still names its source's root, on which it holds no reference.
    _sfAnimationRoot.setValue(NullFC);
    if(GlobalSystemState == Startup)
        return;

    AnimNodePtr root = AnimNode::create();
    GroupPtr    core = Group::create();
    if(root == NullFC || core == NullFC)
    {
        SWARNING << "AnimAttachment::onCreate: cannot create the animation root" << std::endl;
        return;
    }
    beginEditCP(root, Node::CoreFieldMask);
    root->setCore(core);
    endEditCP(root, Node::CoreFieldMask);
    NodeUtils::setName(root, "AnimationRoot", false);

    AnimAttachmentPtr thisP(this);
    beginEditCP(thisP, AnimationRootFieldMask);
    _sfAnimationRoot.setValue(root);
    endEditCP(thisP, AnimationRootFieldMask);
}

void AnimAttachment::onDestroy(void)
{
    AnimNodePtr held = _heldRoot;
    _heldRoot        = NullFC;
    subRefCP(held);
    Inherited::onDestroy();
}

void AnimAttachment::changed(BitVector whichField, UInt32 origin)
{
    Inherited::changed(whichField, origin);
    if((whichField & AnimationRootFieldMask) && _sfAnimationRoot.getValue() != _heldRoot)
    {
        AnimNodePtr old = _heldRoot;
        _heldRoot       = _sfAnimationRoot.getValue();
        addRefCP(_heldRoot);
        subRefCP(old);
    }
}

void AnimAttachment::addAnimation(const AnimNodePtr &anim)
{
    if(anim == NullFC)
        return;
    AnimNodePtr root = getAnimationRoot();
    if(root == NullFC)
    {
        SWARNING << "AnimAttachment::addAnimation(" << AnimAttachmentPtr(this)
                 << ") has no animation root!" << std::endl;
        return;
    }
    if(root->findChild(anim) >= 0)
        return;
    if(anim == root)
    {
        SWARNING << "AnimAttachment::addAnimation: the animation root cannot be its own child"
                 << std::endl;
        return;
    }
    beginEditCP(root, Node::ChildrenFieldMask);
    root->addChild(anim);
    endEditCP(root, Node::ChildrenFieldMask);
}

void AnimAttachment::subAnimation(const AnimNodePtr &anim)
{
    if(anim == NullFC)
        return;
    AnimNodePtr root = getAnimationRoot();
    if(root == NullFC)
    {
        SWARNING << "AnimAttachment::subAnimation(" << AnimAttachmentPtr(this)
                 << ") has no animation root!" << std::endl;
        return;
    }
    Int32 index = root->findChild(anim);
    if(index < 0)
    {
        SWARNING << "AnimAttachment::subAnimation(" << AnimAttachmentPtr(this)
                 << ") has no animation " << std::endl;
        return;
    }
    beginEditCP(root, Node::ChildrenFieldMask);
    root->subChild(UInt32(index));
    endEditCP(root, Node::ChildrenFieldMask);
}

void AnimAttachment::removeAnimations(void)
{
    AnimNodePtr root = getAnimationRoot();
    if(root == NullFC || root->getNChildren() == 0)
        return;
    beginEditCP(root, Node::ChildrenFieldMask);
    while(root->getNChildren() > 0)
        root->subChild(root->getNChildren() - 1);
    endEditCP(root, Node::ChildrenFieldMask);
}

void AnimAttachment::getTopLevelAnimations(std::vector<AnimNodePtr> &out, bool includeHidden) const
{
    AnimNodePtr root = getAnimationRoot();
    if(root == NullFC)
        return;
    for(UInt32 i = 0; i < root->getNChildren(); ++i)
    {
        AnimNodePtr anim = asAnim(root->getChild(i));
        if(anim != NullFC && (includeHidden || !anim->getHidden()))
            out.push_back(anim);
    }
}

void AnimAttachment::getTopLevelCurveNodes(std::vector<AnimNodePtr> &out) const
{
    std::vector<AnimNodePtr> all;
    getTopLevelAnimations(all, true);
    for(const AnimNodePtr &anim : all)
    {
        if(coreIs(anim, AnimCurve::getClassType()))
            out.push_back(anim);
    }
}

void AnimAttachment::getTopLevelBlockNodes(std::vector<AnimNodePtr> &out) const
{
    std::vector<AnimNodePtr> all;
    getTopLevelAnimations(all, true);
    for(const AnimNodePtr &anim : all)
    {
        if(coreIs(anim, AnimBlock::getClassType()))
            out.push_back(anim);
    }
}

bool AnimAttachment::hasAnimations(void) const
{
    AnimNodePtr root = getAnimationRoot();
    if(root == NullFC)
        return false;
    for(UInt32 i = 0; i < root->getNChildren(); ++i)
    {
        if(asAnim(root->getChild(i)) != NullFC)
            return true;
    }
    return false;
}

bool AnimAttachment::hasVertexAnimation(void) const
{
    AnimNodePtr root = getAnimationRoot();
    if(root == NullFC)
        return false;
    const FieldContainerType &type = VertexAnimCurves::getClassType();
    anim::VisitedIds          seen;
    std::vector<NodePtr>      stack{ root };
    while(!stack.empty())
    {
        NodePtr node = stack.back();
        stack.pop_back();
        if(node == NullFC || !seen.insert(node.getCPtr()))
            continue;
        NodeCorePtr core = node->getCore();
        if(core != NullFC && core->getType().isDerivedFrom(type))
            return true;
        for(UInt32 i = 0; i < node->getNChildren(); ++i)
            stack.push_back(node->getChild(i));
    }
    return false;
}

void AnimAttachment::transferAnimationsTo(const AnimAttachmentPtr &other)
{
    if(other == NullFC || other.getCPtr() == this)
    {
        SWARNING << "AnimAttachment::transferAnimationsTo: "
                 << (other == NullFC ? "no target attachment" : "the target is this attachment")
                 << "; nothing moved" << std::endl;
        return;
    }
    if(other->getAnimationRoot() == NullFC)
    {
        SWARNING << "AnimAttachment::transferAnimationsTo(" << other
                 << "): the target has no animation root; nothing moved" << std::endl;
        return;
    }
    std::vector<AnimNodePtr> all;
    getTopLevelAnimations(all, true);
    for(const AnimNodePtr &anim : all)
    {
        // The target takes its reference first, so leaving this root cannot destroy anim.
        other->addAnimation(anim);
        if(getAnimationRoot() != NullFC && getAnimationRoot()->findChild(anim) >= 0)
            subAnimation(anim);
    }
}

void AnimAttachment::dump(UInt32 uiIndent, const BitVector bvFlags) const
{
    std::string pad(uiIndent, ' ');
    std::cout << pad << "AnimAttachment " << AnimAttachmentPtr(const_cast<AnimAttachment *>(this))
              << (getAnimationRoot() == NullFC ? " without root" : "") << "\n";
    if(getAnimationRoot() != NullFC)
        getAnimationRoot()->dump(uiIndent + 2, bvFlags);
}

} // namespace osg
