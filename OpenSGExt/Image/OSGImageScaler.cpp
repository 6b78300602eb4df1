#include <OpenSGExt/OSGImageScaler.h>

#include <OpenSG/OSGLog.h>

#include <algorithm>
#include <vector>

namespace osg {

const skUtils::ValueHandler *ImageScaler::getValueHandler(Int32 dataType)
{
    static const ValueHandlerTempl<UInt8>  h8;
    static const ValueHandlerTempl<UInt16> h16;
    static const ValueHandlerTempl<UInt32> h32;
    static const ValueHandlerTempl<Real32> hf;
    static const ValueHandlerTempl<Real16> hh;
    switch(dataType)
    {
        case Image::OSG_UINT8_IMAGEDATA:   return &h8;
        case Image::OSG_UINT16_IMAGEDATA:  return &h16;
        case Image::OSG_UINT32_IMAGEDATA:  return &h32;
        case Image::OSG_FLOAT32_IMAGEDATA: return &hf;
        case Image::OSG_FLOAT16_IMAGEDATA: return &hh;
        default:                           return NULL;
    }
}

bool ImageScaler::scale(ImagePtr src, ImagePtr &dst, int width, int height, int depth,
                        const skUtils::ImageGenericFilter &filter)
{
    if(src == NullFC)
        return false;

    const skUtils::ValueHandler *handler = getValueHandler(src->getDataType());
    if(handler == NULL || src->hasCompressedData())
    {
        SWARNING << "PixelType not scalable" << endLog;
        return false;
    }
    if(!src->isValid())
    {
        SWARNING << "ImageScaler::scale: the source image holds no data" << endLog;
        return false;
    }

    // Scaling an image onto itself reads from a copy.
    ImagePtr source = src;
    if(dst == src)
    {
        source = Image::create();
        addRefCP(source);
        source->set(src);
    }
    if(dst == NullFC)
        dst = Image::create();

    int levels = 1;
    if(source->getMipMapCount() >= 2 && width > 0 && height > 0 && depth > 0)
    {
        int full = 1;
        for(int m = std::max(width, std::max(height, depth)); m > 1; m >>= 1)
            ++full;
        levels = std::min(full, int(source->getMipMapCount()));
    }

    bool ok = width > 0 && height > 0 && depth > 0 &&
              dst->set(source->getPixelFormat(), width, height, depth, levels,
                       source->getFrameCount(), source->getFrameDelay(), NULL,
                       source->getDataType(), true, source->getSideCount());
    if(!ok)
    {
        SWARNING << "Unable to set image format" << endLog;
        if(source != src)
            subRefCP(source);
        return false;
    }

    std::vector<const unsigned char *> from;
    std::vector<unsigned char *>       to;
    for(Int32 side = 0; side < source->getSideCount(); ++side)
        for(Int32 frame = 0; frame < source->getFrameCount(); ++frame)
        {
            from.push_back(source->getData(0, UInt32(frame), UInt32(side)));
            to.push_back(dst->editData(0, UInt32(frame), UInt32(side)));
        }

    const int comps = source->getComponents();
    bool result = skUtils::ImageScaler::scale(from, to, source->getWidth(), source->getHeight(),
                                              source->getDepth(), width, height, depth, comps,
                                              *handler, filter);
    if(result && levels > 1)
        result = skUtils::ImageScaler::buildMipmaps(to, width, height, depth, levels, comps,
                                                    *handler, filter);

    if(source != src)
        subRefCP(source);

    beginEditCP(dst, Image::PixelFieldMask);
    endEditCP(dst, Image::PixelFieldMask);
    return result;
}

} // namespace osg
