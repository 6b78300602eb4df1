#ifndef _OSGANIMWIZCLIP_H_
#define _OSGANIMWIZCLIP_H_

#include <OpenSGExt/OSGAnimWizClipBase.h>

namespace osg {

/*! The animation core for clips made by a wizard. Its own fields are not defined yet: it is registered with
    its parent so that animation trees and files can hold it and the searches and time edits
    can recognise its type. */
class AnimWizClip : public AnimWizClipBase
{
  public:
    typedef AnimWizClipBase Inherited;

  protected:
    friend class FieldContainer;
    friend class AnimWizClipBase;

    AnimWizClip(void);
    AnimWizClip(const AnimWizClip &source);
    ~AnimWizClip(void) override;
};

} // namespace osg

#endif
