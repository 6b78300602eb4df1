#include <OpenSG/OSGBoxVolume.h>
#include <OpenSG/OSGDynamicVolume.h>
#include <OpenSG/OSGLog.h>
#include <OpenSG/OSGSphereVolume.h>

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

using namespace osg;

namespace {

const UInt16 Valid  = Volume::OSGVALID;
const UInt16 Empty  = Volume::OSGEMPTY;
const UInt16 Static = Volume::OSGSTATIC;

enum Kind { EmptyBox, PlainBox, StaticBox, InvalidBox, InfiniteBox };

// The cube [lo, hi]^3 in the given state.
BoxVolume cube(Kind kind, Real32 lo = 0, Real32 hi = 1)
{
    BoxVolume b;
    if(kind == EmptyBox)
        return b;
    b.setBounds(Pnt3f(lo, lo, lo), Pnt3f(hi, hi, hi));
    if(kind == StaticBox)
        b.setStatic();
    else if(kind == InvalidBox)
        b.setValid(false);
    else if(kind == InfiniteBox)
        b.setInfinite();
    return b;
}

::testing::AssertionResult bounds(const Volume &v, const Pnt3f &lo, const Pnt3f &hi, Real32 tol = 0)
{
    Pnt3f l, h;
    v.getBounds(l, h);
    for(int i = 0; i < 3; ++i)
        if(!(l[i] == lo[i] || std::fabs(l[i] - lo[i]) <= tol) || !(h[i] == hi[i] || std::fabs(h[i] - hi[i]) <= tol))
            return ::testing::AssertionFailure() << "bounds (" << l << ") (" << h << ")";
    return ::testing::AssertionSuccess();
}

const Pnt3f Zero(0, 0, 0), One(1, 1, 1), Low(NegInf, NegInf, NegInf), High(Inf, Inf, Inf);

} // namespace

TEST(Volume, StateBits)
{
    BoxVolume b;
    EXPECT_EQ(b.getState(), Valid | Empty);
    EXPECT_FALSE(b.isUntouchable());
    b.setInfinite();                        // valid, not empty
    EXPECT_EQ(b.getState(), Valid | Volume::OSGINFINITE);
    EXPECT_TRUE(b.isUntouchable());
    b.setValid(false);
    b.setEmpty();                           // emptying validates and makes finite
    EXPECT_EQ(b.getState(), Valid | Empty);

    b.setStatic();
    b.setValid(false);                      // ignored while static
    EXPECT_TRUE(b.isValid());
    EXPECT_TRUE(b.isUntouchable());
    b.setStatic(false);
    b.setValid(false);
    EXPECT_FALSE(b.isValid());
    EXPECT_TRUE(b.isUntouchable());

    EXPECT_EQ(BoxVolume(0, 0, 0, 1, 1, 1).getState(), Valid);
    b.setBounds(Zero, One);                 // setters validate, clear empty and infinite
    EXPECT_EQ(b.getState(), Valid);
}

