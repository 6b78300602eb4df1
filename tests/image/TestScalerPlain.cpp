// The platform resampler on plain buffers: constants stay constant for every channel type and
// filter, ramps come out as worked out by hand, results agree with ImageMagick's resize, values are
// clamped to the channel range, and mipmap levels are the averages they should be.

#include <OpenSGExt/OSGValueHandlerTempl.h>

#include <platform/skImageScaler.h>

#include <gtest/gtest.h>

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

using namespace osg;
using skUtils::ImageGenericFilter;
using skUtils::ImageScaler;

namespace {

const ImageGenericFilter::Kind kAllFilters[] = { ImageGenericFilter::Box, ImageGenericFilter::Bilinear,
                                                 ImageGenericFilter::MitchellNetravali,
                                                 ImageGenericFilter::CatmullRom, ImageGenericFilter::Lanczos3 };

template <class T>
bool scaleOne(const std::vector<T> &src, std::vector<T> &dst, int sw, int sh, int sd, int dw, int dh,
              int dd, int comps, ImageGenericFilter::Kind kind)
{
    dst.assign(std::size_t(dw) * dh * dd * comps, T(0.f));
    ValueHandlerTempl<T> handler;
    return ImageScaler::scale({ reinterpret_cast<const unsigned char *>(src.data()) },
                              { reinterpret_cast<unsigned char *>(dst.data()) }, sw, sh, sd, dw, dh, dd,
                              comps, handler, ImageGenericFilter(kind));
}

template <class T>
void expectConstantStays(T value)
{
    struct Case { int sw, sh, sd, dw, dh, dd, comps; };
    const Case cases[] = { { 9, 7, 1, 4, 3, 1, 4 }, { 5, 3, 1, 17, 11, 1, 3 }, { 6, 5, 4, 3, 9, 7, 1 },
                           { 1, 1, 1, 5, 2, 1, 2 }, { 33, 1, 1, 2, 1, 1, 5 } };
    for(const Case &c : cases)
        for(ImageGenericFilter::Kind kind : kAllFilters)
        {
            std::vector<T> src(std::size_t(c.sw) * c.sh * c.sd * c.comps, value), dst;
            ASSERT_TRUE(scaleOne(src, dst, c.sw, c.sh, c.sd, c.dw, c.dh, c.dd, c.comps, kind));
            // Integers exactly; floats to within the rounding of a normalised weighted sum.
            float tol = std::numeric_limits<T>::is_integer ? 0.f : float(value) * 4e-7f;
            if(std::is_same<T, Real16>::value)
                tol = float(value) * 1e-3f;
            for(std::size_t i = 0; i < dst.size(); ++i)
                ASSERT_NEAR(float(dst[i]), float(value), tol) << "filter " << kind << " value " << i
                                                       << " of " << c.dw << "x" << c.dh << "x" << c.dd;
        }
}

// 16-bit binary PGM, top row first as the format has it (the scaler is row-order neutral).
void writePGM16(const std::string &path, const std::vector<UInt16> &v, int w, int h)
{
    std::ofstream os(path, std::ios::binary);
    os << "P5\n" << w << " " << h << "\n65535\n";
    for(UInt16 x : v)
    {
        os.put(char(x >> 8));
        os.put(char(x & 0xFF));
    }
}

bool readPGM16(const std::string &path, std::vector<UInt16> &v, int w, int h)
{
    std::ifstream is(path, std::ios::binary);
    std::string magic;
    int         rw = 0, rh = 0, maxval = 0;
    is >> magic >> rw >> rh >> maxval;
    is.get();
    if(magic != "P5" || rw != w || rh != h || maxval != 65535)
        return false;
    v.resize(std::size_t(w) * h);
    for(UInt16 &x : v)
    {
        int hi = is.get(), lo = is.get();
        x = UInt16(hi << 8 | lo);
    }
    return bool(is);
}

} // namespace

TEST(ScalerPlain, ConstantImagesStayConstantForEveryTypeAndFilter)
{
    expectConstantStays<UInt8>(200);
    expectConstantStays<UInt8>(255);
    expectConstantStays<UInt16>(50000);
    expectConstantStays<UInt32>(4000000001u);
    expectConstantStays<Real32>(0.7f);
    expectConstantStays<Real16>(Real16(0.5f));
    expectConstantStays<Real16>(Real16(65504.f));
}

