// osgext spectrum and the demo's spectra, run as a user would: files written here from the
// published CSV tables (not by the library), the tool's printed colours checked against CIE
// values, and the plot checked as an SVG document.

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

struct ToolRun
{
    int         code = -1;
    std::string output;   // stdout and stderr
};

ToolRun osgext(const std::string &args)
{
    ToolRun r;
    std::string cmd = std::string("\"") + SKOSG_OSGEXT_PATH + "\" " + args + " 2>&1";
    FILE *pipe = popen(cmd.c_str(), "r");
    if(pipe == nullptr)
        return r;
    char buf[4096];
    size_t n;
    while((n = fread(buf, 1, sizeof(buf), pipe)) > 0)
        r.output.append(buf, n);
    int status = pclose(pipe);
    r.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return r;
}

class SpectralToolTest : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        _dir = fs::temp_directory_path() /
               ("skosg-spectral-tool-" +
                std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
        fs::remove_all(_dir);
        fs::create_directories(_dir);
    }
    void TearDown() override { fs::remove_all(_dir); }

    std::string path(const std::string &name) const { return (_dir / name).string(); }
    std::string write(const std::string &name, const std::string &text) const
    {
        std::ofstream(path(name), std::ios::binary) << text;
        return path(name);
    }

    fs::path _dir;
};

// The numbers after a label such as "XYZ:" on the tool's output.
std::vector<double> numbersAfter(const std::string &output, const std::string &label)
{
    std::vector<double> v;
    size_t at = output.find(label);
    if(at == std::string::npos)
        return v;
    std::istringstream line(output.substr(at + label.size(),
                                          output.find('\n', at) - at - label.size()));
    double x;
    while(line >> x)
        v.push_back(x);
    return v;
}

// D65 from the published table, as a version-2 spectrum file written by hand.
std::string d65File(const std::string &target)
{
    std::ifstream csv(std::string(SKOSG_SOURCE_DIR) +
                      "/OpenSGExt/Spectral/data/cie_illuminants.csv");
    std::string line, wl, val;
    std::getline(csv, line);   // header: lambda,A,D65,E
    int n = 0;
    while(std::getline(csv, line))
    {
        std::vector<std::string> f;
        std::stringstream ss(line);
        std::string cell;
        while(std::getline(ss, cell, ','))
            f.push_back(cell);
        wl += f[0] + " ";
        val += f[2] + " ";
        ++n;
    }
    std::ofstream(target) << "spectral2 " << n << " \n" << wl << "\n" << val;
    return target;
}

} // namespace

