// YIF header bytes worked out by hand, and the gzip stream buffer on files made by the gzip program.

#include <OpenSGExt/Image/detail/skInflateStreamBuf.h>
#include <OpenSGExt/Image/detail/skYIFHeader.h>

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

using namespace osg;
using namespace osg::detail;

namespace {

std::string gzipBytes(const std::string &plain, const std::string &options = "")
{
    namespace fs = std::filesystem;
    fs::path p = fs::temp_directory_path() / ("skosg-yifcodec-" + std::to_string(::getpid()));
    {
        std::ofstream os(p, std::ios::binary);
        os.write(plain.data(), std::streamsize(plain.size()));
    }
    std::string cmd = "gzip -f " + options + " '" + p.string() + "'";
    EXPECT_EQ(std::system(cmd.c_str()), 0);
    std::ifstream is(p.string() + ".gz", std::ios::binary);
    std::stringstream ss;
    ss << is.rdbuf();
    fs::remove(p.string() + ".gz");
    return ss.str();
}

std::string inflateAll(const std::string &gz, std::string &error, std::size_t buffer = 4096,
                       std::size_t chunk = 0)
{
    std::istringstream     in(gz);
    InflateStreamBuf buf(in, buffer);
    std::istream           is(&buf);
    std::string            out;
    if(chunk == 0)
    {
        std::stringstream ss;
        ss << &buf;
        out = ss.str();
    }
    else
    {
        std::vector<char> tmp(chunk);
        while(is.read(tmp.data(), std::streamsize(chunk)) || is.gcount() > 0)
            out.append(tmp.data(), std::size_t(is.gcount()));
    }
    error = buf.error();
    return out;
}

std::string sample(std::size_t n)
{
    std::string s(n, '\0');
    UInt32 x = 12345;
    for(std::size_t i = 0; i < n; ++i)
    {
        x = x * 1103515245u + 12345u;
        s[i] = char((i % 97 < 60) ? (i / 13) & 0xFF : (x >> 24));   // compressible and not
    }
    return s;
}

} // namespace

TEST(YIFCodec, HeaderBytesAsWorkedOutByHand)
{
    YIFHeaderFields f;
    f.pixelFormat = 6408;       // 0x1908, RGBA
    f.width       = 0x1234;
    f.height      = 256;
    f.depth       = 1;
    f.mipmapCount = 9;
    f.frameCount  = 3;
    f.frameDelay  = 3.7;        // truncated to 3, swapped to 0x0300 = 768.0
    f.sideCount   = 6;
    f.dataType    = 5131;       // 0x140B, half float
    UInt8 h[YIFHeaderSize];
    yifEncodeHeader(f, h);

    UInt8 expected[YIFHeaderSize] = {};
    const UInt8 head[48] = { 'y', 'i', 'f', 0,     0, 0, 0, 0,
                             0x19, 0x08, 0, 0,     0x12, 0x34, 0, 0,     0x01, 0x00, 0, 0,
                             0x00, 0x01, 0, 0,     0x00, 0x09, 0, 0,     0x00, 0x03, 0, 0,
                             0, 0, 0, 0, 0, 0, 0x88, 0x40,                  // 768.0, little-endian
                             0x00, 0x06, 0, 0,     0x14, 0x0B, 0, 0 };
    std::memcpy(expected, head, sizeof(head));
    EXPECT_EQ(std::memcmp(h, expected, YIFHeaderSize), 0);

    YIFHeaderFields back;
    ASSERT_TRUE(yifDecodeHeader(h, back));
    EXPECT_EQ(back.pixelFormat, 6408u);
    EXPECT_EQ(back.width, 0x1234u);
    EXPECT_EQ(back.height, 256u);
    EXPECT_EQ(back.mipmapCount, 9u);
    EXPECT_EQ(back.frameCount, 3u);
    EXPECT_EQ(back.frameDelay, 3.0);
    EXPECT_EQ(back.sideCount, 6u);
    EXPECT_EQ(back.dataType, 5131u);
}

