#include <OpenSG/OSGBaseTypes.h>
#include <OpenSG/OSGColor.h>
#include <OpenSG/OSGLog.h>
#include <OpenSG/OSGMatrix.h>
#include <OpenSG/OSGQuaternion.h>
#include <OpenSG/OSGReal16.h>
#include <OpenSG/OSGVector.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <random>
#include <sstream>
#include <type_traits>
#include <vector>

using namespace osg;

namespace {

const Real32 Tol = 1e-5f;

UInt16 halfBits(float f)
{
    return Real16(f).bits();
}

::testing::AssertionResult near3(const Vec3f &a, const Vec3f &b, Real32 tol = Tol)
{
    if(a.equals(b, tol))
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "(" << a << ") != (" << b << ")";
}

::testing::AssertionResult nearM(const Matrix &a, const Matrix &b, Real32 tol = Tol)
{
    if(a.equals(b, tol))
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "\n" << a << "!=\n" << b;
}

// Rotation matrices written out by hand, independent of the quaternion code.
Matrix rotX(Real32 a)
{
    Real32 c = std::cos(a), s = std::sin(a);
    return Matrix(1, 0, 0, 0,  0, c, -s, 0,  0, s, c, 0,  0, 0, 0, 1);
}
Matrix rotY(Real32 a)
{
    Real32 c = std::cos(a), s = std::sin(a);
    return Matrix(c, 0, s, 0,  0, 1, 0, 0,  -s, 0, c, 0,  0, 0, 0, 1);
}
Matrix rotZ(Real32 a)
{
    Real32 c = std::cos(a), s = std::sin(a);
    return Matrix(c, -s, 0, 0,  s, c, 0, 0,  0, 0, 1, 0,  0, 0, 0, 1);
}

Matrix product(const Matrix &a, const Matrix &b)
{
    Matrix r;
    for(UInt32 c = 0; c < 4; ++c)
        for(UInt32 row = 0; row < 4; ++row)
        {
            Real32 sum = 0;
            for(UInt32 k = 0; k < 4; ++k)
                sum += a[k][row] * b[c][k];
            r[c][row] = sum;
        }
    return r;
}

Matrix rotationOf(const Quaternion &q)
{
    Matrix m;
    q.getValue(m);
    return m;
}

} // namespace

/*---------------------------------------------------------------------------*/

TEST(Real16, RoundsToNearestEven)
{
    EXPECT_EQ(halfBits(1.0f), 0x3C00);
    EXPECT_EQ(halfBits(-2.0f), 0xC000);
    EXPECT_EQ(halfBits(0.0f), 0x0000);
    EXPECT_EQ(halfBits(-0.0f), 0x8000);

    // 1 + 2^-11 lies halfway between 1 and 1 + 2^-10: the even neighbour (1) wins.
    EXPECT_EQ(halfBits(1.0f + std::ldexp(1.0f, -11)), 0x3C00);
    // 1 + 3 * 2^-11 lies halfway between mantissas 1 and 2: 2 is even.
    EXPECT_EQ(halfBits(1.0f + 3 * std::ldexp(1.0f, -11)), 0x3C02);
    // Just above halfway rounds up.
    EXPECT_EQ(halfBits(1.0f + std::ldexp(1.0f, -11) + std::ldexp(1.0f, -20)), 0x3C01);
    // A carry through the mantissa moves the exponent: 2 - 2^-12 rounds to 2.
    EXPECT_EQ(halfBits(2.0f - std::ldexp(1.0f, -12)), 0x4000);
}

TEST(Real16, OverflowAndSpecialValues)
{
    EXPECT_EQ(halfBits(65504.0f), 0x7BFF);
    EXPECT_EQ(halfBits(65519.0f), 0x7BFF);     // below the halfway point 65520
    EXPECT_EQ(halfBits(65520.0f), 0x7C00);     // halfway, the even neighbour is 65536 = infinity
    EXPECT_EQ(halfBits(1e10f), 0x7C00);
    EXPECT_EQ(halfBits(-1e10f), 0xFC00);
    EXPECT_EQ(halfBits(INFINITY), 0x7C00);
    EXPECT_TRUE(Real16(NAN).isNan());
    EXPECT_TRUE(std::isnan(float(Real16::qNan())));
    EXPECT_TRUE(Real16::posInf().isInfinity());
    EXPECT_TRUE(Real16::negInf().isNegative());
    EXPECT_FALSE(Real16(65504.0f).isInfinity());
    EXPECT_TRUE(Real16(65504.0f).isFinite());

    EXPECT_EQ(float(TypeTraits<Real16>::getMax()), 65504.0f);
    EXPECT_EQ(float(TypeTraits<Real16>::getMin()), REAL16_MIN);

    Real16 h(3.0f);
    h *= 2.0f;
    h += Real16(0.5f);
    EXPECT_EQ(float(h), 6.5f);
    EXPECT_EQ(float(-h), -6.5f);
}

