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

UInt16 halfBits(float f)
{
    return Real16(f).bits();
}

// For vectors, points and matrices alike.
template <class T>
::testing::AssertionResult near(const T &a, const T &b, Real32 tol = 1e-5f)
{
    if(a.equals(b, tol))
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "\n" << a << "\n!=\n" << b;
}

// Rotation about axis 0, 1 or 2 written out by hand, independent of the quaternion code.
Matrix rot(UInt32 axis, Real32 a)
{
    const UInt32 i = (axis + 1) % 3, j = (axis + 2) % 3;
    Matrix       m;
    m[i][i] = m[j][j] = std::cos(a);
    m[i][j] = std::sin(a);
    m[j][i] = -std::sin(a);
    return m;
}

Matrix product(const Matrix &a, const Matrix &b)
{
    Matrix r;
    for(UInt32 c = 0; c < 4; ++c)
        for(UInt32 row = 0; row < 4; ++row)
        {
            r[c][row] = 0;
            for(UInt32 k = 0; k < 4; ++k)
                r[c][row] += a[k][row] * b[c][k];
        }
    return r;
}

Matrix rotationOf(const Quaternion &q)
{
    Matrix m;
    q.getValue(m);
    return m;
}

Matrix translation(const Vec3f &t)
{
    Matrix m;
    m.setTranslate(t);
    return m;
}

Matrix scaling(Real32 x, Real32 y, Real32 z)
{
    Matrix m;
    m.setScale(x, y, z);
    return m;
}

} // namespace

/*---------------------------------------------------------------------------*/

TEST(Real16, RoundsToNearestEvenThroughSubnormalsAndOverflow)
{
    const float tiny = std::ldexp(1.0f, -24);       // smallest subnormal
    const float e11  = std::ldexp(1.0f, -11);       // half a unit in the last place of 1
    const struct { float in; UInt16 bits; } cases[] = {
        { 1.0f, 0x3C00 }, { -2.0f, 0xC000 }, { -0.0f, 0x8000 },
        { 1 + e11, 0x3C00 }, { 1 + 3 * e11, 0x3C02 },      // halfway: to the even mantissa
        { 1 + e11 + std::ldexp(1.0f, -20), 0x3C01 }, { 2 - std::ldexp(1.0f, -12), 0x4000 },  // carry
        { 65519.0f, 0x7BFF }, { 65520.0f, 0x7C00 },     // halfway to 65536: infinity is the even one
        { -1e10f, 0xFC00 }, { INFINITY, 0x7C00 }, { FLT_MIN / 4, 0x0000 },
        { tiny * 0.5f, 0x0000 }, { tiny * 0.75f, 0x0001 }, { tiny * 1.5f, 0x0002 },
        { tiny * 2.5f, 0x0002 }, { -3 * tiny, 0x8003 },
        { std::ldexp(1.0f, -14) - std::ldexp(1.0f, -25), 0x0400 },   // up into the smallest normal
    };
    for(const auto &c : cases)
        EXPECT_EQ(halfBits(c.in), c.bits) << c.in;

    EXPECT_TRUE(Real16(NAN).isNan());
}

TEST(Real16, EveryHalfSurvivesARoundTrip)
{
    for(UInt32 bits = 0; bits < 0x10000; ++bits)
    {
        Real16 h = Real16::fromBits(UInt16(bits));
        if(h.isNan())
            ASSERT_TRUE(std::isnan(float(h)) && Real16(float(h)).isNan());
        else
            ASSERT_EQ(Real16(float(h)).bits(), bits) << "value " << float(h);
    }
}

