#include <OpenSGExt/OSGImageCacheItem.h>

#include <iostream>
#include <string>

namespace osg {

ImageCacheItem::ImageCacheItem(void) : Inherited()
{
}

ImageCacheItem::ImageCacheItem(const ImageCacheItem &source) : Inherited(source)
{
}

ImageCacheItem::~ImageCacheItem(void) = default;

void ImageCacheItem::dump(UInt32 uiIndent, const BitVector) const
{
    dump(std::cout, uiIndent);
}

void ImageCacheItem::dump(std::ostream &os, UInt32 uiIndent) const
{
    os << std::string(uiIndent, ' ') << "Dump ImageCacheItem NI" << std::endl;
}

} // namespace osg
