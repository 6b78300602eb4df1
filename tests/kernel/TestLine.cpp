// Half-lines against boxes, spheres and triangles.

#include <OpenSG/OSGLine.h>
#include <OpenSG/OSGBoxVolume.h>
#include <OpenSG/OSGSphereVolume.h>
#include <OpenSG/OSGDynamicVolume.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace osg;

TEST(Line, NormalisesAndMeasures)
{
    Line l(Pnt3f(1, 2, 3), Vec3f(0, 0, 5));
    EXPECT_EQ(l.getPosition(), Pnt3f(1, 2, 3));
    EXPECT_EQ(l.getDirection(), Vec3f(0, 0, 1));

    Line twoPoints(Pnt3f(1, 1, 1), Pnt3f(4, 5, 1));
    EXPECT_NEAR(twoPoints.getDirection()[0], 0.6f, 1e-6f);
    EXPECT_NEAR(twoPoints.getDirection()[1], 0.8f, 1e-6f);

    // Closest point and distance refer to the whole line, behind the position too.
    EXPECT_EQ(l.getClosestPoint(Pnt3f(4, 2, -7)), Pnt3f(1, 2, -7));
    EXPECT_NEAR(l.distance(Pnt3f(4, 6, 0)), 5.f, 1e-6f);
}

TEST(Line, BoxEnterAndExit)
{
    BoxVolume box(Pnt3f(-1, -1, -1), Pnt3f(1, 1, 1));
    Real32 enter = 0, exit = 0;

    ASSERT_TRUE(Line(Pnt3f(-5, 0, 0), Vec3f(1, 0, 0)).intersect(box, enter, exit));
    EXPECT_FLOAT_EQ(enter, 4.f);
    EXPECT_FLOAT_EQ(exit, 6.f);

    // Diagonal entry through an edge region: the latest slab entry counts.
    ASSERT_TRUE(Line(Pnt3f(-3, -2, 0), Vec3f(1, 1, 0)).intersect(box, enter, exit));
    EXPECT_NEAR(enter, 2.f * std::sqrt(2.f), 1e-5f);
    EXPECT_NEAR(exit, 3.f * std::sqrt(2.f), 1e-5f);

    // Starting inside: enter is clipped to 0.
    ASSERT_TRUE(Line(Pnt3f(0, 0, 0), Vec3f(0, -1, 0)).intersect(box, enter, exit));
    EXPECT_EQ(enter, 0.f);
    EXPECT_FLOAT_EQ(exit, 1.f);

    // A box behind the position: a miss that still reports its slab parameters (0 and -4).
    enter = exit = 99.f;
    EXPECT_FALSE(Line(Pnt3f(5, 0, 0), Vec3f(1, 0, 0)).intersect(box, enter, exit));
    EXPECT_EQ(enter, 0.f);
    EXPECT_FLOAT_EQ(exit, -4.f);
    // Missed by the third slab: written too (enter 4 sqrt 5, exit 3 sqrt 5).
    enter = exit = 99.f;
    EXPECT_FALSE(Line(Pnt3f(-5, 0, 5), Vec3f(1, 0, -0.5f)).intersect(box, enter, exit));
    EXPECT_NEAR(enter, 4.f * std::sqrt(5.f), 1e-4f);
    EXPECT_NEAR(exit, 3.f * std::sqrt(5.f), 1e-4f);
    // Missed by the second slab, or parallel outside a slab: nothing is written.
    enter = exit = 99.f;
    EXPECT_FALSE(Line(Pnt3f(-5, 2, 0), Vec3f(1, 0.1f, 0)).intersect(box, enter, exit));
    EXPECT_FALSE(Line(Pnt3f(-5, 1.5f, 0), Vec3f(1, 0, 0)).intersect(box, enter, exit));
    EXPECT_EQ(enter, 99.f);
    EXPECT_EQ(exit, 99.f);
    // Parallel inside the slab, grazing a face; a direction component within Eps of 0 counts as
    // parallel.
    EXPECT_TRUE(Line(Pnt3f(-5, 1.f, 0), Vec3f(1, 0, 0)).intersect(box));
    EXPECT_FALSE(Line(Pnt3f(-5, 1.000001f, 0), Vec3f(1, -5e-7f, 0)).intersect(box));
    // Flat boxes are hit, and so are boxes missed by less than Eps.
    ASSERT_TRUE(Line(Pnt3f(0, 0, -5), Vec3f(0, 0, 1)).intersect(BoxVolume(Pnt3f(-1, -1, 0), Pnt3f(1, 1, 0)),
                                                               enter, exit));
    EXPECT_FLOAT_EQ(enter, 5.f);
    EXPECT_FLOAT_EQ(exit, 5.f);
    // Passing the corner (1, 0) of the unit square by 3e-7 and by 3e-6 along the diagonal.
    const BoxVolume square(Pnt3f(0, 0, -1), Pnt3f(1, 1, 1));
    EXPECT_TRUE(Line(Pnt3f(0.5f, -0.5000003f, 0), Vec3f(1, 1, 0)).intersect(square));
    EXPECT_FALSE(Line(Pnt3f(0.5f, -0.500003f, 0), Vec3f(1, 1, 0)).intersect(square));

    // Empty boxes are never hit, infinite ones from 0 on.
    EXPECT_FALSE(Line(Pnt3f(0, 0, 0), Vec3f(1, 0, 0)).intersect(BoxVolume()));
    BoxVolume inf;
    inf.setInfinite();
    ASSERT_TRUE(Line(Pnt3f(0, 0, 0), Vec3f(1, 0, 0)).intersect(inf, enter, exit));
    EXPECT_EQ(enter, 0.f);
    EXPECT_EQ(exit, Inf);
}

