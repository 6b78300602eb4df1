#ifndef _OSGCAMERA_H_
#define _OSGCAMERA_H_

#include <OpenSG/OSGCameraBase.h>
#include <OpenSG/OSGMatrix.h>

namespace osg {

/*! The base of all cameras. A camera answers, for a viewport of width x height pixels and an
    eye, three matrices that a renderer multiplies as P * PT * V:
    - getViewing (V): world to eye coordinates;
    - getProjection (P): eye to clip coordinates, OpenGL's convention; the depth flag asks for
      the reversed [0, 1] depth range (near -> 1, far -> 0) instead of OpenGL's [-1, 1];
    - getProjectionTranslation (PT): an extra eye-space shift (stereo), identity by default.
    getDecoration is a screen-space matrix for tiled views (identity unless a decorator tiles).

    The eye argument: -1 lets a stereo decorator's own leftEye field decide, 0 is the left eye,
    any other value the right eye. Plain cameras ignore it.

    Placement: the camera sits where its beacon node is; getTransform answers that placement as
    a camera-to-space matrix, and the default getViewing is its inverse in world space.

    The beacon, near and far accessors are virtual so that a decorator can answer its
    decoratee's values and a camera that keeps its optics elsewhere can forward them; code that
    holds a Camera should use these rather than the fields' own accessors. */
class Camera : public CameraBase
{
  public:
    typedef CameraBase Inherited;

    /*! Space of getTransform's result. */
    enum CameraSpace
    {
        /*! The beacon's own matrix: camera to the beacon's parent. */
        CameraToParent = 0,
        /*! The beacon's to-world matrix: camera to world. */
        CameraToWorld  = 1
    };

    /*---------------------------- decoratable fields ---------------------*/

    virtual       NodePtr &getBeacon(void);
    virtual const NodePtr &getBeacon(void) const;
    virtual void           setBeacon(const NodePtr &value);

    virtual       Real32 &getNear(void);
    virtual const Real32 &getNear(void) const;
    virtual void          setNear(const Real32 &value);

    virtual       Real32 &getFar(void);
    virtual const Real32 &getFar(void) const;
    virtual void          setFar(const Real32 &value);

    /*---------------------------- matrices -------------------------------*/

    /*! Camera placement: the beacon's matrix in the given space. Without a beacon: a warning
        "Camera::getTransform: no beacon!" and the identity. */
    virtual void getTransform(Matrix &result, CameraSpace space) const;

    /*! Identity with a warning "Camera::getProjection: not implemented!": every concrete camera
        has its own. */
    virtual void getProjection(Matrix &result, UInt32 width, UInt32 height, Int32 eye = -1,
                               bool depthFlag = false);

    /*! Identity. */
    virtual void getProjectionTranslation(Matrix &result, UInt32 width, UInt32 height,
                                          Int32 eye = -1);

    /*! The inverse of getTransform(CameraToWorld). Without a beacon: a warning
        "Camera::getViewing: no beacon!" and the identity. */
    virtual void getViewing(Matrix &result, UInt32 width, UInt32 height, Int32 eye = -1);

    /*! Identity. */
    virtual void getDecoration(Matrix &result, UInt32 width, UInt32 height);

    /*! P * PT * V: world to clip coordinates. */
    void getWorldToScreen(Matrix &result, UInt32 width, UInt32 height, Int32 eye = -1,
                          bool depthFlag = false);

  protected:
    friend class FieldContainer;
    friend class CameraBase;

    Camera(void);
    Camera(const Camera &source);
    ~Camera(void) override;
};

} // namespace osg

#endif
