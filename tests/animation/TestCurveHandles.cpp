// Tangent handles of the keyframe curve against the rules written out in double: every type on
// the first, a middle and the last key of uneven keys, both branches of each minimum, the
// incoming mirror, type 5's shortening, and geometric checks (Catmull-Rom, lines, flat keys).

#include "animation/AnimTestSupport.h"

#include <OpenSGExt/Animation/detail/CurveAlgorithms.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace osg;
using namespace animtest;

namespace {

void expectHandle(const Vec2f &got, double x, double y, const char *what)
{
    EXPECT_NEAR(got[0], x, 1e-6 * std::max(1.0, std::fabs(x))) << what;
    EXPECT_NEAR(got[1], y, 1e-6 * std::max(1.0, std::fabs(y))) << what;
}

struct Case
{
    UInt32      type;
    size_t      index;
    double      outX, outY, inX, inY;
    const char *what;
};

// Keys (0,0) (1,2) (4,-1) (5.5,3): uneven spacing, so each minimum takes both branches.
const std::vector<std::array<double, 2>> Uneven = { { 0, 0 }, { 1, 2 }, { 4, -1 }, { 5.5, 3 } };

} // namespace

TEST(CurveHandles, EveryTypeOnFirstMiddleAndLastKeys)
{
    const double third = 1.0 / 3.0;
    const Case cases[] = {
        // type 0: zero
        { 0, 1, 0, 0, 0, 0, "type 0" },
        // type 1: half chord; the last key's out (first key's in) is flat, half the chord's run
        { 1, 0, 0.5, 1.0, -0.5, 0, "type 1 first" },
        { 1, 1, 1.5, -1.5, -0.5, -1.0, "type 1 middle" },
        { 1, 3, 0.75, 0, -0.75, -2.0, "type 1 last" },
        // type 2: flat; middle length min(0.5*(next-p), (next-prev)/3)
        { 2, 0, 0.5, 0, -0.5, 0, "type 2 first" },
        { 2, 1, 4.0 * third, 0, -0.5, 0, "type 2 middle, out by (next-prev)/3" },
        { 2, 2, 0.75, 0, -4.5 * third, 0, "type 2 middle, out by half the run" },
        { 2, 3, 0.75, 0, -0.75, 0, "type 2 last" },
        // type 3: slope of the chord prev..next, length (next-p)/3
        { 3, 0, third, 2.0 * third / 1.0, -third, -2.0 * third, "type 3 first" },
        { 3, 1, 1.0, -1.0 * 1.0 / 4.0, -third, (-1.0) * -third / 4.0, "type 3 middle" },
        { 3, 2, 0.5, 1.0 * 0.5 / 4.5, -1.0, 1.0 * -1.0 / 4.5, "type 3 middle 2" },
        { 3, 3, 0.5, 4.0 * 0.5 / 1.5, -0.5, 4.0 * -0.5 / 1.5, "type 3 last" },
        // type 4: slope of the chord to next (in: to previous), length min(0.5*run, span/3)
        { 4, 0, 0.5, 1.0, -0.5, 0, "type 4 first" },
        { 4, 1, 4.0 * third, -3.0 * (4.0 * third) / 3.0, -0.5, 2.0 * -0.5 / 1.0, "type 4 middle" },
        { 4, 2, 0.75, 4.0 * 0.75 / 1.5, -1.5, 3.0 * -1.5 / -3.0, "type 4 middle 2" },
        { 4, 3, 0.75, 0, -0.75, -2.0, "type 4 last" },
        // 6 and above: fixed
        { 6, 2, 10, 0, -10, 0, "type 6" },
        { 9, 0, 10, 0, -10, 0, "type 9" },
    };
    for(const Case &c : cases)
    {
        std::vector<CCPnt> keys = keysAt(Uneven, c.type, c.type);
        curve::computeOut(keys, c.index, -1);
        curve::computeIn(keys, c.index, -1);
        expectHandle(keys[c.index].outTangent, c.outX, c.outY, c.what);
        expectHandle(keys[c.index].inTangent, c.inX, c.inY, c.what);
    }
}

