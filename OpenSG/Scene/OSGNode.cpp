#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGLog.h>

namespace osg {

Node::Node(void) : Inherited()
{
}

Node::Node(const Node &source) : Inherited(source)
{
}

Node::~Node(void) = default;

void Node::onCreate(const Node *source)
{
    Inherited::onCreate(source);
    if(source != NULL && source->_sfCore.getValue() != NullFC)
        setCore(source->_sfCore.getValue());
}

void Node::onDestroy(void)
{
    NodePtr thisP(this);
    NodeCorePtr core = _sfCore.getValue();
    _sfCore.setValue(NullFC);
    if(core != NullFC)
    {
        core->subParent(thisP);
        subRefCP(core);
    }

    MFNodePtr::StorageType children;
    children.swap(_mfChildren.getValues());
    for(NodePtr &child : children)
    {
        if(child == NullFC)
            continue;
        if(child->_sfParent.getValue() == thisP)
            child->_sfParent.setValue(NullFC);
        subRefCP(child);
    }
    Inherited::onDestroy();
}

void Node::setCore(const NodeCorePtr &core)
{
    NodePtr thisP(this);
    NodeCorePtr old = _sfCore.getValue();
    if(old == core)
        return;

    addRefCP(core);
    if(old != NullFC)
        old->subParent(thisP);
    _sfCore.setValue(core);
    if(core != NullFC)
        core->addParent(thisP);
    subRefCP(old);
    invalidateVolume();
}

NodePtr Node::getChild(UInt32 childIndex) const
{
    return childIndex < _mfChildren.size() ? _mfChildren[childIndex] : NodePtr();
}

void Node::detachFromParent(const NodePtr &childP)
{
    NodePtr oldParent = childP->_sfParent.getValue();
    if(oldParent == NullFC)
        return;
    // The caller holds its own reference, so dropping the old parent's cannot destroy the child.
    Int32 index = oldParent->findChild(childP);
    if(index >= 0)
    {
        beginEditCP(oldParent, ChildrenFieldMask);
        oldParent->_mfChildren.erase(oldParent->_mfChildren.begin() + index);
        endEditCP(oldParent, ChildrenFieldMask);
        subRefCP(childP);
    }
    childP->_sfParent.setValue(NullFC);
    oldParent->invalidateVolume();
}

void Node::addChild(const NodePtr &childP)
{
    insertChild(_mfChildren.size(), childP);
}

void Node::insertChild(UInt32 childIndex, const NodePtr &childP)
{
    if(childP == NullFC)
        return;
    NodePtr thisP(this);
    if(childP == thisP)
    {
        SWARNING << "Node::insertChild: a node cannot be its own child" << std::endl;
        return;
    }

    addRefCP(childP);
    detachFromParent(childP);

    if(childIndex > _mfChildren.size())
        childIndex = _mfChildren.size();
    _mfChildren.insert(_mfChildren.begin() + childIndex, childP);

    beginEditCP(childP, ParentFieldMask);
    childP->_sfParent.setValue(thisP);
    endEditCP(childP, ParentFieldMask);

    invalidateVolume();
}

bool Node::replaceChild(UInt32 childIndex, const NodePtr &childP)
{
    if(childP == NullFC || childIndex >= _mfChildren.size())
        return false;
    NodePtr old = _mfChildren[childIndex];
    if(old == childP)
        return true;

    NodePtr thisP(this);
    addRefCP(childP);
    detachFromParent(childP);
    // Detaching may have shifted this node's children when the new child was one of them.
    Int32 index = findChild(old);
    if(index < 0)
    {
        subRefCP(childP);
        return false;
    }
    _mfChildren[index] = childP;

    beginEditCP(childP, ParentFieldMask);
    childP->_sfParent.setValue(thisP);
    endEditCP(childP, ParentFieldMask);

    if(old != NullFC)
    {
        beginEditCP(old, ParentFieldMask);
        old->_sfParent.setValue(NullFC);
        endEditCP(old, ParentFieldMask);
        subRefCP(old);
    }
    invalidateVolume();
    return true;
}

bool Node::replaceChildBy(const NodePtr &childP, const NodePtr &newChildP)
{
    Int32 index = findChild(childP);
    return index >= 0 && replaceChild(UInt32(index), newChildP);
}

Int32 Node::findChild(const NodePtr &childP) const
{
    auto it = _mfChildren.find(childP);
    return it != _mfChildren.end() ? Int32(it - _mfChildren.begin()) : -1;
}

void Node::subChild(const NodePtr &childP)
{
    Int32 index = findChild(childP);
    if(index < 0)
    {
        SWARNING << "Node::subChild: the node is not a child of this node" << std::endl;
        return;
    }
    subChild(UInt32(index));
}

void Node::subChild(UInt32 childIndex)
{
    if(childIndex >= _mfChildren.size())
        return;
    NodePtr child = _mfChildren[childIndex];
    _mfChildren.erase(_mfChildren.begin() + childIndex);
    if(child != NullFC)
    {
        beginEditCP(child, ParentFieldMask);
        child->_sfParent.setValue(NullFC);
        endEditCP(child, ParentFieldMask);
        subRefCP(child);
    }
    invalidateVolume();
}

void Node::setActive(bool active)
{
    _sfTravMask.setValue(active ? 0xFFFFFFFFu : 0u);
}

Matrix Node::getToWorld(void)
{
    Matrix m;
    getToWorld(m);
    return m;
}

void Node::getToWorld(Matrix &result)
{
    if(_sfParent.getValue() != NullFC)
        _sfParent.getValue()->getToWorld(result);
    else
        result.setIdentity();
    if(_sfCore.getValue() != NullFC)
        _sfCore.getValue()->accumulateMatrix(result);
}

const DynamicVolume &Node::getVolume(bool update)
{
    if(update)
        updateVolume();
    return _sfVolume.getValue();
}

DynamicVolume &Node::editVolume(bool update)
{
    if(update)
        updateVolume();
    return _sfVolume.getValue();
}

void Node::updateVolume(void)
{
    DynamicVolume &vol = _sfVolume.getValue();
    if(vol.isValid() || _sfTravMask.getValue() == 0)
        return;

    DynamicVolume result = vol;
    result.setEmpty();
    for(UInt32 i = 0; i < _mfChildren.size(); ++i)
    {
        NodePtr child = _mfChildren[i];
        if(child == NullFC || child->getTravMask() == 0)
            continue;
        child->updateVolume();
        result.extendBy(child->getVolume());
    }
    if(_sfCore.getValue() != NullFC)
        _sfCore.getValue()->adjustVolume(result);

    NodePtr thisP(this);
    beginEditCP(thisP, VolumeFieldMask);
    vol = result;
    vol.setValid();
    endEditCP(thisP, VolumeFieldMask);
}

void Node::invalidateVolume(void)
{
    DynamicVolume &vol = _sfVolume.getValue();
    if(!vol.isValid() || vol.isStatic())
        return;
    NodePtr thisP(this);
    beginEditCP(thisP, VolumeFieldMask);
    vol.setValid(false);
    endEditCP(thisP, VolumeFieldMask);
    if(_sfParent.getValue() != NullFC)
        _sfParent.getValue()->invalidateVolume();
}

void Node::getWorldVolume(DynamicVolume &result)
{
    Matrix m;
    if(_sfParent.getValue() != NullFC)
        _sfParent.getValue()->getToWorld(m);
    else
        m.setIdentity();
    updateVolume();
    result = _sfVolume.getValue();
    result.transform(m);
}

void Node::changed(BitVector whichField, UInt32 origin)
{
    Inherited::changed(whichField, origin);

    bool loaded = (origin & ChangedOrigin::Abstract) && (origin & ChangedOrigin::AbstrIncRefCount);
    NodePtr thisP(this);

    if(whichField & CoreFieldMask)
    {
        if(loaded && _sfCore.getValue() != NullFC)
        {
            addRefCP(_sfCore.getValue());
            if(_sfCore.getValue()->getParents().find(thisP) == _sfCore.getValue()->getParents().end())
                _sfCore.getValue()->addParent(thisP);
        }
        invalidateVolume();
    }
    if(whichField & TravMaskFieldMask)
    {
        if(_sfParent.getValue() != NullFC)
            _sfParent.getValue()->invalidateVolume();
        else
            invalidateVolume();
    }
    if(whichField & ChildrenFieldMask)
    {
        if(loaded)
        {
            for(UInt32 i = 0; i < _mfChildren.size(); ++i)
            {
                if(_mfChildren[i] == NullFC)
                    continue;
                addRefCP(_mfChildren[i]);
                _mfChildren[i]->_sfParent.setValue(thisP);
            }
        }
        invalidateVolume();
    }
}

NodePtr cloneTree(const NodePtr &rootNode)
{
    if(rootNode == NullFC)
        return NodePtr();
    NodePtr copy = Node::create();
    if(copy == NullFC)
        return copy;
    beginEditCP(copy, Node::CoreFieldMask | Node::ChildrenFieldMask | Node::TravMaskFieldMask);
    copy->setCore(rootNode->getCore());
    copy->setTravMask(rootNode->getTravMask());
    for(UInt32 i = 0; i < rootNode->getNChildren(); ++i)
        copy->addChild(cloneTree(rootNode->getChild(i)));
    endEditCP(copy, Node::CoreFieldMask | Node::ChildrenFieldMask | Node::TravMaskFieldMask);
    return copy;
}

} // namespace osg
