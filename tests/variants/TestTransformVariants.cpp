// Transform variants: mixing by apply flags, the variant state of the attachment and its
// supposed state, the callbacks that keep the state current, and who references whom.

#include <OpenSGExt/OSGTransformVariant.h>
#include <OpenSGExt/OSGTransformVariantsAttachment.h>

#include <OpenSG/OSGRefPtr.h>
#include <OpenSG/OSGBinaryDataHandler.h>
#include <OpenSG/OSGComponentTransform.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGLog.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

using namespace osg;

namespace {

typedef TransformVariant            TV;
typedef TransformVariantsAttachment TVA;
typedef std::vector<Int32>          Ints;

const TV::Component AllComponents[] = {
    TV::Translation, TV::EulerRotation, TV::Scale, TV::ScalePivot, TV::ScalePivotTranslation,
    TV::RotatePivot, TV::EulerRotationOrientation, TV::RotatePivotTranslation};

// Field mask and setter of each component, in Component order.
const struct { BitVector mask; void (Transform3D::*set)(const Vec3f &); } Setters[] = {
    {Transform3D::TranslationFieldMask, &Transform3D::setTranslation},
    {Transform3D::EulerRotationFieldMask, &Transform3D::setEulerRotation},
    {Transform3D::ScaleFieldMask, &Transform3D::setScale},
    {Transform3D::ScalePivotFieldMask, &Transform3D::setScalePivot},
    {Transform3D::ScalePivotTranslationFieldMask, &Transform3D::setScalePivotTranslation},
    {Transform3D::RotatePivotFieldMask, &Transform3D::setRotatePivot},
    {Transform3D::EulerRotationOrientationFieldMask, &Transform3D::setEulerRotationOrientation},
    {Transform3D::RotatePivotTranslationFieldMask, &Transform3D::setRotatePivotTranslation}};

// Counts the reports of a container's changed functions (which it holds weakly).
struct Probe
{
    explicit Probe(const FieldContainerPtr &fc) { fc->addChangedFunction(fn); }
    int               calls = 0;
    BitVector         mask;
    FieldContainerPtr last;
    FieldContainer::ChangedFunctionPtr fn = std::make_shared<FieldContainer::ChangedFunction>(
        [this](const FieldContainerPtr &fc, const BitVector &m, UInt32) {
            ++calls;
            mask = m;
            last = fc;
        });
};

template <class... P>
Ints refs(const P &...p)
{
    return {p.getRefCount()...};
}

// An edit, so that watchers hear of it.
template <class PtrT, class F>
void edit(const PtrT &p, const BitVector &mask, F change)
{
    beginEditCP(p, mask);
    change();
    endEditCP(p, mask);
}

void setComponent(const Transform3DPtr &t, TV::Component c, const Vec3f &v)
{
    const BitVector mask   = Setters[c].mask;
    const auto      setter = Setters[c].set;
    beginEditCP(t, mask);
    (t.getCPtr()->*setter)(v);
    endEditCP(t, mask);
}

void setRotationMode(const Transform3DPtr &t, Int32 mode)
{
    edit(t, Transform3D::RotationModeFieldMask, [&] { t->setRotationMode(mode); });
}

void setFlags(const TransformVariantPtr &v, UInt32 flags)
{
    edit(v, TV::ApplyFlagsFieldMask, [&] { v->setApplyFlags(flags); });
}

// Component c of a transform whose components are all distinct: base (c + 1) + (1, 2, 3).
Vec3f distinct(TV::Component c, Real32 base = 10.f)
{
    Real32 b = base * Real32(c + 1);
    return Vec3f(b + 1.f, b + 2.f, b + 3.f);
}

// A new core with distinct components, or with those and the rotation mode of source.
Transform3DPtr makeTransform(Real32 base, const Transform3DPtr &source = NullFC)
{
    Transform3DPtr t = Transform3D::create();
    for(TV::Component c : AllComponents)
        setComponent(t, c, source != NullFC ? TV::readComponent(source, c) : distinct(c, base));
    if(source != NullFC)
        setRotationMode(t, source->getRotationMode());
    return t;
}

TransformVariantPtr makeVariant(const std::string &name, UInt32 flags, const Transform3DPtr &t)
{
    TransformVariantPtr v = TransformVariant::create();
    edit(v, TV::NameFieldMask, [&] { v->setName(name); });
    setFlags(v, flags);
    v->setTransformation(t);
    return v;
}

// Reads the fields of `from` into `into` as a loader does, without ending the edit.
template <class PtrT>
void load(const PtrT &from, const PtrT &into, const BitVector &mask)
{
    MemoryBinaryDataHandler out;
    from->copyToBin(out, mask);
    MemoryBinaryDataHandler in(out.getBuffer().data(), out.getBuffer().size());
    into->copyFromBin(in, mask);
}

Ints statesOf(const TransformVariantsAttachmentPtr &a)
{
    return Ints(a->getActiveStates().begin(), a->getActiveStates().end());
}

// A target transform carrying a variants attachment; the test holds the target.
class VariantsTest : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        addRefCP(_target);
        _variants = TVA::createTransformVariantsAttachment(_target);
        ASSERT_NE(_variants, NullFC);
    }
    void TearDown() override { subRefCP(_target); }

    // A variant whose transformation shows the target's current values.
    TransformVariantPtr matching(const std::string &name, UInt32 flags)
    {
        return makeVariant(name, flags, makeTransform(0.f, _target));
    }
    Ints states() const { return statesOf(_variants); }
    // The remembered variant's index and the supposed active state index.
    std::pair<Int32, Int32> supposed() const
    {
        return {_variants->getSupposedState(), _variants->getSupposedActiveStateIndex()};
    }

    Transform3DPtr                 _target = Transform3D::create();
    TransformVariantsAttachmentPtr _variants;
};

} // namespace

