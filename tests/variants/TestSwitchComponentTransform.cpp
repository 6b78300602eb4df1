// SwitchComponentTransform: the choice and the live components kept in step (store, load, one
// matrix rebuild), adding and removing entries; ComponentTransformExtended's Euler angles.

#include <OpenSGExt/OSGSwitchComponentTransform.h>
#include <OpenSGExt/OSGComponentTransformExtended.h>

#include <OpenSG/OSGChangeList.h>
#include <OpenSG/OSGIntersectAction.h>
#include <OpenSG/OSGLog.h>
#include <OpenSG/OSGNode.h>

#include "support/SceneTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

using namespace osg;

namespace {

typedef SwitchComponentTransform    SCT;
typedef SwitchComponentTransformPtr SCTPtr;
typedef std::vector<Real32>         Ks;

// Entry k: every component differs from those of any other k.
struct Entry
{
    explicit Entry(Real32 k) :
        center(k, 0.5f * k, 1.f), scale(1.f + k, 2.f, 1.f + 0.5f * k),
        translation(10.f * k, -k, 3.f)
    {
        rotation.setValueAsAxisDeg(Vec3f(0.f, 0.f, 1.f), 10.f * k + 5.f);
        scaleOrientation.setValueAsAxisDeg(Vec3f(1.f, 0.f, 0.f), 7.f * k + 3.f);
    }
    Vec3f      center, scale, translation;
    Quaternion rotation, scaleOrientation;
};

// The k of the entry the values form, or -1 when they form none.
Real32 kOf(const Vec3f &c, const Quaternion &r, const Vec3f &s, const Quaternion &o,
           const Vec3f &t)
{
    const Entry e(c[0]);
    return c.equals(e.center, 0.f) && r.equals(e.rotation, 1e-6f) && s.equals(e.scale, 0.f) &&
                   o.equals(e.scaleOrientation, 1e-6f) && t.equals(e.translation, 0.f)
               ? c[0]
               : -1.f;
}

Ks stored(const SCTPtr &s)
{
    Ks out;
    for(UInt32 i = 0; i < s->getCount(); ++i)
        out.push_back(kOf(s->getCenters(i), s->getRotations(i), s->getScales(i),
                          s->getScaleOrientations(i), s->getTranslations(i)));
    return out;
}

Real32 live(const SCTPtr &s)
{
    return kOf(s->getCenter(), s->getRotation(), s->getScale(), s->getScaleOrientation(),
               s->getTranslation());
}

void setLive(const SCTPtr &s, Real32 k)
{
    const Entry e(k);
    CPEditor edit(s, ComponentTransform::ComponentsFieldMask);
    s->setCenter(e.center);
    s->setRotation(e.rotation);
    s->setScale(e.scale);
    s->setScaleOrientation(e.scaleOrientation);
    s->setTranslation(e.translation);
}

void setChoice(const SCTPtr &s, UInt32 choice)
{
    CPEditor edit(s, SCT::ChoiceFieldMask);
    s->setChoice(choice);
}

bool matrixShows(const SCTPtr &s, Real32 k)
{
    const Entry e(k);
    Matrix m;
    m.setTransform(e.translation, e.rotation, e.scale, e.scaleOrientation, e.center);
    return s->getMatrix().equals(m, 1e-5f);
}

// A switch transform with a probe that counts the reports of a matrix change.
class SwitchTest : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        addRefCP(_s);
        _s->addChangedFunction(_probe);
    }
    void TearDown() override { subRefCP(_s); }

    // Entries 0 .. n - 1, the given choice, nothing recorded.
    void fill(UInt32 n, UInt32 choice)
    {
        setLive(_s, 0.f);      // stored into the first entry
        setChoice(_s, 1000);   // nothing is stored while entries are appended
        for(UInt32 i = 1; i < n; ++i)
        {
            setLive(_s, Real32(i));
            _s->addComponent();
        }
        setChoice(_s, choice);
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
    // The masks recorded for the core, one per ended edit, in order.
    std::vector<BitVector> entries() const
    {
        std::vector<BitVector> masks;
        for(const ChangeList::ChangeEntry &e : Thread::getCurrentChangeList()->getChanged())
            if(e.first == _s.getFieldContainerId())
                masks.push_back(e.second);
        return masks;
    }

    SCTPtr _s             = SwitchComponentTransform::create();
    int    _matrixReports = 0;
    FieldContainer::ChangedFunctionPtr _probe = std::make_shared<FieldContainer::ChangedFunction>(
        [this](const FieldContainerPtr &, const BitVector &mask, UInt32) {
            _matrixReports += bool(mask & Transform::MatrixFieldMask);
        });
};

} // namespace

