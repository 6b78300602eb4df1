// The field-container machinery: type registration and lookup, ids and 128-bit masks, binary form
// and synchronisation of a container whose fields reach id 127, the edit protocol, change lists,
// changed functions, reference counts and creation.

#include "kernel/fcd/OSGWideTestContainer.h"

#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGChangeList.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGLog.h>
#include <OpenSG/OSGName.h>

#include <gtest/gtest.h>

#include <memory>

using namespace osg;

namespace {

class FieldContainerTest : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        WideTestContainer::resetCounters();
        Thread::getCurrentChangeList()->clearAll();
    }

    static WideTestContainerPtr filled(void)
    {
        WideTestContainerPtr fc = WideTestContainer::create();
        fc->setText("wide");
        fc->editMFNumbers()->push_back(-5);
        fc->editMFNumbers()->push_back(6);
        fc->setF5(0.5f);
        fc->setF62(62.f);
        fc->setF63("sixty-three");
        fc->editMFF64()->push_back(Pnt3f(1.f, 2.f, 3.f));
        fc->editMFF64()->push_back(Pnt3f(-4.f, 5.f, -6.f));
        fc->setF65(65.f);
        fc->setF126(126.f);
        fc->setF127(127.f);
        return fc;
    }

    static void expectSameAt(const WideTestContainerPtr &a, const WideTestContainerPtr &b)
    {
        EXPECT_EQ(a->getText(), b->getText());
        EXPECT_EQ(a->getNumbers().getValues(), b->getNumbers().getValues());
        EXPECT_EQ(a->getF63(), b->getF63());
        EXPECT_EQ(a->getF64().getValues(), b->getF64().getValues());
        EXPECT_EQ(a->getF127(), b->getF127());
    }
};

} // namespace

TEST_F(FieldContainerTest, IdsAndMasksCoverAll128Bits)
{
    EXPECT_EQ(UInt32(WideTestContainer::TextFieldId), 3u);
    EXPECT_EQ(UInt32(WideTestContainer::F127FieldId), 127u);
    EXPECT_EQ(UInt32(WideTestContainer::NextFieldId), 128u);
    EXPECT_EQ(WideTestContainer::TextFieldMask, BitVector(0x8));
    EXPECT_EQ(WideTestContainer::F63FieldMask.getLow(), 0x8000000000000000ull);
    EXPECT_EQ(WideTestContainer::F63FieldMask.getHigh(), 0u);
    EXPECT_EQ(WideTestContainer::F64FieldMask.getLow(), 0u);
    EXPECT_EQ(WideTestContainer::F64FieldMask.getHigh(), 1u);
    EXPECT_EQ(WideTestContainer::F127FieldMask.getHigh(), 0x8000000000000000ull);
    EXPECT_EQ(WideTestContainer::MTInfluenceMask, BitVector(0));

    const FieldContainerType &type = WideTestContainer::getClassType();
    EXPECT_EQ(type.getNumFieldDescs(), 127u);
    EXPECT_EQ(std::string(type.getFieldDescription(64)->getCName()), "f64");
    EXPECT_EQ(type.getFieldDescription(64)->getFieldMask(), WideTestContainer::F64FieldMask);
    EXPECT_EQ(type.getFieldDescription(64)->getFieldType().getName(), "MFPnt3f");
    EXPECT_EQ(type.findFieldDescription("f127")->getFieldId(), 127u);
    EXPECT_EQ(type.getFieldDescription(128), nullptr);
    EXPECT_EQ(type.getFieldDescription(0), nullptr);
    // Inherited fields come from the parent type.
    EXPECT_EQ(std::string(type.getFieldDescription(1)->getCName()), "parents");
    EXPECT_EQ(std::string(type.getFieldDescription(2)->getCName()), "internal");
}

