#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGAttachment.h>
#include <OpenSG/OSGBinaryDataHandler.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGLog.h>

#include <vector>

#include <sstream>
#include <unordered_map>

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

bool Node::setFlag(UInt32 flag, bool on)
{
    UInt32 old = _sfFlags.getValue();
    _sfFlags.setValue(on ? (old | flag) : (old & ~flag));
    return _sfFlags.getValue() != old;
}

NodePtr Node::clone(void)
{
    NodePtr copy = Node::create();
    if(copy == NullFC)
        return copy;
    const BitVector mask = CoreFieldMask | TravMaskFieldMask | OcclusionMaskFieldMask | FlagsFieldMask;
    beginEditCP(copy, mask);
    copy->setCore(_sfCore.getValue());
    copy->setTravMask(_sfTravMask.getValue());
    copy->setOcclusionMask(_sfOcclusionMask.getValue());
    copy->setFlags(_sfFlags.getValue());
    endEditCP(copy, mask);
    return copy;
}

Matrix Node::getToWorld(void)
{
    Matrix m;
    getToWorld(m);
    return m;
}

void Node::getToWorld(Matrix &result)
{
    // Iterative, root first: a deep hierarchy must not cost a stack frame per level. Typical
    // depths fit the local buffer, so the common query allocates nothing.
    Node               *local[64];
    std::vector<Node *> deep;
    size_t              depth = 0;
    for(Node *n = this; n != NULL; n = n->_sfParent.getValue().getCPtr())
    {
        if(depth < 64)
        {
            local[depth++] = n;
            continue;
        }
        if(deep.empty())
            deep.assign(local, local + 64);
        deep.push_back(n);
        if(deep.size() > (size_t(1) << 26))
        {
            SWARNING << "Node::getToWorld: parent chain does not end" << std::endl;
            break;
        }
    }
    Node *const *path = deep.empty() ? local : deep.data();
    size_t       count = deep.empty() ? depth : deep.size();
    result.setIdentity();
    for(size_t i = count; i-- > 0; )
    {
        if(path[i]->_sfCore.getValue() != NullFC)
            path[i]->_sfCore.getValue()->accumulateMatrix(result);
    }
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

namespace {

/*! Copies containers through their binary form: while a copy reads its fields, the factory's id
    mapper turns every container id it meets into the id of that container's copy, making the
    copy first if needed. */
class DeepCloner : public FieldContainerMapper
{
  public:
    explicit DeepCloner(const std::vector<std::string> &shareTypes)
        : _shareTypes(), _previous(FieldContainerFactory::the()->getMapper())
    {
        for(const std::string &name : shareTypes)
        {
            const FieldContainerType *type = FieldContainerFactory::the()->findType(name.c_str());
            if(type != NULL)
                _shareTypes.push_back(type);
            else
                SWARNING << "deepClone: unknown type \"" << name << "\" to share" << std::endl;
        }
        FieldContainerFactory::the()->setMapper(this);
    }
    ~DeepCloner() override { FieldContainerFactory::the()->setMapper(_previous); }

    DeepCloner(const DeepCloner &) = delete;
    DeepCloner &operator=(const DeepCloner &) = delete;

    bool isShared(const FieldContainerPtr &fc) const
    {
        for(const FieldContainerType *type : _shareTypes)
        {
            if(fc->getType().isDerivedFrom(*type))
                return true;
        }
        return false;
    }

    FieldContainerPtr clone(const FieldContainerPtr &src)
    {
        if(src == NullFC)
            return src;
        auto known = _copies.find(src.getFieldContainerId());
        if(known != _copies.end())
            return known->second;

        const FieldContainerType &type = src->getType();
        FieldContainerPtr dst = type.createFieldContainer();
        if(dst == NullFC)
        {
            SWARNING << "deepClone: cannot create a container of type " << type.getName()
                     << std::endl;
            return dst;
        }
        _copies[src.getFieldContainerId()] = dst;

        BitVector mask;
        for(UInt32 id = 1; id <= type.getNumFieldDescs(); ++id)
        {
            const FieldDescription *desc = type.getFieldDescription(id);
            if(desc != NULL && !desc->isInternal())
                mask |= desc->getFieldMask();
        }

        MemoryBinaryDataHandler data;
        src->copyToBin(data, mask);
        data.rewind();
        beginEditCP(dst, mask, ChangedOrigin::Abstract | ChangedOrigin::AbstrIncRefCount);
        dst->copyFromBin(data, mask);
        endEditCP(dst, mask, ChangedOrigin::Abstract | ChangedOrigin::AbstrIncRefCount);
        return dst;
    }

    UInt32 map(UInt32 id) override
    {
        FieldContainerPtr src = FieldContainerFactory::the()->getContainer(id);
        if(src == NullFC || isShared(src))
            return id;
        return clone(src).getFieldContainerId();
    }

  private:
    std::vector<const FieldContainerType *>       _shareTypes;
    FieldContainerMapper                         *_previous;
    std::unordered_map<UInt32, FieldContainerPtr> _copies;
};

std::vector<std::string> splitTypeNames(const std::string &names)
{
    std::vector<std::string> out;
    std::string              current;
    for(char ch : names)
    {
        if(ch == ',' || ch == ' ' || ch == '\t' || ch == '\n')
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

} // namespace

FieldContainerPtr deepClone(const FieldContainerPtr &src, const std::vector<std::string> &shareTypes)
{
    if(src == NullFC)
        return src;
    DeepCloner cloner(shareTypes);
    return cloner.clone(src);
}

FieldContainerPtr deepClone(const FieldContainerPtr &src, const std::string &shareTypes)
{
    return deepClone(src, splitTypeNames(shareTypes));
}

NodePtr deepCloneTree(const NodePtr &src, const std::vector<std::string> &shareTypes)
{
    return NodePtr::dcast(deepClone(src, shareTypes));
}

NodePtr deepCloneTree(const NodePtr &src, const std::string &shareTypes)
{
    return NodePtr::dcast(deepClone(src, splitTypeNames(shareTypes)));
}

void deepCloneAttachments(const AttachmentContainerPtr   &src,
                          const AttachmentContainerPtr   &dst,
                          const std::vector<std::string> &shareTypes)
{
    if(src == NullFC || dst == NullFC)
        return;
    // A snapshot: src and dst may be the same container.
    AttachmentMap attachments = src->getAttachments();
    if(attachments.empty())
        return;

    DeepCloner cloner(shareTypes);
    beginEditCP(dst, AttachmentContainer::AttachmentsFieldMask);
    for(const auto &entry : attachments)
    {
        if(entry.second == NullFC)
            continue;
        AttachmentPtr copy = cloner.isShared(entry.second)
                                 ? entry.second
                                 : AttachmentPtr::dcast(cloner.clone(entry.second));
        dst->addAttachment(copy, UInt16(entry.first & 0xFFFFu));
    }
    endEditCP(dst, AttachmentContainer::AttachmentsFieldMask);
}

} // namespace osg