/*------------------------------ mixing -----------------------------------*/

TEST(TransformVariantMix, AxisBitsOneAxisPivotBitsWholeGroupsRotationModeAnyRotationBit)
{
    Transform3DPtr t = makeTransform(10.f);
    setRotationMode(t, 5);
    TransformVariantPtr v = makeVariant("v", 0x5, t);
    RefPtr<FieldContainerPtr> hold(v);
    const Vec3f cur(-1.f, -2.f, -3.f);
    EXPECT_EQ(v->mixTranslation(cur), Vec3f(11.f, -2.f, 13.f));   // 0x5: x and z

    const struct { TV::Component c; UInt32 x; } axisGroups[] = {
        {TV::Translation, 0x1}, {TV::EulerRotation, 0x8}, {TV::Scale, 0x80}};
    for(const auto &g : axisGroups)
    {
        for(UInt32 axis = 0; axis < 3; ++axis)
        {
            setFlags(v, g.x << axis);
            Vec3f expected = cur;
            expected[axis] = distinct(g.c)[axis];
            EXPECT_EQ(v->mixComponent(g.c, cur), expected) << g.c << " axis " << axis;
        }
        setFlags(v, TV::ApplyAll & ~(7 * g.x));
        EXPECT_EQ(v->mixComponent(g.c, cur), cur) << g.c << " foreign bits";
    }
    const struct { UInt32 flag, members; } pivotGroups[] = {
        {TV::ApplyScalePivot, (1u << TV::ScalePivot) | (1u << TV::ScalePivotTranslation)},
        {TV::ApplyRotatePivot, (1u << TV::RotatePivot) | (1u << TV::EulerRotationOrientation) |
                                   (1u << TV::RotatePivotTranslation)}};
    for(const auto &g : pivotGroups)
    {
        setFlags(v, g.flag);
        for(TV::Component c : AllComponents)
            EXPECT_EQ(v->mixComponent(c, cur), (g.members >> c) & 1 ? distinct(c) : cur)
                << "flag " << g.flag << " component " << c;
    }

    for(UInt32 bits : {0x8u, 0x10u, 0x20u, 0x40u, TV::ApplyAll & ~0x78u})
    {
        setFlags(v, bits);
        EXPECT_EQ(v->mixRotationMode(2), (bits & 0x78) ? 5 : 2) << "bits " << bits;
    }
    // Without a transformation the variant overrides with zeros.
    v->setTransformation(NullFC);
    setFlags(v, TV::ApplyAll);
    EXPECT_EQ(v->mixRotationMode(2), 0);
    for(TV::Component c : AllComponents)
        EXPECT_EQ(v->mixComponent(c, Vec3f(4.f, 5.f, 6.f)), Vec3f(0.f, 0.f, 0.f)) << c;
}

