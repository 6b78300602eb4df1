#include <OpenSGExt/NodeUtils.h>

#include <platform/skSceneData.h>

#include <OpenSG/OSGLog.h>
#include <OpenSG/OSGName.h>

#include <vector>

using namespace osg;

namespace {

NamePtr findName(const AttachmentContainerPtr &container)
{
    return NamePtr::dcast(container->findAttachment(Name::getClassType()));
}

} // namespace

const char *NodeUtils::getName(const NodePtr &node)
{
    if(node == NullFC)
        return NULL;
    NamePtr name = findName(node);
    if(name != NullFC)
        return name->getName().c_str();
    NodeCorePtr core = node->getCore();
    if(core == NullFC)
        return NULL;
    name = findName(core);
    if(name != NullFC)
        return name->getName().c_str();
    return core->getType().getCName();
}

void NodeUtils::setName(const NodePtr &node, const char *name, bool flag)
{
    if(node == NullFC || name == NULL)
    {
        SWARNING << "NodeUtils::setName: " << (node == NullFC ? "null node" : "null name")
                 << "; nothing named" << std::endl;
        return;
    }
    NamePtr attachment = findName(node);
    if(attachment == NullFC)
    {
        attachment = Name::create();
        if(attachment == NullFC)
        {
            SWARNING << "NodeUtils::setName: cannot create a Name attachment" << std::endl;
            return;
        }
        beginEditCP(node, Node::AttachmentsFieldMask);
        node->addAttachment(attachment);
        endEditCP(node, Node::AttachmentsFieldMask);
    }
    const BitVector mask = Name::NameFieldMask | Name::EncodingFieldMask;
    beginEditCP(attachment, mask);
    attachment->setName(name);
    attachment->setEncoding(flag ? 1u : 0u);
    endEditCP(attachment, mask);
}

NodePtr NodeUtils::createNodeWithCore(const NodeCorePtr &core, const NodePtr &parent,
                                      const std::string &name)
{
    if(core == NullFC)
    {
        SWARNING << "NodeUtils::createNodeWithCore: null core; no node created for \"" << name
                 << "\"" << std::endl;
        return NullFC;
    }
    NodePtr node = Node::create();
    if(node == NullFC)
    {
        SWARNING << "NodeUtils::createNodeWithCore: cannot create a node" << std::endl;
        return NullFC;
    }
    beginEditCP(node, Node::CoreFieldMask);
    node->setCore(core);
    endEditCP(node, Node::CoreFieldMask);
    if(parent != NullFC)
    {
        beginEditCP(parent, Node::ChildrenFieldMask);
        parent->addChild(node);
        endEditCP(parent, Node::ChildrenFieldMask);
    }
    setName(node, name.c_str(), false);
    return node;
}

bool NodeUtils::hasParent(const NodePtr &node, const NodePtr &ancestor)
{
    if(node == NullFC || ancestor == NullFC)
        return false;
    for(NodePtr p = node->getParent(); p != NullFC; p = p->getParent())
    {
        if(p == ancestor)
            return true;
    }
    return false;
}

bool NodeUtils::isScenegraphNode(const NodePtr &node)
{
    if(node == NullFC || node->getFlag(NotInSceneGraphFlag))
        return false;
    const NodePtr &root = skSceneDataManager::getSceneData()->getRoot();
    if(root == NullFC)
        return false;
    return node == root || hasParent(node, root);
}

void NodeUtils::setNodeFlag(const NodePtr &node, UInt32 flag, bool on)
{
    if(node == NullFC)
    {
        SWARNING << "NodeUtils::setNodeFlag: null node" << std::endl;
        return;
    }
    // An explicit stack keeps deep chains off the call stack; children are pushed in reverse
    // so that they are visited in order.
    std::vector<NodePtr> pending(1, node);
    while(!pending.empty())
    {
        NodePtr n = pending.back();
        pending.pop_back();
        const UInt32 old     = n->getFlags();
        const UInt32 updated = on ? (old | flag) : (old & ~flag);
        if(updated != old)
        {
            beginEditCP(n, Node::FlagsFieldMask);
            n->setFlag(flag, on);
            endEditCP(n, Node::FlagsFieldMask);
        }
        for(UInt32 i = n->getNChildren(); i-- > 0;)
        {
            NodePtr child = n->getChild(i);
            if(child != NullFC)
                pending.push_back(child);
        }
    }
}
