#include "ImageTools.h"

#include <algorithm>
#include <cstring>

namespace osgext {

using namespace osg;

namespace {

// Sample i of a pixel as a float in the source's range convention (integers map to [0, 1]).
float sampleAt(const UInt8 *p, Int32 type, UInt32 i)
{
    switch(type)
    {
        case Image::OSG_UINT8_IMAGEDATA:   return p[i] / 255.f;
        case Image::OSG_UINT16_IMAGEDATA:  { UInt16 v; std::memcpy(&v, p + 2 * i, 2); return v / 65535.f; }
        case Image::OSG_INT16_IMAGEDATA:   { Int16 v; std::memcpy(&v, p + 2 * i, 2); return std::max(v / 32767.f, -1.f); }
        case Image::OSG_UINT32_IMAGEDATA:  { UInt32 v; std::memcpy(&v, p + 4 * i, 4); return float(v / 4294967295.0); }
        case Image::OSG_INT32_IMAGEDATA:   { Int32 v; std::memcpy(&v, p + 4 * i, 4); return float(v / 2147483647.0); }
        case Image::OSG_FLOAT32_IMAGEDATA: { float v; std::memcpy(&v, p + 4 * i, 4); return v; }
        case Image::OSG_FLOAT16_IMAGEDATA: { UInt16 v; std::memcpy(&v, p + 2 * i, 2); return float(Real16::fromBits(v)); }
        default:                           return 0.f;
    }
}

} // namespace

ImagePtr convertImage(const ImagePtr &src, bool wantColor, bool wantAlpha, bool wantFloat)
{
    if(src == NullFC || !src->isValid() || src->hasCompressedData() || src->getDepth() > 1)
        return NullFC;
    const UInt32 format = src->getPixelFormat();
    const UInt32 inComps = Image::getComponentCount(format);
    const UInt32 typeSize = Image::getTypeSize(src->getDataType());
    if(inComps == 0 || typeSize == 0)
        return NullFC;
    const bool bgr = format == Image::OSG_BGR_PF || format == Image::OSG_BGRA_PF;
    const bool alphaOnly = format == Image::OSG_A_PF || format == Image::OSG_ALPHA_INTEGER_PF;
    const bool inAlpha = inComps == 2 || inComps == 4 || alphaOnly;
    const UInt32 outComps = (wantColor ? 3 : 1) + (wantAlpha ? 1 : 0);
    static const UInt32 formats[] = { 0, Image::OSG_L_PF, Image::OSG_LA_PF, Image::OSG_RGB_PF,
                                      Image::OSG_RGBA_PF };

    ImagePtr dst = Image::create();
    addRefCP(dst);
    const Int32 w = src->getWidth(), h = src->getHeight();
    if(!dst->set(formats[outComps], w, h, 1, 1, 1, 0.0, NULL,
                 wantFloat ? Image::OSG_FLOAT32_IMAGEDATA : Image::OSG_UINT8_IMAGEDATA))
    {
        subRefCP(dst);
        return NullFC;
    }
    const UInt8 *in = src->getData();
    UInt8 *out = dst->editData();
    const size_t count = size_t(w) * size_t(h);
    for(size_t i = 0; i < count; ++i)
    {
        const UInt8 *p = in + i * inComps * typeSize;
        float rgba[4] = { 0.f, 0.f, 0.f, 1.f };
        if(alphaOnly)
        {
            rgba[3] = sampleAt(p, src->getDataType(), 0);
        }
        else if(inComps <= 2)
        {
            rgba[0] = rgba[1] = rgba[2] = sampleAt(p, src->getDataType(), 0);
            if(inAlpha)
                rgba[3] = sampleAt(p, src->getDataType(), 1);
        }
        else
        {
            for(UInt32 c = 0; c < 3; ++c)
                rgba[bgr ? 2 - c : c] = sampleAt(p, src->getDataType(), c);
            if(inAlpha)
                rgba[3] = sampleAt(p, src->getDataType(), 3);
        }
        float v[4];
        UInt32 n = 0;
        if(wantColor)
        {
            v[n++] = rgba[0]; v[n++] = rgba[1]; v[n++] = rgba[2];
        }
        else
        {
            // Rec. 709 luma of the colour.
            v[n++] = 0.2126f * rgba[0] + 0.7152f * rgba[1] + 0.0722f * rgba[2];
        }
        if(wantAlpha)
            v[n++] = rgba[3];
        for(UInt32 c = 0; c < n; ++c)
        {
            if(wantFloat)
                std::memcpy(out + (i * n + c) * 4, &v[c], 4);
            else
                out[i * n + c] = UInt8(std::min(std::max(v[c], 0.f), 1.f) * 255.f + 0.5f);
        }
    }
    UInt32 iccSize = 0;
    const UInt8 *icc = src->getICCProfile(iccSize);
    dst->setICCProfile(icc, iccSize);
    return dst;
}

ImagePtr compositeLayers(const std::vector<ImagePtr> &layers)
{
    if(layers.empty() || layers[0] == NullFC)
        return NullFC;
    const ImagePtr &first = layers[0];
    ImagePtr dst = Image::create();
    addRefCP(dst);
    if(!dst->set(first->getPixelFormat(), first->getWidth(), first->getHeight(), 1, 1, 1, 0.0,
                 NULL, first->getDataType()))
    {
        subRefCP(dst);
        return NullFC;
    }
    const bool isFloat = first->getDataType() == Image::OSG_FLOAT32_IMAGEDATA;
    const UInt32 comps = first->getComponents();
    const bool hasAlpha = comps == 2 || comps == 4;
    const size_t count = size_t(first->getWidth()) * size_t(first->getHeight());
    std::vector<float> acc(count * comps, 0.f);
    for(const ImagePtr &layer : layers)
    {
        const UInt8 *p = layer->getData();
        for(size_t i = 0; i < count; ++i)
        {
            float s[4];
            for(UInt32 c = 0; c < comps; ++c)
                s[c] = isFloat ? sampleAt(p, Image::OSG_FLOAT32_IMAGEDATA, UInt32(i * comps + c))
                               : p[i * comps + c] / 255.f;
            float *d = &acc[i * comps];
            const float a = hasAlpha ? s[comps - 1] : 1.f;
            const float da = hasAlpha ? d[comps - 1] : 1.f;
            const float oa = a + da * (1.f - a);
            const UInt32 colors = hasAlpha ? comps - 1 : comps;
            for(UInt32 c = 0; c < colors; ++c)
                d[c] = oa > 0.f ? (s[c] * a + d[c] * da * (1.f - a)) / oa : 0.f;
            if(hasAlpha)
                d[comps - 1] = oa;
        }
    }
    UInt8 *out = dst->editData();
    for(size_t i = 0; i < acc.size(); ++i)
    {
        if(isFloat)
            std::memcpy(out + 4 * i, &acc[i], 4);
        else
            out[i] = UInt8(std::min(std::max(acc[i], 0.f), 1.f) * 255.f + 0.5f);
    }
    UInt32 iccSize = 0;
    const UInt8 *icc = first->getICCProfile(iccSize);
    dst->setICCProfile(icc, iccSize);
    return dst;
}

std::string describeImage(const ImagePtr &image)
{
    if(image == NullFC)
        return "no image";
    static const char *names[] = { "?", "L", "LA", "RGB", "RGBA" };
    const UInt32 comps = Image::getComponentCount(image->getPixelFormat());
    std::string type;
    switch(image->getDataType())
    {
        case Image::OSG_UINT8_IMAGEDATA:   type = "8-bit"; break;
        case Image::OSG_UINT16_IMAGEDATA:  type = "16-bit"; break;
        case Image::OSG_FLOAT16_IMAGEDATA: type = "half float"; break;
        case Image::OSG_FLOAT32_IMAGEDATA: type = "float"; break;
        default:                           type = "type " + std::to_string(image->getDataType());
    }
    return std::to_string(image->getWidth()) + "x" + std::to_string(image->getHeight()) + " " +
           names[comps <= 4 ? comps : 0] + " " + type;
}

} // namespace osgext
