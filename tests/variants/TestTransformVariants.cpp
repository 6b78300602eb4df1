// Transform variants: mixing by apply flags, the variant state of the attachment and its
// supposed state, the callbacks that keep the state current, and who references whom.

#include <OpenSGExt/OSGTransformVariant.h>
#include <OpenSGExt/OSGTransformVariantsAttachment.h>

#include <OpenSG/OSGBinaryDataHandler.h>
#include <OpenSG/OSGComponentTransform.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGLog.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace osg;

namespace {

typedef TransformVariant TV;

const TV::Component AllComponents[] = {
    TV::Translation, TV::EulerRotation, TV::Scale, TV::ScalePivot, TV::ScalePivotTranslation,
    TV::RotatePivot, TV::EulerRotationOrientation, TV::RotatePivotTranslation};

void expectVec(const Vec3f &actual, const Vec3f &expected, const std::string &what = "")
{
    for(UInt32 i = 0; i < 3; ++i)
        EXPECT_FLOAT_EQ(actual[i], expected[i]) << what << " component " << i;
}

BitVector componentMask(TV::Component c)
{
    switch(c)
    {
        case TV::Translation:              return Transform3D::TranslationFieldMask;
        case TV::EulerRotation:            return Transform3D::EulerRotationFieldMask;
        case TV::Scale:                    return Transform3D::ScaleFieldMask;
        case TV::ScalePivot:               return Transform3D::ScalePivotFieldMask;
        case TV::ScalePivotTranslation:    return Transform3D::ScalePivotTranslationFieldMask;
        case TV::RotatePivot:              return Transform3D::RotatePivotFieldMask;
        case TV::EulerRotationOrientation: return Transform3D::EulerRotationOrientationFieldMask;
        case TV::RotatePivotTranslation:   return Transform3D::RotatePivotTranslationFieldMask;
        default:                           return BitVector(0);
    }
}

// Sets one component of a transform core as an edit, so that watchers hear of it.
void setComponent(const Transform3DPtr &t, TV::Component c, const Vec3f &v)
{
    const BitVector mask = componentMask(c);
    beginEditCP(t, mask);
    switch(c)
    {
        case TV::Translation:              t->setTranslation(v); break;
        case TV::EulerRotation:            t->setEulerRotation(v); break;
        case TV::Scale:                    t->setScale(v); break;
        case TV::ScalePivot:               t->setScalePivot(v); break;
        case TV::ScalePivotTranslation:    t->setScalePivotTranslation(v); break;
        case TV::RotatePivot:              t->setRotatePivot(v); break;
        case TV::EulerRotationOrientation: t->setEulerRotationOrientation(v); break;
        case TV::RotatePivotTranslation:   t->setRotatePivotTranslation(v); break;
        default: break;
    }
    endEditCP(t, mask);
}

void setRotationMode(const Transform3DPtr &t, Int32 mode)
{
    beginEditCP(t, Transform3D::RotationModeFieldMask);
    t->setRotationMode(mode);
    endEditCP(t, Transform3D::RotationModeFieldMask);
}

// Component c of a transform whose components are all distinct: 10 c + (1, 2, 3).
Vec3f distinct(TV::Component c, Real32 base = 10.f)
{
    Real32 b = base * Real32(c + 1);
    return Vec3f(b + 1.f, b + 2.f, b + 3.f);
}

// A new transform core (reference count 0) with the values of another; not a shallow copy, which
// would share the source's attachments.
Transform3DPtr copyValues(const Transform3DPtr &source)
{
    Transform3DPtr t = Transform3D::create();
    for(TV::Component c : AllComponents)
        setComponent(t, c, TV::readComponent(source, c));
    setRotationMode(t, source->getRotationMode());
    beginEditCP(t, Transform3D::EulerRotationOrderFieldMask);
    t->setEulerRotationOrder(source->getEulerRotationOrder());
    endEditCP(t, Transform3D::EulerRotationOrderFieldMask);
    return t;
}

Transform3DPtr makeDistinctTransform(Real32 base)
{
    Transform3DPtr t = Transform3D::create();
    for(TV::Component c : AllComponents)
        setComponent(t, c, distinct(c, base));
    return t;
}

// A variant (reference count 0) whose transformation is a copy of the given values.
TransformVariantPtr makeVariant(const std::string &name, UInt32 flags,
                                const Transform3DPtr &transformation)
{
    TransformVariantPtr v = TransformVariant::create();
    beginEditCP(v, TV::NameFieldMask | TV::ApplyFlagsFieldMask);
    v->setName(name);
    v->setApplyFlags(flags);
    endEditCP(v, TV::NameFieldMask | TV::ApplyFlagsFieldMask);
    v->setTransformation(transformation);
    return v;
}

void setFlags(const TransformVariantPtr &v, UInt32 flags)
{
    beginEditCP(v, TV::ApplyFlagsFieldMask);
    v->setApplyFlags(flags);
    endEditCP(v, TV::ApplyFlagsFieldMask);
}

std::vector<Int32> states(const TransformVariantsAttachmentPtr &a)
{
    return std::vector<Int32>(a->getActiveStates().begin(), a->getActiveStates().end());
}

// A target transform carrying a variants attachment; the test holds the target.
class VariantsTest : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        _target = Transform3D::create();
        addRefCP(_target);
        _variants = TransformVariantsAttachment::createTransformVariantsAttachment(_target);
        ASSERT_NE(_variants, NullFC);
    }
    void TearDown() override { subRefCP(_target); }

    // A variant whose transformation shows the target's current values.
    TransformVariantPtr matchingVariant(const std::string &name, UInt32 flags)
    {
        return makeVariant(name, flags, copyValues(_target));
    }

    Transform3DPtr                 _target;
    TransformVariantsAttachmentPtr _variants;
};

} // namespace

