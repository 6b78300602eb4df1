// Resampling of tabulated spectra, checked against values worked out by hand from the
// piecewise-linear (or piecewise-constant) source, e.g. the mean over [390, 430] of the source
// (385, 2), (395, 4), (425, 1) is (5*3.5 + 30*2.5 + 5*1) / 40 = 2.4375.

#include <OpenSGExt/OSGSpectrum.h>
#include <OpenSGExt/Spectral/detail/SpectralSampling.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

using namespace osg;
namespace sp = skosg::spectral;

namespace {

const float Wl[3]  = {385.0f, 395.0f, 425.0f};
const float Val[3] = {2.0f, 4.0f, 1.0f};

} // namespace

TEST(SpectralSampling, PointValuesInterpolateAndExtendTheEnds)
{
    EXPECT_FLOAT_EQ(Spectrum::lerp(0.25f, 4.0f, 8.0f), 5.0f);   // parameter first
    EXPECT_FLOAT_EQ(Spectrum::averageSamplesToSamples(Wl, Val, 3, 390.0f), 3.0f);
    EXPECT_FLOAT_EQ(Spectrum::averageSamplesToSamples(Wl, Val, 3, 410.0f), 2.5f);
    EXPECT_FLOAT_EQ(Spectrum::averageSamplesToSamples(Wl, Val, 3, 395.0f), 4.0f);
    EXPECT_FLOAT_EQ(Spectrum::averageSamplesToSamples(Wl, Val, 3, 300.0f), 2.0f);
    EXPECT_FLOAT_EQ(Spectrum::averageSamplesToSamples(Wl, Val, 3, 900.0f), 1.0f);
}

TEST(SpectralSampling, IntervalMeansOfAPiecewiseLinearSource)
{
    // Straddling the lower end: 5 nm of the constant 2, then the ramp 2..3 over 5 nm.
    EXPECT_FLOAT_EQ(Spectrum::averageSamplesToIntervals(Wl, Val, 3, 380.0f, 390.0f), 2.25f);
    EXPECT_FLOAT_EQ(Spectrum::averageSamplesToIntervals(Wl, Val, 3, 390.0f, 400.0f), 3.625f);
    // Across two segments and past the upper end.
    EXPECT_FLOAT_EQ(Spectrum::averageSamplesToIntervals(Wl, Val, 3, 390.0f, 430.0f), 2.4375f);
    EXPECT_FLOAT_EQ(Spectrum::averageSamplesToIntervals(Wl, Val, 3, 420.0f, 430.0f), 1.125f);
    // Wholly outside: the end values.
    EXPECT_FLOAT_EQ(Spectrum::averageSamplesToIntervals(Wl, Val, 3, 300.0f, 310.0f), 2.0f);
    EXPECT_FLOAT_EQ(Spectrum::averageSamplesToIntervals(Wl, Val, 3, 500.0f, 510.0f), 1.0f);
}

TEST(SpectralSampling, IntervalSourcesDoNotExtendBeyondTheirEdges)
{
    const float edges[3] = {400.0f, 410.0f, 430.0f};
    const float vals[2] = {1.0f, 3.0f};
    EXPECT_FLOAT_EQ(Spectrum::averageIntervalsToIntervals(edges, vals, 3, 400.0f, 410.0f), 1.0f);
    EXPECT_FLOAT_EQ(Spectrum::averageIntervalsToIntervals(edges, vals, 3, 405.0f, 415.0f), 2.0f);
    EXPECT_FLOAT_EQ(Spectrum::averageIntervalsToIntervals(edges, vals, 3, 412.0f, 418.0f), 3.0f);
    EXPECT_FLOAT_EQ(Spectrum::averageIntervalsToIntervals(edges, vals, 3, 395.0f, 405.0f), 0.5f);
    EXPECT_FLOAT_EQ(Spectrum::averageIntervalsToIntervals(edges, vals, 3, 420.0f, 440.0f), 1.5f);
    EXPECT_FLOAT_EQ(Spectrum::averageIntervalsToIntervals(edges, vals, 3, 430.0f, 440.0f), 0.0f);
    EXPECT_FLOAT_EQ(Spectrum::averageIntervalsToIntervals(edges, vals, 3, 390.0f, 400.0f), 0.0f);

    MFReal32 out;
    out.push_back(-1.0f);   // appended to, not replaced
    Spectrum::resampleIntervalsToIntervals(3, edges, vals, 395, 10, 4, out);
    ASSERT_EQ(out.size(), 5u);
    EXPECT_FLOAT_EQ(out[0], -1.0f);
    EXPECT_FLOAT_EQ(out[1], 0.5f);   // [395, 405]
    EXPECT_FLOAT_EQ(out[2], 2.0f);   // [405, 415]
    EXPECT_FLOAT_EQ(out[3], 3.0f);   // [415, 425]
    EXPECT_FLOAT_EQ(out[4], 1.5f);   // [425, 435]: half outside counts as zero
}

