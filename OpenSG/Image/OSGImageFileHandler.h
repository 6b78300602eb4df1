#ifndef _OSGIMAGEFILEHANDLER_H_
#define _OSGIMAGEFILEHANDLER_H_

#include <OpenSG/OSGImage.h>

#include <iosfwd>
#include <list>
#include <map>
#include <string>

namespace osg {

class ImageFileType;

/*! The registry of image file types (a singleton made on first use and never destroyed, so that
    types may register from static constructors). Suffixes are matched without regard to case;
    MIME types are compared after cutting parameters (';'), trimming and lower-casing. */
class ImageFileHandler
{
  public:
    typedef ImagePtr (*readcbfp)(const Char8 *fileName, const Char8 *mimeType);

    static ImageFileHandler &the(void);

    /*! By MIME type (a bare subtype gets "image/"), else by the file name's suffix. With
        validateHeader, a type whose header check fails is replaced by the first type (suffix
        order) that recognises the file; none gives NULL. */
    ImageFileType *getFileType(const Char8 *mimeType, const Char8 *fileName = 0,
                               bool validateHeader = false);
    /*! The type whose determineMimetypeFromStream() recognises the stream; NULL if none. */
    ImageFileType *getFileTypeForStream(std::istream &is);
    /*! The type registered for the suffix "opensg", if any. */
    ImageFileType *getDefaultType(void);

    /*! A new image (null on failure; the read callback, if set, is asked first). */
    ImagePtr read (const Char8 *fileName, const Char8 *mimeType = 0);
    /*! Reads into `image`; sets its name to the file's absolute path on success. */
    bool     read (ImagePtr &image, const Char8 *fileName, const Char8 *mimeType = 0);
    /*! Chosen by MIME type or suffix; the type's write flag is not consulted (as in OpenSG). */
    bool     write(const ImagePtr &image, const Char8 *fileName, const Char8 *mimeType = 0);

    /*! Streams: by MIME type, or by the stream's contents when the MIME type is empty. */
    ImagePtr read (std::istream &is, const std::string &mimeType);
    bool     read (ImagePtr &image, std::istream &is, const std::string &mimeType);
    bool     write(const ImagePtr &image, std::ostream &os, const std::string &mimeType);

    std::string determineMimetypeFromName  (const std::string &fileName);
    std::string determineMimetypeFromSuffix(const std::string &suffix);
    std::string determineMimetypeFromStream(std::istream &is);

    /*! Suffixes of the types whose flags share a bit with `flags`; returns their count. */
    int getSuffixList(std::list<const Char8 *> &suffixList,
                      UInt32 flags = 1 | 2);

    UInt64 store  (const ImagePtr &image, const Char8 *mimeType, UChar8 *buffer,
                   Int32 memSize = -1);
    UInt64 restore(ImagePtr &image, const UChar8 *buffer, Int32 memSize = -1);

    void     setReadCB(readcbfp fp) { _readFP = fp; }
    readcbfp getReadCB(void) const  { return _readFP; }

    void print(void);

    static std::string normalizeMimeType(const std::string &mimeType);
    static std::string normalizeSuffix  (const std::string &suffix);

  private:
    friend class ImageFileType;

    static bool addImageFileType(ImageFileType &fileType);
    static void subImageFileType(ImageFileType &fileType);

    ImageFileHandler(void) = default;
    ImageFileHandler(const ImageFileHandler &) = delete;
    ImageFileHandler &operator=(const ImageFileHandler &) = delete;

    std::map<std::string, ImageFileType *> _suffixTypeMap;
    std::map<std::string, ImageFileType *> _mimeTypeMap;
    readcbfp                               _readFP = 0;
};

} // namespace osg

#endif
