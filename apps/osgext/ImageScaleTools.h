#ifndef SKOSG_APPS_OSGEXT_IMAGESCALETOOLS_H
#define SKOSG_APPS_OSGEXT_IMAGESCALETOOLS_H

// The tool's image scaling: --scale WxH[xD] and --filter NAME of `osgext image convert`.

#include <OpenSG/OSGImage.h>

#include <ostream>
#include <string>

namespace osgext {

/*! "WxH" or "WxHxD" with positive numbers; false otherwise. */
bool parseScaleSize(const std::string &text, int &width, int &height, int &depth);

/*! Replaces image (holding one reference) by its copy scaled to size with the named filter
    (empty: Lanczos-3). False, with a message on err and the image unchanged, when the size or
    filter is not understood or the image cannot be scaled. */
bool scaleImageForTool(osg::ImagePtr &image, const std::string &size, const std::string &filter,
                       std::ostream &err);

} // namespace osgext

#endif
