// The two ".spectral" versions and plain text pairs: bytes written out by hand, round trips,
// routing by name, and bad files that must fail with a message and leave the spectrum alone.

#include "spectral/SpectralTestSupport.h"

#include <OpenSGExt/OSGSpectralData.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

using namespace osg;
using namespace spectraltest;

namespace {

std::vector<float> values(const MFReal32 &f) { return std::vector<float>(f.begin(), f.end()); }

bool anyError(const LogCapture &log, const std::string &text)
{
    for(const LogEntry &e : log.entries())
        if(e.label == "ERROR" && e.text == text)
            return true;
    return false;
}

} // namespace

TEST(SpectrumFiles, Version1IsWrittenAndReadBack)
{
    TempDir dir;
    SpectrumHolder s, back;
    const float v[3] = {0.5f, 1.25f, 2.0f};
    s->load(380, 5, 3, v);
    const std::string path = dir.file("flat.spectral");
    {
        StdoutCapture out;
        ASSERT_TRUE(s->save(path));
        EXPECT_EQ(out.text(), "Spectrum::save\nSpectrum File: " + path +
                                  "\nSuccessfully wrote Spectrum File: " + path + "\n");
    }
    EXPECT_EQ(TempDir::read(path), "spectral1 380 5 3 \n0.5 1.25 2 ");

    StdoutCapture out;
    ASSERT_TRUE(back->load(path));
    EXPECT_EQ(out.text(), "Spectrum::loadNative\nversion: spectral1\nstartWavelength: 380\n"
                          "deltaWavelength: 5\nnumSamples: 3\nSuccessfully read Spectrum File: " +
                              path + "\n");
    EXPECT_TRUE(back->getUseSpectrum());
    EXPECT_EQ(back->getVersionID(), 1);
    EXPECT_EQ(back->getFilename(), path);
    EXPECT_EQ(back->getStartWavelength(), 380);
    EXPECT_EQ(back->getDeltaWavelength(), 5);
    EXPECT_EQ(values(back->getWavelengths()), (std::vector<float>{380.0f, 385.0f, 390.0f}));
    EXPECT_EQ(values(back->getSourceValues()), (std::vector<float>{0.5f, 1.25f, 2.0f}));
    EXPECT_EQ(back->getSamples().size(), 40u);
}

TEST(SpectrumFiles, Version2IsWrittenAndReadBack)
{
    TempDir dir;
    SpectrumHolder s, back;
    const float wl[2] = {400.0f, 410.5f};
    const float v[2] = {1.0f, 1.0f / 3.0f};
    s->load(2, wl, v);
    const std::string path = dir.file("two.SPECTRAL");
    ASSERT_TRUE(s->save(path));
    EXPECT_EQ(TempDir::read(path), "spectral2 2 \n400 410.5 \n1 0.333333 ");

    StdoutCapture out;
    ASSERT_TRUE(back->loadNative(path));
    EXPECT_EQ(out.text(), "Spectrum::loadNative\nversion: spectral2\nstartWavelength: 0\n"
                          "deltaWavelength: 0\nnumSamples: 2\nSuccessfully read Spectrum File: " +
                              path + "\n");
    EXPECT_EQ(back->getVersionID(), 2);
    EXPECT_EQ(back->getStartWavelength(), 0);
    EXPECT_EQ(values(back->getWavelengths()), (std::vector<float>{400.0f, 410.5f}));
    EXPECT_FLOAT_EQ(back->getSourceValues(1), 0.333333f);
}

TEST(SpectrumFiles, IlluminantRoundTripKeepsItsColour)
{
    TempDir dir;
    SpectralData &data = SpectralData::Instance();
    SpectrumHolder back;
    const std::string path = dir.file("d65.spectral");
    ASSERT_TRUE(data.getD65()->save(path));   // version 2, 107 pairs
    ASSERT_TRUE(back->load(path));
    ASSERT_EQ(back->getNumSamples(), 107);
    for(UInt32 i = 0; i < 107; ++i)   // six significant digits in the file
        EXPECT_NEAR(back->getSourceValues(i), data.getD65()->getSourceValues(i),
                    1e-5f * data.getD65()->getSourceValues(i) + 1e-6f);
    Vec3f a = data.getD65()->getXYZ(), b = back->getXYZ();
    for(int k = 0; k < 3; ++k)
        EXPECT_NEAR(a[k], b[k], 1e-4f * a[k]);
}

