// SwitchComponentTransform: the choice and the live components kept in step (store, load, one
// matrix rebuild), adding and removing entries; ComponentTransformExtended's Euler angles.

#include <OpenSGExt/OSGSwitchComponentTransform.h>
#include <OpenSGExt/OSGComponentTransformExtended.h>

#include <OpenSG/OSGAction.h>
#include <OpenSG/OSGChangeList.h>
#include <OpenSG/OSGLog.h>
#include <OpenSG/OSGNode.h>

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>

using namespace osg;

namespace {

typedef SwitchComponentTransform SCT;

struct Entry
{
    Vec3f      center, scale, translation;
    Quaternion rotation, scaleOrientation;
};

Entry makeEntry(Real32 k)
{
    Entry e;
    e.center      = Vec3f(k, 0.5f * k, 1.f);
    e.scale       = Vec3f(1.f + k, 2.f, 1.f + 0.5f * k);
    e.translation = Vec3f(10.f * k, -k, 3.f);
    e.rotation.setValueAsAxisDeg(Vec3f(0.f, 0.f, 1.f), 10.f * k + 5.f);
    e.scaleOrientation.setValueAsAxisDeg(Vec3f(1.f, 0.f, 0.f), 7.f * k + 3.f);
    return e;
}

void expectVec(const Vec3f &a, const Vec3f &b, const char *what)
{
    for(UInt32 i = 0; i < 3; ++i)
        EXPECT_FLOAT_EQ(a[i], b[i]) << what << " component " << i;
}

void expectQuat(const Quaternion &a, const Quaternion &b, const char *what)
{
    for(UInt32 i = 0; i < 4; ++i)
        EXPECT_FLOAT_EQ(a[i], b[i]) << what << " component " << i;
}

// Sets the live components as one edit.
void setLive(const SwitchComponentTransformPtr &s, const Entry &e)
{
    beginEditCP(s, ComponentTransform::ComponentsFieldMask);
    s->setCenter(e.center);
    s->setRotation(e.rotation);
    s->setScale(e.scale);
    s->setScaleOrientation(e.scaleOrientation);
    s->setTranslation(e.translation);
    endEditCP(s, ComponentTransform::ComponentsFieldMask);
}

void setChoice(const SwitchComponentTransformPtr &s, UInt32 choice)
{
    beginEditCP(s, SCT::ChoiceFieldMask);
    s->setChoice(choice);
    endEditCP(s, SCT::ChoiceFieldMask);
}

void expectLive(const SwitchComponentTransformPtr &s, const Entry &e)
{
    expectVec(s->getCenter(), e.center, "live center");
    expectQuat(s->getRotation(), e.rotation, "live rotation");
    expectVec(s->getScale(), e.scale, "live scale");
    expectQuat(s->getScaleOrientation(), e.scaleOrientation, "live scale orientation");
    expectVec(s->getTranslation(), e.translation, "live translation");
}

void expectEntry(const SwitchComponentTransformPtr &s, UInt32 i, const Entry &e)
{
    SCOPED_TRACE("entry " + std::to_string(i));
    ASSERT_LT(i, s->getCount());
    expectVec(s->getCenters(i), e.center, "center");
    expectQuat(s->getRotations(i), e.rotation, "rotation");
    expectVec(s->getScales(i), e.scale, "scale");
    expectQuat(s->getScaleOrientations(i), e.scaleOrientation, "scale orientation");
    expectVec(s->getTranslations(i), e.translation, "translation");
}

Matrix matrixOf(const Entry &e)
{
    Matrix m;
    m.setTransform(e.translation, e.rotation, e.scale, e.scaleOrientation, e.center);
    return m;
}

// A switch transform with entries makeEntry(0), makeEntry(1), ... and a probe that counts the
// reports of a matrix change.
class SwitchTest : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        _s = SwitchComponentTransform::create();
        ASSERT_NE(_s, NullFC);
        addRefCP(_s);
        _probe = std::make_shared<FieldContainer::ChangedFunction>(
            [this](const FieldContainerPtr &, const BitVector &mask, UInt32) {
                if(mask & Transform::MatrixFieldMask)
                    ++_matrixReports;
            });
        _s->addChangedFunction(_probe);
    }
    void TearDown() override { subRefCP(_s); }

    void fill(UInt32 n)
    {
        setChoice(_s, 1000);   // nothing is stored while entries are appended
        setLive(_s, makeEntry(0.f));
        beginEditCP(_s, SCT::EntriesFieldMask);
        _s->editMFCenters()->clear();
        _s->editMFRotations()->clear();
        _s->editMFScales()->clear();
        _s->editMFScaleOrientations()->clear();
        _s->editMFTranslations()->clear();
        endEditCP(_s, SCT::EntriesFieldMask);
        for(UInt32 i = 0; i < n; ++i)
        {
            setLive(_s, makeEntry(Real32(i)));
            _s->addComponent();
        }
        reset();
    }
    void reset()
    {
        _matrixReports = 0;
        Thread::getCurrentChangeList()->clearAll();
    }
    BitVector recorded() const
    {
        return Thread::getCurrentChangeList()->getChangedMask(_s.getFieldContainerId());
    }
    UInt32 recordedMatrixEdits() const
    {
        UInt32 n = 0;
        for(const auto &entry : Thread::getCurrentChangeList()->getChanged())
        {
            if(entry.first == _s.getFieldContainerId() && (entry.second & Transform::MatrixFieldMask))
                ++n;
        }
        return n;
    }

    SwitchComponentTransformPtr        _s;
    FieldContainer::ChangedFunctionPtr _probe;
    int                                _matrixReports = 0;
};

} // namespace

