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

#include <functional>
#include <memory>
#include <string>

using namespace osg;

namespace {

const char *const FullWalk = "+root +a +a1 -a1 +a2 -a2 -a +b +b1 -b1 -b -root ";

NodePtr makeNode(const NodeCorePtr &core, const std::string &name = "", const NodePtr &parent = NullFC)
{
    NodePtr n = Node::create();
    beginEditCP(n, Node::CoreFieldMask);
    n->setCore(core);
    endEditCP(n, Node::CoreFieldMask);
    if(!name.empty())
        setName(n, name);
    if(parent != NullFC)
        parent->addChild(n);
    return n;
}

std::string nameOf(const NodePtr &n)
{
    const Char8 *name = getName(n);
    return name != NULL ? name : "?";
}

/*   root ─┬─ a (Group) ─┬─ a1 (Group)
           │             └─ a2 (Transform)
           └─ b (Transform3D) ── b1 (ComponentTransform)   */
struct Tree
{
    NodePtr root, a, a1, a2, b, b1;

    Tree()
    {
        root = makeNode(Group::create(), "root");
        addRefCP(root);
        a  = makeNode(Group::create(), "a", root);
        a1 = makeNode(Group::create(), "a1", a);
        a2 = makeNode(Transform::create(), "a2", a);
        b  = makeNode(Transform3D::create(), "b", root);
        b1 = makeNode(ComponentTransform::create(), "b1", b);
    }
    ~Tree() { subRefCP(root); }
};

// Answers a functor call for the named node, entering or leaving.
typedef std::function<Action::ResultE(const std::string &node, bool entering)> Policy;

/*! An action that logs "+name" on entry and "-name" on leaving every node. */
std::unique_ptr<Action> loggingAction(std::string &log, Policy policy = Policy())
{
    std::unique_ptr<Action> action(Action::create());
    auto functor = [&log, policy](bool entering) {
        return [&log, policy, entering](const NodeCorePtr &, Action *act) {
            std::string name = nameOf(act->getActNode());
            log += (entering ? "+" : "-") + name + " ";
            return policy ? policy(name, entering) : Action::Continue;
        };
    };
    // Functors are found by exact type: every core type of the tree needs its own.
    for(const FieldContainerType *type : { &Group::getClassType(), &Transform::getClassType(),
                                           &Transform3D::getClassType(),
                                           &ComponentTransform::getClassType() })
    {
        action->registerEnterFunction(*type, functor(true));
        action->registerLeaveFunction(*type, functor(false));
    }
    return action;
}

/*! A unit square in the z = 0 plane of its node, as two triangles facing +z. */
NodePtr makeSquare(const std::string &name, const NodePtr &parent)
{
    TestTrianglesPtr tris = TestTriangles::create();
    beginEditCP(tris, TestTriangles::PositionsFieldMask);
    for(const Pnt3f &p : { Pnt3f(0, 0, 0), Pnt3f(1, 0, 0), Pnt3f(1, 1, 0),
                           Pnt3f(0, 0, 0), Pnt3f(1, 1, 0), Pnt3f(0, 1, 0) })
        tris->editMFPositions()->push_back(p);
    endEditCP(tris, TestTriangles::PositionsFieldMask);
    return makeNode(tris, name, parent);
}

/*! Hangs a transform node with matrix m and a square below it under parent; returns the square. */
NodePtr addSquareUnder(const NodePtr &parent, const Matrix &m, const std::string &name = "")
{
    TransformPtr xf = Transform::create();
    beginEditCP(xf, Transform::MatrixFieldMask);
    xf->setMatrix(m);
    endEditCP(xf, Transform::MatrixFieldMask);
    return makeSquare(name, makeNode(xf, "", parent));
}

bool hits(IntersectAction &ia, const NodePtr &root, const Line &line, Real32 maxDist = Inf)
{
    ia.setLine(line, maxDist);
    ia.apply(root);
    return ia.didHit();
}

Matrix transform(const Vec3f &t, const Vec3f &s = Vec3f(1, 1, 1))
{
    Matrix m;
    m.setTransform(t, Quaternion(), s);
    return m;
}

} // namespace

/*---------------------------- Action ---------------------------------------*/