TEST(SpectrumFiles, TextPairsWithMixedSeparators)
{
    TempDir dir;
    SpectrumHolder s;
    const std::string path = dir.write("pairs.txt", "400 1\n410.5, 2\r\n420;3\n\n");
    StdoutCapture out;
    ASSERT_TRUE(s->load(path));
    EXPECT_EQ(out.text(), "Spectrum::loadTxt\nSuccessfully read Spectrum File: " + path + "\n");
    EXPECT_TRUE(s->getUseSpectrum());
    EXPECT_EQ(s->getVersionID(), 2);
    EXPECT_EQ(s->getStartWavelength(), 400);
    EXPECT_EQ(s->getDeltaWavelength(), 0);
    EXPECT_EQ(s->getNumSamples(), 3);
    EXPECT_EQ(s->getFilename(), path);
    EXPECT_EQ(values(s->getWavelengths()), (std::vector<float>{400.0f, 410.5f, 420.0f}));
    EXPECT_EQ(values(s->getSourceValues()), (std::vector<float>{1.0f, 2.0f, 3.0f}));
}

TEST(SpectrumFiles, RoutingByNameIsASubstringTest)
{
    TempDir dir;
    SpectrumHolder s;
    const std::string bak = dir.write("a.spectral.bak", "spectral1 400 10 1 \n7 ");
    {
        StdoutCapture out;
        EXPECT_TRUE(s->load(bak));
        EXPECT_EQ(out.text().rfind("Spectrum::loadNative\n", 0), 0u);
    }
    EXPECT_FLOAT_EQ(s->getSamples(0), 7.0f);
    const std::string txt = dir.write("b.TXT.old", "500 2");
    EXPECT_TRUE(s->load(txt));
    EXPECT_EQ(s->getVersionID(), 2);

    LogCapture log;
    const std::string csv = dir.write("c.csv", "500 2");
    EXPECT_FALSE(s->load(csv));
    EXPECT_EQ(s->getFilename(), txt);
    EXPECT_EQ(log.count(), 1u);
}

TEST(SpectrumFiles, SaveFailures)
{
    TempDir dir;
    SpectrumHolder s;
    {
        StdoutCapture out;
        EXPECT_FALSE(s->save(dir.file("none.spectral")));   // version 0
        EXPECT_EQ(out.text(), "Spectrum::save\nSpectrum File: " + dir.file("none.spectral") +
                                  "\nUnknown Spectrum File Version!\n");
    }
    EXPECT_FALSE(std::filesystem::exists(dir.file("none.spectral")));
    s->setOne();
    const std::string bad = dir.file("missing/dir/x.spectral");
    StdoutCapture out;
    EXPECT_FALSE(s->save(bad));
    EXPECT_NE(out.text().find("Error writing Spectrum File: " + bad + "\n"), std::string::npos);
}

struct BadFile
{
    const char *name;
    const char *contents;
    const char *error;   // the skLog error line expected
};

