// ValuePair: lookup and edit rules, edit reporting, and the binary form checked against bytes
// written out by hand (string = 32-bit length counting the NUL, bytes, NUL; MF = count + elements).

#include <OpenSGExt/OSGValuePair.h>

#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGBinaryDataHandler.h>
#include <OpenSG/OSGChangeList.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGLog.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

using namespace osg;

namespace {

typedef std::vector<UInt8>       Bytes;
typedef std::vector<std::string> Strings;

const BitVector BothMasks = ValuePair::KeyFieldMask | ValuePair::ValueFieldMask;

class OSB64Scope
{
  public:
    explicit OSB64Scope(bool on) : _old(osgUseOSB64()) { osgSetUseOSB64(on); }
    ~OSB64Scope() { osgSetUseOSB64(_old); }
  private:
    bool _old;
};

class ValuePairTest : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        _vp = ValuePair::create();
        ASSERT_NE(_vp, NullFC);
        addRefCP(_vp);
        _changedCalls = 0;
        _changedMask  = BitVector(0);
        _probe = std::make_shared<FieldContainer::ChangedFunction>(
            [this](const FieldContainerPtr &, const BitVector &mask, UInt32) {
                ++_changedCalls;
                _changedMask = mask;
            });
        _vp->addChangedFunction(_probe);
        Thread::getCurrentChangeList()->clearAll();
    }
    void TearDown() override { subRefCP(_vp); }

    Strings keys() const   { return Strings(_vp->getKey().begin(), _vp->getKey().end()); }
    Strings values() const { return Strings(_vp->getValue().begin(), _vp->getValue().end()); }

    // Exactly one edit of this container with this mask since the last check.
    void expectOneEdit(const BitVector &mask)
    {
        ChangeList *list = Thread::getCurrentChangeList();
        ASSERT_EQ(list->sizeChanged(), 1u);
        EXPECT_EQ(list->getChanged()[0].first, _vp.getFieldContainerId());
        EXPECT_EQ(list->getChanged()[0].second, mask);
        EXPECT_EQ(_changedCalls, 1);
        EXPECT_EQ(_changedMask, mask);
        reset();
    }
    void reset()
    {
        Thread::getCurrentChangeList()->clearAll();
        _changedCalls = 0;
    }
    void expectNoEdit()
    {
        EXPECT_EQ(Thread::getCurrentChangeList()->sizeChanged(), 0u);
        EXPECT_EQ(_changedCalls, 0);
    }

    ValuePairPtr _vp;
    int          _changedCalls = 0;
    BitVector    _changedMask;
    FieldContainer::ChangedFunctionPtr _probe;
};

} // namespace

TEST_F(ValuePairTest, LookupOnEmptyAndFilledLists)
{
    std::string out = "stale";
    EXPECT_EQ(_vp->getSize(), 0);
    EXPECT_EQ(_vp->getPos("a"), -1);
    EXPECT_FALSE(_vp->findKey("a"));
    EXPECT_FALSE(_vp->get("a", out));
    EXPECT_EQ(out, "");

    _vp->add("a", "1");
    _vp->add("b", "2");
    _vp->add("a", "3");     // add does not look for the key: lookups see the first pair
    EXPECT_EQ(_vp->getSize(), 3);
    EXPECT_EQ(_vp->getPos("a"), 0);
    EXPECT_EQ(_vp->getPos("b"), 1);
    ASSERT_TRUE(_vp->get("a", out));
    EXPECT_EQ(out, "1");
    ASSERT_TRUE(_vp->get("b", out));
    EXPECT_EQ(out, "2");

    // A miss clears the caller's string; keys are exact byte strings.
    EXPECT_FALSE(_vp->get("A", out));
    EXPECT_EQ(out, "");
    EXPECT_FALSE(_vp->findKey("a "));
    EXPECT_FALSE(_vp->findKey(std::string("a\0", 2)));
}

TEST_F(ValuePairTest, KeysAreCaseSensitive)
{
    _vp->set("Key", "upper");
    _vp->set("key", "lower");
    EXPECT_EQ(keys(), (Strings{"Key", "key"}));
    std::string out;
    ASSERT_TRUE(_vp->get("Key", out));
    EXPECT_EQ(out, "upper");
    ASSERT_TRUE(_vp->get("key", out));
    EXPECT_EQ(out, "lower");
    EXPECT_FALSE(_vp->del("KEY"));
    EXPECT_EQ(_vp->getSize(), 2);
}

TEST_F(ValuePairTest, SetReplacesOrAppends)
{
    _vp->set("a", "1");
    _vp->set("b", "2");
    _vp->set("a", "9");
    _vp->set("", "empty key");
    EXPECT_EQ(keys(), (Strings{"a", "b", ""}));
    EXPECT_EQ(values(), (Strings{"9", "2", "empty key"}));
}

