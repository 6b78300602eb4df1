// osgext demo, cameras: a physical camera looking at a small scene, its matrices written to
// camera.txt, a stereo pair and a multi-view eye checked against the screen plane, the lens
// converted to pixel intrinsics and back, and a camera-facing board sized by distance.

#include "Command.h"

#include <OpenSGExt/OSGCamboard.h>
#include <OpenSGExt/OSGMultiStereoCameraDecorator.h>
#include <OpenSGExt/OSGPerspectiveCamera2.h>
#include <OpenSGExt/skCameraInterchange.h>

#include <OpenSG/OSGMatrixUtility.h>
#include <OpenSG/OSGShearedStereoCameraDecorator.h>

#include <cmath>
#include <fstream>
#include <iomanip>
#include <ostream>

namespace osgext {

namespace {

using namespace osg;

void writeMatrix(std::ostream &os, const char *title, const Matrix &m)
{
    os << title << "\n";
    for(int r = 0; r < 4; ++r)
    {
        for(int c = 0; c < 4; ++c)
            os << (c ? " " : "  ") << std::setw(12) << m[c][r];
        os << "\n";
    }
}

// Horizontal clip-space position of an eye-space point after the divide.
Real32 ndcX(const Matrix &m, const Pnt3f &p)
{
    Pnt3f q;
    m.multFullMatrixPnt(p, q);
    return q[0];
}

bool runCameraDemo(DemoContext &ctx)
{
    std::ostream &out = ctx.out, &err = ctx.err;
    const UInt32 w = 1280, h = 720;

    PerspectiveCamera2Ptr cam = PerspectiveCamera2::create();
    addRefCP(cam);
    CameraSettingPtr s = CameraSetting::create();
    cam->setCameraSetting(s);
    beginEditCP(s);
    s->setUseTransformBeacon(true);
    s->setFrom(Pnt3f(6.f, 2.f, 8.f));
    s->setAt(Pnt3f(0.f, 0.5f, 0.f));
    s->setNearClippingPlane(0.1f);
    s->setFarClippingPlane(1000.f);
    s->setPrincipalPointOffset(Vec2f(0.5f, 0.f));
    endEditCP(s);
    cam->setFocalLength(35.f);
    cam->setFStop(2.8f);
    s->updateDistanceHeightAngleByFromAtUp();

    Matrix proj, view;
    cam->getProjection(proj, w, h);
    cam->getViewing(view, w, h);
    const std::filesystem::path file = ctx.outDir / "camera.txt";
    {
        std::ofstream os(file);
        os << std::setprecision(7);
        writeMatrix(os, "K matrix", cam->getKMatrix(Real32(w), Real32(h)));
        writeMatrix(os, "projection", proj);
        writeMatrix(os, "viewing", view);
        if(!os)
        {
            err << "osgext: cannot write " << file.string() << "\n";
            subRefCP(cam);
            return false;
        }
    }

    // The target lies on the line of sight: its image is the principal point.
    Pnt3f target;
    view.multFullMatrixPnt(s->getAt(), target);
    const Real32 principalX = -proj[2][0];
    bool ok = std::fabs(ndcX(proj, target) - principalX) < 1e-4f;

    // Stereo: both eyes agree on the zero-parallax plane.
    ShearedStereoCameraDecoratorPtr stereo = ShearedStereoCameraDecorator::create();
    addRefCP(stereo);
    stereo->setDecoratee(cam);
    stereo->setEyeSeparation(0.065f);
    stereo->setZeroParallaxDistance(10.f);
    MultiStereoCameraDecoratorPtr view3 = MultiStereoCameraDecorator::create();
    addRefCP(view3);
    view3->setDecoratee(cam);
    view3->setZeroParallaxDistance(10.f);
    view3->setEyeOffset(0.1f);
    Matrix left, right, third;
    stereo->getProjection(left, w, h, 0);
    stereo->getProjection(right, w, h, 1);
    view3->getProjection(third, w, h);
    const Pnt3f onScreen(0.4f, 0.1f, -10.f);
    const Pnt3f nearer(0.4f, 0.1f, -2.f);
    const Real32 stereoGap = std::fabs(ndcX(left, onScreen) - ndcX(right, onScreen));
    const Real32 nearGap   = std::fabs(ndcX(left, nearer) - ndcX(right, nearer));
    ok = ok && stereoGap < 1e-4f && nearGap > 1e-3f && std::fabs(ndcX(third, onScreen) - ndcX(proj, onScreen)) < 1e-4f;

    // Interchange: pixel intrinsics and back.
    skCameraInterchange::PixelIntrinsics k, k2;
    CameraSettingPtr copy = CameraSetting::create();
    addRefCP(copy);
    const bool converted = skCameraInterchange::toPixelIntrinsics(s, w, h, k) &&
                           skCameraInterchange::fromPixelIntrinsics(copy, k, w, h) &&
                           skCameraInterchange::toPixelIntrinsics(copy, w, h, k2);
    ok = ok && converted && std::fabs(k.fx - k2.fx) < 0.01f && std::fabs(k.cx - k2.cx) < 0.01f;

    // A marker board at the target, constant on screen near, constant in the world further out.
    CamboardPtr board = Camboard::create();
    addRefCP(board);
    board->setScale(0.02f);
    board->setMinDistance(5.f);
    board->setMaxDistance(50.f);
    Matrix camera, toWorld, boardMatrix;
    cam->getTransform(camera, Camera::CameraToWorld);
    toWorld.setTranslate(s->getAt().subZero());
    board->calcCamMatrix(camera, toWorld, boardMatrix);
    const Real32 boardScale = Vec3f(boardMatrix[0][0], boardMatrix[0][1], boardMatrix[0][2]).length();
    ok = ok && std::fabs(boardScale - board->calcScale(s->getDistanceHeightAngle()[0] > 0.f
                                                           ? (s->getFrom() - s->getAt()).length()
                                                           : 0.f)) < 1e-4f;

    const Vec3f dha = s->getDistanceHeightAngle();
    out << "  camera: focal length " << cam->getFocalLength() << " mm, f-stop "
        << cam->getFStop() << ", distance/height/angle " << dha[0] << " " << dha[1] << " "
        << dha[2] << ", matrices in " << file.string() << "\n";
    out << "  camera intrinsics: fx " << k.fx << " fy " << k.fy << " cx " << k.cx << " cy "
        << k.cy << (converted ? ", round trip equal" : ", round trip FAILED") << "\n";
    out << "  camera stereo: eyes " << (stereoGap < 1e-4f ? "agree" : "DISAGREE")
        << " on the screen plane, parallax " << nearGap << " at 2 units; camboard scale " << boardScale << "\n";

    subRefCP(board);
    subRefCP(copy);
    subRefCP(view3);
    subRefCP(stereo);
    subRefCP(cam);
    if(!ok)
        err << "osgext: the camera checks failed\n";
    return ok;
}

} // namespace

OSGEXT_DEMO_SECTION(400, "cameras", runCameraDemo);

} // namespace osgext