/*------------------------------ variant ----------------------------------*/

TEST(TransformVariant, HoldsOneReferenceToItsTransformationAndReportsItsEdits)
{
    Transform3DPtr a = Transform3D::create(), b = Transform3D::create();
    RefPtr<FieldContainerPtr> holdA(a), holdB(b);
    TransformVariantPtr v = makeVariant("v", 0, a);
    addRefCP(v);
    Probe probe(v);
    setComponent(a, TV::Translation, Vec3f(1.f, 0.f, 0.f));
    EXPECT_EQ(probe.calls, 1);
    EXPECT_EQ(probe.mask, TV::TransformationFieldMask);
    EXPECT_EQ(probe.last, FieldContainerPtr(v));
    v->setTransformation(a);
    EXPECT_EQ(refs(a), Ints({2}));
    v->setTransformation(b);   // reported as an edit of the variant
    EXPECT_EQ(refs(a, b), Ints({1, 2}));
    setComponent(a, TV::Translation, Vec3f(2.f, 0.f, 0.f));
    EXPECT_EQ(a->getNumChangedFunctions(), 0u);
    setComponent(b, TV::Scale, Vec3f(2.f, 2.f, 2.f));
    EXPECT_EQ(probe.calls, 3);

    // A shallow copy owns a reference of its own.
    TransformVariantPtr copy = TransformVariantPtr::dcast(v->shallowCopy());
    addRefCP(copy);
    EXPECT_EQ(refs(b), Ints({3}));
    subRefCP(copy);
    // Reading takes no reference; the loader's origin does.
    TransformVariantPtr loaded = TransformVariant::create();
    addRefCP(loaded);
    load(v, loaded, TV::TransformationFieldMask);
    EXPECT_EQ(loaded->getTransformation(), b);
    EXPECT_EQ(refs(b), Ints({2}));
    endEditCP(loaded, TV::TransformationFieldMask,
              ChangedOrigin::Abstract | ChangedOrigin::AbstrIncRefCount);
    EXPECT_EQ(refs(b), Ints({3}));
    subRefCP(loaded);
    // A destroyed variant gives its reference back and leaves nothing behind.
    subRefCP(v);
    EXPECT_EQ(refs(b), Ints({1}));
    EXPECT_EQ(b->getNumChangedFunctions(), 0u);
}

TEST(TransformVariant, DuplicateCopiesNameFlagsAndItsOwnTransformation)
{
    Transform3DPtr t = makeTransform(3.f);
    TransformVariantPtr v = makeVariant("open", 0x123, t), d = v->duplicate();
    ASSERT_NE(d, NullFC);
    RefPtr<FieldContainerPtr> hold(v), holdD(d);
    EXPECT_EQ(d->getName(), "open");
    EXPECT_EQ(d->getApplyFlags(), 0x123u);
    ASSERT_NE(d->getTransformation(), NullFC);
    EXPECT_NE(d->getTransformation(), t);
    EXPECT_EQ(refs(d->getTransformation()), Ints({1}));
    setComponent(t, TV::Translation, Vec3f(0.f, 0.f, 0.f));
    EXPECT_EQ(d->getTranslation(), distinct(TV::Translation, 3.f));
    v->setTransformation(NullFC);
    RefPtr<FieldContainerPtr> e(v->duplicate());
    EXPECT_EQ(TransformVariantPtr::dcast(e.get())->getTransformation(), NullFC);
}

