// ValuePair: lookup and edit rules, edit reporting, and the binary form checked against bytes
// written out by hand (string = 32-bit length counting the NUL, bytes, NUL; MF = count + elements).

#include "support/SceneTestSupport.h"

#include <OpenSG/OSGRefPtr.h>
#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGBinaryDataHandler.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGLog.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace osg;
using namespace scenetest;

namespace {

typedef std::vector<UInt8> Bytes;

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
    // "keys|values", each list joined by commas.
    std::string text() const { return join(_vp->getKey()) + "|" + join(_vp->getValue()); }
    static std::string join(const MFString &f)
    {
        std::string s;
        for(UInt32 i = 0; i < f.size(); ++i)
            s += (i != 0 ? "," : "") + f[i];
        return s;
    }
    // The value of key, "-" when get() fails (it must then clear the caller's string).
    std::string lookup(const std::string &key) const
    {
        std::string out = "stale";
        if(_vp->get(key, out))
            return out;
        EXPECT_EQ(out, "") << key;
        return "-";
    }

    ValuePairPtr _vp = ValuePair::create();
    RefPtr<FieldContainerPtr>         _hold{_vp};
    EditProbe    _edits{_vp};
};

} // namespace

TEST_F(ValuePairTest, LookupSeesTheFirstExactKeyAndSetReplacesOrAppends)
{
    EXPECT_EQ(_vp->getSize(), 0);
    EXPECT_EQ(_vp->getPos("a"), -1);
    EXPECT_FALSE(_vp->findKey("a"));
    EXPECT_EQ(lookup("a"), "-");

    _vp->add("a", "1");
    _vp->add("b", "2");
    _vp->add("a", "3");     // add does not look for the key: lookups see the first pair
    EXPECT_EQ(_vp->getSize(), 3);
    EXPECT_EQ(_vp->getPos("a"), 0);
    EXPECT_EQ(_vp->getPos("b"), 1);
    EXPECT_EQ(lookup("a"), "1");
    EXPECT_EQ(lookup("b"), "2");
    // Keys are exact byte strings.
    EXPECT_EQ(lookup("A"), "-");
    EXPECT_FALSE(_vp->findKey("a "));
    EXPECT_FALSE(_vp->findKey(std::string("a\0", 2)));
    EXPECT_FALSE(_vp->del("B"));

    _vp->set("a", "9");     // the first "a"
    _vp->set("B", "upper");
    _vp->set("", "empty key");
    EXPECT_EQ(text(), "a,b,a,B,|9,2,3,upper,empty key");
    EXPECT_EQ(lookup("B"), "upper");
    EXPECT_EQ(lookup("b"), "2");
}

TEST_F(ValuePairTest, DeleteAndInsertByKeyAndIndex)
{
    _vp->add("a", "1");
    _vp->add("b", "2");
    _vp->add("a", "3");
    EXPECT_TRUE(_vp->del("a"));             EXPECT_EQ(text(), "b,a|2,3");   // the first only
    EXPECT_FALSE(_vp->del("c"));
    EXPECT_TRUE(_vp->deleteAt(1));          EXPECT_EQ(text(), "b|2");
    EXPECT_TRUE(_vp->deleteAt(0));
    LogCapture capture;
    EXPECT_FALSE(_vp->deleteAt(0));
    EXPECT_TRUE(capture.contains("out of range"));

    // Insert goes before the index; the size appends; beyond is refused, not clamped.
    EXPECT_TRUE(_vp->insertAt("b", "2", 0));
    EXPECT_TRUE(_vp->insertAt("a", "1", 0));
    EXPECT_TRUE(_vp->insertAt("d", "4", 2));
    EXPECT_TRUE(_vp->insertAt("c", "3", 2));
    EXPECT_EQ(text(), "a,b,c,d|1,2,3,4");
    EXPECT_FALSE(_vp->insertAt("e", "5", 5));
    EXPECT_FALSE(_vp->insertAt("e", "5", 0xffffffffu));
    EXPECT_TRUE(capture.contains("beyond the end"));
    EXPECT_EQ(text(), "a,b,c,d|1,2,3,4");
}

TEST_F(ValuePairTest, ListsOfDifferentLengthAreRepairedByTheNextEdit)
{
    // As a stream or a generated accessor may leave them.
    _vp->editMFKey()->push_back("a");
    _vp->editMFKey()->push_back("b");
    _vp->editMFValue()->push_back("1");
    EXPECT_EQ(lookup("b"), "");             // the missing value reads as empty

    _edits.reset();
    _vp->set("b", "");                      // same value, but the values had to be padded
    _edits.expectOneEdit(ValuePair::ValueFieldMask);
    EXPECT_EQ(text(), "a,b|1,");
    _vp->editMFValue()->push_back("surplus");
    _vp->add("c", "3");                     EXPECT_EQ(text(), "a,b,c|1,,3");
    _vp->editMFValue()->clear();
    EXPECT_TRUE(_vp->deleteAt(2));          EXPECT_EQ(text(), "a,b|,");
}