/*------------------------------ mixing -----------------------------------*/

TEST(TransformVariantMix, ExampleFlags0x5TakeXAndZ)
{
    Transform3DPtr t = Transform3D::create();
    setComponent(t, TV::Translation, Vec3f(7.f, 8.f, 9.f));
    TransformVariantPtr v = makeVariant("v", 0x5, t);
    addRefCP(v);
    expectVec(v->mixTranslation(Vec3f(1.f, 2.f, 3.f)), Vec3f(7.f, 2.f, 9.f));
    subRefCP(v);
}

TEST(TransformVariantMix, EachAxisBitReplacesItsAxisOnly)
{
    Transform3DPtr t = makeDistinctTransform(10.f);
    TransformVariantPtr v = makeVariant("v", 0, t);
    addRefCP(v);
    const Vec3f current(-1.f, -2.f, -3.f);
    const struct { TV::Component c; UInt32 x; } groups[] = {
        {TV::Translation, 0x1}, {TV::EulerRotation, 0x8}, {TV::Scale, 0x80}};
    for(const auto &g : groups)
    {
        const Vec3f own = distinct(g.c);
        for(UInt32 axis = 0; axis < 3; ++axis)
        {
            setFlags(v, g.x << axis);
            Vec3f expected = current;
            expected[axis] = own[axis];
            expectVec(v->mixComponent(g.c, current), expected,
                      "component " + std::to_string(g.c) + " axis " + std::to_string(axis));
        }
        // Every other bit leaves the component alone.
        setFlags(v, TV::ApplyAll & ~TV::componentFlags(g.c));
        expectVec(v->mixComponent(g.c, current), current, "foreign bits");
    }
    // The named mixers agree with the component ones.
    setFlags(v, TV::ApplyAll);
    expectVec(v->mixTranslation(current), distinct(TV::Translation));
    expectVec(v->mixEulerRotation(current), distinct(TV::EulerRotation));
    expectVec(v->mixScale(current), distinct(TV::Scale));
    subRefCP(v);
}

TEST(TransformVariantMix, PivotGroupsReplaceAllThreeAxesTogether)
{
    Transform3DPtr t = makeDistinctTransform(10.f);
    TransformVariantPtr v = makeVariant("v", TV::ApplyScalePivot, t);
    addRefCP(v);
    const Vec3f current(-1.f, -2.f, -3.f);

    expectVec(v->mixScalePivot(current), distinct(TV::ScalePivot));
    expectVec(v->mixScalePivotTranslation(current), distinct(TV::ScalePivotTranslation));
    expectVec(v->mixRotatePivot(current), current);
    expectVec(v->mixEulerRotationOrientation(current), current);
    expectVec(v->mixRotatePivotTranslation(current), current);
    expectVec(v->mixTranslation(current), current);

    setFlags(v, TV::ApplyRotatePivot);
    expectVec(v->mixScalePivot(current), current);
    expectVec(v->mixScalePivotTranslation(current), current);
    expectVec(v->mixRotatePivot(current), distinct(TV::RotatePivot));
    expectVec(v->mixEulerRotationOrientation(current), distinct(TV::EulerRotationOrientation));
    expectVec(v->mixRotatePivotTranslation(current), distinct(TV::RotatePivotTranslation));
    expectVec(v->mixEulerRotation(current), current);
    subRefCP(v);
}

TEST(TransformVariantMix, RotationModeFollowsRotationBitsAndItsOwnBit)
{
    Transform3DPtr t = Transform3D::create();
    setRotationMode(t, 5);
    TransformVariantPtr v = makeVariant("v", 0, t);
    addRefCP(v);
    for(UInt32 bit : {0x8u, 0x10u, 0x20u, 0x40u})
    {
        setFlags(v, bit);
        EXPECT_EQ(v->mixRotationMode(2), 5) << "bit " << bit;
    }
    setFlags(v, TV::ApplyAll & ~(TV::ApplyRotation | TV::ApplyRotationMode));
    EXPECT_EQ(v->mixRotationMode(2), 2);

    // Without a transformation the variant overrides with zeros.
    v->setTransformation(NullFC);
    setFlags(v, TV::ApplyAll);
    EXPECT_EQ(v->mixRotationMode(2), 0);
    EXPECT_EQ(v->getRotationMode(), 0);
    for(TV::Component c : AllComponents)
    {
        expectVec(v->getComponent(c), Vec3f(0.f, 0.f, 0.f));
        expectVec(v->mixComponent(c, Vec3f(4.f, 5.f, 6.f)), Vec3f(0.f, 0.f, 0.f));
    }
    subRefCP(v);
}

