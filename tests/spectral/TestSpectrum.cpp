// Spectrum operations: loading from code, the rules of changed(), queries on absent spectra,
// options, copy, add, scaling and the generated curves. Expected values are worked out by hand.

#include "spectral/SpectralTestSupport.h"

#include <OpenSGExt/OSGSpectralData.h>
#include <OpenSG/OSGChangeList.h>

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using namespace osg;
using namespace spectraltest;

namespace {

const BitVector AllFields =
    Spectrum::UseSpectrumFieldMask | Spectrum::FilenameFieldMask | Spectrum::VersionIDFieldMask |
    Spectrum::StartWavelengthFieldMask | Spectrum::DeltaWavelengthFieldMask |
    Spectrum::NumSamplesFieldMask | Spectrum::WavelengthsFieldMask |
    Spectrum::SourceValuesFieldMask | Spectrum::SamplesFieldMask;

std::vector<float> values(const MFReal32 &f) { return std::vector<float>(f.begin(), f.end()); }

} // namespace

TEST(Spectrum, DefaultsAndFieldMasks)
{
    SpectrumHolder s;
    EXPECT_FALSE(s->getUseSpectrum());
    EXPECT_EQ(s->getFilename(), "NO FILE");
    EXPECT_EQ(s->getVersionID(), 0);
    EXPECT_EQ(s->getStartWavelength(), 380);
    EXPECT_EQ(s->getDeltaWavelength(), 0);
    EXPECT_EQ(s->getNumSamples(), 0);
    // Bit 0 belongs to the base class; the own fields follow in order.
    EXPECT_EQ(Spectrum::UseSpectrumFieldMask, BitVector(1) << 1u);
    EXPECT_EQ(Spectrum::SamplesFieldMask, BitVector(1) << 9u);
}

TEST(Spectrum, RegularAndExplicitLoadsDeriveFortySamples)
{
    SpectrumHolder s;
    ChangeList *cl = Thread::getCurrentChangeList();
    cl->clearAll();
    const float vals[3] = {1.0f, 2.0f, 3.0f};
    ASSERT_TRUE(s->load(400, 100, 3, vals));
    EXPECT_TRUE(s->getUseSpectrum());
    EXPECT_EQ(s->getVersionID(), 1);
    EXPECT_EQ(s->getFilename(), "");
    EXPECT_EQ(s->getNumSamples(), 3);
    EXPECT_EQ(values(s->getWavelengths()), (std::vector<float>{400.0f, 500.0f, 600.0f}));
    EXPECT_EQ((cl->getChangedMask(getContainerId(s.get())) & AllFields), AllFields);
    ASSERT_EQ(s->getSamples().size(), 40u);
    EXPECT_FLOAT_EQ(s->getSamples(0), 1.0f);       // below the data: first value
    EXPECT_FLOAT_EQ(s->getSamples(2), 1.05f);      // [400, 410]: ramp 1.0 -> 1.1
    EXPECT_FLOAT_EQ(s->getSamples(39), 3.0f);      // above: last value
    EXPECT_FALSE(s->load(400, 10, 3, nullptr));
    EXPECT_EQ(s->getNumSamples(), 3);

    // A source from 405 to 695 nm, rising 1 per 10 nm from 10: the interval [400, 410] blends
    // 5 nm of the constant 10 with the ramp 10 .. 10.5.
    std::vector<float> wl, v;
    for(int l = 405; l <= 695; l += 10)
    {
        wl.push_back(float(l));
        v.push_back(10.0f + float(l - 405) / 10.0f);
    }
    ASSERT_TRUE(s->load(int(wl.size()), wl.data(), v.data()));
    EXPECT_EQ(s->getVersionID(), 2);
    EXPECT_EQ(s->getStartWavelength(), 0);
    EXPECT_FLOAT_EQ(s->getSamples(0), 10.0f);
    EXPECT_FLOAT_EQ(s->getSamples(1), 10.0f);
    EXPECT_FLOAT_EQ(s->getSamples(2), 10.125f);
    EXPECT_FLOAT_EQ(s->getSamples(3), 11.0f);      // [410, 420] mean = value at 415
    EXPECT_FLOAT_EQ(s->getSamples(39), 39.0f);

    // One sample is a constant everywhere.
    const float wl1 = 550.0f, v1 = 0.25f;
    ASSERT_TRUE(s->load(1, &wl1, &v1));
    for(float x : s->getSamples())
        EXPECT_EQ(x, 0.25f);

    // Equal neighbours are fine; count 0 gives empty lists.
    const float same[2] = {500.0f, 500.0f};
    EXPECT_TRUE(s->load(2, same, vals));
    EXPECT_TRUE(s->load(0, nullptr, nullptr));
    EXPECT_TRUE(s->getWavelengths().empty());
}

