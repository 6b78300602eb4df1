#include <OpenSGExt/OSGIFFImageFileType.h>

#include <OpenSGExt/Image/detail/skIFFParser.h>

#include <OpenSG/OSGLog.h>

#include <cstring>
#include <fstream>
#include <istream>
#include <vector>

namespace osg {

namespace {

const Char8 *iffSuffixes[] = { "iff" };

bool looksLikeIFF(std::istream &is)
{
    std::streampos pos = is.tellg();
    char head[12] = {};
    is.read(head, sizeof(head));
    bool yes = is.gcount() == std::streamsize(sizeof(head)) && std::memcmp(head, "FOR4", 4) == 0 &&
               std::memcmp(head + 8, "CIMG", 4) == 0;
    is.clear();
    if(pos != std::streampos(-1))
        is.seekg(pos);
    return yes;
}

} // namespace

IFFImageFileType IFFImageFileType::_the("image/x-iff", iffSuffixes, sizeof(iffSuffixes),
                                        OSG_READ_SUPPORTED);

IFFImageFileType &IFFImageFileType::the(void)
{
    return _the;
}

IFFImageFileType::IFFImageFileType(const Char8 *mimeType, const Char8 *suffixArray[],
                                   UInt16 suffixByteCount, UInt32 flags)
    : ImageFileType(mimeType, suffixArray, suffixByteCount, flags)
{
}

bool IFFImageFileType::read(ImagePtr &image, const Char8 *fileName)
{
    std::ifstream is;
    if(fileName != NULL)
        is.open(fileName, std::ios::binary);
    if(!is)
    {
        SWARNING << "IFF: Error: cannot open file " << (fileName ? fileName : "(null)") << endLog;
        return false;
    }
    return read(image, is, "");
}

bool IFFImageFileType::read(ImagePtr &image, std::istream &is, const std::string &)
{
    if(image == NullFC)
        return false;

    // Tiles may come in any order and need the header, so the file is read whole.
    std::vector<UInt8> file;
    const std::size_t  step = 1 << 20;
    while(is)
    {
        if(file.size() >= MaxFileBytes)
        {
            SWARNING << "IFF: Error: file larger than " << MaxFileBytes << " bytes" << endLog;
            return false;
        }
        std::size_t have = file.size();
        file.resize(have + step);
        is.read(reinterpret_cast<char *>(&file[have]), std::streamsize(step));
        file.resize(have + std::size_t(is.gcount()));
    }

    detail::IFFImage iff;
    std::string      error;
    if(!detail::parseIFF(file.data(), file.size(), iff, error))
    {
        SWARNING << "IFF: Error: " << error << endLog;
        return false;
    }
    std::vector<UInt8>().swap(file);

    bool ok;
    if(iff.channels != 0)
        ok = image->set(iff.channels == 4 ? Image::OSG_RGBA_PF : Image::OSG_RGB_PF,
                        Int32(iff.width), Int32(iff.height), 1, 1, 1, 0.0, iff.colour.data(),
                        iff.bytesPerChannel == 2 ? Image::OSG_UINT16_IMAGEDATA
                                                 : Image::OSG_UINT8_IMAGEDATA);
    else
        ok = image->set(Image::OSG_L_PF, Int32(iff.width), Int32(iff.height), 1, 1, 1, 0.0,
                        reinterpret_cast<const UInt8 *>(iff.depth.data()),
                        Image::OSG_FLOAT32_IMAGEDATA);
    if(!ok)
        SWARNING << "IFF: Error: image too large" << endLog;
    return ok;
}

bool IFFImageFileType::validateHeader(const Char8 *fileName, bool &implemented)
{
    implemented = true;
    if(fileName == NULL)
        return false;
    std::ifstream is(fileName, std::ios::binary);
    return is && looksLikeIFF(is);
}

std::string IFFImageFileType::determineMimetypeFromStream(std::istream &is)
{
    return looksLikeIFF(is) ? getMimeType() : "";
}

} // namespace osg
