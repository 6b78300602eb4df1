#include <OpenSGExt/OSGYIFImageFileType.h>

#include <OpenSGExt/Image/detail/skInflateStreamBuf.h>
#include <OpenSGExt/Image/detail/skYIFHeader.h>

#include <OpenSG/OSGLog.h>

#include <fstream>
#include <istream>
#include <ostream>

namespace osg {

namespace {

const Char8 *yifSuffixes[] = { "yif" };

// Deflate cannot expand data by more than about 1032:1.
const UInt64 kMaxInflateRatio = 1032;

bool startsWithGzip(std::istream &is)
{
    std::streampos pos = is.tellg();
    int a = is.get();
    int b = (a == EOF) ? EOF : is.get();
    is.clear();
    if(pos != std::streampos(-1))
        is.seekg(pos);
    else
    {
        // Without positions only what get() took can be given back.
        if(b != EOF)
            is.unget();
        if(a != EOF)
            is.unget();
    }
    return a == 0x1f && b == 0x8b;
}

// Bytes left in the stream, or -1 when it cannot tell.
Int64 bytesLeft(std::istream &is)
{
    std::streampos pos = is.tellg();
    if(pos == std::streampos(-1))
        return -1;
    is.seekg(0, std::ios::end);
    std::streampos end = is.tellg();
    is.clear();
    is.seekg(pos);
    if(end == std::streampos(-1) || end < pos)
        return -1;
    return Int64(end - pos);
}

// Whether a stream starts like a YIF file, directly or inflated; leaves the stream where it was
// if it can seek.
bool looksLikeYIF(std::istream &is)
{
    std::streampos pos = is.tellg();
    if(pos == std::streampos(-1))
        return false;
    char magic[3] = {};
    if(startsWithGzip(is))
    {
        detail::InflateStreamBuf buf(is);
        std::istream             in(&buf);
        in.read(magic, 3);
    }
    else
        is.read(magic, 3);
    bool yes = magic[0] == 'y' && magic[1] == 'i' && magic[2] == 'f';
    is.clear();
    is.seekg(pos);
    return yes;
}

} // namespace

YIFImageFileType YIFImageFileType::_the("image/x-yif", yifSuffixes, sizeof(yifSuffixes),
                                        OSG_READ_SUPPORTED | OSG_WRITE_SUPPORTED);

YIFImageFileType &YIFImageFileType::the(void)
{
    return _the;
}

YIFImageFileType::YIFImageFileType(const Char8 *mimeType, const Char8 *suffixArray[],
                                   UInt16 suffixByteCount, UInt32 flags)
    : ImageFileType(mimeType, suffixArray, suffixByteCount, flags)
{
}

bool YIFImageFileType::write(const ImagePtr &image, std::ostream &os, const std::string &)
{
    if(image == NullFC)
        return false;

    detail::YIFHeaderFields f;
    f.pixelFormat = image->getPixelFormat();
    f.width       = UInt32(image->getWidth());
    f.height      = UInt32(image->getHeight());
    f.depth       = UInt32(image->getDepth());
    f.mipmapCount = UInt32(image->getMipMapCount());
    f.frameCount  = UInt32(image->getFrameCount());
    f.frameDelay  = image->getFrameDelay();
    f.sideCount   = UInt32(image->getSideCount());
    f.dataType    = UInt32(image->getDataType());
    UInt8 header[detail::YIFHeaderSize];
    detail::yifEncodeHeader(f, header);

    os.write(reinterpret_cast<const char *>(header), std::streamsize(sizeof(header)));
    UInt64 size = image->getSize();
    if(!os || size == 0 || !image->isValid())
        return false;
    os.write(reinterpret_cast<const char *>(image->getData()), std::streamsize(size));
    return os.good();
}

bool YIFImageFileType::read(ImagePtr &image, std::istream &source, const std::string &)
{
    if(image == NullFC)
        return false;

    const bool gzip = startsWithGzip(source);
    const Int64 left = bytesLeft(source);
    detail::InflateStreamBuf inflater(source);
    std::istream             unzipped(&inflater);
    std::istream            &is = gzip ? unzipped : source;

    UInt8 header[detail::YIFHeaderSize] = {};
    is.read(reinterpret_cast<char *>(header), std::streamsize(sizeof(header)));
    detail::YIFHeaderFields f;
    if(gzip && inflater.failed())
    {
        SWARNING << "YIFImageFileType::read: compressed data unreadable (" << inflater.error()
                 << ")" << endLog;
        return false;
    }
    if(!detail::yifDecodeHeader(header, f))
    {
        if(gzip)
            SWARNING << "YIFImageFileType::read: This is not a skal image file!" << endLog;
        else
            SWARNING << "YIFImageFileType::read: This is not a yif file!" << endLog;
        return false;
    }
    if(is.gcount() != std::streamsize(sizeof(header)))
    {
        SWARNING << "YIFImageFileType::read: the header is cut short" << endLog;
        return false;
    }
    if(f.dataType == 0)
        f.dataType = Image::OSG_UINT8_IMAGEDATA;

    // Work the size out on a scratch image, so that the target is only touched once all is read.
    ImagePtr scratch = Image::create();
    addRefCP(scratch);
    scratch->set(f.pixelFormat, Int32(f.width), Int32(f.height), Int32(f.depth),
                 Int32(f.mipmapCount), Int32(f.frameCount), f.frameDelay, NULL, Int32(f.dataType),
                 false, Int32(f.sideCount));
    const UInt64 size = Image::getComponentCount(f.pixelFormat) == 0 ||
                                Image::getTypeSize(Int32(f.dataType)) == 0
                            ? 0
                            : UInt64(scratch->getSize());
    subRefCP(scratch);

    if(size == 0 || size > Image::MaxImageBytes)
    {
        SWARNING << "YIFImageFileType::read: unsupported image: format " << f.pixelFormat
                 << ", type " << f.dataType << ", " << f.width << "x" << f.height << "x" << f.depth
                 << ", " << f.mipmapCount << " levels, " << f.frameCount << " frames, "
                 << f.sideCount << " sides (at most " << Image::MaxImageBytes << " bytes)"
                 << endLog;
        return false;
    }
    if(left >= 0)
    {
        UInt64 avail = gzip ? (UInt64(left) + 1) * kMaxInflateRatio
                            : UInt64(left) - detail::YIFHeaderSize;
        if(size > avail)
        {
            SWARNING << "YIFImageFileType::read: the file is too short for its " << size
                     << " bytes of pixel data" << endLog;
            return false;
        }
    }

    MFUInt8 pixels;
    pixels.resize(size);
    is.read(reinterpret_cast<char *>(&pixels[0]), std::streamsize(size));
    bool complete = UInt64(is.gcount()) == size;
    // Let the stream buffer reach the gzip trailer, so that its checksum is tested too.
    if(gzip && complete)
        is.peek();
    if(!complete || inflater.failed())
    {
        if(inflater.failed())
            SWARNING << "YIFImageFileType::read: compressed data unreadable ("
                     << inflater.error() << ")" << endLog;
        else
            SWARNING << "YIFImageFileType::read: unexpected end of data" << endLog;
        return false;
    }

    // The header's sizes without an allocation, then the pixels moved in.
    image->set(f.pixelFormat, Int32(f.width), Int32(f.height), Int32(f.depth),
               Int32(f.mipmapCount), Int32(f.frameCount), f.frameDelay, NULL, Int32(f.dataType),
               false, Int32(f.sideCount));
    beginEditCP(image, Image::PixelFieldMask);
    image->editMFPixel()->swapValues(pixels);
    endEditCP(image, Image::PixelFieldMask);
    return image->isValid();
}

bool YIFImageFileType::validateHeader(const Char8 *fileName, bool &implemented)
{
    implemented = true;
    if(fileName == NULL)
        return false;
    std::ifstream is(fileName, std::ios::binary);
    return is && looksLikeYIF(is);
}

std::string YIFImageFileType::determineMimetypeFromStream(std::istream &is)
{
    return looksLikeYIF(is) ? getMimeType() : "";
}

} // namespace osg