/*------------------------------ switch transform --------------------------*/

TEST_F(SwitchTest, NewCoreShowsOneEntryThatCannotBeRemoved)
{
    EXPECT_EQ(_s->getCount(), 1u);
    EXPECT_EQ(_s->getChoice(), 0u);
    expectVec(_s->getScales(0), Vec3f(1.f, 1.f, 1.f), "first entry scale");

    SwitchComponentTransformPtr empty = SwitchComponentTransform::createEmpty();
    addRefCP(empty);
    EXPECT_EQ(empty->getCount(), 1u);
    EXPECT_EQ(empty->getCenters().size(), 1u);
    EXPECT_EQ(empty->getScaleOrientations().size(), 1u);
    subRefCP(empty);

    reset();
    EXPECT_FALSE(_s->removeCurrentComponent());
    EXPECT_EQ(_s->getCount(), 1u);
    EXPECT_EQ(Thread::getCurrentChangeList()->sizeChanged(), 0u);
}

TEST_F(SwitchTest, LiveEditsAreStoredIntoTheChosenEntry)
{
    fill(3);
    setChoice(_s, 1);
    reset();

    const Entry e = makeEntry(7.f);
    const struct { BitVector live, list; } pairs[] = {
        {SCT::CenterFieldMask, SCT::CentersFieldMask},
        {SCT::RotationFieldMask, SCT::RotationsFieldMask},
        {SCT::ScaleFieldMask, SCT::ScalesFieldMask},
        {SCT::ScaleOrientationFieldMask, SCT::ScaleOrientationsFieldMask},
        {SCT::TranslationFieldMask, SCT::TranslationsFieldMask}};
    for(const auto &p : pairs)
    {
        beginEditCP(_s, p.live);
        if(p.live == SCT::CenterFieldMask)           _s->setCenter(e.center);
        if(p.live == SCT::RotationFieldMask)         _s->setRotation(e.rotation);
        if(p.live == SCT::ScaleFieldMask)            _s->setScale(e.scale);
        if(p.live == SCT::ScaleOrientationFieldMask) _s->setScaleOrientation(e.scaleOrientation);
        if(p.live == SCT::TranslationFieldMask)      _s->setTranslation(e.translation);
        endEditCP(_s, p.live);
        // Only that list is reported, with the matrix.
        EXPECT_EQ(recorded() & SCT::EntriesFieldMask, p.list);
        EXPECT_EQ(_matrixReports, 1);
        reset();
    }
    expectEntry(_s, 1, e);
    expectEntry(_s, 0, makeEntry(0.f));
    expectEntry(_s, 2, makeEntry(2.f));
    EXPECT_TRUE(_s->getMatrix().equals(matrixOf(e), 1e-5f));
}