/*------------------------------ switch transform --------------------------*/

TEST_F(SwitchTest, NewCoreShowsOneEntryThatCannotBeRemoved)
{
    EXPECT_EQ(_s->getCount(), 1u);
    EXPECT_EQ(_s->getScales(0), Vec3f(1.f, 1.f, 1.f));
    SCTPtr empty = SwitchComponentTransform::createEmpty();
    addRefCP(empty);
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
    fill(3, 1);
    const Entry e(7.f);
    const struct { BitVector live, list; std::function<void()> set; } edits[] = {
        {SCT::CenterFieldMask, SCT::CentersFieldMask, [&] { _s->setCenter(e.center); }},
        {SCT::RotationFieldMask, SCT::RotationsFieldMask, [&] { _s->setRotation(e.rotation); }},
        {SCT::ScaleFieldMask, SCT::ScalesFieldMask, [&] { _s->setScale(e.scale); }},
        {SCT::ScaleOrientationFieldMask, SCT::ScaleOrientationsFieldMask,
         [&] { _s->setScaleOrientation(e.scaleOrientation); }},
        {SCT::TranslationFieldMask, SCT::TranslationsFieldMask,
         [&] { _s->setTranslation(e.translation); }}};
    for(const auto &edit : edits)
    {
        beginEditCP(_s, edit.live);
        edit.set();
        endEditCP(_s, edit.live);
        // The edit, that list and the matrix, each recorded once; the matrix built once.
        EXPECT_EQ(entries(), (std::vector<BitVector>{ edit.live, edit.list, SCT::MatrixFieldMask }));
        EXPECT_EQ(_matrixReports, 1);
        reset();
    }
    EXPECT_EQ(stored(_s), Ks({0.f, 7.f, 2.f}));
    EXPECT_TRUE(matrixShows(_s, 7.f));
}

TEST_F(SwitchTest, ChoosingAnEntryLoadsItAndRebuildsTheMatrixOnce)
{
    fill(3, 0);
    EXPECT_EQ(stored(_s), Ks({0.f, 1.f, 2.f}));
    setChoice(_s, 2);
    EXPECT_EQ(live(_s), 2.f);
    EXPECT_TRUE(matrixShows(_s, 2.f));
    EXPECT_EQ(_matrixReports, 1);
    // The choice, the loaded components (so that they reach other copies) and the matrix, with
    // no other bits; nothing is stored.
    EXPECT_EQ(entries(), (std::vector<BitVector>{ SCT::ChoiceFieldMask,
                                                  ComponentTransform::ComponentsFieldMask,
                                                  SCT::MatrixFieldMask }));
    EXPECT_EQ(stored(_s), Ks({0.f, 1.f, 2.f}));
    // Back and forth: each entry comes back as it was.
    setChoice(_s, 1);           EXPECT_EQ(live(_s), 1.f);
    setChoice(_s, 2);           EXPECT_EQ(live(_s), 2.f);
}

TEST_F(SwitchTest, ChoiceBeyondTheEndStoresAndLoadsNothing)
{
    fill(2, 1);
    setChoice(_s, 2);           EXPECT_EQ(live(_s), 1.f);
    EXPECT_EQ(_matrixReports, 0);
    reset();
    setLive(_s, 9.f);
    EXPECT_EQ(stored(_s), Ks({0.f, 1.f}));
    // The inherited behaviour still keeps the matrix on the live components, built once.
    EXPECT_EQ(entries(), (std::vector<BitVector>{ ComponentTransform::ComponentsFieldMask,
                                                  SCT::MatrixFieldMask }));
    EXPECT_EQ(_matrixReports, 1);
    EXPECT_TRUE(matrixShows(_s, 9.f));
}

TEST_F(SwitchTest, AddComponentAppendsTheLiveValuesAsOneEditOfTheLists)
{
    fill(1, 0);
    setLive(_s, 4.f);   // stored into entry 0
    reset();
    _s->addComponent();
    EXPECT_EQ(stored(_s), Ks({4.f, 4.f}));
    EXPECT_EQ(_s->getChoice(), 0u);
    EXPECT_EQ(Thread::getCurrentChangeList()->sizeChanged(), 1u);
    EXPECT_EQ(recorded(), SCT::EntriesFieldMask);
    EXPECT_EQ(_matrixReports, 0);
}