TEST(Real16, Subnormals)
{
    const float tiny = std::ldexp(1.0f, -24);       // smallest subnormal
    EXPECT_EQ(halfBits(tiny), 0x0001);
    EXPECT_EQ(halfBits(tiny * 0.5f), 0x0000);       // halfway to zero: zero is even
    EXPECT_EQ(halfBits(tiny * 0.75f), 0x0001);
    EXPECT_EQ(halfBits(tiny * 1.5f), 0x0002);       // halfway between 1 and 2 units
    EXPECT_EQ(halfBits(tiny * 2.5f), 0x0002);       // halfway between 2 and 3 units
    EXPECT_EQ(halfBits(-tiny * 3.0f), 0x8003);
    EXPECT_EQ(halfBits(std::ldexp(1.0f, -14)), 0x0400);                        // smallest normal
    EXPECT_EQ(halfBits(std::ldexp(1.0f, -14) - std::ldexp(1.0f, -25)), 0x0400); // rounds up into it
    EXPECT_EQ(halfBits(std::ldexp(1.0f, -30)), 0x0000);
    EXPECT_EQ(halfBits(FLT_MIN / 4), 0x0000);       // float subnormal
    EXPECT_TRUE(Real16::fromBits(0x0001).isDenormalized());
    EXPECT_EQ(float(Real16::fromBits(0x03FF)), 1023 * tiny);
}

TEST(Real16, EveryHalfSurvivesARoundTrip)
{
    for(UInt32 bits = 0; bits < 0x10000; ++bits)
    {
        Real16 h = Real16::fromBits(UInt16(bits));
        if(h.isNan())
        {
            ASSERT_TRUE(std::isnan(float(h)));
            ASSERT_TRUE(Real16(float(h)).isNan());
            continue;
        }
        ASSERT_EQ(Real16(float(h)).bits(), bits) << "bits " << bits << " value " << float(h);
    }
}

#if defined(__FLT16_MAX__)
static float fromBits(UInt32 bits)
{
    float f;
    std::memcpy(&f, &bits, sizeof(f));
    return f;
}

TEST(Real16, MatchesTheCompilersHalfConversion)
{
    std::mt19937 rng(99);
    for(int i = 0; i < 200000; ++i)
    {
        // Random bit patterns cover every exponent, subnormals and specials alike.
        float f = fromBits(UInt32(rng()));
        if(std::isnan(f))
            continue;
        __extension__ _Float16 ref = static_cast<_Float16>(f);
        UInt16 refBits;
        std::memcpy(&refBits, &ref, sizeof(refBits));
        ASSERT_EQ(halfBits(f), refBits) << "value " << f;
    }
}
#endif

/*---------------------------------------------------------------------------*/

TEST(Scalars, TypeTraitsAndFunctions)
{
    EXPECT_EQ(TypeTraits<UInt32>::getFromString("0x10"), 16u);
    EXPECT_EQ(TypeTraits<Int16>::getFromString("-123"), -123);
    EXPECT_EQ(TypeTraits<Int8>::getFromString(NULL), 0);
    EXPECT_EQ(TypeTraits<Int16>::BitsSet, Int16(-1));
    EXPECT_EQ(TypeTraits<UInt64>::BitsSet, ~UInt64(0));
    EXPECT_EQ(TypeTraits<Int8>::getMin(), -128);
    EXPECT_EQ(TypeTraits<UInt8>::putToString(200), "200");
    EXPECT_EQ(TypeTraits<Int64>::putToString(-5), "-5");
    EXPECT_TRUE(TypeTraits<bool>::getFromString("TRUE"));
    EXPECT_FALSE(TypeTraits<bool>::getFromString("false"));
    EXPECT_FALSE(TypeTraits<std::string>::IsPOD);

    // As in OpenSG, getMin of a real is the smallest positive normal value.
    EXPECT_EQ(TypeTraits<Real32>::getMin(), FLT_MIN);

    // Real text reads back to the same value.
    for(Real32 v : { 0.1f, 1.0f / 3.0f, 1e-30f, 123456.78f })
        EXPECT_EQ(TypeTraits<Real32>::getFromString(TypeTraits<Real32>::putToString(v).c_str()), v);
    EXPECT_EQ(TypeTraits<Real64>::getFromString(TypeTraits<Real64>::putToString(0.1).c_str()), 0.1);

    EXPECT_NEAR(osgdegree2rad(180.0f), 3.14159265f, 1e-6f);
    EXPECT_NEAR(osgrad2degree(Real64(Pi / 2)), 90.0, 1e-12);
    EXPECT_FALSE(std::isnan(osgacos(1.0000001f)));      // rounding overshoot is clamped
    EXPECT_EQ(osgabs(-3), 3);
    EXPECT_EQ(osgabs(UInt8(200)), 200);
    EXPECT_EQ(osgMin(2, 3), 2);
    EXPECT_EQ(osgMax(2.5f, -1.0f), 2.5f);
    EXPECT_EQ(osgClamp(0, 7, 5), 5);
    EXPECT_TRUE(osgispower2(64));
    EXPECT_FALSE(osgispower2(0));
    EXPECT_EQ(osgnextpower2(65), 128u);
}

