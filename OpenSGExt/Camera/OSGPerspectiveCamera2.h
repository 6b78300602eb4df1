#ifndef _OSGPERSPECTIVECAMERA2_H_
#define _OSGPERSPECTIVECAMERA2_H_

#include <OpenSGExt/OSGPerspectiveCamera2Base.h>
#include <OpenSGExt/OSGCameraSetting.h>

namespace osg {

/*! The library's camera: a perspective camera whose optical and placement state lives in a
    CameraSetting (the cameraSetting field) and whose projection comes from a physical model
    (sensor, focal length, principal point, skew; skCameraModel) instead of a bare opening angle.

    Forwarding: each get/set pair below reads or writes the named setting field; setters edit
    the setting (begin/end edit, so that its changed() runs). Without a setting a getter warns
    "Camera has no Setting! Can't get <word>." and answers a neutral value (0, false, the
    identity, a zero vector; getFov the camera's own fallback value), and a setter warns
    "Camera has no Setting! Can't set <word>." and does nothing.

    Ownership: the camera holds one reference to its setting, taken by setCameraSetting (which
    gives back the old one) and given back on destruction; a shallow copy takes its own. Reading
    or synchronising the field takes none unless the edit ends with the origin
    Abstract|AbstrIncRefCount.

    Placement without a setting: getFromAtUp answers eye (0, 0, 0) looking down -z with y up,
    or, when the process treats +Z as up (skOpenSGExt::setCameraZUp), looking along +y with z
    up. A setting always supplies its own from, at and up. */
class PerspectiveCamera2 : public PerspectiveCamera2Base
{
  public:
    typedef PerspectiveCamera2Base Inherited;

    /*---------------------------- matrices -------------------------------*/

    /*! The beacon's matrix (Camera::getTransform), or, when the setting uses its transform or
        aim beacon, the look-at (camera-to-world) matrix of the setting's from, at and up. */
    void getTransform(Matrix &result, CameraSpace space) const override;

    /*! In order: the manual projection matrix when enabled (no scale); the identity for a
        negative field of view or an empty viewport; the orthographic view plane (rewritten
        first when its aspect differs from the viewport's by more than 0.001: top = left / a,
        bottom = right / a, and then passed as MatrixOrthogonal(left, right, top, bottom) so
        that the rewritten values land the right way up); the manual frustum
        (MatrixFrustum(left, right, bottom, top)); else MatrixICPProjection. Clipping planes are
        the setting's when useNearFar is set, else 100 and 200. Finally the columns 0, 1, 2
        are multiplied by the setting's scale unless it is (1, 1, 1) within 1e-6. Without a
        setting: "Camera has no Setting! Can't get projection." and the identity. */
    void getProjection(Matrix &result, UInt32 width, UInt32 height, Int32 eye = -1,
                       bool depthFlag = false) override;

    /*! The manual view matrix when enabled; otherwise the inverse of getTransform(world)
        turned by roll (degrees) about the camera's z axis, with the rotation replaced by
        lockedRotation when rotation is locked and the position pinned to lockedFrom when
        translation is locked (for the view-cube camera the pin is applied after the inversion,
        for others before it). */
    void getViewing(Matrix &result, UInt32 width, UInt32 height, Int32 eye = -1) override;

    /*! The intrinsic matrix of the setting for a viewport (skCameraModel::kMatrix); without a
        setting "Camera has no Setting! Can't get K-Matrix." and the identity. */
    Matrix getKMatrix(Real32 width, Real32 height) const;

    /*! The projection of the physical model (skCameraModel::projection); always true. */
    bool MatrixICPProjection(Matrix &result, Real32 width, Real32 height, Real32 rNear,
                             Real32 rFar, bool depthFlag) const;

    void getFromAtUp(Pnt3f &from, Pnt3f &at, Vec3f &up) const;

    /*---------------------------- setting --------------------------------*/

    void setCameraSetting(const CameraSettingPtr &setting);

          Real32 &getNear(void) override;
    const Real32 &getNear(void) const override;
    void          setNear(const Real32 &value) override;
          Real32 &getFar(void) override;
    const Real32 &getFar(void) const override;
    void          setFar(const Real32 &value) override;

    /*---------------------------- forwarding accessors -------------------*/

    void          setFov(const Real32 &fov) override;
          Real32 &getFov(void) override;
    const Real32 &getFov(void) const override;
    void   setFovMode(const UInt32 &mode);
    UInt32 getFovMode(void) const;

    Real32 getLeft  (void) const;
    Real32 getRight (void) const;
    Real32 getTop   (void) const;
    Real32 getBottom(void) const;
    void   setLeft  (Real32 value);
    void   setRight (Real32 value);
    void   setTop   (Real32 value);
    void   setBottom(Real32 value);
    void   setViewPlane(Real32 left, Real32 right, Real32 bottom, Real32 top);
    void   getViewPlane(Real32 &left, Real32 &right, Real32 &bottom, Real32 &top) const;