TEST(Volume, BoxExtendByHonoursEmptyStaticInvalidAndInfinite)
{
    const struct { Kind target; Pnt3f point, lo, hi; } points[] = {
        { EmptyBox, Pnt3f(1, 2, 3), Pnt3f(1, 2, 3), Pnt3f(1, 2, 3) },   // from empty: the point
        { PlainBox, Pnt3f(-1, 5, 0.5f), Pnt3f(-1, 0, 0), Pnt3f(1, 5, 1) },
        { StaticBox, Pnt3f(5, 5, 5), Zero, One },
        { InvalidBox, Pnt3f(5, 5, 5), Zero, One },
        { InfiniteBox, Pnt3f(5, 5, 5), Low, High },
    };
    for(const auto &c : points)
    {
        BoxVolume b = cube(c.target);
        b.extendBy(c.point);
        EXPECT_TRUE(bounds(b, c.lo, c.hi)) << "target " << c.target;
        EXPECT_FALSE(b.isEmpty());
    }

    const struct { Kind target; BoxVolume source; Pnt3f lo, hi; } volumes[] = {
        { PlainBox, BoxVolume(-1, 0, 0, 0.5f, 3, 1), Pnt3f(-1, 0, 0), Pnt3f(1, 3, 1) },
        { EmptyBox, cube(PlainBox, 2, 3), Pnt3f(2, 2, 2), Pnt3f(3, 3, 3) },   // empty target: a copy
        { PlainBox, cube(EmptyBox), Zero, One },                             // empty source: ignored
        { PlainBox, cube(InvalidBox, -9, 9), Zero, One },
        { StaticBox, cube(PlainBox, 0, 5), Zero, One },
        { InvalidBox, cube(PlainBox, 0, 5), Zero, One },
        { PlainBox, cube(InfiniteBox), Low, High },
    };
    for(const auto &c : volumes)
    {
        BoxVolume b = cube(c.target);
        b.extendBy(c.source);
        EXPECT_TRUE(bounds(b, c.lo, c.hi)) << "case " << &c - volumes;
        EXPECT_FALSE(b.isEmpty());
    }

    // A sphere contributes its bounding box.
    BoxVolume withSphere = cube(PlainBox);
    withSphere.extendBy(SphereVolume(Pnt3f(5, 0, 0), 1));
    EXPECT_TRUE(bounds(withSphere, Pnt3f(0, -1, -1), Pnt3f(6, 1, 1)));
}

TEST(Volume, BoxQueriesAndTransform)
{
    BoxVolume b(-1, 0, 2, 3, 1, 4);
    EXPECT_EQ(b.getScalarVolume(), 8.0f);
    EXPECT_EQ(BoxVolume().getScalarVolume(), 0.0f);
    EXPECT_TRUE(b.intersect(Pnt3f(3, 1, 4)));           // boundary included
    EXPECT_FALSE(b.intersect(Pnt3f(3.01f, 1, 4)));
    EXPECT_FALSE(BoxVolume().intersect(Pnt3f(0, 0, 0)));
    EXPECT_TRUE(b.isOnSurface(Pnt3f(-1, 0.5f, 3)));
    EXPECT_FALSE(b.isOnSurface(Pnt3f(0, 0.5f, 3)));
    EXPECT_TRUE(b.intersect(BoxVolume(3, 1, 4, 5, 5, 5)));    // touching corners
    EXPECT_FALSE(b.intersect(BoxVolume(3.5f, 0, 2, 5, 1, 4)));
    EXPECT_FALSE(b.intersect(BoxVolume()));
    EXPECT_TRUE(b.intersect(SphereVolume(Pnt3f(4, 2, 3), 1.5f)));   // closest corner at 1.41
    EXPECT_FALSE(b.intersect(SphereVolume(Pnt3f(4, 2, 3), 1.4f)));

    BoxVolume half;
    half.setBounds(2, 4, 6);
    EXPECT_TRUE(bounds(half, Pnt3f(-1, -2, -3), Pnt3f(1, 2, 3)));

    // 45 degrees about z: the axis-aligned box around the turned square.
    BoxVolume unit(-1, -1, 0, 1, 1, 1);
    Matrix m;
    m.setTransform(Vec3f(10, 0, 0), Quaternion(Vec3f(0, 0, 1), Real32(Pi / 4)));
    unit.transform(m);
    const Real32 r2 = std::sqrt(2.0f);
    EXPECT_TRUE(bounds(unit, Pnt3f(10 - r2, -r2, 0), Pnt3f(10 + r2, r2, 1), 1e-5f));
    BoxVolume empty;
    empty.transform(m);
    EXPECT_TRUE(empty.isEmpty());
    EXPECT_EQ(empty.getMax(), Pnt3f(0, 0, 0));
}

