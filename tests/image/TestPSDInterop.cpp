// PSD and PSB files through our reader and through ImageMagick, the independent reader and
// writer: size, channels, layer names and pixels.
#include <OpenSGExt/OSGPSDImageFileType.h>
#include <OpenSGExt/skICCProfile.h>
#include <OpenSG/OSGImageFileHandler.h>

#include "image/PSDTestSupport.h"

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <sstream>

using namespace osg;
using psdtest::ImageRef;
using psdtest::run;
using psdtest::tempPath;

namespace {

// A w x h RGBA 8-bit image whose pixel (x, y), y counted from the top, is
// (10x + y, 20y + 1, 7x + 3y, 255 - x), memory holding the bottom row first.
void fillPattern(ImageRef &img, int w, int h, UInt32 format = Image::OSG_RGBA_PF)
{
    ASSERT_TRUE(img->set(format, w, h));
    const int comps = img->getComponents();
    UInt8 *d = img->editData();
    for(int y = 0; y < h; ++y)
        for(int x = 0; x < w; ++x)
        {
            UInt8 *p = d + ((h - 1 - y) * w + x) * comps;
            const UInt8 v[4] = { UInt8(10 * x + y), UInt8(20 * y + 1), UInt8(7 * x + 3 * y),
                                 UInt8(255 - x) };
            for(int c = 0; c < comps; ++c)
                p[c] = v[c];
        }
}

std::string imTxt(const std::string &source)
{
    return run(psdtest::convertTool() + " '" + source + "' -depth 8 txt:-");
}

std::string pixelLine(int x, int y, int r, int g, int b, int a = -1)
{
    std::string s = std::to_string(x) + "," + std::to_string(y) + ": (" + std::to_string(r) +
                    "," + std::to_string(g) + "," + std::to_string(b);
    if(a >= 0)
        s += "," + std::to_string(a);
    return s + ")";
}

} // namespace

// Our single-image PSD and PSB of RGBA 8-bit: ImageMagick sees size, alpha and every pixel;
// our reader gives the same bytes back, profile included.
TEST(PSDInterop, SingleImage8Bit)
{
    ImageRef img;
    fillPattern(img, 5, 3);
    std::vector<UInt8> icc = skICCProfile::createSRGB();
    img->setICCProfile(icc.data(), UInt32(icc.size()));
    for(const char *suffix : { "psd", "psb" })
    {
        const std::string file = tempPath(std::string("single.") + suffix);
        ASSERT_TRUE(img->write(file.c_str())) << suffix;
        const std::string info = run("identify -format '%m %w %h %[channels] %z\\n' '" + file + "'");
        // Without layers the fourth channel is an alpha channel of the document, not its
        // transparency (that needs a negative layer count), so ImageMagick shows RGB.
        EXPECT_NE(info.find(" 5 3 srgb 8"),
                  std::string::npos) << info;
        const std::string txt = imTxt(file + "[0]");
        for(int y = 0; y < 3; ++y)
            for(int x = 0; x < 5; ++x)
                EXPECT_NE(txt.find(pixelLine(x, y, 10 * x + y, 20 * y + 1, 7 * x + 3 * y)),
                          std::string::npos) << suffix << " " << x << "," << y << "\n" << txt;
        // The alpha channel and its name are there for readers that list channels.
        const std::string verbose = run("identify -verbose '" + file + "'");
        EXPECT_NE(verbose.find("icc:description: sRGB"), std::string::npos) << verbose;

        ImageRef back;
        ImagePtr bp = back.p;
        ASSERT_TRUE(ImageFileHandler::the().read(bp, file.c_str()));
        EXPECT_EQ(back->getPixelFormat(), UInt32(Image::OSG_RGBA_PF));
        EXPECT_EQ(std::vector<UInt8>(back->getData(), back->getData() + back->getSize()),
                  std::vector<UInt8>(img->getData(), img->getData() + img->getSize()));
        UInt32 n = 0;
        const UInt8 *p = back->getICCProfile(n);
        EXPECT_EQ(std::vector<UInt8>(p, p + n), icc);
        std::remove(file.c_str());
    }
}

// Layers: ImageMagick lists the merged image and each layer with its name and size.
TEST(PSDInterop, LayersWithNames)
{
    ImageRef doc, base, top;
    fillPattern(doc, 4, 3);
    fillPattern(base, 4, 3, Image::OSG_RGB_PF);
    fillPattern(top, 4, 3);
    // The top layer: opaque left half, transparent right half.
    for(int i = 0; i < 12; ++i)
        top->editData()[i * 4 + 3] = (i % 4) < 2 ? 255 : 0;
    for(bool large : { false, true })
    {
        const std::string file = tempPath(large ? "layers.psb" : "layers.psd");
        {
            std::ofstream os(file, std::ios::binary);
            ASSERT_TRUE((large ? PSDImageFileType::theBig() : PSDImageFileType::the())
                            .write(doc.p, os, "", { base.p, top.p }, { "Base", "Top layer" }));
        }
        const std::string info = run("identify -format '%[label]|%w|%h|%[channels]\\n' '" + file + "'");
        EXPECT_NE(info.find("Base|4|3|"), std::string::npos) << info;
        EXPECT_NE(info.find("Top layer|4|3|srgba"), std::string::npos) << info;
        // The second layer's pixels: left half as drawn, right half transparent.
        const std::string txt = imTxt(file + "[2]");
        EXPECT_NE(txt.find(pixelLine(1, 2, 12, 41, 13, 255)), std::string::npos) << txt;
        EXPECT_NE(txt.find(pixelLine(3, 0, 30, 1, 21, 0)), std::string::npos) << txt;

        std::ifstream is(file, std::ios::binary);
        ImageRef merged;
        ImagePtr mp = merged.p;
        std::vector<PSDImageFileType::Layer> layers;
        ASSERT_TRUE(PSDImageFileType::the().readLayers(is, mp, layers));
        ASSERT_EQ(layers.size(), 2u);
        EXPECT_EQ(layers[0].name, "Base");
        EXPECT_EQ(layers[1].name, "Top layer");
        EXPECT_EQ(layers[1].blendModeKey, "norm");
        EXPECT_EQ(layers[1].bottom, 3);
        EXPECT_EQ(layers[1].right, 4);
        ASSERT_NE(layers[0].image, NullFC);
        EXPECT_EQ(layers[0].image->getPixelFormat(), UInt32(Image::OSG_RGB_PF));
        EXPECT_EQ(std::vector<UInt8>(layers[1].image->getData(), layers[1].image->getData() + 48),
                  std::vector<UInt8>(top->getData(), top->getData() + 48));
        PSDImageFileType::releaseLayers(layers);
        std::remove(file.c_str());
    }
}

