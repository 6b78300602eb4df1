#ifndef _OSGANIMBLOCK_H_
#define _OSGANIMBLOCK_H_

#include <OpenSGExt/OSGAnimBlockBase.h>

namespace osg {

/*! The animation core for blocks of the animation tree (block-node searches recognise it). Its own fields are not defined yet: it is registered with
    its parent so that animation trees and files can hold it and the searches and time edits
    can recognise its type. */
class AnimBlock : public AnimBlockBase
{
  public:
    typedef AnimBlockBase Inherited;

  protected:
    friend class FieldContainer;
    friend class AnimBlockBase;

    AnimBlock(void);
    AnimBlock(const AnimBlock &source);
    ~AnimBlock(void) override;
};

} // namespace osg

#endif