TEST(ScalerPlain, BilinearRampWorkedOutByHand)
{
    // Centres of output x map to x/2 - 0.25; the edge windows lose their outside tap and are
    // renormalised, so the ends repeat the edge values.
    const float expected[8] = { 0, 2.5f, 7.5f, 12.5f, 17.5f, 22.5f, 27.5f, 30 };
    std::vector<Real32> f = { 0, 10, 20, 30 }, fo;
    ASSERT_TRUE(scaleOne(f, fo, 4, 1, 1, 8, 1, 1, 1, ImageGenericFilter::Bilinear));
    for(int i = 0; i < 8; ++i)
        EXPECT_FLOAT_EQ(fo[std::size_t(i)], expected[i]);

    // Integers round half up; the same ramp along the height and along the depth.
    std::vector<UInt8> b = { 0, 10, 20, 30 }, bo;
    const UInt8 rounded[8] = { 0, 3, 8, 13, 18, 23, 28, 30 };
    ASSERT_TRUE(scaleOne(b, bo, 1, 4, 1, 1, 8, 1, 1, ImageGenericFilter::Bilinear));
    for(int i = 0; i < 8; ++i)
        EXPECT_EQ(bo[std::size_t(i)], rounded[i]);
    std::vector<UInt16> s = { 0, 10, 20, 30 }, so;
    ASSERT_TRUE(scaleOne(s, so, 1, 1, 4, 1, 1, 8, 1, ImageGenericFilter::Bilinear));
    for(int i = 0; i < 8; ++i)
        EXPECT_EQ(so[std::size_t(i)], rounded[i]);

    // Halving with a box averages pairs; with the triangle the pair weights are 1/2 too (at
    // distance 0.25 each, scaled by 2), plus the outer neighbours at 1/6 each after normalising.
    std::vector<Real16> h = { Real16(0.f), Real16(2.f), Real16(4.f), Real16(6.f) }, ho;
    ASSERT_TRUE(scaleOne(h, ho, 4, 1, 1, 2, 1, 1, 1, ImageGenericFilter::Box));
    EXPECT_EQ(float(ho[0]), 1.f);
    EXPECT_EQ(float(ho[1]), 5.f);
    ASSERT_TRUE(scaleOne(f, fo, 4, 1, 1, 2, 1, 1, 1, ImageGenericFilter::Bilinear));
    // Output 0: centre 0.5, taps 0 (w .75), 1 (.75), 2 (.25): (0*.75 + 10*.75 + 20*.25) / 1.75.
    EXPECT_NEAR(fo[0], (7.5f + 5.f) / 1.75f, 1e-5f);
    EXPECT_NEAR(fo[1], (10 * .25f + 20 * .75f + 30 * .75f) / 1.75f, 1e-5f);
}

TEST(ScalerPlain, ValuesAreClampedToTheChannelRange)
{
    // One bright pixel enlarged with Lanczos-3: outputs whose centre lies between 1 and 2 source
    // pixels from it see only the kernel's negative lobe and must come out as exactly 0; those
    // within 1 pixel are positive. Centres map to (x + 0.5) * 12 / 37 - 0.5.
    std::vector<Real32> f(12, 0.f);
    f[6] = 255.f;
    std::vector<Real32> fo;
    ASSERT_TRUE(scaleOne(f, fo, 12, 1, 1, 37, 1, 1, 1, ImageGenericFilter::Lanczos3));
    int negativeLobe = 0;
    for(int o = 0; o < 37; ++o)
    {
        double d = std::fabs(6 - ((o + 0.5) * 12 / 37 - 0.5));
        if(d > 1.05 && d < 1.95)
        {
            EXPECT_EQ(fo[std::size_t(o)], 0.f) << o;
            ++negativeLobe;
        }
        else if(d < 0.95)
        {
            EXPECT_GT(fo[std::size_t(o)], 0.f) << o;
        }
    }
    EXPECT_GE(negativeLobe, 4);

    // A hard edge overshoots: floats keep the overshoot, 8-bit stops at 255.
    std::vector<UInt8> b(12, 0);
    for(int i = 6; i < 12; ++i)
    {
        f[std::size_t(i)] = 255.f;
        b[std::size_t(i)] = 255;
    }
    std::vector<UInt8> bo;
    ASSERT_TRUE(scaleOne(f, fo, 12, 1, 1, 37, 1, 1, 1, ImageGenericFilter::Lanczos3));
    ASSERT_TRUE(scaleOne(b, bo, 12, 1, 1, 37, 1, 1, 1, ImageGenericFilter::Lanczos3));
    bool over = false;
    for(int i = 0; i < 37; ++i)
    {
        float v = fo[std::size_t(i)];
        over = over || v > 256.f;
        EXPECT_NEAR(double(bo[std::size_t(i)]), std::floor(std::min(255.0, double(v)) + 0.5), 1.0) << i;
    }
    EXPECT_TRUE(over);

    // Half floats stop at 65504 instead of becoming infinite.
    std::vector<Real16> h(12, Real16(0.f)), ho;
    for(int i = 6; i < 12; ++i)
        h[std::size_t(i)] = Real16(65504.f);
    ASSERT_TRUE(scaleOne(h, ho, 12, 1, 1, 37, 1, 1, 1, ImageGenericFilter::Lanczos3));
    bool atMax = false;
    for(const Real16 &v : ho)
    {
        EXPECT_TRUE(v.isFinite() && float(v) <= 65504.f && float(v) >= 0.f);
        atMax = atMax || float(v) == 65504.f;
    }
    EXPECT_TRUE(atMax);
}

