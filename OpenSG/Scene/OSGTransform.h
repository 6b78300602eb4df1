#ifndef _OSGTRANSFORM_H_
#define _OSGTRANSFORM_H_

#include <OpenSG/OSGTransformBase.h>

namespace osg {

/*! A group whose matrix maps its children's coordinates into the node's: the node's to-world
    matrix is the parent's post-multiplied by it, and the node's volume is the children's volume
    transformed by it. */
class Transform : public TransformBase
{
  public:
    typedef TransformBase Inherited;

    void accumulateMatrix(Matrix &result) override;

    void changed(BitVector whichField, UInt32 origin) override;

    /*! IntersectAction's functors: the line into and out of the children's coordinates
        (IntersectAction::enterTransform, leaveTransform). Derived transform cores register
        them for their own types. */
    Action::ResultE intersectEnter(Action *action);
    Action::ResultE intersectLeave(Action *action);

  protected:
    friend class FieldContainer;
    friend class TransformBase;

    /*! Registers the intersect functors for this type. */
    static void initMethod(void);

    Transform(void);
    Transform(const Transform &source);
    ~Transform(void) override;

    void adjustVolume(Volume &volume) override;
};

} // namespace osg

#endif
