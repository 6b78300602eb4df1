// AnimAttachment: the root made on creation, the three warnings with their module, file and
// pointer notation, the top-level searches, silent transfers (hidden animations included) and
// the reference the attachment holds on its root through copies, loads and destruction.

#include "animation/AnimTestSupport.h"

#include <OpenSGExt/OSGAnimAttachment.h>
#include <OpenSGExt/OSGAnimBlock.h>
#include <OpenSGExt/OSGAnimShot.h>
#include <OpenSGExt/OSGVertexAnimCurves.h>
#include <OpenSGExt/NodeUtils.h>

#include <OpenSG/OSGRefPtr.h>
#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGBinaryDataHandler.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGLog.h>

#include <gtest/gtest.h>

#include <sstream>

using namespace osg;
using namespace animtest;

namespace {

// OpenSG's pointer notation, "FCPtr 0x<pointer object>:<Type>Ptr(0x<container>)": the part
// after the colon names the container; the pointer object's address differs per copy.
std::string pointerText(const FieldContainerPtr &p)
{
    std::ostringstream os;
    os << p;
    return os.str();
}

void expectMessage(const std::string &text, const std::string &head, const FieldContainerPtr &p,
                   const std::string &tail)
{
    const std::string full = pointerText(p), object = full.substr(full.find(':'));
    ASSERT_EQ(text.rfind(head + "FCPtr 0x", 0), 0u) << text;
    const size_t colon = text.find(':', head.size() + 8);
    ASSERT_NE(colon, std::string::npos) << text;
    EXPECT_EQ(text.substr(colon), object + tail) << text;
}

// An attachment whose root was taken away, as a file can leave it.
RefPtr<AnimAttachmentPtr> withoutRoot(void)
{
    RefPtr<AnimAttachmentPtr> bare(AnimAttachment::create());
    beginEditCP(bare, AnimAttachment::AnimationRootFieldMask);
    bare->setAnimationRoot(NullFC);
    endEditCP(bare, AnimAttachment::AnimationRootFieldMask);
    return bare;
}

class AttachmentTest : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        _att = AnimAttachment::create();
        addRefCP(_att);
    }
    void TearDown() override { subRefCP(_att); }
    AnimAttachmentPtr _att;
};

} // namespace

TEST_F(AttachmentTest, RootMadeOnCreate)
{
    AnimNodePtr root = _att->getAnimationRoot();
    ASSERT_NE(root, NullFC);
    EXPECT_STREQ(NodeUtils::getName(root), "AnimationRoot");
    EXPECT_NE(GroupPtr::dcast(root->getCore()), NullFC);
    EXPECT_EQ(getRefCount(root), 1);
    EXPECT_FALSE(_att->hasAnimations());
    // The prototype, made while starting up, has no root.
    AnimAttachmentPtr proto = AnimAttachmentPtr::dcast(AnimAttachment::getClassType().getPrototype());
    EXPECT_EQ(proto->getAnimationRoot(), NullFC);
}

TEST_F(AttachmentTest, AddSubAndSearches)
{
    AnimNodePtr curve  = animNode(AnimCurve::create());
    AnimNodePtr block  = animNode(AnimShot::create());
    AnimNodePtr hidden = animNode(AnimCurve::create(), Vec2f(0.f, 0.f), 1.f, true);
    NodePtr     plain  = Node::create();
    _att->addAnimation(curve);
    _att->addAnimation(curve);
    _att->addAnimation(block);
    _att->addAnimation(hidden);
    _att->addAnimation(NullFC);
    add(_att->getAnimationRoot(), plain);
    EXPECT_EQ(_att->getAnimationRoot()->getNChildren(), 4u);

    std::vector<AnimNodePtr> out;
    _att->getTopLevelAnimations(out, false);
    EXPECT_EQ(out, (std::vector<AnimNodePtr>{ curve, block }));
    out.clear();
    _att->getTopLevelAnimations(out, true);
    EXPECT_EQ(out, (std::vector<AnimNodePtr>{ curve, block, hidden }));
    out.clear();
    _att->getTopLevelCurveNodes(out);
    EXPECT_EQ(out, (std::vector<AnimNodePtr>{ curve, hidden }));
    out.clear();
    _att->getTopLevelBlockNodes(out);
    EXPECT_EQ(out, (std::vector<AnimNodePtr>{ block }));
    EXPECT_TRUE(_att->hasAnimations());

    EXPECT_FALSE(_att->hasVertexAnimation());
    AnimNodePtr deep = animNode(VertexAnimCurves::create());
    add(block, deep);
    EXPECT_TRUE(_att->hasVertexAnimation());

    LogCapture log;
    _att->subAnimation(block);
    _att->subAnimation(NullFC);
    EXPECT_EQ(log.count(), 0u);
    out.clear();
    _att->getTopLevelAnimations(out, true);
    EXPECT_EQ(out, (std::vector<AnimNodePtr>{ curve, hidden }));
    _att->removeAnimations();
    EXPECT_FALSE(_att->hasAnimations());
    EXPECT_EQ(_att->getAnimationRoot()->getNChildren(), 0u);
}