TEST_F(SwitchTest, RemovingTheChosenEntryShowsTheOneThatTakesItsPlace)
{
    fill(4, 1);
    EXPECT_TRUE(_s->removeCurrentComponent());
    EXPECT_EQ(stored(_s), Ks({0.f, 2.f, 3.f}));
    EXPECT_EQ(_s->getChoice(), 1u);
    EXPECT_EQ(live(_s), 2.f);
    EXPECT_EQ(_matrixReports, 1);
    // Removing the last entry moves the choice to the new last one.
    setChoice(_s, 2);
    EXPECT_TRUE(_s->removeCurrentComponent());
    EXPECT_EQ(stored(_s), Ks({0.f, 2.f}));
    EXPECT_EQ(_s->getChoice(), 1u);
    EXPECT_EQ(live(_s), 2.f);
    setChoice(_s, 5);           EXPECT_FALSE(_s->removeCurrentComponent());
    setChoice(_s, 0);           EXPECT_TRUE(_s->removeCurrentComponent());
    EXPECT_EQ(stored(_s), Ks({2.f}));
    EXPECT_EQ(live(_s), 2.f);
    EXPECT_FALSE(_s->removeCurrentComponent()) << "the last entry stays";
}

TEST_F(SwitchTest, ListsOfUnequalLengthAreNeitherStoredNorLoaded)
{
    fill(3, 0);
    _s->editMFScales()->resize(1);   // as a corrupt stream could leave them
    LogCapture log;
    setChoice(_s, 2);           EXPECT_EQ(live(_s), 0.f);
    EXPECT_EQ(_matrixReports, 0);
    EXPECT_TRUE(log.contains("unequal length"));
    EXPECT_FALSE(_s->removeCurrentComponent());
    EXPECT_EQ(_s->getCount(), 3u);
    // Entry 0 exists in every list and is still served.
    setChoice(_s, 0);           EXPECT_EQ(_matrixReports, 1);
}

TEST_F(SwitchTest, DumpListsEveryEntryAndMarksTheChoice)
{
    fill(3, 1);
    std::ostringstream os;
    _s->dump(os, 2);
    const std::string text = os.str();
    for(const char *part : {"choice 1 of 3 entries", "  [0] translation", " *[1] translation",
                            "  [2] translation"})
        EXPECT_NE(text.find(part), std::string::npos) << part << " in " << text;
    EXPECT_EQ(text.find("[3]"), std::string::npos) << text;
}

TEST_F(SwitchTest, AMatrixOnlyEditTouchesNeitherComponentsNorEntries)
{
    fill(2, 1);
    Matrix m;
    m.setTransform(Vec3f(1, 2, 3));
    beginEditCP(_s, SCT::MatrixFieldMask);
    _s->setMatrix(m);
    endEditCP(_s, SCT::MatrixFieldMask);
    EXPECT_TRUE(_s->getMatrix().equals(m, 0.f));
    EXPECT_EQ(live(_s), 1.f);
    EXPECT_EQ(stored(_s), Ks({0.f, 1.f}));
    EXPECT_EQ(entries(), std::vector<BitVector>{ SCT::MatrixFieldMask });
}

// Functors are found by exact type: the core registers the transform's intersect functors for
// itself, so the line goes through the matrix of the chosen entry.
TEST(SwitchComponentTransformType, IntersectActionGoesThroughTheChosenEntry)
{
    using namespace scenetest;
    SCTPtr s = SwitchComponentTransform::create();
    NodePtr root = groupNode(), xf = nodeWith(s);
    RefPtr<FieldContainerPtr> hold(root);
    addChild(root, xf);
    // A unit square in z = 0, two triangles.
    addChild(xf, nodeWith(triangleGeometry({ Pnt3f(0, 0, 0), Pnt3f(1, 0, 0), Pnt3f(1, 1, 0),
                                             Pnt3f(0, 1, 0) },
                                           { 0, 1, 2, 0, 2, 3 })));
    // Entry 0: up by 2; entry 1: up by 5 and twice as large.
    beginEditCP(s, ComponentTransform::TranslationFieldMask);
    s->setTranslation(Vec3f(0, 0, 2));
    endEditCP(s, ComponentTransform::TranslationFieldMask);
    s->addComponent();
    setChoice(s, 1);
    {
        CPEditor edit(s, ComponentTransform::TranslationFieldMask | ComponentTransform::ScaleFieldMask);
        s->setTranslation(Vec3f(0, 0, 5));
        s->setScale(Vec3f(2, 2, 2));
    }

    std::unique_ptr<IntersectAction> ia(
        IntersectAction::create(Line(Pnt3f(1.5f, 1.5f, 10), Vec3f(0, 0, -1))));
    ia->apply(root);
    ASSERT_TRUE(ia->didHit());
    EXPECT_NEAR(ia->getHitT(), 5.f, 1e-5f);
    EXPECT_EQ(ia->getHitObject(), xf->getChild(0));

    // Entry 0 is only a unit square: the same line misses it; one through it hits at z = 2.
    setChoice(s, 0);
    ia->apply(root);
    EXPECT_FALSE(ia->didHit());
    ia->setLine(Line(Pnt3f(0.5f, 0.5f, 10), Vec3f(0, 0, -1)));
    ia->apply(root);
    ASSERT_TRUE(ia->didHit());
    EXPECT_NEAR(ia->getHitT(), 8.f, 1e-5f);
}