    bool getOrthographic(void) const;
    void setOrthographic(bool value);
    bool getUseManualFrustum(void) const;
    void setUseManualFrustum(bool value);
    bool   getUseManualProjectionMatrix(void) const;
    void   setUseManualProjectionMatrix(bool value);
    Matrix getManualProjectionMatrix(void) const;
    void   setManualProjectionMatrix(const Matrix &value);
    bool   getUseManualViewMatrix(void) const;
    void   setUseManualViewMatrix(bool value);
    Matrix getManualViewMatrix(void) const;
    void   setManualViewMatrix(const Matrix &value);

    Real32     getRoll(void) const;
    void       setRoll(Real32 degrees);
    bool       getLockRotation(void) const;
    void       setLockRotation(bool value);
    Quaternion getLockedRotation(void) const;
    void       setLockedRotation(const Quaternion &value);
    bool       getLockTranslation(void) const;
    void       setLockTranslation(bool value);
    Pnt3f      getLockedFrom(void) const;
    void       setLockedFrom(const Pnt3f &value);
    Pnt3f      getLockedAt(void) const;
    void       setLockedAt(const Pnt3f &value);
    Vec3f      getLockedUp(void) const;
    void       setLockedUp(const Vec3f &value);

    Pnt3f getFrom(void) const;
    void  setFrom(const Pnt3f &value);
    Pnt3f getAt(void) const;
    void  setAt(const Pnt3f &value);
    Vec3f getUp(void) const;
    void  setUp(const Vec3f &value);
    bool  getZUp(void) const;
    void  setZUp(bool value);

    Real32 getDistance(void) const;
    void   setDistance(Real32 value);
    Real32 getHeight(void) const;
    void   setHeight(Real32 value);
    Real32 getTurnTableAngle(void) const;
    void   setTurnTableAngle(Real32 degrees);

    bool getIsViewpoint(void) const;
    void setIsViewpoint(bool value);
    bool getMotionBlur(void) const;
    void setMotionBlur(bool value);
    bool getDepthOfField(void) const;
    void setDepthOfField(bool value);

    Real32 getFocalLength(void) const;
    void   setFocalLength(Real32 value);
    Real32 getFStop(void) const;
    void   setFStop(Real32 value);
    Real32 getApertureDiameter(void) const;
    void   setApertureDiameter(Real32 value);
    Real32 getFocusDistance(void) const;
    void   setFocusDistance(Real32 value);
    Real32 getSensorWidth(void) const;
    void   setSensorWidth(Real32 value);
    Real32 getSensorHeight(void) const;
    void   setSensorHeight(Real32 value);
    void   setSensorDimensions(Real32 width, Real32 height);
    void   getSensorDimensions(Real32 &width, Real32 &height) const;
    Real32 getShutterSpeed(void) const;
    void   setShutterSpeed(Real32 value);

    Vec2f  getPrincipalPointOffset(void) const;
    void   setPrincipalPointOffset(const Vec2f &value);
    UInt32 getPrincipalPointOffsetUnit(void) const;
    void   setPrincipalPointOffsetUnit(UInt32 value);
    Real32 getSkewFactor(void) const;
    void   setSkewFactor(Real32 value);
    Vec3f  getScale(void) const;
    void   setScale(const Vec3f &value);

    bool isDefaultFront(void) const;
    void setIsDefaultFront(bool value);
    bool isDefaultSide(void) const;
    void setIsDefaultSide(bool value);
    bool isDefaultTop(void) const;
    void setIsDefaultTop(bool value);
    bool isDefaultPersp(void) const;
    void setIsDefaultPersp(bool value);

    bool getAnimationCamera(void) const;
    void setAnimationCamera(bool value);

    void changed(BitVector whichField, UInt32 origin) override;
    void dump(UInt32 uiIndent = 0, const BitVector bvFlags = BitVector(0)) const override;

  protected:
    friend class FieldContainer;
    friend class PerspectiveCamera2Base;

    PerspectiveCamera2(void);
    PerspectiveCamera2(const PerspectiveCamera2 &source);
    ~PerspectiveCamera2(void) override;

    void onCreate(const PerspectiveCamera2 *source = NULL);
    void onDestroy(void) override;

  private:
    CameraSetting *setting(void) const { return getCameraSetting().getCPtr(); }
    /*! The setting, or NULL after "Camera has no Setting! Can't <verb> <word>.". */
    CameraSetting *settingOrWarn(const Char8 *verb, const Char8 *word) const;

    /*! getFov's answer without a setting. */
    Real32 _fallbackFov = 0.f;
    /*! getNear/getFar's answer without a setting. */
    Real32 _fallbackClip = 0.f;
};

} // namespace osg

#endif
