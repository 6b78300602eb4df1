#ifndef _OSGCAMERADECORATOR_H_
#define _OSGCAMERADECORATOR_H_

#include <OpenSG/OSGCameraDecoratorBase.h>

namespace osg {

/*! A camera that wraps another one, the decoratee, and answers its matrices, changed as the
    concrete decorator needs. Beacon, near and far are the decoratee's: the getters answer its
    values and the setters edit it (begin/end edit on the decoratee). Without a decoratee each
    matrix getter warns "CameraDecorator::<method>: no decoratee!" and answers the identity, and
    the field accessors fall back to the decorator's own (otherwise unused) fields.
    getDecoration is not forwarded: a plain decorator does not tile. */
class CameraDecorator : public CameraDecoratorBase
{
  public:
    typedef CameraDecoratorBase Inherited;

          NodePtr &getBeacon(void) override;
    const NodePtr &getBeacon(void) const override;
    void           setBeacon(const NodePtr &value) override;

          Real32 &getNear(void) override;
    const Real32 &getNear(void) const override;
    void          setNear(const Real32 &value) override;

          Real32 &getFar(void) override;
    const Real32 &getFar(void) const override;
    void          setFar(const Real32 &value) override;

    void getTransform(Matrix &result, CameraSpace space) const override;
    void getProjection(Matrix &result, UInt32 width, UInt32 height, Int32 eye = -1,
                       bool depthFlag = false) override;
    void getProjectionTranslation(Matrix &result, UInt32 width, UInt32 height,
                                  Int32 eye = -1) override;
    void getViewing(Matrix &result, UInt32 width, UInt32 height, Int32 eye = -1) override;

  protected:
    friend class FieldContainer;
    friend class CameraDecoratorBase;

    CameraDecorator(void);
    CameraDecorator(const CameraDecorator &source);
    ~CameraDecorator(void) override;

    /*! The decoratee, or NULL after a warning "<who>: no decoratee!". */
    Camera *decorateeOrWarn(const Char8 *who) const;
};

} // namespace osg

#endif
