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

  protected:
    friend class FieldContainer;
    friend class TransformBase;

    Transform(void);
    Transform(const Transform &source);
    ~Transform(void) override;

    void adjustVolume(Volume &volume) override;
};

} // namespace osg

#endif
