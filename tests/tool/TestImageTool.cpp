// osgext image convert / layers on real files, checked by ImageMagick.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include <unistd.h>

namespace {

namespace fs = std::filesystem;

struct ToolDir
{
    ToolDir(void)
        : dir(fs::path(::testing::TempDir()) / ("osgext_image_" + std::to_string(::getpid())))
    {
        fs::create_directories(dir);
    }
    ~ToolDir(void)
    {
        std::error_code ec;
        fs::remove_all(dir, ec);
    }
    std::string path(const std::string &name) const { return (dir / name).string(); }
    fs::path dir;
};

// Output and exit code of a command.
std::string run(const std::string &cmd, int &rc)
{
    std::string out;
    FILE *pipe = popen((cmd + " 2>&1").c_str(), "r");
    if(pipe == NULL)
    {
        rc = -1;
        return out;
    }
    char buf[4096];
    size_t n;
    while((n = fread(buf, 1, sizeof(buf), pipe)) > 0)
        out.append(buf, n);
    int status = pclose(pipe);
    rc = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return out;
}

std::string magick(const std::string &tool)
{
    const std::string direct = "/usr/bin/" + tool;
    return ::access(direct.c_str(), X_OK) == 0 ? direct : tool;
}

const std::string Tool = SKOSG_OSGEXT_PATH;

} // namespace

// PNG -> PSD -> PSB -> PNG keeps every pixel (8-bit RGBA throughout).
TEST(ImageTool, ConvertRoundTrip)
{
    ToolDir d;
    int rc = 0;
    run(magick("convert") + " -size 9x7 gradient:'rgba(250,10,20,1)'-'rgba(5,90,200,0.4)' -depth 8 PNG32:" +
        d.path("in.png"), rc);
    ASSERT_EQ(rc, 0);
    std::string out = run(Tool + " image convert " + d.path("in.png") + " " + d.path("a.psd"), rc);
    EXPECT_EQ(rc, 0) << out;
    EXPECT_NE(out.find("(9x7 RGBA 8-bit, image/x-photoshop)"), std::string::npos) << out;
    out = run(Tool + " image convert " + d.path("a.psd") + " " + d.path("a.psb"), rc);
    EXPECT_EQ(rc, 0) << out;
    EXPECT_NE(out.find("image/x-photoshop-big"), std::string::npos) << out;
    out = run(Tool + " image convert " + d.path("a.psb") + " " + d.path("back.png"), rc);
    EXPECT_EQ(rc, 0) << out;
    out = run(magick("compare") + " -metric AE " + d.path("in.png") + " " + d.path("back.png") +
              " null:", rc);
    EXPECT_EQ(out, "0") << out;
    // The PSD carries the sRGB profile the tool adds.
    out = run(magick("identify") + " -verbose " + d.path("a.psd"), rc);
    EXPECT_NE(out.find("icc:description: sRGB"), std::string::npos) << out;
}

// A layered document: ImageMagick lists the merged image, then each layer with name and size.
TEST(ImageTool, LayersShowInImageMagick)
{
    ToolDir d;
    int rc = 0;
    run(magick("convert") + " -size 12x8 gradient:red-blue -depth 8 " + d.path("bg.png"), rc);
    ASSERT_EQ(rc, 0);
    run(magick("convert") + " -size 12x8 xc:none -fill '#00ff0080' -draw 'rectangle 2,2 6,5' PNG32:" +
        d.path("fg.png"), rc);
    ASSERT_EQ(rc, 0);
    std::string out = run(Tool + " image layers " + d.path("doc.psd") + " " + d.path("bg.png") +
                          " " + d.path("fg.png") + " --names Background 'Green box'", rc);
    EXPECT_EQ(rc, 0) << out;
    EXPECT_NE(out.find("2 layers (\"Background\", \"Green box\")"), std::string::npos) << out;
    out = run(magick("identify") + " -format '%[label]|%w|%h\\n' " + d.path("doc.psd"), rc);
    EXPECT_NE(out.find("Background|12|8\nGreen box|12|8\n"), std::string::npos) << out;
    // The box layer's pixel inside and outside the box.
    out = run(magick("convert") + " '" + d.path("doc.psd") + "[2]' -depth 8 txt:-", rc);
    EXPECT_NE(out.find("3,3: (0,255,0,128)"), std::string::npos) << out;
    EXPECT_NE(out.find("10,7: (0,0,0,0)"), std::string::npos) << out;

    // Names default to the files' names; PSB by suffix.
    out = run(Tool + " image layers " + d.path("doc.psb") + " " + d.path("bg.png") + " " +
              d.path("fg.png"), rc);
    EXPECT_EQ(rc, 0) << out;
    out = run(magick("identify") + " -format '%[label]|%w|%h\\n' " + d.path("doc.psb"), rc);
    EXPECT_NE(out.find("bg|12|8\nfg|12|8\n"), std::string::npos) << out;
}

TEST(ImageTool, BadInputsFail)
{
    ToolDir d;
    int rc = 0;
    std::string out = run(Tool + " image convert " + d.path("missing.png") + " " + d.path("x.psd"), rc);
    EXPECT_EQ(rc, 1);
    EXPECT_NE(out.find("cannot read"), std::string::npos) << out;
    {
        FILE *f = std::fopen(d.path("bad.psd").c_str(), "wb");
        ASSERT_NE(f, nullptr);
        std::fputs("8BPS\x00\x07garbage", f);
        std::fclose(f);
    }
    out = run(Tool + " image convert " + d.path("bad.psd") + " " + d.path("x.png"), rc);
    EXPECT_EQ(rc, 1);
    EXPECT_NE(out.find("PSD file is corrupt! header"), std::string::npos) << out;
    out = run(Tool + " image convert " + d.path("bad.psd") + " " + d.path("x.unknown"), rc);
    EXPECT_EQ(rc, 1);
    EXPECT_NE(out.find("no image file type writes"), std::string::npos) << out;
    out = run(Tool + " image layers " + d.path("x.png") + " " + d.path("bad.psd"), rc);
    EXPECT_EQ(rc, 1);
    EXPECT_NE(out.find("must end in .psd or .psb"), std::string::npos) << out;
    out = run(Tool + " image", rc);
    EXPECT_EQ(rc, 2) << out;
}