TEST(YIFCodec, ConversionKeepsOnlySixteenBits)
{
    // Twice restores small values; 70000 (0x11170) keeps 0x1170; the reserved area is cleared;
    // the high bytes of a stored field and the unused words are ignored by the reader.
    UInt8 h[YIFHeaderSize] = {};
    h[12] = 0x70; h[13] = 0x11; h[14] = 0x01;        // 70000 in memory
    h[16] = 0xCD; h[17] = 0xAB;                      // 0xABCD
    std::memset(h + 48, 0x5A, 40);
    yifConvertHeader(h);
    EXPECT_EQ(h[12], 0x11); EXPECT_EQ(h[13], 0x70); EXPECT_EQ(h[14], 0); EXPECT_EQ(h[15], 0);
    EXPECT_EQ(h[16], 0xAB); EXPECT_EQ(h[17], 0xCD);
    for(int i = 48; i < 88; ++i)
        EXPECT_EQ(h[i], 0) << i;
    yifConvertHeader(h);
    EXPECT_EQ(h[12] | h[13] << 8, 0x1170);
    EXPECT_EQ(h[16] | h[17] << 8, 0xABCD);

    UInt8 file[YIFHeaderSize] = { 'y', 'i', 'f', 0, 0xFF, 0xFF, 0xFF, 0xFF };
    file[12] = 0x02; file[13] = 0x00; file[14] = 0x77; file[15] = 0x66;   // width 512, junk above
    file[92] = 0xEE;
    YIFHeaderFields f;
    ASSERT_TRUE(yifDecodeHeader(file, f));
    EXPECT_EQ(f.width, 512u);
    // Non-finite and negative delays stay defined.
    double nan = std::nan("");
    std::memcpy(file + 32, &nan, 8);
    ASSERT_TRUE(yifDecodeHeader(file, f));
    EXPECT_EQ(f.frameDelay, 0.0);
    file[0] = 'Y';
    EXPECT_FALSE(yifDecodeHeader(file, f));
}

TEST(YIFCodec, InflatesWhatGzipWrote)
{
    std::string plain = sample(300000), error;
    // Whole-stream copy, small reads through the 4096-byte buffer, and big reads past it.
    std::string gz = gzipBytes(plain);
    EXPECT_EQ(inflateAll(gz, error), plain);
    EXPECT_EQ(error, "");
    EXPECT_EQ(inflateAll(gz, error, 4096, 1000), plain);
    EXPECT_EQ(inflateAll(gz, error, 4096, 100000), plain);
    EXPECT_EQ(inflateAll(gz, error, 64, 7), plain);
    // Best compression, the original name stored in the header, and two members in a row.
    EXPECT_EQ(inflateAll(gzipBytes(plain, "-9 -N"), error), plain);
    std::string two = gzipBytes(plain.substr(0, 1000)) + gzipBytes(plain.substr(1000));
    EXPECT_EQ(inflateAll(two, error), plain);
    EXPECT_EQ(error, "");
    EXPECT_EQ(inflateAll(gzipBytes(""), error), "");
    EXPECT_EQ(error, "");
}

TEST(YIFCodec, CorruptGzipEndsTheStreamWithAReason)
{
    std::string plain = sample(200000), error;
    std::string gz = gzipBytes(plain);

    std::string cut = gz.substr(0, gz.size() / 2);
    std::string got = inflateAll(cut, error);
    EXPECT_EQ(error, "unexpected end of data");
    EXPECT_LT(got.size(), plain.size());
    EXPECT_EQ(got, plain.substr(0, got.size()));

    inflateAll(gz.substr(0, gz.size() - 3), error);          // trailer cut short
    EXPECT_EQ(error, "unexpected end of data");
    inflateAll(gz.substr(0, 5), error);
    EXPECT_EQ(error, "unexpected end of data");

    std::string flipped = gz;
    flipped[gz.size() - 6] ^= 0x40;                            // length in the trailer
    inflateAll(flipped, error);
    EXPECT_EQ(error, "checksum mismatch");

    // Garbage in the deflate data: zlib refuses it or the checksum catches it.
    bool caught = true;
    for(std::size_t pos = 20; pos < gz.size() - 8; pos += gz.size() / 7)
    {
        std::string bad = gz;
        for(int k = 0; k < 16; ++k)
            bad[pos + std::size_t(k)] = char(0xFF - k * 3);
        inflateAll(bad, error);
        caught = caught && (error == "corrupt deflate data" || error == "checksum mismatch");
    }
    EXPECT_TRUE(caught);

    inflateAll("yif plain", error);
    EXPECT_EQ(error, "bad gzip header");
    std::string method = gz;
    method[2] = 7;
    inflateAll(method, error);
    EXPECT_EQ(error, "bad gzip header");
}
