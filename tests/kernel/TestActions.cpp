// Actions, the free traversal, graph operations and the intersect action.

#include <OpenSG/OSGAction.h>
#include <OpenSG/OSGIntersectAction.h>
#include <OpenSG/OSGGraphOp.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGTransform.h>
#include <OpenSG/OSGComponentTransform.h>
#include <OpenSG/OSGTransform3D.h>
#include <OpenSG/OSGSimpleAttachments.h>
#include <OpenSG/OSGLog.h>
#include "kernel/fcd/OSGTestTriangles.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
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

std::string nameOf(const NodePtr &n)
{
    const Char8 *name = getName(n);
    return name != NULL ? name : "?";
}

/*   root
     ├── a
     │   ├── a1
     │   └── a2
     └── b
         └── b1            */
struct Tree
{
    NodePtr root, a, a1, a2, b, b1;

    Tree()
    {
        root = makeNode(Group::create(), "root");
        a    = makeNode(Group::create(), "a");
        a1   = makeNode(Group::create(), "a1");
        a2   = makeNode(Transform::create(), "a2");
        b    = makeNode(Transform3D::create(), "b");
        b1   = makeNode(ComponentTransform::create(), "b1");
        addRefCP(root);
        root->addChild(a);
        root->addChild(b);
        a->addChild(a1);
        a->addChild(a2);
        b->addChild(b1);
    }
    ~Tree() { subRefCP(root); }
};

/*! An action that logs "+name" on entry and "-name" on leaving every node. */
std::unique_ptr<Action> loggingAction(std::string &log)
{
    std::unique_ptr<Action> action(Action::create());
    action->registerEnterFunction(NodeCore::getClassType(), [&log](const NodeCorePtr &, Action *act) {
        log += "+" + nameOf(act->getActNode()) + " ";
        return Action::Continue;
    });
    action->registerLeaveFunction(NodeCore::getClassType(), [&log](const NodeCorePtr &, Action *act) {
        log += "-" + nameOf(act->getActNode()) + " ";
        return Action::Continue;
    });
    return action;
}

Matrix translation(Real32 x, Real32 y, Real32 z)
{
    Matrix m;
    m.setTranslate(x, y, z);
    return m;
}

void setMatrix(const TransformPtr &t, const Matrix &m)
{
    beginEditCP(t, Transform::MatrixFieldMask);
    t->setMatrix(m);
    endEditCP(t, Transform::MatrixFieldMask);
}

/*! A unit square in the z = 0 plane of its node, as two triangles facing +z. */
TestTrianglesPtr makeSquare(Real32 x0, Real32 y0, Real32 size)
{
    TestTrianglesPtr tris = TestTriangles::create();
    beginEditCP(tris, TestTriangles::PositionsFieldMask);
    MFPnt3f &p = *tris->editMFPositions();
    p.push_back(Pnt3f(x0, y0, 0));
    p.push_back(Pnt3f(x0 + size, y0, 0));
    p.push_back(Pnt3f(x0 + size, y0 + size, 0));
    p.push_back(Pnt3f(x0, y0, 0));
    p.push_back(Pnt3f(x0 + size, y0 + size, 0));
    p.push_back(Pnt3f(x0, y0 + size, 0));
    endEditCP(tris, TestTriangles::PositionsFieldMask);
    return tris;
}

} // namespace

/*---------------------------- Action ---------------------------------------*/

TEST(Action, VisitsDepthFirstWithLeaveAfterTheChildren)
{
    Tree tree;
    std::string log;
    auto action = loggingAction(log);
    EXPECT_EQ(action->apply(tree.root), Action::Continue);
    EXPECT_EQ(log, "+root +a +a1 -a1 +a2 -a2 -a +b +b1 -b1 -b -root ");
    EXPECT_EQ(action->getActNode(), NullFC);
}