TEST(ScalerPlain, AgreesWithImageMagickResize)
{
    if(std::system("convert -version > /dev/null 2>&1") != 0)
        GTEST_SKIP() << "ImageMagick not installed";
    namespace fs = std::filesystem;
    fs::path dir = fs::temp_directory_path() / ("skosg-scaler-" + std::to_string(::getpid()));
    fs::create_directories(dir);

    const int sw = 11, sh = 7;
    std::vector<UInt16> src(std::size_t(sw) * sh);
    for(int y = 0; y < sh; ++y)
        for(int x = 0; x < sw; ++x)   // smooth plus a sharp feature, so every filter differs
            src[std::size_t(y * sw + x)] = UInt16(20000 + 1500 * x + 2500 * y + ((x == 5 && y == 3) ? 20000 : 0));
    writePGM16((dir / "in.pgm").string(), src, sw, sh);

    struct Case { const char *imFilter; ImageGenericFilter::Kind kind; int dw, dh; };
    const Case cases[] = { { "Triangle", ImageGenericFilter::Bilinear, 23, 15 },
                           { "Mitchell", ImageGenericFilter::MitchellNetravali, 19, 13 },
                           { "Catrom",   ImageGenericFilter::CatmullRom, 16, 9 },
                           { "Lanczos",  ImageGenericFilter::Lanczos3, 29, 17 },
                           { "Lanczos",  ImageGenericFilter::Lanczos3, 4, 3 },
                           { "Box",      ImageGenericFilter::Box, 22, 14 } };
    // One ImageMagick process for all cases: its start-up dominates the test's time.
    std::string cmd = "convert '" + (dir / "in.pgm").string() + "'";
    for(std::size_t k = 0; k < sizeof(cases) / sizeof(cases[0]); ++k)
        cmd += std::string(" \\( +clone -filter ") + cases[k].imFilter + " -resize " +
               std::to_string(cases[k].dw) + "x" + std::to_string(cases[k].dh) + "! -depth 16 -write '" +
               (dir / ("out" + std::to_string(k) + ".pgm")).string() + "' +delete \\)";
    cmd += " null: 2>&1";
    ASSERT_EQ(std::system(cmd.c_str()), 0) << cmd;
    for(std::size_t k = 0; k < sizeof(cases) / sizeof(cases[0]); ++k)
    {
        const Case &c = cases[k];
        std::vector<UInt16> ref, ours;
        ASSERT_TRUE(readPGM16((dir / ("out" + std::to_string(k) + ".pgm")).string(), ref, c.dw, c.dh)) << k;
        ASSERT_TRUE(scaleOne(src, ours, sw, sh, 1, c.dw, c.dh, 1, 1, c.kind));
        int worst = 0;
        for(std::size_t i = 0; i < ref.size(); ++i)
            worst = std::max(worst, std::abs(int(ref[i]) - int(ours[i])));
        // ImageMagick keeps its intermediate pass in 16-bit quanta: a step of rounding apart.
        EXPECT_LE(worst, 3) << c.imFilter << " to " << c.dw << "x" << c.dh;
    }
    fs::remove_all(dir);
}

TEST(ScalerPlain, MipmapLevelsAreAveragesOfTheLevelAbove)
{
    // 4x2 RGBA8 then 2x1 then 1x1, laid out back to back as OpenSG keeps them.
    const int w = 4, h = 2, comps = 4;
    std::size_t total = ImageScaler::mipmapBytes(w, h, 1, 3, comps, 1);
    ASSERT_EQ(total, std::size_t(4 * 2 * 4 + 2 * 1 * 4 + 1 * 1 * 4));
    std::vector<UInt8> buf(total, 0);
    for(int i = 0; i < w * h; ++i)
        for(int c = 0; c < comps; ++c)
            buf[std::size_t(i * comps + c)] = UInt8(10 * i + c);
    ValueHandlerTempl<UInt8> handler;
    ASSERT_TRUE(ImageScaler::buildMipmaps({ buf.data() }, w, h, 1, 3, comps, handler,
                                          ImageGenericFilter(ImageGenericFilter::Box)));
    // Level 1 pixel 0 averages pixels 0, 1, 4, 5: 10 * (0 + 1 + 4 + 5) / 4 = 25 (+ channel).
    const UInt8 *l1 = buf.data() + 32;
    for(int c = 0; c < comps; ++c)
    {
        EXPECT_EQ(l1[c], 25 + c);
        EXPECT_EQ(l1[4 + c], 45 + c);
        EXPECT_EQ(l1[8 + c], 35 + c);   // level 2: (25 + 45) / 2
    }
    // The level count beyond the smallest size keeps 1x1 levels.
    EXPECT_EQ(ImageScaler::mipmapBytes(2, 1, 1, 4, 1, 4), std::size_t(2 * 4 + 4 + 4 + 4));
}

