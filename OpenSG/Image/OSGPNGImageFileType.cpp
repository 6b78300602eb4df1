#include <OpenSG/OSGPNGImageFileType.h>
#include <OpenSG/OSGLog.h>

#include <png.h>

#include <csetjmp>
#include <cstring>
#include <fstream>
#include <istream>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <vector>

namespace osg {

namespace {

const Char8 *pngSuffixes[] = { "png" };

// Everything a libpng call may touch lives here, constructed before setjmp, so that a longjmp
// out of libpng skips no destructor.
struct PngIO
{
    std::istream      *in  = NULL;
    std::ostream      *out = NULL;
    std::string        error;
    std::vector<UInt8> pixels;
    std::vector<png_bytep> rows;
    std::vector<UInt8> icc;
    jmp_buf            jump;
};

void pngError(png_structp png, png_const_charp message)
{
    PngIO *io = static_cast<PngIO *>(png_get_error_ptr(png));
    io->error = message ? message : "unknown error";
    longjmp(io->jump, 1);
}

void pngWarning(png_structp, png_const_charp message)
{
    SNOTICE << "PNG: " << (message ? message : "") << endLog;
}

void pngRead(png_structp png, png_bytep data, png_size_t length)
{
    PngIO *io = static_cast<PngIO *>(png_get_io_ptr(png));
    io->in->read(reinterpret_cast<char *>(data), std::streamsize(length));
    if(size_t(io->in->gcount()) != length)
        png_error(png, "file is truncated");
}

void pngWrite(png_structp png, png_bytep data, png_size_t length)
{
    PngIO *io = static_cast<PngIO *>(png_get_io_ptr(png));
    io->out->write(reinterpret_cast<const char *>(data), std::streamsize(length));
    if(!*io->out)
        png_error(png, "write failed");
}

void pngFlush(png_structp png)
{
    static_cast<PngIO *>(png_get_io_ptr(png))->out->flush();
}

bool hostIsLittleEndian(void)
{
    const UInt16 probe = 1;
    return *reinterpret_cast<const UInt8 *>(&probe) == 1;
}

// Reads into io; returns false with io.error set. Leaves no C++ object between setjmp and the
// libpng calls.
bool decodePng(PngIO &io, png_uint_32 &width, png_uint_32 &height, int &channels, int &bitDepth)
{
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &io, pngError, pngWarning);
    if(png == NULL)
    {
        io.error = "cannot create the decoder";
        return false;
    }
    png_infop info = png_create_info_struct(png);
    if(info == NULL)
    {
        png_destroy_read_struct(&png, NULL, NULL);
        io.error = "cannot create the decoder";
        return false;
    }
    if(setjmp(io.jump))
    {
        png_destroy_read_struct(&png, &info, NULL);
        return false;
    }
    png_set_read_fn(png, &io, pngRead);
    png_set_user_limits(png, PNGImageFileType::MaxDimension, PNGImageFileType::MaxDimension);
    png_read_info(png, info);

    int colorType = png_get_color_type(png, info);
    bitDepth      = png_get_bit_depth(png, info);
    if(colorType == PNG_COLOR_TYPE_PALETTE)
        png_set_palette_to_rgb(png);
    if(colorType == PNG_COLOR_TYPE_GRAY && bitDepth < 8)
        png_set_expand_gray_1_2_4_to_8(png);
    if(png_get_valid(png, info, PNG_INFO_tRNS))
        png_set_tRNS_to_alpha(png);
    if(bitDepth == 16 && hostIsLittleEndian())
        png_set_swap(png);
    png_set_interlace_handling(png);
    png_read_update_info(png, info);

    width    = png_get_image_width(png, info);
    height   = png_get_image_height(png, info);
    channels = png_get_channels(png, info);
    bitDepth = png_get_bit_depth(png, info);
    size_t rowBytes = png_get_rowbytes(png, info);
    if((bitDepth != 8 && bitDepth != 16) || channels < 1 || channels > 4 ||
       rowBytes != size_t(width) * channels * (bitDepth / 8))
        png_error(png, "unsupported pixel layout");
    if(UInt64(rowBytes) * height > Image::MaxImageBytes)
        png_error(png, "image exceeds the size limit");