TEST(Action, PassesOverMaskedOccludedAndNullNodes)
{
    Tree tree;
    std::string log;
    auto action = loggingAction(log);

    tree.a->setTravMask(0x2);
    action->setTravMask(0x1);
    beginEditCP(tree.b1, Node::OcclusionMaskFieldMask);
    tree.b1->setOcclusionMask(1);
    endEditCP(tree.b1, Node::OcclusionMaskFieldMask);
    tree.b->editMFChildren()->push_back(NodePtr());   // a null child
    EXPECT_EQ(action->apply(tree.root), Action::Continue);
    EXPECT_EQ(log, "+root +b -b -root ");

    // A shared bit lets the node through; other occlusion bits do not matter.
    log.clear();
    action->setTravMask(0x3);
    beginEditCP(tree.b1, Node::OcclusionMaskFieldMask);
    tree.b1->setOcclusionMask(2);
    endEditCP(tree.b1, Node::OcclusionMaskFieldMask);
    action->apply(tree.root);
    EXPECT_EQ(log, "+root +a +a1 -a1 +a2 -a2 -a +b +b1 -b1 -b -root ");
    tree.b->editMFChildren()->erase(tree.b->editMFChildren()->begin() + 1);
}

TEST(Action, SkipAndQuit)
{
    Tree tree;
    std::string log;
    auto action = loggingAction(log);

    // Skip: no children and no leave for that node.
    action->registerEnterFunction(Transform3D::getClassType(), [&log](const NodeCorePtr &, Action *act) {
        log += "+" + nameOf(act->getActNode()) + "(skip) ";
        return Action::Skip;
    });
    EXPECT_EQ(action->apply(tree.root), Action::Continue);
    EXPECT_EQ(log, "+root +a +a1 -a1 +a2 -a2 -a +b(skip) -root ");

    // Quit on entry: siblings are not visited, that node's leave does not run, its ancestors'
    // leave functors do.
    log.clear();
    action->registerEnterFunction(Transform::getClassType(), [&log](const NodeCorePtr &, Action *act) {
        log += "+" + nameOf(act->getActNode()) + "(quit) ";
        return Action::Quit;
    });
    EXPECT_EQ(action->apply(tree.root), Action::Quit);
    EXPECT_EQ(log, "+root +a +a1 -a1 +a2(quit) -a -root ");

    // Quit from a leave functor ends the traversal too.
    log.clear();
    std::unique_ptr<Action> leaving(Action::create());
    leaving->registerEnterFunction(NodeCore::getClassType(), [&log](const NodeCorePtr &, Action *act) {
        log += "+" + nameOf(act->getActNode()) + " ";
        return Action::Continue;
    });
    leaving->registerLeaveFunction(NodeCore::getClassType(), [&log](const NodeCorePtr &, Action *act) {
        log += "-" + nameOf(act->getActNode()) + " ";
        return nameOf(act->getActNode()) == "a1" ? Action::Quit : Action::Continue;
    });
    EXPECT_EQ(leaving->apply(tree.root), Action::Quit);
    EXPECT_EQ(log, "+root +a +a1 -a1 -a -root ");
}

TEST(Action, FunctorsFallBackToTheNearestAncestorType)
{
    Tree tree;
    std::string log;
    std::unique_ptr<Action> action(Action::create());
    auto tag = [&log](const char *what) {
        return [&log, what](const NodeCorePtr &core, Action *act) {
            log += nameOf(act->getActNode()) + ":" + what + "(" + core->getType().getName() + ") ";
            return Action::Continue;
        };
    };
    action->registerEnterFunction(Group::getClassType(), tag("group"));
    action->registerEnterFunction(Transform::getClassType(), tag("transform"));
    action->apply(tree.root);
    EXPECT_EQ(log, "root:group(Group) a:group(Group) a1:group(Group) a2:transform(Transform) "
                   "b:transform(Transform3D) b1:transform(ComponentTransform) ");

    // Removing a functor falls back further up.
    log.clear();
    action->registerEnterFunction(Transform::getClassType(), Action::Functor());
    action->apply(tree.b);
    EXPECT_EQ(log, "b:group(Transform3D) b1:group(ComponentTransform) ");
}

TEST(Action, ClassDefaultsReachActionsCreatedLater)
{
    Tree tree;
    UInt32 calls = 0;
    std::unique_ptr<Action> before(Action::create());
    Action::registerEnterDefault(Transform3D::getClassType(), [&calls](const NodeCorePtr &, Action *) {
        ++calls;
        return Action::Continue;
    });
    std::unique_ptr<Action> after(Action::create());
    std::unique_ptr<IntersectAction> other(IntersectAction::create(Line(Pnt3f(0, 0, 0), Vec3f(1, 0, 0))));
    Action::registerEnterDefault(Transform3D::getClassType(), Action::Functor());

    before->apply(tree.root);
    EXPECT_EQ(calls, 0u);
    other->apply(tree.root);
    EXPECT_EQ(calls, 0u) << "another action class keeps its own defaults";
    after->apply(tree.root);
    EXPECT_EQ(calls, 1u);
    std::unique_ptr<Action> cleared(Action::create());
    cleared->apply(tree.root);
    EXPECT_EQ(calls, 1u);
}

