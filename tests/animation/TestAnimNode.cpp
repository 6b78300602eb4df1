// AnimNode: time edits on a hand-computed three-level tree with the order of the recorded
// changes, finished-animation callbacks (lifetime, duplicates, once, re-entrancy, the empty
// callable), the clone, deep-clone and unshare rules, and trees from files: cycles, shared
// nodes, nodes of other types and a 100k-deep chain.

#include "animation/AnimTestSupport.h"

#include <OpenSGExt/OSGAnimBlock.h>
#include <OpenSGExt/OSGVertexAnimCurves.h>
#include <OpenSGExt/NodeUtils.h>

#include <OpenSG/OSGRefPtr.h>
#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGLog.h>
#include <OpenSG/OSGName.h>
#include <OpenSG/OSGSimpleAttachments.h>

#include <gtest/gtest.h>

#include <functional>
#include <limits>

using namespace osg;
using namespace animtest;

namespace {

AnimCurvePtr curveOf(std::initializer_list<std::array<float, 2>> keys)
{
    AnimCurvePtr c = AnimCurve::create();
    for(const auto &k : keys)
        c->addPointSimple(Pnt2f(k[0], k[1]));
    return c;
}

// R (group) -> A (curve t 0..4) -> A1 (curve t 2..6); R -> B (curve t -1..1).
class TreeTest : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        R  = animNode(Group::create(), Vec2f(0.f, 0.f), 1.f);
        A  = animNode(curveOf({ { 0, 1 }, { 4, 2 } }), Vec2f(1.f, 0.5f), 2.f);
        A1 = animNode(curveOf({ { 2, 0 }, { 6, 5 } }), Vec2f(3.f, 0.f), 1.f);
        B  = animNode(curveOf({ { -1, 3 }, { 1, 3 } }), Vec2f(-2.f, 1.f), 0.5f);
        addRefCP(R);
        add(R, A);
        add(A, A1);
        add(R, B);
        clearChanges();
    }
    void TearDown() override { subRefCP(R); }

    // The recorded changes with exactly this mask, as the nodes' letters.
    std::string changedWith(const BitVector &mask) const
    {
        std::string out;
        for(const auto &e : Thread::getCurrentChangeList()->getChanged())
        {
            if(e.second != mask)
                continue;
            for(const auto &n : { std::make_pair(R, "R"), std::make_pair(A, "A"),
                                  std::make_pair(A1, "A1"), std::make_pair(B, "B") })
                if(n.first.getFieldContainerId() == e.first)
                    out += std::string(out.empty() ? "" : " ") + n.second;
        }
        return out;
    }

    AnimNodePtr R, A, A1, B;
};

const BitVector OffsetScale = AnimNode::OffsetFieldMask | AnimNode::ScaleFieldMask;

} // namespace

TEST_F(TreeTest, TimeEditsPushDownInOrder)
{
    struct Expect
    {
        Real32 x, y, scale;
    };
    struct Row
    {
        const char                                    *what;
        std::function<void(const AnimNodePtr &)>        edit;
        Expect                                         r, a, a1, b;
        std::vector<std::pair<BitVector, std::string>> changes;
    };
    const Row rows[] = {
        { "moveBy: parents first", [](const AnimNodePtr &n) { n->moveBy(1.f, 2.f); },
          { 1, 2, 1 }, { 2, 2.5f, 2 }, { 4, 2, 1 }, { -1, 3, 0.5f },
          { { AnimNode::OffsetFieldMask, "R A A1 B" } } },
        // The root's scale is set; below, x is scaled about the pivot, descendants first.
        { "scaleBy", [](const AnimNodePtr &n) { n->scaleBy(2.f, 1.f); },
          { 0, 0, 2 }, { 1, 0.5f, 4 }, { 5, 0, 2 }, { -5, 1, 1 },
          { { AnimNode::ScaleFieldMask, "R" }, { OffsetScale, "A1 A B" } } },
        // x bounds -1..6 over 2 cycles: pivot 7/2 + 2 * -1 = 1.5
        { "flip",
          [](const AnimNodePtr &n) {
              n->setPostCycles(1);
              n->flip();
          },
          { 1.5f, 0, -1 }, { 0.5f, 0.5f, -2 }, { -1.5f, 0, -1 }, { 3.5f, 1, -0.5f },
          { { OffsetScale, "R A1 A B" } } },
    };
    for(const Row &row : rows)
    {
        TearDown();
        SetUp();
        row.edit(R);
        for(const auto &n : { std::make_pair(R, row.r), std::make_pair(A, row.a),
                              std::make_pair(A1, row.a1), std::make_pair(B, row.b) })
        {
            EXPECT_EQ(n.first->getOffset(), Vec2f(n.second.x, n.second.y)) << row.what;
            EXPECT_EQ(n.first->getScale(), n.second.scale) << row.what;
        }
        for(const auto &c : row.changes)
            EXPECT_EQ(changedWith(c.first), c.second) << row.what;
    }

    // A vertex-animation core scales its own node in place about the pivot.
    RefPtr<AnimNodePtr> v(animNode(VertexAnimCurves::create(), Vec2f(3.f, 7.f), 2.f));
    v->scaleBy(0.5f, 1.f);
    EXPECT_EQ(v->getScale(), 1.f);
    EXPECT_EQ(v->getOffset(), Vec2f(2.f, 7.f));

    // Without keys or with negative postCycles flip changes nothing.
    RefPtr<AnimNodePtr> empty(animNode(AnimCurve::create(), Vec2f(1.f, 0.f), 1.f));
    empty->flip();
    EXPECT_EQ(empty->getScale(), 1.f);
    R->setPostCycles(-1);
    R->flip();
    EXPECT_EQ(R->getScale(), -1.f);
}

