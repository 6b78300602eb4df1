#ifndef _OSGIMAGE_H_
#define _OSGIMAGE_H_

#include <OpenSG/OSGImageBase.h>

#include <iosfwd>

namespace osg {

/*! Pixel data with OpenSG 1.x's layout: channels interleaved, the bottom row first, and the
    buffer ordered frame, then side, then mipmap level (each level half the previous one, a
    dimension of 1 staying 1). Formats and data types are the GL codes.

    Sizes are 64-bit here, but every derived size (sideSize, frameSize) lives in an Int32 field,
    so set() refuses an image whose pixel data would exceed MaxImageBytes.

    The optional ICC profile (the iccProfile field) is kept beside the pixels and travels with
    the image through files that can embed one. */
class Image : public ImageBase
{
  public:
    typedef ImageBase Inherited;

    enum PixelFormat
    {
        OSG_INVALID_PF                    = 0,
        OSG_A_PF                          = 6406,
        OSG_I_PF                          = 32841,
        OSG_L_PF                          = 6409,
        OSG_LA_PF                         = 6410,
        OSG_RGB_PF                        = 6407,
        OSG_RGBA_PF                       = 6408,
        OSG_BGR_PF                        = 32992,
        OSG_BGRA_PF                       = 32993,
        OSG_RGB_DXT1                      = 33776,
        OSG_RGBA_DXT1                     = 33777,
        OSG_RGBA_DXT3                     = 33778,
        OSG_RGBA_DXT5                     = 33779,
        OSG_ALPHA_INTEGER_PF              = 36247,
        OSG_RGB_INTEGER_PF                = 36248,
        OSG_RGBA_INTEGER_PF               = 36249,
        OSG_BGR_INTEGER_PF                = 36250,
        OSG_BGRA_INTEGER_PF               = 36251,
        OSG_LUMINANCE_INTEGER_PF          = 36252,
        OSG_LUMINANCE_ALPHA_INTEGER_PF    = 36253
    };

    enum Type
    {
        OSG_INVALID_IMAGEDATATYPE = 0,
        OSG_UINT8_IMAGEDATA       = 5121,
        OSG_INT16_IMAGEDATA       = 5122,
        OSG_UINT16_IMAGEDATA      = 5123,
        OSG_INT32_IMAGEDATA       = 5124,
        OSG_UINT32_IMAGEDATA      = 5125,
        OSG_FLOAT32_IMAGEDATA     = 5126,
        OSG_FLOAT16_IMAGEDATA     = 5131
    };

    /*! Largest pixel buffer set() accepts (the derived sizes are Int32 fields). */
    static const UInt64 MaxImageBytes = 0x7fffffffULL;

    /*! Channels of a pixel format (0 for an unknown one). */
    static UInt32 getComponentCount(UInt32 pixelFormat);
    /*! Bytes per channel of a data type (0 for an unknown one). */
    static UInt32 getTypeSize(Int32 dataType);

    /*! Stores format, sizes (the six counts clamped to >= 1), delay and type in one edit and
        derives bpp, dimension and the side and frame sizes. With allocMem the pixel field is
        resized (new bytes zero) and `data`, if given, copied in; otherwise it is emptied.
        Returns whether pixel data exists afterwards: false for allocMem == false, an unknown
        format or type, or a size above MaxImageBytes. */
    bool set(UInt32 pixelFormat, Int32 width, Int32 height = 1, Int32 depth = 1,
             Int32 mipmapCount = 1, Int32 frameCount = 1, Time frameDelay = 0.0,
             const UInt8 *data = 0, Int32 type = OSG_UINT8_IMAGEDATA,
             bool allocMem = true, Int32 sideCount = 1);
    /*! Copies format, sizes, data and ICC profile of another image (null: false). */
    bool set(ImagePtr image);
    /*! Copies getSize() bytes from `data`; null gives a warning and false. */
    bool setData(const UInt8 *data = 0);
    void clearData(void);

    UInt8 getComponents    (void) const;
    bool  hasAlphaChannel  (void);
    bool  hasColorChannel  (void);
    bool  hasCompressedData(void);
    bool  isValid          (void) const { return !_mfPixel.empty(); }

    UInt64 calcMipmapLevelSize(UInt32 level, UInt32 w, UInt32 h, UInt32 d) const;
    UInt64 calcMipmapLevelSize(UInt32 level) const;
    UInt64 calcMipmapSumSize  (UInt32 mipmapNum, UInt32 w, UInt32 h, UInt32 d) const;
    UInt64 calcMipmapSumSize  (UInt32 mipmapNum) const;
    bool   calcMipmapGeometry (UInt32 mipmapNum, UInt32 &width, UInt32 &height,
                               UInt32 &depth) const;
    UInt32 calcMipmapLevelCount(void) const;

    /*! Bytes of the pixel data: all levels, frames and sides unless excluded. */
    unsigned long getSize(bool withMipmap = true, bool withFrames = true,
                          bool withSides = true) const;

    /*! Start of one level of one frame and side; NULL without data. No bounds check. */
    const UInt8 *getData    (UInt32 mipmapNum = 0, UInt32 frameNum = 0, UInt32 sideNum = 0) const;
          UInt8 *getData    (UInt32 mipmapNum = 0, UInt32 frameNum = 0, UInt32 sideNum = 0);
          UInt8 *editData   (UInt32 mipmapNum = 0, UInt32 frameNum = 0, UInt32 sideNum = 0);
    const UInt8 *getDataFast(UInt32 mipmapNum = 0, UInt32 frameNum = 0, UInt32 sideNum = 0) const;

    /*! The embedded ICC profile: its bytes and their count, or NULL and 0 when there is none. */
    const UInt8 *getICCProfile(UInt32 &size) const;
    bool         hasICCProfile(void) const { return !_mfIccProfile.empty(); }
    /*! Replaces the profile (NULL or 0 bytes removes it), in an edit of its field. */
    void         setICCProfile(const UInt8 *data, UInt32 size);

    /*! Through ImageFileHandler::the(), chosen by the file's suffix (and contents on reading). */
    bool   write  (const Char8 *fileName);
    bool   read   (const Char8 *fileName);
    /*! The framed binary form of ImageFileType::store / restore. */
    UInt64 store  (const Char8 *mimeType, UInt8 *mem, Int32 memSize = -1);
    UInt64 restore(const UInt8 *mem, Int32 memSize = -1);

    void changed(BitVector whichField, UInt32 origin) override;

  protected:
    friend class FieldContainer;
    friend class ImageBase;

    Image(void);
    Image(const Image &source);
    ~Image(void) override;

  private:
    bool calcDerived(void);
};

} // namespace osg

#endif
