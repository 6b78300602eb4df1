#include <OpenSG/OSGImageFileType.h>
#include <OpenSG/OSGImageFileHandler.h>
#include <OpenSG/OSGLog.h>

#include <cstring>
#include <fstream>
#include <iostream>

namespace osg {

namespace {

unsigned short swap16(unsigned short v)
{
    const UInt8 *b = reinterpret_cast<const UInt8 *>(&v);
    // Network order is big-endian: the first byte is the high one.
    unsigned short host = (unsigned short)((b[0] << 8) | b[1]);
    return host;
}

unsigned short toNet16(unsigned short v)
{
    unsigned short out;
    UInt8 *b = reinterpret_cast<UInt8 *>(&out);
    b[0] = UInt8(v >> 8);
    b[1] = UInt8(v & 0xff);
    return out;
}

unsigned short *headValues(ImageFileType::Head &h)
{
    return &h.pixelFormat;
}

} // namespace

bool ImageFileType::Head::netToHost(void)
{
    unsigned short *v = headValues(*this);
    for(int i = 0; i < 12; ++i)
        v[i] = swap16(v[i]);
    return true;
}

bool ImageFileType::Head::hostToNet(void)
{
    unsigned short *v = headValues(*this);
    for(int i = 0; i < 12; ++i)
        v[i] = toNet16(v[i]);
    return true;
}

static_assert(sizeof(ImageFileType::Head) == 32, "ImageFileType::Head must be 32 bytes");

ImageFileType::ImageFileType(const Char8 *mimeType, const Char8 *suffixArray[],
                             UInt16 suffixByteCount, UInt32 flags)
    : _mimeType(mimeType ? mimeType : ""), _flags(flags)
{
    size_t count = suffixArray ? suffixByteCount / sizeof(const Char8 *) : 0;
    for(size_t i = 0; i < count; ++i)
        if(suffixArray[i] != NULL)
            _suffixList.push_back(suffixArray[i]);
    ImageFileHandler::addImageFileType(*this);
}

ImageFileType::~ImageFileType(void)
{
    ImageFileHandler::subImageFileType(*this);
}

bool ImageFileType::read(ImagePtr &image, const Char8 *fileName)
{
    if(fileName == NULL)
        return false;
    std::ifstream is(fileName, std::ios::in | std::ios::binary);
    if(!is)
        return false;
    return read(image, is, "");
}

bool ImageFileType::write(const ImagePtr &image, const Char8 *fileName)
{
    if(fileName == NULL)
        return false;
    std::ofstream os(fileName, std::ios::out | std::ios::binary | std::ios::trunc);
    if(!os)
    {
        SWARNING << "ImageFileType::write: cannot open " << fileName << " for writing" << endLog;
        return false;
    }
    bool ok = write(image, os, "");
    os.flush();
    return ok && bool(os);
}

bool ImageFileType::read(ImagePtr &, std::istream &, const std::string &)
{
    SWARNING << getMimeType() << " read from stream is not implemented" << endLog;
    return false;
}

bool ImageFileType::write(const ImagePtr &, std::ostream &, const std::string &)
{
    SWARNING << getMimeType() << " write to stream is not implemented" << endLog;
    return false;
}

bool ImageFileType::validateHeader(const Char8 *, bool &implemented)
{
    implemented = false;
    return true;
}

std::string ImageFileType::determineMimetypeFromStream(std::istream &)
{
    return std::string();
}

UInt64 ImageFileType::restoreData(ImagePtr &, const UChar8 *, Int32)
{
    SWARNING << getMimeType() << " restoreData not impl." << endLog;
    return 0;
}

UInt64 ImageFileType::storeData(const ImagePtr &, UChar8 *, Int32)
{
    SWARNING << getMimeType() << " storeData not impl." << endLog;
    return 0;
}

UInt64 ImageFileType::maxBufferSize(const ImagePtr &image)
{
    return image == NullFC ? 0 : sizeof(Head) + UInt64(image->getSize());
}

UInt64 ImageFileType::store(const ImagePtr &image, UChar8 *buffer, Int32 memSize)
{
    if(image == NullFC || buffer == NULL)
        return 0;
    if(memSize >= 0 && memSize < Int32(sizeof(Head)))
        return 0;
    Head head;
    std::memset(&head, 0, sizeof(head));
    if(!_suffixList.empty())
        std::strncpy(head.suffix, _suffixList.front().c_str(), sizeof(head.suffix) - 1);
    head.pixelFormat    = (unsigned short)image->getPixelFormat();
    head.width          = (unsigned short)image->getWidth();
    head.height         = (unsigned short)image->getHeight();
    head.depth          = (unsigned short)image->getDepth();
    head.mipmapCount    = (unsigned short)image->getMipMapCount();
    head.frameCount     = (unsigned short)image->getFrameCount();
    head.frameDelay     = (unsigned short)(image->getFrameDelay() * 1000.0);
    head.sideCount      = (unsigned short)image->getSideCount();
    head.dataType       = (unsigned short)image->getDataType();
    head.attachmentSize = 0;
    head.hostToNet();
    std::memcpy(buffer, &head, sizeof(head));

    UInt64 payload = storeData(image, buffer + sizeof(Head),
                               memSize < 0 ? -1 : Int32(memSize - Int32(sizeof(Head))));
    return payload == 0 ? 0 : sizeof(Head) + payload;
}

UInt64 ImageFileType::store(const ImagePtr &image, const Char8 *mimeType, UChar8 *buffer,
                            Int32 memSize)
{
    ImageFileType *type = mimeType ? ImageFileHandler::the().getFileType(mimeType)
                                   : ImageFileHandler::the().getDefaultType();
    if(type == NULL)
    {
        SWARNING << "ImageFileType::store: no image file type for "
                 << (mimeType ? mimeType : "(default)") << endLog;
        return 0;
    }
    return type->store(image, buffer, memSize);
}

UInt64 ImageFileType::restore(ImagePtr &image, const UChar8 *buffer, Int32 memSize)
{
    if(image == NullFC || buffer == NULL)
        return 0;
    if(memSize >= 0 && memSize < Int32(sizeof(Head)))
    {
        SWARNING << "ImageFileType::restore: buffer shorter than its header" << endLog;
        return 0;
    }
    Head head;
    std::memcpy(&head, buffer, sizeof(head));
    head.netToHost();
    head.suffix[sizeof(head.suffix) - 1] = '\0';

    ImageFileType *type = ImageFileHandler::the().getFileType(NULL, (std::string("x.") + head.suffix).c_str());
    if(type == NULL)
    {
        SWARNING << "ImageFileType::restore: unknown image type " << head.suffix << endLog;
        return 0;
    }
    // The payload goes into a scratch image first, so a failure leaves `image` as it was.
    ImagePtr scratch = Image::create();
    addRefCP(scratch);
    UInt64 result = 0;
    if(scratch->set(head.pixelFormat, head.width, head.height, head.depth, head.mipmapCount,
                    head.frameCount, head.frameDelay / 1000.0, 0,
                    head.dataType ? head.dataType : Int32(Image::OSG_UINT8_IMAGEDATA), true,
                    head.sideCount))
    {
        UInt64 payload = type->restoreData(scratch, buffer + sizeof(Head),
                                           memSize < 0 ? -1 : Int32(memSize - Int32(sizeof(Head))));
        if(payload != 0 && image->set(scratch))
            result = sizeof(Head) + payload;
    }
    subRefCP(scratch);
    return result;
}

void ImageFileType::print(void)
{
    std::string suffixes;
    for(const std::string &s : _suffixList)
        suffixes += (suffixes.empty() ? "" : " ") + s;
    SLOG << getMimeType() << " flags " << _flags << " suffixes " << suffixes << endLog;
}

} // namespace osg
