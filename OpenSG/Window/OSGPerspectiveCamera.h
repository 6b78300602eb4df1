#ifndef _OSGPERSPECTIVECAMERA_H_
#define _OSGPERSPECTIVECAMERA_H_

#include <OpenSG/OSGPerspectiveCameraBase.h>

namespace osg {

/*! A camera with a symmetric perspective frustum: fov is the full opening angle (radians; a
    value above pi is read as degrees), fovMode says which opening it fixes, aspect is the
    shape of one pixel. */
class PerspectiveCamera : public PerspectiveCameraBase
{
  public:
    typedef PerspectiveCameraBase Inherited;

    enum FovMode
    {
        FOV_vertical   = 0,
        FOV_horizontal = 1,
        /*! The smaller of the two openings. */
        FOV_smaller    = 2
    };

    /*! The opening is virtual so that a camera keeping its optics elsewhere can answer it to
        code that knows it only as a PerspectiveCamera (decorators). */
    virtual       Real32 &getFov(void);
    virtual const Real32 &getFov(void) const;
    virtual void          setFov(const Real32 &value);

    /*! A negative fov or an empty viewport give the identity; near beyond far, a tiny fov,
        near ~= far or a tiny aspect are warned about ("MatrixPerspective: ...") and give the
        identity; an unknown fovMode gives the identity. */
    void getProjection(Matrix &result, UInt32 width, UInt32 height, Int32 eye = -1,
                       bool depthFlag = false) override;

  protected:
    friend class FieldContainer;
    friend class PerspectiveCameraBase;

    PerspectiveCamera(void);
    PerspectiveCamera(const PerspectiveCamera &source);
    ~PerspectiveCamera(void) override;
};

} // namespace osg

#endif
