// YIF files through the image file handler: round trips of every layout, files compressed by the
// gzip program, the quoted messages, and bad files that leave the target image alone.

#include <OpenSGExt/OSGIFFImageFileType.h>
#include <OpenSGExt/OSGYIFImageFileType.h>

#include <OpenSG/OSGRefPtr.h>
#include <OpenSG/OSGImageFileHandler.h>
#include <OpenSG/OSGLog.h>

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

using namespace osg;
namespace fs = std::filesystem;

namespace {

// read() takes the image pointer by reference, as OpenSG's does.
template <class T>
T &lvalue(T &&value)
{
    return value;
}

struct TempDir
{
    fs::path path;
    TempDir()
    {
        path = fs::temp_directory_path() / ("skosg-yif-" + std::to_string(::getpid()) + "-" +
                                            ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::create_directories(path);
    }
    ~TempDir() { fs::remove_all(path); }
    std::string operator/(const std::string &name) const { return (path / name).string(); }
};

// Every byte distinct enough that a misplaced frame, side or level shows.
void fill(ImagePtr img)
{
    UInt8 *d = img->editData();
    for(unsigned long i = 0; i < img->getSize(); ++i)
        d[i] = UInt8((i * 131u) ^ (i >> 8));
}

bool sameImage(ImagePtr a, ImagePtr b)
{
    return a->getPixelFormat() == b->getPixelFormat() && a->getWidth() == b->getWidth() &&
           a->getHeight() == b->getHeight() && a->getDepth() == b->getDepth() &&
           a->getMipMapCount() == b->getMipMapCount() && a->getFrameCount() == b->getFrameCount() &&
           a->getSideCount() == b->getSideCount() && a->getDataType() == b->getDataType() &&
           a->getFrameDelay() == b->getFrameDelay() && a->getSize() == b->getSize() &&
           std::memcmp(a->getData(), b->getData(), a->getSize()) == 0;
}

std::string slurp(const std::string &path)
{
    std::ifstream is(path, std::ios::binary);
    std::stringstream ss;
    ss << is.rdbuf();
    return ss.str();
}

void spit(const std::string &path, const std::string &bytes)
{
    std::ofstream os(path, std::ios::binary);
    os.write(bytes.data(), std::streamsize(bytes.size()));
}

} // namespace

TEST(YIFImageFile, RegisteredAsTheTableSays)
{
    ImageFileHandler &h = ImageFileHandler::the();
    EXPECT_EQ(h.getFileType("image/x-yif"), &YIFImageFileType::the());
    EXPECT_EQ(h.getFileType(NULL, "a/b/picture.YIF"), &YIFImageFileType::the());
    EXPECT_EQ(YIFImageFileType::the().getFlags(), 3u);
    EXPECT_EQ(h.getFileType("image/x-iff"), &IFFImageFileType::the());
    EXPECT_EQ(h.getFileType(NULL, "render.iff"), &IFFImageFileType::the());
    EXPECT_EQ(IFFImageFileType::the().getFlags(), 1u);
    EXPECT_EQ(h.determineMimetypeFromSuffix("yif"), "image/x-yif");
}

TEST(YIFImageFile, RoundTripsEveryLayoutExactly)
{
    TempDir dir;
    struct Case { UInt32 format; Int32 w, h, d, mips, frames, sides, type; double delay; };
    const Case cases[] = {
        { Image::OSG_RGBA_PF, 5, 3, 1, 1, 1, 1, Image::OSG_UINT8_IMAGEDATA, 0 },
        { Image::OSG_RGB_PF, 8, 4, 1, 4, 3, 6, Image::OSG_FLOAT16_IMAGEDATA, 2 },
        { Image::OSG_L_PF, 4, 4, 4, 3, 2, 1, Image::OSG_FLOAT32_IMAGEDATA, 40 },
        { Image::OSG_LA_PF, 65535, 1, 1, 1, 1, 1, Image::OSG_UINT16_IMAGEDATA, 65535 },
        { Image::OSG_BGRA_PF, 3, 7, 1, 1, 2, 6, Image::OSG_UINT32_IMAGEDATA, 1 },
    };
    for(const Case &c : cases)
    {
        RefPtr<ImagePtr> src(Image::create());
        RefPtr<ImagePtr> back(Image::create());
        ASSERT_TRUE(src.get()->set(c.format, c.w, c.h, c.d, c.mips, c.frames, c.delay, NULL, c.type,
                                 true, c.sides));
        fill(src.get());
        std::string path = dir / "round.yif";
        ASSERT_TRUE(ImageFileHandler::the().write(src.get(), path.c_str()));
        EXPECT_EQ(fs::file_size(path), 96u + src.get()->getSize());
        ASSERT_TRUE(ImageFileHandler::the().read(lvalue(ImagePtr(back)), path.c_str()));
        EXPECT_TRUE(sameImage(src.get(), back.get())) << c.w << "x" << c.h << " type " << c.type;

        // The same file compressed by gzip itself, read under its own and under a .yif name.
        ASSERT_EQ(std::system(("gzip -k -f '" + path + "'").c_str()), 0);
        RefPtr<ImagePtr> gz(Image::create());
        ASSERT_TRUE(YIFImageFileType::the().read(lvalue(ImagePtr(gz)), (path + ".gz").c_str()));
        EXPECT_TRUE(sameImage(src.get(), gz.get()));
        fs::rename(path + ".gz", dir / "packed.yif");
        RefPtr<ImagePtr> gz2(Image::create());
        ASSERT_TRUE(ImageFileHandler::the().read(lvalue(ImagePtr(gz2)), (dir / "packed.yif").c_str()));
        EXPECT_TRUE(sameImage(src.get(), gz2.get()));
    }
}

TEST(YIFImageFile, FileBytesFollowTheLayout)
{
    RefPtr<ImagePtr> src(Image::create());
    ASSERT_TRUE(src.get()->set(Image::OSG_RGB_PF, 2, 1, 1, 1, 1, 0.0, NULL, Image::OSG_UINT8_IMAGEDATA));
    const UInt8 px[6] = { 1, 2, 3, 4, 5, 6 };
    std::memcpy(src.get()->editData(), px, 6);
    std::ostringstream os;
    ASSERT_TRUE(YIFImageFileType::the().write(src.get(), os, ""));
    std::string f = os.str();
    ASSERT_EQ(f.size(), 102u);
    const UInt8 expected[48] = { 'y', 'i', 'f', 0,  0, 0, 0, 0,
                                 0x19, 0x07, 0, 0,  0, 2, 0, 0,  0, 1, 0, 0,  0, 1, 0, 0,
                                 0, 1, 0, 0,  0, 1, 0, 0,  0, 0, 0, 0, 0, 0, 0, 0,
                                 0, 1, 0, 0,  0x14, 0x01, 0, 0 };
    EXPECT_EQ(std::memcmp(f.data(), expected, 48), 0);
    for(int i = 48; i < 96; ++i)
        EXPECT_EQ(f[std::size_t(i)], 0) << i;
    EXPECT_EQ(std::memcmp(f.data() + 96, px, 6), 0);

    // A data type of 0 in a file means unsigned bytes.
    f[44] = 0;
    f[45] = 0;
    std::istringstream is(f);
    RefPtr<ImagePtr> back(Image::create());
    ASSERT_TRUE(YIFImageFileType::the().read(lvalue(ImagePtr(back)), is, ""));
    EXPECT_EQ(back.get()->getDataType(), Image::OSG_UINT8_IMAGEDATA);
    EXPECT_EQ(std::memcmp(back.get()->getData(), px, 6), 0);

    // Sizes of 65536 and above keep their low 16 bits only: that is the format.
    RefPtr<ImagePtr> wide(Image::create());
    ASSERT_TRUE(wide.get()->set(Image::OSG_L_PF, 70000, 1, 1, 1, 1, 2.5, NULL, Image::OSG_UINT8_IMAGEDATA));
    std::ostringstream ws;
    ASSERT_TRUE(YIFImageFileType::the().write(wide.get(), ws, ""));
    std::istringstream wi(ws.str());
    RefPtr<ImagePtr> wback(Image::create());
    ASSERT_TRUE(YIFImageFileType::the().read(lvalue(ImagePtr(wback)), wi, ""));
    EXPECT_EQ(wback.get()->getWidth(), 70000 & 0xFFFF);
    EXPECT_EQ(wback.get()->getFrameDelay(), 2.0);

    // Nothing to write.
    RefPtr<ImagePtr> empty(Image::create());
    std::ostringstream es;
    EXPECT_FALSE(YIFImageFileType::the().write(empty.get(), es, ""));
}

TEST(YIFImageFile, BadFilesGiveTheQuotedMessagesAndLeaveTheImageAlone)
{
    TempDir dir;
    RefPtr<ImagePtr> src(Image::create());
    ASSERT_TRUE(src.get()->set(Image::OSG_RGBA_PF, 64, 32, 1, 2, 1, 0.0, NULL, Image::OSG_UINT8_IMAGEDATA));
    fill(src.get());
    std::ostringstream os;
    ASSERT_TRUE(YIFImageFileType::the().write(src.get(), os, ""));
    const std::string good = os.str();

    RefPtr<ImagePtr> target(Image::create());
    ASSERT_TRUE(target.get()->set(Image::OSG_L_PF, 3, 1, 1, 1, 1, 0.0, NULL, Image::OSG_UINT8_IMAGEDATA));
    target.get()->editData()[1] = 77;

    auto readBytes = [&](const std::string &bytes, bool gzip) {
        std::string path = dir / "bad.yif";
        spit(path, bytes);
        if(gzip)
        {
            EXPECT_EQ(std::system(("gzip -f '" + path + "' && mv '" + path + ".gz' '" + path + "'").c_str()), 0);
        }
        LogCapture log;
        bool ok = YIFImageFileType::the().read(lvalue(ImagePtr(target)), path.c_str());
        EXPECT_EQ(target.get()->getWidth(), 3);
        EXPECT_EQ(target.get()->getData()[1], 77);
        return ok ? std::string("read") : log.text();
    };

    std::string notYif = good;
    notYif[1] = 'Y';
    EXPECT_NE(readBytes(notYif, false).find("YIFImageFileType::read: This is not a yif file!"), std::string::npos);
    EXPECT_NE(readBytes(notYif, true).find("YIFImageFileType::read: This is not a skal image file!"), std::string::npos);
    EXPECT_NE(readBytes("yi", false).find("This is not a yif file!"), std::string::npos);

    EXPECT_NE(readBytes(good.substr(0, 80), false).find("header is cut short"), std::string::npos);
    EXPECT_NE(readBytes(good.substr(0, good.size() - 1), false).find("too short"), std::string::npos);
    EXPECT_NE(readBytes(good.substr(0, good.size() - 1), true).find("unexpected end of data"), std::string::npos);

    // A gzip file cut short, and one with damaged deflate data.
    std::string path = dir / "src.yif";
    spit(path, good);
    ASSERT_EQ(std::system(("gzip -f '" + path + "'").c_str()), 0);
    std::string gz = slurp(path + ".gz");
    std::string cut = gz.substr(0, gz.size() / 2);
    spit(dir / "cut.yif", cut);
    {
        LogCapture log;
        EXPECT_FALSE(YIFImageFileType::the().read(lvalue(ImagePtr(target)), (dir / "cut.yif").c_str()));
        EXPECT_TRUE(log.contains("YIFImageFileType::read:")) << log.text();
    }
    std::string damaged = gz;
    for(std::size_t i = 40; i < 60; ++i)
        damaged[i] = char(~damaged[i]);
    spit(dir / "damaged.yif", damaged);
    {
        LogCapture log;
        EXPECT_FALSE(YIFImageFileType::the().read(lvalue(ImagePtr(target)), (dir / "damaged.yif").c_str()));
        EXPECT_TRUE(log.contains("compressed data unreadable")) << log.text();
    }
    EXPECT_EQ(target.get()->getWidth(), 3);

    // Absurd sizes are refused before any pixel memory is taken: 65535^2 RGBA float is 64 GiB,
    // beyond Image::MaxImageBytes (2^31 - 1); 4096^2 RGBA8 (64 MiB) does not fit in a short file,
    // nor in 1032 times a short gzip file.
    std::string huge = good.substr(0, 96);
    huge[12] = huge[13] = huge[16] = huge[17] = char(0xFF);
    huge[44] = 0x14; huge[45] = 0x06;
    EXPECT_NE(readBytes(huge, false).find("at most 2147483647 bytes"), std::string::npos);
    std::string big = good;
    big[12] = 0x10; big[13] = 0; big[16] = 0x10; big[17] = 0; big[25] = 1;
    EXPECT_NE(readBytes(big, false).find("too short"), std::string::npos);
    EXPECT_NE(readBytes(big, true).find("too short"), std::string::npos);
    std::string badFormat = good;
    badFormat[8] = 0x12;
    EXPECT_NE(readBytes(badFormat, false).find("unsupported image"), std::string::npos);
}

TEST(YIFImageFile, StreamDetectionLeavesTheStreamInPlace)
{
    RefPtr<ImagePtr> src(Image::create());
    ASSERT_TRUE(src.get()->set(Image::OSG_L_PF, 4, 4, 1, 1, 1, 0.0, NULL, Image::OSG_UINT8_IMAGEDATA));
    std::ostringstream os;
    os << "prefix";
    ASSERT_TRUE(YIFImageFileType::the().write(src.get(), os, ""));
    std::istringstream is(os.str());
    is.seekg(6);
    EXPECT_EQ(YIFImageFileType::the().determineMimetypeFromStream(is), "image/x-yif");
    EXPECT_EQ(is.tellg(), std::streampos(6));
    is.seekg(0);
    EXPECT_EQ(YIFImageFileType::the().determineMimetypeFromStream(is), "");
    EXPECT_EQ(IFFImageFileType::the().determineMimetypeFromStream(is), "");
    EXPECT_EQ(is.tellg(), std::streampos(0));
    bool implemented = false;
    EXPECT_FALSE(YIFImageFileType::the().validateHeader("/nonexistent/x.yif", implemented));
    EXPECT_TRUE(implemented);
}

TEST(YIFImageFile, FuzzSeedsAreValidFiles)
{
    // Seeds starting with 'Z' are the fuzz target's own gzip mode; the others are YIF files.
    RefPtr<ImagePtr> img(Image::create());
    int n = 0;
    for(const auto &e : fs::directory_iterator(fs::path(SKOSG_SOURCE_DIR) / "fuzz/image/seeds/fuzz_yif"))
    {
        if(e.path().extension() == ".bin")
            continue;
        EXPECT_TRUE(YIFImageFileType::the().read(lvalue(ImagePtr(img)), e.path().c_str())) << e.path();
        ++n;
    }
    EXPECT_GE(n, 3);
}
