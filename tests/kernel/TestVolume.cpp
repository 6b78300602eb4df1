#include <OpenSG/OSGBoxVolume.h>
#include <OpenSG/OSGDynamicVolume.h>
#include <OpenSG/OSGLog.h>
#include <OpenSG/OSGSphereVolume.h>

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

using namespace osg;

namespace {

const UInt16 Valid    = Volume::OSGVALID;
const UInt16 Empty    = Volume::OSGEMPTY;
const UInt16 Static   = Volume::OSGSTATIC;
const UInt16 Infinite = Volume::OSGINFINITE;

BoxVolume box(Real32 x0, Real32 y0, Real32 z0, Real32 x1, Real32 y1, Real32 z1)
{
    return BoxVolume(x0, y0, z0, x1, y1, z1);
}

} // namespace

TEST(Volume, StateBits)
{
    BoxVolume b;
    EXPECT_EQ(b.getState(), Valid | Empty);
    EXPECT_FALSE(b.isUntouchable());

    b.setInfinite();                        // valid, not empty
    EXPECT_EQ(b.getState(), Valid | Infinite);
    EXPECT_TRUE(b.isUntouchable());
    b.setEmpty();                           // valid, finite
    EXPECT_EQ(b.getState(), Valid | Empty);

    b.setValid(false);
    EXPECT_TRUE(b.isUntouchable());
    b.setEmpty();                           // emptying validates
    EXPECT_TRUE(b.isValid());

    b.setStatic();
    b.setValid(false);                      // ignored while static
    EXPECT_TRUE(b.isValid());
    EXPECT_TRUE(b.isUntouchable());
    b.setStatic(false);
    b.setValid(false);
    EXPECT_FALSE(b.isValid());

    BoxVolume set(0, 0, 0, 1, 1, 1);
    EXPECT_EQ(set.getState(), Valid);
    b.setBounds(Pnt3f(0, 0, 0), Pnt3f(1, 1, 1));    // setters validate, clear empty and infinite
    EXPECT_EQ(b.getState(), Valid);
}

TEST(Volume, BoxExtendByPoint)
{
    BoxVolume b;
    b.extendBy(Pnt3f(1, 2, 3));             // from empty: exactly the point
    EXPECT_FALSE(b.isEmpty());
    EXPECT_EQ(b.getMin(), Pnt3f(1, 2, 3));
    EXPECT_EQ(b.getMax(), Pnt3f(1, 2, 3));
    b.extendBy(Pnt3f(-1, 5, 3));
    EXPECT_EQ(b.getMin(), Pnt3f(-1, 2, 3));
    EXPECT_EQ(b.getMax(), Pnt3f(1, 5, 3));

    BoxVolume frozen(0, 0, 0, 1, 1, 1);
    frozen.setStatic();
    frozen.extendBy(Pnt3f(5, 5, 5));
    EXPECT_EQ(frozen.getMax(), Pnt3f(1, 1, 1));

    BoxVolume stale(0, 0, 0, 1, 1, 1);
    stale.setValid(false);
    stale.extendBy(Pnt3f(5, 5, 5));
    EXPECT_EQ(stale.getMax(), Pnt3f(1, 1, 1));

    BoxVolume inf;
    inf.setInfinite();
    inf.extendBy(Pnt3f(5, 5, 5));
    EXPECT_TRUE(inf.isInfinite());
    Pnt3f lo, hi;
    inf.getBounds(lo, hi);                           // bounds of an infinite volume
    EXPECT_EQ(lo, Pnt3f(NegInf, NegInf, NegInf));
    EXPECT_EQ(hi, Pnt3f(Inf, Inf, Inf));
}

