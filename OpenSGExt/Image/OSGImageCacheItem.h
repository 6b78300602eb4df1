#ifndef _OSGIMAGECACHEITEM_H_
#define _OSGIMAGECACHEITEM_H_

#include <OpenSGExt/OSGImageCacheItemBase.h>

#include <iosfwd>

namespace osg {

/*! An image kept under a key (id). How items are looked up is the business of the code that owns
    the cache. The image field holds no reference of its own: whoever stores an image here keeps
    it alive (addRefCP) for as long as the item should point to it. */
class ImageCacheItem : public ImageCacheItemBase
{
  public:
    typedef ImageCacheItemBase Inherited;

    /*! Prints "Dump ImageCacheItem NI" to standard output. */
    void dump(UInt32 uiIndent = 0, const BitVector bvFlags = BitVector(0)) const override;
    void dump(std::ostream &os, UInt32 uiIndent = 0) const;

  protected:
    friend class FieldContainer;
    friend class ImageCacheItemBase;

    ImageCacheItem(void);
    ImageCacheItem(const ImageCacheItem &source);
    ~ImageCacheItem(void) override;
};

} // namespace osg

#endif
