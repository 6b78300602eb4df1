// The reference spectra against published colorimetry: CIE table checkpoints, the D65 white
// point and illuminant A's chromaticity (CIE 015), and the sRGB white. Tolerances allow for the
// 10 nm interval averages that every colour computation uses in place of the 1 nm tables.

#include "spectral/SpectralTestSupport.h"

#include <OpenSGExt/OSGSpectralData.h>

#include <gtest/gtest.h>

using namespace osg;
using namespace spectraltest;

namespace {

// Chromaticity of an illuminant's own derived samples against the colour-matching functions.
Vec3f illuminantXYZ(const SpectralData &d, const SpectrumPtr &illuminant)
{
    Vec3f xyz(0, 0, 0);
    for(UInt32 i = 0; i < 40; ++i)
    {
        xyz[0] += d.getX()->getSamples(i) * illuminant->getSamples(i);
        xyz[1] += d.getY()->getSamples(i) * illuminant->getSamples(i);
        xyz[2] += d.getZ()->getSamples(i) * illuminant->getSamples(i);
    }
    return xyz;
}

} // namespace

TEST(SpectralData, TablesHoldThePublishedCheckpoints)
{
    EXPECT_EQ(SpectralData::CIE1931cmf_lambda[0], 360.0f);
    EXPECT_EQ(SpectralData::CIE1931cmf_lambda[470], 830.0f);
    EXPECT_EQ(SpectralData::CIE1931cmf_X[0], 0.0001299f);
    EXPECT_EQ(SpectralData::CIE1931cmf_Y[0], 0.000003917f);
    EXPECT_EQ(SpectralData::CIE1931cmf_Z[0], 0.0006061f);
    EXPECT_EQ(SpectralData::CIE1931cmf_Y[555 - 360], 1.0f);
    EXPECT_EQ(SpectralData::CIE1931cmf_Y[547 - 360], 0.9874182f);
    EXPECT_EQ(SpectralData::CIE2006cmf_lambda[0], 390.0f);
    EXPECT_EQ(SpectralData::CIE2006cmf_X[0], 3.769647e-03f);
    EXPECT_EQ(SpectralData::CIE2006cmf_Y[556 - 390], 0.999993f);
    EXPECT_EQ(SpectralData::CIEilluminant_lambda[106], 830.0f);
    EXPECT_EQ(SpectralData::CIEilluminant_D65[0], 0.0341f);
    EXPECT_EQ(SpectralData::CIEilluminant_A[0], 0.930483f);
    EXPECT_EQ(SpectralData::CIEilluminant_A[52], 100.0f);     // 560 nm
    EXPECT_EQ(SpectralData::CIEilluminant_D65[106], 60.3125f);
    EXPECT_EQ(SpectralData::CIEilluminant_E[50], 1.0f);
    EXPECT_EQ(SpectralData::RGB2Spec_lambda[0], 380.0f);
    EXPECT_EQ(SpectralData::RGB2Spec_lambda[31], 720.0f);
    EXPECT_NEAR(SpectralData::RGB2Spec_lambda[1], 380.0f + 340.0f / 31.0f, 1e-4f);
    const float white[4] = {1.0618958f, 1.0615020f, 1.0614336f, 1.0622711f};
    for(int i = 0; i < 4; ++i)
        EXPECT_NEAR(SpectralData::RGB2ReflSpec_White[i], white[i], 1e-7f);

    // The sum of y-bar over the 1 nm grid, as published with the tables.
    double sum = 0.0;
    for(float y : SpectralData::CIE1931cmf_Y)
        sum += double(y);
    EXPECT_NEAR(sum, 106.856917, 1e-4);
}

TEST(SpectralData, SlotsAfterConstruction)
{
    SpectralData &d = SpectralData::Instance();
    EXPECT_EQ(&d, &SpectralData::Instance());
    for(UInt32 i = 0; i < SpectralData::SlotCount; ++i)
    {
        ASSERT_NE(d.getSlot(i), NullFC) << i;
        EXPECT_TRUE(d.getSlot(i)->isInUse()) << i;
    }
    EXPECT_EQ(d.getSlot(SpectralData::SlotCount), NullFC);
    EXPECT_EQ(d.getX()->getNumSamples(), 471);
    EXPECT_EQ(d.getX()->getVersionID(), 2);
    EXPECT_EQ(d.getA()->getNumSamples(), 107);
    // Basis spectra: 81 regular samples, the values beyond 720 nm held at the last table value.
    EXPECT_EQ(d.getReflRed()->getNumSamples(), 81);
    EXPECT_EQ(d.getIlluBlue()->getVersionID(), 1);
    EXPECT_EQ(d.getReflWhite()->getSourceValues(80), SpectralData::RGB2ReflSpec_White[31]);
    EXPECT_EQ(d.getReflWhite()->getSourceValues(0), SpectralData::RGB2ReflSpec_White[0]);
    EXPECT_EQ(d.getIlluminant(), 0u);
    d.setIlluminant(3);
    EXPECT_EQ(d.getIlluminant(), 3u);
    d.setIlluminant(0);
}