/*------------------------------ variant ----------------------------------*/

TEST(TransformVariant, HoldsOneReferenceToItsTransformation)
{
    Transform3DPtr a = Transform3D::create();
    Transform3DPtr b = Transform3D::create();
    addRefCP(a);
    addRefCP(b);

    TransformVariantPtr v = makeVariant("v", 0, a);
    addRefCP(v);
    EXPECT_EQ(a.getRefCount(), 2);
    v->setTransformation(a);
    EXPECT_EQ(a.getRefCount(), 2);
    v->setTransformation(b);
    EXPECT_EQ(a.getRefCount(), 1);
    EXPECT_EQ(b.getRefCount(), 2);

    // A shallow copy owns a reference of its own.
    TransformVariantPtr copy = TransformVariantPtr::dcast(v->shallowCopy());
    addRefCP(copy);
    EXPECT_EQ(copy->getTransformation(), b);
    EXPECT_EQ(b.getRefCount(), 3);
    subRefCP(copy);
    EXPECT_EQ(b.getRefCount(), 2);

    // Reading takes no reference; the loader's origin does.
    MemoryBinaryDataHandler out;
    v->copyToBin(out, TV::TransformationFieldMask);
    TransformVariantPtr loaded = TransformVariant::create();
    addRefCP(loaded);
    MemoryBinaryDataHandler in(out.getBuffer().data(), out.getBuffer().size());
    loaded->copyFromBin(in, TV::TransformationFieldMask);
    EXPECT_EQ(loaded->getTransformation(), b);
    EXPECT_EQ(b.getRefCount(), 2);
    endEditCP(loaded, TV::TransformationFieldMask,
              ChangedOrigin::Abstract | ChangedOrigin::AbstrIncRefCount);
    EXPECT_EQ(b.getRefCount(), 3);
    subRefCP(loaded);

    subRefCP(v);
    EXPECT_EQ(b.getRefCount(), 1);
    subRefCP(a);
    subRefCP(b);
}

TEST(TransformVariant, ReportsEditsOfItsCurrentTransformationOnly)
{
    Transform3DPtr a = Transform3D::create();
    Transform3DPtr b = Transform3D::create();
    addRefCP(a);
    addRefCP(b);
    TransformVariantPtr v = makeVariant("v", 0, a);
    addRefCP(v);

    int       calls = 0;
    BitVector mask;
    auto probe = std::make_shared<FieldContainer::ChangedFunction>(
        [&](const FieldContainerPtr &fc, const BitVector &m, UInt32) {
            EXPECT_EQ(fc, FieldContainerPtr(v));
            ++calls;
            mask = m;
        });
    v->addChangedFunction(probe);

    setComponent(a, TV::Translation, Vec3f(1.f, 0.f, 0.f));
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(mask, TV::TransformationFieldMask);

    v->setTransformation(b);   // reported as an edit of the variant
    EXPECT_EQ(calls, 2);
    calls = 0;
    setComponent(a, TV::Translation, Vec3f(2.f, 0.f, 0.f));
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(a->getNumChangedFunctions(), 0u);
    setComponent(b, TV::Scale, Vec3f(2.f, 2.f, 2.f));
    EXPECT_EQ(calls, 1);

    // A destroyed variant leaves nothing behind on its transformation.
    subRefCP(v);
    EXPECT_EQ(b->getNumChangedFunctions(), 0u);
    subRefCP(a);
    subRefCP(b);
}

