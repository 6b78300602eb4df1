#include <OpenSG/OSGImage.h>
#include <OpenSG/OSGImageFileHandler.h>
#include <OpenSG/OSGImageFileType.h>
#include <OpenSG/OSGPNGImageFileType.h>
#include <OpenSG/OSGLog.h>
#include <OpenSGExt/skICCProfile.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <unistd.h>

using namespace osg;

namespace {

struct ImageRef
{
    ImageRef(void) : p(Image::create()) { addRefCP(p); }
    ~ImageRef(void) { subRefCP(p); }
    Image *operator->(void) const { return p.getCPtr(); }
    ImagePtr p;
};

std::string tempPath(const std::string &name)
{
    return ::testing::TempDir() + "osgimage_" + std::to_string(::getpid()) + "_" + name;
}

// ImageMagick's convert, from its package's place when it is there.
std::string convertTool(void)
{
    return ::access("/usr/bin/convert", X_OK) == 0 ? "/usr/bin/convert" : "convert";
}

std::string runCommand(const std::string &cmd)
{
    std::string out;
    FILE *pipe = popen(cmd.c_str(), "r");
    if(pipe == NULL)
        return out;
    char buf[4096];
    size_t n;
    while((n = fread(buf, 1, sizeof(buf), pipe)) > 0)
        out.append(buf, n);
    pclose(pipe);
    return out;
}

} // namespace

// Sizes and codes as OpenSG 1.x defines them (GL enumerants, mipmap sums worked out by hand).
TEST(Image, FormatsTypesAndSizes)
{
    EXPECT_EQ(Image::OSG_RGBA_PF, 6408);
    EXPECT_EQ(Image::OSG_FLOAT16_IMAGEDATA, 5131);
    EXPECT_EQ(Image::getComponentCount(Image::OSG_LA_PF), 2u);
    EXPECT_EQ(Image::getComponentCount(Image::OSG_BGR_PF), 3u);
    EXPECT_EQ(Image::getComponentCount(12345), 0u);
    EXPECT_EQ(Image::getTypeSize(Image::OSG_FLOAT16_IMAGEDATA), 2u);

    ImageRef img;
    EXPECT_EQ(img->getHeight(), 1);
    EXPECT_EQ(img->getDataType(), 5121);
    EXPECT_FLOAT_EQ(img->getResX(), 72.f);
    EXPECT_FALSE(img->isValid());

    ASSERT_TRUE(img->set(Image::OSG_RGBA_PF, 256, 256, 1, 9));
    EXPECT_EQ(img->getDimension(), 2);
    EXPECT_EQ(img->getBpp(), 4);
    EXPECT_EQ(img->calcMipmapSumSize(9), 349524u);
    EXPECT_EQ(img->getSize(), 349524u);
    EXPECT_EQ(img->getSize(false), 262144u);
    EXPECT_EQ(img->calcMipmapLevelCount(), 9u);
    UInt32 w, h, d;
    img->calcMipmapGeometry(3, w, h, d);
    EXPECT_EQ(w, 32u);
    EXPECT_EQ(d, 1u);
    EXPECT_EQ(img->getData(1) - img->getData(0), 262144);

    // Half floats: 2 bytes a channel; a 3D texture gets dimension 3; odd sizes halve down to 1.
    ASSERT_TRUE(img->set(Image::OSG_RGB_PF, 5, 3, 2, 3, 1, 0.0, NULL, Image::OSG_FLOAT16_IMAGEDATA));
    EXPECT_EQ(img->getBpp(), 6);
    EXPECT_EQ(img->getComponentSize(), 2);
    EXPECT_EQ(img->getDimension(), 3);
    // levels 5x3x2, 2x1x1, 1x1x1 -> (30 + 2 + 1) pixels * 6 bytes
    EXPECT_EQ(img->getSize(), 198u);
    EXPECT_EQ(img->getComponents(), 3);

    // DXT blocks: 4x4 pixels in 8 (DXT1) or 16 bytes.
    ASSERT_TRUE(img->set(Image::OSG_RGBA_DXT5, 10, 6));
    EXPECT_EQ(img->getSize(), 3u * 2u * 16u);
    EXPECT_TRUE(img->hasCompressedData());
}

