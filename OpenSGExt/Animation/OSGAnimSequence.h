#ifndef _OSGANIMSEQUENCE_H_
#define _OSGANIMSEQUENCE_H_

#include <OpenSGExt/OSGAnimSequenceBase.h>

namespace osg {

/*! The animation core for sequences of the animation tree. Its own fields are not defined yet: it is registered with
    its parent so that animation trees and files can hold it and the searches and time edits
    can recognise its type. */
class AnimSequence : public AnimSequenceBase
{
  public:
    typedef AnimSequenceBase Inherited;

  protected:
    friend class FieldContainer;
    friend class AnimSequenceBase;

    AnimSequence(void);
    AnimSequence(const AnimSequence &source);
    ~AnimSequence(void) override;
};

} // namespace osg

#endif