/*------------------------------ attachment list ---------------------------*/

TEST_F(VariantsTest, InsertRemoveAndLookupKeepOrderAndReferences)
{
    TransformVariantPtr a = matching("open", 0), b = matching("closed", 0),
                        c = matching("open", 0), x = matching("x", 0);
    RefPtr<FieldContainerPtr> holdB(b), holdC(c), holdX(x);   // alive across refusal and removal
    EXPECT_TRUE(_variants->insertTransformVariant(a, 0));
    EXPECT_TRUE(_variants->insertTransformVariant(c, 1));
    EXPECT_TRUE(_variants->insertTransformVariant(b, 1));
    ASSERT_EQ(_variants->getTransformVariantCount(), 3u);
    EXPECT_EQ(_variants->getTransformVariant(0u), a);
    EXPECT_EQ(_variants->getTransformVariant(1u), b);
    EXPECT_EQ(_variants->getTransformVariant(2u), c);
    EXPECT_EQ(refs(a, b), Ints({1, 2}));
    // By name the first wins.
    EXPECT_EQ(_variants->getTransformVariant(std::string("open")), a);
    EXPECT_EQ(_variants->getTransformVariant(std::string("closed")), b);
    EXPECT_EQ(_variants->getTransformVariant(std::string("half")), NullFC);
    {
        LogCapture log;
        EXPECT_FALSE(_variants->insertTransformVariant(x, 4));
        EXPECT_FALSE(_variants->insertTransformVariant(NullFC, 0));
        EXPECT_FALSE(_variants->removeTransformVariant(3));
        EXPECT_EQ(_variants->getTransformVariant(3u), NullFC);
        EXPECT_EQ(log.count(), 4u);
        EXPECT_TRUE(log.contains("beyond the end"));
    }
    EXPECT_EQ(_variants->getTransformVariantCount(), 3u);
    EXPECT_EQ(refs(b, x), Ints({2, 1}));

    EXPECT_TRUE(_variants->removeTransformVariant(1));
    EXPECT_EQ(refs(b), Ints({1}));
    EXPECT_EQ(b->getNumChangedFunctions(), 0u);
    EXPECT_EQ(_variants->getTransformVariant(1u), c);
    EXPECT_EQ(_variants->findTransformVariant(b), -1);
    _variants->clearTransformVariants();
    EXPECT_EQ(_variants->getTransformVariantCount(), 0u);
    EXPECT_EQ(refs(c), Ints({1}));
    EXPECT_EQ(c->getNumChangedFunctions(), 0u);
}

TEST_F(VariantsTest, AVariantInsertedTwiceIsTwoEntriesWithAReferenceEach)
{
    TransformVariantPtr v = matching("v", TV::ApplyTranslation), w = matching("w", TV::ApplyScale);
    RefPtr<FieldContainerPtr> holdV(v);
    EXPECT_TRUE(_variants->insertTransformVariant(v, 0));
    EXPECT_TRUE(_variants->insertTransformVariant(w, 1));
    EXPECT_TRUE(_variants->insertTransformVariant(v, 2));
    ASSERT_EQ(_variants->getTransformVariantCount(), 3u);
    EXPECT_EQ(_variants->getTransformVariant(2u), v);
    EXPECT_EQ(refs(v), Ints({3}));
    EXPECT_EQ(states(), Ints({0, 1, 2}));
    // The remembered variant is found at its first entry.
    _variants->setSupposedState(2);
    EXPECT_EQ(supposed(), std::make_pair(0, 0));

    // Taking one entry out leaves the other watched; taking both releases and unwatches it.
    EXPECT_TRUE(_variants->removeTransformVariant(0));
    EXPECT_EQ(refs(v), Ints({2}));
    EXPECT_EQ(v->getNumChangedFunctions(), 1u);
    EXPECT_EQ(supposed(), std::make_pair(1, 1));
    EXPECT_TRUE(_variants->removeTransformVariant(1));
    EXPECT_EQ(refs(v), Ints({1}));
    EXPECT_EQ(v->getNumChangedFunctions(), 0u);
    EXPECT_EQ(supposed(), std::make_pair(-1, 0));     // w alone matches
}

