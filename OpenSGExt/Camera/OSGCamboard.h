#ifndef _OSGCAMBOARD_H_
#define _OSGCAMBOARD_H_

#include <OpenSGExt/OSGCamboardBase.h>
#include <OpenSG/OSGAction.h>
#include <OpenSG/OSGLine.h>

#include <functional>
#include <memory>
#include <vector>

namespace osg {

/*! A group whose children stay turned towards the camera and sized by their distance to it:
    markers, labels and handles that must stay readable. It acts like a transform core whose
    matrix (the current matrix) calcCamMatrix recomputes for the current camera before each
    traversal; accumulateMatrix, the bounding volume and intersection use that matrix.

    Size: with d the distance between the camera and the board's world centre p (the core's
    world position plus offset), the uniform scale is d * scale up to minDistance (constant
    size on screen), minDistance * scale up to maxDistance (constant size in the world), and
    d * scale * minDistance / maxDistance beyond (constant on screen again, at the size it had
    at maxDistance). Defaults: scale 1, minDistance and maxDistance 1e30 (constant on screen).

    Orientation: the board takes the camera's rotation, so every board of a view is parallel
    to the screen. On a head-mounted display (setCameraIsHmd) that would make boards swim
    whenever the head turns, so there each board faces the head position instead: its z axis
    points from p to the camera, its x axis is horizontal with respect to the camera's up, and
    its y axis completes the frame (the camera's rotation when the board sits on the line of
    the camera's up or at the camera).

    Text centre: the point of the children (in their own coordinates, default the origin)
    that is placed at p and about which the board turns and scales, so that a label whose
    geometry does not start at its centre still stays centred: W = T(p) R S(s) T(-centre).

    A custom calculation function, when set and answering true, replaces all of this. The
    view matrix (world to camera) and the HMD flag are shared by all boards: the renderer sets
    them per view, and calcMatrix uses the view matrix. */
class Camboard : public CamboardBase
{
  public:
    typedef CamboardBase Inherited;

    /*! (camera-to-world, core to-world, result) -> true when it filled result. */
    typedef std::function<bool(const Matrix &camera, const Matrix &toWorld, Matrix &result)>
        CalcFunc;
    typedef std::shared_ptr<CalcFunc> CalcFuncPtr;

    /*! camera is the camera-to-world matrix (a beacon's to-world), toWorld the to-world matrix
        of the node above this core. The result, in the core's own space, is also stored as the
        current matrix. */
    void calcCamMatrix(const Matrix &camera, const Matrix &toWorld, Matrix &result);
    /*! calcCamMatrix with the camera of the current view matrix. */
    void calcMatrix(const Matrix &toWorld, Matrix &result);
    /*! The uniform scale for a distance d (the rule above). */
    Real32 calcScale(Real32 d) const;

    const Matrix &getCurrentMatrix(void) const { return _currentMatrix; }

    /*! Held by the board (shared); null removes it. */
    void setCustomCalcFunc(const CalcFuncPtr &func) { _customCalc = func; }
    void setTextCenter(const Vec3f &center) { _textCenter = center; }
    const Vec3f &getTextCenter(void) const { return _textCenter; }

    static void          setCurrentViewMatrix(const Matrix &view);
    static const Matrix &getCurrentViewMatrix(void);
    static void          setCameraIsHmd(bool hmd);
    static bool          getCameraIsHmd(void);

    void accumulateMatrix(Matrix &result) override;

    /*! IntersectAction: the line into the board's space (inverse of the current matrix), hit
        and maximum distance scaled to it; leave restores both. Traversal continues. */
    Action::ResultE intersectEnter(Action *action);
    Action::ResultE intersectLeave(Action *action);

  protected:
    friend class FieldContainer;
    friend class CamboardBase;

    Camboard(void);
    Camboard(const Camboard &source);
    ~Camboard(void) override;

    static void initMethod(void);

    void adjustVolume(Volume &volume) override;

  private:
    /*! The board's world matrix for a head-mounted display, or false when it has no facing
        direction (then the camera's rotation is used). */
    bool calcHmdRotation(const Matrix &camera, const Pnt3f &p, Matrix &rotation) const;

    /*! The outer line of an entered board; scale 0 when the line was left as it was. */
    struct Frame
    {
        Line   line;
        Real32 scale;
    };

    Matrix             _currentMatrix;
    Vec3f              _textCenter;
    CalcFuncPtr        _customCalc;
    std::vector<Frame> _frames;
};

} // namespace osg

#endif
