#ifndef _OSGANIMATIONCURVE_H_
#define _OSGANIMATIONCURVE_H_

#include <OpenSGExt/OSGAnimationCurveBase.h>
#include <OpenSGExt/OSGAnimationControlPoint.h>
#include <OpenSG/OSGNode.h>
#include <set>

namespace osg {

/*! A curve of the flat model: keys driving one field (the aF fields) of one container.
    Ownership: each entry of curvePoints and the nodes appropriateNode and aFAppNode hold one
    reference each. The generated setters and field edits do not count; the operations here do,
    and so do loading, copying and destruction. */
class AnimationCurve : public AnimationCurveBase
{
  public:
    typedef AnimationCurveBase Inherited;

    /*! Appends a key (null ignored), referencing it; no edit is opened. */
    void addCurvePoint(const AnimationControlPointPtr &point);

    /*! Move the field's reference from the old node to the new one (nothing when equal). */
    void setAppropriateNode(const NodePtr &node);
    void setAFAppNode      (const NodePtr &node);
    /*! Store the pointer only; the caller keeps the counts balanced. */
    void setAppropriateNodeNoRefCount(const NodePtr &node);
    void setAFAppNodeNoRefCount      (const NodePtr &node);

    /*! Takes the references of pointers read by a load (origin Abstract|AbstrIncRefCount). */
    void changed(BitVector whichField, UInt32 origin) override;

  protected:
    friend class FieldContainer;
    friend class AnimationCurveBase;

    AnimationCurve(void);
    AnimationCurve(const AnimationCurve &source);
    ~AnimationCurve(void) override;

    /*! A copy references the pointers it copied from its source. */
    void onCreate(const AnimationCurve *source = NULL);
    /*! Releases every held reference (nothing while OpenSG shuts down). */
    void onDestroy(void) override;
};

} // namespace osg

#endif