TEST(SpectralData, DerivedLuminousEfficiencySumsToOne)
{
    SpectralData &d = SpectralData::Instance();
    EXPECT_NEAR(d.getY()->getSum(), 1.0f, 1e-6f);
    // The scale is applied to the source, not only the samples: 1 / (sum of 40 derived samples)
    // is close to 1 / (106.857 / 10), as 10 nm means of the 1 nm table.
    EXPECT_NEAR(d.getY()->getSourceValues(555 - 360), 10.0f / 106.856917f, 2e-4f);
}

TEST(SpectralData, PerfectReflectorUnderD65IsTheWhitePoint)
{
    SpectralData &d = SpectralData::Instance();
    SpectrumHolder white;
    white->setOne();
    // CIE 015 D65 white point for the 2 degree observer: X 95.047, Y 100, Z 108.883. The 10 nm
    // interval averages move it by less than 0.001 (Z: 1.0880 against 1.0888).
    Vec3f xyz = white->getXYZ();
    EXPECT_NEAR(xyz[0], 0.95047f, 2e-4f);
    EXPECT_NEAR(xyz[1], 1.0f, 1e-6f);
    EXPECT_NEAR(xyz[2], 1.08883f, 1e-3f);
    float sum = xyz[0] + xyz[1] + xyz[2];
    EXPECT_NEAR(xyz[0] / sum, 0.31271f, 2e-4f);
    EXPECT_NEAR(xyz[1] / sum, 0.32902f, 2e-4f);

    Vec4f rgba = d.convertToRGBA(white.get(), 0.5f, false);
    EXPECT_NEAR(rgba[0], 1.0f, 2e-3f);
    EXPECT_NEAR(rgba[1], 1.0f, 2e-3f);
    EXPECT_NEAR(rgba[2], 1.0f, 2e-3f);
    EXPECT_EQ(rgba[3], 0.5f);
    Vec3f rgb = white->getRGB();   // through skColor's matrix
    for(int k = 0; k < 3; ++k)
        EXPECT_NEAR(rgb[k], 1.0f, 2e-3f);

    // A grey reflector scales linearly; an empty pointer gives black with the alpha kept.
    white->set(0.25f, 380, 5, 81);
    EXPECT_NEAR(d.convertToRGBA(white.get(), 1.0f, true)[1], 0.25f, 1e-3f);
    EXPECT_EQ(d.convertToRGBA(NullFC, 0.7f, true), Vec4f(0, 0, 0, 0.7f));
}

TEST(SpectralData, IlluminantChromaticities)
{
    SpectralData &d = SpectralData::Instance();
    // CIE 015: A (0.44757, 0.40745), D65 (0.31271, 0.32902), E (1/3, 1/3).
    const struct { SpectrumPtr s; float x, y; } cases[] = {
        {d.getA(), 0.44757f, 0.40745f},
        {d.getD65(), 0.31271f, 0.32902f},
        {d.getE(), 1.0f / 3.0f, 1.0f / 3.0f},
    };
    for(const auto &c : cases)
    {
        Vec3f xyz = illuminantXYZ(d, c.s);
        float sum = xyz[0] + xyz[1] + xyz[2];
        EXPECT_NEAR(xyz[0] / sum, c.x, 3e-4f);
        EXPECT_NEAR(xyz[1] / sum, c.y, 3e-4f);
    }
    // Each illuminant was multiplied by its own photometric sum (E's is 1).
    EXPECT_NEAR(d.getE()->getSourceValues(0), 1.0f, 1e-5f);
}