/*---------------------------------------------------------------------------*/

TEST(Vector, LayoutAndCopying)
{
    static_assert(sizeof(Pnt3f) == 12 && sizeof(Vec3f) == 12 && sizeof(Vec4ub) == 4, "layout");
    static_assert(std::is_trivially_copyable<Pnt3f>::value, "memcpy-safe");
    static_assert(std::is_same<decltype(Pnt3f() - Pnt3f()), Vec3f>::value, "point - point");
    static_assert(std::is_same<decltype(Pnt3f() + Vec3f()), Pnt3f>::value, "point + vector");
    static_assert(std::is_same<decltype(Vec3f() + Vec3f()), Vec3f>::value, "vector + vector");
    static_assert(std::is_same<decltype(Vec3f() * Vec3f()), Real32>::value, "dot");

    // A field of points is a plain float array.
    std::vector<Pnt3f> pts(1000);
    for(UInt32 i = 0; i < pts.size(); ++i)
        pts[i].setValues(Real32(i), Real32(2 * i), Real32(3 * i));
    std::vector<Real32> raw(3 * pts.size());
    std::memcpy(raw.data(), pts.data(), raw.size() * sizeof(Real32));
    EXPECT_EQ(raw[3 * 500 + 2], 1500.0f);
    std::vector<Pnt3f> back(pts.size());
    std::memcpy(static_cast<void *>(back.data()), raw.data(), raw.size() * sizeof(Real32));
    EXPECT_EQ(back[999], Pnt3f(999, 1998, 2997));

    EXPECT_EQ(Vec3f().length(), 0.0f);
    EXPECT_EQ(Pnt3f::Null, Pnt3f(0, 0, 0));
}

TEST(Vector, NullPointersGiveNeutralValuesAndAWarning)
{
    LogCapture capture;
    EXPECT_EQ(Vec3f(0), Vec3f::Null);       // the origin, not a crash
    Matrix m;
    m.setScale(2);
    m.setValue(static_cast<const Real32 *>(NULL));
    EXPECT_EQ(m, Matrix());
    Quaternion q(Vec3f(1, 0, 0), 1);
    q.setValueAsQuat(static_cast<const Real32 *>(NULL));
    EXPECT_EQ(q, Quaternion());
    EXPECT_EQ(Color3f(static_cast<const Real32 *>(NULL)), Color3f());
    ASSERT_EQ(capture.count(), 4u);
    EXPECT_EQ(capture.entries()[1].text, "TransformationMatrix::setValue: null pointer; using a neutral value");
    EXPECT_EQ(capture.entries()[1].level, LOG_WARNING);
}

TEST(Vector, ConversionAndAccess)
{
    Vec4f v4(Vec2f(1, 2));
    EXPECT_EQ(v4, Vec4f(1, 2, 0, 0));
    Vec2f v2(Vec4f(1, 2, 3, 4));
    EXPECT_EQ(v2, Vec2f(1, 2));
    Pnt3f p(Vec3d(1.5, 2.5, 3.5));
    EXPECT_EQ(p, Pnt3f(1.5f, 2.5f, 3.5f));
    EXPECT_EQ(Vec4f(1, 2, 3), Vec4f(1, 2, 3, 0));

    Vec4f target(9, 9, 9, 9);
    target.setValue(Vec2f(1, 2));
    EXPECT_EQ(target, Vec4f(1, 2, 9, 9));          // setValue leaves the rest

    Vec3f s;
    s.setValue("1.5, -2 3e1");
    EXPECT_EQ(s, Vec3f(1.5f, -2, 30));
    s.setValue("7");
    EXPECT_EQ(s, Vec3f(7, 0, 0));

    Pnt4f q(1, 2, 3, 4);
    EXPECT_EQ(q.x() + q.y() + q.z() + q.w(), 10.0f);
    EXPECT_EQ(q.getValues()[3], 4.0f);
    EXPECT_EQ(q.subZero(), Vec4f(1, 2, 3, 4));
    EXPECT_EQ(Vec3f(1, 2, 3).addToZero(), Pnt3f(1, 2, 3));
}

