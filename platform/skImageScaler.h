#ifndef SK_PLATFORM_SKIMAGESCALER_H
#define SK_PLATFORM_SKIMAGESCALER_H

#include <cstddef>
#include <string>
#include <vector>

/*! The host's image resampler: separable filtering of interleaved pixel buffers over width, height
    and depth. Channel values are read and written through a ValueHandler, so the resampler knows
    nothing of pixel formats; results are clamped to [0, handler.maxValue()]. */
namespace skUtils {

/*! Reads and writes one channel value as a double. Values are addressed by their index in the
    buffer (not by byte offset). storage() names the layout of a value when it is one of the plain
    types, which lets the resampler read and write the buffer directly instead of calling get/set
    per value; a handler whose storage is Other is only ever used through get/set. */
class ValueHandler
{
  public:
    enum class Storage { UInt8, UInt16, UInt32, Float32, Float16, Other };

    virtual ~ValueHandler(void) = default;

    virtual double get(const void *data, std::size_t index) const = 0;
    /*! Stores v clamped to [0, maxValue()]; integer types round to nearest, NaN stores 0. */
    virtual void   set(void *data, std::size_t index, double v) const = 0;
    virtual double maxValue(void) const = 0;
    virtual std::size_t valueSize(void) const = 0;
    virtual Storage storage(void) const { return Storage::Other; }
};

/*! A reconstruction filter: a kernel over distance in source pixels and its support radius.
    Downscaling widens the kernel by the scale factor, so every source pixel contributes. */
class ImageGenericFilter
{
  public:
    enum Kind
    {
        Box,               //!< nearest neighbour when enlarging, area average when shrinking
        Bilinear,          //!< triangle, support 1
        MitchellNetravali, //!< cubic with B = C = 1/3, support 2
        CatmullRom,        //!< cubic with B = 0, C = 1/2, support 2
        Lanczos3           //!< sinc windowed by sinc(x/3), support 3
    };

    explicit ImageGenericFilter(Kind kind = Lanczos3) : _kind(kind) {}

    Kind   kind   (void) const { return _kind; }
    double support(void) const;
    double evaluate(double x) const;
    const char *name(void) const;

    /*! Case-insensitive lookup of the names that name() returns ("box", "bilinear", "mitchell",
        "catmullrom", "lanczos3"; also "triangle", "linear", "lanczos"). False if unknown. */
    static bool fromName(const std::string &name, ImageGenericFilter &filter);
    /*! The accepted names, separated by ", ". */
    static std::string names(void);

  private:
    Kind _kind;
};

class ImageScaler
{
  public:
    /*! Resamples each src[i] (srcWidth x srcHeight x srcDepth pixels of components interleaved
        values, rows and slices contiguous) into dst[i] (dstWidth x dstHeight x dstDepth). Returns
        false, leaving dst untouched, when the lists differ in length, a pointer is null, a size or
        the component count is not positive, a buffer would exceed the address space, or a source
        and a destination overlap. */
    static bool scale(const std::vector<const unsigned char *> &src,
                      const std::vector<unsigned char *>       &dst,
                      int srcWidth, int srcHeight, int srcDepth,
                      int dstWidth, int dstHeight, int dstDepth,
                      int components,
                      const ValueHandler       &handler,
                      const ImageGenericFilter &filter);

    /*! Fills mipmap levels 1 .. levels-1 of each buffer from its level 0: every level halves each
        dimension (not below 1) of the one before and is filtered from it with the given filter;
        levels follow one another without gaps, as OpenSG lays them out. levels <= 1 does nothing. */
    static bool buildMipmaps(const std::vector<unsigned char *> &buffers,
                             int width, int height, int depth, int levels,
                             int components,
                             const ValueHandler       &handler,
                             const ImageGenericFilter &filter);

    /*! Bytes of levels 0 .. levels-1 of one buffer (0 if an argument is invalid). */
    static std::size_t mipmapBytes(int width, int height, int depth, int levels, int components,
                                   std::size_t valueSize);

    ImageScaler(void) = delete;
};

} // namespace skUtils

#endif