TEST(ScalerPlain, InvalidArgumentsAreRefusedAndLeaveTheOutputAlone)
{
    std::vector<UInt8> src(16, 7), dst(16, 99);
    ValueHandlerTempl<UInt8> h8;
    ImageGenericFilter lanczos;
    const unsigned char *s = src.data();
    unsigned char       *d = dst.data();
    EXPECT_FALSE(ImageScaler::scale({ s }, {}, 4, 4, 1, 4, 4, 1, 1, h8, lanczos));
    EXPECT_FALSE(ImageScaler::scale({ nullptr }, { d }, 4, 4, 1, 4, 4, 1, 1, h8, lanczos));
    EXPECT_FALSE(ImageScaler::scale({ s }, { nullptr }, 4, 4, 1, 4, 4, 1, 1, h8, lanczos));
    EXPECT_FALSE(ImageScaler::scale({ s }, { d }, 0, 4, 1, 4, 4, 1, 1, h8, lanczos));
    EXPECT_FALSE(ImageScaler::scale({ s }, { d }, 4, 4, 1, 4, -4, 1, 1, h8, lanczos));
    EXPECT_FALSE(ImageScaler::scale({ s }, { d }, 4, 4, 1, 4, 4, 1, 0, h8, lanczos));
    EXPECT_FALSE(ImageScaler::scale({ s }, { d }, 1 << 30, 1 << 30, 1 << 30, 4, 4, 1, 1 << 30, h8, lanczos));
    // In place, or two outputs on the same memory.
    EXPECT_FALSE(ImageScaler::scale({ s }, { src.data() + 4 }, 4, 2, 1, 4, 2, 1, 1, h8, lanczos));
    EXPECT_FALSE(ImageScaler::scale({ s, s }, { d, d + 2 }, 4, 1, 1, 4, 1, 1, 1, h8, lanczos));
    for(UInt8 v : dst)
        EXPECT_EQ(v, 99);

    ImageGenericFilter f;
    EXPECT_TRUE(ImageGenericFilter::fromName("Mitchell", f));
    EXPECT_EQ(f.kind(), ImageGenericFilter::MitchellNetravali);
    EXPECT_TRUE(ImageGenericFilter::fromName("LANCZOS-3", f));
    EXPECT_EQ(f.kind(), ImageGenericFilter::Lanczos3);
    EXPECT_FALSE(ImageGenericFilter::fromName("gauss", f));
    EXPECT_EQ(f.kind(), ImageGenericFilter::Lanczos3);
}

TEST(ScalerPlain, ManyBuffersAndLargeImagesMatchOneByOne)
{
    // Large enough to be split across threads; each pair must equal its own single-pair result.
    const int sw = 301, sh = 203, dw = 97, dh = 411, comps = 4;
    std::vector<UInt16> a(std::size_t(sw) * sh * comps), b(a.size());
    for(std::size_t i = 0; i < a.size(); ++i)
    {
        a[i] = UInt16((i * 2654435761u) >> 16);
        b[i] = UInt16(i * 7);
    }
    std::vector<UInt16> oa(std::size_t(dw) * dh * comps), ob(oa.size()), single;
    ValueHandlerTempl<UInt16> handler;
    ASSERT_TRUE(ImageScaler::scale({ reinterpret_cast<const unsigned char *>(a.data()),
                                     reinterpret_cast<const unsigned char *>(b.data()) },
                                   { reinterpret_cast<unsigned char *>(oa.data()),
                                     reinterpret_cast<unsigned char *>(ob.data()) },
                                   sw, sh, 1, dw, dh, 1, comps, handler, ImageGenericFilter()));
    ASSERT_TRUE(scaleOne(b, single, sw, sh, 1, dw, dh, 1, comps, ImageGenericFilter::Lanczos3));
    EXPECT_EQ(ob, single);
    ASSERT_TRUE(scaleOne(a, single, sw, sh, 1, dw, dh, 1, comps, ImageGenericFilter::Lanczos3));
    EXPECT_EQ(oa, single);
}