TEST(Spectrum, DecreasingWavelengthsKeepThePairsReadAndReportBoth)
{
    SpectrumHolder s;
    s->setOne();
    const float wl[3] = {500.0f, 490.0f, 600.0f};
    const float v[3] = {1.0f, 2.0f, 3.0f};
    LogCapture log;
    StdoutCapture out;
    EXPECT_FALSE(s->load(3, wl, v));
    EXPECT_EQ(out.text(), "(*wavelengths)[i]: 490\n(*wavelengths)[i-1]: 500\n");
    ASSERT_EQ(log.count(), 1u);
    EXPECT_EQ(log.entries()[0].label, "ERROR");
    EXPECT_EQ(log.entries()[0].text, "ERROR Spectrum: Wavelengths not monotonically increasing.");
    EXPECT_EQ(values(s->getWavelengths()), (std::vector<float>{500.0f, 490.0f}));
    EXPECT_EQ(values(s->getSourceValues()), (std::vector<float>{1.0f, 2.0f}));
    EXPECT_EQ(s->getVersionID(), 1);      // no other field touched
    EXPECT_EQ(s->getNumSamples(), 81);
}

TEST(Spectrum, ChangedSwitchesOnAFlatSpectrumAndOffAnEmptyOne)
{
    SpectrumHolder s;
    // 40 samples, version 0, switched on: becomes flat 1 from 380 to 780 nm in 5 nm steps.
    beginEditCP(s.get(), Spectrum::SamplesFieldMask | Spectrum::UseSpectrumFieldMask);
    s->editMFSamples()->resize(40, 0.5f);
    s->setUseSpectrum(true);
    endEditCP(s.get(), Spectrum::SamplesFieldMask | Spectrum::UseSpectrumFieldMask);
    EXPECT_EQ(s->getVersionID(), 1);
    EXPECT_EQ(s->getNumSamples(), 81);
    EXPECT_EQ(s->getStartWavelength(), 380);
    EXPECT_EQ(s->getDeltaWavelength(), 5);
    EXPECT_FLOAT_EQ(s->getWavelengths(80), 780.0f);
    EXPECT_FLOAT_EQ(s->getSamples(17), 1.0f);

    // numSamples set to 0 on a used spectrum switches it off.
    beginEditCP(s.get(), Spectrum::NumSamplesFieldMask);
    s->setNumSamples(0);
    endEditCP(s.get(), Spectrum::NumSamplesFieldMask);
    EXPECT_FALSE(s->getUseSpectrum());
    EXPECT_EQ(s->getVersionID(), 0);

    // Source values edited directly re-derive the samples.
    s->set(2.0f, 380, 5, 81);
    beginEditCP(s.get(), Spectrum::SourceValuesFieldMask);
    for(Real32 &v : s->editMFSourceValues()->getValues())
        v = 4.0f;
    endEditCP(s.get(), Spectrum::SourceValuesFieldMask);
    EXPECT_FLOAT_EQ(s->getSamples(0), 4.0f);
}