TEST(Line, SphereEnterAndExit)
{
    SphereVolume sphere(Pnt3f(0, 0, 10), 2.f);
    Real32 enter = 0, exit = 0;

    ASSERT_TRUE(Line(Pnt3f(0, 0, 0), Vec3f(0, 0, 1)).intersect(sphere, enter, exit));
    EXPECT_FLOAT_EQ(enter, 8.f);
    EXPECT_FLOAT_EQ(exit, 12.f);

    ASSERT_TRUE(Line(Pnt3f(0, 0, 10), Vec3f(1, 0, 0)).intersect(sphere, enter, exit));
    EXPECT_FLOAT_EQ(enter, -2.f);
    EXPECT_FLOAT_EQ(exit, 2.f);

    // Offset by 1.2 from the centre: half chord sqrt(4 - 1.44) = 1.6.
    ASSERT_TRUE(Line(Pnt3f(1.2f, 0, 0), Vec3f(0, 0, 1)).intersect(sphere, enter, exit));
    EXPECT_NEAR(enter, 8.4f, 1e-5f);
    EXPECT_NEAR(exit, 11.6f, 1e-5f);

    EXPECT_FALSE(Line(Pnt3f(2.5f, 0, 0), Vec3f(0, 0, 1)).intersect(sphere));
    EXPECT_FALSE(Line(Pnt3f(0, 0, 20), Vec3f(0, 0, 1)).intersect(sphere));
    EXPECT_FALSE(Line(Pnt3f(0, 0, 0), Vec3f(0, 0, 1)).intersect(SphereVolume()));
}

TEST(Line, VolumesAnswerThroughTheirVirtuals)
{
    Line line(Pnt3f(-5, 0, 0), Vec3f(1, 0, 0));
    Real32 enter = 0, exit = 0;

    DynamicVolume dyn(DynamicVolume::SPHERE_VOLUME);
    dyn.extendBy(Pnt3f(0, 0, 0));
    dyn.extendBy(Pnt3f(2, 0, 0));   // sphere around (0,0,0), radius 2
    const Volume &asVolume = dyn;
    ASSERT_TRUE(asVolume.intersect(line, enter, exit));
    EXPECT_NEAR(enter, 3.f, 1e-5f);
    EXPECT_NEAR(exit, 7.f, 1e-5f);
    ASSERT_TRUE(line.intersect(asVolume, enter, exit));
    EXPECT_NEAR(exit, 7.f, 1e-5f);

    dyn.morphToType(DynamicVolume::BOX_VOLUME);
    ASSERT_TRUE(dyn.intersect(line, enter, exit));
    EXPECT_NEAR(enter, 3.f, 1e-5f);
    EXPECT_FALSE(dyn.intersect(Line(Pnt3f(-5, 3, 0), Vec3f(1, 0, 0))));

    BoxVolume box(Pnt3f(0, 0, 0), Pnt3f(1, 1, 1));
    EXPECT_TRUE(box.intersect(Line(Pnt3f(0.5f, 0.5f, -1), Vec3f(0, 0, 1))));
}

