// Byte layouts of PSD and PSB documents for tiny images, written out by hand from the format's
// rules (big-endian integers, rows top first, planar channels).
#include <OpenSGExt/OSGPSDImageFileType.h>

#include "image/PSDTestSupport.h"

#include <sstream>

using namespace osg;
using psdtest::Bytes;
using psdtest::ImageRef;

namespace {

std::string header(unsigned version, unsigned channels, unsigned h, unsigned w, unsigned depth,
                   unsigned mode)
{
    return Bytes().str("8BPS").u16(version).zeros(6).u16(channels).u32(h).u32(w).u16(depth)
        .u16(mode).data;
}

// Layer and mask section of a document without layers.
std::string emptyLayerSection(bool large)
{
    Bytes b;
    if(large)
        b.u64(8 + 4 + 14).u64(0);
    else
        b.u32(4 + 4 + 14).u32(0);
    b.u32(14).u16(0).zeros(8).u16(100).u8(128).u8(128);
    return b.data;
}

std::string writeSingle(const ImagePtr &img, bool large)
{
    std::ostringstream os;
    PSDImageFileType &type = large ? PSDImageFileType::theBig() : PSDImageFileType::the();
    EXPECT_TRUE(type.write(img, os, ""));
    return os.str();
}

} // namespace

TEST(PSDStrings, PaddingAndAlphaNames)
{
    EXPECT_EQ(PSDImageFileType::getPaddedPascalString("", 4), std::string(4, '\0'));
    EXPECT_EQ(PSDImageFileType::getPaddedPascalString("abc", 4), std::string("\x03" "abc"));
    EXPECT_EQ(PSDImageFileType::getPaddedPascalString("abcd", 4), std::string("\x04" "abcd\0\0\0", 8));
    EXPECT_EQ(PSDImageFileType::getPaddedPascalString("a", 2), std::string("\x01" "a"));
    EXPECT_EQ(PSDImageFileType::getPaddedPascalString(std::string(256, 'x'), 2), std::string(2, '\0'));
    EXPECT_EQ(PSDImageFileType::getPaddedPascalString(std::string(255, 'x'), 2).size(), 256u);
    EXPECT_EQ(PSDImageFileType::getPaddedString("abc", 2), std::string("abc\0", 4));
    EXPECT_EQ(PSDImageFileType::getPaddedString("ab", 2), "ab");
    EXPECT_EQ(PSDImageFileType::getPaddedString("abcde", 4), std::string("abcde\0\0\0", 8));

    UInt32 size = 0;
    EXPECT_EQ(PSDImageFileType::createAlphaChannelNamesData(1, size),
              std::string("\x0cTransparency\0", 14));
    EXPECT_EQ(size, 14u);
    EXPECT_EQ(PSDImageFileType::createAlphaChannelNamesData(2, size),
              std::string("\x06" "Alpha0" "\x06" "Alpha1"));
    EXPECT_EQ(size, 14u);
    EXPECT_EQ(PSDImageFileType::createAlphaChannelNamesData(3, size),
              std::string("\x06" "Alpha0" "\x06" "Alpha1" "\x06" "Alpha2\0", 22));
    EXPECT_EQ(size, 21u);

    EXPECT_STREQ(PSDImageFileType::getBlendModeKey(PSDImageFileType::BlendNormal), "norm");
    EXPECT_STREQ(PSDImageFileType::getBlendModeKey(PSDImageFileType::BlendMultiply), "mul ");
    EXPECT_STREQ(PSDImageFileType::getBlendModeKey(PSDImageFileType::BlendScreen), "scrn");
    EXPECT_STREQ(PSDImageFileType::getBlendModeKey(PSDImageFileType::BlendPassThrough), "pass");
    EXPECT_STREQ(PSDImageFileType::getBlendModeKey(999), "norm");
}

// RGB 8-bit, two pixels in a row, two rows: the top row (last in memory) comes first.
TEST(PSDLayout, RGB8WithoutProfile)
{
    ImageRef img;
    const UInt8 px[] = { 1, 2, 3, 4, 5, 6,          // bottom row
                         7, 8, 9, 10, 11, 12 };     // top row
    ASSERT_TRUE(img->set(Image::OSG_RGB_PF, 2, 2, 1, 1, 1, 0.0, px));
    const std::string expected =
        header(1, 3, 2, 2, 8, 3) +
        Bytes().u32(0).u32(0).data +                                // colour mode, resources
        emptyLayerSection(false) +
        Bytes().u16(0)
            .u8(7).u8(10).u8(1).u8(4)                               // red, top row first
            .u8(8).u8(11).u8(2).u8(5)
            .u8(9).u8(12).u8(3).u8(6).data;
    const std::string got = writeSingle(img.p, false);
    EXPECT_EQ(got, expected) << psdtest::firstDifference(got, expected);

    // The same as a large document: version 2 and 8-byte section lengths.
    const std::string big = header(2, 3, 2, 2, 8, 3) + Bytes().u32(0).u32(0).data +
        emptyLayerSection(true) + expected.substr(expected.size() - 14);
    const std::string gotBig = writeSingle(img.p, true);
    EXPECT_EQ(gotBig, big) << psdtest::firstDifference(gotBig, big);
}