    png_charp iccName = NULL;
    int iccCompression = 0;
    png_bytep iccData = NULL;
    png_uint_32 iccLength = 0;
    if(png_get_iCCP(png, info, &iccName, &iccCompression, &iccData, &iccLength) && iccLength)
        io.icc.assign(iccData, iccData + iccLength);

    io.pixels.resize(rowBytes * height);
    io.rows.resize(height);
    // The image keeps its bottom row first.
    for(png_uint_32 y = 0; y < height; ++y)
        io.rows[y] = io.pixels.data() + size_t(height - 1 - y) * rowBytes;
    png_read_image(png, io.rows.data());
    png_read_end(png, NULL);
    png_destroy_read_struct(&png, &info, NULL);
    return true;
}

bool encodePng(PngIO &io, const Image &image, int channels, int bitDepth, bool bgr)
{
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &io, pngError, pngWarning);
    if(png == NULL)
    {
        io.error = "cannot create the encoder";
        return false;
    }
    png_infop info = png_create_info_struct(png);
    if(info == NULL)
    {
        png_destroy_write_struct(&png, NULL);
        io.error = "cannot create the encoder";
        return false;
    }
    if(setjmp(io.jump))
    {
        png_destroy_write_struct(&png, &info);
        return false;
    }
    png_set_write_fn(png, &io, pngWrite, pngFlush);
    static const int colorTypes[] = { PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA,
                                      PNG_COLOR_TYPE_RGB, PNG_COLOR_TYPE_RGB_ALPHA };
    png_uint_32 width  = png_uint_32(image.getWidth());
    png_uint_32 height = png_uint_32(image.getHeight());
    png_set_IHDR(png, info, width, height, bitDepth, colorTypes[channels - 1],
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    UInt32 iccSize = 0;
    const UInt8 *icc = image.getICCProfile(iccSize);
    if(icc != NULL)
        png_set_iCCP(png, info, "ICC profile", PNG_COMPRESSION_TYPE_BASE, icc, iccSize);
    png_write_info(png, info);
    if(bgr)
        png_set_bgr(png);
    if(bitDepth == 16 && hostIsLittleEndian())
        png_set_swap(png);

    size_t rowBytes = size_t(width) * channels * (bitDepth / 8);
    const UInt8 *data = image.getData();
    for(png_uint_32 y = 0; y < height; ++y)
        png_write_row(png, const_cast<png_bytep>(data + size_t(height - 1 - y) * rowBytes));
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return true;
}

// A read-only stream over a memory block.
class MemoryBuffer : public std::streambuf
{
  public:
    MemoryBuffer(const UChar8 *data, size_t size)
    {
        char *p = const_cast<char *>(reinterpret_cast<const char *>(data));
        setg(p, p, p + size);
    }
    size_t consumed(void) const { return size_t(gptr() - eback()); }
};

} // namespace

PNGImageFileType PNGImageFileType::_the("image/png", pngSuffixes, sizeof(pngSuffixes),
                                        OSG_READ_SUPPORTED | OSG_WRITE_SUPPORTED);

PNGImageFileType &PNGImageFileType::the(void)
{
    return _the;
}

PNGImageFileType::PNGImageFileType(const Char8 *mimeType, const Char8 *suffixArray[],
                                   UInt16 suffixByteCount, UInt32 flags)
    : ImageFileType(mimeType, suffixArray, suffixByteCount, flags)
{
}

