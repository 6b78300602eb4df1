#ifndef _OSGIFFIMAGEFILETYPE_H_
#define _OSGIFFIMAGEFILETYPE_H_

#include <OpenSG/OSGImageFileType.h>

namespace osg {

/*! Tiled IFF images (a "FOR4" form of type "CIMG"; layout in detail/skIFFParser.h), read only:
    "image/x-iff", suffix "iff".

    Colour tiles give an RGB or RGBA image of 8 or 16 bits per channel; a file with depth tiles
    only gives a one-channel 32-bit float (luminance) image of the depth. Problems are logged as
    "IFF: Error: " and a reason ("cannot open file", "unexpected tag", "tag stack corrupt",
    "unknown compression format", "corrupt RLE data", "truncated file", ...), and the image is
    left as it was. Files above MaxFileBytes are refused; the pixel memory taken is bounded by
    64 times the file size and by Image::MaxImageBytes. */
class IFFImageFileType : public ImageFileType
{
  public:
    static const UInt64 MaxFileBytes = 1ull << 30;

    static IFFImageFileType &the(void);

    using ImageFileType::write;

    bool read(ImagePtr &image, const Char8 *fileName) override;
    bool read(ImagePtr &image, std::istream &is, const std::string &mimetype) override;

    bool        validateHeader(const Char8 *fileName, bool &implemented) override;
    std::string determineMimetypeFromStream(std::istream &is) override;

  private:
    IFFImageFileType(const Char8 *mimeType, const Char8 *suffixArray[], UInt16 suffixByteCount,
                     UInt32 flags);

    static IFFImageFileType _the;
};

} // namespace osg

#endif