TEST(Vector, Arithmetic)
{
    Pnt3f a(1, 2, 3), b(4, 6, 3);
    EXPECT_EQ(b - a, Vec3f(3, 4, 0));
    EXPECT_EQ(a.dist(b), 5.0f);
    EXPECT_EQ(a + Vec3f(1, 1, 1), Pnt3f(2, 3, 4));
    EXPECT_EQ(a - Vec3f(1, 1, 1), Pnt3f(0, 1, 2));

    Vec3f x(1, 0, 0), y(0, 1, 0), z(0, 0, 1);
    EXPECT_EQ(x % y, z);                 // right-handed
    EXPECT_EQ(y.cross(z), x);
    EXPECT_EQ(z % x, y);
    Vec3f c = x;
    c.crossThis(z);
    EXPECT_EQ(c, -y);
    EXPECT_EQ(Vec3f(1, 2, 3) * Vec3f(4, 5, 6), 32.0f);
    EXPECT_EQ(Vec3f(1, 2, 3).dot(Pnt3f(1, 1, 1)), 6.0f);
    EXPECT_EQ(2.0f * Vec3f(1, 2, 3), Vec3f(2, 4, 6));
    EXPECT_EQ(Vec3f(2, 4, 6) / 2.0f, Vec3f(1, 2, 3));
    EXPECT_NEAR(x.enclosedAngle(Vec3f(1, 1, 0)), Pi / 4, 1e-6);

    Vec3f n(3, 0, 4);
    n.normalize();
    EXPECT_EQ(n, Vec3f(0.6f, 0, 0.8f));
    Vec3f shortV(1e-7f, 0, 0);
    shortV.normalize();
    EXPECT_EQ(shortV[0], 1e-7f);          // shorter than Eps: unchanged
    EXPECT_EQ(Vec3f(3, 4, 12).squareLength(), 169.0f);
    EXPECT_EQ(Vec3f(1, 7, 3).maxValue(), 7.0f);

    Vec3s is(3, 4, 0);
    EXPECT_EQ(is.length(), 5.0f);
    Vec3ub u(200, 100, 50);
    EXPECT_EQ(u - Vec3ub(100, 100, 100), Vec3ub(100, 0, 206));   // wraps as bytes do
}

TEST(Vector, ComparisonAndText)
{
    EXPECT_EQ(Vec3f(1, 2, 3), Vec3f(1 + 5e-7f, 2, 3));
    EXPECT_NE(Vec3f(1, 2, 3), Vec3f(1 + 5e-6f, 2, 3));
    EXPECT_TRUE(Vec3f(1, 2, 3).equals(Vec3f(1.05f, 2, 3), 0.1f));
    EXPECT_TRUE(Vec3f(5e-7f, 0, 0).isZero());
    EXPECT_NE(Vec3ub(1, 2, 3), Vec3ub(1, 2, 4));      // integer vectors compare exactly

    std::vector<Pnt2f> pts = { Pnt2f(2, 1), Pnt2f(1, 5), Pnt2f(1, 2), Pnt2f(2, 0) };
    std::sort(pts.begin(), pts.end());
    EXPECT_EQ(pts[0], Pnt2f(1, 2));
    EXPECT_EQ(pts[1], Pnt2f(1, 5));
    EXPECT_EQ(pts[2], Pnt2f(2, 0));
    EXPECT_FALSE(Pnt2f(1, 2) < Pnt2f(1, 2));

    std::ostringstream os;
    os << Vec3f(1, 2.5f, -3) << "|" << Vec4ub(1, 2, 3, 255) << "|" << Vec3b(-1, 0, 1);
    EXPECT_EQ(os.str(), "1, 2.5, -3|1, 2, 3, 255|-1, 0, 1");
}

/*---------------------------------------------------------------------------*/

TEST(Color, ValuesPackingAndHsv)
{
    static_assert(sizeof(Color3f) == 12 && sizeof(Color4ub) == 4, "plain components");

    Color3ub c;
    c.setRGB(0x102030);
    EXPECT_EQ(c, Color3ub(0x10, 0x20, 0x30));
    EXPECT_EQ(c.getRGB(), 0x102030u);
    Color4ub c4;
    c4.setRGBA(0x11223344);
    EXPECT_EQ(c4.alpha(), 0x44);
    EXPECT_EQ(c4.getRGBA(), 0x11223344u);

    Color3f f;
    f.setRGB(0xFF8000);
    EXPECT_TRUE(f.equals(Color3f(1, 128.f / 255.f, 0), 1e-6f));

    Color3f hsv;
    hsv.setValuesHSV(120, 1, 1);
    EXPECT_EQ(hsv, Color3f(0, 1, 0));
    hsv.setValuesHSV(240, 0.5f, 0.8f);
    EXPECT_EQ(hsv, Color3f(0.4f, 0.4f, 0.8f));
    Real32 h, s, v;
    hsv.getValuesHSV(h, s, v);
    EXPECT_NEAR(h, 240, 1e-4);
    EXPECT_NEAR(s, 0.5f, 1e-6);
    EXPECT_NEAR(v, 0.8f, 1e-6);
    Color3ub red;
    red.setValuesHSV(0, 1, 1);
    EXPECT_EQ(red, Color3ub(255, 0, 0));

    EXPECT_EQ(Color4f(1, 0.5f, 0, 1), Color4f(1, 0.5f + 5e-7f, 0, 1));
    EXPECT_NE(Color4f(1, 0.5f, 0, 1), Color4f(1, 0.5f, 0, 0.9f));
    EXPECT_EQ(Color3f(0.5f, 1, 0.25f) * 2.0f, Color3f(1, 2, 0.5f));

    std::ostringstream os;
    os << Color4f(1, 0.5f, 0, 1) << "|" << Color3ub(255, 0, 7);
    EXPECT_EQ(os.str(), "1, 0.5, 0, 1|255, 0, 7");
}

/*---------------------------------------------------------------------------*/