TEST(CurveHandles, SmoothLengthCappedBySpanOnUnsortedKeys)
{
    // p = (0,1) between prev (2,0) and next (3,4): (next-p)/3 = 1 exceeds (next-prev)/3 = 1/3.
    std::vector<CCPnt> keys = keysAt({ { 2, 0 }, { 0, 1 }, { 3, 4 } }, 3, 3);
    curve::computeOut(keys, 1, -1);
    expectHandle(keys[1].outTangent, 1.0 / 3.0, 4.0 * (1.0 / 3.0) / 1.0, "capped out");
    for(const CCPnt &k : keys)
    {
        EXPECT_TRUE(std::isfinite(k.outTangent[0]) && std::isfinite(k.outTangent[1]));
    }
}

TEST(CurveHandles, TypeArgumentIsStoredNegativeUsesStored)
{
    std::vector<CCPnt> keys = keysAt(Uneven, 2, 2);
    curve::computeOut(keys, 1, 4);
    EXPECT_EQ(keys[1].outTangentType, 4u);
    EXPECT_EQ(keys[1].inTangentType, 2u);
    expectHandle(keys[1].outTangent, 4.0 / 3.0, -4.0 / 3.0, "stored 4");
    curve::computeIn(keys, 1, -1);
    expectHandle(keys[1].inTangent, -0.5, 0, "stored 2");
    // Invalid index and single-key curves: nothing happens.
    curve::computeOut(keys, 4, 0);
    std::vector<CCPnt> one = keysAt({ { 1, 1 } }, 1, 1);
    one[0].outTangent.setValues(3.f, 4.f);
    curve::computeOut(one, 0, 0);
    EXPECT_EQ(one[0].outTangent, Vec2f(3.f, 4.f));
    EXPECT_EQ(one[0].outTangentType, 1u);
}

TEST(CurveHandles, KeepLeavesFittingHandlesAndShortensLongOnes)
{
    std::vector<CCPnt> keys = keysAt({ { 0, 0 }, { 2, 1 }, { 3, 0 } }, 5, 5);
    // Fits between the neighbours: untouched.
    keys[1].inTangent.setValues(-1.5f, -0.75f);
    keys[1].outTangent.setValues(0.5f, 0.25f);
    curve::computeOut(keys, 1, -1);
    curve::computeIn(keys, 1, -1);
    EXPECT_EQ(keys[1].outTangent, Vec2f(0.5f, 0.25f));
    EXPECT_EQ(keys[1].inTangent, Vec2f(-1.5f, -0.75f));
    // The out-handle reaches past the next key: both sides shortened to the nearer neighbour
    // (distance 1), each keeping its own slope.
    keys[1].outTangent.setValues(4.f, 2.f);
    curve::computeOut(keys, 1, -1);
    curve::computeIn(keys, 1, -1);
    expectHandle(keys[1].outTangent, 1.0, 2.0 * 1.0 / 4.0, "keep out");
    expectHandle(keys[1].inTangent, -1.0, -0.75 * -1.0 / -1.5, "keep in");
    // First key: shortened to the next key's distance only when it reaches it.
    keys[0].outTangent.setValues(3.f, 3.f);
    curve::computeOut(keys, 0, -1);
    expectHandle(keys[0].outTangent, 2.0, 2.0, "keep first");
    // Last key: its in-handle reaching past the previous key shortens it.
    keys[2].inTangent.setValues(-2.f, 1.f);
    curve::computeIn(keys, 2, -1);
    expectHandle(keys[2].inTangent, -1.0, 1.0 * -1.0 / -2.0, "keep last");
}