TEST(Volume, BoxExtendByVolume)
{
    BoxVolume a(0, 0, 0, 1, 1, 1);
    a.extendBy(box(-1, 0, 0, 0.5f, 3, 1));
    EXPECT_EQ(a.getMin(), Pnt3f(-1, 0, 0));
    EXPECT_EQ(a.getMax(), Pnt3f(1, 3, 1));

    BoxVolume empty;
    a.extendBy(empty);                               // empty source: ignored
    EXPECT_EQ(a.getMax(), Pnt3f(1, 3, 1));

    BoxVolume target;
    target.extendBy(box(2, 2, 2, 3, 3, 3));          // empty target: copy
    EXPECT_EQ(target.getState(), Valid);
    EXPECT_EQ(target.getMin(), Pnt3f(2, 2, 2));

    BoxVolume invalidSource = box(-9, -9, -9, 9, 9, 9);
    invalidSource.setValid(false);
    target.extendBy(invalidSource);
    EXPECT_EQ(target.getMin(), Pnt3f(2, 2, 2));

    BoxVolume staticTarget(0, 0, 0, 1, 1, 1);
    staticTarget.setStatic();
    staticTarget.extendBy(box(0, 0, 0, 5, 5, 5));
    EXPECT_EQ(staticTarget.getMax(), Pnt3f(1, 1, 1));

    BoxVolume invalidTarget(0, 0, 0, 1, 1, 1);
    invalidTarget.setValid(false);
    invalidTarget.extendBy(box(0, 0, 0, 5, 5, 5));
    EXPECT_EQ(invalidTarget.getMax(), Pnt3f(1, 1, 1));

    BoxVolume infiniteSource;
    infiniteSource.setInfinite();
    target.extendBy(infiniteSource);
    EXPECT_TRUE(target.isInfinite());

    // A sphere contributes its bounding box.
    BoxVolume withSphere(0, 0, 0, 1, 1, 1);
    withSphere.extendBy(SphereVolume(Pnt3f(5, 0, 0), 1));
    EXPECT_EQ(withSphere.getMax(), Pnt3f(6, 1, 1));
    EXPECT_EQ(withSphere.getMin(), Pnt3f(0, -1, -1));
}