TEST(TransformVariant, DuplicateCopiesNameFlagsAndTransformation)
{
    Transform3DPtr t = makeDistinctTransform(3.f);
    TransformVariantPtr v = makeVariant("open", 0x123, t);
    addRefCP(v);

    TransformVariantPtr d = v->duplicate();
    ASSERT_NE(d, NullFC);
    addRefCP(d);
    EXPECT_NE(d, v);
    EXPECT_EQ(d->getName(), "open");
    EXPECT_EQ(d->getApplyFlags(), 0x123u);
    ASSERT_NE(d->getTransformation(), NullFC);
    EXPECT_NE(d->getTransformation(), t);
    EXPECT_EQ(d->getTransformation().getRefCount(), 1);
    for(TV::Component c : AllComponents)
        expectVec(d->getComponent(c), distinct(c, 3.f));

    // The copy is independent, and it watches its own transformation.
    int calls = 0;
    auto probe = std::make_shared<FieldContainer::ChangedFunction>(
        [&](const FieldContainerPtr &, const BitVector &, UInt32) { ++calls; });
    d->addChangedFunction(probe);
    setComponent(t, TV::Translation, Vec3f(0.f, 0.f, 0.f));
    EXPECT_EQ(calls, 0);
    expectVec(d->getTranslation(), distinct(TV::Translation, 3.f));
    setComponent(d->getTransformation(), TV::Translation, Vec3f(1.f, 1.f, 1.f));
    EXPECT_EQ(calls, 1);

    v->setTransformation(NullFC);
    TransformVariantPtr e = v->duplicate();
    addRefCP(e);
    EXPECT_EQ(e->getTransformation(), NullFC);
    subRefCP(e);
    subRefCP(d);
    subRefCP(v);
}

/*------------------------------ attachment list ---------------------------*/

TEST_F(VariantsTest, InsertAndRemoveKeepOrderAndReferences)
{
    TransformVariantPtr a = matchingVariant("a", 0);
    TransformVariantPtr b = matchingVariant("b", 0);
    TransformVariantPtr c = matchingVariant("c", 0);
    addRefCP(b);   // the test keeps b alive across its removal

    EXPECT_TRUE(_variants->insertTransformVariant(a, 0));
    EXPECT_TRUE(_variants->insertTransformVariant(c, 1));
    EXPECT_TRUE(_variants->insertTransformVariant(b, 1));
    ASSERT_EQ(_variants->getTransformVariantCount(), 3u);
    EXPECT_EQ(_variants->getTransformVariant(0u), a);
    EXPECT_EQ(_variants->getTransformVariant(1u), b);
    EXPECT_EQ(_variants->getTransformVariant(2u), c);
    EXPECT_EQ(a.getRefCount(), 1);
    EXPECT_EQ(b.getRefCount(), 2);

    TransformVariantPtr x = matchingVariant("x", 0);
    addRefCP(x);
    {
        LogCapture log;
        EXPECT_FALSE(_variants->insertTransformVariant(x, 4));
        EXPECT_FALSE(_variants->insertTransformVariant(NullFC, 0));
        EXPECT_FALSE(_variants->insertTransformVariant(b, 0));
        EXPECT_FALSE(_variants->removeTransformVariant(3));
        EXPECT_EQ(_variants->getTransformVariant(3u), NullFC);
        EXPECT_EQ(log.count(), 5u);
        EXPECT_TRUE(log.contains("beyond the end"));
        EXPECT_TRUE(log.contains("already in the list"));
    }
    EXPECT_EQ(_variants->getTransformVariantCount(), 3u);
    EXPECT_EQ(b.getRefCount(), 2);
    EXPECT_EQ(x.getRefCount(), 1);
    subRefCP(x);

    EXPECT_TRUE(_variants->removeTransformVariant(1));
    EXPECT_EQ(b.getRefCount(), 1);
    EXPECT_EQ(b->getNumChangedFunctions(), 0u);
    EXPECT_EQ(_variants->getTransformVariant(1u), c);
    EXPECT_EQ(_variants->findTransformVariant(b), -1);
    subRefCP(b);

    addRefCP(c);
    _variants->clearTransformVariants();
    EXPECT_EQ(_variants->getTransformVariantCount(), 0u);
    EXPECT_EQ(c.getRefCount(), 1);
    EXPECT_EQ(c->getNumChangedFunctions(), 0u);
    subRefCP(c);
}

TEST_F(VariantsTest, LookupByNameFindsTheFirst)
{
    TransformVariantPtr a = matchingVariant("open", 0);
    TransformVariantPtr b = matchingVariant("closed", 0);
    TransformVariantPtr c = matchingVariant("open", 0);
    _variants->insertTransformVariant(a, 0);
    _variants->insertTransformVariant(b, 1);
    _variants->insertTransformVariant(c, 2);
    EXPECT_EQ(_variants->getTransformVariant(std::string("open")), a);
    EXPECT_EQ(_variants->getTransformVariant(std::string("closed")), b);
    EXPECT_EQ(_variants->getTransformVariant(std::string("half")), NullFC);
}

TEST_F(VariantsTest, AttachmentReleasesItsVariantsWhenDestroyed)
{
    TransformVariantPtr a = matchingVariant("a", 0);
    addRefCP(a);
    _variants->insertTransformVariant(a, 0);
    EXPECT_EQ(a.getRefCount(), 2);
    EXPECT_EQ(a->getNumChangedFunctions(), 1u);

    // A shallow copy shares the variants with references of its own.
    TransformVariantsAttachmentPtr copy =
        TransformVariantsAttachmentPtr::dcast(_variants->shallowCopy());
    addRefCP(copy);
    EXPECT_EQ(a.getRefCount(), 3);
    EXPECT_EQ(copy->getTargetTransform(), NullFC);
    subRefCP(copy);
    EXPECT_EQ(a.getRefCount(), 2);

    EXPECT_TRUE(TransformVariantsAttachment::removeTransformVariantsAttachment(_target));
    EXPECT_EQ(a.getRefCount(), 1);
    EXPECT_EQ(a->getNumChangedFunctions(), 0u);
    EXPECT_EQ(_target->getNumChangedFunctions(), 0u);
    subRefCP(a);
}