TEST_F(VariantsTest, CopiesAndLoadersTakeReferencesAndDestructionReleasesThem)
{
    TransformVariantPtr a = matching("a", 0);
    addRefCP(a);
    _variants->insertTransformVariant(a, 0);
    EXPECT_EQ(refs(a), Ints({2}));
    EXPECT_EQ(a->getNumChangedFunctions(), 1u);
    // A shallow copy shares the variants with references of its own, and has no target.
    TransformVariantsAttachmentPtr copy =
        TransformVariantsAttachmentPtr::dcast(_variants->shallowCopy());
    addRefCP(copy);
    EXPECT_EQ(refs(a), Ints({3}));
    EXPECT_EQ(copy->getTargetTransform(), NullFC);
    subRefCP(copy);
    EXPECT_EQ(refs(a), Ints({2}));

    // A loaded list takes its references when the loader says so, and is watched.
    Transform3DPtr other = Transform3D::create();
    addRefCP(other);
    TransformVariantsAttachmentPtr loaded = TVA::createTransformVariantsAttachment(other);
    load(_variants, loaded, TVA::TransformVariantsFieldMask);
    EXPECT_EQ(refs(a), Ints({2}));
    endEditCP(loaded, TVA::TransformVariantsFieldMask,
              ChangedOrigin::Abstract | ChangedOrigin::AbstrIncRefCount);
    EXPECT_EQ(refs(a), Ints({3}));
    EXPECT_EQ(statesOf(loaded), Ints({0}));
    setComponent(a->getTransformation(), TV::Translation, Vec3f(5.f, 0.f, 0.f));
    setFlags(a, TV::ApplyTranslationX);
    EXPECT_TRUE(loaded->getActiveStates().empty());
    subRefCP(other);
    EXPECT_EQ(refs(a), Ints({2}));

    EXPECT_TRUE(TVA::removeTransformVariantsAttachment(_target));
    EXPECT_EQ(refs(a), Ints({1}));
    EXPECT_EQ(a->getNumChangedFunctions(), 0u);
    EXPECT_EQ(_target->getNumChangedFunctions(), 0u);
    subRefCP(a);
}

/*------------------------------ target and getters ------------------------*/