TEST(Line, Triangles)
{
    const Pnt3f a(0, 0, 0), b(4, 0, 0), c(0, 4, 0);
    Real32 t = -1, u = -1, v = -1;
    Vec3f  n;

    // Hit from above at (1, 2): barycentric weights of b and c are 1/4 and 1/2.
    ASSERT_TRUE(Line(Pnt3f(1, 2, 5), Vec3f(0, 0, -1)).intersect(a, b, c, t, u, v, &n));
    EXPECT_FLOAT_EQ(t, 5.f);
    EXPECT_FLOAT_EQ(u, 0.25f);
    EXPECT_FLOAT_EQ(v, 0.5f);
    EXPECT_EQ(n, Vec3f(0, 0, 1));

    // From below: both sides count, the normal stays the front face's.
    ASSERT_TRUE(Line(Pnt3f(1, 1, -2), Vec3f(0, 0, 1)).intersect(a, b, c, t, &n));
    EXPECT_FLOAT_EQ(t, 2.f);
    EXPECT_EQ(n, Vec3f(0, 0, 1));
    // Reversed winding turns the normal.
    ASSERT_TRUE(Line(Pnt3f(1, 1, -2), Vec3f(0, 0, 1)).intersect(a, c, b, t, &n));
    EXPECT_EQ(n, Vec3f(0, 0, -1));

    // An oblique line: t is a distance along the unit direction.
    ASSERT_TRUE(Line(Pnt3f(1, -2, 3), Vec3f(0, 4, -3)).intersect(a, b, c, t));
    EXPECT_NEAR(t, 5.f, 1e-5f);

    // Behind the position is a hit at t < 0 (the half-line is the caller's business).
    ASSERT_TRUE(Line(Pnt3f(1, 1, 1.5f), Vec3f(0, 0, 1)).intersect(a, b, c, t, u, v));
    EXPECT_FLOAT_EQ(t, -1.5f);
    EXPECT_FLOAT_EQ(u, 0.25f);

    // Edges count; outside and parallel do not.
    EXPECT_TRUE(Line(Pnt3f(2, 2, 1), Vec3f(0, 0, -1)).intersect(a, b, c, t));
    EXPECT_FALSE(Line(Pnt3f(3, 3, 1), Vec3f(0, 0, -1)).intersect(a, b, c, t));
    EXPECT_FALSE(Line(Pnt3f(-1, 1, 0), Vec3f(1, 0, 0)).intersect(a, b, c, t));
    // A triangle collapsed to a line.
    EXPECT_FALSE(Line(Pnt3f(1, 0, 1), Vec3f(0, 0, -1)).intersect(a, b, Pnt3f(2, 0, 0), t));

    // A tiny triangle far from the origin is hit as well as a big one.
    const Pnt3f ta(1000, 1000, 0), tb(1000.001f, 1000, 0), tc(1000, 1000.001f, 0);
    ASSERT_TRUE(Line(Pnt3f(1000.0002f, 1000.0002f, 1), Vec3f(0, 0, -1)).intersect(ta, tb, tc, t));
    EXPECT_NEAR(t, 1.f, 1e-5f);

    // A line without direction hits no triangle.
    EXPECT_FALSE(Line(Pnt3f(1, 1, 0), Vec3f(0, 0, 0)).intersect(a, b, c, t));
}
