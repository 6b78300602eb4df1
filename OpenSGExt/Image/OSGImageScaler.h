#ifndef _OSGIMAGESCALER_H_
#define _OSGIMAGESCALER_H_

#include <OpenSG/OSGImage.h>

#include <OpenSGExt/OSGValueHandlerTempl.h>

#include <platform/skImageScaler.h>

namespace osg {

/*! Resizes an image, every frame and side, with the host's resampler. */
class ImageScaler
{
  public:
    /*! Scales src to width x height x depth into dst (a new image when dst is null) with the
        given filter. The data types 8-, 16- and 32-bit unsigned, 32-bit float and half float are
        scalable; any other is refused with "PixelType not scalable" and dst is left alone.
        dst gets src's pixel format, data type, frame count, frame delay and side count; when src
        has two or more mipmap levels, dst gets a full chain down to 1x1 (at most as many levels
        as src has), each level filtered from the one above. "Unable to set image format" and
        false when dst cannot take the size (or the sizes are not positive). Returns the
        resampler's result. */
    static bool scale(ImagePtr src, ImagePtr &dst, int width, int height, int depth,
                      const skUtils::ImageGenericFilter &filter);

    /*! The value handler for a data type code, or null when the type is not scalable. */
    static const skUtils::ValueHandler *getValueHandler(Int32 dataType);

    ImageScaler(void) = delete;
};

} // namespace osg

#endif
