#ifndef _OSGANIMOBJECT_H_
#define _OSGANIMOBJECT_H_

#include <OpenSGExt/OSGAnimObjectBase.h>

namespace osg {

class Volume;

/*! The node core that every animation object shares (curves, blocks, clips, sequences, shots):
    activity, name, and its time scale and offset with their accumulated values down the tree.
    It has no extent of its own; derived cores add theirs in adjustVolume. */
class AnimObject : public AnimObjectBase
{
  public:
    typedef AnimObjectBase Inherited;

    /*! Extends volume by this object's own extent (nothing for a plain object). Public so that
        the animation tree can gather its volumes without going through the scene graph. */
    void adjustVolume(Volume &volume) override;

  protected:
    friend class FieldContainer;
    friend class AnimObjectBase;

    AnimObject(void);
    AnimObject(const AnimObject &source);
    ~AnimObject(void) override;
};

} // namespace osg

#endif