TEST(Quaternion, StorageAndAxisAngle)
{
    static_assert(sizeof(Quaternion) == 16 && std::is_trivially_copyable<Quaternion>::value, "layout");

    Quaternion id;
    EXPECT_EQ(id[3], 1.0f);
    EXPECT_EQ(id.x(), 0.0f);

    Quaternion q;
    q.setValueAsAxisDeg(0, 0, 2, 90);      // the axis need not be unit
    EXPECT_NEAR(q[0], 0, 1e-7);
    EXPECT_NEAR(q[2], std::sqrt(0.5), 1e-6);
    EXPECT_NEAR(q.w(), std::sqrt(0.5), 1e-6);

    Vec3f  axis;
    Real32 angle;
    q.getValueAsAxisDeg(axis, angle);
    EXPECT_TRUE(near3(axis, Vec3f(0, 0, 1)));
    EXPECT_NEAR(angle, 90, 1e-4);

    Quaternion r(Vec3f(1, 1, 0), 1.2f);
    r.getValueAsAxisRad(axis, angle);
    EXPECT_TRUE(near3(axis, Vec3f(std::sqrt(0.5f), std::sqrt(0.5f), 0)));
    EXPECT_NEAR(angle, 1.2f, 1e-5);

    q.setValueAsAxisRad(0, 0, 1e-8f, 1);   // no usable axis
    EXPECT_EQ(q, Quaternion());
    Quaternion().getValueAsAxisRad(axis, angle);
    EXPECT_EQ(axis, Vec3f(0, 0, 1));
    EXPECT_EQ(angle, 0.0f);
}

TEST(Quaternion, MatrixAndVectorAgreeWithHandMadeRotations)
{
    Quaternion qz(Vec3f(0, 0, 1), Real32(Pi / 2));
    Matrix     m = rotationOf(qz);
    EXPECT_TRUE(nearM(m, rotZ(Real32(Pi / 2))));
    EXPECT_NEAR(m[0][1], 1, 1e-6);          // m[0][1] = 2(xy + zw)

    Vec3f v;
    qz.multVec(Vec3f(1, 0, 0), v);
    EXPECT_TRUE(near3(v, Vec3f(0, 1, 0)));

    // getValuesOnly keeps the translation, getValue does not.
    Matrix t;
    t.setTranslate(5, 6, 7);
    qz.getValuesOnly(t);
    EXPECT_EQ(t[3][0], 5.0f);
    qz.getValue(t);
    EXPECT_EQ(t[3][0], 0.0f);

    std::mt19937 rng(7);
    std::uniform_real_distribution<Real32> u(-1, 1);
    for(int i = 0; i < 100; ++i)
    {
        Quaternion q(Vec3f(u(rng), u(rng), u(rng) + 1.5f), 3 * u(rng));
        Vec3f      in(u(rng), u(rng), u(rng)), viaQ, viaM;
        q.multVec(in, viaQ);
        rotationOf(q).multMatrixVec(in, viaM);
        ASSERT_TRUE(near3(viaQ, viaM));

        Quaternion back(rotationOf(q));     // matrix -> quaternion, q or -q
        ASSERT_TRUE(nearM(rotationOf(back), rotationOf(q)));
        ASSERT_NEAR(back.length(), 1, 1e-6);
    }
    // Half turns take the non-trace branches.
    for(const Vec3f &axis : { Vec3f(1, 0, 0), Vec3f(0, 1, 0), Vec3f(0, 0, 1), Vec3f(1, -1, 1) })
    {
        Quaternion half(axis, Real32(Pi));
        Quaternion back(rotationOf(half));
        EXPECT_TRUE(nearM(rotationOf(back), rotationOf(half))) << axis;
    }
}

TEST(Quaternion, MultOrderAndNormalisation)
{
    Quaternion a(Vec3f(0, 0, 1), Real32(Pi / 2));      // about z
    Quaternion b(Vec3f(1, 0, 0), Real32(Pi / 2));      // about x

    // a.mult(b): b acts first. (0,0,1) -x-> (0,-1,0) -z-> (1,0,0).
    Quaternion ab = a;
    ab.mult(b);
    Vec3f v;
    ab.multVec(Vec3f(0, 0, 1), v);
    EXPECT_TRUE(near3(v, Vec3f(1, 0, 0)));
    EXPECT_TRUE(nearM(rotationOf(ab), product(rotationOf(a), rotationOf(b))));

    // multLeft: a acts first. (0,0,1) -z-> (0,0,1) -x-> (0,-1,0).
    Quaternion ba = a;
    ba.multLeft(b);
    ba.multVec(Vec3f(0, 0, 1), v);
    EXPECT_TRUE(near3(v, Vec3f(0, -1, 0)));

    Quaternion op = a;
    op *= b;
    EXPECT_EQ(op, ab);

    // Both normalise.
    Quaternion big;
    big.setValueAsQuat(0, 0, 2, 2);
    big.mult(Quaternion());
    EXPECT_NEAR(big.length(), 1, 1e-6);
    big.setValueAsQuat(0, 0, 2, 2);
    big.multLeft(Quaternion());
    EXPECT_NEAR(big.length(), 1, 1e-6);

    Quaternion inv = a.inverse();
    inv.mult(a);
    EXPECT_EQ(inv, Quaternion());
}