#if defined(__FLT16_MAX__)
TEST(Real16, MatchesTheCompilersHalfConversion)
{
    std::mt19937 rng(99);
    for(int i = 0; i < 200000; ++i)
    {
        // Random bit patterns cover every exponent, subnormals and specials alike.
        UInt32 bits = UInt32(rng());
        float  f;
        std::memcpy(&f, &bits, sizeof(f));
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

TEST(Scalars, TextAndEdgeCases)
{
    EXPECT_EQ(TypeTraits<UInt32>::getFromString("0x10"), 16u);
    EXPECT_EQ(TypeTraits<Int8>::getFromString(NULL), 0);
    EXPECT_TRUE(TypeTraits<bool>::getFromString("TRUE"));
    EXPECT_EQ(TypeTraits<Real32>::getMin(), FLT_MIN);   // smallest positive normal, not -max
    for(Real32 v : { 0.1f, 1.0f / 3.0f, 1e-30f, 123456.78f })    // real text reads back exactly
        EXPECT_EQ(TypeTraits<Real32>::getFromString(TypeTraits<Real32>::putToString(v).c_str()), v);
    EXPECT_EQ(TypeTraits<Real64>::getFromString(TypeTraits<Real64>::putToString(0.1).c_str()), 0.1);

    EXPECT_FALSE(std::isnan(osgacos(1.0000001f)));      // rounding overshoot is clamped
    EXPECT_FALSE(osgispower2(0));
    EXPECT_EQ(osgnextpower2(65), 128u);
}

/*---------------------------------------------------------------------------*/

TEST(Vector, LayoutConversionArithmeticAndText)
{
    static_assert(sizeof(Pnt3f) == 12 && sizeof(Vec4ub) == 4 && sizeof(Color3f) == 12, "layout");
    static_assert(std::is_trivially_copyable<Pnt3f>::value, "memcpy-safe");
    static_assert(std::is_same<decltype(Pnt3f() - Pnt3f()), Vec3f>::value, "point - point");
    static_assert(std::is_same<decltype(Pnt3f() + Vec3f()), Pnt3f>::value, "point + vector");

    EXPECT_EQ(Vec4f(Vec2f(1, 2)), Vec4f(1, 2, 0, 0));
    EXPECT_EQ(Vec2f(Vec4f(1, 2, 3, 4)), Vec2f(1, 2));
    Vec4f target(9, 9, 9, 9);
    target.setValue(Vec2f(1, 2));
    EXPECT_EQ(target, Vec4f(1, 2, 9, 9));          // setValue leaves the rest
    Vec3f s;
    s.setValue("1.5, -2 3e1");
    EXPECT_EQ(s, Vec3f(1.5f, -2, 30));

    Vec3f x(1, 0, 0), y(0, 1, 0), z(0, 0, 1);
    EXPECT_EQ(x % y, z);                 // right-handed
    EXPECT_EQ(z.cross(x), y);
    EXPECT_EQ(Pnt3f(1, 2, 3).dist(Pnt3f(4, 6, 3)), 5.0f);
    EXPECT_NEAR(x.enclosedAngle(Vec3f(1, 1, 0)), Pi / 4, 1e-6);
    Vec3f n(3, 0, 4), shortV(1e-7f, 0, 0);
    n.normalize();
    shortV.normalize();
    EXPECT_EQ(n, Vec3f(0.6f, 0, 0.8f));
    EXPECT_EQ(shortV[0], 1e-7f);          // shorter than Eps: unchanged
    EXPECT_EQ(Vec3ub(200, 100, 50) - Vec3ub(100, 100, 100), Vec3ub(100, 0, 206));   // byte wrap

    // Reals compare with a tolerance, integers exactly; sorting is lexicographic.
    EXPECT_EQ(Vec3f(1, 2, 3), Vec3f(1 + 5e-7f, 2, 3));
    EXPECT_NE(Vec3f(1, 2, 3), Vec3f(1 + 5e-6f, 2, 3));
    EXPECT_NE(Vec3ub(1, 2, 3), Vec3ub(1, 2, 4));
    std::vector<Pnt2f> pts = { Pnt2f(2, 1), Pnt2f(1, 5), Pnt2f(1, 2), Pnt2f(2, 0) };
    std::sort(pts.begin(), pts.end());
    EXPECT_EQ(pts, (std::vector<Pnt2f>{ Pnt2f(1, 2), Pnt2f(1, 5), Pnt2f(2, 0), Pnt2f(2, 1) }));
    EXPECT_FALSE(Pnt2f(1, 2) < Pnt2f(1, 2));

    std::ostringstream os;
    os << Vec3f(1, 2.5f, -3) << "|" << Vec4ub(1, 2, 3, 255) << "|" << Vec3b(-1, 0, 1) << "|"
       << Color4f(1, 0.5f, 0, 1) << "|" << Quaternion();
    EXPECT_EQ(os.str(), "1, 2.5, -3|1, 2, 3, 255|-1, 0, 1|1, 0.5, 0, 1|0, 0, 0, 1");
}

TEST(Vector, NullPointersGiveNeutralValuesAndAWarning)
{
    LogCapture capture;
    EXPECT_EQ(Vec3f(0), Vec3f::Null);       // the origin, not a crash
    Matrix m = scaling(2, 2, 2);
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

TEST(Color, PackingAndHsv)
{
    Color3ub c;
    c.setRGB(0x102030);
    EXPECT_EQ(c, Color3ub(0x10, 0x20, 0x30));
    Color4ub c4;
    c4.setRGBA(0x11223344);
    EXPECT_EQ(c4.alpha(), 0x44);
    EXPECT_EQ(c4.getRGBA(), 0x11223344u);
    Color3f f;
    f.setRGB(0xFF8000);
    EXPECT_TRUE(near(f, Color3f(1, 128.f / 255.f, 0), 1e-6f));

    Color3f hsv;
    hsv.setValuesHSV(240, 0.5f, 0.8f);
    EXPECT_EQ(hsv, Color3f(0.4f, 0.4f, 0.8f));
    Real32 h, s, v;
    hsv.getValuesHSV(h, s, v);
    EXPECT_TRUE(near(Vec3f(h, s, v), Vec3f(240, 0.5f, 0.8f), 1e-4f));
    Color3ub red;
    red.setValuesHSV(0, 1, 1);
    EXPECT_EQ(red, Color3ub(255, 0, 0));
    EXPECT_NE(Color4f(1, 0.5f, 0, 1), Color4f(1, 0.5f, 0, 0.9f));     // alpha counts
}

/*---------------------------------------------------------------------------*/

TEST(Quaternion, StorageAndAxisAngle)
{
    static_assert(sizeof(Quaternion) == 16 && std::is_trivially_copyable<Quaternion>::value, "layout");
    Quaternion q;
    q.setValueAsAxisDeg(0, 0, 2, 90);      // the axis need not be unit; w is stored last
    EXPECT_TRUE(near(Vec4f(q[0], q[1], q[2], q[3]), Vec4f(0, 0, std::sqrt(0.5f), std::sqrt(0.5f)), 1e-6f));
    Vec3f  axis;
    Real32 angle;
    q.getValueAsAxisDeg(axis, angle);
    EXPECT_TRUE(near(axis, Vec3f(0, 0, 1)));
    EXPECT_NEAR(angle, 90, 1e-4);
    Quaternion(Vec3f(1, 1, 0), 1.2f).getValueAsAxisRad(axis, angle);
    EXPECT_TRUE(near(axis, Vec3f(std::sqrt(0.5f), std::sqrt(0.5f), 0)));
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
    EXPECT_TRUE(near(rotationOf(qz), rot(2, Real32(Pi / 2))));
    EXPECT_NEAR(rotationOf(qz)[0][1], 1, 1e-6);          // m[0][1] = 2(xy + zw)

    // getValuesOnly keeps the translation, getValue does not.
    Matrix t = translation(Vec3f(5, 6, 7));
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
        ASSERT_TRUE(near(viaQ, viaM));
        Quaternion back(rotationOf(q));     // matrix -> quaternion, q or -q
        ASSERT_TRUE(near(rotationOf(back), rotationOf(q)));
        ASSERT_NEAR(back.length(), 1, 1e-6);
    }
    // Half turns take the non-trace branches.
    for(const Vec3f &axis : { Vec3f(1, 0, 0), Vec3f(0, 1, 0), Vec3f(0, 0, 1), Vec3f(1, -1, 1) })
    {
        Quaternion half(axis, Real32(Pi));
        EXPECT_TRUE(near(rotationOf(Quaternion(rotationOf(half))), rotationOf(half))) << axis;
    }
}

TEST(Quaternion, MultOrderEulerOrderAndNormalisation)
{
    Quaternion a(Vec3f(0, 0, 1), Real32(Pi / 2));      // about z
    Quaternion b(Vec3f(1, 0, 0), Real32(Pi / 2));      // about x

    // a.mult(b): b acts first. (0,0,1) -x-> (0,-1,0) -z-> (1,0,0).
    Quaternion ab = a, op = a, ba = a;
    ab.mult(b);
    op *= b;
    Vec3f v;
    ab.multVec(Vec3f(0, 0, 1), v);
    EXPECT_TRUE(near(v, Vec3f(1, 0, 0)));
    EXPECT_TRUE(near(rotationOf(ab), product(rotationOf(a), rotationOf(b))));
    EXPECT_EQ(op, ab);
    // multLeft: a acts first. (0,0,1) -z-> (0,0,1) -x-> (0,-1,0).
    ba.multLeft(b);
    ba.multVec(Vec3f(0, 0, 1), v);
    EXPECT_TRUE(near(v, Vec3f(0, -1, 0)));

    for(bool left : { false, true })        // both normalise
    {
        Quaternion big;
        big.setValueAsQuat(0, 0, 2, 2);
        left ? big.multLeft(Quaternion()) : big.mult(Quaternion());
        EXPECT_NEAR(big.length(), 1, 1e-6) << left;
    }
    Quaternion inv = a.inverse();
    inv.mult(a);
    EXPECT_EQ(inv, Quaternion());

    // Euler angles act x first, then y, then z.
    Quaternion e;
    e.setValue(0.3f, -0.7f, 1.1f);
    EXPECT_TRUE(near(rotationOf(e), product(rot(2, 1.1f), product(rot(1, -0.7f), rot(0, 0.3f)))));
}

TEST(Quaternion, FromToAndSlerp)
{
    Vec3f v;
    Quaternion(Vec3f(1, 0, 0), Vec3f(0, 2, 0)).multVec(Vec3f(1, 0, 0), v);
    EXPECT_TRUE(near(v, Vec3f(0, 1, 0)));
    Quaternion(Vec3f(0, 0, 1), Vec3f(0, 0, -3)).multVec(Vec3f(0, 0, 1), v);     // opposite
    EXPECT_TRUE(near(v, Vec3f(0, 0, -1)));
    EXPECT_EQ(Quaternion(Vec3f(1, 2, 3), Vec3f(2, 4, 6)), Quaternion());

    Quaternion rz90(Vec3f(0, 0, 1), Real32(Pi / 2));
    EXPECT_EQ(Quaternion::slerp(Quaternion(), rz90, 0.5f), Quaternion(Vec3f(0, 0, 1), Real32(Pi / 4)));
    EXPECT_EQ(Quaternion::slerp(Quaternion(), rz90, 0.0f), Quaternion());
    EXPECT_EQ(Quaternion::slerp(Quaternion(), rz90, 1.0f), rz90);
    // -q is the same rotation; slerp must take the short way.
    Quaternion negated;
    negated.setValueAsQuat(-rz90[0], -rz90[1], -rz90[2], -rz90[3]);
    EXPECT_TRUE(near(rotationOf(Quaternion::slerp(Quaternion(), negated, 0.5f)), rot(2, Real32(Pi / 4))));
}

TEST(Quaternion, MultVecDoesNotNormaliseAndFromToSnapsAsOpenSG)
{
    Vec3f      v;
    Quaternion q;
    q.setValueAsQuat(0, 0, 0, 2);
    q.multVec(Vec3f(1, 2, 3), v);                  // q v q*: scaled by |q|^2
    EXPECT_EQ(v, Vec3f(4, 8, 12));
    q.setValueAsQuat(0, 0, 1, 1);                  // 90 degrees about z, |q|^2 = 2
    q.multVec(Vec3f(1, 0, 0), v);
    EXPECT_TRUE(near(v, Vec3f(0, 2, 0)));

    // Parallel below a cosine of 0.99999: 1 - 8e-6 is, 1 - 1.25e-5 is not.
    EXPECT_EQ(Quaternion(Vec3f(1, 0, 0), Vec3f(1, 0.004f, 0)), Quaternion());
    Quaternion small(Vec3f(1, 0, 0), Vec3f(1, 0.005f, 0));
    Vec3f      axis;
    Real32     angle;
    small.getValueAsAxisRad(axis, angle);
    EXPECT_TRUE(near(axis, Vec3f(0, 0, 1)));
    EXPECT_NEAR(angle, std::atan(0.005f), 5e-5f);

    // Opposite and nearly opposite: a half turn about from x (1,0,0), else about from x (0,1,0).
    auto components = [](const Quaternion &r) { return Vec4f(r[0], r[1], r[2], r[3]); };
    const Real32 s = std::sqrt(0.99f), t = std::sqrt(0.01f);
    EXPECT_TRUE(near(components(Quaternion(Vec3f(s, t, 0), Vec3f(-s, -t, 0))), Vec4f(0, 0, -1, 0)));
    EXPECT_TRUE(near(components(Quaternion(Vec3f(1, 0, 0), Vec3f(-1, 0.004f, 0))), Vec4f(0, 0, 1, 0)));
    EXPECT_TRUE(near(components(Quaternion(Vec3f(0, 0, 2), Vec3f(0, 0, -1))), Vec4f(0, 1, 0, 0)));

    // A direction without length gives the identity.
    EXPECT_EQ(Quaternion(Vec3f(0, 0, 0), Vec3f(1, 0, 0)), Quaternion());
    EXPECT_EQ(Quaternion(Vec3f(1, 0, 0), Vec3f(0, 1e-7f, 0)), Quaternion());
    // So does a matrix without scale.
    Matrix zero;
    zero.setScale(0);
    EXPECT_EQ(Quaternion(zero), Quaternion());
}

TEST(Vector, EnclosedAngleSnapsAndProjectTo)
{
    // |cos| beyond 1 - 1e-6 snaps to 0 or pi.
    EXPECT_EQ(Vec3f(1, 0, 0).enclosedAngle(Vec3f(1, 0.001f, 0)), 0.0f);
    EXPECT_EQ(Vec3f(1, 0, 0).enclosedAngle(Vec3f(-1, 0.001f, 0)), Real32(Pi));
    EXPECT_NEAR(Vec3f(1, 0, 0).enclosedAngle(Vec3f(1, 0.002f, 0)), 0.002f, 1e-4f);
    EXPECT_NEAR(Vec3f(2, 0, 0).enclosedAngle(Vec3f(1, 1, 0)), Real32(Pi / 4), 1e-6f);
    EXPECT_EQ(Vec3f(0, 0, 0).enclosedAngle(Vec3f(1, 0, 0)), 0.0f);

    Vec3f v(3, 4, 5);
    EXPECT_EQ(v.projectTo(Vec3f(2, 0, 0)), 1.5f);
    EXPECT_EQ(v, Vec3f(3, 0, 0));
    v.setValues(3, 4, 0);
    EXPECT_EQ(v.projectTo(Vec3f(0, 0, 5)), 0.0f);   // perpendicular: the zero vector
    EXPECT_EQ(v, Vec3f(0, 0, 0));
    v.setValues(3, 4, 0);
    EXPECT_EQ(v.projectTo(Vec3f(0, 0, 0)), 1.0f);   // nothing to project onto: unchanged
    EXPECT_EQ(v, Vec3f(3, 4, 0));
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
    EXPECT_EQ(m.getValues()[12], 4.0f);

    Matrix t;
    t.setValueTransposed(1, 5, 9, 13,  2, 6, 10, 14,  3, 7, 11, 15,  4, 8, 12, 16);
    EXPECT_EQ(t, m);
    t.setValue(m.getValues());                 // column by column by default
    EXPECT_EQ(t, m);
    const Real32 rows[16] = { 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16 };
    t.setValue(rows, false);
    EXPECT_EQ(t, m);
    t.transpose();
    EXPECT_EQ(t[1][0], 5.0f);

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
    const Matrix translate = translation(Vec3f(1, 0, 0)), scale = scaling(2, 2, 2);
    Matrix a = translate, b = translate;
    a.mult(scale);                // a = T * S: scale first
    b.multLeft(scale);            // b = S * T: translate first
    Pnt3f p;
    a.multMatrixPnt(Pnt3f(1, 1, 1), p);
    EXPECT_EQ(p, Pnt3f(3, 2, 2));
    b.multMatrixPnt(Pnt3f(1, 1, 1), p);
    EXPECT_EQ(p, Pnt3f(4, 2, 2));
    EXPECT_TRUE(near(a, product(translate, scale)));

    Vec3f v;
    a.multMatrixVec(Vec3f(1, 1, 1), v);      // no translation for vectors
    EXPECT_EQ(v, Vec3f(2, 2, 2));
    p.setValues(1, 1, 1);
    a.mult3x3(p, p);                         // in place, without translation
    EXPECT_EQ(p, Pnt3f(2, 2, 2));
    Vec4f v4;
    a.multMatrixVec(Vec4f(1, 1, 1, 1), v4);
    EXPECT_EQ(v4, Vec4f(3, 2, 2, 1));

    // Projective: divide by w; at w = 0 multFullMatrixPnt gives the origin, multFull the
    // undivided point.
    Matrix proj(1, 0, 0, 0,
                0, 1, 0, 0,
                0, 0, 1, 0,
                0, 0, -1, 0);
    proj.multFullMatrixPnt(Pnt3f(2, 4, -2), p);
    EXPECT_EQ(p, Pnt3f(1, 2, -1));
    proj.multFull(Pnt3f(2, 4, -2), p);
    EXPECT_EQ(p, Pnt3f(1, 2, -1));
    proj.multFullMatrixPnt(Pnt3f(2, 4, 0), p);
    EXPECT_EQ(p, Pnt3f(0, 0, 0));
    proj.multFull(Pnt3f(2, 4, 0), p);
    EXPECT_EQ(p, Pnt3f(2, 4, 0));

    // mult(Vec4f) is for directions: no translation into x, y, z; w through the bottom row.
    Matrix tw = translation(Vec3f(1, 2, 3));
    tw.setScale(2);
    tw[3][3] = 2;
    tw.mult(Vec4f(1, 1, 1, 3), v4);
    EXPECT_EQ(v4, Vec4f(2, 2, 2, 6));
    tw.multMatrixVec(Vec4f(1, 1, 1, 3), v4);         // the full product, for comparison
    EXPECT_EQ(v4, Vec4f(5, 8, 11, 6));
    proj.mult(Vec4f(2, 4, -2, 1), v4);
    EXPECT_EQ(v4, Vec4f(2, 4, -2, 2));
}

TEST(Matrix, DeterminantAndInverse)
{
    EXPECT_EQ(Matrix(0, 2, 0, 0,  3, 0, 0, 0,  0, 0, 4, 0,  0, 0, 0, 1).det(), -24.0f);
    EXPECT_EQ(Matrix(2, 0, 0, 0,  0, 3, 0, 0,  0, 0, 4, 0,  0, 0, 0, 5).det3(), 24.0f);

    std::mt19937 rng(11);
    std::uniform_real_distribution<Real32> u(-2, 2);
    for(int i = 0; i < 200; ++i)
    {
        Matrix m;
        for(UInt32 c = 0; c < 4; ++c)
            for(UInt32 r = 0; r < 4; ++r)
                m[c][r] = u(rng) + (c == r ? 3.0f : 0.0f);
        Matrix inv, inv3, m3 = m;
        ASSERT_TRUE(m.inverse(inv));
        ASSERT_TRUE(near(product(m, inv), Matrix(), 1e-4f)) << m;
        ASSERT_TRUE(near(product(inv, m), Matrix(), 1e-4f)) << m;
        ASSERT_TRUE(m.inverse3(inv3));          // the upper 3x3 alone
        m3[3] = Vec4f(0, 0, 0, 1);
        m3[0][3] = m3[1][3] = m3[2][3] = 0;
        ASSERT_TRUE(near(product(m3, inv3), Matrix(), 1e-4f));
    }

    Matrix affine;
    affine.setTransform(Vec3f(1, 2, 3), Quaternion(Vec3f(1, 1, 1), 0.5f), Vec3f(2, 3, 4));
    Matrix inv = affine;
    EXPECT_TRUE(inv.invert());
    inv.mult(affine);
    EXPECT_TRUE(near(inv, Matrix()));
    EXPECT_TRUE(inv.invertFrom(affine));
    inv.multLeft(affine);
    EXPECT_TRUE(near(inv, Matrix()));
}

TEST(Matrix, SingularInverseGivesIdentityAndFalse)
{
    const Matrix flat = scaling(1, 1, 0);
    Matrix result = flat;
    EXPECT_FALSE(flat.inverse(result));
    EXPECT_EQ(result, Matrix());
    result = flat;
    EXPECT_FALSE(flat.inverse3(result));
    EXPECT_EQ(result, Matrix());
    result = flat;
    EXPECT_FALSE(result.invert());
    EXPECT_EQ(result, Matrix());
    result = flat;
    EXPECT_FALSE(result.invertFrom(flat));
    EXPECT_EQ(result, Matrix());

    // The test is on |det| < 1E-30, not on exact zero.
    Matrix tiny = scaling(1e-11f, 1e-11f, 1e-11f), small = scaling(1e-9f, 1e-9f, 1e-9f);
    EXPECT_FALSE(tiny.invert());
    EXPECT_TRUE(small.invert());       // det 1e-27
    EXPECT_NEAR(small[0][0], 1e9f, 1e3f);
}

TEST(Matrix, SetTransformComponents)
{
    Quaternion rz90(Vec3f(0, 0, 1), Real32(Pi / 2));
    const Matrix t = translation(Vec3f(1, 2, 3)), r = rotationOf(rz90);

    // The full form: T(t) T(c) R SO S SO^-1 T(-c).
    Quaternion so(Vec3f(1, 0, 0), 0.4f);
    Matrix     m;
    m.setTransform(Vec3f(1, 2, 3), rz90, Vec3f(2, 3, 4), so, Vec3f(1, 0, -1));
    Matrix expected = product(product(t, translation(Vec3f(1, 0, -1))), r);
    expected = product(product(product(expected, rotationOf(so)), scaling(2, 3, 4)), rot(0, -0.4f));
    EXPECT_TRUE(near(m, product(expected, translation(Vec3f(-1, 0, 1))), 1e-5f));

    // Scale orientation: scaling x in a frame turned 90 deg about z scales world y.
    m.setTransform(Vec3f(0, 0, 0), Quaternion(), Vec3f(5, 1, 1), rz90);
    Vec3f v;
    m.multMatrixVec(Vec3f(0, 1, 0), v);
    EXPECT_TRUE(near(v, Vec3f(0, 5, 0)));

    // The short forms are products of the parts.
    m.setTransform(Vec3f(1, 2, 3), rz90, Vec3f(1, 2, 3));
    EXPECT_TRUE(near(m, product(t, product(r, scaling(1, 2, 3)))));
    m.setTransform(Vec3f(1, 2, 3), rz90);
    EXPECT_TRUE(near(m, product(t, r)));
    m.setTransform(Vec3f(1, 2, 3));
    EXPECT_EQ(m, t);
}

TEST(Matrix, GetTransformRebuildsTheMatrix)
{
    std::mt19937 rng(5);
    std::uniform_real_distribution<Real32> u(-1, 1);
    Vec3f      tg, sg;
    Quaternion rg, sog;
    Matrix     m, rebuilt;
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

        m.setTransform(t, r, s, so);
        m.getTransform(tg, rg, sg, sog);
        rebuilt.setTransform(tg, rg, sg, sog);
        ASSERT_TRUE(near(rebuilt, m, 2e-5f)) << "case " << i;
        ASSERT_TRUE(near(tg, t));
        ASSERT_NEAR(rg.length(), 1, 1e-5);
        ASSERT_NEAR(sog.length(), 1, 1e-5);
        ASSERT_NEAR(std::fabs(sg[0] * sg[1] * sg[2]), std::fabs(s[0] * s[1] * s[2]), 1e-4);

        // With a centre: the translation found is the one that was set.
        m.setTransform(t, r, s, so, c);
        m.getTransform(tg, rg, sg, sog, c);
        rebuilt.setTransform(tg, rg, sg, sog, c);
        ASSERT_TRUE(near(rebuilt, m, 2e-5f)) << "case " << i;
        ASSERT_TRUE(near(tg, t, 2e-5f));
    }

    // A rigid motion has unit scale (up to sign) and the rotation that was set.
    Quaternion r(Vec3f(1, 2, 3), 0.8f);
    m.setTransform(Vec3f(1, 2, 3), r);
    m.getTransform(tg, rg, sg, sog);
    EXPECT_TRUE(near(Vec3f(std::fabs(sg[0]), std::fabs(sg[1]), std::fabs(sg[2])), Vec3f(1, 1, 1)));
    EXPECT_TRUE(near(rotationOf(rg), rotationOf(r)));

}

// Hand-derived results of the polar and spectral decomposition (without the canonicalising
// step), where a textbook decomposition would answer differently.
TEST(Matrix, GetTransformOrderAndSignsAsOpenSG)
{
    Vec3f      t, s;
    Quaternion r, so;
    auto decompose = [&](const Matrix &m) { m.getTransform(t, r, s, so); };

    // A scale along turned axes comes back in the order of the diagonal, unturned.
    Quaternion rz90(Vec3f(0, 0, 1), Real32(Pi / 2));
    Matrix     m;
    m.setTransform(Vec3f(4, 5, 6), Quaternion(), Vec3f(1, 2, 3), rz90);
    decompose(m);
    EXPECT_TRUE(near(t, Vec3f(4, 5, 6)));
    EXPECT_TRUE(near(s, Vec3f(2, 1, 3)));
    EXPECT_TRUE(near(Vec4f(so[0], so[1], so[2], so[3]), Vec4f(0, 0, 0, 1)));
    EXPECT_TRUE(near(Vec4f(r[0], r[1], r[2], r[3]), Vec4f(0, 0, 0, 1)));

    // A mirror: the rotation becomes a half turn (-Q) and all three factors turn negative.
    decompose(scaling(-1, 2, 3));
    EXPECT_TRUE(near(s, Vec3f(-1, -2, -3)));
    EXPECT_TRUE(near(Vec4f(r[0], r[1], r[2], r[3]), Vec4f(1, 0, 0, 0)));
    EXPECT_TRUE(near(Vec4f(so[0], so[1], so[2], so[3]), Vec4f(0, 0, 0, 1)));

    // S = [[2 1 0] [1 2 0] [0 0 5]]: one Jacobi rotation in the (0, 1) plane with tangent 1
    // leaves the eigenvalues 1, 3 on the diagonal and turns the axes by -45 degrees about z.
    m = Matrix(2, 1, 0, 0,
               1, 2, 0, 0,
               0, 0, 5, 0,
               0, 0, 0, 1);
    decompose(m);
    EXPECT_TRUE(near(s, Vec3f(1, 3, 5)));
    const Real32 c = std::cos(Real32(Pi / 8)), sn = std::sin(Real32(Pi / 8));
    EXPECT_TRUE(near(Vec4f(so[0], so[1], so[2], so[3]), Vec4f(0, 0, -sn, c)));
    EXPECT_TRUE(near(Vec4f(r[0], r[1], r[2], r[3]), Vec4f(0, 0, 0, 1)));

    // Zero scale along an axis: no rotation can be told, the scale still can.
    m.setTransform(Vec3f(0, 0, 0), Quaternion(), Vec3f(2, 0, 1));
    decompose(m);
    EXPECT_TRUE(near(s, Vec3f(2, 0, 1)));
    EXPECT_EQ(r, Quaternion());
    EXPECT_EQ(so, Quaternion());
    decompose(scaling(0, 0, 0));
    EXPECT_EQ(s, Vec3f(0, 0, 0));
    EXPECT_EQ(r, Quaternion());
}

TEST(Matrix, NormsColumnConstructorsAndText)
{
    Matrix m(1, -2, 3, -4,
             5, -6, 7, -8,
             9, -10, 11, -12,
             13, -14, 15, -16);
    EXPECT_EQ(m.norm1(), 136.0f);                    // the sum of all |entries|
    EXPECT_EQ(m.normInfinity(), 16.0f);              // the largest |entry|
    EXPECT_NEAR(m.norm2(), std::sqrt(1496.0f), 1e-4f);

    // Column constructors from 3-vectors leave the bottom row at 0, m[3][3] included.
    const Matrix three(Vec3f(1, 2, 3), Vec3f(4, 5, 6), Vec3f(7, 8, 9));
    EXPECT_EQ(three[0], Vec4f(1, 2, 3, 0));
    EXPECT_EQ(three[2], Vec4f(7, 8, 9, 0));
    EXPECT_EQ(three[3], Vec4f(0, 0, 0, 0));
    const Matrix four(Vec3f(1, 0, 0), Vec3f(0, 1, 0), Vec3f(0, 0, 1), Vec3f(7, 8, 9));
    EXPECT_EQ(four[3], Vec4f(7, 8, 9, 0));
    // setValue with 3-vectors writes x, y, z only.
    Matrix kept;
    kept.setValue(Vec3f(1, 2, 3), Vec3f(4, 5, 6), Vec3f(7, 8, 9));
    EXPECT_EQ(kept[3], Vec4f(0, 0, 0, 1));

    // Text: column by column by default, row by row on request; blanks, tabs, newlines and
    // commas separate; missing numbers are 0, extra ones ignored; nothing gives the identity.
    Matrix fromText;
    fromText.setValue("1 2 3 4\t5,6,7,8\n9 10 11 12 13 14 15 16 17");
    EXPECT_EQ(fromText[0], Vec4f(1, 2, 3, 4));
    EXPECT_EQ(fromText[3], Vec4f(13, 14, 15, 16));
    fromText.setValue("1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16", false);
    EXPECT_EQ(fromText[0], Vec4f(1, 5, 9, 13));
    EXPECT_EQ(fromText[3], Vec4f(4, 8, 12, 16));
    fromText.setValue("0.5, -2e1,,x 3");
    EXPECT_EQ(fromText[0], Vec4f(0.5f, -20, 0, 3));
    EXPECT_EQ(fromText[3], Vec4f(0, 0, 0, 0));
    fromText.setValue("");
    EXPECT_EQ(fromText, Matrix());
    fromText.setValue(static_cast<const Char8 *>(NULL));
    EXPECT_EQ(fromText, Matrix());
}

TEST(Matrix, InverseThresholdsAndWhatTheThreeByThreeInversesWrite)
{
    // 3x3: |det3| < 1E-20 is singular; 1e-21 is, 1e-19 is not.
    Matrix result;
    EXPECT_FALSE(scaling(1e-7f, 1e-7f, 1e-7f).inverse3(result));
    EXPECT_EQ(result, Matrix());
    ASSERT_TRUE(scaling(1e-6f, 1e-6f, 1e-7f).inverse3(result));
    EXPECT_NEAR(result[2][2], 1e7f, 1.f);

    // inverse3 writes the 3x3 and column 3, not the rest of the bottom row.
    Matrix a = translation(Vec3f(1, 2, 3));
    a.setScale(2, 4, 8);
    result = Matrix(1, 2, 3, 4,  5, 6, 7, 8,  9, 10, 11, 12,  13, 14, 15, 16);
    ASSERT_TRUE(a.inverse3(result));
    EXPECT_EQ(result[0], Vec4f(0.5f, 0, 0, 13));
    EXPECT_EQ(result[1], Vec4f(0, 0.25f, 0, 14));
    EXPECT_EQ(result[3], Vec4f(0, 0, 0, 1));
    // invert3 leaves no trace of the old matrix outside the 3x3.
    Matrix b = a;
    b[0][3] = 5;
    ASSERT_TRUE(b.invert3());
    EXPECT_EQ(b[0], Vec4f(0.5f, 0, 0, 0));
    EXPECT_EQ(b[3], Vec4f(0, 0, 0, 1));

    // A singular 3x3: invert3 keeps the matrix, invertFrom3 and inverse3 give the identity.
    const Matrix flat = scaling(1, 1, 0);
    Matrix keep = flat;
    keep[3][0] = 7;
    EXPECT_FALSE(keep.invert3());
    EXPECT_EQ(keep[3][0], 7.0f);
    EXPECT_EQ(keep[2][2], 0.0f);
    EXPECT_FALSE(keep.invertFrom3(flat));
    EXPECT_EQ(keep, Matrix());

    // 4x4: |det| < 1E-30.
    Matrix r4;
    EXPECT_FALSE(scaling(1e-10f, 1e-10f, 1e-11f).inverse(r4));
    EXPECT_TRUE(scaling(1e-10f, 1e-10f, 1e-9f).inverse(r4));
}