TEST(CurveHandles, SmoothOnEvenKeysIsCatmullRom)
{
    const double h = 0.5;
    const double ys[] = { 0.0, 1.0, 3.0, 2.0, -1.0, 0.5 };
    std::vector<std::array<double, 2>> pts;
    for(int i = 0; i < 6; ++i)
        pts.push_back({ i * h, ys[i] });
    std::vector<CCPnt> keys = keysAt(pts, 3, 3);
    curve::recomputeAll(keys);
    for(int seg = 1; seg + 2 < 6; ++seg)
    {
        double p0 = ys[seg - 1], p1 = ys[seg], p2 = ys[seg + 1], p3 = ys[seg + 2];
        for(double u = 0.0; u <= 1.0; u += 0.125)
        {
            XY     b  = deCasteljau(keys[seg], keys[seg + 1], u);
            double cr = 0.5 * (2 * p1 + (-p0 + p2) * u + (2 * p0 - 5 * p1 + 4 * p2 - p3) * u * u +
                               (-p0 + 3 * p1 - 3 * p2 + p3) * u * u * u);
            EXPECT_NEAR(b.x, (seg + u) * h, 1e-6) << "segment " << seg << " u " << u;
            EXPECT_NEAR(b.y, cr, 1e-5) << "segment " << seg << " u " << u;
        }
    }
}

TEST(CurveHandles, KeysOnALineStayOnIt)
{
    // y = 2t + 1 at uneven times: every slope-bearing type keeps the segments on the line.
    std::vector<std::array<double, 2>> pts;
    for(double t : { 0.0, 0.3, 1.7, 2.0, 4.5 })
        pts.push_back({ t, 2 * t + 1 });
    for(UInt32 type : { 1u, 3u, 4u })
    {
        std::vector<CCPnt> keys = keysAt(pts, type, type);
        curve::recomputeAll(keys);
        for(size_t s = 0; s + 1 < keys.size(); ++s)
            for(double u = 0.0; u <= 1.0; u += 0.25)
            {
                XY p = deCasteljau(keys[s], keys[s + 1], u);
                EXPECT_NEAR(p.y, 2 * p.x + 1, 1e-5) << "type " << type << " segment " << s;
            }
    }
    // Flat keys give flat handles, whatever the type.
    for(UInt32 type = 0; type < 8; ++type)
    {
        std::vector<CCPnt> keys = keysAt({ { 0, 2 }, { 0.4, 2 }, { 3, 2 }, { 3.5, 2 } }, type, type);
        curve::recomputeAll(keys);
        for(const CCPnt &k : keys)
        {
            EXPECT_EQ(k.inTangent[1], 0.f) << "type " << type;
            EXPECT_EQ(k.outTangent[1], 0.f) << "type " << type;
        }
    }
}

TEST(CurveHandles, EqualTimesAndNonFiniteKeysNeverGiveNaN)
{
    for(UInt32 type = 0; type < 7; ++type)
    {
        std::vector<CCPnt> keys = keysAt({ { 1, 0 }, { 1, 5 }, { 1, -2 }, { 0, 1 } }, type, type);
        keys[1].outTangent.setValues(0.f, 1.f);
        curve::recomputeAll(keys);
        for(const CCPnt &k : keys)
            EXPECT_TRUE(curve::isFinite(k)) << "type " << type;
    }
    // A NaN neighbour leaves the handle as it was.
    std::vector<CCPnt> keys = keysAt({ { 0, 0 }, { 1, 1 }, { 2, 0 } }, 3, 3);
    keys[2].point[1] = std::numeric_limits<Real32>::quiet_NaN();
    keys[1].outTangent.setValues(0.25f, 0.5f);
    curve::computeOut(keys, 1, -1);
    EXPECT_EQ(keys[1].outTangent, Vec2f(0.25f, 0.5f));
    // Extreme but finite values: results that do not fit a float become zero, not infinity.
    std::vector<CCPnt> big = keysAt({ { 0, -3e38 }, { 1e-30, 3e38 } }, 1, 3);
    curve::recomputeAll(big);
    for(const CCPnt &k : big)
        EXPECT_TRUE(curve::isFinite(k));
}