TEST_F(FieldContainerTest, FieldsAt63And64And127RoundTripThroughBinaryForm)
{
    WideTestContainerPtr a = filled();
    const BitVector mask = WideTestContainer::TextFieldMask | WideTestContainer::NumbersFieldMask |
                           WideTestContainer::F63FieldMask | WideTestContainer::F64FieldMask |
                           WideTestContainer::F127FieldMask;
    // text 4+5, numbers 4+8, f63 4+12, f64 4+24, f127 4
    EXPECT_EQ(a->getBinSize(mask), 9u + 12u + 16u + 28u + 4u);

    MemoryBinaryDataHandler out;
    a->copyToBin(out, mask);
    ASSERT_EQ(out.getBuffer().size(), a->getBinSize(mask));

    WideTestContainerPtr b = WideTestContainer::create();
    MemoryBinaryDataHandler in(out.getBuffer().data(), out.getBuffer().size());
    b->copyFromBin(in, mask);
    EXPECT_FALSE(in.isFailed());
    EXPECT_EQ(in.getBytesLeft(), 0u);
    expectSameAt(a, b);
    // Fields outside the mask are neither written nor read.
    EXPECT_EQ(b->getF5(), 0.f);
    EXPECT_EQ(b->getF126(), 0.f);

    // Only the upper half of the mask set.
    MemoryBinaryDataHandler upper;
    a->copyToBin(upper, WideTestContainer::F127FieldMask);
    EXPECT_EQ(upper.getBuffer(), (std::vector<UInt8>{0x42, 0xFE, 0x00, 0x00}));
}

TEST_F(FieldContainerTest, MaskWithoutOwnBitsWritesOnlyTheParentsFields)
{
    WideTestContainerPtr a = filled();
    const BitVector parentOnly = Attachment::InternalFieldMask;
    EXPECT_EQ(a->getBinSize(parentOnly), 1u);
    MemoryBinaryDataHandler out;
    a->copyToBin(out, parentOnly);
    EXPECT_EQ(out.getBuffer(), (std::vector<UInt8>{0x00}));
    EXPECT_EQ(a->getBinSize(BitVector(0)), 0u);
}

TEST_F(FieldContainerTest, ExecuteSyncCopiesOnlySelectedFieldsOnBothHalves)
{
    WideTestContainerPtr a = filled();
    WideTestContainerPtr b = WideTestContainer::create();
    b->executeSync(*a, WideTestContainer::F63FieldMask | WideTestContainer::F127FieldMask);
    EXPECT_EQ(b->getF63(), "sixty-three");
    EXPECT_EQ(b->getF127(), 127.f);
    EXPECT_TRUE(b->getF64().empty());
    EXPECT_EQ(b->getText(), "");

    b->executeSync(*a, WideTestContainer::F64FieldMask);
    EXPECT_EQ(b->getF64().getValues(), a->getF64().getValues());
    EXPECT_EQ(b->getText(), "");
    b->executeSync(*a, FieldBits::AllFields);
    expectSameAt(a, b);

    // A container of another type is refused with a warning and nothing changes.
    LogCapture capture;
    NamePtr name = Name::create();
    name->setName("n");
    b->executeSync(*name, FieldBits::AllFields);
    EXPECT_EQ(b->getText(), "wide");
    EXPECT_TRUE(capture.contains("cannot be synchronised"));
}

TEST_F(FieldContainerTest, CorruptRecordLeavesTheContainerUntouched)
{
    WideTestContainerPtr a = filled();
    const BitVector mask = WideTestContainer::TextFieldMask | WideTestContainer::F64FieldMask;
    MemoryBinaryDataHandler out;
    a->copyToBin(out, mask);
    std::vector<UInt8> bytes = out.getBuffer();

    WideTestContainerPtr b = WideTestContainer::create();
    b->setText("before");
    b->editMFF64()->push_back(Pnt3f(9.f, 9.f, 9.f));

    LogCapture capture;
    // Cut inside f64: text alone would read cleanly, but the record as a whole must not land.
    MemoryBinaryDataHandler truncated(bytes.data(), bytes.size() - 5);
    b->copyFromBin(truncated, mask);
    EXPECT_TRUE(truncated.isFailed());
    EXPECT_EQ(b->getText(), "before");
    ASSERT_EQ(b->getF64().size(), 1u);
    EXPECT_EQ(b->getF64(0), Pnt3f(9.f, 9.f, 9.f));

    // A lying element count.
    std::vector<UInt8> lying = bytes;
    lying[9] = 0x7F;   // count of f64 (after text's 9 bytes) now starts with 0x7F
    MemoryBinaryDataHandler lyingIn(lying.data(), lying.size());
    b->copyFromBin(lyingIn, mask);
    EXPECT_TRUE(lyingIn.isFailed());
    EXPECT_EQ(b->getText(), "before");
    EXPECT_TRUE(capture.contains("element count"));
}