TEST(Volume, Sphere)
{
    SphereVolume s;
    EXPECT_EQ(s.getState(), Valid | Empty);
    s.extendBy(Pnt3f(1, 0, 0));
    EXPECT_EQ(s.getCenter(), Pnt3f(1, 0, 0));
    EXPECT_EQ(s.getRadius(), 0.0f);

    SphereVolume unit(Pnt3f(0, 0, 0), 1);
    unit.extendBy(Pnt3f(3, 0, 0));           // the centre stays, the radius reaches the point
    EXPECT_EQ(unit.getCenter(), Pnt3f(0, 0, 0));
    EXPECT_EQ(unit.getRadius(), 3.0f);
    unit.extendBy(Pnt3f(1, 1, 0));           // inside: unchanged
    EXPECT_EQ(unit.getRadius(), 3.0f);

    SphereVolume a(Pnt3f(0, 0, 0), 1);
    a.extendBy(SphereVolume(Pnt3f(4, 0, 0), 1));
    EXPECT_EQ(a.getCenter(), Pnt3f(2, 0, 0));
    EXPECT_EQ(a.getRadius(), 3.0f);
    a.extendBy(SphereVolume(Pnt3f(2, 0, 0), 10));   // swallowed by the source
    EXPECT_EQ(a.getRadius(), 10.0f);
    EXPECT_TRUE(bounds(a, Pnt3f(-8, -10, -10), Pnt3f(12, 10, 10)));
    EXPECT_TRUE(a.intersect(SphereVolume(Pnt3f(2, 12, 0), 2.5f)));
    EXPECT_FALSE(a.intersect(SphereVolume(Pnt3f(2, 13, 0), 2.5f)));

    // The radius becomes the length of the image of (0, r, 0): the y scale counts, whatever
    // the rotation and the other scales.
    Matrix m;
    m.setTransform(Vec3f(1, 0, 0), Quaternion(Vec3f(1, 1, 0), 0.7f), Vec3f(1, 3, 2));
    SphereVolume t(Pnt3f(1, 1, 1), 2);
    t.transform(m);
    EXPECT_NEAR(t.getRadius(), 6.0f, 1e-5);
    Pnt3f movedCenter;
    m.multMatrixPnt(Pnt3f(1, 1, 1), movedCenter);
    EXPECT_EQ(t.getCenter(), movedCenter);
    m.setTransform(Vec3f(0, 0, 0), Quaternion(), Vec3f(3, 1, 2));
    t.transform(m);
    EXPECT_NEAR(t.getRadius(), 6.0f, 1e-5);
    m.setTransform(Vec3f(0, 0, 0), Quaternion(Vec3f(0, 0, 1), Real32(Pi / 2)), Vec3f(0.5f, 4, 1));
    t.transform(m);                          // (0, 6, 0) -> (0, 24, 0) -> (-24, 0, 0)
    EXPECT_NEAR(t.getRadius(), 24.0f, 1e-4);

    // A sphere extended by a box takes the sphere around the box.
    SphereVolume fromBox;
    fromBox.extendBy(cube(PlainBox, 0, 2));
    EXPECT_EQ(fromBox.getCenter(), Pnt3f(1, 1, 1));
    EXPECT_NEAR(fromBox.getRadius(), std::sqrt(3.0f), 1e-6);
}

