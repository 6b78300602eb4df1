#include <OpenSGExt/OSGPSDImageFileType.h>
#include <OpenSGExt/Image/detail/PSDCodec.h>

#include <OpenSG/OSGImageFileHandler.h>
#include <OpenSG/OSGLog.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <istream>
#include <limits>
#include <memory>
#include <ostream>

namespace osg {

namespace {

const Char8 *psdSuffixes[] = { "psd" };
const Char8 *psbSuffixes[] = { "psb" };

const char *const PSDMime = "image/x-photoshop";
const char *const PSBMime = "image/x-photoshop-big";

const char *const BlendKeys[PSDImageFileType::BlendModeCount] = {
    "norm", "diss", "dark", "mul ", "idiv", "lbrn", "dkCl", "lite", "scrn", "div ",
    "lddg", "lgCl", "over", "sLit", "hLit", "vLit", "lLit", "pLit", "hMix", "diff",
    "smud", "fsub", "fdiv", "hue ", "sat ", "colr", "lum ", "pass"
};

// The HDR toning block of 32-bit documents: key "hdrt", version 3, the name "Default" and the
// default curve, then "hdra".
const UInt8 HdrToning[112] = {
    0x68, 0x64, 0x72, 0x74, 0x00, 0x00, 0x00, 0x03, 0x3e, 0x6b, 0x85, 0x1f, 0x00, 0x00, 0x00, 0x02,
    0x00, 0x00, 0x00, 0x08, 0x00, 0x44, 0x00, 0x65, 0x00, 0x66, 0x00, 0x61, 0x00, 0x75, 0x00, 0x6c,
    0x00, 0x74, 0x00, 0x00, 0x00, 0x02, 0x00, 0x02, 0x00, 0x00, 0x00, 0x00, 0x00, 0xff, 0x00, 0xff,
    0x01, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x41, 0x80, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x3f, 0x80, 0x00, 0x00, 0x68, 0x64, 0x72, 0x61, 0x00, 0x00,
    0x00, 0x06, 0x00, 0x00, 0x00, 0x00, 0x41, 0xa0, 0x00, 0x00, 0x41, 0xf0, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x3f, 0x80, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00
};

const UInt16 ResourceICCProfile = 1039;
const UInt16 ResourceAlphaNames = 1006;

// Writes big-endian integers.
void put(std::ostream &os, UInt64 value, unsigned bytes)
{
    char b[8];
    for(unsigned i = 0; i < bytes; ++i)
        b[i] = char((value >> (8 * (bytes - 1 - i))) & 0xff);
    os.write(b, bytes);
}

void putZeros(std::ostream &os, size_t count)
{
    static const char zeros[16] = { 0 };
    while(count > 0)
    {
        size_t n = std::min(count, sizeof(zeros));
        os.write(zeros, std::streamsize(n));
        count -= n;
    }
}

UInt32 sampleBytesOf(const Image &image)
{
    UInt32 components = image.getComponents();
    return components ? UInt32(image.getBpp()) / components : 0;
}

// Colour channels of the document: RGB for 3 and more components, greyscale below.
UInt32 colorChannelsOf(UInt32 components)
{
    return components >= 3 ? 3 : 1;
}

// Writes every channel of the image as big-endian planes, rows top first, through one buffer
// of a few rows; the buffer is the only copy besides the image.
void writePlanes(const Image &image, std::ostream &os, bool withCompressionWords)
{
    const UInt32 components  = image.getComponents();
    const UInt32 sampleBytes = sampleBytesOf(image);
    const size_t width       = size_t(image.getWidth());
    const size_t height      = size_t(image.getHeight());
    const size_t rowBytes    = width * sampleBytes;
    const size_t srcRowBytes = width * size_t(image.getBpp());
    const UInt8 *data        = image.getData();
    if(sampleBytes != 1 && sampleBytes != 4)
        return;

    const size_t chunkRows = std::max<size_t>(1, (size_t(1) << 20) / std::max<size_t>(rowBytes, 1));
    std::unique_ptr<UInt8[]> buffer(new UInt8[chunkRows * rowBytes]);
    for(UInt32 c = 0; c < components; ++c)
    {
        if(withCompressionWords)
            put(os, 0, 2);
        size_t filled = 0;
        for(size_t y = 0; y < height; ++y)
        {
            const UInt8 *src = data + (height - 1 - y) * srcRowBytes;
            skPSD::deinterleaveRow(src, buffer.get() + filled * rowBytes, width, components, c,
                                   sampleBytes);
            if(++filled == chunkRows || y + 1 == height)
            {
                os.write(reinterpret_cast<const char *>(buffer.get()),
                         std::streamsize(filled * rowBytes));
                filled = 0;
            }
        }
    }
}

} // namespace

PSDImageFileType PSDImageFileType::_thePSD(PSDMime, psdSuffixes, sizeof(psdSuffixes), 23, false);
PSDImageFileType PSDImageFileType::_thePSB(PSBMime, psbSuffixes, sizeof(psbSuffixes), 31, true);

PSDImageFileType &PSDImageFileType::the(void)
{
    return _thePSD;
}

PSDImageFileType &PSDImageFileType::theBig(void)
{
    return _thePSB;
}

PSDImageFileType::PSDImageFileType(const Char8 *mimeType, const Char8 *suffixArray[],
                                   UInt16 suffixByteCount, UInt32 flags, bool large)
    : ImageFileType(mimeType, suffixArray, suffixByteCount, flags), _large(large)
{
}

std::string PSDImageFileType::getPaddedPascalString(const std::string &s, UInt32 pad)
{
    if(pad == 0)
        pad = 1;
    if(s.empty() || s.size() > 255)
        return std::string(pad, '\0');
    std::string out(1, char(s.size()));
    out += s;
    return getPaddedString(out, pad);
}

std::string PSDImageFileType::getPaddedString(const std::string &s, UInt32 pad)
{
    std::string out = s;
    if(pad > 1 && out.size() % pad != 0)
        out.append(pad - out.size() % pad, '\0');
    return out;
}

std::string PSDImageFileType::createAlphaChannelNamesData(UInt32 count, UInt32 &size)
{
    if(count == 1)
    {
        std::string out = getPaddedPascalString("Transparency", 2);
        size = UInt32(out.size());
        return out;
    }
    std::string out;
    for(UInt32 i = 0; i < count; ++i)
    {
        std::string name = "Alpha" + std::to_string(i);
        out += char(name.size());
        out += name;
    }
    size = UInt32(out.size());
    return getPaddedString(out, 2);
}

const char *PSDImageFileType::getBlendModeKey(UInt32 index)
{
    return index < BlendModeCount ? BlendKeys[index] : BlendKeys[BlendNormal];
}

bool PSDImageFileType::checkWritable(const ImagePtr &image, const char *what) const
{
    if(image == NullFC || !image->isValid())
    {
        SWARNING << "PSD: " << what << " has no pixel data" << endLog;
        return false;
    }
    UInt32 components = Image::getComponentCount(image->getPixelFormat());
    UInt32 sampleBytes = components ? UInt32(image->getBpp()) / components : 0;
    bool typeOk = (sampleBytes == 1 && image->getDataType() == Image::OSG_UINT8_IMAGEDATA) ||
                  (sampleBytes == 4 && image->getDataType() == Image::OSG_FLOAT32_IMAGEDATA);
    if(components == 0 || !typeOk || image->hasCompressedData() ||
       image->getPixelFormat() == Image::OSG_BGR_PF || image->getPixelFormat() == Image::OSG_BGRA_PF)
    {
        SWARNING << "PSD: " << what << " must be 8-bit or 32-bit float L, LA, RGB or RGBA"
                 << endLog;
        return false;
    }
    UInt32 limit = _large ? MaxPSBDimension : MaxPSDDimension;
    if(UInt32(image->getWidth()) > limit || UInt32(image->getHeight()) > limit)
    {
        SWARNING << "PSD: " << what << " exceeds " << limit << " pixels a side" << endLog;
        return false;
    }
    return true;
}

bool PSDImageFileType::write(const ImagePtr &image, std::ostream &os, const std::string &mimetype)
{
    bool large = _large || ImageFileHandler::normalizeMimeType(mimetype) == PSBMime;
    return writeSingleLayerImage(image, os, large);
}

bool PSDImageFileType::write(const ImagePtr &image, std::ostream &os, const std::string &mimetype,
                             const std::vector<ImagePtr> &layers,
                             const std::vector<std::string> &layerNames,
                             const std::vector<UInt32> &blendModes)
{
    bool large = _large || ImageFileHandler::normalizeMimeType(mimetype) == PSBMime;
    return writeMultiLayerImage(image, os, large, layers, layerNames, blendModes);
}

bool PSDImageFileType::writeSingleLayerImage(const ImagePtr &image, std::ostream &os, bool large)
{
    if(!checkWritable(image, "image"))
        return false;
    writeHeaderSection(image, os, large);
    writeColorModeDataSection(sampleBytesOf(*image.getCPtr()) * 8, os);
    writeImageResourcesSection(image, os);
    writeLayerAndMaskSection(image, std::vector<ImagePtr>(), std::vector<std::string>(), os,
                             large);
    writeImageDataSection(image, os);
    return bool(os);
}

bool PSDImageFileType::writeMultiLayerImage(const ImagePtr &image, std::ostream &os, bool large,
                                            const std::vector<ImagePtr> &layers,
                                            const std::vector<std::string> &layerNames,
                                            const std::vector<UInt32> &blendModes)
{
    if(!checkWritable(image, "document"))
        return false;
    if(layers.size() > 0x7fff)
    {
        SWARNING << "PSD: at most 32767 layers" << endLog;
        return false;
    }
    const UInt32 docComponents = image->getComponents();
    for(size_t i = 0; i < layers.size(); ++i)
    {
        std::string what = "layer " + std::to_string(i);
        if(!checkWritable(layers[i], what.c_str()))
            return false;
        const ImagePtr &l = layers[i];
        UInt32 components = l->getComponents();
        if(l->getWidth() != image->getWidth() || l->getHeight() != image->getHeight() ||
           l->getDataType() != image->getDataType() || components > 4 ||
           colorChannelsOf(components) != colorChannelsOf(docComponents))
        {
            SWARNING << "PSD: " << what << " must match the document's size, channel width and "
                     << "colour channels" << endLog;
            return false;
        }
    }
    writeHeaderSection(image, os, large);
    writeColorModeDataSection(sampleBytesOf(*image.getCPtr()) * 8, os);
    writeImageResourcesSection(image, os);
    writeLayerAndMaskSection(image, layers, layerNames, os, large, blendModes);
    writeImageDataSection(image, os);
    return bool(os);
}

void PSDImageFileType::writeHeaderSection(const ImagePtr &image, std::ostream &os, bool large)
{
    const UInt32 components = image->getComponents();
    os.write("8BPS", 4);
    put(os, large ? 2 : 1, 2);
    putZeros(os, 6);
    put(os, components, 2);
    put(os, UInt32(image->getHeight()), 4);
    put(os, UInt32(image->getWidth()), 4);
    put(os, sampleBytesOf(*image.getCPtr()) * 8, 2);
    put(os, colorChannelsOf(components) == 3 ? 3 : 1, 2);
}

void PSDImageFileType::writeColorModeDataSection(UInt32 depth, std::ostream &os)
{
    if(depth == 32)
    {
        put(os, sizeof(HdrToning), 4);
        os.write(reinterpret_cast<const char *>(HdrToning), sizeof(HdrToning));
    }
    else if(depth == 8)
    {
        put(os, 0, 4);
    }
}

void PSDImageFileType::writeImageResourcesSection(const ImagePtr &image, std::ostream &os)
{
    struct Resource
    {
        UInt16      id;
        std::string data;     // padded to even
        UInt32      size;     // before padding
    };
    std::vector<Resource> resources;

    UInt32 iccSize = 0;
    const UInt8 *icc = image->getICCProfile(iccSize);
    if(icc != NULL)
        resources.push_back({ ResourceICCProfile,
                              getPaddedString(std::string(reinterpret_cast<const char *>(icc),
                                                          iccSize), 2),
                              iccSize });

    const UInt32 components = image->getComponents();
    const UInt32 colors = colorChannelsOf(components);
    if(components > colors && (components >= 4 || colors == 1))
    {
        UInt32 size = 0;
        std::string names = createAlphaChannelNamesData(components - colors, size);
        resources.push_back({ ResourceAlphaNames, names, size });
    }

    const std::string name = getPaddedPascalString("", 2);
    UInt64 total = 0;
    for(const Resource &r : resources)
        total += name.size() + r.data.size() + 10;
    put(os, total, 4);
    for(const Resource &r : resources)
    {
        os.write("8BIM", 4);
        put(os, r.id, 2);
        os.write(name.data(), std::streamsize(name.size()));
        put(os, r.size, 4);
        os.write(r.data.data(), std::streamsize(r.data.size()));
    }
}

void PSDImageFileType::writeLayerAndMaskSection(const ImagePtr &image,
                                                const std::vector<ImagePtr> &layers,
                                                const std::vector<std::string> &names,
                                                std::ostream &os, bool large,
                                                const std::vector<UInt32> &blendModes)
{
    const unsigned lengthBytes = large ? 8 : 4;
    const UInt64 width  = UInt64(image->getWidth());
    const UInt64 height = UInt64(image->getHeight());

    // Sizes first: the section and the layer info carry their lengths in front.
    // Without layers the layer info is left empty (length 0): readers refuse a count of 0.
    std::vector<std::string> paddedNames;
    UInt64 layerInfo = layers.empty() ? 0 : 2;
    for(size_t i = 0; i < layers.size(); ++i)
    {
        const UInt32 channels = layers[i]->getComponents();
        const UInt64 planeBytes = width * height * sampleBytesOf(*layers[i].getCPtr());
        paddedNames.push_back(getPaddedPascalString(i < names.size() ? names[i] : std::string(), 4));
        layerInfo += 16 + 2 + UInt64(channels) * (2 + lengthBytes) + 4 + 4 + 4 + 4 + 4 + 4 +
                     paddedNames.back().size();
        layerInfo += UInt64(channels) * (2 + planeBytes);
    }
    // The layer info is kept at an even length.
    const UInt64 layerPad = layerInfo % 2;
    layerInfo += layerPad;
    const UInt64 globalMask = 14;
    put(os, lengthBytes + layerInfo + 4 + globalMask, lengthBytes);
    put(os, layerInfo, lengthBytes);
    if(!layers.empty())
        put(os, layers.size(), 2);

    for(size_t i = 0; i < layers.size(); ++i)
    {
        const UInt32 channels = layers[i]->getComponents();
        const UInt32 colors = colorChannelsOf(channels);
        const UInt64 planeBytes = width * height * sampleBytesOf(*layers[i].getCPtr());
        put(os, 0, 4);                         // top
        put(os, 0, 4);                         // left
        put(os, height, 4);                    // bottom
        put(os, width, 4);                     // right
        put(os, channels, 2);
        for(UInt32 c = 0; c < channels; ++c)
        {
            Int16 id = c < colors ? Int16(c) : Int16(-1);
            put(os, UInt16(id), 2);
            put(os, 2 + planeBytes, lengthBytes);
        }
        os.write("8BIM", 4);
        os.write(getBlendModeKey(i < blendModes.size() ? blendModes[i] : UInt32(BlendNormal)), 4);
        put(os, 255, 1);                       // opacity
        put(os, 0, 1);                         // clipping: base
        put(os, 0, 1);                         // flags
        put(os, 0, 1);                         // filler
        put(os, 4 + 4 + paddedNames[i].size(), 4);
        put(os, 0, 4);                         // no layer mask
        put(os, 0, 4);                         // no blending ranges
        os.write(paddedNames[i].data(), std::streamsize(paddedNames[i].size()));
    }
    for(size_t i = 0; i < layers.size(); ++i)
        writePlanes(*layers[i].getCPtr(), os, true);
    putZeros(os, layerPad);

    put(os, globalMask, 4);
    put(os, 0, 2);                             // overlay colour space
    putZeros(os, 8);                           // colour components
    put(os, 100, 2);                           // opacity: opaque
    put(os, 128, 1);                           // kind: use the value stored per layer
    put(os, 128, 1);                           // filler
}

void PSDImageFileType::writeImageDataSection(const ImagePtr &image, std::ostream &os)
{
    put(os, 0, 2);
    writePlanes(*image.getCPtr(), os, false);
}

bool PSDImageFileType::validateHeader(const Char8 *fileName, bool &implemented)
{
    SNOTICE << "PSDImageFileType::validateHeader" << endLog;
    implemented = true;
    if(fileName == NULL)
        return false;
    std::ifstream is(fileName, std::ios::binary);
    if(!is)
        return false;
    char magic[4] = { 0, 0, 0, 0 };
    is.read(magic, 4);
    return is.gcount() == 4 && std::memcmp(magic, "8BPS", 4) == 0;
}

std::string PSDImageFileType::determineMimetypeFromStream(std::istream &is)
{
    std::streampos start = is.tellg();
    char magic[6] = { 0, 0, 0, 0, 0, 0 };
    is.read(magic, 6);
    std::streamsize got = is.gcount();
    is.clear();
    is.seekg(start);
    if(got < 4 || std::memcmp(magic, "8BPS", 4) != 0)
        return std::string();
    // The version word tells the large-document form apart.
    if(got == 6 && magic[4] == 0 && magic[5] == 2)
        return PSBMime;
    return PSDMime;
}

UInt64 PSDImageFileType::restoreData(ImagePtr &, const UChar8 *, Int32)
{
    SNOTICE << "PSDImageFileType::restoreData" << endLog;
    return 0;
}

UInt64 PSDImageFileType::storeData(const ImagePtr &, UChar8 *, Int32)
{
    SNOTICE << "PSDImageFileType::storeData" << endLog;
    return 0;
}


// ---------------------------------------------------------------------------------- reading

namespace {

// A bounded big-endian reader over the stream. `end` is the stream's length when it can be
// found (seekable streams), so sizes are checked against the data before anything is
// allocated; otherwise reads simply fail at the end.
class PSDStream
{
  public:
    explicit PSDStream(std::istream &is) : _is(is)
    {
        std::streampos start = is.tellg();
        if(start != std::streampos(-1))
        {
            is.seekg(0, std::ios::end);
            std::streampos end = is.tellg();
            is.seekg(start);
            if(end != std::streampos(-1) && end >= start)
                _end = UInt64(end - start);
            _seekable = bool(is);
            is.clear();
        }
    }