TEST(Action, EnterFunctorsMayChooseTheNodesToTraverse)
{
    Tree tree;
    std::string log;
    auto action = loggingAction(log);
    // Like a switch: root traverses its second child only, a traverses none.
    action->registerEnterFunction(Group::getClassType(), [&log, &tree](const NodeCorePtr &, Action *act) {
        NodePtr node = act->getActNode();
        log += "+" + nameOf(node) + " ";
        if(node == tree.root)
        {
            EXPECT_EQ(act->getNNodes(), 2u);
            act->addNode(node->getChild(1));
            EXPECT_EQ(act->getNNodes(), 1u);
            EXPECT_EQ(act->getNode(0), tree.b);
            EXPECT_EQ(act->getNode(1), NullFC);
        }
        else if(node == tree.a)
            act->useNodeList();
        return Action::Continue;
    });
    action->apply(tree.root);
    EXPECT_EQ(log, "+root +b +b1 -b1 -b -root ");

    log.clear();
    action->apply(tree.a);
    EXPECT_EQ(log, "+a -a ");
}

TEST(Action, BadInputWarnsAndQuits)
{
    std::unique_ptr<Action> action(Action::create());
    {
        LogCapture capture;
        EXPECT_EQ(action->apply(NodePtr()), Action::Quit);
        EXPECT_TRUE(capture.contains("null")) << capture.text();
    }

    Tree tree;
    NodePtr bare = Node::create();
    tree.a->addChild(bare);
    std::string log;
    auto logging = loggingAction(log);
    LogCapture capture;
    EXPECT_EQ(logging->apply(tree.root), Action::Quit);
    EXPECT_TRUE(capture.contains("has no core")) << capture.text();
    EXPECT_EQ(log, "+root +a +a1 -a1 +a2 -a2 -a -root ");

    // Several roots in turn.
    std::vector<NodePtr> roots{ tree.b, tree.a1 };
    log.clear();
    EXPECT_EQ(logging->apply(roots.cbegin(), roots.cend()), Action::Continue);
    EXPECT_EQ(log, "+b +b1 -b1 -b +a1 -a1 ");
}

/*---------------------------- free traversal -------------------------------*/

TEST(Traverse, EnterOnlyAndEnterLeave)
{
    Tree tree;
    std::string log;
    auto enter = [&log](NodePtr &n) {
        log += "+" + nameOf(n) + " ";
        if(nameOf(n) == "a")
            return Action::Skip;
        return nameOf(n) == "b1" ? Action::Quit : Action::Continue;
    };
    EXPECT_EQ(traverse(tree.root, enter), Action::Quit);
    EXPECT_EQ(log, "+root +a +b +b1 ");

    // With leave: every entered node is left, with its result so far.
    log.clear();
    auto leave = [&log](NodePtr &n, Action::ResultE res) {
        log += "-" + nameOf(n) + "=" + std::to_string(int(res)) + " ";
        return res;
    };
    EXPECT_EQ(traverse(tree.root, enter, leave), Action::Quit);
    EXPECT_EQ(log, "+root +a -a=0 +b +b1 -b1=2 -b=2 -root=2 ");

    // The leave result becomes the node's result: turning a Quit into Continue goes on.
    log.clear();
    auto forgiving = [&log](NodePtr &n, Action::ResultE) {
        log += "-" + nameOf(n) + " ";
        return Action::Continue;
    };
    EXPECT_EQ(traverse(tree.root, [&log](NodePtr &n) {
                  log += "+" + nameOf(n) + " ";
                  return nameOf(n) == "a1" ? Action::Quit : Action::Continue;
              }, forgiving),
              Action::Continue);
    EXPECT_EQ(log, "+root +a +a1 -a1 +a2 -a2 -a +b +b1 -b1 -b -root ");

    // Lists, null entries and empty functors.
    log.clear();
    std::vector<NodePtr> list{ tree.a1, NodePtr(), tree.b1 };
    EXPECT_EQ(traverse(list, [&log](NodePtr &n) {
                  log += nameOf(n) + " ";
                  return Action::Continue;
              }),
              Action::Continue);
    EXPECT_EQ(log, "a1 b1 ");
    LogCapture capture;
    EXPECT_EQ(traverse(tree.root, TraverseEnterFunctor()), Action::Quit);
    EXPECT_TRUE(capture.contains("empty")) << capture.text();
}

