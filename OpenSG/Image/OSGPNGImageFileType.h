#ifndef _OSGPNGIMAGEFILETYPE_H_
#define _OSGPNGIMAGEFILETYPE_H_

#include <OpenSG/OSGImageFileType.h>

namespace osg {

/*! PNG files through libpng: "image/png", suffix "png", read and write.

    Reading gives L, LA, RGB or RGBA images of 8 or 16 bits (palettes and transparency chunks
    expanded, 16-bit samples in host order) and keeps an embedded ICC profile; images wider or
    taller than MaxDimension, or larger than Image::MaxImageBytes, are refused before any pixel
    memory is taken. Writing takes L, LA, RGB, RGBA, BGR and BGRA images of 8 or 16 bits (the
    first frame, side and level) and embeds the image's ICC profile. Rows are flipped between
    the file's top-first and the image's bottom-first order. */
class PNGImageFileType : public ImageFileType
{
  public:
    static const UInt32 MaxDimension = 1u << 20;

    static PNGImageFileType &the(void);

    using ImageFileType::read;
    using ImageFileType::write;

    bool read (ImagePtr &image, std::istream &is, const std::string &mimetype) override;
    bool write(const ImagePtr &image, std::ostream &os, const std::string &mimetype) override;

    bool        validateHeader(const Char8 *fileName, bool &implemented) override;
    std::string determineMimetypeFromStream(std::istream &is) override;

    UInt64 restoreData(ImagePtr &image, const UChar8 *buffer, Int32 memSize = -1) override;
    UInt64 storeData  (const ImagePtr &image, UChar8 *buffer, Int32 memSize = -1) override;

  private:
    PNGImageFileType(const Char8 *mimeType, const Char8 *suffixArray[], UInt16 suffixByteCount,
                     UInt32 flags);

    static PNGImageFileType _the;
};

} // namespace osg

#endif
