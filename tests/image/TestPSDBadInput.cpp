// Corrupt and unsupported documents: the quoted message, false, and the target image as it was.
#include <OpenSGExt/OSGPSDImageFileType.h>
#include <OpenSG/OSGLog.h>

#include "image/PSDTestSupport.h"

#include <fstream>
#include <sstream>

using namespace osg;
using psdtest::Bytes;
using psdtest::ImageRef;

namespace {

// A 2x2 RGB 8-bit document, raw or with hand-packed RLE rows.
std::string document(unsigned version = 1, unsigned compression = 0, unsigned channels = 3,
                     unsigned depth = 8, unsigned mode = 3, unsigned w = 2, unsigned h = 2,
                     bool withData = true)
{
    Bytes b;
    b.str("8BPS").u16(version).zeros(6).u16(channels).u32(h).u32(w).u16(depth).u16(mode);
    b.u32(0).u32(0);
    if(version == 2)
        b.u64(0);
    else
        b.u32(0);
    b.u16(compression);
    if(!withData)
        return b.data;
    if(compression == 0)
    {
        for(unsigned i = 0; i < channels * w * h * depth / 8; ++i)
            b.u8(i + 1);
    }
    else
    {
        // Every row "repeat 2 times": 2 bytes each.
        for(unsigned i = 0; i < channels * h; ++i)
            version == 2 ? b.u32(2) : b.u16(2);
        for(unsigned i = 0; i < channels * h; ++i)
            b.u8(0xff).u8(i + 1);
    }
    return b.data;
}

// Reads `bytes`; expects failure with `message` and the target untouched.
void expectRefused(const std::string &bytes, const std::string &message, const char *what)
{
    ImageRef target;
    const UInt8 keep[] = { 42 };
    ASSERT_TRUE(target->set(Image::OSG_L_PF, 1, 1, 1, 1, 1, 0.0, keep));
    LogCapture capture;
    std::istringstream is(bytes);
    ImagePtr p = target.p;
    EXPECT_FALSE(PSDImageFileType::the().read(p, is, "")) << what;
    EXPECT_TRUE(capture.contains(message)) << what << ": " << capture.text();
    EXPECT_EQ(target->getPixelFormat(), UInt32(Image::OSG_L_PF)) << what;
    EXPECT_EQ(target->getWidth(), 1) << what;
    EXPECT_EQ(target->getData()[0], 42) << what;
}

} // namespace

// The well-formed documents read: raw and RLE, PSD and PSB, rows flipped to bottom first.
TEST(PSDRead, HandMadeDocuments)
{
    for(unsigned version : { 1u, 2u })
        for(unsigned compression : { 0u, 1u })
        {
            ImageRef img;
            ImagePtr p = img.p;
            const LogLevel level = osgLog().getLogLevel();
            osgLog().setLogLevel(LOG_NOTICE, true);
            LogCapture capture;
            std::istringstream is(document(version, compression));
            ASSERT_TRUE(PSDImageFileType::the().read(p, is, "")) << capture.text();
            EXPECT_EQ(img->getPixelFormat(), UInt32(Image::OSG_RGB_PF));
            const UInt8 *d = img->getData();
            if(compression == 0)
            {
                // Planes R = 1 2 / 3 4, G = 5 6 / 7 8, B = 9 10 / 11 12 (top row first).
                const UInt8 expected[] = { 3, 7, 11, 4, 8, 12, 1, 5, 9, 2, 6, 10 };
                EXPECT_EQ(std::vector<UInt8>(d, d + 12), std::vector<UInt8>(expected, expected + 12));
            }
            else
            {
                // Rows: R top 1, R bottom 2, G 3/4, B 5/6; each row of two equal samples.
                const UInt8 expected[] = { 2, 4, 6, 2, 4, 6, 1, 3, 5, 1, 3, 5 };
                EXPECT_EQ(std::vector<UInt8>(d, d + 12), std::vector<UInt8>(expected, expected + 12));
            }
            EXPECT_TRUE(capture.contains("PSD readHeader: v:" + std::to_string(version) +
                                         " ch:3 r:2 c:2 d:8 m:3"));
            EXPECT_TRUE(capture.contains("PSD readImageData: compression " + std::to_string(compression)));
            EXPECT_TRUE(capture.contains("PSD readImageData: bpl:2 dstbpl:6"));
            osgLog().setLogLevel(level, true);
        }
}