TEST_F(FieldContainerTest, CreationIsRecordedAndEditsReachChangedOnce)
{
    WideTestContainerPtr fc = WideTestContainer::create();
    ChangeList *list = Thread::getCurrentChangeList();
    ASSERT_NE(list, nullptr);
    EXPECT_TRUE(list->wasCreated(fc.getFieldContainerId()));
    EXPECT_EQ(WideTestContainer::createCalls, 1u);
    EXPECT_TRUE(WideTestContainer::lastCreateHadSource);   // create() copies the prototype

    const BitVector mask = WideTestContainer::F64FieldMask | WideTestContainer::TextFieldMask;
    beginEditCP(fc, mask);
    fc->setText("x");
    fc->editMFF64()->push_back(Pnt3f(1.f, 1.f, 1.f));
    EXPECT_EQ(WideTestContainer::changedCalls, 0u);
    endEditCP(fc, mask);

    EXPECT_EQ(WideTestContainer::changedCalls, 1u);
    EXPECT_EQ(WideTestContainer::lastChangedMask, mask);
    EXPECT_EQ(WideTestContainer::lastOrigin, ChangedOrigin::External);
    ASSERT_EQ(list->sizeChanged(), 1u);
    EXPECT_EQ(list->getChanged()[0].first, fc.getFieldContainerId());
    EXPECT_EQ(list->getChanged()[0].second, mask);

    // Ignoring changes keeps the record but skips changed().
    osgSetIgnoreChanges(true);
    beginEditCP(fc, WideTestContainer::F5FieldMask);
    fc->setF5(1.f);
    endEditCP(fc, WideTestContainer::F5FieldMask);
    osgSetIgnoreChanges(false);
    EXPECT_EQ(WideTestContainer::changedCalls, 1u);
    EXPECT_EQ(list->sizeChanged(), 2u);

    // Threads without a change list record nothing and do not crash.
    ChangeList *saved = Thread::getCurrentChangeList();
    Thread::setCurrentChangeList(nullptr);
    WideTestContainerPtr quiet = WideTestContainer::create();
    endEditCP(quiet, WideTestContainer::F5FieldMask);
    Thread::setCurrentChangeList(saved);
    EXPECT_FALSE(list->wasCreated(quiet.getFieldContainerId()));
}

TEST_F(FieldContainerTest, ChangedFunctionsAreHeldWeakly)
{
    WideTestContainerPtr fc = WideTestContainer::create();
    int calls = 0;
    BitVector seen(0);
    auto fn = std::make_shared<FieldContainer::ChangedFunction>(
        [&](const FieldContainerPtr &p, const BitVector &mask, UInt32) {
            ++calls;
            seen = mask;
            EXPECT_EQ(p, fc);
            // changed() has run before the function.
            EXPECT_EQ(WideTestContainer::changedCalls, 1u);
        });
    fc->addChangedFunction(fn);
    fc->addChangedFunction(fn);   // once only
    EXPECT_EQ(fc->getNumChangedFunctions(), 1u);

    endEditCP(fc, WideTestContainer::F127FieldMask);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(seen, WideTestContainer::F127FieldMask);

    fn.reset();   // dropping the owner unregisters it
    EXPECT_EQ(fc->getNumChangedFunctions(), 0u);
    endEditCP(fc, WideTestContainer::F127FieldMask);
    EXPECT_EQ(calls, 1);

    auto other = std::make_shared<FieldContainer::ChangedFunction>(
        [&](const FieldContainerPtr &, const BitVector &, UInt32) { ++calls; });
    fc->addChangedFunction(other);
    EXPECT_TRUE(fc->subChangedFunction(other));
    EXPECT_FALSE(fc->subChangedFunction(other));
    endEditCP(fc, WideTestContainer::F127FieldMask);
    EXPECT_EQ(calls, 1);
}