TEST_F(TreeTest, AccumulatedParentScaleAndVolumes)
{
    R->setScale(2.f);
    R->updateAccumulatedParentScale(123.f);
    EXPECT_EQ(A->getAccumulatedParentScale(), 2.f);
    EXPECT_EQ(A1->getAccumulatedParentScale(), 4.f);
    EXPECT_EQ(B->getAccumulatedParentScale(), 2.f);
    EXPECT_EQ(changedWith(AnimNode::AccumulatedParentScaleFieldMask | AnimNode::OffsetFieldMask),
              "A A1 B");

    Pnt3f lo, hi;
    ASSERT_TRUE(A->getBounds(lo, hi));
    EXPECT_EQ(lo, Pnt3f(0.f, 0.f, 0.f));
    EXPECT_EQ(hi, Pnt3f(6.f, 0.f, 5.f));
    // A time edit invalidates the volumes from the leaves up.
    R->moveBy(1.f, 0.f);
    EXPECT_FALSE(A1->getVolume().isValid());
    EXPECT_FALSE(R->getVolume().isValid());
}

TEST_F(TreeTest, NonFiniteArgumentsRefused)
{
    LogCapture  log;
    const float nan = std::numeric_limits<float>::quiet_NaN();
    R->moveBy(nan, 0.f);
    R->scaleBy(std::numeric_limits<float>::infinity(), 0.f);
    R->pushFlip(nan);
    EXPECT_EQ(A->getOffset(), Vec2f(1.f, 0.5f));
    EXPECT_EQ(R->getScale(), 1.f);
    EXPECT_EQ(log.count(), 3u);
    EXPECT_EQ(Thread::getCurrentChangeList()->sizeChanged(), 0u);
}

TEST(AnimNodeCallbacks, RegistrationLifetimeAndOnce)
{
    RefPtr<AnimNodePtr> node(AnimNode::create());
    node->finishedAnimation();   // never registered: nothing happens
    node->unregisterSingleCallFinishedAnimationCallbacks();
    EXPECT_EQ(node->getNumFinishedAnimationCallbacks(), 0u);

    std::string log;
    auto        f    = std::make_shared<std::function<void()>>([&log] { log += "f"; });
    auto        f2   = std::make_shared<std::function<void()>>(*f);   // same function, new callable
    auto        once = std::make_shared<std::function<void()>>([&log] { log += "o"; });
    auto        gone = std::make_shared<std::function<void()>>([&log] { log += "x"; });
    node->registerFinishedAnimationCallback(f, false);
    node->registerFinishedAnimationCallback(f, true);
    node->registerFinishedAnimationCallback(f2, false);
    node->registerFinishedAnimationCallback(once, true);
    node->registerFinishedAnimationCallback(gone, false);
    EXPECT_EQ(node->getNumFinishedAnimationCallbacks(), 4u);
    EXPECT_EQ(gone.use_count(), 1);   // registration keeps nothing alive
    gone.reset();

    node->finishedAnimation();
    EXPECT_EQ(log, "ffo");
    EXPECT_EQ(node->getNumFinishedAnimationCallbacks(), 2u);   // "gone" and "once" dropped
    node->finishedAnimation();
    EXPECT_EQ(log, "ffoff");

    node->registerFinishedAnimationCallback(once, true);
    node->unregisterSingleCallFinishedAnimationCallbacks();
    node->unregisterFinishedAnimationCallback(f2);
    node->finishedAnimation();
    EXPECT_EQ(log, "ffofff");
    node->unregisterFinishedAnimationCallbacks();
    node->finishedAnimation();
    EXPECT_EQ(log, "ffofff");
    node->registerFinishedAnimationCallback(f, false);
    node->unregisterAllCallbacks();
    EXPECT_EQ(node->getNumFinishedAnimationCallbacks(), 0u);

    // Copies do not carry the list.
    node->registerFinishedAnimationCallback(f, false);
    RefPtr<AnimNodePtr> copy(AnimNodePtr::dcast(node->shallowCopy()));
    EXPECT_EQ(copy->getNumFinishedAnimationCallbacks(), 0u);
}