TEST_F(VariantsTest, LoadedListTakesReferencesAndIsWatched)
{
    TransformVariantPtr a = matchingVariant("a", 0);
    _variants->insertTransformVariant(a, 0);

    MemoryBinaryDataHandler out;
    _variants->copyToBin(out, TransformVariantsAttachment::TransformVariantsFieldMask);

    Transform3DPtr other = Transform3D::create();
    addRefCP(other);
    TransformVariantsAttachmentPtr loaded =
        TransformVariantsAttachment::createTransformVariantsAttachment(other);
    MemoryBinaryDataHandler in(out.getBuffer().data(), out.getBuffer().size());
    loaded->copyFromBin(in, TransformVariantsAttachment::TransformVariantsFieldMask);
    EXPECT_EQ(a.getRefCount(), 1);
    endEditCP(loaded, TransformVariantsAttachment::TransformVariantsFieldMask,
              ChangedOrigin::Abstract | ChangedOrigin::AbstrIncRefCount);
    EXPECT_EQ(a.getRefCount(), 2);
    EXPECT_EQ(states(loaded), std::vector<Int32>({0}));

    setComponent(a->getTransformation(), TV::Translation, Vec3f(5.f, 0.f, 0.f));
    setFlags(a, TV::ApplyTranslationX);
    EXPECT_TRUE(loaded->getActiveStates().empty());
    subRefCP(other);
    EXPECT_EQ(a.getRefCount(), 1);
}

/*------------------------------ target and getters ------------------------*/

TEST(TransformVariantsTarget, OnlyATransform3DParentIsATarget)
{
    GroupPtr group = Group::create();
    addRefCP(group);
    TransformVariantsAttachmentPtr onGroup =
        TransformVariantsAttachment::createTransformVariantsAttachment(group);
    Transform3DPtr t = Transform3D::create();
    onGroup->insertTransformVariant(makeVariant("v", 0, t), 0);
    EXPECT_EQ(onGroup->getTargetTransform(), NullFC);
    EXPECT_TRUE(onGroup->getActiveStates().empty());
    EXPECT_EQ(onGroup->getSupposedActiveStateIndex(), -1);
    expectVec(onGroup->getScale(0u, true), Vec3f(1.f, 1.f, 1.f));
    subRefCP(group);

    // A transform core of another kind is no target either.
    ComponentTransformPtr ct = ComponentTransform::create();
    addRefCP(ct);
    TransformVariantsAttachmentPtr onCt =
        TransformVariantsAttachment::createTransformVariantsAttachment(ct);
    EXPECT_EQ(onCt->getTargetTransform(), NullFC);
    subRefCP(ct);

    TransformVariantsAttachmentPtr loose = TransformVariantsAttachment::create();
    addRefCP(loose);
    EXPECT_EQ(loose->getTargetTransform(), NullFC);
    subRefCP(loose);
}