TEST(SpectrumFiles, BadNativeFilesFailAndChangeNothing)
{
    const char *const Format = "ERROR Spectrum: Unexpected file format.";
    const char *const Version = "ERROR Spectrum: Unknown Spectrum File Version!";
    const char *const Order = "ERROR Spectrum: Wavelengths not monotonically increasing.";
    const char *const Finite = "ERROR Spectrum: Value is not a finite number.";
    const BadFile cases[] = {
        {"empty.spectral", "", Version},
        {"version.spectral", "spectral3 380 5 1\n1", Version},
        {"short-header.spectral", "spectral1 380 5\n1 2", Format},
        {"float-header.spectral", "spectral1 380.5 5 1\n1", Format},
        {"few.spectral", "spectral1 380 5 3\n1 2", Format},
        {"text.spectral", "spectral1 380 5 3\n1 abc 2", Format},
        {"glued.spectral", "spectral2 2\n400 410x\n1 2", Format},
        {"nan.spectral", "spectral1 380 5 2\nnan 1", Finite},
        {"inf.spectral", "spectral1 380 5 2\n1 -inf", Finite},
        {"huge.spectral", "spectral1 380 5 2\n1e60 1", Finite},
        {"backwards.spectral", "spectral1 380 -5 3\n1 2 3", Order},
        {"decrease.spectral", "spectral2 2\n500 490\n1 2", Order},
        {"billions.spectral", "spectral2 3000000000\n1 2", Format},
        {"many.spectral", "spectral2 2000000000\n1 2", "ERROR Spectrum: Sample count 2000000000 "
                                                      "out of range (0 to 1048576)."},
        {"negative.spectral", "spectral1 380 5 -4\n", "ERROR Spectrum: Sample count -4 out of "
                                                      "range (0 to 1048576)."},
    };
    TempDir dir;
    SpectrumHolder s;
    const float v[2] = {3.0f, 4.0f};
    s->load(600, 10, 2, v);
    const Spectrum::Options before = s->getOptions();
    for(const BadFile &c : cases)
    {
        SCOPED_TRACE(c.name);
        const std::string path = dir.write(c.name, c.contents);
        LogCapture log;
        StdoutCapture out;
        EXPECT_FALSE(s->load(path));
        std::string text = out.text();
        EXPECT_TRUE(anyError(log, c.error)) << log.text();
        EXPECT_NE(text.find("Error reading Spectrum File: " + path + "\n"), std::string::npos);
        EXPECT_EQ(text.find("Successfully"), std::string::npos);
        EXPECT_TRUE(s->getOptions() == before);
        if(std::string(c.name) == "decrease.spectral")
        {
            EXPECT_NE(text.find("2 (*wavelengths)[i]: 490\n2 (*wavelengths)[i-1]: 500\n"),
                      std::string::npos);
        }
    }

    LogCapture log;
    EXPECT_FALSE(s->loadNative(dir.file("does-not-exist.spectral")));
    EXPECT_EQ(log.count(), 1u);
    // Too large to be a spectrum: refused before anything is read (a sparse file).
    const std::string big = dir.write("big.spectral", "spectral1 380 5 1\n1");
    std::filesystem::resize_file(big, Spectrum::MaxFileBytes + 1);
    EXPECT_FALSE(s->loadNative(big));
    EXPECT_TRUE(s->getOptions() == before);
}

TEST(SpectrumFiles, BadTextFilesSwitchOffButKeepTheData)
{
    const char *const Format = "ERROR Spectrum: Unexpected file format.";
    const BadFile cases[] = {
        {"empty.txt", "", Format},
        {"blank.txt", " \n\t\n", Format},
        {"odd.txt", "400 1 410", Format},
        {"header.txt", "lambda,value\n400,1", Format},
        {"nan.txt", "400 nan", "ERROR Spectrum: Value is not a finite number."},
        {"order.txt", "400 1 390 2", "ERROR Spectrum: Wavelengths not monotonically increasing."},
    };
    TempDir dir;
    SpectrumHolder s;
    for(const BadFile &c : cases)
    {
        SCOPED_TRACE(c.name);
        s->setOne();
        Spectrum::Options before = s->getOptions();
        std::get<0>(before) = false;   // loadTxt switches the spectrum off first
        const std::string path = dir.write(c.name, c.contents);
        LogCapture log;
        StdoutCapture out;
        EXPECT_FALSE(s->loadTxt(path));
        std::string text = out.text();
        EXPECT_TRUE(anyError(log, c.error)) << log.text();
        EXPECT_NE(text.find("Error reading Spectrum File: " + path + "\n"), std::string::npos);
        EXPECT_TRUE(s->getOptions() == before);
        if(std::string(c.name) == "order.txt")
        {
            EXPECT_NE(text.find("(*wavelengths)[i]: 390\n(*wavelengths)[i-1]: 400\n"),
                      std::string::npos);
        }
    }
}