TEST(AnimNodeCallbacks, ReentrancyAndEmptyCallable)
{
    RefPtr<AnimNodePtr> node(AnimNode::create());
    std::string log;
    AnimNode::CallbackPtr b, late;
    b    = std::make_shared<std::function<void()>>([&log] { log += "b"; });
    late = std::make_shared<std::function<void()>>([&log] { log += "L"; });
    AnimNode::CallbackPtr a = std::make_shared<std::function<void()>>([&] {
        log += "a";
        node->unregisterFinishedAnimationCallback(b);           // not called this round
        node->registerFinishedAnimationCallback(late, false);   // waits for the next
        node->unregisterFinishedAnimationCallback(a);           // itself
    });
    node->registerFinishedAnimationCallback(a, false);
    node->registerFinishedAnimationCallback(b, false);
    node->finishedAnimation();
    EXPECT_EQ(log, "a");
    node->finishedAnimation();
    EXPECT_EQ(log, "aL");

    auto empty = std::make_shared<std::function<void()>>();
    node->registerFinishedAnimationCallback(empty, true);
    EXPECT_THROW(node->finishedAnimation(), std::bad_function_call);
    EXPECT_EQ(log, "aLL");
    node->finishedAnimation();   // the once entry went with its call
    EXPECT_EQ(log, "aLLL");

    // Other exceptions from a callback are reported, not passed on.
    auto thrower = std::make_shared<std::function<void()>>([] { throw std::runtime_error("boom"); });
    node->registerFinishedAnimationCallback(thrower, false);
    LogCapture capture;
    EXPECT_NO_THROW(node->finishedAnimation());
    EXPECT_TRUE(capture.contains("boom"));
}

TEST_F(TreeTest, CloneSharesCoresAndCopiesTheListedFields)
{
    NodeUtils::setName(R, "root", false);
    NodeUtils::setName(A, "a", false);
    R->setPlaying(true);
    R->setStartTime(5.0);
    R->setMotionBlur(false);
    R->setHidden(true);
    R->setPostCycles(3);
    R->setLocked(true);
    R->setAccumulatedParentOffset(Vec2f(1.f, 1.f));

    RefPtr<AnimNodePtr> c(cloneAnimTree(R, false));
    ASSERT_EQ(c->getNChildren(), 2u);
    EXPECT_EQ(c->getCore(), R->getCore());
    EXPECT_FALSE(c->getPlaying());
    EXPECT_EQ(c->getStartTime(), 0.0);
    EXPECT_TRUE(c->getMotionBlur());
    EXPECT_TRUE(c->getHidden());
    EXPECT_EQ(c->getPostCycles(), 3);
    EXPECT_TRUE(c->getLocked());
    EXPECT_EQ(c->getAccumulatedParentOffset(), Vec2f(1.f, 1.f));
    // The root gets a name of its own; descendants share every attachment.
    EXPECT_STREQ(getName(c), "root");
    EXPECT_NE(c->findAttachment(Name::getClassType()), R->findAttachment(Name::getClassType()));
    AnimNodePtr ca = AnimNodePtr::dcast(c->getChild(0));
    EXPECT_EQ(ca->findAttachment(Name::getClassType()), A->findAttachment(Name::getClassType()));
    EXPECT_EQ(ca->getOffset(), Vec2f(1.f, 0.5f));
    EXPECT_EQ(ca->getChild(0)->getCore(), A1->getCore());

    RefPtr<AnimNodePtr> withAll(cloneAnimTree(R, true));
    EXPECT_EQ(withAll->findAttachment(Name::getClassType()), R->findAttachment(Name::getClassType()));

    // A plain node root still gives an AnimNode.
    RefPtr<NodePtr> plain(Node::create());
    setCore(plain, A->getCore());
    RefPtr<AnimNodePtr> fromPlain(cloneAnimTree(plain, true));
    ASSERT_NE(fromPlain, NullFC);
    EXPECT_EQ(fromPlain->getCore(), A->getCore());
    EXPECT_EQ(cloneAnimTree(NullFC, true), NullFC);
}