// The buffer runs frame by frame, each frame side by side, each side level by level.
TEST(Image, FramesSidesAndMipmapsOrder)
{
    ImageRef img;
    ASSERT_TRUE(img->set(Image::OSG_L_PF, 4, 4, 1, 3, 3, 0.5, NULL, Image::OSG_UINT8_IMAGEDATA,
                         true, 6));
    const UInt32 side = 16 + 4 + 1;
    EXPECT_EQ(img->getSideSize(), Int32(side));
    EXPECT_EQ(img->getFrameSize(), Int32(6 * side));
    EXPECT_EQ(img->getSize(), 3u * 6u * side);
    EXPECT_EQ(img->getSize(true, false, false), side);
    const UInt8 *base = img->getData();
    for(UInt32 f = 0; f < 3; ++f)
        for(UInt32 s = 0; s < 6; ++s)
        {
            EXPECT_EQ(img->getData(0, f, s) - base, Int32((f * 6 + s) * side));
            EXPECT_EQ(img->getData(2, f, s) - base, Int32((f * 6 + s) * side + 20));
        }
}

TEST(Image, SetRefusesWhatItCannotHold)
{
    ImageRef img;
    std::vector<UInt8> bytes = { 1, 2, 3, 4, 5, 6 };
    ASSERT_TRUE(img->set(Image::OSG_RGB_PF, 2, 1, 1, 1, 1, 0.0, bytes.data()));
    EXPECT_EQ(img->getData()[5], 6);

    LogCapture capture;
    // No memory wanted, unknown format, unknown type, too large: false and no pixel data.
    EXPECT_FALSE(img->set(Image::OSG_RGB_PF, 2, 1, 1, 1, 1, 0.0, NULL, 5121, false));
    EXPECT_FALSE(img->isValid());
    EXPECT_FALSE(img->set(4711, 2, 2));
    EXPECT_EQ(img->getBpp(), 0);
    EXPECT_FALSE(img->set(Image::OSG_RGB_PF, 2, 2, 1, 1, 1, 0.0, NULL, 4711));
    EXPECT_FALSE(img->set(Image::OSG_RGBA_PF, 65536, 65536));
    EXPECT_FALSE(img->isValid());
    EXPECT_TRUE(capture.contains("exceeds the limit"));
    EXPECT_FALSE(img->setData(NULL));

    // Counts below one are clamped.
    EXPECT_TRUE(img->set(Image::OSG_L_PF, 3, 0, -2, 0, 0));
    EXPECT_EQ(img->getHeight(), 1);
    EXPECT_EQ(img->getDepth(), 1);
    EXPECT_EQ(img->getMipMapCount(), 1);
    EXPECT_EQ(img->getDimension(), 1);
}

TEST(Image, CopyKeepsDataAndProfile)
{
    ImageRef a, b;
    std::vector<UInt8> px = { 9, 8, 7, 6 };
    ASSERT_TRUE(a->set(Image::OSG_LA_PF, 2, 1, 1, 1, 1, 0.0, px.data()));
    const UInt8 icc[] = { 'a', 'c', 's', 'p' };
    a->setICCProfile(icc, 4);
    ASSERT_TRUE(b->set(a.p));
    UInt32 n = 0;
    const UInt8 *p = b->getICCProfile(n);
    ASSERT_EQ(n, 4u);
    EXPECT_EQ(p[3], 'p');
    EXPECT_EQ(std::vector<UInt8>(b->getData(), b->getData() + 4), px);
    b->setICCProfile(NULL, 0);
    EXPECT_FALSE(b->hasICCProfile());
    EXPECT_EQ(b->getICCProfile(n), nullptr);
    EXPECT_EQ(n, 0u);
}

