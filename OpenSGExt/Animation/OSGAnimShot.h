#ifndef _OSGANIMSHOT_H_
#define _OSGANIMSHOT_H_

#include <OpenSGExt/OSGAnimShotBase.h>

namespace osg {

/*! The animation core for camera shots. Its own fields are not defined yet: it is registered with
    its parent so that animation trees and files can hold it and the searches and time edits
    can recognise its type. */
class AnimShot : public AnimShotBase
{
  public:
    typedef AnimShotBase Inherited;

  protected:
    friend class FieldContainer;
    friend class AnimShotBase;

    AnimShot(void);
    AnimShot(const AnimShot &source);
    ~AnimShot(void) override;
};

} // namespace osg

#endif
