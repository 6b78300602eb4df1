// Copies of nodes and trees, flags, and world volumes.

#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGTransform.h>
#include <OpenSG/OSGTransform3D.h>
#include <OpenSG/OSGSimpleAttachments.h>
#include <OpenSG/OSGChangeList.h>
#include <OpenSG/OSGLog.h>
#include "kernel/fcd/OSGTestTriangles.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

using namespace osg;

namespace {

NodePtr makeNode(const NodeCorePtr &core, const std::string &name = "")
{
    NodePtr n = Node::create();
    beginEditCP(n, Node::CoreFieldMask);
    n->setCore(core);
    endEditCP(n, Node::CoreFieldMask);
    if(!name.empty())
        setName(n, name);
    return n;
}

bool alive(UInt32 id)
{
    return FieldContainerFactory::the()->getContainer(id) != NullFC;
}

/*! Every container id in a subtree: nodes, cores and attachments. */
void collectIds(const NodePtr &n, std::set<UInt32> &ids)
{
    ids.insert(n.getFieldContainerId());
    if(n->getCore() != NullFC)
        ids.insert(n->getCore().getFieldContainerId());
    for(const auto &entry : n->getAttachments())
        ids.insert(entry.second.getFieldContainerId());
    for(UInt32 i = 0; i < n->getNChildren(); ++i)
        collectIds(n->getChild(i), ids);
}

AttachmentPtr nameOf(const NodePtr &n)
{
    return n->findAttachment(Name::getClassType());
}

/*   root (Group, "root", flags 0x5, travMask 0xF0)
     ├── xf (Transform3D with translation (1,2,3), "xf")
     │   └── tri (TestTriangles, shared core S)
     └── tri2 (TestTriangles, the same core S)      */
struct Scene
{
    Scene()
    {
        addRefCP(root);
        beginEditCP(root, Node::FlagsFieldMask | Node::TravMaskFieldMask);
        root->setFlags(0x5);
        root->setTravMask(0xF0);
        endEditCP(root, Node::FlagsFieldMask | Node::TravMaskFieldMask);
        beginEditCP(t3d, Transform3D::TranslationFieldMask);
        t3d->setTranslation(Vec3f(1, 2, 3));
        endEditCP(t3d, Transform3D::TranslationFieldMask);
        beginEditCP(shared, TestTriangles::PositionsFieldMask);
        for(const Pnt3f &p : {Pnt3f(0, 0, 0), Pnt3f(1, 0, 0), Pnt3f(0, 1, 0)})
            shared->editMFPositions()->push_back(p);
        endEditCP(shared, TestTriangles::PositionsFieldMask);
        root->addChild(xf);
        xf->addChild(tri);
        root->addChild(tri2);
    }
    ~Scene() { subRefCP(root); }

    Transform3DPtr   t3d    = Transform3D::create();
    TestTrianglesPtr shared = TestTriangles::create();
    NodePtr root = makeNode(Group::create(), "root"), xf = makeNode(t3d, "xf"),
            tri = makeNode(shared, "tri"), tri2 = makeNode(shared);
};

} // namespace