    UInt64 pos      (void) const { return _pos; }
    UInt64 remaining(void) const { return _end - _pos; }
    bool   known    (void) const { return _end != std::numeric_limits<UInt64>::max(); }

    bool bytes(void *dst, UInt64 n)
    {
        if(n > remaining())
            return false;
        _is.read(static_cast<char *>(dst), std::streamsize(n));
        if(UInt64(_is.gcount()) != n)
            return false;
        _pos += n;
        return true;
    }

    bool skip(UInt64 n)
    {
        if(n > remaining())
            return false;
        if(_seekable)
        {
            _is.seekg(std::streamoff(n), std::ios::cur);
            if(!_is)
                return false;
            _pos += n;
            return true;
        }
        char buf[4096];
        while(n > 0)
        {
            UInt64 k = std::min<UInt64>(n, sizeof(buf));
            if(!bytes(buf, k))
                return false;
            n -= k;
        }
        return true;
    }

    bool skipTo(UInt64 target) { return target >= _pos && skip(target - _pos); }
    /*! Whether n more bytes stay within `end`. */
    bool fits(UInt64 n, UInt64 end) const { return _pos <= end && n <= end - _pos; }

    bool be(UInt64 &v, unsigned n)
    {
        UInt8 b[8];
        if(!bytes(b, n))
            return false;
        v = 0;
        for(unsigned i = 0; i < n; ++i)
            v = (v << 8) | b[i];
        return true;
    }
    bool u8 (UInt8  &v) { UInt64 t; if(!be(t, 1)) return false; v = UInt8(t);  return true; }
    bool u16(UInt16 &v) { UInt64 t; if(!be(t, 2)) return false; v = UInt16(t); return true; }
    bool u32(UInt32 &v) { UInt64 t; if(!be(t, 4)) return false; v = UInt32(t); return true; }
    bool i16(Int16  &v) { UInt16 t; if(!u16(t)) return false; v = Int16(t); return true; }
    bool i32(Int32  &v) { UInt32 t; if(!u32(t)) return false; v = Int32(t); return true; }

