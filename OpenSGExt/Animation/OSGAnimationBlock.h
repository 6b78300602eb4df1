#ifndef _OSGANIMATIONBLOCK_H_
#define _OSGANIMATIONBLOCK_H_

#include <OpenSGExt/OSGAnimationBlockBase.h>
#include <OpenSGExt/OSGAnimationCurve.h>
#include <OpenSG/OSGNode.h>
#include <set>

namespace osg {

/*! Curves grouped over a time span. Ownership: each entry of curves and appropriateNode hold
    one reference. */
class AnimationBlock : public AnimationBlockBase
{
  public:
    typedef AnimationBlockBase Inherited;

    /*! Appends a curve (null ignored), referencing it; no edit is opened. */
    void addCurve(const AnimationCurvePtr &curve);

    void setAppropriateNode(const NodePtr &node);
    void setAppropriateNodeNoRefCount(const NodePtr &node);

    /*! Inserts the block's curves into curves. */
    void getReferencedCurvesAndBlocks(std::set<AnimationCurvePtr> &curves,
                                      std::set<AnimationBlockPtr> &blocks) const;

    /*! Takes the references of pointers read by a load (origin Abstract|AbstrIncRefCount). */
    void changed(BitVector whichField, UInt32 origin) override;

  protected:
    friend class FieldContainer;
    friend class AnimationBlockBase;

    AnimationBlock(void);
    AnimationBlock(const AnimationBlock &source);
    ~AnimationBlock(void) override;

    /*! A copy references the pointers it copied from its source. */
    void onCreate(const AnimationBlock *source = NULL);
    /*! Releases every held reference (nothing while OpenSG shuts down). */
    void onDestroy(void) override;
};

} // namespace osg

#endif