TEST(DeepClone, CopiesEveryContainerOfTheTree)
{
    Scene scene;
    std::set<UInt32> originalIds, copyIds;
    collectIds(scene.root, originalIds);
    NodePtr copy = deepCloneTree(scene.root);
    ASSERT_NE(copy, NullFC);
    addRefCP(copy);
    collectIds(copy, copyIds);
    for(UInt32 id : copyIds)
        EXPECT_EQ(originalIds.count(id), 0u) << "container " << id << " is not a copy";

    // Same structure and values.
    EXPECT_EQ(copy->getFlags(), 0x5u);
    EXPECT_EQ(copy->getTravMask(), 0xF0u);
    EXPECT_STREQ(getName(copy), "root");
    ASSERT_EQ(copy->getNChildren(), 2u);
    NodePtr xf = copy->getChild(0), tri2 = copy->getChild(1);
    EXPECT_EQ(xf->getParent(), copy);
    EXPECT_STREQ(getName(xf), "xf");
    Transform3DPtr t3d = Transform3DPtr::dcast(xf->getCore());
    ASSERT_NE(t3d, NullFC);
    EXPECT_EQ(t3d->getTranslation(), Vec3f(1, 2, 3));
    EXPECT_TRUE(t3d->getMatrix().equals(scene.t3d->getMatrix(), 0.f));
    ASSERT_EQ(xf->getNChildren(), 1u);

    // The core shared by two nodes is copied once and shared by both copies.
    TestTrianglesPtr copiedCore = TestTrianglesPtr::dcast(xf->getChild(0)->getCore());
    ASSERT_NE(copiedCore, NullFC);
    EXPECT_NE(copiedCore, scene.shared);
    EXPECT_EQ(tri2->getCore(), copiedCore);
    EXPECT_EQ(copiedCore.getRefCount(), 2);
    EXPECT_EQ(copiedCore->getParents().size(), 2u);
    EXPECT_EQ(*copiedCore->getMFPositions(), *scene.shared->getMFPositions());

    // Each copy is recorded as created and as edited.
    ChangeList *changes = Thread::getCurrentChangeList();
    EXPECT_TRUE(changes->wasCreated(t3d.getFieldContainerId()));
    EXPECT_TRUE(bool(changes->getChangedMask(t3d.getFieldContainerId()) &
                     Transform3D::TranslationFieldMask));

    // The copies hold their references: releasing the copy frees all of them and nothing else.
    EXPECT_EQ(xf.getRefCount(), 1);
    EXPECT_EQ(t3d.getRefCount(), 1);
    subRefCP(copy);
    for(UInt32 id : copyIds)
        EXPECT_FALSE(alive(id)) << "container " << id << " leaked";
    for(UInt32 id : originalIds)
        EXPECT_TRUE(alive(id)) << "container " << id << " was released";
    EXPECT_EQ(deepCloneTree(NodePtr()), NullFC);
}

TEST(DeepClone, SharedTypesStayShared)
{
    Scene scene;
    const Int32 sharedRefs = scene.shared.getRefCount();
    NodePtr copy = deepCloneTree(scene.root, "TestTriangles, Name");
    addRefCP(copy);
    EXPECT_EQ(copy->getChild(1)->getCore(), scene.shared);
    EXPECT_EQ(scene.shared.getRefCount(), sharedRefs + 2);
    EXPECT_EQ(scene.shared->getParents().size(), 4u);
    // Name attachments are shared; the Transform3D core is not.
    EXPECT_EQ(nameOf(copy), nameOf(scene.root));
    EXPECT_NE(copy->getChild(0)->getCore(), scene.xf->getCore());

    // Derived types count: sharing "Transform" shares the Transform3D core.
    NodePtr second = deepCloneTree(scene.root, std::vector<std::string>{ "Transform" });
    addRefCP(second);
    EXPECT_EQ(second->getChild(0)->getCore(), scene.xf->getCore());
    EXPECT_NE(second->getChild(1)->getCore(), scene.shared);
    subRefCP(copy);
    subRefCP(second);
    EXPECT_EQ(scene.shared.getRefCount(), sharedRefs);
    EXPECT_EQ(scene.shared->getParents().size(), 2u);

    LogCapture capture;
    NodePtr third = deepCloneTree(scene.tri, "NoSuchType");
    EXPECT_TRUE(capture.contains("NoSuchType")) << capture.text();
    ASSERT_NE(third, NullFC);
    addRefCP(third);
    EXPECT_NE(third->getCore(), scene.shared);
    subRefCP(third);
}

TEST(DeepClone, SingleContainersAndAttachments)
{
    Scene scene;
    Transform3DPtr t3d = Transform3DPtr::dcast(deepClone(scene.t3d));
    ASSERT_NE(t3d, NullFC);
    addRefCP(t3d);
    EXPECT_EQ(t3d->getTranslation(), Vec3f(1, 2, 3));
    EXPECT_TRUE(t3d->getParents().empty()) << "back-pointers are not copied";
    EXPECT_TRUE(Thread::getCurrentChangeList()->wasCreated(t3d.getFieldContainerId()));
    subRefCP(t3d);

    // Attachments copied onto another container replace what it held under the same key.
    NodePtr target = makeNode(Group::create(), "old");
    addRefCP(target);
    UInt32 oldNameId = nameOf(target).getFieldContainerId();
    deepCloneAttachments(scene.root, target);
    EXPECT_STREQ(getName(target), "root");
    EXPECT_NE(nameOf(target), nameOf(scene.root));
    EXPECT_FALSE(alive(oldNameId));
    deepCloneAttachments(scene.xf, target, std::vector<std::string>{ "Name" });
    EXPECT_EQ(nameOf(target), nameOf(scene.xf));
    deepCloneAttachments(NodePtr(), target);
    EXPECT_STREQ(getName(target), "xf");
    subRefCP(target);
}