TEST_F(VariantsTest, ComponentGettersOwnMixedAndDefaults)
{
    EXPECT_EQ(_variants->getTargetTransform(), _target);
    setComponent(_target, TV::Translation, Vec3f(1.f, 2.f, 3.f));
    setComponent(_target, TV::Scale, Vec3f(2.f, 2.f, 2.f));
    Transform3DPtr t = makeTransform(10.f);
    TransformVariantPtr v = makeVariant("v", TV::ApplyTranslationX | TV::ApplyScaleZ, t);
    _variants->insertTransformVariant(v, 0);
    for(TV::Component c : AllComponents)
        EXPECT_EQ(_variants->getComponent(0u, c, false), distinct(c)) << c;
    EXPECT_EQ(_variants->getTranslation(v, true), Vec3f(distinct(TV::Translation)[0], 2.f, 3.f));
    EXPECT_EQ(_variants->getScale(0u, true), Vec3f(2.f, 2.f, distinct(TV::Scale)[2]));
    EXPECT_EQ(_variants->getRotatePivot(v, true), Vec3f(0.f, 0.f, 0.f));
    EXPECT_EQ(_variants->getVariantTransform(v), t);

    // Rotation mode and order: the variant's own, or the target's passed through the variant.
    setRotationMode(t, 3);
    setRotationMode(_target, 1);
    edit(t, Transform3D::EulerRotationOrderFieldMask, [&] { t->setEulerRotationOrder("zyx"); });
    edit(_target, Transform3D::EulerRotationOrderFieldMask,
         [&] { _target->setEulerRotationOrder("yzx"); });
    EXPECT_EQ(_variants->getRotationMode(0u, false), 3);
    EXPECT_EQ(_variants->getRotationMode(v, true), 1);
    setFlags(v, TV::ApplyRotationY);
    EXPECT_EQ(_variants->getRotationMode(v, true), 3);
    EXPECT_EQ(_variants->getEulerRotationOrder(0u, false), "zyx");
    EXPECT_EQ(_variants->getEulerRotationOrder(v, true), "yzx");

    // Without a transformation: the defaults, mixed or not.
    TransformVariantPtr empty = makeVariant("empty", TV::ApplyAll, NullFC);
    _variants->insertTransformVariant(empty, 1);
    for(bool mixed : {false, true})
    {
        EXPECT_EQ(_variants->getScale(1u, mixed), Vec3f(1.f, 1.f, 1.f));
        EXPECT_EQ(_variants->getTranslation(empty, mixed), Vec3f(0.f, 0.f, 0.f));
        EXPECT_EQ(_variants->getRotationMode(empty, mixed), 0);
        EXPECT_EQ(_variants->getEulerRotationOrder(1u, mixed), "xyz");
    }
    LogCapture log;
    EXPECT_EQ(_variants->getScale(7u, false), Vec3f(1.f, 1.f, 1.f));
    EXPECT_EQ(_variants->getTranslation(TransformVariantPtr(), true), Vec3f(0.f, 0.f, 0.f));
    EXPECT_EQ(_variants->getVariantTransform(9u), NullFC);
    EXPECT_EQ(log.count(), 3u);
}

/*------------------------------ variant state -----------------------------*/

TEST_F(VariantsTest, StateHoldsEveryVariantTheTargetShows)
{
    setComponent(_target, TV::Translation, Vec3f(1.f, 2.f, 3.f));
    TransformVariantPtr same = matching("same", TV::ApplyAll);
    TransformVariantPtr other = matching("other", TV::ApplyTranslation);
    setComponent(other->getTransformation(), TV::Translation, Vec3f(1.f, 2.f, 4.f));
    TransformVariantPtr none = makeVariant("none", 0, NullFC);

    _variants->insertTransformVariant(same, 0);            EXPECT_EQ(states(), Ints({0}));
    _variants->insertTransformVariant(other, 1);
    _variants->insertTransformVariant(none, 2);            EXPECT_EQ(states(), Ints({0, 2}));
    // Only the axis that differs decides: without the z bit "other" is shown.
    setFlags(other, TV::ApplyTranslationX | TV::ApplyTranslationY);
    EXPECT_EQ(states(), Ints({0, 1, 2}));
    // Every group is compared, the last one included.
    setComponent(same->getTransformation(), TV::RotatePivotTranslation, Vec3f(0.f, 0.f, 1.f));
    EXPECT_EQ(states(), Ints({1, 2}));
    setFlags(same, TV::ApplyAll & ~TV::ApplyRotatePivot);  EXPECT_EQ(states(), Ints({0, 1, 2}));
    // A variant without a transformation overrides with zeros.
    setFlags(none, TV::ApplyScaleX);                       EXPECT_EQ(states(), Ints({0, 1}));
}

TEST_F(VariantsTest, ComponentsAgreeWithinOneMillionthAndRotationModesExactly)
{
    TransformVariantPtr v = matching("v", TV::ApplyScale);
    _variants->insertTransformVariant(v, 0);
    const struct { Vec3f scale; Ints shown; } cases[] = {{Vec3f(1.f, 1.000002f, 1.f), {}},
                                                         {Vec3f(1.f, 1.0000005f, 1.f), {0}},
                                                         {Vec3f(1.f, 1.f, 0.999998f), {}},
                                                         {Vec3f(1.f, 1.f, 1.f), {0}}};
    for(const auto &c : cases)
    {
        setComponent(v->getTransformation(), TV::Scale, c.scale);
        EXPECT_EQ(states(), c.shown) << c.scale;
    }
    setRotationMode(_target, 1);                    EXPECT_EQ(states(), Ints({0}));
    setFlags(v, TV::ApplyRotationMode);             EXPECT_EQ(states(), Ints());
    setRotationMode(v->getTransformation(), 1);     EXPECT_EQ(states(), Ints({0}));
}