TEST_F(TreeTest, DeepCloneAndUnshare)
{
    // A and B share one curve; deep copies keep that sharing and leave the sources alone.
    setCore(B, A->getCore());
    RefPtr<AnimNodePtr> d(deepCloneAnimTree(R, ""));
    NodeCorePtr da = d->getChild(0)->getCore(), db = d->getChild(1)->getCore();
    EXPECT_NE(da, A->getCore());
    EXPECT_EQ(da, db);
    EXPECT_EQ(AnimCurvePtr::dcast(da)->getControlPoints().size(), 2u);
    EXPECT_EQ(AnimNodePtr::dcast(d->getChild(0))->getOffset(), Vec2f(1.f, 0.5f));

    RefPtr<AnimNodePtr> shared(deepCloneAnimTree(R, std::vector<std::string>{ "AnimObject" }));
    EXPECT_EQ(shared->getChild(0)->getCore(), A->getCore());

    // unshareTree: listed types stay shared; otherwise each node ends with a core of its own.
    R->unshareTree("AnimCurve  Group");
    EXPECT_EQ(A->getCore(), B->getCore());
    R->unshareTree("");
    EXPECT_NE(A->getCore(), B->getCore());
    EXPECT_EQ(AnimCurvePtr::dcast(B->getCore())->getControlPoints(),
              AnimCurvePtr::dcast(A->getCore())->getControlPoints());
    // A core used once is kept.
    NodeCorePtr before = A1->getCore();
    A1->unshare("");
    EXPECT_EQ(A1->getCore(), before);
}

TEST_F(TreeTest, CyclesSharedNodesAndOtherTypesFromFiles)
{
    // Entries a corrupt file could give (no reference, no parent change): A1 lists R, B lists A1
    // again and a plain node with an AnimNode below it.
    NodePtr                   plain = Node::create();
    AnimNodePtr               below = animNode(AnimCurve::create(), Vec2f(7.f, 0.f), 1.f);
    RefPtr<FieldContainerPtr> hp(plain);
    add(plain, below);
    A1->editMFChildren()->push_back(R);
    B->editMFChildren()->push_back(A1);
    B->editMFChildren()->push_back(plain);

    R->moveBy(1.f, 0.f);
    EXPECT_EQ(R->getOffset(), Vec2f(1.f, 0.f));   // moved once, not again through the cycle
    EXPECT_EQ(A1->getOffset(), Vec2f(4.f, 0.f));  // once, under its first parent
    EXPECT_EQ(changedWith(AnimNode::OffsetFieldMask), "R A A1 B");
    EXPECT_EQ(below->getOffset(), Vec2f(7.f, 0.f)); // the walks stay on AnimNodes
    R->scaleBy(2.f, 0.f);
    EXPECT_EQ(A1->getScale(), 2.f);
    R->updateAccumulatedParentScale();
    R->invalidateVolume();
    Pnt3f lo, hi;
    EXPECT_TRUE(R->getBounds(lo, hi));

    // Copies take every node type, each node once.
    RefPtr<AnimNodePtr> c(cloneAnimTree(R, true));
    EXPECT_EQ(c->getChild(0)->getChild(0)->getNChildren(), 0u);
    ASSERT_EQ(c->getChild(1)->getNChildren(), 1u);
    EXPECT_EQ(c->getChild(1)->getChild(0)->getChild(0)->getCore(), below->getCore());
    RefPtr<AnimNodePtr> d(deepCloneAnimTree(R, ""));
    EXPECT_EQ(d->getChild(1)->getNChildren(), 1u);
    R->unshareTree("");
    A1->editMFChildren()->clear();
    B->editMFChildren()->clear();
}

TEST(AnimNodeDepth, HundredThousandDeepChain)
{
    const int   depth = 100000;
    AnimNodePtr root  = AnimNode::create();
    addRefCP(root);
    AnimNodePtr last = root;
    for(int i = 0; i < depth; ++i)
    {
        AnimNodePtr next = AnimNode::create();
        last->addChild(next);
        last = next;
    }
    setCore(last, curveOf({ { 0, 0 }, { 2, 1 } }));

    root->moveBy(1.f, 0.f);
    EXPECT_EQ(last->getOffset(), Vec2f(1.f, 0.f));
    root->scaleBy(2.f, 0.f);
    EXPECT_EQ(last->getScale(), 2.f);
    root->flip();
    EXPECT_EQ(last->getScale(), -2.f);
    root->updateAccumulatedParentScale();
    Pnt3f lo, hi;
    ASSERT_TRUE(root->getBounds(lo, hi));
    EXPECT_EQ(hi[0], 2.f);
    root->unshareTree("");
    AnimNodePtr c = cloneAnimTree(root, true);
    AnimNodePtr d = deepCloneAnimTree(root, "");
    ASSERT_NE(c, NullFC);
    ASSERT_NE(d, NullFC);
    subRefCP(c);
    subRefCP(d);
    subRefCP(root);
}