// 32-bit float documents: ImageMagick reads the floats (big-endian, rows top first).
TEST(PSDInterop, Float32)
{
    ImageRef img;
    ASSERT_TRUE(img->set(Image::OSG_RGB_PF, 3, 2, 1, 1, 1, 0.0, NULL, Image::OSG_FLOAT32_IMAGEDATA));
    Real32 *f = reinterpret_cast<Real32 *>(img->editData());
    for(int i = 0; i < 18; ++i)
        f[i] = Real32(i) / 17.f;          // memory order: bottom row first
    const std::string file = tempPath("float.psd");
    ASSERT_TRUE(img->write(file.c_str()));
    const std::string info = run("identify -format '%w %h %z %[channels]\\n' '" + file + "'");
    EXPECT_NE(info.find("3 2 32 srgb"), std::string::npos) << info;
    // Top-left pixel in the file is memory pixel (0, 1): values 9/17, 10/17, 11/17.
    const std::string txt = run(psdtest::convertTool() + " '" + file + "[0]' -depth 16 txt:-");
    auto q16 = [](int i) { return std::to_string(int(std::lround(i / 17.0 * 65535.0))); };
    EXPECT_NE(txt.find("0,0: (" + q16(9) + "," + q16(10) + "," + q16(11) + ")"), std::string::npos) << txt;
    EXPECT_NE(txt.find("2,1: (" + q16(6) + "," + q16(7) + "," + q16(8) + ")"), std::string::npos) << txt;

    ImageRef back;
    ASSERT_TRUE(back->read(file.c_str()));
    EXPECT_EQ(back->getDataType(), Int32(Image::OSG_FLOAT32_IMAGEDATA));
    const Real32 *g = reinterpret_cast<const Real32 *>(back->getData());
    EXPECT_EQ(std::vector<Real32>(g, g + 18), std::vector<Real32>(f, f + 18));
    std::remove(file.c_str());
}

// Files ImageMagick wrote, raw and RLE, 8 and 16 bits, RGB and greyscale: our reader agrees
// with ImageMagick's own pixel dump.
TEST(PSDInterop, ReadsImageMagickFiles)
{
    struct Case { const char *name; const char *args; bool rle; int depth; int comps; };
    const Case cases[] = {
        { "rgb8.psd",   "-size 7x5 gradient:red-blue -depth 8 -compress None", false, 8, 3 },
        { "rgb8r.psd",  "-size 7x5 gradient:red-blue -depth 8 -compress RLE", true, 8, 3 },
        { "rgb16.psd",  "-size 6x4 gradient:'#ff0000'-'#0009c8' -depth 16 -compress RLE", true, 16, 3 },
        { "rgb16.psb",  "-size 6x4 gradient:'#ff0000'-'#0009c8' -depth 16 -compress None", false, 16, 3 },
        { "grey8.psb",  "-size 9x3 gradient: -colorspace gray -depth 8 -compress RLE", true, 8, 1 },
    };
    for(const Case &c : cases)
    {
        const std::string file = tempPath(c.name);
        ASSERT_EQ(std::system((psdtest::convertTool() + " " + std::string(c.args) + " '" + file + "' 2>/dev/null").c_str()), 0) << c.name;
        ImageRef img;
        ASSERT_TRUE(img->read(file.c_str())) << c.name;
        ASSERT_EQ(img->getComponents(), c.comps) << c.name;
        const int w = img->getWidth(), h = img->getHeight();
        const std::string txt = run(psdtest::convertTool() + " '" + file + "[0]' -depth " + std::to_string(c.depth) +
                                    " txt:-");
        int checked = 0;
        for(int y = 0; y < h; ++y)
            for(int x = 0; x < w; ++x)
            {
                std::string line = std::to_string(x) + "," + std::to_string(y) + ": (";
                for(int k = 0; k < c.comps; ++k)
                {
                    const size_t i = size_t((h - 1 - y) * w + x) * c.comps + k;
                    unsigned v = c.depth == 8 ? img->getData()[i]
                                              : reinterpret_cast<const UInt16 *>(img->getData())[i];
                    line += (k ? "," : "") + std::to_string(v);
                    // Greyscale pixels are listed as three equal values.
                    if(c.comps == 1)
                        line += "," + std::to_string(v) + "," + std::to_string(v);
                }
                line += ")";
                EXPECT_NE(txt.find(line), std::string::npos) << c.name << " " << line << "\n" << txt;
                ++checked;
            }
        EXPECT_EQ(checked, w * h);
        std::remove(file.c_str());
    }
}
