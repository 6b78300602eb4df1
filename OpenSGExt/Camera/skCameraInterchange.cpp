#include <OpenSGExt/skCameraInterchange.h>
#include <OpenSGExt/skCameraModel.h>

#include <OpenSG/OSGLog.h>

#include <cmath>

using namespace osg;

namespace {

bool positive(Real32 v)
{
    return std::isfinite(v) && v > 0.f;
}

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

bool readable(const CameraSettingPtr &setting, const Char8 *who)
{
    if(setting == NullFC)
    {
        SWARNING << who << ": no setting!" << std::endl;
        return false;
    }
    if(setting->getFieldOfViewMode() > 1)
    {
        SWARNING << who << ": field of view mode " << setting->getFieldOfViewMode()
                 << " has no sensor model!" << std::endl;
        return false;
    }
    if(!positive(setting->getSensorWidth()) || !positive(setting->getSensorHeight()))
    {
        SWARNING << who << ": sensor " << setting->getSensorWidth() << " x "
                 << setting->getSensorHeight() << " is not usable!" << std::endl;
        return false;
    }
    return true;
}

} // namespace

bool skCameraInterchange::toPixelIntrinsics(const CameraSettingPtr &setting, UInt32 width,
                                            UInt32 height, PixelIntrinsics &k)
{
    if(!readable(setting, "skCameraInterchange::toPixelIntrinsics"))
        return false;
    if(width == 0 || height == 0)
    {
        SWARNING << "skCameraInterchange::toPixelIntrinsics: empty viewport!" << std::endl;
        return false;
    }
    const Real32 w = Real32(width), h = Real32(height);
    Matrix P;
    // Any valid depth range: the intrinsics do not depend on it.
    skCameraModel::projection(P, lensOf(*setting), w, h, 1.f, 2.f, false);
    const Vec3f &sc = setting->getScale();
    for(UInt32 c = 0; c < 3; ++c)
        P[c] *= sc[c];
    const Real32 q = -P[2][3];
    if(!std::isfinite(q) || q == 0.f || P[3][3] != 0.f)
    {
        SWARNING << "skCameraInterchange::toPixelIntrinsics: no perspective projection!"
                 << std::endl;
        return false;
    }
    PixelIntrinsics out;
    out.fx   = P[0][0] * w / (2.f * q);
    out.fy   = P[1][1] * h / (2.f * q);
    out.skew = -P[1][0] * w / (2.f * q);
    out.cx   = (1.f - P[2][0] / q) * w / 2.f;
    out.cy   = (1.f + P[2][1] / q) * h / 2.f;
    if(!positive(out.fx) || !positive(out.fy))
    {
        SWARNING << "skCameraInterchange::toPixelIntrinsics: degenerate lens!" << std::endl;
        return false;
    }
    k = out;
    return true;
}

bool skCameraInterchange::fromPixelIntrinsics(const CameraSettingPtr &setting,
                                              const PixelIntrinsics &k, UInt32 width,
                                              UInt32 height)
{
    const Char8 *who = "skCameraInterchange::fromPixelIntrinsics";
    if(setting == NullFC)
    {
        SWARNING << who << ": no setting!" << std::endl;
        return false;
    }
    if(width == 0 || height == 0 || !positive(k.fx) || !positive(k.fy) ||
       !std::isfinite(k.cx) || !std::isfinite(k.cy) || !std::isfinite(k.skew))
    {
        SWARNING << who << ": intrinsics " << k.fx << ", " << k.fy << ", " << k.cx << ", "
                 << k.cy << ", " << k.skew << " for " << width << " x " << height
                 << " are not usable!" << std::endl;
        return false;
    }
    const Real32 sw = setting->getSensorWidth(), sh = setting->getSensorHeight();
    if(!positive(sw) || !positive(sh))
    {
        SWARNING << who << ": sensor " << sw << " x " << sh << " is not usable!" << std::endl;
        return false;
    }
    const Real32 w = Real32(width), h = Real32(height);
    const UInt32 mode = setting->getFieldOfViewMode() == 1 ? 1 : 0;

    Real32 fov, mmPerPixel;
    Vec3f  scale(1.f, 1.f, 1.f);
    if(mode == 0)
    {
        fov        = Real32(2.0 * std::atan2(double(h) / 2.0, double(k.fy)));
        scale[0]   = k.fx / k.fy;
        mmPerPixel = sh / h;
    }
    else
    {
        fov        = Real32(2.0 * std::atan2(double(w) / 2.0, double(k.fx)));
        scale[1]   = k.fy / k.fx;
        mmPerPixel = sw / w;
    }

    const BitVector mask = CameraSetting::FieldOfViewFieldMask |
                           CameraSetting::FieldOfViewModeFieldMask |
                           CameraSetting::ScaleFieldMask |
                           CameraSetting::PrincipalPointOffsetFieldMask |
                           CameraSetting::PrincipalPointOffsetUnitFieldMask |
                           CameraSetting::SkewFactorFieldMask |
                           CameraSetting::OrthographicFieldMask |
                           CameraSetting::UseManualFrustumFieldMask |
                           CameraSetting::UseManualProjectionMatrixFieldMask;
    beginEditCP(setting, mask);
    // The plain field: the framing rule of setFieldOfView is about navigation, not calibration.
    setting->CameraSettingBase::setFieldOfView(fov);
    setting->setFieldOfViewMode(mode);
    setting->setScale(scale);
    setting->setPrincipalPointOffsetUnit(mode);
    setting->setPrincipalPointOffset(Vec2f((w / 2.f - k.cx) * mmPerPixel,
                                           (h / 2.f - k.cy) * mmPerPixel));
    setting->setSkewFactor(-k.skew * 1080.f / (h * scale[1]));
    setting->setOrthographic(false);
    setting->setUseManualFrustum(false);
    setting->setUseManualProjectionMatrix(false);
    endEditCP(setting, mask);
    return true;
}