TEST_F(VariantsTest, SupposedStateChoosesAmongSeveralMatches)
{
    typedef std::pair<Int32, Int32> P;   // remembered index, supposed active state index
    TransformVariantPtr first = matching("first", TV::ApplyTranslation);
    TransformVariantPtr third = matching("third", TV::ApplyTranslation);
    setComponent(third->getTransformation(), TV::Translation, Vec3f(9.f, 9.f, 9.f));
    _variants->insertTransformVariant(first, 0);
    _variants->insertTransformVariant(matching("second", TV::ApplyScale), 1);
    _variants->insertTransformVariant(third, 2);
    ASSERT_EQ(states(), Ints({0, 1}));
    EXPECT_EQ(supposed(), P(-1, 0));
    _variants->setSupposedState(1);                 EXPECT_EQ(supposed(), P(1, 1));
    _variants->setSupposedState(2);                 EXPECT_EQ(supposed(), P(2, 0));

    // The remembered variant is found again after inserts and removes before it.
    _variants->setSupposedState(1);
    TransformVariantPtr front = matching("front", TV::ApplyTranslation);
    setComponent(front->getTransformation(), TV::Translation, Vec3f(5.f, 5.f, 5.f));
    _variants->insertTransformVariant(front, 0);
    EXPECT_EQ(states(), Ints({1, 2}));
    EXPECT_EQ(supposed(), P(2, 2));
    _variants->removeTransformVariant(1);           EXPECT_EQ(supposed(), P(1, 1));   // "first"
    // A single match wins whatever is remembered; a removed variant is forgotten.
    _variants->setSupposedState(0);                 EXPECT_EQ(supposed(), P(0, 1));
    _variants->removeTransformVariant(0);           EXPECT_EQ(supposed(), P(-1, 0));
    _variants->setSupposedState(1);
    _variants->setSupposedState(-1);                EXPECT_EQ(supposed(), P(-1, 0));
    _variants->setSupposedState(0);
    LogCapture log;
    _variants->setSupposedState(5);                 EXPECT_EQ(supposed(), P(-1, 0));
    EXPECT_EQ(log.count(), 1u);
    _variants->setSupposedState(0);
    _variants->clearTransformVariants();            EXPECT_EQ(supposed(), P(-1, -1));
}

TEST_F(VariantsTest, TargetAndVariantEditsRerunTheStateUnlessSkipped)
{
    TransformVariantPtr v = matching("v", TV::ApplyTranslation | TV::ApplyRotatePivot);
    RefPtr<FieldContainerPtr> hold(v);
    _variants->insertTransformVariant(v, 0);
    ASSERT_EQ(states(), Ints({0}));
    const Vec3f y(0.f, 1.f, 0.f);
    setComponent(_target, TV::Translation, y);                       EXPECT_EQ(states(), Ints());
    setComponent(v->getTransformation(), TV::Translation, y);        EXPECT_EQ(states(), Ints({0}));
    setComponent(_target, TV::RotatePivot, y);                       EXPECT_EQ(states(), Ints());
    setFlags(v, TV::ApplyTranslation);                               EXPECT_EQ(states(), Ints({0}));
    v->setTransformation(makeTransform(1.f));                        EXPECT_EQ(states(), Ints());

    // A removal may leave the state to the caller; a removed variant no longer reports.
    _variants->insertTransformVariant(matching("w", TV::ApplyTranslation), 1);
    _variants->insertTransformVariant(matching("x", TV::ApplyTranslation), 2);
    _variants->removeTransformVariant(0, true);     EXPECT_EQ(states(), Ints({1, 2}));   // stale
    _variants->updateVariantState();                EXPECT_EQ(states(), Ints({0, 1}));
    _variants->removeTransformVariant(0);           EXPECT_EQ(states(), Ints({0}));
    _variants->removeTransformVariant(0, true);
    setFlags(v, 0);                                 EXPECT_EQ(states(), Ints({0}));   // stale
}