TEST(Spectrum, QueriesOnAbsentSpectraAnswerZero)
{
    SpectrumHolder s;
    EXPECT_EQ(s->getSum(), 0.0f);
    EXPECT_EQ(s->getMaxValue(), 0.0f);
    EXPECT_EQ(s->getPhotometricValue(), 0.0f);
    EXPECT_EQ(s->getXYZ(), Vec3f(0, 0, 0));
    EXPECT_EQ(s->getRGB(), Vec3f(0, 0, 0));
    // In use but with fewer than 40 samples (written around the edit protocol).
    s->editUseSpectrum() = true;
    s->editMFSamples()->resize(39, 1.0f);
    s->editMFSourceValues()->resize(3, 1.0f);
    s->editNumSamples() = 3;
    EXPECT_EQ(s->getSum(), 0.0f);
    EXPECT_EQ(s->getMaxValue(), 0.0f);
    EXPECT_EQ(s->getXYZ(), Vec3f(0, 0, 0));
    s->scale(2.0f);
    EXPECT_EQ(s->getSourceValues(0), 1.0f);
}

TEST(Spectrum, SumMaximumAndScale)
{
    SpectrumHolder s;
    const float wl[3] = {380.0f, 580.0f, 780.0f};
    const float v[3] = {0.0f, 4.0f, 0.0f};
    ASSERT_TRUE(s->load(3, wl, v));
    EXPECT_FLOAT_EQ(s->getMaxValue(), 4.0f);
    // A triangle of height 4 over 400 nm: mean 2, so the 40 samples sum to 80.
    EXPECT_NEAR(s->getSum(), 80.0f, 1e-4f);
    s->scale(0.5f);
    EXPECT_FLOAT_EQ(s->getMaxValue(), 2.0f);
    EXPECT_NEAR(s->getSum(), 40.0f, 1e-4f);
}

TEST(Spectrum, OptionsRoundTripAndBadTuplesAreRefused)
{
    SpectrumHolder a, b;
    const float v[2] = {0.5f, 0.75f};
    a->load(400, 20, 2, v);
    Spectrum::Options o = a->getOptions();
    EXPECT_TRUE(std::get<0>(o));
    EXPECT_EQ(std::get<2>(o), 1);
    EXPECT_EQ(std::get<3>(o), 400);
    EXPECT_EQ(std::get<4>(o), 20);
    EXPECT_EQ(std::get<5>(o), 2);
    EXPECT_EQ(std::get<6>(o), (std::vector<float>{400.0f, 420.0f}));
    b->setOptions(o);
    EXPECT_EQ(values(b->getSourceValues()), (std::vector<float>{0.5f, 0.75f}));
    EXPECT_EQ(values(b->getWavelengths()), (std::vector<float>{400.0f, 420.0f}));
    EXPECT_FLOAT_EQ(b->getSamples(3), 0.6875f);   // [410, 420]: ramp 0.625 -> 0.75
    // Version 2 takes the wavelengths from the tuple.
    Spectrum::Options o2(true, "x.txt", 2, 0, 0, 2, {450.0f, 460.0f}, {1.0f, 3.0f});
    b->setOptions(o2);
    EXPECT_EQ(b->getFilename(), "x.txt");
    EXPECT_FLOAT_EQ(b->getWavelengths(1), 460.0f);

    LogCapture log;
    Spectrum::Options bad(true, "y", 2, 0, 0, 5, {450.0f}, {1.0f});
    b->setOptions(bad);
    EXPECT_EQ(b->getFilename(), "x.txt");
    EXPECT_EQ(log.count(), 1u);
}

TEST(Spectrum, CopyRebuildsRegularWavelengths)
{
    SpectrumHolder a, b;
    const float v[3] = {1.0f, 2.0f, 3.0f};
    a->load(500, 10, 3, v);
    a->editMFWavelengths()->clear();   // a regular copy recomputes them from start and delta
    EXPECT_TRUE(b->copy(a.get()));
    EXPECT_EQ(values(b->getWavelengths()), (std::vector<float>{500.0f, 510.0f, 520.0f}));
    EXPECT_EQ(values(b->getSourceValues()), (std::vector<float>{1.0f, 2.0f, 3.0f}));
    EXPECT_EQ(b->getVersionID(), 1);
    EXPECT_EQ(b->getStartWavelength(), 500);
    EXPECT_FLOAT_EQ(b->getSamples(13), 2.5f);   // [510, 520]
    EXPECT_FALSE(b->copy(NullFC));
    EXPECT_EQ(b->getNumSamples(), 3);
}