TEST(Quaternion, EulerOrderIsXThenYThenZ)
{
    const Real32 ax = 0.3f, ay = -0.7f, az = 1.1f;
    Quaternion q;
    q.setValue(ax, ay, az);
    Matrix expected = product(rotZ(az), product(rotY(ay), rotX(ax)));
    EXPECT_TRUE(nearM(rotationOf(q), expected));

    q.setValue(0, 0, Real32(Pi / 2));
    EXPECT_TRUE(nearM(rotationOf(q), rotZ(Real32(Pi / 2))));
}

TEST(Quaternion, FromToAndSlerp)
{
    Vec3f v;
    Quaternion ft(Vec3f(1, 0, 0), Vec3f(0, 2, 0));
    ft.multVec(Vec3f(1, 0, 0), v);
    EXPECT_TRUE(near3(v, Vec3f(0, 1, 0)));
    Quaternion opposite(Vec3f(0, 0, 1), Vec3f(0, 0, -3));
    opposite.multVec(Vec3f(0, 0, 1), v);
    EXPECT_TRUE(near3(v, Vec3f(0, 0, -1)));
    EXPECT_EQ(Quaternion(Vec3f(1, 2, 3), Vec3f(2, 4, 6)), Quaternion());

    Quaternion rz90(Vec3f(0, 0, 1), Real32(Pi / 2));
    Quaternion half = Quaternion::slerp(Quaternion(), rz90, 0.5f);
    EXPECT_EQ(half, Quaternion(Vec3f(0, 0, 1), Real32(Pi / 4)));
    EXPECT_EQ(Quaternion::slerp(Quaternion(), rz90, 0.0f), Quaternion());
    EXPECT_EQ(Quaternion::slerp(Quaternion(), rz90, 1.0f), rz90);

    // -q is the same rotation; slerp must take the short way.
    Quaternion negated;
    negated.setValueAsQuat(-rz90[0], -rz90[1], -rz90[2], -rz90[3]);
    Quaternion mid = Quaternion::slerp(Quaternion(), negated, 0.5f);
    EXPECT_TRUE(nearM(rotationOf(mid), rotZ(Real32(Pi / 4))));

    std::ostringstream os;
    os << Quaternion();
    EXPECT_EQ(os.str(), "0, 0, 0, 1");
}

/*---------------------------------------------------------------------------*/

TEST(Matrix, StorageAndValueOrder)
{
    static_assert(sizeof(Matrix) == 64 && std::is_trivially_copyable<Matrix>::value, "layout");

    Matrix m(1, 2, 3, 4,
             5, 6, 7, 8,
             9, 10, 11, 12,
             13, 14, 15, 16);
    EXPECT_EQ(m[0][1], 5.0f);     // column 0, row 1
    EXPECT_EQ(m[3][0], 4.0f);     // translation x
    EXPECT_EQ(m.getValues()[1], 5.0f);
    EXPECT_EQ(m.getValues()[12], 4.0f);

    Matrix t;
    t.setValueTransposed(1, 5, 9, 13,  2, 6, 10, 14,  3, 7, 11, 15,  4, 8, 12, 16);
    EXPECT_EQ(t, m);
    Matrix fromArray;
    fromArray.setValue(m.getValues());                 // column by column by default
    EXPECT_EQ(fromArray, m);
    const Real32 rows[16] = { 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16 };
    fromArray.setValue(rows, false);
    EXPECT_EQ(fromArray, m);

    Matrix tr = m;
    tr.transpose();
    EXPECT_EQ(tr[1][0], 5.0f);
    EXPECT_EQ(Matrix::identity(), Matrix());

    // The part setters touch only their part.
    Matrix parts = m;
    parts.setTranslate(Vec3f(-1, -2, -3));
    EXPECT_EQ(parts[3], Vec4f(-1, -2, -3, 16));
    EXPECT_EQ(parts[0], m[0]);
    parts = m;
    parts.setScale(7);
    EXPECT_EQ(parts[1], Vec4f(2, 7, 10, 14));
    parts = m;
    parts.setRotate(Quaternion());
    EXPECT_EQ(parts[0], Vec4f(1, 0, 0, 13));
    EXPECT_EQ(parts[3], m[3]);
}

