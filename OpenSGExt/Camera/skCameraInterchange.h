#ifndef SK_OPENSGEXT_SKCAMERAINTERCHANGE_H
#define SK_OPENSGEXT_SKCAMERAINTERCHANGE_H

#include <OpenSGExt/OSGCameraSetting.h>

/*! Conversions between a CameraSetting's lens (sensor, field of view, principal-point offset,
    skew, projection scale) and the two camera descriptions that calibration and pipeline tools
    exchange. Both are exact inverses of each other up to float rounding, because both read and
    write the same projection that PerspectiveCamera2 builds.

    Pixel intrinsics (computer-vision calibration): u = fx X/Z + skew Y/Z + cx,
    v = fy Y/Z + cy for a point (X, Y, Z) in a camera frame looking down +Z with y down; pixel
    coordinates from the top-left corner of the image. The setting's camera looks down -z with
    y up, so Y = -y and Z = -z. Against the projection P (OpenGL clip space, q = -P(3,2)):
        fx = P(0,0) w / 2q,  fy = P(1,1) h / 2q,  skew = -P(0,1) w / 2q,
        cx = (1 - P(0,2)/q) w / 2,  cy = (1 + P(1,2)/q) h / 2.
    Writing a setting keeps its sensor size and its field-of-view mode (0 unless it is 1): the
    opening comes from fy (mode 0) or fx (mode 1), the other focal length from the projection
    scale (non-square pixels), the principal point from the offset in the mode's sensor units
    (offset unit = mode) and the skew from the skew factor (k = -skew 1080 / h, over the scale
    of y in mode 1). Orthographic, manual frustum and manual projection are switched off.

    Film back (digital-content-creation cameras with a vertical or horizontal film fit):
    aperture width and height and focal length in mm, and film offsets in mm (positive
    horizontal moves the image window right, positive vertical up). Writing a setting sets the
    sensor to the aperture, the opening from the focal length on the mode's sensor side, the
    offset unit to the mode (so that the offsets stay millimetres of the fitted side) with
    offset (horizontal, -vertical), no skew and unit scale. Reading needs the viewport only
    when the setting's offset unit differs from its mode; skew and scale have no film-back
    equivalent and are left out.

    Every function checks its input (null setting, a mode other than 0 or 1 when reading, zero
    or non-finite sizes and focal lengths) and answers false, leaving its output untouched. */
class skCameraInterchange
{
  public:
    struct PixelIntrinsics
    {
        osg::Real32 fx   = 0.f;
        osg::Real32 fy   = 0.f;
        osg::Real32 cx   = 0.f;
        osg::Real32 cy   = 0.f;
        osg::Real32 skew = 0.f;
    };

    struct FilmBack
    {
        osg::Real32 apertureWidth    = 36.f;
        osg::Real32 apertureHeight   = 24.f;
        osg::Real32 focalLength      = 50.f;
        osg::Real32 horizontalOffset = 0.f;
        osg::Real32 verticalOffset   = 0.f;
    };

    static bool toPixelIntrinsics  (const osg::CameraSettingPtr &setting, osg::UInt32 width,
                                    osg::UInt32 height, PixelIntrinsics &k);
    /*! Edits the setting (one recorded edit of the fields it writes). */
    static bool fromPixelIntrinsics(const osg::CameraSettingPtr &setting, const PixelIntrinsics &k,
                                    osg::UInt32 width, osg::UInt32 height);

    static bool toFilmBack  (const osg::CameraSettingPtr &setting, osg::UInt32 width,
                             osg::UInt32 height, FilmBack &film);
    static bool fromFilmBack(const osg::CameraSettingPtr &setting, const FilmBack &film);

    skCameraInterchange(void) = delete;
};

#endif