TEST(Spectrum, UnLoadClearsButKeepsTheGrid)
{
    SpectrumHolder s;
    s->set(1.0f, 400, 10, 31);
    StdoutCapture out;
    s->unLoad();
    EXPECT_EQ(out.text(), "Spectrum::unLoad\n");
    EXPECT_FALSE(s->getUseSpectrum());
    EXPECT_EQ(s->getVersionID(), 0);
    EXPECT_TRUE(s->getSamples().empty());
    EXPECT_TRUE(s->getWavelengths().empty());
    EXPECT_EQ(s->getStartWavelength(), 400);
    EXPECT_EQ(s->getDeltaWavelength(), 10);
    EXPECT_EQ(s->getNumSamples(), 31);
}

TEST(Spectrum, PrintListsTheSource)
{
    SpectrumHolder s;
    const float v[2] = {0.5f, 2.0f};
    s->load(400, 50, 2, v);
    {
        StdoutCapture out;
        s->print();
        EXPECT_EQ(out.text(), "Spectrum::print\nfilename: \nversionID: 1\nspectral1 \n"
                              "dataWavelengthStart: 400 \ndataWavelengthDelta: 50 \n"
                              "dataNumSpectraSamples: 2 \n0.5 2 \n");
    }
    const float wl[2] = {410.0f, 420.5f};
    s->load(2, wl, v);
    {
        StdoutCapture out;
        s->print();
        EXPECT_EQ(out.text(), "Spectrum::print\nfilename: \nversionID: 2\nspectral2 \n"
                              "dataNumSpectraSamples: 2\n410 420.5 \n0.5 2 \n");
    }
    s->unLoad();
    StdoutCapture out;
    s->print();
    s->dump();
    EXPECT_EQ(out.text(), "Spectrum::print\nfilename: \nversionID: 0\n"
                          "Unknown Spectrum File Version!\nDump Spectrum NI\n");
}

TEST(Spectrum, AddOnSameAndDifferentGrids)
{
    SpectrumHolder a, b;
    const float v1[2] = {1.0f, 2.0f}, v2[2] = {10.0f, 20.0f};
    a->load(400, 100, 2, v1);
    b->load(400, 100, 2, v2);
    a->add(b.get());
    EXPECT_EQ(values(a->getSourceValues()), (std::vector<float>{11.0f, 22.0f}));
    EXPECT_EQ(a->getVersionID(), 1);

    // Union of the grids, each side extended by its end values.
    const float wa[2] = {400.0f, 500.0f}, va[2] = {1.0f, 1.0f};
    const float wb[2] = {450.0f, 550.0f}, vb[2] = {0.0f, 2.0f};
    a->load(2, wa, va);
    b->load(2, wb, vb);
    a->add(b.get());
    EXPECT_EQ(values(a->getWavelengths()), (std::vector<float>{400.0f, 450.0f, 500.0f, 550.0f}));
    EXPECT_EQ(values(a->getSourceValues()), (std::vector<float>{1.0f, 1.0f, 2.0f, 3.0f}));
    EXPECT_EQ(a->getVersionID(), 2);

    // Adding to an unused spectrum copies; adding an unused one or null changes nothing.
    SpectrumHolder c;
    c->add(b.get());
    EXPECT_EQ(values(c->getSourceValues()), (std::vector<float>{0.0f, 2.0f}));
    SpectrumHolder unused;
    c->add(unused.get());
    c->add(NullFC);
    EXPECT_EQ(c->getNumSamples(), 2);
}