// RGBA: resource 1006 names the fourth channel; an ICC profile goes first as resource 1039,
// its odd length padded.
TEST(PSDLayout, ResourcesForAlphaAndProfile)
{
    ImageRef img;
    const UInt8 px[] = { 10, 20, 30, 40 };
    ASSERT_TRUE(img->set(Image::OSG_RGBA_PF, 1, 1, 1, 1, 1, 0.0, px));
    const std::string alphaRes = Bytes().str("8BIM").u16(1006).u16(0).u32(14)
        .u8(12).str("Transparency").u8(0).data;
    std::string expected = header(1, 4, 1, 1, 8, 3) + Bytes().u32(0).u32(26).data + alphaRes +
        emptyLayerSection(false) + Bytes().u16(0).u8(10).u8(20).u8(30).u8(40).data;
    std::string got = writeSingle(img.p, false);
    EXPECT_EQ(got, expected) << psdtest::firstDifference(got, expected);

    const UInt8 icc[] = { 'p', 'r', 'o' };
    img->setICCProfile(icc, 3);
    const std::string iccRes = Bytes().str("8BIM").u16(1039).u16(0).u32(3).str("pro").u8(0).data;
    expected = header(1, 4, 1, 1, 8, 3) + Bytes().u32(0).u32(16 + 26).data + iccRes + alphaRes +
        emptyLayerSection(false) + Bytes().u16(0).u8(10).u8(20).u8(30).u8(40).data;
    got = writeSingle(img.p, false);
    EXPECT_EQ(got, expected) << psdtest::firstDifference(got, expected);
}

// 32-bit float: the toning block in the colour mode section, big-endian IEEE samples.
TEST(PSDLayout, Float32)
{
    ImageRef img;
    const Real32 px[] = { 1.0f, -2.0f, 0.5f };
    ASSERT_TRUE(img->set(Image::OSG_RGB_PF, 1, 1, 1, 1, 1, 0.0,
                         reinterpret_cast<const UInt8 *>(px), Image::OSG_FLOAT32_IMAGEDATA));
    const std::string got = writeSingle(img.p, false);
    ASSERT_EQ(got.size(), 26u + 4 + 112 + 4 + 26 + 2 + 12);
    EXPECT_EQ(got.substr(0, 26), header(1, 3, 1, 1, 32, 3));
    EXPECT_EQ(got.substr(26, 4), Bytes().u32(112).data);
    EXPECT_EQ(got.substr(30, 8), Bytes().str("hdrt").u32(3).data);
    EXPECT_EQ(got.substr(30 + 20, 16), Bytes().u16('D').u16('e').u16('f').u16('a').u16('u')
                                            .u16('l').u16('t').u16(0).data);
    EXPECT_EQ(got.substr(30 + 74, 4), "hdra");
    EXPECT_EQ(got.substr(got.size() - 14), Bytes().u16(0).u32(0x3f800000).u32(0xc0000000)
                                               .u32(0x3f000000).data);
}

