// ImageScaler on OpenSG images: every frame and side lands where it belongs, every scalable data
// type, mipmap chains, the refused cases with their messages, and the cache item.

#include <OpenSGExt/OSGImageCacheItem.h>
#include <OpenSGExt/OSGImageScaler.h>

#include <OpenSG/OSGRefPtr.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGLog.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

using namespace osg;
using skUtils::ImageGenericFilter;

namespace {

template <class T>
void setAll(ImagePtr img, UInt32 frame, UInt32 side, T value)
{
    T *p = reinterpret_cast<T *>(img->editData(0, frame, side));
    for(UInt64 i = 0; i < img->calcMipmapLevelSize(0) / sizeof(T); ++i)
        p[i] = value;
}

template <class T>
bool allEqual(ImagePtr img, UInt32 level, UInt32 frame, UInt32 side, T value)
{
    const T *p = reinterpret_cast<const T *>(img->getData(level, frame, side));
    for(UInt64 i = 0; i < img->calcMipmapLevelSize(level) / sizeof(T); ++i)
        if(!(std::fabs(float(p[i]) - float(value)) <= std::fabs(float(value)) * 1e-6f))
            return false;
    return true;
}

template <class T>
void checkType(Int32 type, T value, T rampStep)
    {
        RefPtr<ImagePtr> src(Image::create());
        ASSERT_TRUE(src.get()->set(Image::OSG_L_PF, 6, 4, 1, 1, 1, 0.0, NULL, type));
        setAll<T>(src.get(), 0, 0, value);
        RefPtr<ImagePtr> dst(Image::create());
        ImagePtr d = dst.get();
        EXPECT_TRUE(ImageScaler::scale(src.get(), d, 13, 9, 1, ImageGenericFilter(ImageGenericFilter::MitchellNetravali)));
        EXPECT_EQ(d->getDataType(), type);
        const T *p = reinterpret_cast<const T *>(d->getData());
        for(int i = 0; i < 13 * 9; ++i)
            EXPECT_NEAR(float(p[i]), float(value), float(value) * 1e-3f) << type;

        // A horizontal ramp 0, s, 2s, ... halved with the box filter: pair averages.
        T *s = reinterpret_cast<T *>(src.get()->editData());
        for(int y = 0; y < 4; ++y)
            for(int x = 0; x < 6; ++x)
                s[y * 6 + x] = T(float(rampStep) * float(x));
        EXPECT_TRUE(ImageScaler::scale(src.get(), d, 3, 2, 1, ImageGenericFilter(ImageGenericFilter::Box)));
        p = reinterpret_cast<const T *>(d->getData());
        for(int y = 0; y < 2; ++y)
            for(int x = 0; x < 3; ++x)
                EXPECT_EQ(float(p[y * 3 + x]), float(rampStep) * (2 * x + 0.5f)) << type << " " << x;
    }

} // namespace

TEST(ScalerImage, SixSidesThreeFramesKeepTheirPlaces)
{
    RefPtr<ImagePtr> src(Image::create());
    ASSERT_TRUE(src.get()->set(Image::OSG_RGBA_PF, 8, 8, 1, 1, 3, 0.5, NULL, Image::OSG_UINT8_IMAGEDATA,
                             true, 6));
    for(UInt32 side = 0; side < 6; ++side)
        for(UInt32 frame = 0; frame < 3; ++frame)
            setAll<UInt8>(src.get(), frame, side, UInt8(10 * side + frame + 1));

    ImagePtr dst = NullFC;
    ASSERT_TRUE(ImageScaler::scale(src.get(), dst, 5, 3, 1, ImageGenericFilter(ImageGenericFilter::Lanczos3)));
    ASSERT_NE(dst, NullFC);   // a null destination receives a new image
    RefPtr<ImagePtr> owner(dst);
    EXPECT_EQ(dst->getWidth(), 5);
    EXPECT_EQ(dst->getHeight(), 3);
    EXPECT_EQ(dst->getFrameCount(), 3);
    EXPECT_EQ(dst->getSideCount(), 6);
    EXPECT_EQ(dst->getFrameDelay(), 0.5);
    EXPECT_EQ(dst->getMipMapCount(), 1);
    EXPECT_EQ(dst->getPixelFormat(), UInt32(Image::OSG_RGBA_PF));
    for(UInt32 side = 0; side < 6; ++side)
        for(UInt32 frame = 0; frame < 3; ++frame)
            EXPECT_TRUE(allEqual<UInt8>(dst, 0, frame, side, UInt8(10 * side + frame + 1)))
                << "side " << side << " frame " << frame;
}

