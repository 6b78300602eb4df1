// The tiled IFF reader on files assembled here byte by byte from the layout rules.

#include <OpenSGExt/Image/detail/skIFFParser.h>

#include "IFFTestFiles.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

using namespace osg;
using namespace osg::detail;

namespace {

using namespace ifftest;

bool parse(const Bytes &f, IFFImage &img, std::string &err)
{
    return parseIFF(f.data(), f.size(), img, err);
}

} // namespace

TEST(IFFParser, RawTilesOfEightBitRGBA)
{
    // 3x2 image in two tiles: columns 0-1 and column 2. Pixels stored A B G R, rows bottom first.
    Bytes left = { 0xA0, 3, 2, 1,  0xA1, 6, 5, 4,      // row 0: (0,0), (1,0)
                   0xA2, 9, 8, 7,  0xA3, 12, 11, 10 }; // row 1
    Bytes right = { 0xA4, 15, 14, 13,  0xA5, 18, 17, 16 };
    Bytes f = file({ chunk("AUTH", { 'm', 'e' }), header(3, 2, 3, 0, 0, 2),
                     group("TBMP", { tile("RGBA", 0, 0, 1, 1, left), tile("RGBA", 2, 0, 2, 1, right) }) });
    IFFImage img;
    std::string err;
    ASSERT_TRUE(parse(f, img, err)) << err;
    EXPECT_EQ(img.width, 3u);
    EXPECT_EQ(img.height, 2u);
    EXPECT_EQ(img.channels, 4u);
    EXPECT_EQ(img.bytesPerChannel, 1u);
    EXPECT_TRUE(img.depth.empty());
    const Bytes expected = { 1, 2, 3, 0xA0,   4, 5, 6, 0xA1,   13, 14, 15, 0xA4,
                             7, 8, 9, 0xA2,   10, 11, 12, 0xA3, 16, 17, 18, 0xA5 };
    EXPECT_EQ(img.colour, expected);
}

TEST(IFFParser, RleTilesSixteenBitAndDepth)
{
    // 4x1 RGB, 16-bit, RLE: six planes (B hi, B lo, G hi, G lo, R hi, R lo) of 4 bytes each.
    Bytes planes = { 0x83, 0x12,             // B hi: run of 4 x 0x12
                     0x03, 1, 2, 3, 4,       // B lo: literal 1 2 3 4
                     0x83, 0x00,             // G hi
                     0x83, 0xFF,             // G lo
                     0x01, 0xAB, 0xCD, 0x81, 0xEF,   // R hi: AB CD EF EF
                     0x83, 0x01 };           // R lo
    // Depth tile raw: four big-endian floats 1, 2, 0.5, -1.
    Bytes depth = { 0x3F, 0x80, 0, 0,  0x40, 0, 0, 0,  0x3F, 0, 0, 0,  0xBF, 0x80, 0, 0 };
    Bytes f = file({ header(4, 1, 1 | 4, 1, 1, 2),
                     group("TBMP", { tile("RGBA", 0, 0, 3, 0, planes), tile("ZBUF", 0, 0, 3, 0, depth) }) });
    IFFImage img;
    std::string err;
    ASSERT_TRUE(parse(f, img, err)) << err;
    ASSERT_EQ(img.channels, 3u);
    ASSERT_EQ(img.bytesPerChannel, 2u);
    ASSERT_EQ(img.colour.size(), 4u * 3 * 2);
    const UInt16 *px = reinterpret_cast<const UInt16 *>(img.colour.data());
    const UInt16 expected[12] = { 0xAB01, 0x00FF, 0x1201,  0xCD01, 0x00FF, 0x1202,
                                  0xEF01, 0x00FF, 0x1203,  0xEF01, 0x00FF, 0x1204 };
    for(int i = 0; i < 12; ++i)
        EXPECT_EQ(px[i], expected[i]) << i;
    ASSERT_EQ(img.depth.size(), 4u);
    EXPECT_EQ(img.depth[0], 1.f);
    EXPECT_EQ(img.depth[1], 2.f);
    EXPECT_EQ(img.depth[2], 0.5f);
    EXPECT_EQ(img.depth[3], -1.f);

    // The unpacker itself: exact count, and packets that overrun either side.
    UInt8 out[4];
    const UInt8 run[] = { 0x83, 7 };
    EXPECT_EQ(iffUnpackRLE(run, 2, out, 4), 2u);
    EXPECT_EQ(iffUnpackRLE(run, 2, out, 3), 0u);   // run longer than the plane
    EXPECT_EQ(iffUnpackRLE(run, 1, out, 4), 0u);   // value missing
    const UInt8 lit[] = { 0x03, 1, 2 };
    EXPECT_EQ(iffUnpackRLE(lit, 3, out, 4), 0u);   // literal cut short
}