bool skCameraInterchange::toFilmBack(const CameraSettingPtr &setting, UInt32 width,
                                     UInt32 height, FilmBack &film)
{
    if(!readable(setting, "skCameraInterchange::toFilmBack"))
        return false;
    const UInt32 mode = setting->getFieldOfViewMode();
    const UInt32 unit = setting->getPrincipalPointOffsetUnit();
    const Real32 sw = setting->getSensorWidth(), sh = setting->getSensorHeight();

    // Offset in millimetres of the fitted side: pixels per offset unit over pixels per mm.
    Real32 factor = 0.f;
    if(unit == mode)
    {
        factor = 1.f;
    }
    else if(unit <= 1)
    {
        if(width == 0 || height == 0)
        {
            SWARNING << "skCameraInterchange::toFilmBack: the offset unit differs from the "
                     << "mode, which needs a viewport!" << std::endl;
            return false;
        }
        const Real32 w = Real32(width), h = Real32(height);
        const Real32 pixelsPerUnit = unit == 1 ? w / sw : h / sh;
        const Real32 pixelsPerMm   = mode == 1 ? w / sw : h / sh;
        factor = pixelsPerUnit / pixelsPerMm;
    }

    FilmBack out;
    out.apertureWidth    = sw;
    out.apertureHeight   = sh;
    out.focalLength      = setting->getFocalLength();
    out.horizontalOffset =  setting->getPrincipalPointOffset()[0] * factor;
    out.verticalOffset   = -setting->getPrincipalPointOffset()[1] * factor;
    if(!positive(out.focalLength))
    {
        SWARNING << "skCameraInterchange::toFilmBack: degenerate lens!" << std::endl;
        return false;
    }
    film = out;
    return true;
}

bool skCameraInterchange::fromFilmBack(const CameraSettingPtr &setting, const FilmBack &film)
{
    const Char8 *who = "skCameraInterchange::fromFilmBack";
    if(setting == NullFC)
    {
        SWARNING << who << ": no setting!" << std::endl;
        return false;
    }
    if(!positive(film.apertureWidth) || !positive(film.apertureHeight) ||
       !positive(film.focalLength) || !std::isfinite(film.horizontalOffset) ||
       !std::isfinite(film.verticalOffset))
    {
        SWARNING << who << ": film back " << film.apertureWidth << " x " << film.apertureHeight
                 << " mm, focal length " << film.focalLength << " mm is not usable!" << std::endl;
        return false;
    }
    const UInt32 mode = setting->getFieldOfViewMode() == 1 ? 1 : 0;
    const Real32 sensor = mode == 1 ? film.apertureWidth : film.apertureHeight;

    const BitVector mask = CameraSetting::SensorWidthFieldMask |
                           CameraSetting::SensorHeightFieldMask |
                           CameraSetting::FieldOfViewFieldMask |
                           CameraSetting::FieldOfViewModeFieldMask |
                           CameraSetting::ScaleFieldMask |
                           CameraSetting::PrincipalPointOffsetFieldMask |
                           CameraSetting::PrincipalPointOffsetUnitFieldMask |
                           CameraSetting::SkewFactorFieldMask |
                           CameraSetting::OrthographicFieldMask |
                           CameraSetting::UseManualFrustumFieldMask |
                           CameraSetting::UseManualProjectionMatrixFieldMask;
    beginEditCP(setting, mask);
    setting->setSensorWidth(film.apertureWidth);
    setting->setSensorHeight(film.apertureHeight);
    setting->CameraSettingBase::setFieldOfView(skCameraModel::fieldOfView(sensor, film.focalLength));
    setting->setFieldOfViewMode(mode);
    setting->setScale(Vec3f(1.f, 1.f, 1.f));
    setting->setPrincipalPointOffsetUnit(mode);
    setting->setPrincipalPointOffset(Vec2f(film.horizontalOffset, -film.verticalOffset));
    setting->setSkewFactor(0.f);
    setting->setOrthographic(false);
    setting->setUseManualFrustum(false);
    setting->setUseManualProjectionMatrix(false);
    endEditCP(setting, mask);
    return true;
}