TEST_F(AttachmentTest, WarningsWithoutRootOrChild)
{
    RefPtr<AnimAttachmentPtr> bare = withoutRoot();
    RefPtr<AnimNodePtr> anim(animNode(AnimCurve::create()));

    LogCapture log;
    bare->addAnimation(anim);
    bare->subAnimation(anim);
    _att->subAnimation(anim);
    std::vector<LogEntry> e = log.entries();
    ASSERT_EQ(e.size(), 3u);
    expectMessage(e[0].text, "AnimAttachment::addAnimation(", bare, ") has no animation root!");
    expectMessage(e[1].text, "AnimAttachment::subAnimation(", bare, ") has no animation root!");
    expectMessage(e[2].text, "AnimAttachment::subAnimation(", _att, ") has no animation ");
    for(const LogEntry &entry : e)
    {
        EXPECT_EQ(entry.level, LOG_WARNING);
        EXPECT_EQ(entry.module, "OpenSG");
        EXPECT_EQ(entry.file, "OSGAnimAttachment.cpp");
        EXPECT_GT(entry.line, 0);
    }
    EXPECT_EQ(getRefCount(anim), 1);
    EXPECT_FALSE(bare->hasVertexAnimation());
}

TEST_F(AttachmentTest, TransferMovesEverythingSilently)
{
    RefPtr<AnimAttachmentPtr> other(AnimAttachment::create());
    AnimNodePtr       a = animNode(AnimCurve::create());
    AnimNodePtr       b = animNode(AnimBlock::create(), Vec2f(0.f, 0.f), 1.f, true);
    _att->addAnimation(a);
    _att->addAnimation(b);
    LogCapture log;
    _att->transferAnimationsTo(other);
    EXPECT_EQ(log.count(), 0u);
    EXPECT_FALSE(_att->hasAnimations());
    std::vector<AnimNodePtr> out;
    other->getTopLevelAnimations(out, true);
    EXPECT_EQ(out, (std::vector<AnimNodePtr>{ a, b }));
    EXPECT_EQ(getRefCount(a), 1);

    // Refused targets change nothing and say why.
    other->transferAnimationsTo(NullFC);
    other->transferAnimationsTo(other);
    RefPtr<AnimAttachmentPtr> bare = withoutRoot();
    other->transferAnimationsTo(bare);
    EXPECT_EQ(log.count(), 3u);
    EXPECT_EQ(other->getAnimationRoot()->getNChildren(), 2u);
}

TEST_F(AttachmentTest, RootReferenceFollowsTheField)
{
    AnimNodePtr root = _att->getAnimationRoot();
    // A shallow copy makes a root of its own.
    AnimAttachmentPtr copy = AnimAttachmentPtr::dcast(_att->shallowCopy());
    addRefCP(copy);
    EXPECT_NE(copy->getAnimationRoot(), root);
    EXPECT_EQ(getRefCount(root), 1);

    // Loading the root field of another attachment: the loaded root is referenced, the old one
    // released.
    MemoryBinaryDataHandler out;
    _att->copyToBin(out, AnimAttachment::AnimationRootFieldMask);
    out.rewind();
    const UInt32 oldId = copy->getAnimationRoot().getFieldContainerId();
    const UInt32 origin = ChangedOrigin::Abstract | ChangedOrigin::AbstrIncRefCount;
    beginEditCP(copy, AnimAttachment::AnimationRootFieldMask, origin);
    copy->copyFromBin(out, AnimAttachment::AnimationRootFieldMask);
    endEditCP(copy, AnimAttachment::AnimationRootFieldMask, origin);
    EXPECT_EQ(copy->getAnimationRoot(), root);
    EXPECT_EQ(getRefCount(root), 2);
    EXPECT_EQ(FieldContainerFactory::the()->getContainer(oldId), NullFC);
    subRefCP(copy);
    EXPECT_EQ(getRefCount(root), 1);
}