TEST(Volume, BoxQueriesAndTransform)
{
    BoxVolume b(-1, 0, 2, 3, 1, 4);
    Pnt3f c;
    b.getCenter(c);
    EXPECT_EQ(c, Pnt3f(1, 0.5f, 3));
    Vec3f size;
    b.getSize(size);
    EXPECT_EQ(size, Vec3f(4, 1, 2));
    EXPECT_EQ(b.getScalarVolume(), 8.0f);
    EXPECT_EQ(BoxVolume().getScalarVolume(), 0.0f);

    EXPECT_TRUE(b.intersect(Pnt3f(3, 1, 4)));           // boundary included
    EXPECT_FALSE(b.intersect(Pnt3f(3.01f, 1, 4)));
    EXPECT_FALSE(BoxVolume().intersect(Pnt3f(0, 0, 0)));
    EXPECT_TRUE(b.isOnSurface(Pnt3f(-1, 0.5f, 3)));
    EXPECT_FALSE(b.isOnSurface(Pnt3f(0, 0.5f, 3)));
    EXPECT_TRUE(b.intersect(box(3, 1, 4, 5, 5, 5)));    // touching corners
    EXPECT_FALSE(b.intersect(box(3.5f, 0, 2, 5, 1, 4)));
    EXPECT_FALSE(b.intersect(BoxVolume()));
    EXPECT_TRUE(b.intersect(SphereVolume(Pnt3f(4, 2, 3), 1.5f)));   // closest corner at 1.41
    EXPECT_FALSE(b.intersect(SphereVolume(Pnt3f(4, 2, 3), 1.4f)));

    BoxVolume half;
    half.setBounds(2, 4, 6);
    EXPECT_EQ(half.getMin(), Pnt3f(-1, -2, -3));

    // 45 degrees about z: the axis-aligned box around the turned square.
    BoxVolume unit(-1, -1, 0, 1, 1, 1);
    Matrix m;
    m.setTransform(Vec3f(10, 0, 0), Quaternion(Vec3f(0, 0, 1), Real32(Pi / 4)));
    unit.transform(m);
    const Real32 r2 = std::sqrt(2.0f);
    EXPECT_TRUE(unit.getMin().equals(Pnt3f(10 - r2, -r2, 0), 1e-5f)) << unit.getMin();
    EXPECT_TRUE(unit.getMax().equals(Pnt3f(10 + r2, r2, 1), 1e-5f)) << unit.getMax();

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
    unit.extendBy(Pnt3f(3, 0, 0));           // smallest sphere holding both
    EXPECT_EQ(unit.getCenter(), Pnt3f(1, 0, 0));
    EXPECT_EQ(unit.getRadius(), 2.0f);
    unit.extendBy(Pnt3f(1, 1, 0));           // inside: unchanged
    EXPECT_EQ(unit.getRadius(), 2.0f);

    SphereVolume a(Pnt3f(0, 0, 0), 1);
    a.extendBy(SphereVolume(Pnt3f(4, 0, 0), 1));
    EXPECT_EQ(a.getCenter(), Pnt3f(2, 0, 0));
    EXPECT_EQ(a.getRadius(), 3.0f);
    a.extendBy(SphereVolume(Pnt3f(2, 0, 0), 10));   // swallowed by the source
    EXPECT_EQ(a.getRadius(), 10.0f);

    Pnt3f lo, hi;
    a.getBounds(lo, hi);
    EXPECT_EQ(lo, Pnt3f(-8, -10, -10));
    EXPECT_NEAR(SphereVolume(Pnt3f(0, 0, 0), 2).getScalarVolume(), 4.0 / 3.0 * Pi * 8, 1e-4);
    EXPECT_TRUE(a.isOnSurface(Pnt3f(2, 10, 0)));
    EXPECT_TRUE(a.intersect(SphereVolume(Pnt3f(2, 12, 0), 2.5f)));
    EXPECT_FALSE(a.intersect(SphereVolume(Pnt3f(2, 13, 0), 2.5f)));

    // Non-uniform scale grows the radius by the largest stretch, rotation keeps it.
    Matrix m;
    m.setTransform(Vec3f(1, 0, 0), Quaternion(Vec3f(1, 1, 0), 0.7f), Vec3f(1, 3, 2));
    SphereVolume t(Pnt3f(1, 1, 1), 2);
    t.transform(m);
    EXPECT_NEAR(t.getRadius(), 6.0f, 1e-4);
    Pnt3f movedCenter;
    m.multMatrixPnt(Pnt3f(1, 1, 1), movedCenter);
    EXPECT_EQ(t.getCenter(), movedCenter);
    SphereVolume turned(Pnt3f(0, 0, 0), 2);
    Matrix rot;
    rot.setTransform(Quaternion(Vec3f(0, 1, 0), 1.0f));
    turned.transform(rot);
    EXPECT_NEAR(turned.getRadius(), 2.0f, 1e-5);

    // A sphere extended by a box takes the sphere around the box.
    SphereVolume fromBox;
    fromBox.extendBy(box(0, 0, 0, 2, 2, 2));
    EXPECT_EQ(fromBox.getCenter(), Pnt3f(1, 1, 1));
    EXPECT_NEAR(fromBox.getRadius(), std::sqrt(3.0f), 1e-6);
}

