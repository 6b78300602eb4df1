#ifndef _OSGYIFIMAGEFILETYPE_H_
#define _OSGYIFIMAGEFILETYPE_H_

#include <OpenSG/OSGImageFileType.h>

namespace osg {

/*! The application's own raw image files: a 96-byte header and the pixel data exactly as Image
    holds it (all levels, frames and sides). "image/x-yif", suffix "yif", read and write.

    Header fields keep 16 bits only (see detail/skYIFHeader.h): an image of 65536 or more pixels
    in a dimension, or a fractional frame delay, does not survive a round trip; that is the
    format. Writing is always uncompressed. Reading takes plain files and files compressed as a
    whole with gzip, inflated on the fly.

    Reading checks the header against the data before taking memory: the pixel data may not
    exceed Image::MaxImageBytes (2^31 - 1 bytes), must fit in what remains of a plain stream
    that can tell its length, and in a gzip stream must not exceed 1032 times the compressed
    bytes left (deflate's largest ratio). Truncated or corrupt data gives false, and the image
    is changed only when everything was read. */
class YIFImageFileType : public ImageFileType
{
  public:
    static YIFImageFileType &the(void);

    using ImageFileType::read;
    using ImageFileType::write;

    bool read (ImagePtr &image, std::istream &is, const std::string &mimetype) override;
    bool write(const ImagePtr &image, std::ostream &os, const std::string &mimetype) override;

    /*! implemented = true; true if the file starts with "yif", directly or after inflating. */
    bool        validateHeader(const Char8 *fileName, bool &implemented) override;
    std::string determineMimetypeFromStream(std::istream &is) override;

  private:
    YIFImageFileType(const Char8 *mimeType, const Char8 *suffixArray[], UInt16 suffixByteCount,
                     UInt32 flags);

    static YIFImageFileType _the;
};

} // namespace osg

#endif
