#include <OpenSG/OSGImage.h>
#include <OpenSG/OSGImageFileHandler.h>
#include <OpenSG/OSGImageFileType.h>
#include <OpenSG/OSGLog.h>

#include <algorithm>
#include <cstring>

namespace osg {

namespace {

const BitVector SetMask = Image::DimensionFieldMask | Image::WidthFieldMask |
    Image::HeightFieldMask | Image::DepthFieldMask | Image::BppFieldMask |
    Image::MipMapCountFieldMask | Image::FrameCountFieldMask | Image::FrameDelayFieldMask |
    Image::PixelFormatFieldMask | Image::PixelFieldMask | Image::FrameSizeFieldMask |
    Image::DataTypeFieldMask | Image::ComponentSizeFieldMask | Image::SideCountFieldMask |
    Image::SideSizeFieldMask;

bool isDXT(UInt32 pf)
{
    return pf == Image::OSG_RGB_DXT1 || pf == Image::OSG_RGBA_DXT1 ||
           pf == Image::OSG_RGBA_DXT3 || pf == Image::OSG_RGBA_DXT5;
}

} // namespace

Image::Image(void) : Inherited()
{
}

Image::Image(const Image &source) : Inherited(source)
{
}

Image::~Image(void) = default;

UInt32 Image::getComponentCount(UInt32 pixelFormat)
{
    switch(pixelFormat)
    {
        case OSG_A_PF: case OSG_I_PF: case OSG_L_PF:
        case OSG_ALPHA_INTEGER_PF: case OSG_LUMINANCE_INTEGER_PF:
            return 1;
        case OSG_LA_PF: case OSG_LUMINANCE_ALPHA_INTEGER_PF:
            return 2;
        case OSG_RGB_PF: case OSG_BGR_PF: case OSG_RGB_DXT1:
        case OSG_RGB_INTEGER_PF: case OSG_BGR_INTEGER_PF:
            return 3;
        case OSG_RGBA_PF: case OSG_BGRA_PF: case OSG_RGBA_DXT1: case OSG_RGBA_DXT3:
        case OSG_RGBA_DXT5: case OSG_RGBA_INTEGER_PF: case OSG_BGRA_INTEGER_PF:
            return 4;
        default:
            return 0;
    }
}

UInt32 Image::getTypeSize(Int32 dataType)
{
    switch(dataType)
    {
        case OSG_UINT8_IMAGEDATA:   return 1;
        case OSG_INT16_IMAGEDATA:
        case OSG_UINT16_IMAGEDATA:
        case OSG_FLOAT16_IMAGEDATA: return 2;
        case OSG_INT32_IMAGEDATA:
        case OSG_UINT32_IMAGEDATA:
        case OSG_FLOAT32_IMAGEDATA: return 4;
        default:                    return 0;
    }
}

UInt8 Image::getComponents(void) const
{
    UInt32 n = getComponentCount(getPixelFormat());
    if(n == 0)
        FWARNING(("Image::getComponents: invalid pixel format %u!\n", getPixelFormat()));
    return UInt8(n);
}

bool Image::hasAlphaChannel(void)
{
    switch(getPixelFormat())
    {
        case OSG_A_PF: case OSG_I_PF: case OSG_LA_PF: case OSG_RGBA_PF: case OSG_BGRA_PF:
        case OSG_RGBA_DXT1: case OSG_RGBA_DXT3: case OSG_RGBA_DXT5:
        case OSG_ALPHA_INTEGER_PF: case OSG_RGBA_INTEGER_PF: case OSG_BGRA_INTEGER_PF:
        case OSG_LUMINANCE_ALPHA_INTEGER_PF:
            return true;
        default:
            return getForceAlphaChannel();
    }
}

bool Image::hasColorChannel(void)
{
    switch(getPixelFormat())
    {
        case OSG_A_PF: case OSG_ALPHA_INTEGER_PF: case OSG_INVALID_PF:
            return getForceColorChannel();
        default:
            return true;
    }
}

bool Image::hasCompressedData(void)
{
    return isDXT(getPixelFormat()) || getForceCompressedData();
}

bool Image::set(UInt32 pixelFormat, Int32 width, Int32 height, Int32 depth, Int32 mipmapCount,
                Int32 frameCount, Time frameDelay, const UInt8 *data, Int32 type,
                bool allocMem, Int32 sideCount)
{
    ImagePtr self(this);
    beginEditCP(self, SetMask);

    setPixelFormat(pixelFormat);
    setWidth      (std::max(Int32(1), width));
    setHeight     (std::max(Int32(1), height));
    setDepth      (std::max(Int32(1), depth));
    setMipMapCount(std::max(Int32(1), mipmapCount));
    setFrameCount (std::max(Int32(1), frameCount));
    setSideCount  (std::max(Int32(1), sideCount));
    setFrameDelay (frameDelay);
    setDataType   (type);

    bool ok = calcDerived();
    if(ok && allocMem)
    {
        // Through a fresh vector, so that no stale bytes of an earlier image survive a resize.
        UInt64 size = getSize();
        editMFPixel()->clear();
        editMFPixel()->resize(size, UInt8(0));
        if(data != NULL)
            std::memcpy(&(*editMFPixel())[0], data, size);
    }
    else
    {
        MFUInt8 empty;
        empty.swapValues(*editMFPixel());
    }

    endEditCP(self, SetMask);
    return ok && allocMem && isValid();
}

bool Image::calcDerived(void)
{
    UInt32 components = getComponentCount(getPixelFormat());
    UInt32 typeSize   = getTypeSize(getDataType());
    setBpp(Int32(components * typeSize));
    setComponentSize(Int32(typeSize));
    if(getDepth() > 1)
        setDimension(3);
    else if(getHeight() > 1)
        setDimension(2);
    else
        setDimension(1);

    if(components == 0 || typeSize == 0)
    {
        if(components == 0)
            FWARNING(("Image::set: invalid pixel format %u!\n", getPixelFormat()));
        else
            FWARNING(("Image::set: invalid data type %d!\n", getDataType()));
        setSideSize(0);
        setFrameSize(0);
        return false;
    }

    UInt64 side  = calcMipmapSumSize(UInt32(getMipMapCount()));
    UInt64 frame = side * UInt64(getSideCount());
    UInt64 total = frame * UInt64(getFrameCount());
    // Each factor is below 2^31, so the products above cannot wrap before this check for the
    // sizes that matter; anything larger than the cap is refused.
    if(side > MaxImageBytes || frame > MaxImageBytes || total > MaxImageBytes ||
       UInt64(getWidth()) * UInt64(getHeight()) > MaxImageBytes ||
       UInt64(getWidth()) * UInt64(getHeight()) * UInt64(getDepth()) > MaxImageBytes)
    {
        FWARNING(("Image::set: %dx%dx%d image exceeds the limit of %llu bytes!\n",
                  getWidth(), getHeight(), getDepth(), (unsigned long long)MaxImageBytes));
        setSideSize(0);
        setFrameSize(0);
        return false;
    }
    setSideSize(Int32(side));
    setFrameSize(Int32(frame));
    return true;
}

bool Image::set(ImagePtr image)
{
    if(image == NullFC)
        return false;
    // A copy of itself would read from the buffer that set() empties.
    if(image.getCPtr() == this)
        return isValid();
    bool ok = set(image->getPixelFormat(), image->getWidth(), image->getHeight(),
                  image->getDepth(), image->getMipMapCount(), image->getFrameCount(),
                  image->getFrameDelay(), image->getData(), image->getDataType(), true,
                  image->getSideCount());
    UInt32 iccSize = 0;
    const UInt8 *icc = image->getICCProfile(iccSize);
    setICCProfile(icc, iccSize);
    return ok;
}

bool Image::setData(const UInt8 *data)
{
    if(data == NULL)
    {
        FWARNING(("Image::setData: no data given!\n"));
        return false;
    }
    UInt64 size = getSize();
    if(size == 0 || size > MaxImageBytes)
        return false;
    ImagePtr self(this);
    beginEditCP(self, PixelFieldMask);
    editMFPixel()->resize(size, UInt8(0));
    std::memcpy(&(*editMFPixel())[0], data, size);
    endEditCP(self, PixelFieldMask);
    return true;
}

void Image::clearData(void)
{
    ImagePtr self(this);
    beginEditCP(self, PixelFieldMask);
    MFUInt8 empty;
    empty.swapValues(*editMFPixel());
    endEditCP(self, PixelFieldMask);
}

UInt64 Image::calcMipmapLevelSize(UInt32, UInt32 w, UInt32 h, UInt32 d) const
{
    w = w ? w : 1;
    h = h ? h : 1;
    d = d ? d : 1;
    switch(getPixelFormat())
    {
        case OSG_RGB_DXT1:
        case OSG_RGBA_DXT1:
            return UInt64((w + 3) / 4) * ((h + 3) / 4) * 8 * d;
        case OSG_RGBA_DXT3:
        case OSG_RGBA_DXT5:
            return UInt64((w + 3) / 4) * ((h + 3) / 4) * 16 * d;
        default:
            return UInt64(w) * h * d * UInt64(std::max(getBpp(), Int32(0)));
    }
}

UInt64 Image::calcMipmapLevelSize(UInt32 level) const
{
    UInt32 w, h, d;
    calcMipmapGeometry(level, w, h, d);
    return calcMipmapLevelSize(level, w, h, d);
}

UInt64 Image::calcMipmapSumSize(UInt32 mipmapNum, UInt32 w, UInt32 h, UInt32 d) const
{
    if(mipmapNum == 0 || w == 0 || h == 0 || d == 0)
        return 0;
    UInt64 sum = 0;
    for(UInt32 level = 0; level < mipmapNum; ++level)
    {
        sum += calcMipmapLevelSize(level, w, h, d);
        w = std::max(w >> 1, UInt32(1));
        h = std::max(h >> 1, UInt32(1));
        d = std::max(d >> 1, UInt32(1));
    }
    return sum;
}

UInt64 Image::calcMipmapSumSize(UInt32 mipmapNum) const
{
    return calcMipmapSumSize(mipmapNum, UInt32(std::max(getWidth(), 0)),
                             UInt32(std::max(getHeight(), 0)), UInt32(std::max(getDepth(), 0)));
}

bool Image::calcMipmapGeometry(UInt32 mipmapNum, UInt32 &width, UInt32 &height,
                               UInt32 &depth) const
{
    auto shrink = [mipmapNum](Int32 v) {
        UInt32 u = UInt32(std::max(v, 0));
        u = mipmapNum < 32 ? u >> mipmapNum : 0;
        return std::max(u, UInt32(1));
    };
    width  = shrink(getWidth());
    height = shrink(getHeight());
    depth  = shrink(getDepth());
    return width > 0 && height > 0 && depth > 0;
}

UInt32 Image::calcMipmapLevelCount(void) const
{
    UInt32 w = UInt32(std::max(getWidth(), 1));
    UInt32 h = UInt32(std::max(getHeight(), 1));
    UInt32 d = UInt32(std::max(getDepth(), 1));
    UInt32 levels = 1;
    while(w > 1 || h > 1 || d > 1)
    {
        w = std::max(w >> 1, UInt32(1));
        h = std::max(h >> 1, UInt32(1));
        d = std::max(d >> 1, UInt32(1));
        ++levels;
    }
    return levels;
}

unsigned long Image::getSize(bool withMipmap, bool withFrames, bool withSides) const
{
    UInt64 size = calcMipmapSumSize(withMipmap ? UInt32(std::max(getMipMapCount(), 1)) : 1);
    if(withSides)
        size *= UInt64(std::max(getSideCount(), 1));
    if(withFrames)
        size *= UInt64(std::max(getFrameCount(), 1));
    return (unsigned long)size;
}

const UInt8 *Image::getDataFast(UInt32 mipmapNum, UInt32 frameNum, UInt32 sideNum) const
{
    if(_mfPixel.empty())
        return NULL;
    UInt64 offset = UInt64(sideNum) * UInt64(std::max(getSideSize(), 0)) +
                    UInt64(frameNum) * UInt64(std::max(getFrameSize(), 0));
    if(mipmapNum > 0)
        offset += calcMipmapSumSize(mipmapNum);
    return &_mfPixel[0] + offset;
}

const UInt8 *Image::getData(UInt32 mipmapNum, UInt32 frameNum, UInt32 sideNum) const
{
    return getDataFast(mipmapNum, frameNum, sideNum);
}

UInt8 *Image::getData(UInt32 mipmapNum, UInt32 frameNum, UInt32 sideNum)
{
    return const_cast<UInt8 *>(getDataFast(mipmapNum, frameNum, sideNum));
}

UInt8 *Image::editData(UInt32 mipmapNum, UInt32 frameNum, UInt32 sideNum)
{
    return const_cast<UInt8 *>(getDataFast(mipmapNum, frameNum, sideNum));
}

const UInt8 *Image::getICCProfile(UInt32 &size) const
{
    size = UInt32(_mfIccProfile.size());
    return size != 0 ? &_mfIccProfile[0] : NULL;
}

void Image::setICCProfile(const UInt8 *data, UInt32 size)
{
    ImagePtr self(this);
    beginEditCP(self, IccProfileFieldMask);
    if(data == NULL || size == 0)
    {
        MFUInt8 empty;
        empty.swapValues(*editMFIccProfile());
    }
    else
    {
        editMFIccProfile()->setValues(MFUInt8::StorageType(data, data + size));
    }
    endEditCP(self, IccProfileFieldMask);
}

bool Image::write(const Char8 *fileName)
{
    return ImageFileHandler::the().write(ImagePtr(this), fileName);
}

bool Image::read(const Char8 *fileName)
{
    ImagePtr self(this);
    return ImageFileHandler::the().read(self, fileName);
}

UInt64 Image::store(const Char8 *mimeType, UInt8 *mem, Int32 memSize)
{
    return ImageFileHandler::the().store(ImagePtr(this), mimeType, mem, memSize);
}

UInt64 Image::restore(const UInt8 *mem, Int32 memSize)
{
    ImagePtr self(this);
    return ImageFileHandler::the().restore(self, mem, memSize);
}

void Image::changed(BitVector whichField, UInt32 origin)
{
    // Fields read from a stream or synchronised arrive without their derived sizes.
    const BitVector layout = PixelFormatFieldMask | DataTypeFieldMask | WidthFieldMask |
        HeightFieldMask | DepthFieldMask | MipMapCountFieldMask | SideCountFieldMask |
        FrameCountFieldMask;
    if((whichField & layout).any())
    {
        UInt32 components = getComponentCount(getPixelFormat());
        UInt32 typeSize   = getTypeSize(getDataType());
        setComponentSize(Int32(typeSize));
        UInt64 side  = components && typeSize ? calcMipmapSumSize(UInt32(std::max(getMipMapCount(), 1))) : 0;
        UInt64 frame = side * UInt64(std::max(getSideCount(), 1));
        setSideSize (side  <= MaxImageBytes ? Int32(side)  : 0);
        setFrameSize(frame <= MaxImageBytes ? Int32(frame) : 0);
    }
    Inherited::changed(whichField, origin);
}

} // namespace osg