TEST_F(SwitchTest, ChoosingAnEntryLoadsItAndRebuildsTheMatrixOnce)
{
    fill(3);
    setChoice(_s, 0);
    reset();

    setChoice(_s, 2);
    expectLive(_s, makeEntry(2.f));
    EXPECT_TRUE(_s->getMatrix().equals(matrixOf(makeEntry(2.f)), 1e-5f));
    EXPECT_EQ(_matrixReports, 1);
    EXPECT_EQ(recordedMatrixEdits(), 1u);
    // The loaded components are recorded, so that they reach other copies.
    EXPECT_EQ(recorded() & ComponentTransform::ComponentsFieldMask,
              ComponentTransform::ComponentsFieldMask);
    // Loading stored nothing back.
    EXPECT_EQ(recorded() & SCT::EntriesFieldMask, BitVector(0));
    expectEntry(_s, 0, makeEntry(0.f));
    expectEntry(_s, 2, makeEntry(2.f));

    // Back and forth: each entry comes back as it was.
    setChoice(_s, 1);
    expectLive(_s, makeEntry(1.f));
    setChoice(_s, 2);
    expectLive(_s, makeEntry(2.f));
}

TEST_F(SwitchTest, ChoiceBeyondTheEndStoresAndLoadsNothing)
{
    fill(2);
    setChoice(_s, 1);
    reset();

    setChoice(_s, 2);
    expectLive(_s, makeEntry(1.f));
    EXPECT_EQ(_matrixReports, 0);

    setLive(_s, makeEntry(9.f));
    expectEntry(_s, 0, makeEntry(0.f));
    expectEntry(_s, 1, makeEntry(1.f));
    EXPECT_EQ(recorded() & SCT::EntriesFieldMask, BitVector(0));
    EXPECT_EQ(_matrixReports, 0);
    // The inherited behaviour still keeps the matrix on the live components.
    EXPECT_TRUE(_s->getMatrix().equals(matrixOf(makeEntry(9.f)), 1e-5f));
}

TEST_F(SwitchTest, AddComponentAppendsTheLiveValues)
{
    fill(1);
    setChoice(_s, 0);
    setLive(_s, makeEntry(4.f));   // stored into entry 0
    reset();

    _s->addComponent();
    ASSERT_EQ(_s->getCount(), 2u);
    EXPECT_EQ(_s->getChoice(), 0u);
    expectEntry(_s, 1, makeEntry(4.f));
    EXPECT_EQ(Thread::getCurrentChangeList()->sizeChanged(), 1u);
    EXPECT_EQ(recorded(), SCT::EntriesFieldMask);
    EXPECT_EQ(_matrixReports, 0);
}

