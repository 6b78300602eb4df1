#ifndef _OSGPSDIMAGEFILETYPE_H_
#define _OSGPSDIMAGEFILETYPE_H_

#include <OpenSG/OSGImageFileType.h>

#include <iosfwd>
#include <string>
#include <vector>

namespace osg {

/*! Photoshop documents: PSD ("image/x-photoshop", "psd") and the large-document form PSB
    ("image/x-photoshop-big", "psb"), two instances of this class.

    Writing: one flattened image, or a document of layers. All integers are big-endian, rows run
    top first in the file (the image keeps its bottom row first), 32-bit float samples are
    big-endian IEEE floats. Channels are 8-bit integers or 32-bit floats; images with 3 or more
    components are RGB documents, those with 1 or 2 are greyscale ones. Layer rectangles cover
    the whole document, so every layer must have the document's size and channel width.

    Reading: PSD and PSB, greyscale and RGB, 8, 16 and 32 bits, raw or PackBits (RLE) channel
    data; the merged image, its ICC profile, and on request the layers with their names,
    rectangles, blend keys and pixels. The image produced has 1 to 4 channels (colour plus at
    most one alpha); 16-bit samples are in host order. Nothing is allocated before the sizes
    have been checked against the data: a document is refused when its merged image exceeds
    Image::MaxImageBytes (2 GiB) or needs more data than the stream holds. */
class PSDImageFileType : public ImageFileType
{
  public:
    /*! Blend modes by index; the key of each is getBlendModeKey(index). */
    enum BlendMode
    {
        BlendNormal = 0, BlendDissolve, BlendDarken, BlendMultiply, BlendColorBurn,
        BlendLinearBurn, BlendDarkerColor, BlendLighten, BlendScreen, BlendColorDodge,
        BlendLinearDodge, BlendLighterColor, BlendOverlay, BlendSoftLight, BlendHardLight,
        BlendVividLight, BlendLinearLight, BlendPinLight, BlendHardMix, BlendDifference,
        BlendExclusion, BlendSubtract, BlendDivide, BlendHue, BlendSaturation, BlendColor,
        BlendLuminosity, BlendPassThrough, BlendModeCount
    };

    /*! Largest width and height of a PSD and of a PSB document. */
    static const UInt32 MaxPSDDimension = 30000;
    static const UInt32 MaxPSBDimension = 300000;

    /*! A layer as read from a document. `image` holds one reference, which the caller
        releases (releaseLayers does it for a whole list); it is NullFC when the layer's
        pixels could not be taken over (empty rectangle, unsupported compression). */
    struct Layer
    {
        std::string name;
        Int32       top = 0, left = 0, bottom = 0, right = 0;
        std::string blendModeKey;
        UInt8       opacity = 255;
        UInt8       clipping = 0;
        UInt8       flags = 0;
        ImagePtr    image;
    };

    static PSDImageFileType &the   (void);   //!< the PSD instance
    static PSDImageFileType &theBig(void);   //!< the PSB instance

    using ImageFileType::read;
    using ImageFileType::write;

    /*! Writes a single flattened image (writeSingleLayerImage). */
    bool write(const ImagePtr &image, std::ostream &os, const std::string &mimetype) override;
    /*! Writes a layered document (writeMultiLayerImage): `image` gives the document's size,
        format and merged pixels, `layers` the layers bottom first, `layerNames` their names,
        `blendModes` (optional, BlendMode indices) their blend modes. */
    bool write(const ImagePtr &image, std::ostream &os, const std::string &mimetype,
               const std::vector<ImagePtr> &layers, const std::vector<std::string> &layerNames,
               const std::vector<UInt32> &blendModes = std::vector<UInt32>());

    bool writeSingleLayerImage(const ImagePtr &image, std::ostream &os, bool large);
    bool writeMultiLayerImage (const ImagePtr &image, std::ostream &os, bool large,
                               const std::vector<ImagePtr> &layers,
                               const std::vector<std::string> &layerNames,
                               const std::vector<UInt32> &blendModes = std::vector<UInt32>());

    /*! The sections, in file order. The writers above check the image first; these assume a
        valid image. */
    void writeHeaderSection        (const ImagePtr &image, std::ostream &os, bool large);
    void writeColorModeDataSection (UInt32 depth, std::ostream &os);
    void writeImageResourcesSection(const ImagePtr &image, std::ostream &os);
    void writeLayerAndMaskSection  (const ImagePtr &image, const std::vector<ImagePtr> &layers,
                                    const std::vector<std::string> &names, std::ostream &os,
                                    bool large,
                                    const std::vector<UInt32> &blendModes = std::vector<UInt32>());
    void writeImageDataSection     (const ImagePtr &image, std::ostream &os);

    /*! The merged image (and its ICC profile) of a PSD or PSB stream; `image` is untouched on
        failure. */
    bool read(ImagePtr &image, std::istream &is, const std::string &mimetype) override;
    /*! The merged image and the layers; `layers` receives nothing on failure. */
    bool readLayers(std::istream &is, ImagePtr &image, std::vector<Layer> &layers);
    static void releaseLayers(std::vector<Layer> &layers);

    bool        validateHeader(const Char8 *fileName, bool &implemented) override;
    std::string determineMimetypeFromStream(std::istream &is) override;

    UInt64 restoreData(ImagePtr &image, const UChar8 *buffer, Int32 memSize = -1) override;
    UInt64 storeData  (const ImagePtr &image, UChar8 *buffer, Int32 memSize = -1) override;

    bool isLarge(void) const { return _large; }

    /*! A length byte, the characters and zeros up to a multiple of `pad` (length byte
        included); an empty string or one above 255 characters gives `pad` zero bytes. */
    static std::string getPaddedPascalString(const std::string &s, UInt32 pad);
    /*! The characters and zeros up to the next multiple of `pad`. */
    static std::string getPaddedString(const std::string &s, UInt32 pad);
    /*! Data of the alpha-channel-names resource (1006): "Transparency" for one channel, else
        Alpha0, Alpha1, ...; the result is padded to an even length, `size` gets the length
        before that padding. */
    static std::string createAlphaChannelNamesData(UInt32 count, UInt32 &size);
    /*! The four-character key of a blend mode index; "norm" for an unknown index. */
    static const char *getBlendModeKey(UInt32 index);

  private:
    PSDImageFileType(const Char8 *mimeType, const Char8 *suffixArray[], UInt16 suffixByteCount,
                     UInt32 flags, bool large);

    bool checkWritable(const ImagePtr &image, const char *what) const;
    bool readDocument(std::istream &is, ImagePtr &image, std::vector<Layer> *layers);

    bool _large;

    static PSDImageFileType _thePSD;
    static PSDImageFileType _thePSB;
};

} // namespace osg

#endif