TEST(PSDRead, CorruptAndUnsupported)
{
    const std::string good = document();
    expectRefused("", "PSD file is corrupt! header", "empty");
    expectRefused("8BPX" + good.substr(4), "PSD file is corrupt! header", "magic");
    expectRefused(good.substr(0, 20), "PSD file is corrupt! header", "short header");
    expectRefused(document(3), "PSD file is corrupt! header", "version 3");
    expectRefused(document(1, 0, 0), "PSD file is corrupt! header", "no channels");
    expectRefused(document(1, 0, 57), "PSD file is corrupt! header", "57 channels");
    expectRefused(document(1, 0, 3, 8, 3, 30001, 1, false), "PSD file is corrupt! header",
                  "width above the PSD limit");
    expectRefused(document(1, 0, 3, 1), "Unsupported image type for PSD file!", "1 bit");
    expectRefused(document(1, 0, 4, 8, 4), "Unsupported image type for PSD file!", "CMYK");
    expectRefused(document(1, 0, 2, 8, 3), "Unsupported image type for PSD file!", "RGB, 2 channels");
    // 30000 x 30000 RGBA: 3433 MiB, above the 2 GiB cap, refused before anything is allocated.
    expectRefused(document(1, 0, 4, 8, 3, 30000, 30000, false),
                  "PSD file could not allocate image mem (3433mb)!", "huge");
    // A big document whose data is not in the stream: refused before allocating.
    expectRefused(document(1, 0, 3, 8, 3, 4000, 4000, false) + std::string(20, 'x'),
                  "PSD file is corrupt! data",
                  "missing data");

    std::string colorPastEnd = good;
    colorPastEnd[29] = 0x7f;
    expectRefused(colorPastEnd, "PSD file is corrupt! color", "colour mode length");
    std::string resourcePastEnd = good;
    resourcePastEnd[33] = 0x7f;
    expectRefused(resourcePastEnd, "PSD file is corrupt! resource", "resources length");
    // A resource whose data length runs past its section.
    std::string badResource = good.substr(0, 30) +
        Bytes().u32(12).str("8BIM").u16(1039).u16(0).u32(100).data + good.substr(34);
    expectRefused(badResource, "PSD file is corrupt! resource", "resource data");
    std::string layerPastEnd = good;
    layerPastEnd[37] = 0x7f;
    expectRefused(layerPastEnd, "PSD file is corrupt! layer", "layer section length");
    expectRefused(good.substr(0, 36), "PSD file is corrupt! layer", "no layer section");

    expectRefused(good.substr(0, 38), "PSD file is corrupt! data", "no compression word");
    expectRefused(good.substr(0, good.size() - 1), "PSD file is corrupt! data", "raw data short");
    expectRefused(document(1, 2), "PSD readImageData: cannot handle compression 2", "zip");
    expectRefused(document(1, 3), "PSD readImageData: cannot handle compression 3", "zip predicted");

    // RLE: a row that decodes to 3 bytes instead of 2, one that decodes to 1, one cut short.
    std::string rle = document(1, 1);
    const size_t data = 40 + 12;
    std::string tooLong = rle;
    tooLong[data] = char(0xfe);
    expectRefused(tooLong, "PSD::readImageData wrong sizes 3 2 y:0", "RLE row too long");
    std::string tooShort = rle;
    tooShort[data] = 0x00;
    expectRefused(tooShort, "PSD::readImageData wrong sizes 1 2 y:0", "RLE row too short");
    std::string countPastEnd = rle;
    countPastEnd[41] = 0x70;
    expectRefused(countPastEnd, "PSD file is corrupt! data", "RLE count past the end");
    expectRefused(rle.substr(0, rle.size() - 3), "PSD file is corrupt! data", "RLE data short");
}

