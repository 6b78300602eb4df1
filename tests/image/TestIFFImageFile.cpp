// Tiled IFF files through the image file handler: what they become, and the "IFF: Error: "
// messages for files that cannot be read.

#include <OpenSGExt/OSGIFFImageFileType.h>

#include <OpenSG/OSGImageFileHandler.h>
#include <OpenSG/OSGLog.h>

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "IFFTestFiles.h"

using namespace osg;
using namespace ifftest;
namespace fs = std::filesystem;

namespace {

std::string writeFile(const std::string &name, const Bytes &bytes)
{
    fs::path p = fs::temp_directory_path() / ("skosg-iff-" + std::to_string(::getpid()) + "-" + name);
    std::ofstream os(p, std::ios::binary);
    os.write(reinterpret_cast<const char *>(bytes.data()), std::streamsize(bytes.size()));
    return p.string();
}

} // namespace

TEST(IFFImageFile, ColourAndDepthFilesBecomeImages)
{
    ImagePtr img = Image::create();
    addRefCP(img);

    // 2x2 RGB 8-bit, one raw tile: stored B G R, bottom row first like the image.
    Bytes px = { 3, 2, 1,  6, 5, 4,  9, 8, 7,  12, 11, 10 };
    std::string rgb = writeFile("rgb.iff", file({ header(2, 2, 1, 0, 0, 1),
                                                  group("TBMP", { tile("RGBA", 0, 0, 1, 1, px) }) }));
    ASSERT_TRUE(ImageFileHandler::the().read(img, rgb.c_str()));
    EXPECT_EQ(img->getPixelFormat(), UInt32(Image::OSG_RGB_PF));
    EXPECT_EQ(img->getDataType(), Image::OSG_UINT8_IMAGEDATA);
    EXPECT_EQ(img->getWidth(), 2);
    EXPECT_EQ(img->getHeight(), 2);
    const UInt8 expected[12] = { 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12 };
    EXPECT_EQ(std::memcmp(img->getData(), expected, 12), 0);

    // Depth only: a float luminance image.
    Bytes z = { 0x3F, 0x80, 0, 0,  0x40, 0x40, 0, 0 };
    std::string depth = writeFile("z.iff", file({ header(2, 1, 4, 0, 0, 1),
                                                  group("TBMP", { tile("ZBUF", 0, 0, 1, 0, z) }) }));
    ASSERT_TRUE(ImageFileHandler::the().read(img, depth.c_str()));
    EXPECT_EQ(img->getPixelFormat(), UInt32(Image::OSG_L_PF));
    EXPECT_EQ(img->getDataType(), Image::OSG_FLOAT32_IMAGEDATA);
    const Real32 *zd = reinterpret_cast<const Real32 *>(img->getData());
    EXPECT_EQ(zd[0], 1.f);
    EXPECT_EQ(zd[1], 3.f);

    bool implemented = false;
    EXPECT_TRUE(IFFImageFileType::the().validateHeader(rgb.c_str(), implemented));
    EXPECT_TRUE(implemented);
    fs::remove(rgb);
    fs::remove(depth);
    subRefCP(img);
}

TEST(IFFImageFile, ErrorsAreLoggedWithTheirPrefix)
{
    ImagePtr img = Image::create();
    addRefCP(img);
    ASSERT_TRUE(img->set(Image::OSG_L_PF, 5, 1));

    struct Case { Bytes bytes; const char *message; };
    Bytes px(16, 1);
    const Case cases[] = {
        { chunk("FORM", { 'C', 'I', 'M', 'G' }), "IFF: Error: unexpected tag" },
        { file({ chunk("TBHD", Bytes(30, 0)), chunk("XXXX", Bytes(8, 0)) }), "IFF: Error: tag stack corrupt" },
        { file({ header(2, 2, 3, 0, 5, 1), group("TBMP", { tile("RGBA", 0, 0, 1, 1, px) }) }),
          "IFF: Error: unknown compression format" },
        { file({ header(2, 2, 3, 0, 1, 1), group("TBMP", { tile("RGBA", 0, 0, 1, 1, { 0x85, 1 }) }) }),
          "IFF: Error: corrupt RLE data" },
    };
    for(const Case &c0 : cases)
    {
        Case c = c0;
        if(std::strcmp(c.message, "IFF: Error: tag stack corrupt") == 0)
            c.bytes[12 + 40 + 6] = 0x7F;       // the second chunk claims more than its form holds
        std::string path = writeFile("bad.iff", c.bytes);
        LogCapture log;
        EXPECT_FALSE(IFFImageFileType::the().read(img, path.c_str()));
        EXPECT_TRUE(log.contains(c.message)) << log.text();
        EXPECT_EQ(img->getWidth(), 5);
        fs::remove(path);
    }
    LogCapture log;
    EXPECT_FALSE(IFFImageFileType::the().read(img, "/nonexistent/dir/none.iff"));
    EXPECT_TRUE(log.contains("IFF: Error: cannot open file")) << log.text();
    subRefCP(img);
}

TEST(IFFImageFile, FuzzSeedsAreValidFiles)
{
    // The seeds were assembled from the layout rules by hand; each must read.
    ImagePtr img = Image::create();
    addRefCP(img);
    int n = 0;
    for(const auto &e : fs::directory_iterator(fs::path(SKOSG_SOURCE_DIR) / "fuzz/image/seeds/fuzz_iff"))
    {
        EXPECT_TRUE(IFFImageFileType::the().read(img, e.path().c_str())) << e.path();
        ++n;
    }
    EXPECT_GE(n, 3);
    subRefCP(img);
}