bool PNGImageFileType::read(ImagePtr &image, std::istream &is, const std::string &)
{
    if(image == NullFC)
        return false;
    PngIO io;
    io.in = &is;
    png_uint_32 width = 0, height = 0;
    int channels = 0, bitDepth = 0;
    if(!decodePng(io, width, height, channels, bitDepth))
    {
        SWARNING << "PNG: cannot read image: " << io.error << endLog;
        return false;
    }
    static const UInt32 formats[] = { Image::OSG_L_PF, Image::OSG_LA_PF, Image::OSG_RGB_PF,
                                      Image::OSG_RGBA_PF };
    if(!image->set(formats[channels - 1], Int32(width), Int32(height), 1, 1, 1, 0.0,
                   io.pixels.data(),
                   bitDepth == 16 ? Image::OSG_UINT16_IMAGEDATA : Image::OSG_UINT8_IMAGEDATA))
        return false;
    image->setICCProfile(io.icc.empty() ? NULL : io.icc.data(), UInt32(io.icc.size()));
    return true;
}

bool PNGImageFileType::write(const ImagePtr &image, std::ostream &os, const std::string &)
{
    if(image == NullFC || !image->isValid())
    {
        SWARNING << "PNG: no image data to write" << endLog;
        return false;
    }
    int channels = 0;
    bool bgr = false;
    switch(image->getPixelFormat())
    {
        case Image::OSG_L_PF:    channels = 1; break;
        case Image::OSG_LA_PF:   channels = 2; break;
        case Image::OSG_RGB_PF:  channels = 3; break;
        case Image::OSG_RGBA_PF: channels = 4; break;
        case Image::OSG_BGR_PF:  channels = 3; bgr = true; break;
        case Image::OSG_BGRA_PF: channels = 4; bgr = true; break;
        default: break;
    }
    int bitDepth = image->getDataType() == Image::OSG_UINT8_IMAGEDATA  ? 8
                 : image->getDataType() == Image::OSG_UINT16_IMAGEDATA ? 16 : 0;
    if(channels == 0 || bitDepth == 0 || image->getDepth() > 1)
    {
        SWARNING << "PNG: cannot write images of pixel format " << image->getPixelFormat()
                 << " and data type " << image->getDataType() << endLog;
        return false;
    }
    PngIO io;
    io.out = &os;
    if(!encodePng(io, *image.getCPtr(), channels, bitDepth, bgr))
    {
        SWARNING << "PNG: cannot write image: " << io.error << endLog;
        return false;
    }
    return bool(os);
}

bool PNGImageFileType::validateHeader(const Char8 *fileName, bool &implemented)
{
    implemented = true;
    if(fileName == NULL)
        return false;
    std::ifstream is(fileName, std::ios::binary);
    if(!is)
        return false;
    char magic[4] = { 0, 0, 0, 0 };
    is.read(magic, 4);
    return is.gcount() == 4 && std::memcmp(magic, "\x89PNG", 4) == 0;
}

std::string PNGImageFileType::determineMimetypeFromStream(std::istream &is)
{
    std::streampos start = is.tellg();
    char magic[4] = { 0, 0, 0, 0 };
    is.read(magic, 4);
    bool match = is.gcount() == 4 && std::memcmp(magic, "\x89PNG", 4) == 0;
    is.clear();
    is.seekg(start);
    return match ? std::string(getMimeType()) : std::string();
}

UInt64 PNGImageFileType::restoreData(ImagePtr &image, const UChar8 *buffer, Int32 memSize)
{
    if(buffer == NULL)
        return 0;
    // Without a size the caller vouches for the buffer; libpng stops at the end chunk anyway.
    size_t size = memSize < 0 ? size_t(0x7fffffff) : size_t(memSize);
    MemoryBuffer mem(buffer, size);
    std::istream is(&mem);
    if(!read(image, is, getMimeType()))
        return 0;
    return UInt64(mem.consumed());
}

UInt64 PNGImageFileType::storeData(const ImagePtr &image, UChar8 *buffer, Int32 memSize)
{
    if(buffer == NULL)
        return 0;
    std::ostringstream os(std::ios::binary);
    if(!write(image, os, getMimeType()))
        return 0;
    const std::string bytes = os.str();
    if(memSize >= 0 && bytes.size() > size_t(memSize))
    {
        SWARNING << "PNG: storeData needs " << bytes.size() << " bytes, the buffer has "
                 << memSize << endLog;
        return 0;
    }
    std::memcpy(buffer, bytes.data(), bytes.size());
    return bytes.size();
}

} // namespace osg
