// Golden bytes for OpenSG's binary encoding, written out by hand from its rules: network byte
// order, one byte per bool, strings as length (counting the terminator) + bytes + NUL, MF fields as
// a count (32-bit, or 64-bit in OSB64 mode) followed by the elements.

#include <OpenSG/OSGBinaryDataHandler.h>
#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGSFBaseTypes.h>
#include <OpenSG/OSGMFBaseTypes.h>
#include <OpenSG/OSGLog.h>

#include <gtest/gtest.h>

#include <vector>

using namespace osg;

namespace {

typedef std::vector<UInt8> Bytes;

template <class FieldT>
Bytes encode(const FieldT &field)
{
    MemoryBinaryDataHandler h;
    field.copyToBin(h);
    EXPECT_EQ(h.getBuffer().size(), field.getBinSize());
    return h.getBuffer();
}

template <class FieldT>
FieldT decode(const Bytes &bytes, bool expectOk = true)
{
    MemoryBinaryDataHandler h(bytes.data(), bytes.size());
    FieldT field;
    field.copyFromBin(h);
    EXPECT_EQ(h.isFailed(), !expectOk);
    if(expectOk)
    {
        EXPECT_EQ(h.getBytesLeft(), 0u);
    }
    return field;
}

template <class FieldT, class V>
void expectGolden(const V &value, const Bytes &golden)
{
    FieldT field;
    field.setValue(value);
    EXPECT_EQ(encode(field), golden);
    EXPECT_EQ(decode<FieldT>(golden).getValue(), field.getValue());
}

class OSB64Scope
{
  public:
    explicit OSB64Scope(bool on) : _old(osgUseOSB64()) { osgSetUseOSB64(on); }
    ~OSB64Scope() { osgSetUseOSB64(_old); }
  private:
    bool _old;
};

} // namespace

TEST(BinaryEncoding, ScalarsAreBigEndian)
{
    expectGolden<SFBool>(true, {0x01});
    expectGolden<SFBool>(false, {0x00});
    expectGolden<SFUInt8>(UInt8(0xAB), {0xAB});
    expectGolden<SFInt8>(Int8(-2), {0xFE});
    expectGolden<SFUInt16>(UInt16(0x1234), {0x12, 0x34});
    expectGolden<SFInt16>(Int16(-2), {0xFF, 0xFE});
    expectGolden<SFUInt32>(UInt32(0x01020304), {0x01, 0x02, 0x03, 0x04});
    expectGolden<SFInt32>(Int32(-1), {0xFF, 0xFF, 0xFF, 0xFF});
    expectGolden<SFUInt64>(UInt64(0x0102030405060708ull),
                           {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08});
    expectGolden<SFInt64>(Int64(-256), {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00});
    // IEEE bit patterns: 1.0f = 0x3F800000, -2.5 = 0xC004000000000000, half 1.0 = 0x3C00.
    expectGolden<SFReal32>(1.0f, {0x3F, 0x80, 0x00, 0x00});
    expectGolden<SFReal64>(-2.5, {0xC0, 0x04, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00});
    SFReal16 half;
    half.setValue(Real16(1.0f));
    EXPECT_EQ(encode(half), (Bytes{0x3C, 0x00}));
}

TEST(BinaryEncoding, BoolReadsAnyNonZeroAsTrue)
{
    EXPECT_TRUE(decode<SFBool>({0x07}).getValue());
}

TEST(BinaryEncoding, StringsCountTheirTerminator)
{
    expectGolden<SFString>(std::string(""), {0x00, 0x00, 0x00, 0x01, 0x00});
    expectGolden<SFString>(std::string("ab"), {0x00, 0x00, 0x00, 0x03, 'a', 'b', 0x00});
    // A zero length is read as the empty string.
    EXPECT_EQ(decode<SFString>({0x00, 0x00, 0x00, 0x00}).getValue(), "");
}

TEST(BinaryEncoding, CompoundValuesAreTheirComponentsInOrder)
{
    expectGolden<SFVec3f>(Vec3f(1.f, 2.f, -2.f), {0x3F, 0x80, 0x00, 0x00, 0x40, 0x00, 0x00, 0x00,
                                                  0xC0, 0x00, 0x00, 0x00});
    expectGolden<SFColor4ub>(Color4ub(1, 2, 3, 4), {0x01, 0x02, 0x03, 0x04});

    // Quaternion: x, y, z, w; identity is (0, 0, 0, 1).
    expectGolden<SFQuaternion>(Quaternion(), {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                                              0x3F, 0x80, 0x00, 0x00});

    // Matrix: column by column, so the translation is floats 12 to 14.
    Matrix m;
    m.setIdentity();
    m.setTranslate(2.f, 0.f, 0.f);
    Bytes golden;
    const Real32 cols[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 2, 0, 0, 1};
    for(Real32 f : cols)
    {
        UInt32 bits;
        std::memcpy(&bits, &f, 4);
        for(int s = 24; s >= 0; s -= 8)
            golden.push_back(UInt8(bits >> s));
    }
    expectGolden<SFMatrix>(m, golden);
}