TEST(Action, DepthFirstWithSkipAndQuit)
{
    Tree tree;
    const struct
    {
        const char     *node;
        bool            entering;
        Action::ResultE answer, overall;
        const char     *log;
    } cases[] = {
        { "", true, Action::Continue, Action::Continue, FullWalk },
        // Skip: no children and no leave for that node.
        { "b", true, Action::Skip, Action::Continue, "+root +a +a1 -a1 +a2 -a2 -a +b -root " },
        { "a", true, Action::Skip, Action::Continue, "+root +a +b +b1 -b1 -b -root " },
        // Quit on entry: no siblings and no leave for that node, but its ancestors are left.
        { "a2", true, Action::Quit, Action::Quit, "+root +a +a1 -a1 +a2 -a -root " },
        // Quit from a leave functor ends the traversal too.
        { "a1", false, Action::Quit, Action::Quit, "+root +a +a1 -a1 -a -root " },
    };
    for(const auto &c : cases)
    {
        std::string log;
        auto action = loggingAction(log, [&c](const std::string &name, bool entering) {
            return name == c.node && entering == c.entering ? c.answer : Action::Continue;
        });
        EXPECT_EQ(action->apply(tree.root), c.overall) << c.node;
        EXPECT_EQ(log, c.log) << c.node;
    }
}

TEST(Action, PassesOverMaskedOccludedAndNullNodesAndQuitsOnBadOnes)
{
    Tree tree;
    std::string log;
    auto action = loggingAction(log);
    for(const NodePtr &n : { tree.a1, tree.b1 })      // only bit 0 of the occlusion mask hides
    {
        beginEditCP(n, Node::OcclusionMaskFieldMask);
        n->setOcclusionMask(n == tree.a1 ? 1 : 2);
        endEditCP(n, Node::OcclusionMaskFieldMask);
    }
    tree.a->setTravMask(0x2);
    action->setTravMask(0x1);
    tree.b->editMFChildren()->push_back(NodePtr());   // a null child
    EXPECT_EQ(action->apply(tree.root), Action::Continue);
    EXPECT_EQ(log, "+root +b +b1 -b1 -b -root ");
    EXPECT_EQ(action->getActNode(), NullFC);
    tree.b->editMFChildren()->erase(tree.b->editMFChildren()->begin() + 1);

    // A shared bit lets a node through; a node without a core ends the traversal.
    log.clear();
    action->setTravMask(0x3);
    tree.a->addChild(Node::create());
    LogCapture capture;
    EXPECT_EQ(action->apply(tree.root), Action::Quit);
    EXPECT_TRUE(capture.contains("has no core")) << capture.text();
    EXPECT_EQ(log, "+root +a +a2 -a2 -a -root ");
    EXPECT_EQ(action->apply(NodePtr()), Action::Quit);
    EXPECT_TRUE(capture.contains("null")) << capture.text();

    // Several roots in turn.
    std::vector<NodePtr> roots{ tree.b, tree.a2 };
    log.clear();
    EXPECT_EQ(action->apply(roots.cbegin(), roots.cend()), Action::Continue);
    EXPECT_EQ(log, "+b +b1 -b1 -b +a2 -a2 ");
}