/*------------------------------ on a container ----------------------------*/

TEST_F(VariantsTest, AttachmentOnAContainerFollowsItsTransform3DParent)
{
    TransformVariantsAttachmentPtr a = _variants;
    RefPtr<FieldContainerPtr> hold(a);
    a->insertTransformVariant(matching("v", TV::ApplyTranslation), 0);
    ASSERT_EQ(statesOf(a), Ints({0}));
    EXPECT_EQ(TVA::createTransformVariantsAttachment(_target), a);   // one per container
    EXPECT_EQ(_target->getNumChangedFunctions(), 1u);
    EXPECT_TRUE(TVA::removeTransformVariantsAttachment(_target));
    EXPECT_FALSE(TVA::removeTransformVariantsAttachment(_target));
    EXPECT_EQ(TVA::getTransformVariantsAttachment(_target), NullFC);
    EXPECT_EQ(refs(a), Ints({1}));
    EXPECT_EQ(a->getTargetTransform(), NullFC);
    EXPECT_TRUE(a->getActiveStates().empty());
    EXPECT_EQ(_target->getNumChangedFunctions(), 0u);

    // Attached to another core it follows that one, until another attachment replaces it.
    Transform3DPtr other = Transform3D::create();
    RefPtr<FieldContainerPtr> holdOther(other);
    EXPECT_TRUE(TVA::setTransformVariantsAttachment(other, a));
    EXPECT_EQ(a->getTargetTransform(), other);
    EXPECT_EQ(statesOf(a), Ints({0}));
    setComponent(other, TV::Translation, Vec3f(3.f, 0.f, 0.f));
    EXPECT_TRUE(a->getActiveStates().empty());
    TransformVariantsAttachmentPtr b = TVA::create();
    EXPECT_TRUE(TVA::setTransformVariantsAttachment(other, b));
    EXPECT_TRUE(TVA::setTransformVariantsAttachment(other, b));
    EXPECT_EQ(TVA::getTransformVariantsAttachment(other), b);
    EXPECT_EQ(refs(a, b), Ints({1, 1}));
    EXPECT_EQ(a->getTargetTransform(), NullFC);
    EXPECT_EQ(b->getTargetTransform(), other);
    {
        LogCapture log;
        EXPECT_EQ(TVA::getTransformVariantsAttachment(NullFC), NullFC);
        EXPECT_EQ(TVA::createTransformVariantsAttachment(NullFC), NullFC);
        EXPECT_FALSE(TVA::setTransformVariantsAttachment(other, NullFC));
        EXPECT_FALSE(TVA::removeTransformVariantsAttachment(NullFC));
        EXPECT_EQ(log.count(), 4u);
    }

    // Only a Transform3D parent is a target: not a group, nor a transform of another kind.
    for(const NodeCorePtr &core :
        {NodeCorePtr(Group::create()), NodeCorePtr(ComponentTransform::create())})
    {
        RefPtr<FieldContainerPtr> holdCore(core);
        TransformVariantsAttachmentPtr on = TVA::createTransformVariantsAttachment(core);
        EXPECT_EQ(refs(on), Ints({1}));
        on->insertTransformVariant(makeVariant("v", 0, Transform3D::create()), 0);
        EXPECT_EQ(on->getTargetTransform(), NullFC);
        EXPECT_TRUE(on->getActiveStates().empty());
        EXPECT_EQ(on->getSupposedActiveStateIndex(), -1);
        EXPECT_EQ(on->getScale(0u, true), Vec3f(1.f, 1.f, 1.f));
    }
}