TEST_F(SpectralToolTest, IlluminantD65PrintsItsColourAndPlots)
{
    const std::string file = d65File(path("d65.spectral"));
    const std::string svg = path("d65.svg");
    ToolRun r = osgext("spectrum \"" + file + "\" --plot \"" + svg + "\"");
    ASSERT_EQ(r.code, 0) << r.output;
    EXPECT_NE(r.output.find("source: version 2 (explicit wavelengths), 107 samples, 300 to 830 nm"),
              std::string::npos) << r.output;
    // As a light, D65 sits at the CIE 015 white point (0.31271, 0.32902), within what the 10 nm
    // intervals allow, and is white in sRGB.
    std::smatch m;
    ASSERT_TRUE(std::regex_search(r.output, m, std::regex(
        "as a light \\(Y = 1\\): x ([0-9.]+), y ([0-9.]+), RGB ([-0-9.]+) ([-0-9.]+) ([-0-9.]+)")))
        << r.output;
    EXPECT_NEAR(std::stod(m[1]), 0.31271, 3e-4);
    EXPECT_NEAR(std::stod(m[2]), 0.32902, 3e-4);
    for(int k = 3; k <= 5; ++k)
        EXPECT_NEAR(std::stod(m[k]), 1.0, 3e-3);
    EXPECT_NE(r.output.find("#ffffff as light"), std::string::npos);
    EXPECT_GE(numbersAfter(r.output, "XYZ:").size(), 3u);
    EXPECT_EQ(numbersAfter(r.output, "photometric value:").size(), 1u);

    std::ifstream in(svg);
    std::string doc((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_EQ(doc.rfind("<?xml", 0), 0u);
    EXPECT_NE(doc.find("<svg xmlns=\"http://www.w3.org/2000/svg\""), std::string::npos);
    EXPECT_NE(doc.find("</svg>"), std::string::npos);
    EXPECT_NE(doc.find("fill=\"#ffffff\""), std::string::npos);   // the light swatch
    // The 40 samples are drawn as 40 steps: 80 points.
    size_t at = doc.find("id=\"samples\"");
    ASSERT_NE(at, std::string::npos);
    std::string d = doc.substr(at, doc.find("/>", at) - at);
    EXPECT_EQ(std::count(d.begin(), d.end(), ','), 80);
    // Ticks from 380 to 780 nm.
    EXPECT_NE(doc.find(">380</text>"), std::string::npos);
    EXPECT_NE(doc.find(">780</text>"), std::string::npos);
}

TEST_F(SpectralToolTest, PerfectReflectorIsTheD65WhitePoint)
{
    std::string values;
    for(int i = 0; i < 81; ++i)
        values += "1 ";
    const std::string file = write("white.spectral", "spectral1 380 5 81 \n" + values);
    ToolRun r = osgext("spectrum \"" + file + "\"");
    ASSERT_EQ(r.code, 0) << r.output;
    std::vector<double> xyz = numbersAfter(r.output, "XYZ:");
    ASSERT_GE(xyz.size(), 3u) << r.output;
    EXPECT_NEAR(xyz[0], 0.95047, 2e-4);
    EXPECT_NEAR(xyz[1], 1.0, 1e-5);
    EXPECT_NEAR(xyz[2], 1.08883, 1e-3);
    for(const char *label : {"RGB (skColor):", "RGB (sRGB matrix):"})
    {
        std::vector<double> rgb = numbersAfter(r.output, label);
        ASSERT_EQ(rgb.size(), 3u) << label;
        for(double c : rgb)
            EXPECT_NEAR(c, 1.0, 2e-3) << label;
    }
    EXPECT_NEAR(numbersAfter(r.output, "photometric value:").at(0), 1.0, 1e-4);

    // The 2006 observer gives the same Y for a perfect reflector.
    ToolRun r2 = osgext("spectrum \"" + file + "\" --observer 2006");
    ASSERT_EQ(r2.code, 0) << r2.output;
    EXPECT_NE(r2.output.find("observer: CIE 2006"), std::string::npos);
    EXPECT_NEAR(numbersAfter(r2.output, "XYZ:").at(1), 1.0, 1e-5);
}

TEST_F(SpectralToolTest, TextPairsAndBadInput)
{
    // A grey reflector of 0.5 as text pairs.
    const std::string txt = write("grey.txt", "380 0.5\n780 0.5\n");
    ToolRun r = osgext("spectrum \"" + txt + "\"");
    ASSERT_EQ(r.code, 0) << r.output;
    EXPECT_NEAR(numbersAfter(r.output, "XYZ:").at(1), 0.5, 1e-5);
    EXPECT_NE(r.output.find("source: version 2 (explicit wavelengths), 2 samples"),
              std::string::npos);

    ToolRun missing = osgext("spectrum \"" + path("none.spectral") + "\"");
    EXPECT_EQ(missing.code, 1);
    EXPECT_NE(missing.output.find("osgext spectrum: cannot read"), std::string::npos);

    const std::string bad = write("bad.spectral", "spectral2 4000000000\n1 2");
    ToolRun corrupt = osgext("spectrum \"" + bad + "\"");
    EXPECT_EQ(corrupt.code, 1);
    EXPECT_NE(corrupt.output.find("Error reading Spectrum File:"), std::string::npos);

    EXPECT_EQ(osgext("spectrum \"" + txt + "\" --observer 1964").code, 2);
    EXPECT_EQ(osgext("spectrum").code, 2);
    const std::string plot = path("no/such/dir/p.svg");
    EXPECT_EQ(osgext("spectrum \"" + txt + "\" --plot \"" + plot + "\"").code, 1);
}

TEST_F(SpectralToolTest, DemoShowsSpectra)
{
    ToolRun r = osgext("demo --out \"" + _dir.string() + "\"");
    ASSERT_EQ(r.code, 0) << r.output;
    EXPECT_NE(r.output.find("== spectra"), std::string::npos);
    EXPECT_NE(r.output.find("spectrum D65: 107 samples, as a light x 0.312"), std::string::npos)
        << r.output;
    EXPECT_NE(r.output.find("spectrum A: 107 samples, as a light x 0.447"), std::string::npos);
    EXPECT_NE(r.output.find("perfect reflector under D65: RGB 1.000"), std::string::npos);
    for(const char *f : {"D65.spectral", "D65.svg", "A.spectral", "A.svg",
                         "reflectance-rgb-0.8-0.3-0.1.svg"})
        EXPECT_TRUE(fs::exists(_dir / f)) << f;
}