TEST_F(VariantsTest, ComponentGettersOwnMixedAndDefaults)
{
    EXPECT_EQ(_variants->getTargetTransform(), _target);
    setComponent(_target, TV::Translation, Vec3f(1.f, 2.f, 3.f));
    setComponent(_target, TV::Scale, Vec3f(2.f, 2.f, 2.f));

    Transform3DPtr t = makeDistinctTransform(10.f);
    TransformVariantPtr v = makeVariant("v", TV::ApplyTranslationX | TV::ApplyScaleZ, t);
    _variants->insertTransformVariant(v, 0);

    expectVec(_variants->getTranslation(0u, false), distinct(TV::Translation));
    expectVec(_variants->getTranslation(v, true), Vec3f(distinct(TV::Translation)[0], 2.f, 3.f));
    expectVec(_variants->getScale(0u, true), Vec3f(2.f, 2.f, distinct(TV::Scale)[2]));
    expectVec(_variants->getRotatePivot(v, true), Vec3f(0.f, 0.f, 0.f));
    expectVec(_variants->getRotatePivot(v, false), distinct(TV::RotatePivot));
    EXPECT_EQ(_variants->getVariantTransform(0u), t);
    EXPECT_EQ(_variants->getVariantTransform(v), t);

    // Each named getter reads its own component.
    expectVec(_variants->getEulerRotation(0u, false), distinct(TV::EulerRotation));
    expectVec(_variants->getScalePivot(0u, false), distinct(TV::ScalePivot));
    expectVec(_variants->getScalePivotTranslation(v, false), distinct(TV::ScalePivotTranslation));
    expectVec(_variants->getEulerRotationOrientation(v, false),
              distinct(TV::EulerRotationOrientation));
    expectVec(_variants->getRotatePivotTranslation(0u, false),
              distinct(TV::RotatePivotTranslation));

    // Rotation mode and order: the variant's own, or the target's passed through the variant.
    setRotationMode(t, 3);
    setRotationMode(_target, 1);
    beginEditCP(t, Transform3D::EulerRotationOrderFieldMask);
    t->setEulerRotationOrder("zyx");
    endEditCP(t, Transform3D::EulerRotationOrderFieldMask);
    beginEditCP(_target, Transform3D::EulerRotationOrderFieldMask);
    _target->setEulerRotationOrder("yzx");
    endEditCP(_target, Transform3D::EulerRotationOrderFieldMask);
    EXPECT_EQ(_variants->getRotationMode(0u, false), 3);
    EXPECT_EQ(_variants->getRotationMode(v, true), 1);
    setFlags(v, TV::ApplyRotationY);
    EXPECT_EQ(_variants->getRotationMode(v, true), 3);
    EXPECT_EQ(_variants->getEulerRotationOrder(0u, false), "zyx");
    EXPECT_EQ(_variants->getEulerRotationOrder(v, true), "yzx");

    // Without a transformation: the defaults, mixed or not; the order is a fresh core's.
    Transform3DPtr fresh = Transform3D::create();
    addRefCP(fresh);
    const std::string freshOrder = fresh->getEulerRotationOrder();
    subRefCP(fresh);
    TransformVariantPtr empty = makeVariant("empty", TV::ApplyAll, NullFC);
    _variants->insertTransformVariant(empty, 1);
    for(bool mixed : {false, true})
    {
        expectVec(_variants->getScale(1u, mixed), Vec3f(1.f, 1.f, 1.f));
        expectVec(_variants->getTranslation(empty, mixed), Vec3f(0.f, 0.f, 0.f));
        EXPECT_EQ(_variants->getRotationMode(empty, mixed), 0);
        EXPECT_EQ(_variants->getEulerRotationOrder(1u, mixed), freshOrder);
    }

    LogCapture log;
    expectVec(_variants->getScale(7u, false), Vec3f(1.f, 1.f, 1.f));
    expectVec(_variants->getTranslation(TransformVariantPtr(), true), Vec3f(0.f, 0.f, 0.f));
    EXPECT_EQ(_variants->getVariantTransform(9u), NullFC);
    EXPECT_EQ(log.count(), 3u);
}

/*------------------------------ variant state -----------------------------*/

TEST_F(VariantsTest, StateHoldsEveryVariantTheTargetShows)
{
    setComponent(_target, TV::Translation, Vec3f(1.f, 2.f, 3.f));
    TransformVariantPtr same  = matchingVariant("same", TV::ApplyAll);
    TransformVariantPtr other = matchingVariant("other", TV::ApplyTranslation);
    setComponent(other->getTransformation(), TV::Translation, Vec3f(1.f, 2.f, 4.f));
    TransformVariantPtr none  = makeVariant("none", 0, NullFC);

    _variants->insertTransformVariant(same, 0);
    EXPECT_EQ(states(_variants), std::vector<Int32>({0}));
    _variants->insertTransformVariant(other, 1);
    _variants->insertTransformVariant(none, 2);   // overrides nothing: always shown
    EXPECT_EQ(states(_variants), std::vector<Int32>({0, 2}));

    // Only the axis that differs decides: without the z bit "other" is shown.
    setFlags(other, TV::ApplyTranslationX | TV::ApplyTranslationY);
    EXPECT_EQ(states(_variants), std::vector<Int32>({0, 1, 2}));

    // Every group is compared, the last one included.
    setComponent(same->getTransformation(), TV::RotatePivotTranslation, Vec3f(0.f, 0.f, 1.f));
    EXPECT_EQ(states(_variants), std::vector<Int32>({1, 2}));
    setFlags(same, TV::ApplyAll & ~TV::ApplyRotatePivot);
    EXPECT_EQ(states(_variants), std::vector<Int32>({0, 1, 2}));

    // A variant without a transformation overrides with zeros.
    setFlags(none, TV::ApplyScaleX);
    EXPECT_EQ(states(_variants), std::vector<Int32>({0, 1}));
}

TEST_F(VariantsTest, ComponentsAgreeWithinOneMillionth)
{
    TransformVariantPtr v = matchingVariant("v", TV::ApplyScale);
    _variants->insertTransformVariant(v, 0);
    EXPECT_EQ(states(_variants), std::vector<Int32>({0}));

    setComponent(v->getTransformation(), TV::Scale, Vec3f(1.f, 1.000002f, 1.f));
    EXPECT_TRUE(_variants->getActiveStates().empty());
    setComponent(v->getTransformation(), TV::Scale, Vec3f(1.f, 1.0000005f, 1.f));
    EXPECT_EQ(states(_variants), std::vector<Int32>({0}));
    setComponent(v->getTransformation(), TV::Scale, Vec3f(1.f, 1.f, 0.999998f));
    EXPECT_TRUE(_variants->getActiveStates().empty());
}