TEST(Volume, DynamicForwardsAndFollowsTheInstance)
{
    DynamicVolume d;
    EXPECT_EQ(d.getType(), DynamicVolume::BOX_VOLUME);
    EXPECT_EQ(d.getState(), Valid | Empty);

    d.extendBy(Pnt3f(1, 1, 1));
    d.extendBy(Pnt3f(2, 3, 4));
    EXPECT_FALSE(d.isEmpty());               // the state follows the instance
    EXPECT_EQ(d.getMin(), Pnt3f(1, 1, 1));
    EXPECT_EQ(static_cast<const BoxVolume &>(d.getInstance()).getMax(), Pnt3f(2, 3, 4));

    // State changes through a Volume reference still reach the instance.
    Volume &base = d;
    base.setStatic();
    d.extendBy(Pnt3f(9, 9, 9));
    EXPECT_EQ(d.getMax(), Pnt3f(2, 3, 4));
    EXPECT_TRUE(d.getInstance().isStatic());
    base.setStatic(false);

    Matrix m;
    m.setTranslate(1, 0, 0);
    d.transform(m);
    EXPECT_EQ(d.getMin(), Pnt3f(2, 1, 1));

    // Node-style accumulation of child volumes of either kind.
    DynamicVolume sphereChild(DynamicVolume::SPHERE_VOLUME);
    static_cast<SphereVolume &>(sphereChild.getInstance()).setValue(Pnt3f(10, 0, 0), 1);
    sphereChild.instanceChanged();
    EXPECT_EQ(sphereChild.getState(), Valid);

    DynamicVolume acc;
    acc.setEmpty();
    acc.extendBy(d);
    acc.extendBy(sphereChild);
    EXPECT_EQ(acc.getMin(), Pnt3f(2, -1, -1));
    EXPECT_EQ(acc.getMax(), Pnt3f(11, 3, 4));
    EXPECT_TRUE(acc.intersect(Pnt3f(10.5f, 0, 0)));
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
    EXPECT_EQ(assigned.getMax(), Pnt3f(5, 5, 5));

    d.setStatic();
    d.morphToType(DynamicVolume::SPHERE_VOLUME);
    ASSERT_EQ(d.getType(), DynamicVolume::SPHERE_VOLUME);
    const SphereVolume &s = static_cast<const SphereVolume &>(d.getInstance());
    EXPECT_EQ(s.getCenter(), Pnt3f(1, 1, 1));
    EXPECT_NEAR(s.getRadius(), std::sqrt(3.0f), 1e-6);   // holds every corner
    EXPECT_EQ(d.getState(), Valid | Static);

    d.morphToType(DynamicVolume::BOX_VOLUME);
    Pnt3f lo, hi;
    d.getBounds(lo, hi);
    EXPECT_TRUE(lo.equals(Pnt3f(1, 1, 1) - Vec3f(1, 1, 1) * std::sqrt(3.0f), 1e-5f));
    EXPECT_TRUE(d.isStatic());

    DynamicVolume emptyMorph;
    emptyMorph.morphToType(DynamicVolume::SPHERE_VOLUME);
    EXPECT_TRUE(emptyMorph.isEmpty());

    d.setVolumeType(DynamicVolume::SPHERE_VOLUME);       // a fresh, empty instance
    EXPECT_EQ(d.getState(), Valid | Empty);
    EXPECT_TRUE(d == DynamicVolume(DynamicVolume::SPHERE_VOLUME));
    EXPECT_FALSE(DynamicVolume(DynamicVolume::BOX_VOLUME) == DynamicVolume(DynamicVolume::SPHERE_VOLUME));

    {
        LogCapture capture;
        DynamicVolume bad(static_cast<DynamicVolume::Type>(7));
        EXPECT_EQ(bad.getType(), DynamicVolume::BOX_VOLUME);
        bad.morphToType(static_cast<DynamicVolume::Type>(-1));
        EXPECT_EQ(bad.getType(), DynamicVolume::BOX_VOLUME);
        EXPECT_EQ(capture.count(), 2u);
        EXPECT_TRUE(capture.contains("unknown volume type 7"));
    }

    std::ostringstream os;
    os << copy;
    EXPECT_EQ(os.str(), "box (0, 0, 0) (5, 5, 5) [valid]");
}

TEST(Volume, DumpWritesThroughTheLog)
{
    LogCapture capture;
    BoxVolume(0, 0, 0, 1, 2, 3).dump(2);
    ASSERT_EQ(capture.count(), 1u);
    EXPECT_EQ(capture.entries()[0].text, "  Box(0, 0, 0|1, 2, 3) [valid]");
}