TEST(Spectrum, PhotometricValueCanBeSetAndZeroed)
{
    SpectrumHolder s;
    s->set(2.0f, 380, 5, 81);
    // y-bar's 40 derived samples sum to 1, so a flat 2 has photometric value 2.
    EXPECT_NEAR(s->getPhotometricValue(), 2.0f, 1e-5f);
    s->setPhotometricValue(5.0f);
    EXPECT_NEAR(s->getPhotometricValue(), 5.0f, 1e-5f);
    EXPECT_NEAR(s->getSourceValues(0), 5.0f, 1e-5f);

    LogCapture log;
    s->setPhotometricValue(-1.0f);
    s->setPhotometricValue(std::nanf(""));
    EXPECT_EQ(log.count(), 2u);
    EXPECT_NEAR(s->getPhotometricValue(), 5.0f, 1e-5f);

    s->setPhotometricValue(0.0f);   // black, still in use
    EXPECT_TRUE(s->getUseSpectrum());
    EXPECT_EQ(s->getMaxValue(), 0.0f);
    log.clear();
    s->setPhotometricValue(3.0f);   // nothing to scale
    EXPECT_EQ(log.count(), 1u);
    EXPECT_EQ(s->getMaxValue(), 0.0f);
}

TEST(Spectrum, AnalyticCurves)
{
    SpectrumHolder s;
    s->addAnalyticFunction(Spectrum::AnalyticGaussian, 2.0f, 550.0f, 20.0f, 0.0f, false, 380, 5,
                           81);
    EXPECT_EQ(s->getNumSamples(), 81);
    EXPECT_FLOAT_EQ(s->getSourceValues(34), 2.0f);                       // 550 nm
    EXPECT_NEAR(s->getSourceValues(38), 2.0f * std::exp(-0.5f), 1e-6f);  // 570 nm
    // Added onto the current source, with an offset.
    s->addAnalyticFunction(Spectrum::AnalyticBox, 1.0f, 540.0f, 560.0f, 0.5f, false, 380, 5, 81);
    EXPECT_FLOAT_EQ(s->getSourceValues(34), 3.5f);
    EXPECT_FLOAT_EQ(s->getSourceValues(0), 0.5f);
    // Normalised: the peak on the grid becomes p0.
    SpectrumHolder n;
    n->addAnalyticFunction(Spectrum::AnalyticBlackBody, 3.0f, 5000.0f, 0.0f, 0.0f, true, 380, 10,
                           41);
    EXPECT_FLOAT_EQ(n->getMaxValue(), 3.0f);

    LogCapture log;
    n->addAnalyticFunction(42, 1, 1, 1, 1, false, 380, 5, 81);
    n->addAnalyticFunction(Spectrum::AnalyticGaussian, 1, 500, 0, 0, false, 380, 5, 81);
    n->addAnalyticFunction(Spectrum::AnalyticConstant, 1, 0, 0, 0, false, 380, 0, 81);
    n->addAnalyticFunction(Spectrum::AnalyticConstant, 1, 0, 0, 0, false, 380, 5, 1 << 30);
    EXPECT_EQ(log.count(), 4u);
    EXPECT_FLOAT_EQ(n->getMaxValue(), 3.0f);
}

TEST(Spectrum, BlackBodyAt2856KelvinMatchesIlluminantA)
{
    // CIE illuminant A is a 2848 K Planck curve with the old c2; at 2856 K with today's c2 the
    // published table and Planck's law agree to about 0.13 %.
    SpectrumHolder s;
    s->addAnalyticFunction(Spectrum::AnalyticBlackBody, 100.0f, 2856.0f, 0.0f, 0.0f, false, 300,
                           5, Int32(SpectralData::CIEilluminantCount));
    for(UInt32 i = 0; i < SpectralData::CIEilluminantCount; ++i)
        EXPECT_NEAR(s->getSourceValues(i) / SpectralData::CIEilluminant_A[i], 1.0f, 2e-3f)
            << SpectralData::CIEilluminant_lambda[i] << " nm";
}