TEST_F(ValuePairTest, DeleteByKeyAndIndex)
{
    _vp->add("a", "1");
    _vp->add("b", "2");
    _vp->add("a", "3");
    EXPECT_TRUE(_vp->del("a"));             // the first "a" only
    EXPECT_EQ(keys(), (Strings{"b", "a"}));
    EXPECT_EQ(values(), (Strings{"2", "3"}));
    EXPECT_FALSE(_vp->del("c"));

    LogCapture capture;
    EXPECT_FALSE(_vp->deleteAt(2));
    EXPECT_TRUE(capture.contains("out of range"));
    EXPECT_TRUE(_vp->deleteAt(1));
    EXPECT_EQ(keys(), (Strings{"b"}));
    EXPECT_EQ(values(), (Strings{"2"}));
    EXPECT_TRUE(_vp->deleteAt(0));
    EXPECT_EQ(_vp->getSize(), 0);
    EXPECT_FALSE(_vp->deleteAt(0));
}

TEST_F(ValuePairTest, InsertBeforeIndexAppendsAtEndAndRefusesBeyond)
{
    EXPECT_TRUE(_vp->insertAt("b", "2", 0));
    EXPECT_TRUE(_vp->insertAt("a", "1", 0));
    EXPECT_TRUE(_vp->insertAt("d", "4", 2));        // == size: append
    EXPECT_TRUE(_vp->insertAt("c", "3", 2));
    EXPECT_EQ(keys(), (Strings{"a", "b", "c", "d"}));
    EXPECT_EQ(values(), (Strings{"1", "2", "3", "4"}));

    LogCapture capture;
    EXPECT_FALSE(_vp->insertAt("e", "5", 5));
    EXPECT_FALSE(_vp->insertAt("e", "5", 0xffffffffu));
    EXPECT_TRUE(capture.contains("beyond the end"));
    EXPECT_EQ(_vp->getSize(), 4);
    EXPECT_EQ(values().size(), 4u);
}

TEST_F(ValuePairTest, ListsOfDifferentLengthAreRepairedByTheNextEdit)
{
    // As a stream or a generated accessor may leave them.
    _vp->editMFKey()->push_back("a");
    _vp->editMFKey()->push_back("b");
    _vp->editMFValue()->push_back("1");
    std::string out = "stale";
    EXPECT_TRUE(_vp->get("b", out));        // the missing value reads as empty
    EXPECT_EQ(out, "");

    reset();
    _vp->set("b", "");                      // same value, but the values had to be padded
    expectOneEdit(ValuePair::ValueFieldMask);
    EXPECT_EQ(values(), (Strings{"1", ""}));

    _vp->editMFValue()->push_back("surplus");
    _vp->add("c", "3");
    EXPECT_EQ(keys(), (Strings{"a", "b", "c"}));
    EXPECT_EQ(values(), (Strings{"1", "", "3"}));

    _vp->editMFValue()->clear();
    EXPECT_TRUE(_vp->deleteAt(2));
    EXPECT_EQ(keys(), (Strings{"a", "b"}));
    EXPECT_EQ(values(), (Strings{"", ""}));
}

TEST_F(ValuePairTest, EveryChangeIsOneRecordedEditAndRefusalsAreSilent)
{
    _vp->add("a", "1");
    expectOneEdit(BothMasks);
    _vp->set("a", "2");
    expectOneEdit(ValuePair::ValueFieldMask);
    _vp->set("b", "3");
    expectOneEdit(BothMasks);
    EXPECT_TRUE(_vp->insertAt("c", "4", 1));
    expectOneEdit(BothMasks);
    EXPECT_TRUE(_vp->del("c"));
    expectOneEdit(BothMasks);
    EXPECT_TRUE(_vp->deleteAt(0));
    expectOneEdit(BothMasks);

    LogCapture capture;
    _vp->set("b", "3");                     // unchanged value
    EXPECT_FALSE(_vp->del("zz"));
    EXPECT_FALSE(_vp->deleteAt(7));
    EXPECT_FALSE(_vp->insertAt("x", "y", 7));
    std::string out;
    _vp->get("b", out);
    _vp->getPos("b");
    expectNoEdit();
}

/*------------------------------ binary form ------------------------------*/

namespace {

Bytes write(ValuePairPtr vp, const BitVector &mask)
{
    MemoryBinaryDataHandler out;
    vp->copyToBin(out, mask);
    EXPECT_EQ(out.getBuffer().size(), vp->getBinSize(mask));
    return out.getBuffer();
}

ValuePairPtr readFresh(const Bytes &bytes, const BitVector &mask)
{
    ValuePairPtr vp = ValuePairPtr::dcast(
        FieldContainerFactory::the()->createFieldContainer("ValuePair"));
    EXPECT_NE(vp, NullFC);
    MemoryBinaryDataHandler in(bytes.data(), bytes.size());
    vp->copyFromBin(in, mask);
    EXPECT_FALSE(in.isFailed());
    EXPECT_EQ(in.getBytesLeft(), 0u);
    return vp;
}

} // namespace

