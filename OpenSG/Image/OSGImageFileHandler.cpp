#include <OpenSG/OSGImageFileHandler.h>
#include <OpenSG/OSGImageFileType.h>
#include <OpenSG/OSGLog.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <istream>
#include <set>

namespace osg {

namespace {

std::string trimLower(const std::string &s)
{
    size_t b = 0, e = s.size();
    while(b < e && std::isspace((unsigned char)s[b]))
        ++b;
    while(e > b && std::isspace((unsigned char)s[e - 1]))
        --e;
    std::string out = s.substr(b, e - b);
    for(char &c : out)
        c = char(std::tolower((unsigned char)c));
    return out;
}

std::string suffixOf(const std::string &fileName)
{
    size_t dot = fileName.rfind('.');
    size_t sep = fileName.find_last_of("/\\");
    if(dot == std::string::npos || (sep != std::string::npos && dot < sep))
        return std::string();
    return fileName.substr(dot + 1);
}

} // namespace

ImageFileHandler &ImageFileHandler::the(void)
{
    // Never destroyed: types register from static constructors of any library and withdraw
    // from static destructors that may run after this translation unit's.
    static ImageFileHandler *handler = new ImageFileHandler;
    return *handler;
}

std::string ImageFileHandler::normalizeMimeType(const std::string &mimeType)
{
    return trimLower(mimeType.substr(0, mimeType.find(';')));
}

std::string ImageFileHandler::normalizeSuffix(const std::string &suffix)
{
    return trimLower(suffix);
}

bool ImageFileHandler::addImageFileType(ImageFileType &fileType)
{
    ImageFileHandler &h = the();
    bool ok = true;
    for(const std::string &s : fileType.getSuffixList())
    {
        std::string key = normalizeSuffix(s);
        if(key.empty())
            continue;
        if(h._suffixTypeMap.count(key))
        {
            SWARNING << "Can't add an image file type with suffix " << key
                     << " a second time" << endLog;
            ok = false;
            continue;
        }
        h._suffixTypeMap[key] = &fileType;
    }
    std::string mime = normalizeMimeType(fileType.getMimeType());
    if(!mime.empty())
    {
        if(h._mimeTypeMap.count(mime))
        {
            SWARNING << "Can't add an image file type with mimetype " << mime
                     << " a second time" << endLog;
            ok = false;
        }
        else
        {
            h._mimeTypeMap[mime] = &fileType;
        }
    }
    return ok;
}

void ImageFileHandler::subImageFileType(ImageFileType &fileType)
{
    ImageFileHandler &h = the();
    for(auto *m : {&h._suffixTypeMap, &h._mimeTypeMap})
        for(auto it = m->begin(); it != m->end();)
            it = it->second == &fileType ? m->erase(it) : std::next(it);
}

ImageFileType *ImageFileHandler::getFileType(const Char8 *mimeType, const Char8 *fileName,
                                             bool validateHeader)
{
    ImageFileType *type = NULL;
    if(mimeType != NULL && *mimeType != '\0')
    {
        std::string mime = normalizeMimeType(mimeType);
        if(mime.find('/') == std::string::npos)
            mime = "image/" + mime;
        auto it = _mimeTypeMap.find(mime);
        if(it != _mimeTypeMap.end())
            type = it->second;
        else
            SWARNING << "Invalid mimeType " << mimeType << " in getFileType()" << endLog;
    }
    if(type == NULL && fileName != NULL)
    {
        auto it = _suffixTypeMap.find(normalizeSuffix(suffixOf(fileName)));
        if(it != _suffixTypeMap.end())
            type = it->second;
    }
    if(validateHeader && fileName != NULL && type != NULL)
    {
        bool implemented = false;
        if(!type->validateHeader(fileName, implemented))
        {
            type = NULL;
            std::set<ImageFileType *> tried;
            for(auto &entry : _suffixTypeMap)
            {
                if(!tried.insert(entry.second).second)
                    continue;
                implemented = false;
                if(entry.second->validateHeader(fileName, implemented) && implemented)
                {
                    type = entry.second;
                    break;
                }
            }
        }
    }
    return type;
}

ImageFileType *ImageFileHandler::getFileTypeForStream(std::istream &is)
{
    std::string mime = determineMimetypeFromStream(is);
    if(mime.empty())
        return NULL;
    auto it = _mimeTypeMap.find(mime);
    return it != _mimeTypeMap.end() ? it->second : NULL;
}

ImageFileType *ImageFileHandler::getDefaultType(void)
{
    auto it = _suffixTypeMap.find("opensg");
    return it != _suffixTypeMap.end() ? it->second : NULL;
}

ImagePtr ImageFileHandler::read(const Char8 *fileName, const Char8 *mimeType)
{
    if(_readFP != 0)
    {
        ImagePtr image = _readFP(fileName, mimeType);
        if(image != NullFC)
            return image;
    }
    ImagePtr image = Image::create();
    addRefCP(image);
    if(!read(image, fileName, mimeType))
    {
        subRefCP(image);
        return NullFC;
    }
    // Hand back an unreferenced image, as Image::create() does.
    return image;
}

bool ImageFileHandler::read(ImagePtr &image, const Char8 *fileName, const Char8 *mimeType)
{
    if(image == NullFC || fileName == NULL)
        return false;
    ImageFileType *type = getFileType(mimeType, fileName, true);
    if(type == NULL)
    {
        SWARNING << "ImageFileHandler::read: no image file type for " << fileName << endLog;
        return false;
    }
    if(!type->read(image, fileName))
        return false;
    std::error_code ec;
    std::filesystem::path full = std::filesystem::absolute(fileName, ec);
    beginEditCP(image, Image::NameFieldMask);
    image->setName(ec ? std::string(fileName) : full.string());
    endEditCP(image, Image::NameFieldMask);
    return true;
}

bool ImageFileHandler::write(const ImagePtr &image, const Char8 *fileName, const Char8 *mimeType)
{
    if(image == NullFC)
        return false;
    std::string name = fileName ? std::string(fileName) : image->getName();
    if(name.empty())
        return false;
    ImageFileType *type = getFileType(mimeType, name.c_str());
    if(type == NULL)
    {
        SWARNING << "ImageFileHandler::write: no image file type for " << name << endLog;
        return false;
    }
    return type->write(image, name.c_str());
}

ImagePtr ImageFileHandler::read(std::istream &is, const std::string &mimeType)
{
    ImagePtr image = Image::create();
    addRefCP(image);
    if(!read(image, is, mimeType))
    {
        subRefCP(image);
        return NullFC;
    }
    return image;
}

bool ImageFileHandler::read(ImagePtr &image, std::istream &is, const std::string &mimeType)
{
    if(image == NullFC)
        return false;
    ImageFileType *type = mimeType.empty() ? getFileTypeForStream(is)
                                           : getFileType(mimeType.c_str());
    return type != NULL && type->read(image, is, mimeType);
}

bool ImageFileHandler::write(const ImagePtr &image, std::ostream &os, const std::string &mimeType)
{
    ImageFileType *type = getFileType(mimeType.c_str());
    return type != NULL && type->write(image, os, mimeType);
}

std::string ImageFileHandler::determineMimetypeFromName(const std::string &fileName)
{
    return determineMimetypeFromSuffix(suffixOf(fileName));
}

std::string ImageFileHandler::determineMimetypeFromSuffix(const std::string &suffix)
{
    auto it = _suffixTypeMap.find(normalizeSuffix(suffix));
    return it != _suffixTypeMap.end() ? normalizeMimeType(it->second->getMimeType())
                                      : std::string();
}

std::string ImageFileHandler::determineMimetypeFromStream(std::istream &is)
{
    for(auto &entry : _mimeTypeMap)
    {
        std::string mime = entry.second->determineMimetypeFromStream(is);
        is.clear();
        if(!mime.empty())
            return normalizeMimeType(mime);
    }
    return std::string();
}

int ImageFileHandler::getSuffixList(std::list<const Char8 *> &suffixList, UInt32 flags)
{
    int count = 0;
    for(auto &entry : _suffixTypeMap)
    {
        if(entry.second->getFlags() & flags)
        {
            suffixList.push_back(entry.first.c_str());
            ++count;
        }
    }
    return count;
}

UInt64 ImageFileHandler::store(const ImagePtr &image, const Char8 *mimeType, UChar8 *buffer,
                               Int32 memSize)
{
    return ImageFileType::store(image, mimeType, buffer, memSize);
}

UInt64 ImageFileHandler::restore(ImagePtr &image, const UChar8 *buffer, Int32 memSize)
{
    return ImageFileType::restore(image, buffer, memSize);
}

void ImageFileHandler::print(void)
{
    for(auto &entry : _suffixTypeMap)
        SLOG << "suffix " << entry.first << ": " << entry.second->getMimeType() << endLog;
}

} // namespace osg