TEST(SpectralData, ClampingAndOutOfGamutColours)
{
    SpectralData &d = SpectralData::Instance();
    Vec4f e = d.convertToRGBA(d.getE(), 1.0f, true);
    for(int k = 0; k < 3; ++k)
    {
        EXPECT_GE(e[k], 0.0f);
        EXPECT_LE(e[k], 1.0f);
    }
    // A narrow band at 520 nm lies outside the sRGB gamut: red goes negative.
    SpectrumHolder green;
    green->addAnalyticFunction(Spectrum::AnalyticGaussian, 1.0f, 520.0f, 8.0f, 0.0f, false, 380,
                               5, 81);
    Vec4f raw = d.convertToRGBA(green.get(), 1.0f, false);
    Vec4f clamped = d.convertToRGBA(green.get(), 1.0f, true);
    EXPECT_LT(raw[0], 0.0f);
    EXPECT_GT(raw[1], 0.0f);
    EXPECT_EQ(clamped[0], 0.0f);
    EXPECT_EQ(clamped[1], std::min(raw[1], 1.0f));
}

TEST(SpectralData, RgbReflectancesRoundTrip)
{
    SpectralData &d = SpectralData::Instance();
    SpectrumHolder s;
    const Vec3f colours[] = {Vec3f(1, 1, 1), Vec3f(0.8f, 0.3f, 0.1f), Vec3f(0.1f, 0.6f, 0.2f),
                             Vec3f(0.2f, 0.3f, 0.9f), Vec3f(0.5f, 0.5f, 0.5f), Vec3f(0, 0, 0)};
    for(const Vec3f &c : colours)
    {
        s->setRGB(c[0], c[1], c[2], 380, 5, 81);
        Vec4f rgba = d.convertToRGBA(s.get(), 1.0f, false);
        for(int k = 0; k < 3; ++k)
            EXPECT_NEAR(rgba[k], c[k], 0.03f) << c[0] << " " << c[1] << " " << c[2];
    }
    s->setRGB(1, 1, 1, 380, 5, 81);
    EXPECT_NEAR(s->getXYZ()[1], 1.0f, 1e-5f);

    LogCapture log;
    s->setRGB(-1, 0, 0, 380, 5, 81);
    s->setRGB(std::nanf(""), 0, 0, 380, 5, 81);
    s->setRGB(1, 0, 0, 380, -5, 81);
    EXPECT_EQ(log.count(), 3u);
    EXPECT_NEAR(s->getXYZ()[1], 1.0f, 1e-5f);
}

TEST(SpectralData, ResamplingTheReflectanceBasisLeavesTheIlluminantBasis)
{
    SpectralData &d = SpectralData::Instance();
    d.resampleReflSpec(400, 10, 31);
    EXPECT_EQ(d.getWavelengthStart(), 400);
    EXPECT_EQ(d.getWavelengthDelta(), 10);
    EXPECT_EQ(d.getNumSpectraSamples(), 31);
    for(UInt32 i = SpectralData::SlotReflWhite; i <= SpectralData::SlotReflBlue; ++i)
        EXPECT_EQ(d.getSlot(i)->getNumSamples(), 31);
    for(UInt32 i = SpectralData::SlotIlluWhite; i <= SpectralData::SlotIlluBlue; ++i)
        EXPECT_EQ(d.getSlot(i)->getNumSamples(), 81);
    // setRGB follows whatever grid the basis has.
    SpectrumHolder s;
    s->setRGB(0.8f, 0.3f, 0.1f, 380, 10, 41);
    EXPECT_NEAR(d.convertToRGBA(s.get(), 1.0f, false)[0], 0.8f, 0.03f);
    d.resampleReflSpec(380, 5, 81);
}

TEST(SpectralData, SwitchingObserversRebuildsInPlace)
{
    SpectralData &d = SpectralData::Instance();
    SpectrumPtr x = d.getX(), d65 = d.getD65();
    Real32 x1931 = x->getSamples(20);
    d.initCIE2006();
    EXPECT_EQ(d.getX(), x);
    EXPECT_EQ(d.getD65(), d65);
    EXPECT_EQ(x->getNumSamples(), 441);
    EXPECT_NE(x->getSamples(20), x1931);
    EXPECT_NEAR(d.getY()->getSum(), 1.0f, 1e-6f);
    // D65 under the 2006 observer: a white reflector still has Y = 1, and its chromaticity moves
    // by less than 0.01 from the 1931 one.
    SpectrumHolder white;
    white->setOne();
    Vec3f xyz = white->getXYZ();
    EXPECT_NEAR(xyz[1], 1.0f, 1e-6f);
    EXPECT_NEAR(xyz[0] / (xyz[0] + xyz[1] + xyz[2]), 0.3127f, 0.01f);
    d.initCIE1931();
    EXPECT_EQ(x->getNumSamples(), 471);
    EXPECT_FLOAT_EQ(x->getSamples(20), x1931);
}