// Registration and lookup: case-insensitive suffixes, MIME parameters ignored, bare subtypes.
TEST(ImageFileHandler, ChoosesTypes)
{
    ImageFileHandler &h = ImageFileHandler::the();
    ImageFileType *png = &PNGImageFileType::the();
    EXPECT_EQ(h.getFileType(NULL, "dir.x/Picture.PNG"), png);
    EXPECT_EQ(h.getFileType("image/PNG; q=1"), png);
    EXPECT_EQ(h.getFileType("png"), png);
    EXPECT_EQ(h.getFileType(NULL, "noext"), nullptr);
    EXPECT_EQ(h.determineMimetypeFromSuffix("Png"), "image/png");
    EXPECT_EQ(h.determineMimetypeFromName("a/b.c/x.png"), "image/png");
    EXPECT_EQ(h.determineMimetypeFromName("a.png/x"), "");
    std::list<const Char8 *> suffixes;
    EXPECT_GE(h.getSuffixList(suffixes, ImageFileType::OSG_WRITE_SUPPORTED), 1);

    std::istringstream pngStream(std::string("\x89PNG\r\n\x1a\n", 8));
    EXPECT_EQ(h.determineMimetypeFromStream(pngStream), "image/png");
    EXPECT_EQ(pngStream.tellg(), 0);
    std::istringstream other("GIF89a");
    EXPECT_EQ(h.determineMimetypeFromStream(other), "");
}

// A file ImageMagick made reads with the right size, channels and the bottom row first; our PNG
// reads back in ImageMagick with the same pixels.
TEST(PNGImageFileType, AgreesWithImageMagick)
{
    const std::string in = tempPath("im.png"), out = tempPath("ours.png");
    // 2x2: top row red, green; bottom row blue, half-transparent white.
    std::string cmd = convertTool() + " -size 2x2 xc:none -fill '#ff0000' -draw 'point 0,0' "
                      "-fill '#00ff00' -draw 'point 1,0' -fill '#0000ff' -draw 'point 0,1' "
                      "-fill '#ffffff80' -draw 'point 1,1' -define png:color-type=6 PNG32:" + in;
    ASSERT_EQ(std::system(cmd.c_str()), 0);

    ImageRef img;
    ImagePtr p = img.p;
    ASSERT_TRUE(ImageFileHandler::the().read(p, in.c_str()));
    EXPECT_EQ(img->getPixelFormat(), UInt32(Image::OSG_RGBA_PF));
    EXPECT_EQ(img->getWidth(), 2);
    const UInt8 *d = img->getData();
    // Memory row 0 is the file's bottom row.
    EXPECT_EQ(d[0], 0);   EXPECT_EQ(d[2], 255); EXPECT_EQ(d[3], 255);
    EXPECT_EQ(d[4], 255); EXPECT_EQ(d[7], 128);
    EXPECT_EQ(d[8], 255); EXPECT_EQ(d[9], 0);
    EXPECT_EQ(d[13], 255);
    EXPECT_NE(img->getName().find("im.png"), std::string::npos);

    ASSERT_TRUE(img->write(out.c_str()));
    std::string txt = runCommand(convertTool() + " " + out + " txt:- 2>&1");
    EXPECT_NE(txt.find("0,0: (255,0,0,255)"), std::string::npos) << txt;
    EXPECT_NE(txt.find("1,1: (255,255,255,128)"), std::string::npos) << txt;
    std::remove(in.c_str());
    std::remove(out.c_str());
}

