#ifndef _OSGIMAGEFILETYPE_H_
#define _OSGIMAGEFILETYPE_H_

#include <OpenSG/OSGImage.h>

#include <iosfwd>
#include <list>
#include <string>

namespace osg {

/*! Base of the image file types. A concrete type is a singleton whose constructor registers it
    with ImageFileHandler by its MIME type and suffixes; the first type registered for a suffix
    or MIME type keeps it. Destroying a type (unloading its library) withdraws it again. */
class ImageFileType
{
  public:
    enum
    {
        OSG_READ_SUPPORTED  = 1,
        OSG_WRITE_SUPPORTED = 2
    };

    /*! The 32-byte frame of store()/restore(): the first suffix of the type, then twelve
        16-bit values in network byte order. */
    struct Head
    {
        Char8          suffix[8];
        unsigned short pixelFormat;
        unsigned short width;
        unsigned short height;
        unsigned short depth;
        unsigned short mipmapCount;
        unsigned short frameCount;
        unsigned short frameDelay;
        unsigned short sideCount;
        unsigned short dataType;
        unsigned short _reserved3;
        unsigned short _reserved4;
        unsigned short attachmentSize;

        bool netToHost(void);
        bool hostToNet(void);
    };

    virtual ~ImageFileType(void);

    const Char8                  *getMimeType  (void) const { return _mimeType.c_str(); }
    const std::list<std::string> &getSuffixList(void) const { return _suffixList; }
    virtual UInt32                getFlags     (void) const { return _flags; }

    void         setOptions(const Char8 *options) { _options = options ? options : ""; }
    const Char8 *getOptions(void) const           { return _options.c_str(); }

    /*! Open the file (binary) and read or write through the stream forms with an empty MIME. */
    virtual bool read (ImagePtr &image, const Char8 *fileName);
    virtual bool write(const ImagePtr &image, const Char8 *fileName);

    /*! Not implemented here: a warning and false. */
    virtual bool read (ImagePtr &image, std::istream &is, const std::string &mimetype);
    virtual bool write(const ImagePtr &image, std::ostream &os, const std::string &mimetype);

    /*! Whether the file looks like one of this type; `implemented` says whether the type can
        tell at all (here: it cannot, and the answer is true). */
    virtual bool        validateHeader(const Char8 *fileName, bool &implemented);
    /*! The type's MIME type when the stream starts like one of its files, else ""; the stream
        is left where it was. */
    virtual std::string determineMimetypeFromStream(std::istream &is);

    /*! The payload in the type's own encoding, without the frame (not implemented here: a
        warning and 0). memSize -1 means the buffer size is not known. */
    virtual UInt64 restoreData  (ImagePtr &image, const UChar8 *buffer, Int32 memSize = -1);
    virtual UInt64 storeData    (const ImagePtr &image, UChar8 *buffer, Int32 memSize = -1);
    virtual UInt64 maxBufferSize(const ImagePtr &image);

    /*! Head followed by storeData(); returns the bytes written, 0 on failure. */
    UInt64        store  (const ImagePtr &image, UChar8 *buffer, Int32 memSize = -1);
    /*! By MIME type (null: the handler's default type). */
    static UInt64 store  (const ImagePtr &image, const Char8 *mimeType, UChar8 *buffer,
                          Int32 memSize = -1);
    /*! Reads a Head, picks the type by its suffix, sets up the image and restoreData(); returns
        the bytes consumed, 0 on failure (the image is then left as it was). */
    static UInt64 restore(ImagePtr &image, const UChar8 *buffer, Int32 memSize = -1);

    virtual void print(void);

  protected:
    /*! suffixByteCount is the byte size of suffixArray (sizeof of the array), as in OpenSG. */
    ImageFileType(const Char8 *mimeType, const Char8 *suffixArray[], UInt16 suffixByteCount,
                  UInt32 flags = OSG_READ_SUPPORTED);

  private:
    std::list<std::string> _suffixList;
    std::string            _mimeType;
    UInt32                 _flags;
    std::string            _options;

    ImageFileType(const ImageFileType &) = delete;
    ImageFileType &operator=(const ImageFileType &) = delete;
};

} // namespace osg

#endif
