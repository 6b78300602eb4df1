#include <OpenSGExt/OSGPerspectiveCamera2.h>
#include <OpenSGExt/skCameraModel.h>
#include <OpenSGExt/skOpenSGExt.h>

#include <OpenSG/OSGLog.h>
#include <OpenSG/OSGMatrixUtility.h>

#include <cmath>
#include <iostream>

namespace osg {

PerspectiveCamera2::PerspectiveCamera2(void) : Inherited()
{
}

PerspectiveCamera2::PerspectiveCamera2(const PerspectiveCamera2 &source) :
    Inherited(source),
    _fallbackFov(source._fallbackFov)
{
}

PerspectiveCamera2::~PerspectiveCamera2(void) = default;

void PerspectiveCamera2::onCreate(const PerspectiveCamera2 *source)
{
    Inherited::onCreate(source);
    // The copy constructor shared the setting; the copy owns its reference.
    if(source != NULL)
        addRefCP(_sfCameraSetting.getValue());
}

void PerspectiveCamera2::onDestroy(void)
{
    CameraSettingPtr old = _sfCameraSetting.getValue();
    _sfCameraSetting.setValue(NullFC);
    subRefCP(old);
    Inherited::onDestroy();
}

void PerspectiveCamera2::changed(BitVector whichField, UInt32 origin)
{
    if((whichField & CameraSettingFieldMask) && (origin & ChangedOrigin::Abstract) &&
       (origin & ChangedOrigin::AbstrIncRefCount))
    {
        addRefCP(_sfCameraSetting.getValue());
    }
    Inherited::changed(whichField, origin);
}

void PerspectiveCamera2::dump(UInt32 uiIndent, const BitVector bvFlags) const
{
    Inherited::dump(uiIndent, bvFlags);
    if(setting() != NULL)
        setting()->dump(uiIndent + 2, bvFlags);
}

void PerspectiveCamera2::setCameraSetting(const CameraSettingPtr &value)
{
    CameraSettingPtr old = _sfCameraSetting.getValue();
    addRefCP(value);
    _sfCameraSetting.setValue(value);
    subRefCP(old);
}

CameraSetting *PerspectiveCamera2::settingOrWarn(const Char8 *verb, const Char8 *word) const
{
    CameraSetting *s = setting();
    if(s == NULL)
        SWARNING << "Camera has no Setting! Can't " << verb << " " << word << "." << std::endl;
    return s;
}

/*------------------------------ forwarding ---------------------------------*/

// A getter answers the setting's value or, without a setting, the neutral value after the
// warning; a setter edits the one field of the setting.
#define SK_CAM_GET(TYPE, NAME, GETTER, WORD, NEUTRAL)          \
    TYPE PerspectiveCamera2::NAME(void) const                   \
    {                                                           \
        CameraSetting *s = settingOrWarn("get", WORD);          \
        return s != NULL ? TYPE(s->GETTER()) : TYPE(NEUTRAL);   \
    }

#define SK_CAM_SET(ARG, NAME, FIELD, WORD)                                       \
    void PerspectiveCamera2::NAME(ARG value)                                     \
    {                                                                            \
        CameraSetting *s = settingOrWarn("set", WORD);                           \
        if(s == NULL)                                                            \
            return;                                                              \
        CameraSettingPtr sp(s);                                                  \
        beginEditCP(sp, CameraSetting::FIELD##FieldMask);                        \
        s->set##FIELD(value);                                                    \
        endEditCP(sp, CameraSetting::FIELD##FieldMask);                          \
    }

#define SK_CAM_FIELD(TYPE, ARG, FIELD, WORD, NEUTRAL)        \
    SK_CAM_GET(TYPE, get##FIELD, get##FIELD, WORD, NEUTRAL)  \
    SK_CAM_SET(ARG, set##FIELD, FIELD, WORD)

SK_CAM_GET(UInt32, getFovMode, getFieldOfViewMode, "field of view mode", 0)
SK_CAM_SET(const UInt32 &, setFovMode, FieldOfViewMode, "field of view mode")

SK_CAM_FIELD(Real32, Real32, Left, "left viewplane side", 0.f)
SK_CAM_FIELD(Real32, Real32, Right, "right viewplane side", 0.f)
SK_CAM_FIELD(Real32, Real32, Top, "top viewplane side", 0.f)
SK_CAM_FIELD(Real32, Real32, Bottom, "bottom viewplane side", 0.f)
SK_CAM_FIELD(bool, bool, Orthographic, "orthographic", false)
SK_CAM_FIELD(bool, bool, UseManualFrustum, "use manual frustum", false)
SK_CAM_FIELD(bool, bool, UseManualProjectionMatrix, "use manual projection matrix", false)
SK_CAM_FIELD(Matrix, const Matrix &, ManualProjectionMatrix, "manual projection matrix", Matrix())
SK_CAM_FIELD(bool, bool, UseManualViewMatrix, "use manual view matrix", false)
SK_CAM_FIELD(Matrix, const Matrix &, ManualViewMatrix, "manual view matrix", Matrix())
SK_CAM_FIELD(Real32, Real32, Roll, "roll", 0.f)
SK_CAM_FIELD(bool, bool, LockRotation, "lock rotation", false)
SK_CAM_FIELD(Quaternion, const Quaternion &, LockedRotation, "locked rotation", Quaternion())
SK_CAM_FIELD(bool, bool, LockTranslation, "lock translation", false)
SK_CAM_FIELD(Pnt3f, const Pnt3f &, LockedFrom, "locked from", Pnt3f(0.f, 0.f, 0.f))
SK_CAM_FIELD(Pnt3f, const Pnt3f &, LockedAt, "locked at", Pnt3f(0.f, 0.f, 0.f))
SK_CAM_FIELD(Vec3f, const Vec3f &, LockedUp, "locked up", Vec3f(0.f, 0.f, 0.f))
SK_CAM_FIELD(Pnt3f, const Pnt3f &, From, "from", Pnt3f(0.f, 0.f, 0.f))
SK_CAM_FIELD(Pnt3f, const Pnt3f &, At, "at", Pnt3f(0.f, 0.f, 0.f))
SK_CAM_FIELD(Vec3f, const Vec3f &, Up, "up", Vec3f(0.f, 0.f, 0.f))
SK_CAM_FIELD(bool, bool, ZUp, "zUp", false)
SK_CAM_FIELD(bool, bool, IsViewpoint, "isViewpoint", false)
SK_CAM_FIELD(bool, bool, MotionBlur, "motionblur", false)
SK_CAM_FIELD(bool, bool, DepthOfField, "depth of field", false)
SK_CAM_FIELD(Real32, Real32, ApertureDiameter, "aperture diameter", 0.f)
SK_CAM_FIELD(Real32, Real32, FocusDistance, "focus distance", 0.f)
SK_CAM_FIELD(Real32, Real32, SensorWidth, "sensor width", 0.f)
SK_CAM_FIELD(Real32, Real32, SensorHeight, "sensor height", 0.f)
SK_CAM_FIELD(Real32, Real32, ShutterSpeed, "shutter speed", 0.f)
SK_CAM_FIELD(Vec2f, const Vec2f &, PrincipalPointOffset, "principal point offset", Vec2f(0.f, 0.f))
SK_CAM_FIELD(UInt32, UInt32, PrincipalPointOffsetUnit, "principal point offset unit", 0)
SK_CAM_FIELD(Real32, Real32, SkewFactor, "skew factor", 0.f)
SK_CAM_FIELD(Vec3f, const Vec3f &, Scale, "scale", Vec3f(0.f, 0.f, 0.f))
SK_CAM_FIELD(bool, bool, AnimationCamera, "animation camera", false)
SK_CAM_GET(bool, isDefaultFront, getIsDefaultFront, "default front", false)
SK_CAM_SET(bool, setIsDefaultFront, IsDefaultFront, "default front")
SK_CAM_GET(bool, isDefaultSide, getIsDefaultSide, "default side", false)
SK_CAM_SET(bool, setIsDefaultSide, IsDefaultSide, "default side")
SK_CAM_GET(bool, isDefaultTop, getIsDefaultTop, "default top", false)
SK_CAM_SET(bool, setIsDefaultTop, IsDefaultTop, "default top")
SK_CAM_GET(bool, isDefaultPersp, getIsDefaultPersp, "default perspective", false)
SK_CAM_SET(bool, setIsDefaultPersp, IsDefaultPersp, "default perspective")

// Computed quantities: the setting reports its own changes.
SK_CAM_GET(Real32, getDistance, getDistance, "distance", 0.f)
SK_CAM_GET(Real32, getHeight, getHeight, "height", 0.f)
SK_CAM_GET(Real32, getTurnTableAngle, getTurnTableAngle, "turnTableAngle", 0.f)
SK_CAM_GET(Real32, getFocalLength, getFocalLength, "focal length", 0.f)
SK_CAM_GET(Real32, getFStop, getFStop, "fStop", 0.f)

#undef SK_CAM_FIELD
#undef SK_CAM_SET
#undef SK_CAM_GET

void PerspectiveCamera2::setDistance(Real32 value)
{
    if(CameraSetting *s = settingOrWarn("set", "distance"))
        s->setDistance(value);
}

void PerspectiveCamera2::setHeight(Real32 value)
{
    if(CameraSetting *s = settingOrWarn("set", "height"))
        s->setHeight(value);
}

void PerspectiveCamera2::setTurnTableAngle(Real32 degrees)
{
    if(CameraSetting *s = settingOrWarn("set", "turnTableAngle"))
        s->setTurnTableAngle(degrees);
}

void PerspectiveCamera2::setFocalLength(Real32 value)
{
    if(CameraSetting *s = settingOrWarn("set", "focal length"))
        s->setFocalLength(value);
}

void PerspectiveCamera2::setFStop(Real32 value)
{
    CameraSetting *s = settingOrWarn("set", "fStop");
    if(s == NULL)
        return;
    CameraSettingPtr sp(s);
    beginEditCP(sp, CameraSetting::ApertureDiameterFieldMask);
    s->setFStop(value);
    endEditCP(sp, CameraSetting::ApertureDiameterFieldMask);
}

void PerspectiveCamera2::setFov(const Real32 &fov)
{
    CameraSetting *s = settingOrWarn("set", "field of view");
    if(s == NULL)
        return;
    CameraSettingPtr sp(s);
    beginEditCP(sp, CameraSetting::FieldOfViewFieldMask);
    s->setFieldOfView(fov);
    endEditCP(sp, CameraSetting::FieldOfViewFieldMask);
}

Real32 &PerspectiveCamera2::getFov(void)
{
    CameraSetting *s = settingOrWarn("get", "field of view");
    return s != NULL ? s->editFieldOfView() : _fallbackFov;
}

const Real32 &PerspectiveCamera2::getFov(void) const
{
    const CameraSetting *s = settingOrWarn("get", "field of view");
    return s != NULL ? s->getFieldOfView() : _fallbackFov;
}

Real32 &PerspectiveCamera2::getNear(void)
{
    CameraSetting *s = settingOrWarn("get", "near clipping plane");
    _fallbackClip = 0.f;
    return s != NULL ? s->editNearClippingPlane() : _fallbackClip;
}

const Real32 &PerspectiveCamera2::getNear(void) const
{
    const CameraSetting *s = settingOrWarn("get", "near clipping plane");
    return s != NULL ? s->getNearClippingPlane() : _fallbackClip;
}

void PerspectiveCamera2::setNear(const Real32 &value)
{
    CameraSetting *s = settingOrWarn("set", "near clipping plane");
    if(s == NULL)
        return;
    CameraSettingPtr sp(s);
    beginEditCP(sp, CameraSetting::NearClippingPlaneFieldMask);
    s->setNearClippingPlane(value);
    endEditCP(sp, CameraSetting::NearClippingPlaneFieldMask);
}

Real32 &PerspectiveCamera2::getFar(void)
{
    CameraSetting *s = settingOrWarn("get", "far clipping plane");
    _fallbackClip = 0.f;
    return s != NULL ? s->editFarClippingPlane() : _fallbackClip;
}

const Real32 &PerspectiveCamera2::getFar(void) const
{
    const CameraSetting *s = settingOrWarn("get", "far clipping plane");
    return s != NULL ? s->getFarClippingPlane() : _fallbackClip;
}

void PerspectiveCamera2::setFar(const Real32 &value)
{
    CameraSetting *s = settingOrWarn("set", "far clipping plane");
    if(s == NULL)
        return;
    CameraSettingPtr sp(s);
    beginEditCP(sp, CameraSetting::FarClippingPlaneFieldMask);
    s->setFarClippingPlane(value);
    endEditCP(sp, CameraSetting::FarClippingPlaneFieldMask);
}

void PerspectiveCamera2::setViewPlane(Real32 left, Real32 right, Real32 bottom, Real32 top)
{
    CameraSetting *s = settingOrWarn("set", "viewplane");
    if(s == NULL)
        return;
    const BitVector mask = CameraSetting::LeftFieldMask | CameraSetting::RightFieldMask |
                           CameraSetting::BottomFieldMask | CameraSetting::TopFieldMask;
    CameraSettingPtr sp(s);
    beginEditCP(sp, mask);
    s->setLeft(left);
    s->setRight(right);
    s->setBottom(bottom);
    s->setTop(top);
    endEditCP(sp, mask);
}

void PerspectiveCamera2::getViewPlane(Real32 &left, Real32 &right, Real32 &bottom, Real32 &top) const
{
    const CameraSetting *s = settingOrWarn("get", "viewplane");
    left   = s != NULL ? s->getLeft()   : 0.f;
    right  = s != NULL ? s->getRight()  : 0.f;
    bottom = s != NULL ? s->getBottom() : 0.f;
    top    = s != NULL ? s->getTop()    : 0.f;
}

void PerspectiveCamera2::setSensorDimensions(Real32 width, Real32 height)
{
    CameraSetting *s = settingOrWarn("set", "sensor dimensions");
    if(s == NULL)
        return;
    const BitVector mask = CameraSetting::SensorWidthFieldMask | CameraSetting::SensorHeightFieldMask;
    CameraSettingPtr sp(s);
    beginEditCP(sp, mask);
    s->setSensorWidth(width);
    s->setSensorHeight(height);
    endEditCP(sp, mask);
}

void PerspectiveCamera2::getSensorDimensions(Real32 &width, Real32 &height) const
{
    const CameraSetting *s = settingOrWarn("get", "sensor dimensions");
    width  = s != NULL ? s->getSensorWidth()  : 0.f;
    height = s != NULL ? s->getSensorHeight() : 0.f;
}

/*------------------------------ computations ------------------------------*/

namespace {

skCameraModel::Lens lensOf(const CameraSetting &s)
{
    skCameraModel::Lens lens;
    lens.fieldOfView          = s.getFieldOfView();
    lens.sensorWidth          = s.getSensorWidth();
    lens.sensorHeight         = s.getSensorHeight();
    lens.fovMode              = s.getFieldOfViewMode();
    lens.principalPointOffset = s.getPrincipalPointOffset();
    lens.offsetUnit           = s.getPrincipalPointOffsetUnit();
    lens.skewFactor           = s.getSkewFactor();
    return lens;
}

} // namespace

Matrix PerspectiveCamera2::getKMatrix(Real32 width, Real32 height) const
{
    const CameraSetting *s = settingOrWarn("get", "K-Matrix");
    if(s == NULL)
        return Matrix();
    return skCameraModel::kMatrix(lensOf(*s), width, height);
}

bool PerspectiveCamera2::MatrixICPProjection(Matrix &result, Real32 width, Real32 height,
                                             Real32 rNear, Real32 rFar, bool depthFlag) const
{
    const CameraSetting *s = settingOrWarn("get", "K-Matrix");
    if(s == NULL)
    {
        result.setIdentity();
        return true;
    }
    return skCameraModel::projection(result, lensOf(*s), width, height, rNear, rFar, depthFlag);
}

void PerspectiveCamera2::getProjection(Matrix &result, UInt32 width, UInt32 height, Int32,
                                       bool depthFlag)
{
    CameraSetting *s = setting();
    if(s == NULL)
    {
        SWARNING << "Camera has no Setting! Can't get projection." << std::endl;
        result.setIdentity();
        return;
    }
    if(s->getUseManualProjectionMatrix())
    {
        result = s->getManualProjectionMatrix();
        return;
    }
    if(s->getFieldOfView() < 0.f || width == 0 || height == 0)
    {
        result.setIdentity();
        return;
    }

    const Real32 aspect = Real32(width) / Real32(height);
    if(s->getOrthographic() && s->getTop() - s->getBottom() != 0.f)
    {
        const Real32 r = (s->getRight() - s->getLeft()) / (s->getTop() - s->getBottom());
        if(r != 0.f && (std::fabs(r) < aspect - 0.001f || std::fabs(r) > aspect + 0.001f))
        {
            // top from left and bottom from right: after this top holds the lower value,
            // which the swapped MatrixOrthogonal call below expects.
            CameraSettingPtr sp(s);
            const BitVector mask = CameraSetting::TopFieldMask | CameraSetting::BottomFieldMask;
            beginEditCP(sp, mask);
            s->setTop(s->getLeft() / aspect);
            s->setBottom(s->getRight() / aspect);
            endEditCP(sp, mask);
        }
    }

    Real32 n = 100.f, f = 200.f;
    if(getUseNearFar())
    {
        n = s->getNearClippingPlane();
        f = s->getFarClippingPlane();
    }

    if(s->getOrthographic())
        MatrixOrthogonal(result, s->getLeft(), s->getRight(), s->getTop(), s->getBottom(), n, f,
                         depthFlag);
    else if(s->getUseManualFrustum())
        MatrixFrustum(result, s->getLeft(), s->getRight(), s->getBottom(), s->getTop(), n, f,
                      depthFlag);
    else
        skCameraModel::projection(result, lensOf(*s), Real32(width), Real32(height), n, f,
                                  depthFlag);

    const Vec3f &sc = s->getScale();
    if(std::fabs(sc[0] - 1.f) <= 1e-6f && std::fabs(sc[1] - 1.f) <= 1e-6f &&
       std::fabs(sc[2] - 1.f) <= 1e-6f)
        return;
    for(UInt32 c = 0; c < 3; ++c)
        result[c] *= sc[c];
}

void PerspectiveCamera2::getTransform(Matrix &result, CameraSpace space) const
{
    const CameraSetting *s = setting();
    // A degenerate look-at (up along the line of sight) leaves the beacon's placement.
    Matrix look;
    if(s != NULL && (s->getUseTransformBeacon() || s->getUseAimBeacon()) &&
       !MatrixLookAt(look, s->getFrom(), s->getAt(), s->getUp()))
    {
        result = look;
        return;
    }
    Inherited::getTransform(result, space);
}

void PerspectiveCamera2::getViewing(Matrix &result, UInt32, UInt32, Int32)
{
    const CameraSetting *s = setting();
    if(s != NULL && s->getUseManualViewMatrix())
    {
        result = s->getManualViewMatrix();
        return;
    }

    getTransform(result, CameraToWorld);

    const Real32 roll = s != NULL ? s->getRoll() : 0.f;
    if(roll != 0.f)
    {
        Quaternion q;
        q.setValueAsAxisDeg(0.f, 0.f, 1.f, roll);
        Matrix r;
        q.getValue(r);
        result.mult(r);
    }
    if(s == NULL)
    {
        result.invert();
        return;
    }
    if(s->getLockRotation())
        result.setRotate(s->getLockedRotation());
    if(s->getLockTranslation())
    {
        if(getIsViewCubeCamera())
        {
            result.invert();
            result.setTranslate(s->getLockedFrom());
            return;
        }
        result.setTranslate(s->getLockedFrom());
    }
    result.invert();
}

void PerspectiveCamera2::getFromAtUp(Pnt3f &from, Pnt3f &at, Vec3f &up) const
{
    const CameraSetting *s = setting();
    if(s != NULL)
    {
        from = s->getFrom();
        at   = s->getAt();
        up   = s->getUp();
        return;
    }
    from.setValues(0.f, 0.f, 0.f);
    if(skOpenSGExt::isCameraZUp())
    {
        at.setValues(0.f, 1.f, 0.f);
        up.setValues(0.f, 0.f, 1.f);
    }
    else
    {
        at.setValues(0.f, 0.f, -1.f);
        up.setValues(0.f, 1.f, 0.f);
    }
}

} // namespace osg