TEST_F(VariantsTest, RotationModeTakesPartInTheState)
{
    setRotationMode(_target, 1);
    TransformVariantPtr v = matchingVariant("v", TV::ApplyRotationMode);
    _variants->insertTransformVariant(v, 0);
    EXPECT_EQ(states(_variants), std::vector<Int32>({0}));
    setRotationMode(v->getTransformation(), 2);
    EXPECT_TRUE(_variants->getActiveStates().empty());
    setFlags(v, TV::ApplyTranslation);
    EXPECT_EQ(states(_variants), std::vector<Int32>({0}));
}

TEST_F(VariantsTest, SupposedStateChoosesAmongSeveralMatches)
{
    TransformVariantPtr first  = matchingVariant("first", TV::ApplyTranslation);
    TransformVariantPtr second = matchingVariant("second", TV::ApplyScale);
    TransformVariantPtr third  = matchingVariant("third", TV::ApplyTranslation);
    setComponent(third->getTransformation(), TV::Translation, Vec3f(9.f, 9.f, 9.f));
    _variants->insertTransformVariant(first, 0);
    _variants->insertTransformVariant(second, 1);
    _variants->insertTransformVariant(third, 2);
    ASSERT_EQ(states(_variants), std::vector<Int32>({0, 1}));

    EXPECT_EQ(_variants->getSupposedState(), -1);
    EXPECT_EQ(_variants->getSupposedActiveStateIndex(), 0);
    _variants->setSupposedState(1);
    EXPECT_EQ(_variants->getSupposedState(), 1);
    EXPECT_EQ(_variants->getSupposedActiveStateIndex(), 1);
    _variants->setSupposedState(2);
    EXPECT_EQ(_variants->getSupposedActiveStateIndex(), 0);

    // The remembered variant is found again after inserts and removes before it.
    _variants->setSupposedState(1);
    TransformVariantPtr front = matchingVariant("front", TV::ApplyTranslation);
    setComponent(front->getTransformation(), TV::Translation, Vec3f(5.f, 5.f, 5.f));
    _variants->insertTransformVariant(front, 0);
    EXPECT_EQ(_variants->getSupposedState(), 2);
    EXPECT_EQ(states(_variants), std::vector<Int32>({1, 2}));
    EXPECT_EQ(_variants->getSupposedActiveStateIndex(), 2);
    _variants->removeTransformVariant(1);   // "first"
    EXPECT_EQ(_variants->getSupposedState(), 1);
    EXPECT_EQ(_variants->getSupposedActiveStateIndex(), 1);

    // A single match wins whatever is remembered; a removed variant is forgotten.
    _variants->setSupposedState(0);
    EXPECT_EQ(_variants->getSupposedActiveStateIndex(), 1);
    _variants->removeTransformVariant(0);
    EXPECT_EQ(_variants->getSupposedState(), -1);

    {
        LogCapture log;
        _variants->setSupposedState(5);
        EXPECT_EQ(log.count(), 1u);
    }
    EXPECT_EQ(_variants->getSupposedState(), -1);
    _variants->setSupposedState(0);
    _variants->setSupposedState(-1);
    EXPECT_EQ(_variants->getSupposedState(), -1);
    _variants->clearTransformVariants();
    EXPECT_EQ(_variants->getSupposedActiveStateIndex(), -1);
    EXPECT_EQ(_variants->getSupposedState(), -1);
}

TEST_F(VariantsTest, RemovalCanLeaveTheStateToTheCaller)
{
    _variants->insertTransformVariant(matchingVariant("a", 0), 0);
    _variants->insertTransformVariant(matchingVariant("b", 0), 1);
    ASSERT_EQ(states(_variants), std::vector<Int32>({0, 1}));
    _variants->removeTransformVariant(0, true);
    EXPECT_EQ(states(_variants), std::vector<Int32>({0, 1}));
    _variants->updateVariantState();
    EXPECT_EQ(states(_variants), std::vector<Int32>({0}));
}