TEST_F(ValuePairTest, EveryChangeIsOneRecordedEditAndRefusalsAreSilent)
{
    _vp->add("a", "1");               _edits.expectOneEdit(BothMasks);
    _vp->set("a", "2");               _edits.expectOneEdit(ValuePair::ValueFieldMask);
    _vp->set("b", "3");               _edits.expectOneEdit(BothMasks);
    _vp->insertAt("c", "4", 1);       _edits.expectOneEdit(BothMasks);
    _vp->del("c");                    _edits.expectOneEdit(BothMasks);
    _vp->deleteAt(0);                 _edits.expectOneEdit(BothMasks);

    LogCapture capture;
    _vp->set("b", "3");               // unchanged value
    _vp->del("zz");
    _vp->deleteAt(7);
    _vp->insertAt("x", "y", 7);
    lookup("b");
    _vp->getPos("b");
    _edits.expectNoEdit();
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

} // namespace

TEST_F(ValuePairTest, BinaryFormMatchesHandWrittenBytes)
{
    _vp->add("a", "");
    const Bytes golden32{0x00, 0x00, 0x00, 0x01,                  // 1 key
                         0x00, 0x00, 0x00, 0x02, 0x61, 0x00,      // "a"
                         0x00, 0x00, 0x00, 0x01,                  // 1 value
                         0x00, 0x00, 0x00, 0x01, 0x00};           // ""
    const Bytes golden64{0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01,
                         0x00, 0x00, 0x00, 0x02, 0x61, 0x00,
                         0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01,
                         0x00, 0x00, 0x00, 0x01, 0x00};
    for(bool osb64 : {false, true})
    {
        SCOPED_TRACE(osb64 ? "64-bit counts" : "32-bit counts");
        OSB64Scope osb(osb64);
        const Bytes &golden = osb64 ? golden64 : golden32;
        EXPECT_EQ(write(_vp, BothMasks), golden);
        ValuePairPtr copy = ValuePairPtr::dcast(
            FieldContainerFactory::the()->createFieldContainer("ValuePair"));
        RefPtr<FieldContainerPtr> hold(copy);
        MemoryBinaryDataHandler in(golden.data(), golden.size());
        copy->copyFromBin(in, BothMasks);
        EXPECT_FALSE(in.isFailed());
        EXPECT_EQ(in.getBytesLeft(), 0u);
        EXPECT_EQ(copy->getKey(), _vp->getKey());
        EXPECT_EQ(copy->getValue(), _vp->getValue());
        // Empty lists are a count of zero and nothing else.
        ValuePairPtr empty = ValuePair::create();
        RefPtr<FieldContainerPtr> holdEmpty(empty);
        EXPECT_EQ(write(empty, BothMasks), Bytes(osb64 ? 16 : 8, 0x00));
    }
    // Only the selected field; no bit of our own fields writes nothing of ours.
    EXPECT_EQ(write(_vp, ValuePair::KeyFieldMask),
              (Bytes{0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x02, 0x61, 0x00}));
    EXPECT_EQ(_vp->getBinSize(Attachment::InternalFieldMask),
              _vp->Attachment::getBinSize(Attachment::InternalFieldMask));
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
    const struct { const Bytes *bytes; const char *message; } cases[] = {
        {&lyingCount, "element count"}, {&lyingLength, "string length"},
        {&truncated, "corrupt or truncated"}};
    for(const auto &c : cases)
    {
        SCOPED_TRACE(c.message);
        LogCapture capture;
        _edits.reset();
        MemoryBinaryDataHandler in(c.bytes->data(), c.bytes->size());
        _vp->copyFromBin(in, BothMasks);
        EXPECT_TRUE(in.isFailed());
        EXPECT_TRUE(capture.contains(c.message));
        EXPECT_EQ(text(), "keep|me");
        _edits.expectNoEdit();
    }
}

TEST(ValuePairType, CreatedByNameAndReachedThroughTheGenericFieldInterface)
{
    // The layout itself (ids 3 and 4, masks 0x8 and 0x10) is checked by the tool's type listing.
    ValuePairPtr vp = ValuePairPtr::dcast(
        FieldContainerFactory::the()->createFieldContainer("ValuePair"));
    ASSERT_NE(vp, NullFC);
    RefPtr<FieldContainerPtr> hold(vp);
    EXPECT_TRUE(Thread::getCurrentChangeList()->wasCreated(vp.getFieldContainerId()));
    vp->set("k", "v");
    EXPECT_EQ(vp->getField("key"), static_cast<Field *>(vp->editMFKey()));
    EXPECT_EQ(vp->getField(4u), static_cast<Field *>(vp->editMFValue()));
    EXPECT_EQ(vp->getField("value")->getValueByStr(), "[\"v\"]");
}