TEST(IFFParser, BadFilesGiveTheirReasonAndLeaveTheImageAlone)
{
    Bytes px(4 * 4, 9);
    Bytes good = file({ header(2, 2, 3, 0, 0, 1), group("TBMP", { tile("RGBA", 0, 0, 1, 1, px) }) });
    IFFImage img;
    img.width = 77;
    std::string err;
    ASSERT_TRUE(parse(good, img, err)) << err;
    img.width = 77;

    struct Case { Bytes data; const char *error; };
    Bytes notForm = good;
    std::memcpy(notForm.data(), "FORM", 4);
    Bytes notCimg = good;
    std::memcpy(notCimg.data() + 8, "ILBM", 4);
    Bytes nested = good;
    nested[4 + 3] += 40;                                   // form longer than the file
    Bytes inner = good;
    inner[12 + 7] = 0x7F;                                  // header chunk longer than the form

    Bytes rleBad = { 0x83, 9, 0x83, 9, 0x83, 9, 0x7F };     // last plane: literal runs out
    std::vector<Case> cases = {
        { notForm, "unexpected tag" },
        { notCimg, "unexpected tag" },
        { nested, "truncated file" },
        { inner, "tag stack corrupt" },
        { Bytes(good.begin(), good.begin() + 10), "truncated file" },
        { file({ header(2, 2, 3, 0, 2, 1), group("TBMP", { tile("RGBA", 0, 0, 1, 1, px) }) }),
          "unknown compression format" },
        { file({ header(2, 2, 3, 0, 1, 1), group("TBMP", { tile("RGBA", 0, 0, 1, 1, rleBad) }) }),
          "corrupt RLE data" },
        { file({ header(2, 2, 3, 0, 0, 1), group("TBMP", { tile("RGBA", 0, 0, 1, 1, Bytes(5, 1)) }) }),
          "truncated file" },
        { file({ header(2, 2, 3, 0, 0, 1), group("TBMP", { tile("RGBA", 0, 0, 2, 1, px) }) }),
          "tile outside the image" },
        { file({ header(2, 2, 3, 0, 0, 1), group("TBMP", { tile("RGBA", 0, 0, 1, 0, Bytes(8, 1)) }) }),
          "missing tiles" },
        { file({ header(2, 2, 3, 0, 0, 1), group("TBMP", { tile("JUNK", 0, 0, 1, 1, px) }) }),
          "unexpected tag" },
        { file({ group("TBMP", { tile("RGBA", 0, 0, 1, 1, px) }) }), "no header" },
        // Absurd sizes are refused before anything is allocated: beyond the largest dimension,
        // beyond 2^31 - 1 bytes of pixels (65536 x 65536 RGBA8 is 16 GiB), or a 4096 x 4096
        // image (64 MiB) whose tiles cannot cover it.
        { file({ header(100000, 2, 3, 0, 0, 1), group("TBMP", {}) }), "image too large" },
        { file({ header(65536, 65536, 3, 0, 1, 1), group("TBMP", { tile("RGBA", 0, 0, 1, 1, px) }) }),
          "image too large" },
        { file({ header(4096, 4096, 3, 0, 1, 1), group("TBMP", { tile("RGBA", 0, 0, 1, 1, px) }) }),
          "missing tiles" },
        // A tile claiming 8192 x 8192 RLE pixels from 6 bytes.
        { file({ header(8192, 8192, 3, 0, 1, 1),
                 group("TBMP", { tile("RGBA", 0, 0, 8191, 8191, { 0xFF, 1, 0xFF, 1, 0xFF, 1 }) }) }),
          "corrupt RLE data" },
    };
    for(std::size_t i = 0; i < cases.size(); ++i)
    {
        EXPECT_FALSE(parse(cases[i].data, img, err)) << i;
        EXPECT_EQ(err, cases[i].error) << i;
        EXPECT_EQ(img.width, 77u) << i;
    }
    // Every cut of a good file fails cleanly.
    for(std::size_t n = 0; n < good.size(); ++n)
        EXPECT_FALSE(parseIFF(good.data(), n, img, err)) << n;
    EXPECT_FALSE(parseIFF(nullptr, 0, img, err));
}