TEST_F(FieldContainerTest, ReferenceCountsDestroyAtZero)
{
    WideTestContainerPtr fc = WideTestContainer::create();
    UInt32 id = fc.getFieldContainerId();
    EXPECT_EQ(fc.getRefCount(), 0);
    EXPECT_EQ(FieldContainerFactory::the()->getContainer(id), fc);

    addRefCP(fc);
    addRefCP(fc);
    subRefCP(fc);
    EXPECT_EQ(fc.getRefCount(), 1);
    EXPECT_EQ(WideTestContainer::destroyCalls, 0u);

    UInt32 live = FieldContainerFactory::the()->getNumLiveContainers();
    subRefCP(fc);
    EXPECT_EQ(WideTestContainer::destroyCalls, 1u);
    EXPECT_EQ(FieldContainerFactory::the()->getContainer(id), NullFC);
    EXPECT_EQ(FieldContainerFactory::the()->getNumLiveContainers(), live - 1);
    const ChangeList::IdStore &destroyed = Thread::getCurrentChangeList()->getDestroyed();
    EXPECT_NE(std::find(destroyed.begin(), destroyed.end(), id), destroyed.end());

    // Ids are never reused.
    WideTestContainerPtr next = WideTestContainer::create();
    EXPECT_GT(next.getFieldContainerId(), id);

    // setRefdCP / clearRefCP move one reference.
    WideTestContainerPtr holder;
    setRefdCP(holder, next);
    EXPECT_EQ(next.getRefCount(), 1);
    clearRefCP(holder);
    EXPECT_EQ(holder, NullFC);
    EXPECT_EQ(WideTestContainer::destroyCalls, 2u);

    // Null pointers are ignored.
    addRefCP(NullFC);
    subRefCP(NullFC);
}

TEST_F(FieldContainerTest, CreationByNameAndWithoutPrototype)
{
    FieldContainerFactory *factory = FieldContainerFactory::the();
    FieldContainerPtr fc = factory->createFieldContainer("WideTestContainer");
    ASSERT_NE(fc, NullFC);
    EXPECT_NE(WideTestContainerPtr::dcast(fc), NullFC);
    EXPECT_EQ(NamePtr::dcast(fc), NullFC);
    EXPECT_NE(factory->createAttachment("WideTestContainer"), NullFC);
    EXPECT_EQ(factory->createNode("WideTestContainer"), NullFC);

    LogCapture capture;
    EXPECT_EQ(factory->createFieldContainer("NoSuchType"), NullFC);
    EXPECT_TRUE(capture.contains("NoSuchType"));
    EXPECT_EQ(factory->createFieldContainer("Attachment"), NullFC);   // abstract
    EXPECT_EQ(factory->createFieldContainer(nullptr), NullFC);

    // create() copies the prototype; without one it gives NullFC, createEmpty still works.
    FieldContainerType &type = WideTestContainer::getClassType();
    FieldContainerPtr proto = type.getPrototype();
    addRefCP(proto);
    type.clearPrototype();
    EXPECT_EQ(WideTestContainer::create(), NullFC);
    EXPECT_TRUE(type.isAbstract());
    EXPECT_NE(WideTestContainer::createEmpty(), NullFC);
    EXPECT_EQ(WideTestContainer::createEmpty()->getContainerSize(), sizeof(WideTestContainer));
    EXPECT_FALSE(type.setPrototype(NullFC));
    EXPECT_TRUE(type.setPrototype(proto));
    subRefCP(proto);
    EXPECT_NE(WideTestContainer::create(), NullFC);
}

