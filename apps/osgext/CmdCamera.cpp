// osgext camera: builds a physical camera from the options (or from pixel intrinsics) and prints
// its K matrix, projection and viewing matrices, focal length, f-stop, distance/height/angle
// and its interchange forms.

#include "Command.h"

#include <OpenSGExt/OSGPerspectiveCamera2.h>
#include <OpenSGExt/skCameraInterchange.h>
#include <OpenSGExt/skCameraModel.h>

#include <OpenSG/OSGLog.h>

#include <cmath>
#include <iomanip>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

namespace osgext {

namespace {

using namespace osg;

// "a<sep>b<sep>..." with exactly n finite numbers.
bool parseNumbers(const std::string &text, char sep, size_t n, std::vector<double> &out)
{
    out.clear();
    std::stringstream ss(text);
    std::string item;
    while(std::getline(ss, item, sep))
    {
        size_t used = 0;
        double v;
        try
        {
            v = std::stod(item, &used);
        }
        catch(...)
        {
            return false;
        }
        if(used != item.size() || !std::isfinite(v))
            return false;
        out.push_back(v);
    }
    return out.size() == n;
}

CLI::Validator numbers(char sep, size_t n, const std::string &form)
{
    return CLI::Validator(
        [sep, n, form](std::string &s) -> std::string {
            std::vector<double> v;
            return parseNumbers(s, sep, n, v) ? std::string() : "expects " + form;
        },
        form);
}

std::vector<double> numbersOf(const std::string &text, char sep, size_t n)
{
    std::vector<double> v;
    parseNumbers(text, sep, n, v);
    return v;
}

void printMatrix(std::ostream &out, const char *title, const Matrix &m)
{
    out << title << " (rows):\n";
    for(int r = 0; r < 4; ++r)
    {
        out << "  ";
        for(int c = 0; c < 4; ++c)
            out << std::setw(13) << m[c][r];
        out << "\n";
    }
}

class CameraCommand : public Command
{
  public:
    void configure(CLI::App &app) override
    {
        app.add_option("--fov", _fov, "field of view: radians, or degrees when above pi")
            ->check(CLI::Range(0.0, 360.0));
        app.add_option("--sensor", _sensor, "sensor size in mm")->check(numbers('x', 2, "WxH"));
        app.add_option("--viewport", _viewport, "viewport in pixels")
            ->check(numbers('x', 2, "WxH"));
        app.add_option("--from", _from, "eye point")->check(numbers(',', 3, "x,y,z"));
        app.add_option("--at", _at, "target point")->check(numbers(',', 3, "x,y,z"));
        app.add_option("--up", _up, "up vector")->check(numbers(',', 3, "x,y,z"));
        app.add_option("--near", _near, "near clipping plane");
        app.add_option("--far", _far, "far clipping plane");
        app.add_flag("--ortho", _ortho, "orthographic (view plane from the opening at the target)");
        app.add_flag("--reversed-depth", _reversed, "reversed [0, 1] depth range");
        app.add_option("--mode", _mode, "field-of-view mode: 0 vertical, 1 horizontal")
            ->check(CLI::Range(0, 1));
        app.add_option("--offset", _offset, "principal-point offset")
            ->check(numbers(',', 2, "x,y"));
        app.add_option("--unit", _unit, "offset unit: 0 sensor height, 1 sensor width")
            ->check(CLI::Range(0, 1));
        app.add_option("--skew", _skew, "skew factor");
        app.add_option("--intrinsics", _intrinsics,
                       "build the lens from pixel intrinsics (with --viewport)")
            ->check(numbers(',', 5, "fx,fy,cx,cy,skew"));
    }

    int run(std::ostream &out, std::ostream &err) override
    {
        const std::vector<double> vp = numbersOf(_viewport, 'x', 2);
        if(vp[0] < 1 || vp[1] < 1 || vp[0] > 1e6 || vp[1] > 1e6)
        {
            err << "osgext camera: the viewport must be between 1x1 and 1000000x1000000\n";
            return 1;
        }
        const UInt32 w = UInt32(vp[0]), h = UInt32(vp[1]);

        PerspectiveCamera2Ptr cam = PerspectiveCamera2::create();
        addRefCP(cam);
        CameraSettingPtr s = CameraSetting::create();
        cam->setCameraSetting(s);
        const int rc = describe(cam, s, w, h, out, err);
        subRefCP(cam);
        return rc;
    }

