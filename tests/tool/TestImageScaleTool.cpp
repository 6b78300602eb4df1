// `osgext image convert` with YIF and IFF files and the --scale/--filter options, checked with
// ImageMagick and gzip as the independent readers and writers.

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace fs = std::filesystem;

namespace {

std::string runCmd(const std::string &cmd, int &rc)
{
    std::string out;
    FILE *pipe = popen((cmd + " 2>&1").c_str(), "r");
    if(pipe == nullptr)
    {
        rc = -1;
        return out;
    }
    char buf[512];
    while(std::fgets(buf, sizeof(buf), pipe))
        out += buf;
    int status = pclose(pipe);
    rc = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return out;
}

struct ToolDir
{
    fs::path dir = fs::temp_directory_path() / ("skosg-scale-tool-" + std::to_string(::getpid()));
    ToolDir() { fs::create_directories(dir); }
    ~ToolDir() { fs::remove_all(dir); }
    std::string operator/(const char *n) const { return "'" + (dir / n).string() + "'"; }
};

const std::string tool = std::string("'") + SKOSG_OSGEXT_PATH + "'";

} // namespace

TEST(ImageScaleTool, ScalesConvertsAndReadsGzipAndIFF)
{
    if(std::system("convert -version > /dev/null 2>&1") != 0)
        GTEST_SKIP() << "ImageMagick not installed";
    ToolDir d;
    int rc = 0;
    // A flat colour stays that colour under any filter; ImageMagick reads what we wrote.
    ASSERT_EQ(std::system(("convert -size 20x10 xc:'rgb(10,200,30)' " + d / "flat.png").c_str()), 0);
    std::string out = runCmd(tool + " image convert " + d / "flat.png" + " " + d / "big.yif" +
                             " --scale 45x31 --filter mitchell", rc);
    ASSERT_EQ(rc, 0) << out;
    EXPECT_NE(out.find("45x31 RGB 8-bit, image/x-yif"), std::string::npos) << out;

    // Compressed by gzip itself, back to PNG, and compared by ImageMagick with a flat 45x31 image.
    ASSERT_EQ(std::system(("gzip -c " + d / "big.yif" + " > " + d / "packed.yif").c_str()), 0);
    out = runCmd(tool + " image convert " + d / "packed.yif" + " " + d / "back.png", rc);
    ASSERT_EQ(rc, 0) << out;
    ASSERT_EQ(std::system(("convert -size 45x31 xc:'rgb(10,200,30)' " + d / "ref.png").c_str()), 0);
    out = runCmd("compare -metric AE " + d / "back.png" + " " + d / "ref.png" + " null:", rc);
    EXPECT_EQ(rc, 0) << out;
    EXPECT_EQ(out, "0") << out;

    // A tiled IFF file to PNG: 4x2 RGBA as ImageMagick sees it.
    std::string iff = std::string("'") + SKOSG_SOURCE_DIR + "/fuzz/image/seeds/fuzz_iff/rgba8_raw.iff'";
    out = runCmd(tool + " image convert " + iff + " " + d / "iff.png", rc);
    ASSERT_EQ(rc, 0) << out;
    out = runCmd("identify -format '%wx%h %[channels]' " + d / "iff.png", rc);
    EXPECT_EQ(rc, 0);
    EXPECT_EQ(out.substr(0, 9), "4x2 srgba") << out;
}

TEST(ImageScaleTool, BadOptionsAndFilesFail)
{
    ToolDir d;
    int rc = 0;
    std::string out = runCmd(tool + " image convert " + d / "none.yif" + " " + d / "x.png", rc);
    EXPECT_EQ(rc, 1) << out;
    std::string seed = std::string("'") + SKOSG_SOURCE_DIR + "/fuzz/image/seeds/fuzz_yif/rgba8_mip.yif'";
    out = runCmd(tool + " image convert " + seed + " " + d / "x.png" + " --scale 10", rc);
    EXPECT_EQ(rc, 1);
    EXPECT_NE(out.find("--scale wants WIDTHxHEIGHT[xDEPTH]"), std::string::npos) << out;
    out = runCmd(tool + " image convert " + seed + " " + d / "x.png" + " --scale 8x8 --filter gauss", rc);
    EXPECT_EQ(rc, 1);
    EXPECT_NE(out.find("unknown filter 'gauss'"), std::string::npos) << out;
    out = runCmd(tool + " image convert " + seed + " " + d / "x.png" + " --filter box", rc);
    EXPECT_EQ(rc, 1);
    out = runCmd(tool + " image convert " + seed + " " + d / "x.png" + " --scale 8x6 --filter box", rc);
    EXPECT_EQ(rc, 0) << out;
    EXPECT_NE(out.find("(4x2 RGBA 8-bit) -> "), std::string::npos) << out;
}
