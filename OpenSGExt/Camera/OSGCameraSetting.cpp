#include <OpenSGExt/OSGCameraSetting.h>
#include <OpenSGExt/OSGTextureSettings.h>
#include <OpenSGExt/OSGTonemappingSettings.h>
#include <OpenSGExt/skCameraModel.h>

#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGLog.h>
#include <OpenSG/OSGMatrixUtility.h>
#include <OpenSG/OSGNode.h>

#include <platform/skSceneData.h>

#include <cmath>
#include <iostream>

namespace osg {

CameraSetting::CameraSetting(void) : Inherited()
{
}

CameraSetting::CameraSetting(const CameraSetting &source) :
    Inherited(source),
    _enableCollision(source._enableCollision),
    _enableSlide(source._enableSlide),
    _size(source._size)
{
}

CameraSetting::~CameraSetting(void) = default;

void CameraSetting::onCreate(const CameraSetting *source)
{
    if(GlobalSystemState == Shutdown)
        return;
    Inherited::onCreate(source);
    if(source != NULL)
    {
        // The copy constructor shared the pointers; the copy owns its references.
        addRefCP(_sfLeftEyeDistortionMap.getValue());
        addRefCP(_sfRightEyeDistortionMap.getValue());
        addRefCP(_sfTonemappingSettings.getValue());
        return;
    }
    // A new setting needs no attached objects of its own: tone mapping and distortion maps are
    // shared and set by the host.
    initSettings();
}

void CameraSetting::onDestroy(void)
{
    TextureSettingsPtr     left  = _sfLeftEyeDistortionMap.getValue();
    TextureSettingsPtr     right = _sfRightEyeDistortionMap.getValue();
    TonemappingSettingsPtr tone  = _sfTonemappingSettings.getValue();
    _sfLeftEyeDistortionMap.setValue(NullFC);
    _sfRightEyeDistortionMap.setValue(NullFC);
    _sfTonemappingSettings.setValue(NullFC);
    subRefCP(left);
    subRefCP(right);
    subRefCP(tone);
    Inherited::onDestroy();
}

void CameraSetting::initSettings(void)
{
    _sfFrom.setValue(Pnt3f(0.f, 0.f, 0.f));
    _sfAt.setValue(Pnt3f(0.f, 0.f, -1.f));
    _sfUp.setValue(Vec3f(0.f, 1.f, 0.f));
    _sfNearClippingPlane.setValue(0.1f);
    _sfFarClippingPlane.setValue(50000.f);
    _sfFocusDistance.setValue(0.f);
    _sfFieldOfView.setValue(0.7853982f);
    _sfSensorWidth.setValue(36.f);
    _sfSensorHeight.setValue(24.f);
    _sfShutterSpeed.setValue(125.f);
    _sfMotionBlur.setValue(false);
    _sfDepthOfField.setValue(false);
    _sfOrthographic.setValue(false);
    _sfLeft.setValue(0.f);
    _sfRight.setValue(0.f);
    _sfTop.setValue(0.f);
    _sfBottom.setValue(0.f);
    _sfLockTranslation.setValue(false);
    _sfLockRotation.setValue(false);
    _sfIsViewpoint.setValue(false);
    _sfInitialFrom.setValue(Pnt3f(0.f, 0.f, 0.f));
    _sfInitialAt.setValue(Pnt3f(0.f, 0.f, -1.f));
    _sfInitialUp.setValue(Vec3f(0.f, 1.f, 0.f));
    _sfZUp.setValue(false);
    _sfApertureDiameter.setValue(7.76f);
    _sfFlags.setValue(DurationSecondsFlag);
    _sfPrincipalPointOffset.setValue(Vec2f(0.f, 0.f));
    _sfSkewFactor.setValue(0.f);
    _sfCameraChangeDuration.setValue(1.f);
    _sfUseManualFrustum.setValue(false);
    _sfFieldOfViewMode.setValue(0);
    _sfManualProjectionMatrix.setValue(Matrix::identity());
    _sfUseManualProjectionMatrix.setValue(false);
    _sfUseManualViewMatrix.setValue(false);
    _sfUseAimBeacon.setValue(false);
    _sfAimBeacon.setValue(NullFC);
    _sfUseUpBeacon.setValue(false);
    _sfUpBeacon.setValue(NullFC);
    _sfAnimationCamera.setValue(false);
    _sfScale.setValue(Vec3f(1.f, 1.f, 1.f));
    _sfPrincipalPointOffsetUnit.setValue(0);
    _mfProjectionPlanePoints.clear();
}

void CameraSetting::report(const BitVector &mask)
{
    FieldContainerPtr self(this);
    beginEditCP(self, mask);
    endEditCP(self, mask);
}

Real32 CameraSetting::sensor(void) const
{
    return getFieldOfViewMode() != 0 ? getSensorWidth() : getSensorHeight();
}

/*------------------------------ flags --------------------------------------*/

void CameraSetting::addFlag(UInt32 flag)
{
    const UInt32 old = getFlags();
    if((old | flag) == old)
        return;
    _sfFlags.setValue(old | flag);
    report(FlagsFieldMask);
}

void CameraSetting::subFlag(UInt32 flag)
{
    const UInt32 old = getFlags();
    if((old & ~flag) == old)
        return;
    _sfFlags.setValue(old & ~flag);
    report(FlagsFieldMask);
}

bool CameraSetting::hasFlag(UInt32 flag) const
{
    return (getFlags() & flag) == flag;
}

/*------------------------------ distance, height, angle -------------------*/

void CameraSetting::getDHAFromFAU(Real32 &distance, Real32 &height, Real32 &angle) const
{
    skCameraModel::distanceHeightAngle(getFrom(), getAt(), getZUp(), distance, height, angle);
}

void CameraSetting::getFAUFromDHA(Vec3f &from, Vec3f &at, Vec3f &up) const
{
    Pnt3f f;
    skCameraModel::fromDistanceHeightAngle(getDistanceHeightAngle(), getAt(), getZUp(), f, up);
    from = f.subZero();
    at   = getAt().subZero();
}

void CameraSetting::updateDistanceHeightAngleByFromAtUp(void)
{
    Real32 d, h, a;
    getDHAFromFAU(d, h, a);
    _sfDistanceHeightAngle.setValue(Vec3f(d, h, a));
}

void CameraSetting::updateFromAtUpByDistanceHeightAngle(void)
{
    Pnt3f from;
    Vec3f up;
    skCameraModel::fromDistanceHeightAngle(getDistanceHeightAngle(), getAt(), getZUp(), from, up);
    _sfFrom.setValue(from);
    _sfUp.setValue(up);
}

void CameraSetting::setDistance(Real32 distance)
{
    editDistanceHeightAngle()[0] = distance;
    report(DistanceHeightAngleFieldMask);
}

Real32 CameraSetting::getDistance(void) const
{
    return getDistanceHeightAngle()[0];
}

void CameraSetting::setHeight(Real32 height)
{
    editDistanceHeightAngle()[1] = height;
    report(DistanceHeightAngleFieldMask);
}

Real32 CameraSetting::getHeight(void) const
{
    return getDistanceHeightAngle()[1];
}

void CameraSetting::setTurnTableAngle(Real32 degrees)
{
    editDistanceHeightAngle()[2] = degrees;
    report(DistanceHeightAngleFieldMask);
}

Real32 CameraSetting::getTurnTableAngle(void) const
{
    return getDistanceHeightAngle()[2];
}

void CameraSetting::setCenterOfInterest(const Pnt3f &p)
{
    _sfAt.setValue(p);
    report(AtFieldMask);
}

const Pnt3f &CameraSetting::getCenterOfInterest(void) const
{
    return getAt();
}

/*------------------------------ lens ---------------------------------------*/

void CameraSetting::setFieldOfView(const Real32 &fov)
{
    if(getFlags() & KeepFramingFlag)
    {
        const Real32 oldFov = getFieldOfView();
        const Real32 tn = std::tan(fov / 2.f);
        const Real32 k  = std::tan(oldFov / 2.f) / tn;
        // A framing that cannot be kept (no opening or a half-turn) leaves the eye alone.
        if(std::isfinite(k))
        {
            const Vec3f v = getAt() - getFrom();
            _sfFrom.setValue(getAt() - v * k);
            report(FromFieldMask);
        }
    }
    _sfFieldOfView.setValue(fov);
}

Real32 CameraSetting::calculateFieldOfView(Real32 focalLength) const
{
    return skCameraModel::fieldOfView(sensor(), focalLength);
}

Real32 CameraSetting::calculateFocalLength(Real32 fov) const
{
    return skCameraModel::focalLength(sensor(), fov);
}

void CameraSetting::setFocalLength(Real32 focalLength)
{
    setFieldOfView(calculateFieldOfView(focalLength));
    report(FieldOfViewFieldMask);
}

Real32 CameraSetting::getFocalLength(void) const
{
    return calculateFocalLength(getFieldOfView());
}

void CameraSetting::setFStop(Real32 fStop)
{
    _sfApertureDiameter.setValue(getFocalLength() / fStop);
}

Real32 CameraSetting::getFStop(void) const
{
    return getFocalLength() / getApertureDiameter();
}

/*------------------------------ referenced pointers ------------------------*/

void CameraSetting::setLeftEyeDistortionMap(const TextureSettingsPtr &value)
{
    TextureSettingsPtr old = _sfLeftEyeDistortionMap.getValue();
    addRefCP(value);
    _sfLeftEyeDistortionMap.setValue(value);
    subRefCP(old);
}

void CameraSetting::setRightEyeDistortionMap(const TextureSettingsPtr &value)
{
    TextureSettingsPtr old = _sfRightEyeDistortionMap.getValue();
    addRefCP(value);
    _sfRightEyeDistortionMap.setValue(value);
    subRefCP(old);
}

void CameraSetting::setTonemappingSettings(const TonemappingSettingsPtr &value)
{
    TonemappingSettingsPtr old = _sfTonemappingSettings.getValue();
    addRefCP(value);
    _sfTonemappingSettings.setValue(value);
    subRefCP(old);
}

/*------------------------------ misc ---------------------------------------*/

bool CameraSetting::isDefaultCamera(DefaultCamera which) const
{
    switch(which)
    {
        case Perspective: return getIsDefaultPersp();
        case Top:         return getIsDefaultTop();
        case Front:       return getIsDefaultFront();
        case Side:        return getIsDefaultSide();
    }
    return false;
}

void CameraSetting::changed(BitVector whichField, UInt32 origin)
{
    if((whichField & LockTranslationFieldMask) && getLockTranslation())
        _sfLockedFrom.setValue(getFrom());

    if((whichField & LockRotationFieldMask) && getLockRotation())
    {
        _sfLockedAt.setValue(getAt());
        _sfLockedUp.setValue(getUp());
        Matrix look;
        MatrixLookAt(look, getFrom(), getAt(), getUp());
        Vec3f      t, s;
        Quaternion r, so;
        look.getTransform(t, r, s, so);
        _sfLockedRotation.setValue(r);
    }

    if((whichField & CameraChangeDurationFieldMask) && !(getFlags() & DurationSecondsFlag))
    {
        const Real32 rate = skSceneDataManager::getSceneData()->getFrameRate();
        if(rate > 0.f)
        {
            _sfCameraChangeDuration.setValue(getCameraChangeDuration() / rate);
            _sfFlags.setValue(getFlags() | DurationSecondsFlag);
            report(FlagsFieldMask);
        }
        else
        {
            SWARNING << "CameraSetting: no frame rate to convert the camera change duration "
                     << getCameraChangeDuration() << " from frames." << std::endl;
        }
    }

    if((whichField & DistanceHeightAngleFieldMask) &&
       !(whichField & (FromFieldMask | AtFieldMask | UpFieldMask)) &&
       whichField != FieldBits::AllFields)
    {
        updateFromAtUpByDistanceHeightAngle();
    }

    if((origin & ChangedOrigin::Abstract) && (origin & ChangedOrigin::AbstrIncRefCount))
    {
        if(whichField & LeftEyeDistortionMapFieldMask)
            addRefCP(_sfLeftEyeDistortionMap.getValue());
        if(whichField & RightEyeDistortionMapFieldMask)
            addRefCP(_sfRightEyeDistortionMap.getValue());
        if(whichField & TonemappingSettingsFieldMask)
            addRefCP(_sfTonemappingSettings.getValue());
    }

    Inherited::changed(whichField, origin);
}

void CameraSetting::dump(UInt32 uiIndent, const BitVector bvFlags) const
{
    Inherited::dump(uiIndent, bvFlags);
    const std::string pad(uiIndent + 2, ' ');
    std::cout << pad << "focal length " << getFocalLength() << ", f-stop " << getFStop()
              << ", distance/height/angle " << getDistanceHeightAngle() << std::endl;
}

} // namespace osg
