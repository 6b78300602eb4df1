#ifndef SKOSG_APPS_OSGEXT_IMAGETOOLS_H
#define SKOSG_APPS_OSGEXT_IMAGETOOLS_H
// Pixel conversions the image commands and the demo share: channel layouts and sample types
// between what files hold and what a writer takes, and an "over" composite of layers.

#include <OpenSG/OSGImage.h>

#include <string>
#include <vector>

namespace osgext {

/*! A new, referenced image: `src` (first frame, side and level) as L, LA, RGB or RGBA with
    `wantAlpha`/`wantColor`, in 8-bit (`wantFloat` false, values clamped to [0, 1]) or 32-bit
    float samples. NullFC for images it cannot convert (compressed, 3D, no data). */
osg::ImagePtr convertImage(const osg::ImagePtr &src, bool wantColor, bool wantAlpha,
                           bool wantFloat);

/*! A new, referenced image of the layers' size and format (all alike): each layer laid over
    the ones before it with its alpha ("over", non-premultiplied). */
osg::ImagePtr compositeLayers(const std::vector<osg::ImagePtr> &layers);

/*! "WxH RGBA 8-bit" etc. */
std::string describeImage(const osg::ImagePtr &image);

} // namespace osgext

#endif