TEST(Matrix, MultOrder)
{
    Matrix translate, scale;
    translate.setTranslate(1, 0, 0);
    scale.setScale(2);

    Matrix a = translate;
    a.mult(scale);                // a = T * S: scale first
    Pnt3f p;
    a.multMatrixPnt(Pnt3f(1, 1, 1), p);
    EXPECT_EQ(p, Pnt3f(3, 2, 2));
    EXPECT_TRUE(nearM(a, product(translate, scale)));

    Matrix b = translate;
    b.multLeft(scale);            // b = S * T: translate first
    b.multMatrixPnt(Pnt3f(1, 1, 1), p);
    EXPECT_EQ(p, Pnt3f(4, 2, 2));

    Vec3f v;
    a.multMatrixVec(Vec3f(1, 1, 1), v);      // no translation for vectors
    EXPECT_EQ(v, Vec3f(2, 2, 2));
    a.mult(Vec3f(1, 0, 0), v);
    EXPECT_EQ(v, Vec3f(2, 0, 0));
    Pnt3f q(1, 1, 1);
    a.mult3x3(q, q);
    EXPECT_EQ(q, Pnt3f(2, 2, 2));

    Vec4f v4;
    a.multMatrixVec(Vec4f(1, 1, 1, 1), v4);
    EXPECT_EQ(v4, Vec4f(3, 2, 2, 1));

    // Projective: divide by w; w = 0 gives the origin.
    Matrix proj(1, 0, 0, 0,
                0, 1, 0, 0,
                0, 0, 1, 0,
                0, 0, -1, 0);
    proj.multFullMatrixPnt(Pnt3f(2, 4, -2), p);
    EXPECT_EQ(p, Pnt3f(1, 2, -1));
    proj.multFull(Pnt3f(2, 4, 0), p);
    EXPECT_EQ(p, Pnt3f(0, 0, 0));
}

TEST(Matrix, DeterminantAndInverse)
{
    Matrix d(2, 0, 0, 0,  0, 3, 0, 0,  0, 0, 4, 0,  0, 0, 0, 1);
    EXPECT_EQ(d.det(), 24.0f);
    EXPECT_EQ(d.det3(), 24.0f);
    Matrix swap(0, 1, 0, 0,  1, 0, 0, 0,  0, 0, 1, 0,  0, 0, 0, 1);
    EXPECT_EQ(swap.det(), -1.0f);

    std::mt19937 rng(11);
    std::uniform_real_distribution<Real32> u(-2, 2);
    for(int i = 0; i < 200; ++i)
    {
        Matrix m;
        for(UInt32 c = 0; c < 4; ++c)
            for(UInt32 r = 0; r < 4; ++r)
                m[c][r] = u(rng) + (c == r ? 3.0f : 0.0f);
        Matrix inv;
        ASSERT_TRUE(m.inverse(inv));
        ASSERT_TRUE(nearM(product(m, inv), Matrix(), 1e-4f)) << m;
        ASSERT_TRUE(nearM(product(inv, m), Matrix(), 1e-4f)) << m;

        Matrix inv3;
        ASSERT_TRUE(m.inverse3(inv3));
        Matrix m3 = m;
        m3[3] = Vec4f(0, 0, 0, 1);
        for(UInt32 c = 0; c < 3; ++c)
            m3[c][3] = 0;
        ASSERT_TRUE(nearM(product(m3, inv3), Matrix(), 1e-4f));
    }

    Matrix affine;
    affine.setTransform(Vec3f(1, 2, 3), Quaternion(Vec3f(1, 1, 1), 0.5f), Vec3f(2, 3, 4));
    Matrix inv = affine;
    EXPECT_TRUE(inv.invert());
    inv.mult(affine);
    EXPECT_TRUE(nearM(inv, Matrix()));
    Matrix from;
    EXPECT_TRUE(from.invertFrom(affine));
    from.multLeft(affine);
    EXPECT_TRUE(nearM(from, Matrix()));
}

TEST(Matrix, SingularInverseGivesIdentityAndFalse)
{
    Matrix flat;
    flat.setScale(1, 1, 0);
    Matrix result = flat;
    result[3][0] = 9;
    EXPECT_FALSE(flat.inverse(result));
    EXPECT_EQ(result, Matrix());

    Matrix m = flat;
    EXPECT_FALSE(m.invert());
    EXPECT_EQ(m, Matrix());
    EXPECT_FALSE(m.invertFrom(flat));
    EXPECT_EQ(m, Matrix());
    EXPECT_FALSE(flat.inverse3(result));
    EXPECT_EQ(result, Matrix());

    // The test is on |det| < 1E-30, not on exact zero.
    Matrix tiny;
    tiny.setScale(1e-11f);
    EXPECT_FALSE(tiny.invert());
    Matrix small;
    small.setScale(1e-9f);       // det 1e-27
    EXPECT_TRUE(small.invert());
    EXPECT_NEAR(small[0][0], 1e9f, 1e3f);
}