TEST(NodeCopies, CloneAndCloneTreeShareCores)
{
    Scene scene;
    beginEditCP(scene.xf, Node::OcclusionMaskFieldMask | Node::FlagsFieldMask);
    scene.xf->setOcclusionMask(3);
    scene.xf->setFlags(0x1000);
    endEditCP(scene.xf, Node::OcclusionMaskFieldMask | Node::FlagsFieldMask);
    NodePtr single = scene.xf->clone();
    addRefCP(single);
    EXPECT_EQ(single->getCore(), scene.xf->getCore());
    EXPECT_EQ(single->getNChildren(), 0u);
    EXPECT_EQ(single->getOcclusionMask(), 3);
    EXPECT_EQ(single->getFlags(), 0x1000u);
    EXPECT_EQ(getName(single), nullptr);
    EXPECT_EQ(scene.t3d->getParents().size(), 2u);
    subRefCP(single);                               EXPECT_EQ(scene.t3d->getParents().size(), 1u);

    NodePtr tree = cloneTree(scene.root);
    addRefCP(tree);
    EXPECT_EQ(tree->getTravMask(), 0xF0u);
    EXPECT_EQ(tree->getChild(0)->getChild(0)->getCore(), scene.shared);
    EXPECT_EQ(tree->getChild(1)->getCore(), scene.shared);
    subRefCP(tree);
}

TEST(NodeFlags, SetFlagReportsChanges)
{
    NodePtr n = Node::create();
    addRefCP(n);
    EXPECT_TRUE(n->setFlag(0x1000 | 0x1, true));    EXPECT_EQ(n->getFlags(), 0x1001u);
    EXPECT_FALSE(n->setFlag(0x1000, true));
    EXPECT_TRUE(n->setFlag(0x1000, false));         EXPECT_EQ(n->getFlags(), 0x1u);
    EXPECT_FALSE(n->setFlag(0x2, false));
    subRefCP(n);
}

TEST(NodeVolumes, WorldVolumeUsesTheParentsMatrix)
{
    Scene scene;
    // The node's own volume already holds its core's transform; only the parents' apply on top.
    TransformPtr top = Transform::create();
    Matrix m;
    m.setScale(2.f);
    top->setMatrix(m);
    beginEditCP(scene.root, Node::CoreFieldMask);
    scene.root->setCore(top);
    endEditCP(scene.root, Node::CoreFieldMask);
    auto bounds = [](const Volume &v) {
        Pnt3f lo, hi;
        v.getBounds(lo, hi);
        return std::make_pair(lo, hi);
    };
    DynamicVolume world;
    scene.xf->getWorldVolume(world);
    EXPECT_EQ(bounds(world), std::make_pair(Pnt3f(2, 4, 6), Pnt3f(4, 6, 6)));
    EXPECT_EQ(bounds(scene.xf->getVolume(true)), std::make_pair(Pnt3f(1, 2, 3), Pnt3f(2, 3, 3)));
    // At a root the volume is its own.
    scene.root->getWorldVolume(world);
    EXPECT_EQ(bounds(world), std::make_pair(Pnt3f(0, 0, 0), Pnt3f(4, 6, 6)));

    // A node with travMask 0 does not count for its parent.
    scene.xf->setTravMask(0);
    beginEditCP(scene.xf, Node::TravMaskFieldMask);
    endEditCP(scene.xf, Node::TravMaskFieldMask);
    EXPECT_EQ(bounds(scene.root->getVolume(true)).second, Pnt3f(2, 2, 0));
}