// A layer record that claims more than its section holds spoils the layer section; the merged
// image alone is still read when layers are not asked for.
TEST(PSDRead, CorruptLayerRecords)
{
    Bytes doc;
    doc.str("8BPS").u16(1).zeros(6).u16(3).u32(1).u32(1).u16(8).u16(3).u32(0).u32(0);
    Bytes info;
    info.u16(1).u32(0).u32(0).u32(1).u32(1).u16(3);
    for(int id = 0; id < 3; ++id)
        info.u16(id).u32(1000);                 // channel data far past the section
    info.str("8BIM").str("norm").u8(255).u8(0).u8(0).u8(0).u32(12).u32(0).u32(0).u8(1).str("x").u16(0);
    doc.u32(4 + info.data.size() + 4).u32(info.data.size()).str(info.data).u32(0);
    doc.u16(0).u8(7).u8(8).u8(9);

    ImageRef img;
    ImagePtr p = img.p;
    LogCapture capture;
    std::istringstream is(doc.data);
    std::vector<PSDImageFileType::Layer> layers;
    EXPECT_FALSE(PSDImageFileType::the().readLayers(is, p, layers));
    EXPECT_TRUE(capture.contains("PSD file is corrupt! layer"));
    EXPECT_TRUE(layers.empty());
    EXPECT_FALSE(img->isValid());

    std::istringstream again(doc.data);
    ASSERT_TRUE(PSDImageFileType::the().read(p, again, ""));
    EXPECT_EQ(img->getData()[2], 9);
}

TEST(PSDRead, HeaderChecksAndMimeTypes)
{
    std::istringstream psd(document(1)), psb(document(2)), png("\x89PNG....");
    EXPECT_EQ(PSDImageFileType::the().determineMimetypeFromStream(psd), "image/x-photoshop");
    EXPECT_EQ(psd.tellg(), 0);
    EXPECT_EQ(PSDImageFileType::the().determineMimetypeFromStream(psb), "image/x-photoshop-big");
    EXPECT_EQ(PSDImageFileType::the().determineMimetypeFromStream(png), "");

    const std::string good = psdtest::tempPath("good.psd"), bad = psdtest::tempPath("bad.psd");
    {
        std::ofstream(good, std::ios::binary) << document();
        std::ofstream(bad, std::ios::binary) << "8BPX";
    }
    LogCapture capture(false);
    bool implemented = false;
    EXPECT_TRUE(PSDImageFileType::the().validateHeader(good.c_str(), implemented));
    EXPECT_TRUE(implemented);
    implemented = false;
    EXPECT_FALSE(PSDImageFileType::theBig().validateHeader(bad.c_str(), implemented));
    EXPECT_TRUE(implemented);
    EXPECT_FALSE(PSDImageFileType::the().validateHeader(NULL, implemented));
    EXPECT_FALSE(PSDImageFileType::the().validateHeader("/nonexistent/x.psd", implemented));
    std::remove(good.c_str());
    std::remove(bad.c_str());

    EXPECT_EQ(PSDImageFileType::the().storeData(NullFC, NULL), 0u);
    ImagePtr none;
    EXPECT_EQ(PSDImageFileType::the().restoreData(none, NULL), 0u);

    EXPECT_STREQ(PSDImageFileType::the().getMimeType(), "image/x-photoshop");
    EXPECT_EQ(PSDImageFileType::the().getFlags(), 23u);
    EXPECT_EQ(PSDImageFileType::theBig().getFlags(), 31u);
    EXPECT_EQ(PSDImageFileType::theBig().getSuffixList().front(), "psb");
}
