#ifndef SK_OPENSGEXT_SKCAMERAMODEL_H
#define SK_OPENSGEXT_SKCAMERAMODEL_H

#include <OpenSG/OSGMatrix.h>
#include <OpenSG/OSGVector.h>

/*! The physical camera model behind CameraSetting and PerspectiveCamera2, as plain functions of
    plain values (no scene graph), so that it can be checked and measured on its own.

    Conventions: matrices are OpenSG's (m[column][row], column vectors, OpenGL clip space); an
    angle stored as a field of view is read as degrees when it is above 3.1415927 and as radians
    otherwise; sensor sizes, focal lengths and principal-point offsets share one length unit
    (millimetres by convention). */
class skCameraModel
{
  public:
    /*! The optical state that the projection needs. */
    struct Lens
    {
        osg::Real32 fieldOfView  = 0.7853982f;
        osg::Real32 sensorWidth  = 36.f;
        osg::Real32 sensorHeight = 24.f;
        /*! 0 vertical (the sensor height fixes the vertical opening), 1 horizontal; any other
            value drops the sensor model (unit scale terms). */
        osg::UInt32 fovMode      = 0;
        osg::Vec2f  principalPointOffset = osg::Vec2f(0.f, 0.f);
        /*! 0: offset in sensor-height units (times viewport height / sensor height); 1: in
            sensor-width units (times viewport width / sensor width); other: ignored. */
        osg::UInt32 offsetUnit   = 0;
        osg::Real32 skewFactor   = 0.f;
    };

    /*! The stored angle in radians (the degree rule above). */
    static osg::Real32 fovInRadians(osg::Real32 fov);

    /*! sensor / (2 tan(angle / 2)), in double precision; angle by the degree rule. */
    static osg::Real32 focalLength(osg::Real32 sensor, osg::Real32 fov);
    /*! 2 atan2(sensor / 2, focal), radians. */
    static osg::Real32 fieldOfView(osg::Real32 sensor, osg::Real32 focal);
    /*! The sensor side that fixes the opening: the width in mode != 0, else the height. */
    static osg::Real32 sensorOf(const Lens &lens)
    {
        return lens.fovMode != 0 ? lens.sensorWidth : lens.sensorHeight;
    }

    /*! The intrinsic matrix for a viewport of w x h pixels, a 3x3 matrix in a 4x4 (row and
        column 3 zero): row 0 = (f / sw, skew * h / 1080, w / 2 + ox, 0), row 1 =
        (0, f / sh, h / 2 - oy, 0), row 2 = (0, 0, 1, 0), f the focal length and (ox, oy) the
        offset in pixels. 1080 is the reference screen height the skew factor is given for. */
    static osg::Matrix kMatrix(const Lens &lens, osg::Real32 w, osg::Real32 h);

    /*! Projection of the model into P for a viewport w x h, near n, far f; reversedDepth gives
        the [0, 1] range with near at 1. Near beyond far and a field of view of at most 1e-6 are
        warned about and give the identity; near ~= far and a vanishing aspect as well. The
        answer is true in every case (as the camera's interface wants). */
    static bool projection(osg::Matrix &P, const Lens &lens, osg::Real32 w, osg::Real32 h,
                           osg::Real32 n, osg::Real32 f, bool reversedDepth);

    /*! Distance, height and turntable angle (degrees in [0, 360)) of from around at, turning
        about y (or about z with zUp). Straight above or below the axis the distance falls back
        to the horizontal length. */
    static void distanceHeightAngle(const osg::Pnt3f &from, const osg::Pnt3f &at, bool zUp,
                                    osg::Real32 &distance, osg::Real32 &height,
                                    osg::Real32 &angle);
    /*! The eye point and up vector for a distance, height and angle (degrees) around at. */
    static void fromDistanceHeightAngle(const osg::Vec3f &dha, const osg::Pnt3f &at, bool zUp,
                                        osg::Pnt3f &from, osg::Vec3f &up);

    skCameraModel(void) = delete;
};

#endif