TEST_F(FieldContainerTest, ShallowCopyCopiesFieldsAndSharesPointers)
{
    WideTestContainerPtr a = filled();
    NamePtr target = Name::create();
    a->editMFParents()->push_back(target);
    FieldContainerPtr copy = a->shallowCopy();
    WideTestContainerPtr b = WideTestContainerPtr::dcast(copy);
    ASSERT_NE(b, NullFC);
    EXPECT_NE(b, a);
    expectSameAt(a, b);
    // Attachments do not copy their parents.
    EXPECT_TRUE(b->getParents().empty());
    EXPECT_EQ(target.getRefCount(), 0);
}

TEST_F(FieldContainerTest, GenericFieldAccessByIdAndName)
{
    WideTestContainerPtr a = filled();
    Field *f = a->getField("f63");
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f, a->getField(WideTestContainer::F63FieldId));
    EXPECT_EQ(f->getValueByStr(), "\"sixty-three\"");
    EXPECT_EQ(a->getField("nothing"), nullptr);
    EXPECT_EQ(a->getField(200u), nullptr);

    SFString other;
    other.setValue("set generically");
    EXPECT_TRUE(f->setAbstrValue(other));
    EXPECT_EQ(a->getF63(), "set generically");
    EXPECT_FALSE(f->setAbstrValue(SFReal32()));
}

TEST(FieldContainerType, ParentRegisteredAfterChildIsResolvedByName)
{
    // Local arrays: the types delete their descriptions when they go.
    FieldDescription *parentDesc[] = {
        new FieldDescription(SFString::getClassType(), "first", 1, TypeTraits<BitVector>::One << 1,
                             false, nullptr)};
    FieldDescription *childDesc[] = {
        new FieldDescription(SFUInt32::getClassType(), "second", 2, TypeTraits<BitVector>::One << 2,
                             false, nullptr)};

    FieldContainerType child("OrderTestChild", "OrderTestParent", nullptr, nullptr, nullptr,
                             childDesc, sizeof(childDesc));
    EXPECT_FALSE(child.isInitialized());
    FieldContainerType parent("OrderTestParent", "FieldContainer", nullptr, nullptr, nullptr,
                              parentDesc, sizeof(parentDesc));

    // Looking the child up initialises it, and its parent first.
    FieldContainerType *found = FieldContainerFactory::the()->findType("OrderTestChild");
    ASSERT_EQ(found, &child);
    EXPECT_TRUE(child.isInitialized());
    EXPECT_TRUE(parent.isInitialized());
    EXPECT_EQ(child.getParentType(), &parent);
    EXPECT_TRUE(child.isDerivedFrom(FieldContainer::getClassType()));
    EXPECT_TRUE(child.isAbstract());   // no prototype function
    ASSERT_EQ(child.getNumFieldDescs(), 2u);
    EXPECT_STREQ(child.getFieldDescription(1)->getCName(), "first");
    EXPECT_STREQ(child.getFieldDescription(2)->getCName(), "second");
    EXPECT_EQ(child.getNumOwnFieldDescs(), 1u);
    EXPECT_NE(child.getGroupId(), parent.getGroupId());
}

TEST(FieldContainerType, BrokenHierarchiesFailToInitialise)
{
    LogCapture capture;
    FieldContainerType orphan("OrphanTestType", "NoSuchParentType");
    EXPECT_FALSE(FieldContainerFactory::the()->initializePendingTypes());
    EXPECT_FALSE(orphan.isInitialized());
    EXPECT_EQ(FieldContainerFactory::the()->findType("OrphanTestType"), nullptr);
    EXPECT_TRUE(capture.contains("Can't find type with name NoSuchParentType"));

    // Ids must be contiguous from 1: a type describing id 3 under a field-less parent is refused.
    FieldDescription *gapDesc[] = {
        new FieldDescription(SFUInt32::getClassType(), "gap", 3, TypeTraits<BitVector>::One << 3,
                             false, nullptr)};
    FieldContainerType gap("GapTestType", "FieldContainer", nullptr, nullptr, nullptr, gapDesc,
                           sizeof(gapDesc));
    EXPECT_EQ(FieldContainerFactory::the()->findType("GapTestType"), nullptr);
    EXPECT_TRUE(capture.contains("gap"));
}