TEST(Traverse, EnterMayRewriteTheChildrenOfItsNode)
{
    Tree tree;
    std::string log;
    traverse(tree.root, [&log, &tree](NodePtr &n) {
        log += nameOf(n) + " ";
        if(n == tree.a)
        {
            n->subChild(UInt32(0));
            n->addChild(makeNode(Group::create(), "new"));
        }
        return Action::Continue;
    });
    EXPECT_EQ(log, "root a a2 new b b1 ");
}

/*---------------------------- GraphOp --------------------------------------*/

namespace {

class CountingGraphOp : public GraphOp
{
  public:
    CountingGraphOp(const char *name = "Counting") : GraphOp(name) {}

    GraphOp *create(void) override { return new CountingGraphOp(); }
    void setParams(const std::string) override {}
    std::string usage(void) override { return std::string(); }

    std::string log;
    std::string stopAt;

  protected:
    bool travNodeEnter(const NodePtr &node) override
    {
        log += "+" + nameOf(node) + " ";
        return nameOf(node) != stopAt;
    }
    bool travNodeLeave(const NodePtr &node) override
    {
        log += "-" + nameOf(node) + " ";
        return false;   // ignored
    }
};

class QuittingGraphOp : public CountingGraphOp
{
  protected:
    Action::ResultE traverseEnter(NodePtr &node) override
    {
        log += nameOf(node) + " ";
        return nameOf(node) == "a2" ? Action::Quit : Action::Continue;
    }
};

} // namespace

TEST(GraphOp, EnterFalseStopsDescentAndLeaveIsIgnored)
{
    Tree tree;
    CountingGraphOp op;
    EXPECT_EQ(op.getName(), "Counting");
    EXPECT_STREQ(GraphOp::getClassname(), "GraphOp");
    op.stopAt = "a";
    EXPECT_TRUE(op.traverse(tree.root));
    EXPECT_EQ(op.log, "+root +a -a +b +b1 -b1 -b -root ");

    op.setName(NULL);
    EXPECT_EQ(op.getName(), "");
    std::unique_ptr<GraphOp> fresh(op.create());
    EXPECT_EQ(fresh->getName(), "Counting");

    // A Quit from an overridden traverseEnter survives the default leave.
    QuittingGraphOp quitting;
    EXPECT_FALSE(quitting.traverse(tree.root));
    EXPECT_EQ(quitting.log, "root a a1 -a1 a2 -a2 -a -root ");

    NodePtr none;
    LogCapture capture;
    EXPECT_FALSE(op.traverse(none));
    EXPECT_TRUE(capture.contains("root is null")) << capture.text();
}

/*---------------------------- IntersectAction ------------------------------*/

