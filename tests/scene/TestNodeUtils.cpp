// NodeUtils: names and their change records, node creation, ancestry against the host's root,
// and flags set through a subtree with only real changes recorded.

#include "support/SceneTestSupport.h"

#include <OpenSGExt/NodeUtils.h>
#include <platform/skSceneData.h>

#include <OpenSG/OSGRefPtr.h>
#include <OpenSG/OSGLog.h>
#include <OpenSG/OSGName.h>
#include <OpenSG/OSGSimpleAttachments.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace osg;
using namespace scenetest;

namespace {

ChangeList &changes()
{
    return *Thread::getCurrentChangeList();
}

// The ids of the containers whose edits touched the mask, in order.
std::vector<UInt32> editedWith(const BitVector &mask)
{
    std::vector<UInt32> ids;
    for(const ChangeList::ChangeEntry &e : changes().getChanged())
    {
        if(e.second & mask)
            ids.push_back(e.first);
    }
    return ids;
}

std::vector<UInt32> ids(std::initializer_list<NodePtr> nodes)
{
    std::vector<UInt32> out;
    for(const NodePtr &n : nodes)
        out.push_back(n.getFieldContainerId());
    return out;
}

NamePtr nameOf(const AttachmentContainerPtr &c)
{
    return NamePtr::dcast(c->findAttachment(Name::getClassType()));
}

TEST(NodeUtilsNames, NameComesFromNodeThenCoreThenType)
{
    NodePtr bare = Node::create(), node = groupNode();
    RefPtr<FieldContainerPtr> holdBare(bare), hold(node);
    EXPECT_EQ(NodeUtils::getName(NullFC), nullptr);
    EXPECT_EQ(NodeUtils::getName(bare), nullptr) << "neither name nor core";
    ASSERT_NE(NodeUtils::getName(node), nullptr);
    EXPECT_STREQ(NodeUtils::getName(node), "Group");
    osg::setName(node->getCore(), std::string("core"));
    EXPECT_STREQ(NodeUtils::getName(node), "core");
    osg::setName(node, std::string("node"));
    EXPECT_STREQ(NodeUtils::getName(node), "node");
}

TEST(NodeUtilsNames, SetNameCreatesOnceAndRecordsTextAndEncoding)
{
    NodePtr node = groupNode();
    RefPtr<FieldContainerPtr> hold(node);
    changes().clearAll();
    NodeUtils::setName(node, "wheel", true);
    NamePtr name = nameOf(node);
    ASSERT_NE(name, NullFC);
    EXPECT_EQ(name->getName(), "wheel");
    EXPECT_EQ(name->getEncoding(), 1u);
    EXPECT_TRUE(changes().wasCreated(name.getFieldContainerId()));
    EXPECT_TRUE(changes().getChangedMask(node.getFieldContainerId()) &
                Node::AttachmentsFieldMask);
    // Attaching also records the attachment's parents.
    const BitVector textAndEncoding = Name::NameFieldMask | Name::EncodingFieldMask;
    EXPECT_EQ(changes().getChangedMask(name.getFieldContainerId()) & textAndEncoding,
              textAndEncoding);

    changes().clearAll();
    NodeUtils::setName(node, "rim", false);
    EXPECT_EQ(nameOf(node), name) << "the existing attachment is reused";
    EXPECT_EQ(name->getName(), "rim");
    EXPECT_EQ(name->getEncoding(), 0u);
    EXPECT_EQ(changes().getCreated().size(), 0u);
    EXPECT_EQ(editedWith(Node::AttachmentsFieldMask).size(), 0u);
    EXPECT_EQ(changes().getChangedMask(name.getFieldContainerId()), textAndEncoding);

    // Bad arguments change nothing.
    changes().clearAll();
    LogCapture log;
    NodeUtils::setName(node, nullptr, true);
    NodeUtils::setName(NullFC, "x", true);
    EXPECT_EQ(name->getName(), "rim");
    EXPECT_EQ(changes().sizeChanged(), 0u);
    EXPECT_EQ(log.count(), 2u);
}

TEST(NodeUtilsCreate, NodeIsAppendedNamedAndOwnedByParentOrCaller)
{
    NodePtr parent = groupNode();
    RefPtr<FieldContainerPtr> hold(parent);
    addChild(parent, groupNode());
    changes().clearAll();
    GroupPtr core = Group::create();
    NodePtr  node = NodeUtils::createNodeWithCore(core, parent, "door");
    ASSERT_NE(node, NullFC);
    EXPECT_EQ(node->getCore(), NodeCorePtr(core));
    ASSERT_EQ(parent->getNChildren(), 2u);
    EXPECT_EQ(parent->getChild(1), node);
    EXPECT_EQ(getRefCount(node), 1) << "the parent holds the only reference";
    EXPECT_STREQ(NodeUtils::getName(node), "door");
    EXPECT_EQ(nameOf(node)->getEncoding(), 0u);
    EXPECT_TRUE(changes().wasCreated(node.getFieldContainerId()));
    EXPECT_TRUE(changes().getChangedMask(node.getFieldContainerId()) & Node::CoreFieldMask);
    EXPECT_TRUE(changes().getChangedMask(parent.getFieldContainerId()) &
                Node::ChildrenFieldMask);

    NodePtr loose = NodeUtils::createNodeWithCore(Group::create(), NullFC, "loose");
    ASSERT_NE(loose, NullFC);
    EXPECT_EQ(getRefCount(loose), 0) << "the caller owns a node without parent";
    RefPtr<FieldContainerPtr> holdLoose(loose);

    LogCapture log;
    EXPECT_EQ(NodeUtils::createNodeWithCore(NullFC, parent, "x"), NullFC);
    EXPECT_EQ(parent->getNChildren(), 2u);
    EXPECT_TRUE(log.contains("null core"));
}

// root - a - b, root - c - c2; a separate tree d - e.
class NodeUtilsTree : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        addChild(root, a);
        addChild(a, b);
        addChild(root, c);
        addChild(c, c2);
        addChild(d, e);
    }
    void TearDown() override { skSceneDataManager::getSceneData()->setRoot(NullFC); }

    NodePtr root = groupNode(), a = groupNode(), b = groupNode(), c = groupNode(),
            c2 = groupNode(), d = groupNode(), e = groupNode();
    RefPtr<FieldContainerPtr>    holdRoot{root}, holdD{d};
};

