#ifndef _OSGANIMCLIP_H_
#define _OSGANIMCLIP_H_

#include <OpenSGExt/OSGAnimClipBase.h>

namespace osg {

/*! The animation core for clips of the animation tree. Its own fields are not defined yet: it is registered with
    its parent so that animation trees and files can hold it and the searches and time edits
    can recognise its type. */
class AnimClip : public AnimClipBase
{
  public:
    typedef AnimClipBase Inherited;

  protected:
    friend class FieldContainer;
    friend class AnimClipBase;

    AnimClip(void);
    AnimClip(const AnimClip &source);
    ~AnimClip(void) override;
};

} // namespace osg

#endif