  private:
    std::istream &_is;
    UInt64        _pos = 0;
    UInt64        _end = std::numeric_limits<UInt64>::max();
    bool          _seekable = false;
};

struct PSDHeader
{
    UInt16 version = 0, channels = 0, depth = 0, mode = 0;
    UInt32 height = 0, width = 0;
    bool   large(void) const { return version == 2; }
    UInt32 sampleBytes(void) const { return depth / 8; }
    UInt32 colors(void) const { return mode == 3 ? 3 : 1; }
};

UInt32 formatFor(UInt32 colors, UInt32 components)
{
    if(colors == 3)
        return components >= 4 ? Image::OSG_RGBA_PF : Image::OSG_RGB_PF;
    return components >= 2 ? Image::OSG_LA_PF : Image::OSG_L_PF;
}

Int32 typeFor(UInt32 depth)
{
    return depth == 8 ? Image::OSG_UINT8_IMAGEDATA
         : depth == 16 ? Image::OSG_UINT16_IMAGEDATA : Image::OSG_FLOAT32_IMAGEDATA;
}

// The fewest file bytes that can hold `rows` rows of `rowBytes` each: raw, or PackBits (at
// most 128 bytes from every 2) after the row counts.
UInt64 minimumData(UInt32 compression, UInt64 rows, UInt64 rowBytes, unsigned countBytes)
{
    if(compression == 0)
        return rows * rowBytes;
    return rows * (countBytes + 2 * ((rowBytes + 127) / 128));
}

// Decodes one channel plane of `width` x `height` samples into channel `channel` of the
// interleaved pixels (bottom row first). With compression 1 the row counts come first.
// Returns false (after logging) on corrupt data.
bool readPlane(PSDStream &in, UInt32 compression, bool large, UInt32 width, UInt32 height,
               UInt32 sampleBytes, UInt8 *pixels, UInt32 components, UInt32 channel,
               const UInt32 *rowCounts, std::vector<UInt8> &row, std::vector<UInt8> &packed)
{
    (void)large;
    const size_t bpl = size_t(width) * sampleBytes;
    const size_t dstbpl = bpl * components;
    row.resize(bpl);
    for(UInt32 y = 0; y < height; ++y)
    {
        if(compression == 0)
        {
            if(!in.bytes(row.data(), bpl))
                return false;
        }
        else
        {
            const UInt32 count = rowCounts[y];
            if(count > in.remaining())
                return false;
            packed.resize(count);
            if(!in.bytes(packed.data(), count))
                return false;
            size_t got = skPSD::unpackBits(packed.data(), count, row.data(), bpl);
            if(got != bpl)
            {
                FWARNING(("PSD::readImageData wrong sizes %d %d y:%d\n", int(got), int(bpl), int(y)));
                return false;
            }
        }
        skPSD::interleaveRow(row.data(), pixels + size_t(height - 1 - y) * dstbpl, width,
                             components, channel, sampleBytes);
    }
    return true;
}

bool readRowCounts(PSDStream &in, bool large, UInt64 rows, std::vector<UInt32> &counts)
{
    const unsigned countBytes = large ? 4 : 2;
    if(rows * countBytes > in.remaining())
        return false;
    counts.resize(rows);
    for(UInt64 i = 0; i < rows; ++i)
    {
        UInt64 v;
        if(!in.be(v, countBytes))
            return false;
        counts[i] = UInt32(v);
    }
    return true;
}

struct LayerRecord
{
    PSDImageFileType::Layer   info;
    std::vector<Int16>        ids;
    std::vector<UInt64>       lengths;
};

// The layer count and records, then every channel's data, up to `end`.
bool readLayerInfoBody(PSDStream &in, const PSDHeader &h, UInt64 end,
                       std::vector<PSDImageFileType::Layer> &layers)
{
    Int16 signedCount;
    if(!in.i16(signedCount))
        return false;
    const UInt32 count = UInt32(signedCount < 0 ? -Int32(signedCount) : Int32(signedCount));
    // A record takes at least 34 bytes.
    if(!in.fits(UInt64(count) * 34, end))
        return false;
    const unsigned lengthBytes = h.large() ? 8 : 4;
    std::vector<LayerRecord> records(count);
    for(LayerRecord &r : records)
    {
        UInt16 channels;
        if(!in.i32(r.info.top) || !in.i32(r.info.left) || !in.i32(r.info.bottom) ||
           !in.i32(r.info.right) || !in.u16(channels) || channels > 56)
            return false;
        for(UInt16 c = 0; c < channels; ++c)
        {
            Int16 id;
            UInt64 length;
            if(!in.i16(id) || !in.be(length, lengthBytes))
                return false;
            r.ids.push_back(id);
            r.lengths.push_back(length);
        }
        char sig[4], key[4];
        UInt32 extra;
        if(!in.bytes(sig, 4) || std::memcmp(sig, "8BIM", 4) != 0 || !in.bytes(key, 4) ||
           !in.u8(r.info.opacity) || !in.u8(r.info.clipping) || !in.u8(r.info.flags) ||
           !in.skip(1) || !in.u32(extra) || !in.fits(extra, end))
            return false;
        r.info.blendModeKey.assign(key, 4);
        const UInt64 extraEnd = in.pos() + extra;
        UInt32 maskLength, rangesLength;
        UInt8 nameLength;
        if(!in.u32(maskLength) || !in.fits(maskLength, extraEnd) || !in.skip(maskLength) ||
           !in.u32(rangesLength) || !in.fits(rangesLength, extraEnd) || !in.skip(rangesLength) ||
           !in.u8(nameLength) || !in.fits(nameLength, extraEnd))
            return false;
        r.info.name.resize(nameLength);
        if(!in.bytes(&r.info.name[0], nameLength) || !in.skipTo(extraEnd))
            return false;
    }

    const UInt32 sampleBytes = h.sampleBytes();
    std::vector<UInt8> row, packed;
    std::vector<UInt32> counts;
    for(LayerRecord &r : records)
    {
        const Int64 w = Int64(r.info.right) - r.info.left;
        const Int64 ht = Int64(r.info.bottom) - r.info.top;
        const UInt32 maxDim = h.large() ? PSDImageFileType::MaxPSBDimension
                                        : PSDImageFileType::MaxPSDDimension;
        // Which channels become which image channel: colours in order, then transparency.
        bool hasAlpha = std::find(r.ids.begin(), r.ids.end(), Int16(-1)) != r.ids.end();
        const UInt32 components = h.colors() + (hasAlpha ? 1 : 0);
        bool decode = w > 0 && ht > 0 && w <= maxDim && ht <= maxDim &&
                      UInt64(w) * UInt64(ht) * components * sampleBytes <= Image::MaxImageBytes;
        MFUInt8 pixels;
        UInt32 decoded = 0;
        for(size_t c = 0; c < r.ids.size(); ++c)
        {
            const UInt64 length = r.lengths[c];
            if(!in.fits(length, end))
                return false;
            const UInt64 channelEnd = in.pos() + length;
            const Int16 id = r.ids[c];
            const bool wanted = decode && ((id >= 0 && UInt32(id) < h.colors()) || id == -1);
            if(length < 2 || !wanted)
            {
                if(!in.skip(length))
                    return false;
                continue;
            }
            UInt16 compression;
            if(!in.u16(compression))
                return false;
            const UInt64 rowBytes = UInt64(w) * sampleBytes;
            if(compression > 1 ||
               minimumData(compression, UInt64(ht), rowBytes, h.large() ? 4 : 2) > length - 2)
            {
                // Compressions this reader does not know, or too little data: the layer keeps
                // its record but no pixels.
                decode = false;
                if(!in.skipTo(channelEnd))
                    return false;
                continue;
            }
            if(pixels.empty())
                pixels.resize(size_t(w) * size_t(ht) * components * sampleBytes, UInt8(0));
            if(compression == 1 && !readRowCounts(in, h.large(), UInt64(ht), counts))
                return false;
            const UInt32 channel = id == -1 ? h.colors() : UInt32(id);
            if(!readPlane(in, compression, h.large(), UInt32(w), UInt32(ht), sampleBytes,
                          &pixels[0], components, channel, counts.data(), row, packed))
                return false;
            ++decoded;
            if(!in.skipTo(channelEnd))
                return false;
        }
        PSDImageFileType::Layer layer = r.info;
        if(decode && decoded > 0)
        {
            ImagePtr image = Image::create();
            addRefCP(image);
            image->set(formatFor(h.colors(), components), Int32(w), Int32(ht), 1, 1, 1, 0.0,
                       NULL, typeFor(h.depth), false);
            beginEditCP(image, Image::PixelFieldMask);
            image->editMFPixel()->swapValues(pixels);
            endEditCP(image, Image::PixelFieldMask);
            layer.image = image;
        }
        layers.push_back(layer);
    }
    return true;
}

} // namespace

bool PSDImageFileType::read(ImagePtr &image, std::istream &is, const std::string &)
{
    return readDocument(is, image, NULL);
}

bool PSDImageFileType::readLayers(std::istream &is, ImagePtr &image, std::vector<Layer> &layers)
{
    std::vector<Layer> found;
    if(!readDocument(is, image, &found))
    {
        releaseLayers(found);
        return false;
    }
    layers.insert(layers.end(), found.begin(), found.end());
    return true;
}

void PSDImageFileType::releaseLayers(std::vector<Layer> &layers)
{
    for(Layer &l : layers)
        if(l.image != NullFC)
            subRefCP(l.image);
    layers.clear();
}

bool PSDImageFileType::readDocument(std::istream &is, ImagePtr &image, std::vector<Layer> *layers)
{
    if(image == NullFC)
        return false;
    PSDStream in(is);

    // Header.
    PSDHeader h;
    char sig[4];
    if(!in.bytes(sig, 4) || std::memcmp(sig, "8BPS", 4) != 0 || !in.u16(h.version) ||
       (h.version != 1 && h.version != 2) || !in.skip(6) || !in.u16(h.channels) ||
       !in.u32(h.height) || !in.u32(h.width) || !in.u16(h.depth) || !in.u16(h.mode))
    {
        FWARNING(("PSD file is corrupt! header\n"));
        return false;
    }
    FNOTICE(("PSD readHeader: v:%d ch:%d r:%d c:%d d:%d m:%d\n", int(h.version),
             int(h.channels), int(h.height), int(h.width), int(h.depth), int(h.mode)));
    const UInt32 maxDim = h.large() ? MaxPSBDimension : MaxPSDDimension;
    if(h.channels < 1 || h.channels > 56 || h.width < 1 || h.height < 1 || h.width > maxDim ||
       h.height > maxDim)
    {
        FWARNING(("PSD file is corrupt! header\n"));
        return false;
    }
    if((h.depth != 8 && h.depth != 16 && h.depth != 32) || (h.mode != 1 && h.mode != 3) ||
       h.channels < h.colors())
    {
        FWARNING(("Unsupported image type for PSD file!\n"));
        return false;
    }
    const UInt32 components = std::min<UInt32>(h.channels, h.colors() + 1);
    const UInt64 imageBytes = UInt64(h.width) * h.height * components * h.sampleBytes();
    if(imageBytes > Image::MaxImageBytes)
    {
        FWARNING(("PSD file could not allocate image mem (%dmb)!\n", int(imageBytes >> 20)));
        return false;
    }

    // Colour mode data: nothing this reader needs.
    UInt32 length;
    if(!in.u32(length) || !in.skip(length))
    {
        FWARNING(("PSD file is corrupt! color\n"));
        return false;
    }

    // Image resources: the ICC profile.
    std::vector<UInt8> icc;
    if(!in.u32(length) || length > in.remaining())
    {
        FWARNING(("PSD file is corrupt! resource\n"));
        return false;
    }
    {
        const UInt64 end = in.pos() + length;
        while(in.pos() < end)
        {
            char rsig[4];
            UInt16 id;
            UInt8 nameLength;
            UInt32 size;
            // The name is padded to an even length with its length byte, the data to even.
            bool ok = in.fits(12, end) && in.bytes(rsig, 4) && in.u16(id) && in.u8(nameLength) &&
                      in.fits(nameLength + (nameLength + 1) % 2, end) &&
                      in.skip(nameLength + (nameLength + 1) % 2) && in.u32(size) &&
                      in.fits(size, end);
            if(ok && id == ResourceICCProfile && size > 0)
            {
                icc.resize(size);
                ok = in.bytes(icc.data(), size);
            }
            else if(ok)
            {
                ok = in.skip(size);
            }
            if(ok && size % 2 == 1 && in.fits(1, end))
                ok = in.skip(1);
            if(!ok)
            {
                FWARNING(("PSD file is corrupt! resource\n"));
                return false;
            }
        }
    }

    // Layer and mask information.
    UInt64 sectionLength;
    if(!in.be(sectionLength, h.large() ? 8 : 4) || sectionLength > in.remaining())
    {
        FWARNING(("PSD file is corrupt! layer\n"));
        return false;
    }
    FNOTICE(("PSD readLayerAndMaskInformation #%llu\n", (unsigned long long)sectionLength));
    std::vector<Layer> found;
    {
        const UInt64 sectionEnd = in.pos() + sectionLength;
        bool ok = true;
        if(layers != NULL && sectionLength > 0)
        {
            UInt64 infoLength;
            ok = in.be(infoLength, h.large() ? 8 : 4) && infoLength <= sectionEnd - in.pos();
            const UInt64 infoEnd = in.pos() + (ok ? infoLength : 0);
            if(ok && infoLength >= 2)
                ok = readLayerInfoBody(in, h, infoEnd, found);
            ok = ok && in.skipTo(infoEnd);
            // Documents of 16 and 32 bits may keep their layers in a tagged block after the
            // global mask info instead.
            UInt32 maskLength;
            if(ok && found.empty() && sectionEnd - in.pos() >= 4 && in.u32(maskLength) &&
               maskLength <= sectionEnd - in.pos() && in.skip(maskLength))
            {
                while(ok && sectionEnd - in.pos() >= 12)
                {
                    char bsig[4], key[4];
                    if(!in.bytes(bsig, 4) || !in.bytes(key, 4) ||
                       (std::memcmp(bsig, "8BIM", 4) != 0 && std::memcmp(bsig, "8B64", 4) != 0))
                        break;
                    const std::string k(key, 4);
                    const bool wide = h.large() && (k == "LMsk" || k == "Lr16" || k == "Lr32" ||
                        k == "Layr" || k == "Mt16" || k == "Mt32" || k == "Mtrn" || k == "Alph" ||
                        k == "FMsk" || k == "lnk2" || k == "FEid" || k == "FXid" || k == "PxSD");
                    UInt64 blockLength;
                    if(!in.be(blockLength, wide ? 8 : 4) || blockLength > sectionEnd - in.pos())
                    {
                        ok = false;
                        break;
                    }
                    const UInt64 blockEnd = in.pos() + blockLength;
                    if((k == "Lr16" || k == "Lr32" || k == "Layr") && found.empty() &&
                       blockLength >= 2)
                        ok = readLayerInfoBody(in, h, blockEnd, found);
                    ok = ok && in.skipTo(blockEnd);
                    // Blocks are padded to even (PSB: to four) lengths.
                    const UInt64 align = h.large() ? 4 : 2;
                    UInt64 pad = (align - blockLength % align) % align;
                    if(ok && pad <= sectionEnd - in.pos())
                        in.skip(pad);
                }
            }
        }
        if(!ok || !in.skipTo(sectionEnd))
        {
            releaseLayers(found);
            FWARNING(("PSD file is corrupt! layer\n"));
            return false;
        }
    }

    // Image data: the merged image.
    UInt16 compression;
    if(!in.u16(compression))
    {
        releaseLayers(found);
        FWARNING(("PSD file is corrupt! data\n"));
        return false;
    }
    FNOTICE(("PSD readImageData: compression %d\n", int(compression)));
    if(compression > 1)
    {
        releaseLayers(found);
        FWARNING(("PSD readImageData: cannot handle compression %d\n", int(compression)));
        return false;
    }
    const UInt32 sampleBytes = h.sampleBytes();
    const UInt64 bpl = UInt64(h.width) * sampleBytes;
    const UInt64 dstbpl = bpl * components;
    FNOTICE(("PSD readImageData: bpl:%d dstbpl:%d\n", int(bpl), int(dstbpl)));
    const unsigned countBytes = h.large() ? 4 : 2;
    std::vector<UInt32> counts;
    if(compression == 1)
    {
        // The row counts of every channel come first; those of the channels used are needed.
        UInt64 rows = UInt64(h.channels) * h.height;
        if(rows * countBytes > in.remaining() ||
           !readRowCounts(in, h.large(), UInt64(components) * h.height, counts) ||
           !in.skip((rows - UInt64(components) * h.height) * countBytes))
        {
            releaseLayers(found);
            FWARNING(("PSD file is corrupt! data\n"));
            return false;
        }
        UInt64 needed = 0;
        for(UInt32 c : counts)
            needed += c;
        if(needed > in.remaining() ||
           (in.known() && minimumData(1, UInt64(components) * h.height, bpl, 0) > in.remaining()))
        {
            releaseLayers(found);
            FWARNING(("PSD file is corrupt! data\n"));
            return false;
        }
    }
    else if(in.known() && UInt64(components) * h.height * bpl > in.remaining())
    {
        releaseLayers(found);
        FWARNING(("PSD file is corrupt! data\n"));
        return false;
    }

    MFUInt8 pixels;
    pixels.resize(size_t(imageBytes), UInt8(0));
    std::vector<UInt8> row, packed;
    for(UInt32 c = 0; c < components; ++c)
    {
        if(!readPlane(in, compression, h.large(), h.width, h.height, sampleBytes, &pixels[0],
                      components, c, compression == 1 ? counts.data() + size_t(c) * h.height : NULL,
                      row, packed))
        {
            releaseLayers(found);
            FWARNING(("PSD file is corrupt! data\n"));
            return false;
        }
    }

    // Everything is in: only now is the target changed.
    image->set(formatFor(h.colors(), components), Int32(h.width), Int32(h.height), 1, 1, 1, 0.0,
               NULL, typeFor(h.depth), false);
    beginEditCP(image, Image::PixelFieldMask);
    image->editMFPixel()->swapValues(pixels);
    endEditCP(image, Image::PixelFieldMask);
    image->setICCProfile(icc.empty() ? NULL : icc.data(), UInt32(icc.size()));
    if(layers != NULL)
        layers->swap(found);
    return true;
}
} // namespace osg