TEST(PNGImageFileType, SixteenBitsAndProfiles)
{
    ImageRef img;
    std::vector<UInt16> px = { 0x0102, 0xfffe, 0x8000, 7, 0, 65535, 1, 2, 3, 4, 5, 6 };
    ASSERT_TRUE(img->set(Image::OSG_RGB_PF, 2, 2, 1, 1, 1, 0.0,
                         reinterpret_cast<const UInt8 *>(px.data()), Image::OSG_UINT16_IMAGEDATA));
    std::vector<UInt8> icc = skICCProfile::createSRGB();
    ASSERT_GT(icc.size(), 128u);
    img->setICCProfile(icc.data(), UInt32(icc.size()));
    std::stringstream ss;
    ASSERT_TRUE(PNGImageFileType::the().write(img.p, ss, "image/png"));

    ImageRef back;
    ImagePtr bp = back.p;
    ASSERT_TRUE(ImageFileHandler::the().read(bp, ss, ""));   // chosen by contents
    EXPECT_EQ(back->getDataType(), Int32(Image::OSG_UINT16_IMAGEDATA));
    const UInt16 *b = reinterpret_cast<const UInt16 *>(back->getData());
    EXPECT_EQ(std::vector<UInt16>(b, b + 12), px);
    UInt32 n = 0;
    const UInt8 *profile = back->getICCProfile(n);
    EXPECT_EQ(std::vector<UInt8>(profile, profile + n), icc);
    skICCProfile::Info info;
    ASSERT_TRUE(skICCProfile::inspect(profile, n, info));
    EXPECT_EQ(info.colorSpace, "RGB ");

    // Float images are not PNG material.
    LogCapture capture;
    ImageRef f;
    ASSERT_TRUE(f->set(Image::OSG_RGB_PF, 1, 1, 1, 1, 1, 0.0, NULL, Image::OSG_FLOAT32_IMAGEDATA));
    std::stringstream fs;
    EXPECT_FALSE(PNGImageFileType::the().write(f.p, fs, ""));
}

TEST(PNGImageFileType, BadInputLeavesImageAlone)
{
    ImageRef img;
    std::vector<UInt8> px = { 1, 2, 3 };
    ASSERT_TRUE(img->set(Image::OSG_RGB_PF, 1, 1, 1, 1, 1, 0.0, px.data()));
    std::stringstream ss;
    ASSERT_TRUE(PNGImageFileType::the().write(img.p, ss, ""));
    const std::string good = ss.str();

    LogCapture capture;
    ImageRef target;
    ImagePtr tp = target.p;
    ASSERT_TRUE(target->set(Image::OSG_L_PF, 1, 1, 1, 1, 1, 0.0, px.data()));
    for(size_t cut : { size_t(0), size_t(4), size_t(20), good.size() - 13 })
    {
        std::istringstream is(good.substr(0, cut));
        EXPECT_FALSE(PNGImageFileType::the().read(tp, is, "")) << cut;
    }
    // Width patched to 2^30 in the IHDR chunk (CRC left stale): refused without allocating.
    std::string huge = good;
    huge[16] = 0x40;
    std::istringstream hs(huge);
    EXPECT_FALSE(PNGImageFileType::the().read(tp, hs, ""));
    EXPECT_EQ(target->getPixelFormat(), UInt32(Image::OSG_L_PF));
    EXPECT_EQ(target->getData()[0], 1);

    bool implemented = false;
    EXPECT_FALSE(PNGImageFileType::the().validateHeader("/nonexistent/x.png", implemented));
    EXPECT_TRUE(implemented);
}

// store()/restore() frame the PNG payload with the 32-byte head in network order.
TEST(ImageFileType, StoreRestore)
{
    ImageRef img;
    std::vector<UInt8> px = { 10, 20, 30, 40, 50, 60 };
    ASSERT_TRUE(img->set(Image::OSG_RGB_PF, 1, 2, 1, 1, 1, 0.25, px.data()));
    std::vector<UInt8> buf(4096);
    UInt64 n = img->store("image/png", buf.data(), Int32(buf.size()));
    ASSERT_GT(n, 32u);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(buf.data())), "png");
    EXPECT_EQ(buf[8], 0x19);  EXPECT_EQ(buf[9], 0x07);  // 6407
    EXPECT_EQ(buf[12], 0);    EXPECT_EQ(buf[13], 2);    // height
    EXPECT_EQ(buf[20], 0);    EXPECT_EQ(buf[21], 250);  // frame delay in ms
    EXPECT_EQ(buf[24], 0x14); EXPECT_EQ(buf[25], 0x01); // 5121
    EXPECT_EQ(buf[32], 0x89);

    ImageRef back;
    EXPECT_EQ(back->restore(buf.data(), Int32(n)), n);
    EXPECT_EQ(back->getHeight(), 2);
    EXPECT_EQ(std::vector<UInt8>(back->getData(), back->getData() + 6), px);

    LogCapture capture;
    EXPECT_EQ(back->restore(buf.data(), 10), 0u);
    EXPECT_EQ(img->store("image/png", buf.data(), 40), 0u);
}
