#ifndef _OSGOVERLAPCAMERADECORATOR_H_
#define _OSGOVERLAPCAMERADECORATOR_H_

#include <OpenSGExt/OSGOverlapCameraDecoratorBase.h>

namespace osg {

/*! One projector tile of a wall whose neighbouring tiles overlap so that their edges can be
    blended. The decoratee gives the tile's own projection (a camera, or a decorator that
    selects the tile); this decorator widens that frustum by overlap pixels on each side, as
    projector-wall software does, so the rendered image holds the blend zone as well.

    Pixels are those of the full size: fullWidth x fullHeight is the size in pixels of the
    image the decoratee's frustum spans at full resolution (setFullSize sets both; 0 means the
    viewport's own size). The widened frustum spans fullWidth + 2 overlap pixels where the
    decoratee's spanned fullWidth (likewise vertically), so the projection is
    S * P0 with S = diag(Wf / (Wf + 2o), Hf / (Hf + 2o), 1, 1) applied in clip space (the
    frustum's centre stays). getDecoration applies the same S to the decoratee's decoration so
    that screen-space layers line up. Without a decoratee:
    "OverlapCameraDecorator::getProjection: no decoratee!" and the identity. */
class OverlapCameraDecorator : public OverlapCameraDecoratorBase
{
  public:
    typedef OverlapCameraDecoratorBase Inherited;

    void setFullSize(UInt32 width, UInt32 height);

    void getProjection(Matrix &result, UInt32 width, UInt32 height, Int32 eye = -1,
                       bool depthFlag = false) override;
    void getDecoration(Matrix &result, UInt32 width, UInt32 height) override;

  protected:
    friend class FieldContainer;
    friend class OverlapCameraDecoratorBase;

    OverlapCameraDecorator(void);
    OverlapCameraDecorator(const OverlapCameraDecorator &source);
    ~OverlapCameraDecorator(void) override;

  private:
    Matrix widening(UInt32 width, UInt32 height) const;
};

} // namespace osg

#endif