TEST_F(SwitchTest, RemovingTheChosenEntryShowsTheOneThatTakesItsPlace)
{
    fill(4);
    setChoice(_s, 1);
    reset();

    EXPECT_TRUE(_s->removeCurrentComponent());
    ASSERT_EQ(_s->getCount(), 3u);
    EXPECT_EQ(_s->getChoice(), 1u);
    expectEntry(_s, 0, makeEntry(0.f));
    expectEntry(_s, 1, makeEntry(2.f));
    expectEntry(_s, 2, makeEntry(3.f));
    expectLive(_s, makeEntry(2.f));
    EXPECT_EQ(_matrixReports, 1);

    // Removing the last entry moves the choice to the new last one.
    setChoice(_s, 2);
    EXPECT_TRUE(_s->removeCurrentComponent());
    EXPECT_EQ(_s->getCount(), 2u);
    EXPECT_EQ(_s->getChoice(), 1u);
    expectLive(_s, makeEntry(2.f));

    setChoice(_s, 5);
    EXPECT_FALSE(_s->removeCurrentComponent());
    EXPECT_EQ(_s->getCount(), 2u);

    setChoice(_s, 0);
    EXPECT_TRUE(_s->removeCurrentComponent());
    EXPECT_EQ(_s->getCount(), 1u);
    expectLive(_s, makeEntry(2.f));
    EXPECT_FALSE(_s->removeCurrentComponent());
    EXPECT_EQ(_s->getCount(), 1u);
}

TEST_F(SwitchTest, ListsOfUnequalLengthAreNeitherStoredNorLoaded)
{
    fill(3);
    setChoice(_s, 0);
    _s->editMFScales()->resize(1);   // as a corrupt stream could leave them
    reset();

    LogCapture log;
    setChoice(_s, 2);
    expectLive(_s, makeEntry(0.f));
    EXPECT_EQ(_matrixReports, 0);
    EXPECT_TRUE(log.contains("unequal length"));
    EXPECT_FALSE(_s->removeCurrentComponent());
    EXPECT_EQ(_s->getCount(), 3u);

    // Entry 0 exists in every list and is still served.
    setChoice(_s, 0);
    expectLive(_s, makeEntry(0.f));
    EXPECT_EQ(_matrixReports, 1);
}

TEST_F(SwitchTest, DumpListsEveryEntryAndMarksTheChoice)
{
    fill(3);
    setChoice(_s, 1);
    std::ostringstream os;
    _s->dump(os, 2);
    const std::string text = os.str();
    EXPECT_NE(text.find("choice 1 of 3 entries"), std::string::npos) << text;
    EXPECT_NE(text.find("  [0] translation"), std::string::npos) << text;
    EXPECT_NE(text.find(" *[1] translation"), std::string::npos) << text;
    EXPECT_NE(text.find("  [2] translation"), std::string::npos) << text;
    EXPECT_EQ(text.find("[3]"), std::string::npos) << text;
}

TEST(SwitchComponentTransformType, HasItsOwnEnterFunctionForThePlainAction)
{
    // A functor registered for Transform reaches a ComponentTransform through the type chain,
    // but not this core, which registered its own.
    int transformEnters = 0;
    Action::registerEnterDefault(Transform::getClassType(), [&](const NodeCorePtr &, Action *) {
        ++transformEnters;
        return Action::Continue;
    });
    auto nodeWith = [](const NodeCorePtr &core) {
        NodePtr node = Node::create();
        addRefCP(node);
        beginEditCP(node, Node::CoreFieldMask);
        node->setCore(core);
        endEditCP(node, Node::CoreFieldMask);
        return node;
    };
    NodePtr switchNode    = nodeWith(SwitchComponentTransform::create());
    NodePtr componentNode = nodeWith(ComponentTransform::create());
    Action *action = Action::create();
    EXPECT_EQ(action->apply(switchNode), Action::Continue);
    EXPECT_EQ(transformEnters, 0);
    EXPECT_EQ(action->apply(componentNode), Action::Continue);
    EXPECT_EQ(transformEnters, 1);
    delete action;
    Action::registerEnterDefault(Transform::getClassType(), Action::Functor());
    subRefCP(switchNode);
    subRefCP(componentNode);
}

/*------------------------------ Euler angles ------------------------------*/

namespace {

class EulerTest : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        _t = ComponentTransformExtended::create();
        ASSERT_NE(_t, NullFC);
        addRefCP(_t);
    }
    void TearDown() override { subRefCP(_t); }

    Vec3f turn(const Vec3f &v) const
    {
        Vec3f out;
        _t->getSFRotation()->getValue().multVec(v, out);
        return out;
    }

    ComponentTransformExtendedPtr _t;
};