TEST_F(VariantsTest, TargetAndVariantEditsRerunTheState)
{
    TransformVariantPtr v = matchingVariant("v", TV::ApplyTranslation | TV::ApplyRotatePivot);
    _variants->insertTransformVariant(v, 0);
    ASSERT_EQ(states(_variants), std::vector<Int32>({0}));

    setComponent(_target, TV::Translation, Vec3f(0.f, 1.f, 0.f));      // target edit
    EXPECT_TRUE(_variants->getActiveStates().empty());
    setComponent(v->getTransformation(), TV::Translation, Vec3f(0.f, 1.f, 0.f));   // its values
    EXPECT_EQ(states(_variants), std::vector<Int32>({0}));
    setComponent(_target, TV::RotatePivot, Vec3f(0.f, 0.f, 2.f));
    EXPECT_TRUE(_variants->getActiveStates().empty());
    setFlags(v, TV::ApplyTranslation);                                   // the variant itself
    EXPECT_EQ(states(_variants), std::vector<Int32>({0}));
    v->setTransformation(makeDistinctTransform(1.f));                     // a new transformation
    EXPECT_TRUE(_variants->getActiveStates().empty());

    // Once removed, a variant's edits no longer reach the attachment.
    addRefCP(v);
    _variants->insertTransformVariant(matchingVariant("w", TV::ApplyTranslation), 1);
    _variants->removeTransformVariant(0);
    ASSERT_EQ(states(_variants), std::vector<Int32>({0}));
    _variants->removeTransformVariant(0, true);
    setFlags(v, 0);
    EXPECT_EQ(states(_variants), std::vector<Int32>({0}));   // stale, as nobody re-ran it
    subRefCP(v);
}

TEST_F(VariantsTest, DetachedAttachmentStopsWatchingItsFormerTarget)
{
    TransformVariantsAttachmentPtr a = _variants;
    addRefCP(a);
    a->insertTransformVariant(matchingVariant("v", TV::ApplyTranslation), 0);
    ASSERT_EQ(states(a), std::vector<Int32>({0}));
    EXPECT_EQ(_target->getNumChangedFunctions(), 1u);

    EXPECT_TRUE(TransformVariantsAttachment::removeTransformVariantsAttachment(_target));
    EXPECT_EQ(a->getTargetTransform(), NullFC);
    EXPECT_TRUE(a->getActiveStates().empty());
    EXPECT_EQ(_target->getNumChangedFunctions(), 0u);

    // Attached to another core, it follows that one.
    Transform3DPtr other = Transform3D::create();
    addRefCP(other);
    EXPECT_TRUE(TransformVariantsAttachment::setTransformVariantsAttachment(other, a));
    EXPECT_EQ(a->getTargetTransform(), other);
    EXPECT_EQ(states(a), std::vector<Int32>({0}));
    setComponent(other, TV::Translation, Vec3f(3.f, 0.f, 0.f));
    EXPECT_TRUE(a->getActiveStates().empty());
    subRefCP(other);
    subRefCP(a);
}

/*------------------------------ container helpers -------------------------*/

TEST(TransformVariantsHelpers, CreateGetSetRemoveOnAContainer)
{
    Transform3DPtr t = Transform3D::create();
    addRefCP(t);
    EXPECT_EQ(TransformVariantsAttachment::getTransformVariantsAttachment(t), NullFC);
    EXPECT_FALSE(TransformVariantsAttachment::removeTransformVariantsAttachment(t));

    TransformVariantsAttachmentPtr a =
        TransformVariantsAttachment::createTransformVariantsAttachment(t);
    ASSERT_NE(a, NullFC);
    EXPECT_EQ(a.getRefCount(), 1);
    EXPECT_EQ(TransformVariantsAttachment::createTransformVariantsAttachment(t), a);
    EXPECT_EQ(TransformVariantsAttachment::getTransformVariantsAttachment(t), a);

    // Setting another replaces and releases the first.
    addRefCP(a);
    TransformVariantsAttachmentPtr b = TransformVariantsAttachment::create();
    EXPECT_TRUE(TransformVariantsAttachment::setTransformVariantsAttachment(t, b));
    EXPECT_TRUE(TransformVariantsAttachment::setTransformVariantsAttachment(t, b));
    EXPECT_EQ(TransformVariantsAttachment::getTransformVariantsAttachment(t), b);
    EXPECT_EQ(b.getRefCount(), 1);
    EXPECT_EQ(a.getRefCount(), 1);
    EXPECT_EQ(a->getTargetTransform(), NullFC);
    EXPECT_EQ(b->getTargetTransform(), t);
    subRefCP(a);

    {
        LogCapture log;
        EXPECT_EQ(TransformVariantsAttachment::getTransformVariantsAttachment(NullFC), NullFC);
        EXPECT_EQ(TransformVariantsAttachment::createTransformVariantsAttachment(NullFC), NullFC);
        EXPECT_FALSE(TransformVariantsAttachment::setTransformVariantsAttachment(t, NullFC));
        EXPECT_FALSE(TransformVariantsAttachment::removeTransformVariantsAttachment(NullFC));
        EXPECT_EQ(log.count(), 4u);
    }
    EXPECT_EQ(TransformVariantsAttachment::getTransformVariantsAttachment(t), b);
    EXPECT_TRUE(TransformVariantsAttachment::removeTransformVariantsAttachment(t));
    EXPECT_EQ(TransformVariantsAttachment::getTransformVariantsAttachment(t), NullFC);
    subRefCP(t);
}