TEST(Action, FunctorsAreFoundByExactTypeElseTheDefaultContinues)
{
    Tree tree;
    makeNode(Group::create(), "below", tree.b1);    // under a core handled by the default
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
    // Transform3D and ComponentTransform derive from Transform but have no functor of their
    // own: they get the default, which continues into their children.
    EXPECT_EQ(log, "root:group(Group) a:group(Group) a1:group(Group) a2:transform(Transform) "
                   "below:group(Group) ");

    // A functor of a derived type is not used for its parent type.
    log.clear();
    action->registerEnterFunction(Transform::getClassType(), Action::Functor());
    action->registerEnterFunction(ComponentTransform::getClassType(), tag("component"));
    action->apply(tree.a);
    action->apply(tree.b);
    EXPECT_EQ(log, "a:group(Group) a1:group(Group) b1:component(ComponentTransform) below:group(Group) ");
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
    std::unique_ptr<Action> cleared(Action::create());

    before->apply(tree.root);
    other->apply(tree.root);           // another action class keeps its own defaults
    cleared->apply(tree.root);
    EXPECT_EQ(calls, 0u);
    after->apply(tree.root);
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
            act->addNode(node->getChild(1));
            EXPECT_EQ(act->getNNodes(), 1u);
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

/*---------------------------- free traversal -------------------------------*/

TEST(Traverse, EnterOnlyAndEnterLeave)
{
    Tree tree;
    std::string log;
    auto enter = [&log](Policy policy) {
        return [&log, policy](NodePtr &n) {
            log += "+" + nameOf(n) + " ";
            return policy(nameOf(n), true);
        };
    };
    auto leave = [&log](bool forgive) {
        return [&log, forgive](NodePtr &n, Action::ResultE res) {
            log += "-" + nameOf(n) + "=" + std::to_string(int(res)) + " ";
            return forgive ? Action::Continue : res;
        };
    };
    auto skipAQuitB1 = [](const std::string &n, bool) {
        return n == "a" ? Action::Skip : n == "b1" ? Action::Quit : Action::Continue;
    };
    EXPECT_EQ(traverse(tree.root, enter(skipAQuitB1)), Action::Quit);
    EXPECT_EQ(log, "+root +a +b +b1 ");

    // With leave: every entered node is left, with its result so far.
    log.clear();
    EXPECT_EQ(traverse(tree.root, enter(skipAQuitB1), leave(false)), Action::Quit);
    EXPECT_EQ(log, "+root +a -a=0 +b +b1 -b1=2 -b=2 -root=2 ");
    // The leave result becomes the node's result: turning a Quit into Continue goes on.
    log.clear();
    EXPECT_EQ(traverse(tree.root, enter([](const std::string &n, bool) {
                  return n == "a2" ? Action::Quit : Action::Continue;
              }), leave(true)), Action::Continue);
    EXPECT_EQ(log, "+root +a +a1 -a1=0 +a2 -a2=2 -a=0 +b +b1 -b1=0 -b=0 -root=0 ");

    // Lists with null entries, and empty functors.
    log.clear();
    std::vector<NodePtr> list{ tree.a1, NodePtr(), tree.b1 };
    EXPECT_EQ(traverse(list, enter(skipAQuitB1)), Action::Quit);
    EXPECT_EQ(log, "+a1 +b1 ");
    LogCapture capture;
    EXPECT_EQ(traverse(tree.root, TraverseEnterFunctor()), Action::Quit);
    EXPECT_TRUE(capture.contains("empty")) << capture.text();

    // Enter may rewrite the children of its own node.
    log.clear();
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

class LoggingGraphOp : public GraphOp
{
  public:
    LoggingGraphOp(void) : GraphOp("Logging") {}

    GraphOp *create(void) override { return new LoggingGraphOp(); }
    void setParams(const std::string) override {}
    std::string usage(void) override { return std::string(); }

    std::string log, stopAt, quitAt;

  protected:
    Action::ResultE traverseEnter(NodePtr &node) override
    {
        if(nameOf(node) != quitAt)
            return GraphOp::traverseEnter(node);
        log += "!" + quitAt + " ";
        return Action::Quit;
    }
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

} // namespace

TEST(GraphOp, EnterFalseStopsDescentAndLeaveIsIgnored)
{
    Tree tree;
    LoggingGraphOp op;
    op.stopAt = "a";
    EXPECT_TRUE(op.traverse(tree.root));
    EXPECT_EQ(op.log, "+root +a -a +b +b1 -b1 -b -root ");

    // A Quit from an overridden traverseEnter survives the default leave.
    LoggingGraphOp quitting;
    quitting.quitAt = "a2";
    EXPECT_FALSE(quitting.traverse(tree.root));
    EXPECT_EQ(quitting.log, "+root +a +a1 -a1 !a2 -a2 -a -root ");

    NodePtr none;
    LogCapture capture;
    EXPECT_FALSE(op.traverse(none));
    EXPECT_TRUE(capture.contains("root is null")) << capture.text();
    op.setName(NULL);
    EXPECT_EQ(op.getName(), "");
}

/*---------------------------- IntersectAction ------------------------------*/

TEST(IntersectAction, NearestHitThroughTransforms)
{
    // far:  translate z = 5            → square (0..1)² at z 5
    // near: translate z = 2, scale 2   → square (0..2)² at z 2
    NodePtr root = makeNode(Group::create(), "root");
    addRefCP(root);
    NodePtr farSquare  = addSquareUnder(root, transform(Vec3f(0, 0, 5)), "farSquare");
    NodePtr nearSquare = addSquareUnder(root, transform(Vec3f(0, 0, 2), Vec3f(2, 2, 2)), "nearSquare");

    Line down(Pnt3f(0.5f, 0.25f, 10), Vec3f(0, 0, -1));
    std::unique_ptr<IntersectAction> ia(IntersectAction::create(down));
    EXPECT_EQ(ia->apply(root), Action::Continue);
    ASSERT_TRUE(ia->didHit());
    EXPECT_NEAR(ia->getHitT(), 5.f, 1e-5f);
    EXPECT_EQ(ia->getHitObject(), farSquare);
    EXPECT_EQ(ia->getHitTriangle(), 0);
    EXPECT_EQ(ia->getHitNormal(), Vec3f(0, 0, 1));
    EXPECT_EQ(ia->getLine(), down) << "the line is restored";
    EXPECT_TRUE(ia->getHitPoint().equals(Pnt3f(0.5f, 0.25f, 5), 1e-5f));

    // Outside the far square but inside the scaled near one: distances are in world units, the
    // maximum distance too.
    Line outside(Pnt3f(1.5f, 1.75f, 10), Vec3f(0, 0, -1));
    ASSERT_TRUE(hits(*ia, root, outside));
    EXPECT_EQ(ia->getHitObject(), nearSquare);
    EXPECT_EQ(ia->getHitTriangle(), 1);
    EXPECT_NEAR(ia->getHitT(), 8.f, 1e-5f);
    EXPECT_NEAR(ia->getHitPoint()[2], 2.f, 1e-5f);
    EXPECT_FALSE(hits(*ia, root, outside, 7.5f));
    EXPECT_EQ(ia->getHitT(), -1.f);
    EXPECT_EQ(ia->getHitObject(), NullFC);
    EXPECT_TRUE(hits(*ia, root, outside, 8.5f));
    // Pointing away finds nothing; a miss leaves no hit from the previous run.
    EXPECT_FALSE(hits(*ia, root, Line(Pnt3f(0.5f, 0.5f, 10), Vec3f(0, 0, 1))));
    subRefCP(root);
}

TEST(IntersectAction, ValidVolumesPruneSubtrees)
{
    NodePtr root = makeNode(Group::create(), "root");
    addRefCP(root);
    addSquareUnder(root, transform(Vec3f(-10, 0, 0)));
    addSquareUnder(root, transform(Vec3f(10, 0, 0)));
    std::unique_ptr<IntersectAction> ia(IntersectAction::create());
    const Line line(Pnt3f(10.5f, 0.5f, 3), Vec3f(0, 0, -1));

    // Without valid volumes every drawable is tested; with them only the one the line meets, and
    // none beyond the maximum distance.
    for(UInt32 expectedCalls : { 2u, 1u })
    {
        TestTriangles::intersectCalls = 0;
        EXPECT_TRUE(hits(*ia, root, line));
        EXPECT_NEAR(ia->getHitT(), 3.f, 1e-5f);
        EXPECT_EQ(TestTriangles::intersectCalls, expectedCalls);
        root->updateVolume();
    }
    TestTriangles::intersectCalls = 0;
    EXPECT_FALSE(hits(*ia, root, line, 2.f));
    EXPECT_EQ(TestTriangles::intersectCalls, 0u);
    subRefCP(root);
}

TEST(IntersectAction, RotatedAndFlattenedTransforms)
{
    NodePtr root = makeNode(Group::create(), "root");
    addRefCP(root);
    // The square turned to face +x and pushed to x = 4: corners (x, y, 0) map to (4, y, -x).
    ComponentTransformPtr ct = ComponentTransform::create();
    beginEditCP(ct, ComponentTransform::ComponentsFieldMask);
    ct->setRotation(Quaternion(Vec3f(0, 1, 0), 3.14159265f / 2));
    ct->setTranslation(Vec3f(4, 0, 0));
    endEditCP(ct, ComponentTransform::ComponentsFieldMask);
    NodePtr xf = makeNode(ct, "", root), square = makeSquare("", xf);

    std::unique_ptr<IntersectAction> ia(IntersectAction::create());
    ASSERT_TRUE(hits(*ia, root, Line(Pnt3f(0, 0.5f, -0.25f), Vec3f(1, 0, 0))));
    EXPECT_NEAR(ia->getHitT(), 4.f, 1e-5f);
    EXPECT_NEAR(ia->getHitPoint()[0], 4.f, 1e-5f);
    // The normal is the drawable's own; its world form goes through the node's matrix.
    Vec3f worldNormal;
    square->getToWorld().multMatrixVec(ia->getHitNormal(), worldNormal);
    EXPECT_NEAR(worldNormal[0], 1.f, 1e-5f);

    // A matrix that flattens the subtree cannot be entered.
    addSquareUnder(root, transform(Vec3f(0, 0, 0), Vec3f(1, 1, 0)));
    root->subChild(xf);
    EXPECT_FALSE(hits(*ia, root, Line(Pnt3f(0.5f, 0.5f, 5), Vec3f(0, 0, -1))));

    // A line without direction is refused.
    ia->setLine(Line());
    LogCapture capture;
    EXPECT_EQ(ia->apply(root), Action::Quit);
    EXPECT_TRUE(capture.contains("no direction")) << capture.text();
    subRefCP(root);
}

TEST(IntersectAction, EveryCoreTypeBringsItsOwnFunctorsTheRestAreGroupsWithoutATest)
{
    // The same translated and scaled square under each transform core type.
    Matrix m = transform(Vec3f(0, 0, 3), Vec3f(2, 2, 2));
    TransformPtr plain = Transform::create();
    ComponentTransformPtr component = ComponentTransform::create();
    Transform3DPtr stack = Transform3D::create();
    beginEditCP(plain, Transform::MatrixFieldMask);
    plain->setMatrix(m);
    endEditCP(plain, Transform::MatrixFieldMask);
    beginEditCP(component, ComponentTransform::ComponentsFieldMask);
    component->setTranslation(Vec3f(0, 0, 3));
    component->setScale(Vec3f(2, 2, 2));
    endEditCP(component, ComponentTransform::ComponentsFieldMask);
    beginEditCP(stack, Transform3D::ComponentsFieldMask);
    stack->setTranslation(Vec3f(0, 0, 3));
    stack->setScale(Vec3f(2, 2, 2));
    endEditCP(stack, Transform3D::ComponentsFieldMask);

    const Line down(Pnt3f(1.5f, 1.5f, 10), Vec3f(0, 0, -1));
    for(const NodeCorePtr &core : { NodeCorePtr(plain), NodeCorePtr(component), NodeCorePtr(stack) })
    {
        const std::string kind = core->getType().getName();
        NodePtr root = makeNode(Group::create(), "root");
        addRefCP(root);
        makeSquare("square", makeNode(core, "xf", root));
        std::unique_ptr<IntersectAction> ia(IntersectAction::create());
        ASSERT_TRUE(hits(*ia, root, down)) << kind;
        EXPECT_NEAR(ia->getHitT(), 7.f, 1e-5f) << kind;

        // Without functors of its own the core is a plain group: the line stays unmapped and
        // misses the untransformed unit square.
        ia->registerEnterFunction(core->getType(), Action::Functor());
        ia->registerLeaveFunction(core->getType(), Action::Functor());
        EXPECT_FALSE(hits(*ia, root, down)) << kind;
        ASSERT_TRUE(hits(*ia, root, Line(Pnt3f(0.5f, 0.5f, 10), Vec3f(0, 0, -1)))) << kind;
        EXPECT_NEAR(ia->getHitT(), 10.f, 1e-5f) << kind;
        subRefCP(root);
    }

    // A group whose (static, valid) volume misses the line is pruned by Group's functor, and
    // descended into by the default.
    NodePtr root = makeNode(Group::create(), "root");
    addRefCP(root);
    NodePtr group = makeNode(Group::create(), "group", root);
    makeSquare("square", group);
    beginEditCP(group, Node::VolumeFieldMask);
    DynamicVolume &fake = group->editVolume(false);
    fake.setEmpty();
    fake.extendBy(Pnt3f(5, 5, 0));
    fake.extendBy(Pnt3f(6, 6, 1));
    fake.setStatic();
    endEditCP(group, Node::VolumeFieldMask);
    std::unique_ptr<IntersectAction> ia(IntersectAction::create());
    const Line onSquare(Pnt3f(0.5f, 0.5f, 1), Vec3f(0, 0, -1));
    EXPECT_FALSE(hits(*ia, root, onSquare));
    ia->registerEnterFunction(Group::getClassType(), Action::Functor());
    EXPECT_TRUE(hits(*ia, root, onSquare));
    subRefCP(root);
}

TEST(IntersectAction, HitBookkeeping)
{
    std::unique_ptr<IntersectAction> ia(IntersectAction::create(Line(Pnt3f(0, 0, 0), Vec3f(1, 0, 0)), 10.f));
    NodePtr n = Node::create();
    addRefCP(n);
    EXPECT_EQ(ia->getHitTriangle(), -1);

    // Hits behind the start or beyond the maximum are ignored; the nearest wins, the first of ties.
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
    subRefCP(n);
}