TEST(BinaryEncoding, BitVectorWritesLowWordThenHighWord)
{
    BitVector v = (TypeTraits<BitVector>::One << 127) | BitVector(0x0102);
    expectGolden<SFBitVector>(v, {0, 0, 0, 0, 0, 0, 0x01, 0x02, 0x80, 0, 0, 0, 0, 0, 0, 0});
}

TEST(BinaryEncoding, MultiFieldCountsAre32BitOr64Bit)
{
    MFUInt16 f;
    f.push_back(0x0102);
    f.push_back(0x0304);
    {
        OSB64Scope scope(false);
        EXPECT_EQ(encode(f), (Bytes{0, 0, 0, 2, 0x01, 0x02, 0x03, 0x04}));
        EXPECT_EQ(decode<MFUInt16>({0, 0, 0, 2, 0x01, 0x02, 0x03, 0x04}).getValues(), f.getValues());
    }
    {
        OSB64Scope scope(true);
        EXPECT_EQ(f.getBinSize(), 12u);
        EXPECT_EQ(encode(f), (Bytes{0, 0, 0, 0, 0, 0, 0, 2, 0x01, 0x02, 0x03, 0x04}));
        EXPECT_EQ(decode<MFUInt16>({0, 0, 0, 0, 0, 0, 0, 2, 0x01, 0x02, 0x03, 0x04}).getValues(),
                  f.getValues());
    }
    OSB64Scope scope(false);
    EXPECT_EQ(encode(MFString()), (Bytes{0, 0, 0, 0}));
    MFString strings;
    strings.push_back("a");
    strings.push_back("");
    EXPECT_EQ(encode(strings), (Bytes{0, 0, 0, 2, 0, 0, 0, 2, 'a', 0, 0, 0, 0, 1, 0}));
}

TEST(BinaryEncoding, ArraysSwapOnlyInNetworkOrder)
{
    const UInt32 values[2] = {0x01020304u, 0x05060708u};
    MemoryBinaryDataHandler net;
    net.putValues(values, 2);
    EXPECT_EQ(net.getBuffer(), (Bytes{1, 2, 3, 4, 5, 6, 7, 8}));

    MemoryBinaryDataHandler host;
    host.setNetworkOrder(false);
    host.putValues(values, 2);
    Bytes raw(8);
    std::memcpy(raw.data(), values, 8);
    EXPECT_EQ(host.getBuffer(), raw);
}

TEST(BinaryEncoding, LargeArraysSurviveTheBlockedSwap)
{
    MFPnt3f points;
    for(UInt32 i = 0; i < 5000; ++i)
        points.push_back(Pnt3f(Real32(i), Real32(i) * 0.5f, -Real32(i)));
    MFPnt3f back = decode<MFPnt3f>(encode(points));
    ASSERT_EQ(back.size(), points.size());
    EXPECT_EQ(back.getValues(), points.getValues());
}

TEST(BinaryEncoding, TruncatedOrLyingDataFailsWithoutOverreading)
{
    LogCapture capture;
    // Truncated scalar: the value is kept, the handler fails.
    SFUInt32 kept;
    kept.setValue(42);
    {
        Bytes bytes{0x01, 0x02};
        MemoryBinaryDataHandler h(bytes.data(), bytes.size());
        kept.copyFromBin(h);
        EXPECT_TRUE(h.isFailed());
        EXPECT_EQ(kept.getValue(), 42u);
    }
    // A count of 2^32-1 elements with four bytes behind it is refused before allocating.
    {
        Bytes bytes{0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 1};
        MemoryBinaryDataHandler h(bytes.data(), bytes.size());
        MFPnt3f f;
        f.copyFromBin(h);
        EXPECT_TRUE(h.isFailed());
        EXPECT_TRUE(f.empty());
    }
    {
        OSB64Scope scope(true);
        Bytes bytes{0x7F, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 1};
        MemoryBinaryDataHandler h(bytes.data(), bytes.size());
        MFString f;
        f.copyFromBin(h);
        EXPECT_TRUE(h.isFailed());
    }
    // A string length past the end.
    {
        Bytes bytes{0x00, 0x10, 0x00, 0x00, 'a', 'b'};
        MemoryBinaryDataHandler h(bytes.data(), bytes.size());
        SFString s;
        s.setValue("old");
        s.copyFromBin(h);
        EXPECT_TRUE(h.isFailed());
        EXPECT_EQ(s.getValue(), "old");
        EXPECT_EQ(h.getBytesLeft(), 2u);
    }
    // Once failed, later reads fail at once and deliver zeros.
    {
        Bytes bytes{0x01};
        MemoryBinaryDataHandler h(bytes.data(), bytes.size());
        UInt32 v = 7;
        EXPECT_FALSE(h.getValue(v));
        EXPECT_EQ(v, 0u);
        UInt8 b = 9;
        EXPECT_FALSE(h.getValue(b));
    }
    EXPECT_TRUE(capture.contains("corrupt or truncated data"));
}
