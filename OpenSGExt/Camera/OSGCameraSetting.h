#ifndef _OSGCAMERASETTING_H_
#define _OSGCAMERASETTING_H_

#include <OpenSGExt/OSGCameraSettingBase.h>

namespace osg {

/*! The whole optical and placement state of a camera; PerspectiveCamera2 points to one and
    forwards its accessors here.

    Angles: fieldOfView is radians, or degrees when above 3.1415927 (the lens formulas apply
    this rule; the framing rule of setFieldOfView deliberately does not); roll and the
    turntable angle are degrees. The sensor side of the lens formulas is sensorWidth when
    fieldOfViewMode is non-zero, else sensorHeight.

    "Reporting" a change below means a begin/end edit of that field on this setting, so that it
    is recorded and changed() runs; nothing is reported while changes are ignored globally.

    changed() derives, before passing on:
    - lockTranslation switched on: lockedFrom = from;
    - lockRotation switched on: lockedAt = at, lockedUp = up, lockedRotation = the rotation of
      the look-at (camera-to-world) matrix of from, at, up;
    - cameraChangeDuration changed while flag 16 is clear: old files counted frames, so the
      value is divided once by the scene's frame rate and flag 16 set (reported). Without a
      frame rate (0) the value is kept and the flag left clear, so that a later change still
      converts;
    - distanceHeightAngle changed without from, at or up in the same set (and not a whole-
      container change such as a load): from and up are recomputed from it (written directly).

    Ownership: tonemappingSettings and the two distortion maps are referenced by the setting;
    their setters take a reference to the new value and give back the old one, destruction
    gives them back, and a shallow copy takes its own. Reading or synchronising those fields
    takes none, unless the edit that follows is ended with the origin Abstract|AbstrIncRefCount.
    aimBeacon and upBeacon are not referenced. */
class CameraSetting : public CameraSettingBase
{
  public:
    typedef CameraSettingBase Inherited;

    /*! Argument of isDefaultCamera. */
    enum DefaultCamera
    {
        Perspective = 0,
        Top         = 1,
        Front       = 2,
        Side        = 3
    };

    enum
    {
        /*! setFieldOfView keeps the framing at the target by moving the eye. */
        KeepFramingFlag    = 8,
        /*! cameraChangeDuration is in seconds (converted from frames). */
        DurationSecondsFlag = 16
    };

    /*---------------------------- flags ----------------------------------*/

    /*! Report a change of flags only when a bit actually changes. */
    void addFlag(UInt32 flag);
    void subFlag(UInt32 flag);
    /*! True when every bit of flag is set. */
    bool hasFlag(UInt32 flag) const;

    /*---------------------------- distance, height, angle ----------------*/

    void getDHAFromFAU(Real32 &distance, Real32 &height, Real32 &angle) const;
    /*! from and up for the stored distanceHeightAngle around at; at unchanged. */
    void getFAUFromDHA(Vec3f &from, Vec3f &at, Vec3f &up) const;
    void updateDistanceHeightAngleByFromAtUp(void);

    void   setDistance      (Real32 distance);
    Real32 getDistance      (void) const;
    void   setHeight        (Real32 height);
    Real32 getHeight        (void) const;
    void   setTurnTableAngle(Real32 degrees);
    Real32 getTurnTableAngle(void) const;

    void         setCenterOfInterest(const Pnt3f &p);
    const Pnt3f &getCenterOfInterest(void) const;

    /*---------------------------- lens -----------------------------------*/

    /*! With flag 8 the eye moves along the line of sight so that the framing at the target
        stays (from = at - (at - from) * tan(old / 2) / tan(new / 2), both read as radians),
        reported as a change of from; then fieldOfView = fov (not reported: the caller edits). */
    void setFieldOfView(const Real32 &fov);
    /*! 2 atan2(sensor / 2, focalLength), radians. */
    Real32 calculateFieldOfView(Real32 focalLength) const;
    /*! sensor / (2 tan(angle / 2)), angle by the degree rule. */
    Real32 calculateFocalLength(Real32 fov) const;
    /*! setFieldOfView(calculateFieldOfView(f)), then a reported change of fieldOfView. */
    void   setFocalLength(Real32 focalLength);
    Real32 getFocalLength(void) const;
    /*! apertureDiameter = focal length / fStop (not reported). */
    void   setFStop(Real32 fStop);
    Real32 getFStop(void) const;

    /*---------------------------- referenced pointers --------------------*/

    void setLeftEyeDistortionMap (const TextureSettingsPtr &value);
    void setRightEyeDistortionMap(const TextureSettingsPtr &value);
    void setTonemappingSettings  (const TonemappingSettingsPtr &value);

    /*---------------------------- misc -----------------------------------*/

    bool isDefaultCamera(DefaultCamera which) const;

    /*! Plain members: not fields, not stored, not synchronised, no change notification. */
    void  setEnableCollision(bool on)  { _enableCollision = on; }
    bool  getEnableCollision(void) const { return _enableCollision; }
    void  setEnableSlide(bool on)      { _enableSlide = on; }
    bool  getEnableSlide(void) const   { return _enableSlide; }
    void  setSize(Int32 size)          { _size = size; }
    Int32 getSize(void) const          { return _size; }

    void changed(BitVector whichField, UInt32 origin) override;
    void dump(UInt32 uiIndent = 0, const BitVector bvFlags = BitVector(0)) const override;

  protected:
    friend class FieldContainer;
    friend class CameraSettingBase;

    CameraSetting(void);
    CameraSetting(const CameraSetting &source);
    ~CameraSetting(void) override;

    void onCreate(const CameraSetting *source = NULL);
    void onDestroy(void) override;

  private:
    /*! The defaults of a new setting. */
    void initSettings(void);
    /*! from and up from distanceHeightAngle, written directly. */
    void updateFromAtUpByDistanceHeightAngle(void);
    void report(const BitVector &mask);
    Real32 sensor(void) const;

    bool  _enableCollision = false;
    bool  _enableSlide     = false;
    Int32 _size            = 0;
};

} // namespace osg

#endif