TEST(SpectralSampling, GridResamplingOfPointsAndIntervals)
{
    const float wl[3] = {400.0f, 500.0f, 600.0f};
    const float val[3] = {0.0f, 10.0f, 30.0f};
    MFReal32 points;
    Spectrum::resampleSamplesToSamples(3, wl, val, 350, 50, 7, points);
    const float expected[7] = {0.0f, 0.0f, 5.0f, 10.0f, 20.0f, 30.0f, 30.0f};
    ASSERT_EQ(points.size(), 7u);
    for(UInt32 i = 0; i < 7; ++i)
        EXPECT_FLOAT_EQ(points[i], expected[i]) << "at " << 350 + 50 * i;

    MFReal32 means;
    Spectrum::resampleSamplesToIntervals(3, Wl, Val, 380, 10, 2, means);
    ASSERT_EQ(means.size(), 2u);
    EXPECT_FLOAT_EQ(means[0], 2.25f);
    EXPECT_FLOAT_EQ(means[1], 3.625f);

    // One sample is a constant; a missing source gives zeros rather than a crash.
    const float one = 7.0f;
    MFReal32 constant, none;
    Spectrum::resampleSamplesToSamples(1, &one, &one, 0, 1, 3, constant);
    Spectrum::resampleSamplesToIntervals(1, &one, &one, 0, 1, 3, constant);
    Spectrum::resampleSamplesToSamples(0, nullptr, nullptr, 0, 1, 2, none);
    ASSERT_EQ(constant.size(), 6u);
    for(float v : constant)
        EXPECT_EQ(v, 7.0f);
    ASSERT_EQ(none.size(), 2u);
    EXPECT_EQ(none[0], 0.0f);
}

TEST(SpectralSampling, DerivedSamplesOfAHandComputedSource)
{
    std::vector<float> out;
    sp::deriveSamples(Wl, Val, 3, out);
    ASSERT_EQ(out.size(), 40u);
    EXPECT_FLOAT_EQ(out[0], 2.25f);     // [380, 390]
    EXPECT_FLOAT_EQ(out[1], 3.625f);    // [390, 400]
    EXPECT_FLOAT_EQ(out[2], 3.0f);      // [400, 410]: ramp 3.5 -> 2.5
    EXPECT_FLOAT_EQ(out[4], 1.125f);    // [420, 430]
    for(size_t k = 5; k < 40; ++k)
        EXPECT_FLOAT_EQ(out[k], 1.0f) << k;
}

TEST(SpectralSampling, HostileInputStaysBounded)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float wl[4] = {500.0f, 400.0f, nan, 450.0f};   // unsorted and NaN
    const float val[4] = {1.0f, 2.0f, 3.0f, 4.0f};
    std::vector<float> out;
    sp::deriveSamples(wl, val, 4, out);
    EXPECT_EQ(out.size(), 40u);
    sp::resampleSamplesToSamples(4, wl, val, 380, 5, 81, out);
    EXPECT_EQ(out.size(), 121u);
    // Degenerate targets, equal wavelengths and overflowing grids.
    const float flat[2] = {500.0f, 500.0f};
    EXPECT_FLOAT_EQ(sp::averageSamplesToIntervals(flat, val, 2, 500.0f, 500.0f), 1.0f);
    EXPECT_TRUE(std::isfinite(sp::averageSamplesToIntervals(flat, val, 2, 490.0f, 510.0f)));
    EXPECT_FLOAT_EQ(sp::gridWavelength(2147483647, 2147483647, 2), 6442450941.0f);
    EXPECT_EQ(sp::averageSamplesToSamples(nullptr, val, 3, 1.0f), 0.0f);
}
