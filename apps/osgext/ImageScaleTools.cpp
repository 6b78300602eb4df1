#include "ImageScaleTools.h"

#include <OpenSGExt/OSGImageScaler.h>

#include <cstdlib>
#include <sstream>
#include <vector>

namespace osgext {

bool parseScaleSize(const std::string &text, int &width, int &height, int &depth)
{
    std::vector<long> parts;
    std::string       part;
    std::istringstream is(text);
    while(std::getline(is, part, 'x'))
    {
        if(part.empty() || part.size() > 6 || part.find_first_not_of("0123456789") != std::string::npos)
            return false;
        parts.push_back(std::strtol(part.c_str(), nullptr, 10));
    }
    if(!text.empty() && text.back() == 'x')
        return false;
    if(parts.size() < 2 || parts.size() > 3)
        return false;
    for(long p : parts)
        if(p <= 0)
            return false;
    width  = int(parts[0]);
    height = int(parts[1]);
    depth  = parts.size() == 3 ? int(parts[2]) : 1;
    return true;
}

bool scaleImageForTool(osg::ImagePtr &image, const std::string &size, const std::string &filter,
                       std::ostream &err)
{
    int w = 0, h = 0, d = 0;
    if(!parseScaleSize(size, w, h, d))
    {
        err << "osgext image: --scale wants WIDTHxHEIGHT[xDEPTH], not '" << size << "'\n";
        return false;
    }
    skUtils::ImageGenericFilter kernel;
    if(!filter.empty() && !skUtils::ImageGenericFilter::fromName(filter, kernel))
    {
        err << "osgext image: unknown filter '" << filter << "' (known: "
            << skUtils::ImageGenericFilter::names() << ")\n";
        return false;
    }
    osg::ImagePtr scaled = osg::NullFC;
    if(!osg::ImageScaler::scale(image, scaled, w, h, d, kernel))
    {
        err << "osgext image: cannot scale the image to " << size << "\n";
        if(scaled != osg::NullFC)
        {
            osg::addRefCP(scaled);
            osg::subRefCP(scaled);
        }
        return false;
    }
    osg::addRefCP(scaled);
    osg::subRefCP(image);
    image = scaled;
    return true;
}

} // namespace osgext