TEST_F(NodeUtilsTree, HasParentWalksUpFromTheParent)
{
    EXPECT_TRUE(NodeUtils::hasParent(b, a));
    EXPECT_TRUE(NodeUtils::hasParent(b, root));
    EXPECT_FALSE(NodeUtils::hasParent(b, b)) << "the node itself does not count";
    EXPECT_FALSE(NodeUtils::hasParent(b, c)) << "a sibling of an ancestor";
    EXPECT_FALSE(NodeUtils::hasParent(a, b)) << "a descendant";
    EXPECT_FALSE(NodeUtils::hasParent(root, root));
    EXPECT_FALSE(NodeUtils::hasParent(NullFC, root));
    EXPECT_FALSE(NodeUtils::hasParent(b, NullFC));
}

TEST_F(NodeUtilsTree, ScenegraphNodesAreTheRootAndItsSubtree)
{
    EXPECT_FALSE(NodeUtils::isScenegraphNode(root)) << "no root set";
    skSceneDataManager::getSceneData()->setRoot(root);
    for(const NodePtr &n : {root, b, c})
        EXPECT_TRUE(NodeUtils::isScenegraphNode(n));
    for(const NodePtr &n : {d, e, NodePtr()})
        EXPECT_FALSE(NodeUtils::isScenegraphNode(n));
    // The flag excludes the flagged node only, not its subtree.
    a->setFlag(NodeUtils::NotInSceneGraphFlag, true);
    EXPECT_FALSE(NodeUtils::isScenegraphNode(a));
    EXPECT_TRUE(NodeUtils::isScenegraphNode(b));
    root->setFlag(NodeUtils::NotInSceneGraphFlag | 0x1, true);
    EXPECT_FALSE(NodeUtils::isScenegraphNode(root));
}

TEST_F(NodeUtilsTree, SetNodeFlagRecordsOnlyRealChangesInTreeOrder)
{
    changes().clearAll();
    NodeUtils::setNodeFlag(root, 0x20, true);
    EXPECT_EQ(editedWith(Node::FlagsFieldMask), ids({root, a, b, c, c2}));

    a->setFlag(0x4, true);
    c->setFlag(0x100, true);
    changes().clearAll();
    NodeUtils::setNodeFlag(root, 0x4, true);
    for(const NodePtr &n : {root, a, b, c, c2})
        EXPECT_TRUE(n->getFlag(0x4) && n->getFlag(0x20));
    EXPECT_TRUE(c->getFlag(0x100)) << "other bits are kept";
    EXPECT_FALSE(e->getFlag(0x4));
    // a already had the bit: not edited, yet its child b was reached.
    EXPECT_EQ(editedWith(Node::FlagsFieldMask), ids({root, b, c, c2}));
    for(const ChangeList::ChangeEntry &entry : changes().getChanged())
        EXPECT_EQ(entry.second, Node::FlagsFieldMask);
    changes().clearAll();
    NodeUtils::setNodeFlag(root, 0x4, true);        EXPECT_EQ(changes().sizeChanged(), 0u);

    // Clearing a two-bit flag changes every node that has either bit.
    b->setFlag(0x4, false);
    changes().clearAll();
    NodeUtils::setNodeFlag(a, 0x4 | 0x100, false);
    EXPECT_EQ(editedWith(Node::FlagsFieldMask), ids({a}));
    EXPECT_FALSE(a->getFlag(0x4 | 0x100));
    EXPECT_TRUE(c->getFlag(0x4)) << "outside the subtree";

    LogCapture log;
    NodeUtils::setNodeFlag(NullFC, 0x20, true);
    EXPECT_EQ(log.count(), 1u);
}

} // namespace