  private:
    int describe(const PerspectiveCamera2Ptr &cam, const CameraSettingPtr &s, UInt32 w, UInt32 h,
                 std::ostream &out, std::ostream &err)
    {
        // Warnings of the library go to the tool's error stream, where a user sees them.
        LogCapture log(true);

        const std::vector<double> sensor = numbersOf(_sensor, 'x', 2);
        const std::vector<double> from = numbersOf(_from, ',', 3), at = numbersOf(_at, ',', 3),
                                  up = numbersOf(_up, ',', 3), off = numbersOf(_offset, ',', 2);
        beginEditCP(s);
        s->setUseTransformBeacon(true);
        s->setFrom(Pnt3f(Real32(from[0]), Real32(from[1]), Real32(from[2])));
        s->setAt(Pnt3f(Real32(at[0]), Real32(at[1]), Real32(at[2])));
        s->setUp(Vec3f(Real32(up[0]), Real32(up[1]), Real32(up[2])));
        s->setSensorWidth(Real32(sensor[0]));
        s->setSensorHeight(Real32(sensor[1]));
        s->CameraSettingBase::setFieldOfView(Real32(_fov));
        s->setFieldOfViewMode(_mode);
        s->setPrincipalPointOffset(Vec2f(Real32(off[0]), Real32(off[1])));
        s->setPrincipalPointOffsetUnit(_unit);
        s->setSkewFactor(Real32(_skew));
        s->setNearClippingPlane(Real32(_near));
        s->setFarClippingPlane(Real32(_far));
        endEditCP(s);

        if(!_intrinsics.empty())
        {
            const std::vector<double> k = numbersOf(_intrinsics, ',', 5);
            const skCameraInterchange::PixelIntrinsics in{ Real32(k[0]), Real32(k[1]),
                                                           Real32(k[2]), Real32(k[3]),
                                                           Real32(k[4]) };
            if(!skCameraInterchange::fromPixelIntrinsics(s, in, w, h))
            {
                err << "osgext camera: the intrinsics do not describe a camera\n";
                return 1;
            }
        }

        if(_ortho)
        {
            // The opening at the target, so that the orthographic view frames what the
            // perspective one frames there.
            const Real32 dist = (s->getAt() - s->getFrom()).length();
            const Real32 half = dist * std::tan(skCameraModel::fovInRadians(s->getFieldOfView()) / 2.f);
            const Real32 a = Real32(w) / Real32(h);
            const Real32 t = _mode == 1 ? half / a : half, r = _mode == 1 ? half : half * a;
            cam->setOrthographic(true);
            // Stored as the camera's own rewrite stores it (top holds the lower value), so the
            // image comes out upright.
            cam->setViewPlane(-r, r, t, -t);
        }

        Matrix proj, view;
        cam->getProjection(proj, w, h, -1, _reversed);
        cam->getViewing(view, w, h);
        s->updateDistanceHeightAngleByFromAtUp();

        out << std::setprecision(6);
        out << "camera: viewport " << w << " x " << h << ", sensor " << s->getSensorWidth()
            << " x " << s->getSensorHeight() << " mm, mode " << s->getFieldOfViewMode()
            << (s->getFieldOfViewMode() == 1 ? " (horizontal)" : " (vertical)")
            << (_ortho ? ", orthographic" : "") << (_reversed ? ", reversed depth" : "") << "\n";
        const Real32 fovRad = skCameraModel::fovInRadians(s->getFieldOfView());
        out << "field of view: " << fovRad << " rad (" << fovRad * 180.0 / Pi << " deg)\n";
        out << "focal length: " << s->getFocalLength() << " mm\n";
        out << "f-stop: " << s->getFStop() << " (aperture " << s->getApertureDiameter() << " mm)\n";
        out << "principal point offset: " << s->getPrincipalPointOffset()[0] << ", "
            << s->getPrincipalPointOffset()[1] << " (unit " << s->getPrincipalPointOffsetUnit()
            << "), skew " << s->getSkewFactor() << ", scale " << s->getScale()[0] << ", "
            << s->getScale()[1] << ", " << s->getScale()[2] << "\n";
        const Vec3f dha = s->getDistanceHeightAngle();
        out << "distance/height/angle: " << dha[0] << " " << dha[1] << " " << dha[2] << "\n";
        printMatrix(out, "K matrix", cam->getKMatrix(Real32(w), Real32(h)));
        printMatrix(out, "projection", proj);
        printMatrix(out, "viewing", view);

        skCameraInterchange::PixelIntrinsics k;
        if(!_ortho && skCameraInterchange::toPixelIntrinsics(s, w, h, k))
            out << "intrinsics (pixels): fx " << k.fx << " fy " << k.fy << " cx " << k.cx
                << " cy " << k.cy << " skew " << k.skew << "\n";
        skCameraInterchange::FilmBack film;
        if(skCameraInterchange::toFilmBack(s, w, h, film))
            out << "film back (mm): aperture " << film.apertureWidth << " x "
                << film.apertureHeight << ", focal length " << film.focalLength << ", offset "
                << film.horizontalOffset << ", " << film.verticalOffset << "\n";
        return log.count() == 0 ? 0 : 1;
    }

    double      _fov      = 0.7853982;
    std::string _sensor   = "36x24";
    std::string _viewport = "1920x1080";
    std::string _from     = "0,0,0";
    std::string _at       = "0,0,-1";
    std::string _up       = "0,1,0";
    double      _near     = 0.1;
    double      _far      = 50000.0;
    bool        _ortho    = false;
    bool        _reversed = false;
    UInt32      _mode     = 0;
    std::string _offset   = "0,0";
    UInt32      _unit     = 0;
    double      _skew     = 0.0;
    std::string _intrinsics;
};

} // namespace

OSGEXT_COMMAND(CameraCommand, "camera", "physical camera: K, projection and viewing matrices, lens values");

} // namespace osgext