TEST(ScalerImage, EveryScalableTypeOnConstantAndRampImages)
{
    checkType<UInt8>(Image::OSG_UINT8_IMAGEDATA, 180, 2);
    checkType<UInt16>(Image::OSG_UINT16_IMAGEDATA, 40000, 1000);
    checkType<UInt32>(Image::OSG_UINT32_IMAGEDATA, 3000000000u, 100000);
    checkType<Real32>(Image::OSG_FLOAT32_IMAGEDATA, 12.25f, 0.5f);
    checkType<Real16>(Image::OSG_FLOAT16_IMAGEDATA, Real16(3.5f), Real16(0.25f));
}

TEST(ScalerImage, MipmappedSourcesGiveAFullChain)
{
    RefPtr<ImagePtr> src(Image::create());
    ASSERT_TRUE(src.get()->set(Image::OSG_RGB_PF, 16, 16, 1, 5, 2, 0.0, NULL, Image::OSG_FLOAT32_IMAGEDATA));
    for(UInt32 f = 0; f < 2; ++f)
        setAll<Real32>(src.get(), f, 0, 0.25f + f);
    RefPtr<ImagePtr> dst(Image::create());
    ImagePtr d = dst.get();
    ASSERT_TRUE(ImageScaler::scale(src.get(), d, 20, 6, 1, ImageGenericFilter(ImageGenericFilter::Bilinear)));
    // 20 x 6 down to 1 x 1 is five levels: 20x6, 10x3, 5x1, 2x1, 1x1.
    EXPECT_EQ(d->getMipMapCount(), 5);
    for(UInt32 f = 0; f < 2; ++f)
        for(UInt32 level = 0; level < 5; ++level)
            EXPECT_TRUE(allEqual<Real32>(d, level, f, 0, 0.25f + f)) << "frame " << f << " level " << level;
}

TEST(ScalerImage, RefusedCasesLeaveTheDestinationAlone)
{
    RefPtr<ImagePtr> src(Image::create());
    RefPtr<ImagePtr> dst(Image::create());
    ASSERT_TRUE(src.get()->set(Image::OSG_L_PF, 4, 4, 1, 1, 1, 0.0, NULL, Image::OSG_INT16_IMAGEDATA));
    ASSERT_TRUE(dst.get()->set(Image::OSG_L_PF, 2, 1));
    dst.get()->editData()[0] = 42;
    ImagePtr d = dst.get();
    {
        LogCapture log;
        EXPECT_FALSE(ImageScaler::scale(src.get(), d, 2, 2, 1, ImageGenericFilter()));
        EXPECT_TRUE(log.contains("PixelType not scalable"));
    }
    EXPECT_EQ(d->getWidth(), 2);
    EXPECT_EQ(d->getData()[0], 42);

    ImagePtr none = NullFC;
    EXPECT_FALSE(ImageScaler::scale(NullFC, none, 2, 2, 1, ImageGenericFilter()));
    EXPECT_EQ(none, NullFC);

    ASSERT_TRUE(src.get()->set(Image::OSG_L_PF, 4, 4, 1, 1, 1, 0.0, NULL, Image::OSG_UINT8_IMAGEDATA));
    {
        LogCapture log;
        EXPECT_FALSE(ImageScaler::scale(src.get(), d, 70000, 70000, 1, ImageGenericFilter()));
        EXPECT_TRUE(log.contains("Unable to set image format"));
        EXPECT_FALSE(ImageScaler::scale(src.get(), d, 0, 3, 1, ImageGenericFilter()));
    }

    // Onto itself: reads from a copy of the source.
    setAll<UInt8>(src.get(), 0, 0, 99);
    ImagePtr self = src.get();
    ASSERT_TRUE(ImageScaler::scale(src.get(), self, 9, 2, 1, ImageGenericFilter()));
    EXPECT_EQ(src.get()->getWidth(), 9);
    EXPECT_TRUE(allEqual<UInt8>(src.get(), 0, 0, 0, UInt8(99)));
}

TEST(ScalerImage, CacheItemPairsAKeyWithAnImage)
{
    FieldContainerPtr fc = FieldContainerFactory::the()->createFieldContainer("ImageCacheItem");
    ImageCacheItemPtr item = ImageCacheItemPtr::dcast(fc);
    ASSERT_NE(item, NullFC);
    addRefCP(item);
    EXPECT_EQ(item->getId(), "");
    EXPECT_EQ(item->getImage(), NullFC);
    RefPtr<ImagePtr> img(Image::create());
    beginEditCP(item);
    item->setId("textures/wood.png");
    item->setImage(img.get());
    endEditCP(item);
    EXPECT_EQ(item->getImage(), img.get());
    EXPECT_EQ(ImageCacheItem::getClassType().getParent()->getName(), std::string("AttachmentContainer"));

    ::testing::internal::CaptureStdout();
    item->dump();
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "Dump ImageCacheItem NI\n");
    subRefCP(item);
}