void expectNear(const Vec3f &a, const Vec3f &b, Real32 tol, const std::string &what)
{
    for(UInt32 i = 0; i < 3; ++i)
        EXPECT_NEAR(a[i], b[i], tol) << what << " component " << i;
}

} // namespace

TEST_F(EulerTest, AnglesAreDegreesAppliedXThenYThenZ)
{
    _t->setRotation(0.f, 0.f, 90.f);
    expectNear(turn(Vec3f(1.f, 0.f, 0.f)), Vec3f(0.f, 1.f, 0.f), 1e-6f, "z 90");
    _t->setRotation(Vec3f(90.f, 0.f, 0.f));
    expectNear(turn(Vec3f(0.f, 1.f, 0.f)), Vec3f(0.f, 0.f, 1.f), 1e-6f, "x 90");
    // X first: y goes to z, then Y(90) takes z to x. Y first would leave it at z.
    _t->setRotation(90.f, 90.f, 0.f);
    expectNear(turn(Vec3f(0.f, 1.f, 0.f)), Vec3f(1.f, 0.f, 0.f), 1e-6f, "x then y");
    // Y first, then Z: x goes to -z under Y(90) and stays there under Z(90).
    _t->setRotation(0.f, 90.f, 90.f);
    expectNear(turn(Vec3f(1.f, 0.f, 0.f)), Vec3f(0.f, 0.f, -1.f), 1e-6f, "y then z");
}

TEST_F(EulerTest, AnglesRoundTrip)
{
    const Vec3f angles[] = {
        Vec3f(0.f, 0.f, 0.f),      Vec3f(30.f, 0.f, 0.f),     Vec3f(0.f, -45.f, 0.f),
        Vec3f(0.f, 0.f, 170.f),    Vec3f(10.f, 20.f, 30.f),   Vec3f(-120.f, 60.f, -150.f),
        Vec3f(179.f, -89.f, 1.f),  Vec3f(-35.f, 80.f, 100.f), Vec3f(90.f, 45.f, -90.f)};
    for(const Vec3f &a : angles)
    {
        _t->setRotation(a);
        expectNear(_t->getRotation(), a, 2e-3f, "angles");
    }
}

TEST_F(EulerTest, GimbalLockGivesTheSameRotation)
{
    for(Real32 y : {90.f, -90.f, 89.99f, -89.999f})
    {
        _t->setRotation(25.f, y, 40.f);
        const Quaternion q = _t->getSFRotation()->getValue();
        const Vec3f back = _t->getRotation();
        EXPECT_NEAR(back[1], y, 1e-2f);
        _t->setRotation(back);
        const Vec3f probes[] = {Vec3f(1.f, 0.f, 0.f), Vec3f(0.f, 1.f, 0.f), Vec3f(0.f, 0.f, 1.f)};
        for(const Vec3f &p : probes)
        {
            Vec3f expected;
            q.multVec(p, expected);
            expectNear(turn(p), expected, 1e-4f, "locked rotation");
        }
    }
}

TEST_F(EulerTest, EditOfTheEulerRotationRebuildsTheMatrix)
{
    beginEditCP(_t, ComponentTransform::RotationFieldMask);
    _t->setRotation(0.f, 0.f, 90.f);
    endEditCP(_t, ComponentTransform::RotationFieldMask);
    Vec3f out;
    _t->getMatrix().multMatrixVec(Vec3f(1.f, 0.f, 0.f), out);
    expectNear(out, Vec3f(0.f, 1.f, 0.f), 1e-6f, "matrix");

    // The quaternion accessors remain.
    Quaternion q;
    q.setValueAsAxisDeg(Vec3f(1.f, 0.f, 0.f), 30.f);
    _t->setRotation(q);
    expectNear(_t->getRotation(), Vec3f(30.f, 0.f, 0.f), 1e-4f, "from quaternion");
}