TEST(Matrix, SetTransformComponents)
{
    Quaternion rz90(Vec3f(0, 0, 1), Real32(Pi / 2));

    // The five-argument form: T(t) T(c) R S T(-c).
    Matrix m;
    m.setTransform(Vec3f(1, 2, 3), rz90, Vec3f(2, 2, 2), Quaternion(), Vec3f(1, 0, 0));
    EXPECT_TRUE(near3(Vec3f(m[3][0], m[3][1], m[3][2]), Vec3f(2, 0, 3)));
    EXPECT_EQ(m[3][3], 1.0f);
    Matrix expected3 = rotZ(Real32(Pi / 2));
    expected3.scale(2);
    for(UInt32 c = 0; c < 3; ++c)
        for(UInt32 r = 0; r < 3; ++r)
            EXPECT_NEAR(m[c][r], expected3[c][r], 1e-6) << c << "," << r;
    EXPECT_EQ(m[0][3], 0.0f);

    // The centre stays fixed under rotation and scale.
    Matrix aboutC;
    aboutC.setTransform(Vec3f(0, 0, 0), rz90, Vec3f(3, 3, 3), Quaternion(), Vec3f(1, 1, 0));
    Pnt3f p;
    aboutC.multMatrixPnt(Pnt3f(1, 1, 0), p);
    EXPECT_EQ(p, Pnt3f(1, 1, 0));

    // Scale orientation: scaling x in a frame turned 90 deg about z scales world y.
    Matrix so;
    so.setTransform(Vec3f(0, 0, 0), Quaternion(), Vec3f(5, 1, 1), rz90);
    Vec3f v;
    so.multMatrixVec(Vec3f(0, 1, 0), v);
    EXPECT_TRUE(near3(v, Vec3f(0, 5, 0)));
    so.multMatrixVec(Vec3f(1, 0, 0), v);
    EXPECT_TRUE(near3(v, Vec3f(1, 0, 0)));

    // The short forms are products of the parts.
    Matrix trs;
    trs.setTransform(Vec3f(1, 2, 3), rz90, Vec3f(1, 2, 3));
    Matrix t, s;
    t.setTranslate(1, 2, 3);
    s.setScale(1, 2, 3);
    EXPECT_TRUE(nearM(trs, product(t, product(rotationOf(rz90), s))));
    Matrix tr;
    tr.setTransform(Vec3f(1, 2, 3), rz90);
    EXPECT_TRUE(nearM(tr, product(t, rotationOf(rz90))));
    Matrix only;
    only.setTransform(Vec3f(4, 5, 6));
    EXPECT_EQ(only[3], Vec4f(4, 5, 6, 1));
    EXPECT_EQ(only[0], Vec4f(1, 0, 0, 0));
}

TEST(Matrix, GetTransformRebuildsTheMatrix)
{
    std::mt19937 rng(5);
    std::uniform_real_distribution<Real32> u(-1, 1);
    for(int i = 0; i < 300; ++i)
    {
        Vec3f t(5 * u(rng), 5 * u(rng), 5 * u(rng));
        Quaternion r(Vec3f(u(rng), u(rng), u(rng) + 1.5f), 3 * u(rng));
        Quaternion so(Vec3f(u(rng) + 1.5f, u(rng), u(rng)), 3 * u(rng));
        Vec3f s(0.2f + 2 * std::fabs(u(rng)), 0.2f + 2 * std::fabs(u(rng)), 0.2f + 2 * std::fabs(u(rng)));
        if(i % 3 == 0)
            s[i % 2] = -s[i % 2];                       // a mirror
        if(i % 7 == 0)
            s = Vec3f(s[0], s[0], s[0]);                // repeated scale factors
        Vec3f c(u(rng), u(rng), u(rng));

        Matrix m;
        m.setTransform(t, r, s, so);
        Vec3f tg, sg;
        Quaternion rg, sog;
        m.getTransform(tg, rg, sg, sog);
        Matrix rebuilt;
        rebuilt.setTransform(tg, rg, sg, sog);
        ASSERT_TRUE(nearM(rebuilt, m, 2e-5f)) << "case " << i;
        ASSERT_TRUE(near3(tg, t));
        ASSERT_NEAR(rg.length(), 1, 1e-5);
        ASSERT_NEAR(sog.length(), 1, 1e-5);
        ASSERT_NEAR(std::fabs(sg[0] * sg[1] * sg[2]), std::fabs(s[0] * s[1] * s[2]), 1e-4);

        // With a centre: the translation found is the one that was set.
        m.setTransform(t, r, s, so, c);
        m.getTransform(tg, rg, sg, sog, c);
        rebuilt.setTransform(tg, rg, sg, sog, c);
        ASSERT_TRUE(nearM(rebuilt, m, 2e-5f)) << "case " << i;
        ASSERT_TRUE(near3(tg, t, 2e-5f));
    }

    // A rigid motion has unit scale (up to sign) and the rotation that was set.
    Quaternion r(Vec3f(1, 2, 3), 0.8f);
    Matrix rigid;
    rigid.setTransform(Vec3f(1, 2, 3), r);
    Vec3f t, s;
    Quaternion rg, so;
    rigid.getTransform(t, rg, s, so);
    EXPECT_TRUE(near3(Vec3f(std::fabs(s[0]), std::fabs(s[1]), std::fabs(s[2])), Vec3f(1, 1, 1)));
    EXPECT_TRUE(nearM(rotationOf(rg), rotationOf(r)));

    // A singular matrix still decomposes into something that rebuilds it.
    Matrix flat;
    flat.setTransform(Vec3f(0, 0, 0), r, Vec3f(2, 0, 1));
    flat.getTransform(t, rg, s, so);
    Matrix rebuilt;
    rebuilt.setTransform(t, rg, s, so);
    EXPECT_TRUE(nearM(rebuilt, flat));
}