TEST(Volume, DynamicFollowsItsInstance)
{
    DynamicVolume d;
    d.extendBy(Pnt3f(1, 1, 1));
    d.extendBy(Pnt3f(2, 3, 4));
    EXPECT_FALSE(d.isEmpty());               // the state follows the instance

    // State changes through a Volume reference still reach the instance.
    Volume &base = d;
    base.setStatic();
    d.extendBy(Pnt3f(9, 9, 9));
    EXPECT_TRUE(bounds(d, Pnt3f(1, 1, 1), Pnt3f(2, 3, 4)));
    EXPECT_TRUE(d.getInstance().isStatic());
    base.setStatic(false);
    Matrix m;
    m.setTranslate(1, 0, 0);
    d.transform(m);
    EXPECT_TRUE(bounds(d, Pnt3f(2, 1, 1), Pnt3f(3, 3, 4)));

    // Node-style accumulation of child volumes of either kind.
    DynamicVolume sphereChild(DynamicVolume::SPHERE_VOLUME);
    static_cast<SphereVolume &>(sphereChild.getInstance()).setValue(Pnt3f(10, 0, 0), 1);
    sphereChild.instanceChanged();
    EXPECT_EQ(sphereChild.getState(), Valid);
    DynamicVolume acc;
    acc.extendBy(d);
    acc.extendBy(sphereChild);
    EXPECT_TRUE(bounds(acc, Pnt3f(2, -1, -1), Pnt3f(11, 3, 4)));
    EXPECT_TRUE(acc.intersect(sphereChild));
}

TEST(Volume, DynamicTypeChangesCopiesAndEquality)
{
    DynamicVolume d;
    d.extendBy(Pnt3f(0, 0, 0));
    d.extendBy(Pnt3f(2, 2, 2));
    DynamicVolume copy(d);
    copy.extendBy(Pnt3f(5, 5, 5));
    EXPECT_EQ(d.getMax(), Pnt3f(2, 2, 2));     // a deep copy
    EXPECT_FALSE(copy == d);
    DynamicVolume assigned;
    assigned = copy;
    EXPECT_TRUE(assigned == copy);
    std::ostringstream os;
    os << assigned;
    EXPECT_EQ(os.str(), "box (0, 0, 0) (5, 5, 5) [valid]");

    // Morphing keeps the state and holds every point of the old shape.
    d.setStatic();
    d.morphToType(DynamicVolume::SPHERE_VOLUME);
    ASSERT_EQ(d.getType(), DynamicVolume::SPHERE_VOLUME);
    const SphereVolume &s = static_cast<const SphereVolume &>(d.getInstance());
    EXPECT_EQ(s.getCenter(), Pnt3f(1, 1, 1));
    EXPECT_NEAR(s.getRadius(), std::sqrt(3.0f), 1e-6);
    EXPECT_EQ(d.getState(), Valid | Static);
    d.morphToType(DynamicVolume::BOX_VOLUME);
    const Real32 r3 = std::sqrt(3.0f);
    EXPECT_TRUE(bounds(d, Pnt3f(1 - r3, 1 - r3, 1 - r3), Pnt3f(1 + r3, 1 + r3, 1 + r3), 1e-5f));
    EXPECT_TRUE(d.isStatic());
    DynamicVolume emptyMorph;
    emptyMorph.morphToType(DynamicVolume::SPHERE_VOLUME);
    EXPECT_TRUE(emptyMorph.isEmpty());

    d.setVolumeType(DynamicVolume::SPHERE_VOLUME);       // a fresh, empty instance
    EXPECT_TRUE(d == DynamicVolume(DynamicVolume::SPHERE_VOLUME));
    EXPECT_FALSE(DynamicVolume(DynamicVolume::BOX_VOLUME) == DynamicVolume(DynamicVolume::SPHERE_VOLUME));

    LogCapture capture;
    DynamicVolume bad(static_cast<DynamicVolume::Type>(7));
    bad.morphToType(static_cast<DynamicVolume::Type>(-1));
    EXPECT_EQ(bad.getType(), DynamicVolume::BOX_VOLUME);
    EXPECT_EQ(capture.count(), 2u);
    EXPECT_TRUE(capture.contains("unknown volume type 7"));
    capture.clear();
    BoxVolume(0, 0, 0, 1, 2, 3).dump(2);       // dump writes through the log
    ASSERT_EQ(capture.count(), 1u);
    EXPECT_EQ(capture.entries()[0].text, "  Box(0, 0, 0|1, 2, 3) [valid]");
}
