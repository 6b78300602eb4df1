// Ownership between nodes, cores and attachments, and the kernel's Name attachment.

#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGSimpleAttachments.h>
#include <OpenSG/OSGChangeList.h>
#include <OpenSG/OSGBinaryDataHandler.h>
#include <OpenSG/OSGLog.h>

#include <gtest/gtest.h>

using namespace osg;

namespace {

NodePtr makeNode()
{
    NodePtr n = Node::create();
    beginEditCP(n, Node::CoreFieldMask);
    n->setCore(Group::create());
    endEditCP(n, Node::CoreFieldMask);
    return n;
}

} // namespace

TEST(NodeOwnership, ChildrenAndCoresAreReferencedAndReleased)
{
    NodePtr root = makeNode();
    addRefCP(root);
    NodePtr child = makeNode();
    GroupPtr core = GroupPtr::dcast(child->getCore());
    UInt32 childId = child.getFieldContainerId();
    UInt32 coreId  = core.getFieldContainerId();

    EXPECT_EQ(core.getRefCount(), 1);
    EXPECT_EQ(core->getParents().size(), 1u);
    EXPECT_EQ(core->getParents()[0], child);

    root->addChild(child);
    EXPECT_EQ(child.getRefCount(), 1);
    EXPECT_EQ(child->getParent(), root);
    EXPECT_EQ(root->getNChildren(), 1u);
    EXPECT_EQ(root->findChild(child), 0);

    // Releasing the root releases the whole subtree.
    subRefCP(root);
    EXPECT_EQ(FieldContainerFactory::the()->getContainer(childId), NullFC);
    EXPECT_EQ(FieldContainerFactory::the()->getContainer(coreId), NullFC);
}

TEST(NodeOwnership, AddingAChildMovesItAndSharingACoreCountsTwice)
{
    NodePtr a = makeNode(), b = makeNode(), c = makeNode(), d = makeNode();
    addRefCP(a);
    addRefCP(b);
    a->addChild(c);
    a->addChild(d);
    a->addChild(c);   // a current child moves to the end
    ASSERT_EQ(a->getNChildren(), 2u);
    EXPECT_EQ(a->getChild(0), d);
    EXPECT_EQ(a->getChild(1), c);
    EXPECT_EQ(c.getRefCount(), 1);

    b->addChild(c);   // and from one parent to another
    EXPECT_EQ(a->getNChildren(), 1u);
    EXPECT_EQ(c->getParent(), b);
    EXPECT_EQ(c.getRefCount(), 1);

    NodeCorePtr shared = a->getCore();
    b->setCore(shared);
    EXPECT_EQ(shared.getRefCount(), 2);
    EXPECT_EQ(shared->getParents().size(), 2u);

    EXPECT_FALSE(a->replaceChild(5, c));
    EXPECT_TRUE(a->replaceChild(0, c));
    EXPECT_EQ(a->getChild(0), c);
    EXPECT_EQ(b->getNChildren(), 0u);

    LogCapture capture;
    b->subChild(d);   // not a child: warned, nothing changes
    EXPECT_TRUE(capture.contains("not a child"));
    a->addChild(NullFC);
    a->addChild(a);
    EXPECT_EQ(a->getNChildren(), 1u);

    subRefCP(a);
    subRefCP(b);
}

TEST(NodeOwnership, ToWorldIsIdentityWithoutTransforms)
{
    NodePtr root = makeNode();
    addRefCP(root);
    NodePtr child = makeNode();
    root->addChild(child);
    Matrix m = child->getToWorld();
    EXPECT_TRUE(m.equals(Matrix::identity(), 0.f));
    child->setActive(false);
    EXPECT_FALSE(child->getActive());
    EXPECT_EQ(child->getTravMask(), 0u);
    child->setActive(true);
    EXPECT_EQ(child->getTravMask(), 0xFFFFFFFFu);
    subRefCP(root);
}

