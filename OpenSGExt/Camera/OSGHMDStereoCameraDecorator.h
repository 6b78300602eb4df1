#ifndef _OSGHMDSTEREOCAMERADECORATOR_H_
#define _OSGHMDSTEREOCAMERADECORATOR_H_

#include <OpenSGExt/OSGHMDStereoCameraDecoratorBase.h>

namespace osg {

/*! Stereo for head-mounted displays, which hand over one viewing (head to eye) and one
    projection matrix per eye.

    Eye choice: -1 lets leftEye decide, 0 is the left eye, anything else the right eye.
    Viewing: the decoratee's viewing V, then E * V with the chosen eye's viewing matrix E (it
    acts in head space), then T(adjust) * that when the eye's adjust vector is not zero.
    Projection: the eye's matrix as the display gave it; with the depth flag its two depth
    terms are rebuilt for reversed depth from the decoratee's near and far. The projection
    translation is the identity: the eye offset is part of E. Without a decoratee every getter
    that needs it warns "HMDStereoCameraDecorator::<getter>: no camera!" and answers the
    identity.

    The eye separation lives in the display's eye matrices: setEyeSeparation stores nothing.
    getEyeDistance answers the distance between the two eye positions those matrices imply;
    it is cached, and the cache is dropped whenever the eye separation is set or an eye
    matrix changes. projectionMatrix, the viewport regions, eye centres, hidden-area mesh and
    useCombinedFrustumForCulling are for the renderer that reads them. */
class HMDStereoCameraDecorator : public HMDStereoCameraDecoratorBase
{
  public:
    typedef HMDStereoCameraDecoratorBase Inherited;

    void getViewing(Matrix &result, UInt32 width, UInt32 height, Int32 eye = -1) override;
    void getProjection(Matrix &result, UInt32 width, UInt32 height, Int32 eye = -1,
                       bool depthFlag = false) override;
    void getProjectionTranslation(Matrix &result, UInt32 width, UInt32 height,
                                  Int32 eye = -1) override;

    void getLeftEyeViewing (Matrix &result, UInt32 width, UInt32 height);
    void getRightEyeViewing(Matrix &result, UInt32 width, UInt32 height);
    /*! The stored matrices, unchanged. */
    void getLeftEyeProjection (Matrix &result, UInt32 width, UInt32 height, bool depthFlag);
    void getRightEyeProjection(Matrix &result, UInt32 width, UInt32 height, bool depthFlag);

    /*! Stores nothing (see above); drops the cache. */
    void setEyeSeparation(const Real32 &value);

    /*! Distance between the eye positions of the two eye viewing matrices (cached). A
        singular eye matrix counts as an eye at the head's origin. */
    Real32 getEyeDistance(void);
    bool   isCacheValid(void) const { return _cacheValid; }

    void changed(BitVector whichField, UInt32 origin) override;

  protected:
    friend class FieldContainer;
    friend class HMDStereoCameraDecoratorBase;

    HMDStereoCameraDecorator(void);
    HMDStereoCameraDecorator(const HMDStereoCameraDecorator &source);
    ~HMDStereoCameraDecorator(void) override;

  private:
    void eyeViewing(Matrix &result, UInt32 width, UInt32 height, Int32 decorateeEye, bool left,
                    const Char8 *who);

    bool   _cacheValid  = false;
    Real32 _eyeDistance = 0.f;
};

} // namespace osg

#endif