/*------------------------------ Euler angles ------------------------------*/

TEST(ComponentTransformExtended, EulerAnglesAreDegreesAppliedXThenYThenZ)
{
    ComponentTransformExtendedPtr t = ComponentTransformExtended::create();
    addRefCP(t);
    auto expectNear = [](const Vec3f &a, const Vec3f &b, Real32 tol, const char *what) {
        EXPECT_TRUE(a.equals(b, tol)) << what << ": " << a << " vs " << b;
    };
    auto turn = [&t](const Vec3f &v) {
        Vec3f out;
        t->getSFRotation()->getValue().multVec(v, out);
        return out;
    };
    const struct { Vec3f angles, in, out; const char *what; } cases[] = {
        {Vec3f(0.f, 0.f, 90.f), Vec3f(1.f, 0.f, 0.f), Vec3f(0.f, 1.f, 0.f), "z 90"},
        {Vec3f(90.f, 0.f, 0.f), Vec3f(0.f, 1.f, 0.f), Vec3f(0.f, 0.f, 1.f), "x 90"},
        // X first: y goes to z, then Y(90) takes z to x. Y first would leave it at z.
        {Vec3f(90.f, 90.f, 0.f), Vec3f(0.f, 1.f, 0.f), Vec3f(1.f, 0.f, 0.f), "x then y"},
        // Y first, then Z: x goes to -z under Y(90) and stays there under Z(90).
        {Vec3f(0.f, 90.f, 90.f), Vec3f(1.f, 0.f, 0.f), Vec3f(0.f, 0.f, -1.f), "y then z"}};
    for(const auto &c : cases)
    {
        t->setRotation(c.angles[0], c.angles[1], c.angles[2]);
        expectNear(turn(c.in), c.out, 1e-6f, c.what);
    }
    // As an edit, the Euler rotation rebuilds the matrix; the quaternion accessors remain.
    beginEditCP(t, ComponentTransform::RotationFieldMask);
    t->setRotation(Vec3f(0.f, 0.f, 90.f));
    endEditCP(t, ComponentTransform::RotationFieldMask);
    Vec3f out;
    t->getMatrix().multMatrixVec(Vec3f(1.f, 0.f, 0.f), out);
    expectNear(out, Vec3f(0.f, 1.f, 0.f), 1e-6f, "matrix");
    Quaternion q;
    q.setValueAsAxisDeg(Vec3f(1.f, 0.f, 0.f), 30.f);
    t->setRotation(q);
    expectNear(t->getRotation(), Vec3f(30.f, 0.f, 0.f), 1e-4f, "from quaternion");

    // Angles come back as set; at gimbal lock the same rotation comes back.
    for(const Vec3f &a : {Vec3f(0.f, -45.f, 0.f), Vec3f(0.f, 0.f, 170.f), Vec3f(10.f, 20.f, 30.f),
                          Vec3f(-120.f, 60.f, -150.f), Vec3f(179.f, -89.f, 1.f),
                          Vec3f(-35.f, 80.f, 100.f), Vec3f(90.f, 45.f, -90.f)})
    {
        t->setRotation(a);
        expectNear(t->getRotation(), a, 2e-3f, "angles");
    }
    for(Real32 y : {90.f, -90.f, 89.99f, -89.999f})
    {
        t->setRotation(25.f, y, 40.f);
        const Quaternion locked = t->getSFRotation()->getValue();
        const Vec3f back = t->getRotation();
        EXPECT_NEAR(back[1], y, 1e-2f);
        t->setRotation(back);
        for(const Vec3f &p : {Vec3f(1.f, 0.f, 0.f), Vec3f(0.f, 1.f, 0.f), Vec3f(0.f, 0.f, 1.f)})
        {
            Vec3f expected;
            locked.multVec(p, expected);
            expectNear(turn(p), expected, 1e-4f, "locked rotation");
        }
    }
    subRefCP(t);
}