TEST_F(ValuePairTest, BinaryFormMatchesHandWrittenBytes)
{
    _vp->add("a", "");
    {
        OSB64Scope osb(false);
        const Bytes golden{0x00, 0x00, 0x00, 0x01,                  // 1 key
                           0x00, 0x00, 0x00, 0x02, 0x61, 0x00,      // "a"
                           0x00, 0x00, 0x00, 0x01,                  // 1 value
                           0x00, 0x00, 0x00, 0x01, 0x00};           // ""
        EXPECT_EQ(write(_vp, BothMasks), golden);
        ValuePairPtr copy = readFresh(golden, BothMasks);
        EXPECT_EQ(copy->getKey(), _vp->getKey());
        EXPECT_EQ(copy->getValue(), _vp->getValue());
        subRefCP(copy);

        // Only the selected field; no bit of our own fields writes nothing of ours.
        EXPECT_EQ(write(_vp, ValuePair::KeyFieldMask),
                  (Bytes{0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x02, 0x61, 0x00}));
        EXPECT_EQ(_vp->getBinSize(Attachment::InternalFieldMask),
                  _vp->Attachment::getBinSize(Attachment::InternalFieldMask));
    }
    {
        OSB64Scope osb(true);
        const Bytes golden{0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01,
                           0x00, 0x00, 0x00, 0x02, 0x61, 0x00,
                           0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01,
                           0x00, 0x00, 0x00, 0x01, 0x00};
        EXPECT_EQ(write(_vp, BothMasks), golden);
        ValuePairPtr copy = readFresh(golden, BothMasks);
        EXPECT_EQ(copy->getKey(), _vp->getKey());
        EXPECT_EQ(copy->getValue(), _vp->getValue());
        subRefCP(copy);

        // Empty lists are a count of zero and nothing else.
        ValuePairPtr empty = ValuePair::create();
        EXPECT_EQ(write(empty, BothMasks), Bytes(16, 0x00));
        subRefCP(empty);
    }
}

TEST_F(ValuePairTest, CorruptStreamFailsAndLeavesTheContainerUnchanged)
{
    OSB64Scope osb(false);
    _vp->add("keep", "me");
    const Bytes lyingCount{0x7f, 0xff, 0xff, 0xff,                  // 2^31 - 1 keys
                           0x00, 0x00, 0x00, 0x02, 0x61, 0x00};
    const Bytes lyingLength{0x00, 0x00, 0x00, 0x01,
                            0x00, 0x00, 0x00, 0x64, 0x61, 0x00};    // 100-byte key, 2 given
    // The keys read cleanly; the record is cut inside the values.
    const Bytes truncated{0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x02, 0x61, 0x00,
                          0x00, 0x00, 0x00, 0x01, 0x00, 0x00};

    const std::pair<const Bytes *, const char *> cases[] = {
        {&lyingCount, "element count"}, {&lyingLength, "string length"},
        {&truncated, "corrupt or truncated"}};
    for(const auto &c : cases)
    {
        SCOPED_TRACE(c.second);
        LogCapture capture;
        reset();
        MemoryBinaryDataHandler in(c.first->data(), c.first->size());
        _vp->copyFromBin(in, BothMasks);
        EXPECT_TRUE(in.isFailed());
        EXPECT_TRUE(capture.contains(c.second));
        EXPECT_EQ(keys(), Strings{"keep"});
        EXPECT_EQ(values(), Strings{"me"});
        expectNoEdit();
    }
}

TEST_F(ValuePairTest, CreatedByTypeNameWithItsFieldsDescribed)
{
    FieldContainerFactory *factory = FieldContainerFactory::the();
    FieldContainerPtr fc = factory->createFieldContainer("ValuePair");
    ValuePairPtr vp = ValuePairPtr::dcast(fc);
    ASSERT_NE(vp, NullFC);
    EXPECT_TRUE(Thread::getCurrentChangeList()->wasCreated(vp.getFieldContainerId()));
    EXPECT_EQ(vp->getSize(), 0);

    FieldContainerType *type = factory->findType("ValuePair");
    ASSERT_NE(type, nullptr);
    EXPECT_EQ(type, &ValuePair::getClassType());
    ASSERT_NE(type->getParentType(), nullptr);
    EXPECT_STREQ(type->getParentType()->getCName(), "Attachment");
    EXPECT_TRUE(type->isAttachment());

    const FieldDescription *key = type->findFieldDescription("key");
    const FieldDescription *value = type->findFieldDescription("value");
    ASSERT_NE(key, nullptr);
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(key->getFieldId(), 3u);
    EXPECT_EQ(key->getFieldMask(), BitVector(UInt64(0x8)));
    EXPECT_EQ(value->getFieldId(), 4u);
    EXPECT_EQ(value->getFieldMask(), BitVector(UInt64(0x10)));
    EXPECT_STREQ(key->getFieldType().getCName(), "MFString");

    // The generic field interface reaches the same storage as the operations.
    vp->set("k", "v");
    EXPECT_EQ(vp->getField("key"), static_cast<Field *>(vp->editMFKey()));
    EXPECT_EQ(vp->getField(4u), static_cast<Field *>(vp->editMFValue()));
    EXPECT_EQ(vp->getField("value")->getValueByStr(), "[\"v\"]");
    subRefCP(vp);
}