TEST(IntersectAction, NearestHitThroughTransforms)
{
    // root ── near: translate z = 2, scale 2 ── square (0..1)² → world (0..2)² at z 2
    //      └─ far:  translate z = 5           ── square (0..1)²            at z 5
    NodePtr root = makeNode(Group::create(), "root");
    addRefCP(root);
    TransformPtr nearXf = Transform::create(), farXf = Transform::create();
    Matrix m = translation(0, 0, 2);
    Matrix s;
    s.setScale(2.f);
    m.mult(s);
    setMatrix(nearXf, m);
    setMatrix(farXf, translation(0, 0, 5));
    NodePtr nearNode = makeNode(nearXf, "near"), farNode = makeNode(farXf, "far");
    NodePtr nearSquare = makeNode(makeSquare(0, 0, 1), "nearSquare");
    NodePtr farSquare  = makeNode(makeSquare(0, 0, 1), "farSquare");
    root->addChild(farNode);
    root->addChild(nearNode);
    farNode->addChild(farSquare);
    nearNode->addChild(nearSquare);

    Line down(Pnt3f(0.5f, 0.25f, 10), Vec3f(0, 0, -1));
    std::unique_ptr<IntersectAction> ia(IntersectAction::create(down));
    EXPECT_EQ(ia->apply(root), Action::Continue);
    ASSERT_TRUE(ia->didHit());
    EXPECT_NEAR(ia->getHitT(), 5.f, 1e-5f);
    EXPECT_EQ(ia->getHitObject(), farSquare);
    EXPECT_EQ(ia->getHitTriangle(), 0);
    EXPECT_EQ(ia->getHitNormal(), Vec3f(0, 0, 1));
    EXPECT_EQ(ia->getLine(), down) << "the line is restored";
    Pnt3f hit = ia->getHitPoint();
    EXPECT_NEAR(hit[0], 0.5f, 1e-5f);
    EXPECT_NEAR(hit[2], 5.f, 1e-5f);

    // Outside the far square but inside the scaled near one: the distance is in world units.
    ia->setLine(Line(Pnt3f(1.5f, 1.75f, 10), Vec3f(0, 0, -1)));
    ia->apply(root);
    ASSERT_TRUE(ia->didHit());
    EXPECT_EQ(ia->getHitObject(), nearSquare);
    EXPECT_EQ(ia->getHitTriangle(), 1);
    EXPECT_NEAR(ia->getHitT(), 8.f, 1e-5f);
    EXPECT_NEAR(ia->getHitPoint()[2], 2.f, 1e-5f);
    EXPECT_FLOAT_EQ(ia->getMaxDist(), Inf);

    // The maximum distance is in world units as well.
    ia->setLine(Line(Pnt3f(1.5f, 1.75f, 10), Vec3f(0, 0, -1)), 7.5f);
    ia->apply(root);
    EXPECT_FALSE(ia->didHit());
    EXPECT_EQ(ia->getHitT(), -1.f);
    EXPECT_EQ(ia->getHitObject(), NullFC);
    EXPECT_FLOAT_EQ(ia->getMaxDist(), 7.5f);
    ia->setLine(Line(Pnt3f(1.5f, 1.75f, 10), Vec3f(0, 0, -1)), 8.5f);
    ia->apply(root);
    EXPECT_TRUE(ia->didHit());

    // Pointing away finds nothing; a miss leaves no hit from the previous run.
    ia->setLine(Line(Pnt3f(0.5f, 0.5f, 10), Vec3f(0, 0, 1)));
    ia->apply(root);
    EXPECT_FALSE(ia->didHit());
    subRefCP(root);
}

TEST(IntersectAction, ValidVolumesPruneSubtrees)
{
    NodePtr root = makeNode(Group::create(), "root");
    addRefCP(root);
    TransformPtr left = Transform::create(), right = Transform::create();
    setMatrix(left, translation(-10, 0, 0));
    setMatrix(right, translation(10, 0, 0));
    NodePtr l = makeNode(left), r = makeNode(right);
    root->addChild(l);
    root->addChild(r);
    l->addChild(makeNode(makeSquare(0, 0, 1)));
    r->addChild(makeNode(makeSquare(0, 0, 1)));

    Line line(Pnt3f(10.5f, 0.5f, 3), Vec3f(0, 0, -1));
    std::unique_ptr<IntersectAction> ia(IntersectAction::create(line));

    // Without valid volumes every drawable is tested.
    TestTriangles::intersectCalls = 0;
    ia->apply(root);
    EXPECT_TRUE(ia->didHit());
    EXPECT_EQ(TestTriangles::intersectCalls, 2u);

    root->updateVolume();
    TestTriangles::intersectCalls = 0;
    ia->apply(root);
    EXPECT_TRUE(ia->didHit());
    EXPECT_NEAR(ia->getHitT(), 3.f, 1e-5f);
    EXPECT_EQ(TestTriangles::intersectCalls, 1u);

    // A subtree behind a nearer hit is not entered either.
    TestTriangles::intersectCalls = 0;
    ia->setLine(Line(Pnt3f(10.5f, 0.5f, 3), Vec3f(0, 0, -1)), 2.f);
    ia->apply(root);
    EXPECT_FALSE(ia->didHit());
    EXPECT_EQ(TestTriangles::intersectCalls, 0u);
    subRefCP(root);
}