TEST(Attachments, ContainersReferenceAttachmentsAndKeyThemByGroup)
{
    NodePtr node = makeNode();
    addRefCP(node);
    NamePtr name = Name::create();
    beginEditCP(node, Node::AttachmentsFieldMask);
    node->addAttachment(name);
    endEditCP(node, Node::AttachmentsFieldMask);

    EXPECT_EQ(name.getRefCount(), 1);
    ASSERT_EQ(name->getParents().size(), 1u);
    EXPECT_EQ(name->getParents()[0], node);
    EXPECT_EQ(node->findAttachment(Name::getClassType()), name);
    EXPECT_EQ(std::string(FieldContainerFactory::the()->findGroupName(name->getGroupId())), "name");

    // A second attachment of the same group and binding replaces the first.
    NamePtr other = Name::create();
    addRefCP(name);
    node->addAttachment(other);
    EXPECT_EQ(node->findAttachment(Name::getClassType()), other);
    EXPECT_EQ(name.getRefCount(), 1);
    EXPECT_TRUE(name->getParents().empty());
    // Another binding keeps both.
    node->addAttachment(name, 3);
    EXPECT_EQ(node->findAttachment(Name::getClassType().getGroupId(), 3), name);
    EXPECT_EQ(node->getAttachments().size(), 2u);

    node->subAttachment(name, 3);
    EXPECT_EQ(node->findAttachment(Name::getClassType().getGroupId(), 3), NullFC);
    subRefCP(name);

    UInt32 otherId = other.getFieldContainerId();
    subRefCP(node);
    EXPECT_EQ(FieldContainerFactory::the()->getContainer(otherId), NullFC);
}

TEST(Attachments, AttachmentMapBinaryForm)
{
    NodePtr node = makeNode();
    addRefCP(node);
    NamePtr name = Name::create();
    node->addAttachment(name, 2);
    NamePtr hidden = Name::create();
    hidden->setInternal(true);
    node->addAttachment(hidden, 5);

    // Internal attachments are not written: count 1, binding 2, id.
    MemoryBinaryDataHandler out;
    node->copyToBin(out, Node::AttachmentsFieldMask);
    UInt32 id = name.getFieldContainerId();
    std::vector<UInt8> golden{0, 0, 0, 1, 0, 2, UInt8(id >> 24), UInt8(id >> 16), UInt8(id >> 8),
                              UInt8(id)};
    EXPECT_EQ(out.getBuffer(), golden);

    // Reading takes no reference; the loader's origin takes them.
    NodePtr copy = Node::create();
    addRefCP(copy);
    MemoryBinaryDataHandler in(golden.data(), golden.size());
    copy->copyFromBin(in, Node::AttachmentsFieldMask);
    EXPECT_EQ(copy->findAttachment(Name::getClassType().getGroupId(), 2), name);
    EXPECT_EQ(name.getRefCount(), 1);
    endEditCP(copy, Node::AttachmentsFieldMask,
              ChangedOrigin::Abstract | ChangedOrigin::AbstrIncRefCount);
    EXPECT_EQ(name.getRefCount(), 2);
    EXPECT_EQ(name->getParents().size(), 2u);

    subRefCP(copy);
    subRefCP(node);
}

TEST(NameAttachment, SetAndGetNamesOnContainers)
{
    NodePtr node = makeNode();
    addRefCP(node);
    EXPECT_EQ(getName(node), nullptr);
    Thread::getCurrentChangeList()->clearAll();
    setName(node, std::string("wheel"));
    ASSERT_NE(getName(node), nullptr);
    EXPECT_STREQ(getName(node), "wheel");
    NamePtr name = NamePtr::dcast(node->findAttachment(Name::getClassType()));
    EXPECT_EQ(Thread::getCurrentChangeList()->getChangedMask(name.getFieldContainerId()) &
                  Name::NameFieldMask,
              Name::NameFieldMask);
    EXPECT_EQ(Thread::getCurrentChangeList()->getChangedMask(node.getFieldContainerId()),
              Node::AttachmentsFieldMask);

    setName(node, "tyre");
    EXPECT_STREQ(getName(node), "tyre");
    EXPECT_EQ(node->getAttachments().size(), 1u);
    setName(node, static_cast<const Char8 *>(nullptr));
    EXPECT_EQ(getName(node), nullptr);
    EXPECT_EQ(getName(NullFC), nullptr);
    setName(NodePtr(), "ignored");
    subRefCP(node);
}

TEST(NodeOwnership, DeepHierarchiesAreReleasedWithoutRecursion)
{
    // Deep enough that one stack frame per level would overflow the default stack.
    const UInt32 depth = 300000;
    NodePtr root = Node::create();
    addRefCP(root);
    NodePtr last = root;
    for(UInt32 i = 0; i < depth; ++i)
    {
        NodePtr n = Node::create();
        last->addChild(n);
        last = n;
    }
    EXPECT_TRUE(last->getToWorld().equals(Matrix::identity(), 0.f));
    UInt32 lastId = last.getFieldContainerId();
    UInt32 live   = FieldContainerFactory::the()->getNumLiveContainers();
    subRefCP(root);
    EXPECT_EQ(FieldContainerFactory::the()->getContainer(lastId), NullFC);
    EXPECT_EQ(FieldContainerFactory::the()->getNumLiveContainers(), live - depth - 1);
}