// Two RGBA layers of 1x1 named "ab" and "" with the multiply blend mode on the first.
TEST(PSDLayout, LayersPSDAndPSB)
{
    ImageRef doc, l0, l1;
    const UInt8 d[] = { 1, 2, 3, 4 }, a[] = { 5, 6, 7, 8 }, b[] = { 9, 10, 11, 12 };
    ASSERT_TRUE(doc->set(Image::OSG_RGBA_PF, 1, 1, 1, 1, 1, 0.0, d));
    ASSERT_TRUE(l0->set(Image::OSG_RGBA_PF, 1, 1, 1, 1, 1, 0.0, a));
    ASSERT_TRUE(l1->set(Image::OSG_RGBA_PF, 1, 1, 1, 1, 1, 0.0, b));

    for(bool large : { false, true })
    {
        const unsigned lenBytes = large ? 8 : 4;
        auto len = [&](Bytes &bt, unsigned long long v) -> Bytes & {
            return large ? bt.u64(v) : bt.u32((unsigned long)v);
        };
        auto record = [&](const std::string &key, const std::string &paddedName) {
            Bytes r;
            r.u32(0).u32(0).u32(1).u32(1).u16(4);
            for(int id : { 0, 1, 2, -1 })
                len(r.u16(unsigned(id) & 0xffff), 3);
            r.str("8BIM").str(key).u8(255).u8(0).u8(0).u8(0)
                .u32(8 + paddedName.size()).u32(0).u32(0).str(paddedName);
            return r.data;
        };
        const std::string r0 = record("mul ", std::string("\x02" "ab\0", 4));
        const std::string r1 = record("norm", std::string(4, '\0'));
        EXPECT_EQ(r0.size(), 16u + 2 + 4 * (2 + lenBytes) + 12 + 12 + 4);
        const std::string channels = Bytes().u16(0).u8(5).u16(0).u8(6).u16(0).u8(7).u16(0).u8(8)
            .u16(0).u8(9).u16(0).u8(10).u16(0).u8(11).u16(0).u8(12).data;
        const unsigned long long info = 2 + r0.size() + r1.size() + channels.size();
        ASSERT_EQ(info % 2, 0u);
        Bytes section;
        len(section, lenBytes + info + 4 + 14);
        len(section, info);
        section.u16(2).str(r0).str(r1).str(channels)
            .u32(14).u16(0).zeros(8).u16(100).u8(128).u8(128);

        const std::string alphaRes = Bytes().str("8BIM").u16(1006).u16(0).u32(14)
            .u8(12).str("Transparency").u8(0).data;
        const std::string expected = header(large ? 2 : 1, 4, 1, 1, 8, 3) +
            Bytes().u32(0).u32(26).data + alphaRes + section.data +
            Bytes().u16(0).u8(1).u8(2).u8(3).u8(4).data;

        std::ostringstream os;
        ASSERT_TRUE(PSDImageFileType::the().write(doc.p, os, large ? "image/x-photoshop-big" : "",
                                                  { l0.p, l1.p }, { "ab", "" },
                                                  { PSDImageFileType::BlendMultiply }));
        EXPECT_EQ(os.str(), expected) << (large ? "PSB " : "PSD ")
                                      << psdtest::firstDifference(os.str(), expected);
    }
}

// Three channels of one byte each leave the layer info odd: one pad byte, counted in its length.
TEST(PSDLayout, OddLayerInfoIsPadded)
{
    ImageRef doc;
    const UInt8 d[] = { 1, 2, 3 };
    ASSERT_TRUE(doc->set(Image::OSG_RGB_PF, 1, 1, 1, 1, 1, 0.0, d));
    std::ostringstream os;
    ASSERT_TRUE(PSDImageFileType::the().write(doc.p, os, "", { doc.p }, { "x" }));
    const std::string s = os.str();
    // record 16 + 2 + 3 * 6 + 12 + 12 + 4 = 64, channel data 3 * 3 = 9: 2 + 73 = 75 -> 76
    const size_t at = 26 + 4 + 4;
    EXPECT_EQ(s.substr(at, 8), Bytes().u32(4 + 76 + 4 + 14).u32(76).data);
    // The blue channel's compression word and sample, then the pad byte.
    EXPECT_EQ(s.substr(at + 8 + 76 - 4, 4), Bytes().u16(0).u8(3).u8(0).data);
}

// Documents the writer refuses leave the stream empty.
TEST(PSDLayout, RefusedImagesWriteNothing)
{
    LogCapture capture;
    ImageRef u16, doc, small;
    ASSERT_TRUE(u16->set(Image::OSG_RGB_PF, 1, 1, 1, 1, 1, 0.0, NULL, Image::OSG_UINT16_IMAGEDATA));
    ASSERT_TRUE(doc->set(Image::OSG_RGB_PF, 2, 2));
    ASSERT_TRUE(small->set(Image::OSG_RGB_PF, 1, 2));
    std::ostringstream a, b, c;
    EXPECT_FALSE(PSDImageFileType::the().write(u16.p, a, ""));
    EXPECT_FALSE(PSDImageFileType::the().write(doc.p, b, "", { small.p }, { "s" }));
    EXPECT_FALSE(PSDImageFileType::the().write(NullFC, c, ""));
    EXPECT_TRUE(a.str().empty());
    EXPECT_TRUE(b.str().empty());
    EXPECT_TRUE(capture.contains("must match the document"));
}