TEST(IntersectAction, RotatedAndFlattenedTransforms)
{
    NodePtr root = makeNode(Group::create(), "root");
    addRefCP(root);
    // The square turned to face +x and pushed to x = 4.
    ComponentTransformPtr ct = ComponentTransform::create();
    beginEditCP(ct, ComponentTransform::ComponentsFieldMask);
    ct->setRotation(Quaternion(Vec3f(0, 1, 0), 3.14159265f / 2));
    ct->setTranslation(Vec3f(4, 0, 0));
    endEditCP(ct, ComponentTransform::ComponentsFieldMask);
    NodePtr xf = makeNode(ct);
    NodePtr square = makeNode(makeSquare(0, 0, 1));
    root->addChild(xf);
    xf->addChild(square);

    // Square corners (x, y, 0) map to (4, y, -x).
    std::unique_ptr<IntersectAction> ia(
        IntersectAction::create(Line(Pnt3f(0, 0.5f, -0.25f), Vec3f(1, 0, 0))));
    ia->apply(root);
    ASSERT_TRUE(ia->didHit());
    EXPECT_NEAR(ia->getHitT(), 4.f, 1e-5f);
    EXPECT_NEAR(ia->getHitPoint()[0], 4.f, 1e-5f);
    // The normal is the drawable's own; its world form goes through the node's matrix.
    Vec3f worldNormal;
    square->getToWorld().multMatrixVec(ia->getHitNormal(), worldNormal);
    EXPECT_NEAR(worldNormal[0], 1.f, 1e-5f);

    // A matrix that flattens the subtree cannot be entered.
    TransformPtr flat = Transform::create();
    Matrix m;
    m.setScale(1, 1, 0);
    setMatrix(flat, m);
    beginEditCP(xf, Node::CoreFieldMask);
    xf->setCore(flat);
    endEditCP(xf, Node::CoreFieldMask);
    ia->setLine(Line(Pnt3f(0.5f, 0.5f, 5), Vec3f(0, 0, -1)));
    ia->apply(root);
    EXPECT_FALSE(ia->didHit());

    // A line without direction is refused.
    ia->setLine(Line());
    LogCapture capture;
    EXPECT_EQ(ia->apply(root), Action::Quit);
    EXPECT_TRUE(capture.contains("no direction")) << capture.text();
    subRefCP(root);
}

TEST(IntersectAction, HitBookkeeping)
{
    std::unique_ptr<IntersectAction> ia(IntersectAction::create(Line(Pnt3f(0, 0, 0), Vec3f(1, 0, 0)), 10.f));
    NodePtr n = Node::create();
    addRefCP(n);
    EXPECT_EQ(ia->getHitT(), -1.f);
    EXPECT_EQ(ia->getHitTriangle(), -1);

    ia->setHit(-0.5f, n, 1, Vec3f(1, 0, 0));
    ia->setHit(11.f, n, 2, Vec3f(1, 0, 0));
    EXPECT_FALSE(ia->didHit());
    ia->setHit(6.f, n, 3, Vec3f(0, 1, 0));
    ia->setHit(7.f, n, 4, Vec3f(0, 0, 1));
    ia->setHit(6.f, n, 5, Vec3f(0, 0, 1));
    EXPECT_EQ(ia->getHitTriangle(), 3);
    ia->setHit(2.f, n, 6, Vec3f(0, 0, 1));
    EXPECT_EQ(ia->getHitTriangle(), 6);
    EXPECT_EQ(ia->getHitPoint(), Pnt3f(2, 0, 0));

    EXPECT_EQ(ia->setEnterLeave(1.f, 3.f), Action::Continue);
    EXPECT_EQ(ia->setEnterLeave(-3.f, -1.f), Action::Skip);
    EXPECT_EQ(ia->setEnterLeave(2.5f, 4.f), Action::Skip);   // behind the hit
    EXPECT_EQ(ia->setEnterLeave(-1.f, 4.f), Action::Continue);

    ia->scale(0.5f);
    EXPECT_FLOAT_EQ(ia->getHitT(), 1.f);
    EXPECT_FLOAT_EQ(ia->getMaxDist(), 5.f);
    EXPECT_EQ(ia->setEnterLeave(6.f, 8.f), Action::Skip);   // beyond the maximum

    IntersectAction copy(*ia);
    EXPECT_FLOAT_EQ(copy.getHitT(), 1.f);
    subRefCP(n);
}
