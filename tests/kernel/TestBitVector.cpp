#include <OpenSG/OSGBitVector.h>

#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <string>
#include <unordered_set>

using namespace osg;

namespace {

// The compiler's own 128-bit integer is the oracle for the two-word arithmetic.
__extension__ typedef unsigned __int128 U128;

U128 toU128(const BitVector &v)
{
    return (U128(v.getHigh()) << 64) | v.getLow();
}

BitVector fromU128(U128 v)
{
    return BitVector::fromWords(UInt64(v >> 64), UInt64(v));
}

// Masks are built at compile time by generated code.
constexpr BitVector Bit127 = TypeTraits<BitVector>::One << 127;
static_assert(Bit127.getHigh() == 0x8000000000000000ull && Bit127.getLow() == 0, "bit 127");
static_assert((TypeTraits<BitVector>::One << 64).getHigh() == 1, "bit 64");
static_assert((TypeTraits<BitVector>::BitsSet >> 127) == TypeTraits<BitVector>::One, "all ones");

} // namespace

TEST(BitVector, BitsAroundTheWordBoundary)
{
    const BitVector one = TypeTraits<BitVector>::One;

    BitVector b63 = one << 63, b64 = one << 64, b127 = one << 127;
    EXPECT_EQ(b63.getLow(), 0x8000000000000000ull);
    EXPECT_EQ(b63.getHigh(), 0u);
    EXPECT_EQ(b64.getLow(), 0u);
    EXPECT_EQ(b64.getHigh(), 1u);
    EXPECT_EQ(b127.getHigh(), 0x8000000000000000ull);
    EXPECT_EQ((one << 128), BitVector());
    EXPECT_EQ((b127 << 1), BitVector());

    // A carry out of the low word lands in bit 64 and back again.
    EXPECT_EQ(b63 << 1, b64);
    EXPECT_EQ(b64 >> 1, b63);
    EXPECT_EQ(b127 >> 127, one);
    EXPECT_EQ(BitVector::fromWords(0, 0xF000000000000000ull) << 4, BitVector::fromWords(0xF, 0));
    EXPECT_EQ(BitVector::fromWords(0xF, 0) >> 68, BitVector(0));
    EXPECT_EQ(BitVector::fromWords(0xF, 0) >> 66, BitVector(3));

    BitVector m;
    m.set(63).set(64).set(127);
    EXPECT_TRUE(m.test(63));
    EXPECT_TRUE(m.test(64));
    EXPECT_TRUE(m.test(127));
    EXPECT_FALSE(m.test(62));
    EXPECT_FALSE(m.test(65));
    EXPECT_FALSE(m.test(128));
    EXPECT_EQ(m.count(), 3u);
    m.reset(64);
    EXPECT_FALSE(m.test(64));
    EXPECT_EQ(m, b63 | b127);
    m.set(200);     // out of range: ignored
    EXPECT_EQ(m.count(), 2u);

    EXPECT_TRUE(BitVector().none());
    EXPECT_FALSE(BitVector().any());
    EXPECT_TRUE(b127.any());
    EXPECT_FALSE(static_cast<bool>(BitVector()));
    EXPECT_TRUE(static_cast<bool>(b64));
    EXPECT_EQ(TypeTraits<BitVector>::BitsSet.count(), 128u);
    EXPECT_EQ((~b64).count(), 127u);
    EXPECT_EQ(~TypeTraits<BitVector>::BitsSet, TypeTraits<BitVector>::BitsClear);
}

TEST(BitVector, MatchesA128BitInteger)
{
    std::mt19937_64 rng(1234);
    for(int i = 0; i < 2000; ++i)
    {
        U128      a  = (U128(rng()) << 64) | rng();
        U128      b  = (U128(rng()) << 64) | rng();
        UInt32    n  = UInt32(rng() % 130);
        BitVector va = fromU128(a), vb = fromU128(b);

        ASSERT_EQ(toU128(va | vb), a | b);
        ASSERT_EQ(toU128(va & vb), a & b);
        ASSERT_EQ(toU128(va ^ vb), a ^ b);
        ASSERT_EQ(toU128(~va), ~a);
        ASSERT_EQ(toU128(va << n), n >= 128 ? U128(0) : a << n) << "shift " << n;
        ASSERT_EQ(toU128(va >> n), n >= 128 ? U128(0) : a >> n) << "shift " << n;
        ASSERT_EQ(va < vb, a < b);
        ASSERT_EQ(va == vb, a == b);

        BitVector c = va;
        c <<= n;
        c >>= n;
        ASSERT_EQ(toU128(c), n >= 128 ? U128(0) : (a << n) >> n);
        c = va;
        c |= vb;
        c &= ~vb;
        c ^= vb;
        ASSERT_EQ(toU128(c), ((a | b) & ~b) ^ b);
    }
}

TEST(BitVector, IntegerIdioms)
{
    // Generated and hand-written code treat masks like integers.
    BitVector m = 0;
    EXPECT_EQ(m, BitVector());
    m |= 1 << 5;
    EXPECT_TRUE(m & (1 << 5));
    EXPECT_FALSE(m & (1 << 4));
    EXPECT_NE(m, 0);
    EXPECT_EQ(m & 0x20, 0x20);
    EXPECT_TRUE(BitVector(1) < (TypeTraits<BitVector>::One << 64));
    EXPECT_FALSE((TypeTraits<BitVector>::One << 64) < BitVector(~UInt64(0)));
}

TEST(BitVector, HexText)
{
    EXPECT_EQ(BitVector().toHexString(), "0x0");
    EXPECT_EQ(BitVector(0xABC).toHexString(), "0xabc");
    EXPECT_EQ((TypeTraits<BitVector>::One << 64).toHexString(), "0x10000000000000000");
    EXPECT_EQ(BitVector::fromWords(0x1, 0x2).toHexString(), "0x10000000000000002");
    EXPECT_EQ(TypeTraits<BitVector>::BitsSet.toHexString(), "0x" + std::string(32, 'f'));

    std::ostringstream os;
    os << (TypeTraits<BitVector>::One << 127);
    EXPECT_EQ(os.str(), "0x8" + std::string(31, '0'));

    typedef TypeTraits<BitVector> TT;
    EXPECT_EQ(TT::getFromString("0x10000000000000002"), BitVector::fromWords(1, 2));
    EXPECT_EQ(TT::getFromString("0XFF"), BitVector(255));
    EXPECT_EQ(TT::getFromString("18446744073709551616"), TT::One << 64);
    EXPECT_EQ(TT::getFromString("340282366920938463463374607431768211455"), TT::BitsSet);
    EXPECT_EQ(TT::getFromString("340282366920938463463374607431768211456"), TT::Zero);  // 2^128
    EXPECT_EQ(TT::getFromString(("0x1" + std::string(32, '0')).c_str()), TT::Zero);
    EXPECT_EQ(TT::getFromString("12x"), TT::Zero);
    EXPECT_EQ(TT::getFromString(NULL), TT::Zero);
    EXPECT_EQ(TT::getFromString(TT::putToString(Bit127 | BitVector(7)).c_str()), Bit127 | BitVector(7));
}

TEST(BitVector, HashUsesBothWords)
{
    std::hash<BitVector> h;
    EXPECT_NE(h(BitVector(1)), h(TypeTraits<BitVector>::One << 64));
    EXPECT_EQ(h(BitVector::fromWords(3, 4)), h(BitVector::fromWords(3, 4)));

    std::unordered_set<BitVector> set;
    for(UInt32 i = 0; i < 128; ++i)
        set.insert(TypeTraits<BitVector>::One << i);
    EXPECT_EQ(set.size(), 128u);
}
