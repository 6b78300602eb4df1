// PerspectiveCamera2: projections against glm and hand-computed entries, viewing with roll and
// locks, forwarding and its warnings.
#include "CameraTestSupport.h"

#include <OpenSGExt/OSGPerspectiveCamera2.h>
#include <OpenSGExt/skOpenSGExt.h>

#include <OpenSG/OSGLog.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGTransform.h>

#include <glm/gtc/matrix_transform.hpp>

using namespace osg;
using camtest::matricesNear;

namespace {

class Camera2Test : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        cam = PerspectiveCamera2::create();
        addRefCP(cam);
        setting = CameraSetting::create();
        cam->setCameraSetting(setting);
        cam->setNear(0.5f);
        cam->setFar(200.f);
    }
    void TearDown() override { subRefCP(cam); }

    Matrix projection(UInt32 w, UInt32 h, bool reversed = false)
    {
        Matrix m;
        cam->getProjection(m, w, h, -1, reversed);
        return m;
    }

    PerspectiveCamera2Ptr cam;
    CameraSettingPtr      setting;
};

} // namespace

TEST_F(Camera2Test, VerticalModeWithoutOffsetIsGlmPerspective)
{
    EXPECT_TRUE(matricesNear(projection(1920, 1080), glm::perspective(0.7853982f, 1920.f / 1080.f, 0.5f, 200.f), 2e-5f));
    cam->setFov(0.5f);    // radians
    EXPECT_TRUE(matricesNear(projection(640, 480), glm::perspective(0.5f, 4.f / 3.f, 0.5f, 200.f), 2e-5f));
    cam->setFov(45.f);    // degrees
    EXPECT_TRUE(matricesNear(projection(640, 480), glm::perspective(0.7853982f, 4.f / 3.f, 0.5f, 200.f), 2e-5f));
}

TEST_F(Camera2Test, HorizontalModeFixesTheWidth)
{
    cam->setFovMode(1);
    const float fovy = 2.f * std::atan(std::tan(0.7853982f / 2.f) / 2.f);
    EXPECT_TRUE(matricesNear(projection(800, 400), glm::perspective(fovy, 2.f, 0.5f, 200.f), 2e-5f));
    // Without the sensor model both scale terms are 1.
    cam->setFovMode(5);
    const Matrix m = projection(800, 400);
    EXPECT_FLOAT_EQ(m[0][0], 1.f);
    EXPECT_FLOAT_EQ(m[1][1], 1.f);
}

TEST_F(Camera2Test, PrincipalPointOffsetSkewAndUnits)
{
    // 800 x 600, sensor 36 x 24: unit 0 scales by 600 / 24 = 25 pixels per unit.
    cam->setPrincipalPointOffset(Vec2f(2.f, 1.f));
    Matrix m = projection(800, 600);
    EXPECT_NEAR(m[2][0], 2.f * (400.f + 50.f) / 800.f - 1.f, 1e-6f);     // P(0,2) = 0.125
    EXPECT_NEAR(m[2][1], 2.f * (300.f - 25.f) / 600.f - 1.f, 1e-6f);     // P(1,2)
    // Unit 1: 800 / 36 pixels per unit.
    cam->setPrincipalPointOffsetUnit(1);
    m = projection(800, 600);
    EXPECT_NEAR(m[2][0], 2.f * (400.f + 2.f * 800.f / 36.f) / 800.f - 1.f, 1e-6f);
    // Any other unit ignores the offset.
    cam->setPrincipalPointOffsetUnit(2);
    m = projection(800, 600);
    EXPECT_FLOAT_EQ(m[2][0], 0.f);
    EXPECT_FLOAT_EQ(m[2][1], 0.f);

    // Skew: K(0,1) = k h / 1080, P(0,1) = 2 K(0,1) / w.
    cam->setSkewFactor(0.5f);
    m = projection(1920, 1080);
    EXPECT_NEAR(m[1][0], 2.f * 0.5f / 1920.f, 1e-8f);
    EXPECT_FLOAT_EQ(m[0][1], 0.f);

    // The intrinsic matrix itself, by row and column (row 3 zero).
    const Matrix K = cam->getKMatrix(1920.f, 1080.f);
    const float f = 24.f / (2.f * std::tan(0.7853982f / 2.f));
    EXPECT_NEAR(K[0][0], f / 36.f, 1e-5f);
    EXPECT_NEAR(K[1][0], 0.5f, 1e-6f);
    EXPECT_NEAR(K[2][0], 960.f, 1e-3f);
    EXPECT_NEAR(K[1][1], f / 24.f, 1e-5f);
    EXPECT_NEAR(K[2][1], 540.f, 1e-3f);
    EXPECT_FLOAT_EQ(K[2][2], 1.f);
    EXPECT_FLOAT_EQ(K[3][3], 0.f);
}

TEST_F(Camera2Test, OffsetFrustumAgreesWithGlmFrustum)
{
    // An off-axis frustum of the same slopes: the offset moves the window by ox / (w / 2).
    cam->setPrincipalPointOffset(Vec2f(2.f, -1.f));
    const Matrix m = projection(800, 600);
    const float n = 0.5f, t = n * std::tan(0.7853982f / 2.f), r = t * 800.f / 600.f;
    const float dx = 2.f * 50.f / 800.f * r, dy = 2.f * 25.f / 600.f * t;
    EXPECT_TRUE(matricesNear(m, glm::frustum(-r + dx, r + dx, -t + dy, t + dy, n, 200.f), 2e-5f));
}

TEST_F(Camera2Test, ReversedDepthTerms)
{
    const Matrix normal = projection(640, 480), reversed = projection(640, 480, true);
    EXPECT_FLOAT_EQ(reversed[2][2], 0.5f / 199.5f);
    EXPECT_FLOAT_EQ(reversed[3][2], 0.5f * 200.f / 199.5f);
    EXPECT_FLOAT_EQ(reversed[2][3], -1.f);
    EXPECT_NEAR(camtest::ndc(reversed, glm::vec3(0.f, 0.f, -0.5f)).z, 1.f, 1e-5f);
    EXPECT_NEAR(camtest::ndc(reversed, glm::vec3(0.f, 0.f, -200.f)).z, 0.f, 1e-5f);
    EXPECT_FLOAT_EQ(normal[0][0], reversed[0][0]);
}

TEST_F(Camera2Test, DegenerateInputGivesTheIdentity)
{
    LogCapture log;
    EXPECT_TRUE(camtest::isIdentity(projection(0, 480)));
    EXPECT_TRUE(camtest::isIdentity(projection(640, 0)));

    cam->setNear(5.f);
    cam->setFar(5.f);
    EXPECT_TRUE(camtest::isIdentity(projection(640, 480)));
    EXPECT_TRUE(log.contains("MatrixICPProjection: near 5 ~= far 5!"));

    cam->setFar(1.f);
    EXPECT_TRUE(camtest::isIdentity(projection(640, 480)));
    EXPECT_TRUE(log.contains("MatrixICPProjection: near 5 > far 1!"));

    cam->setFar(100.f);
    cam->setFov(1e-8f);
    EXPECT_TRUE(camtest::isIdentity(projection(640, 480)));
    EXPECT_TRUE(log.contains("very small!"));

    cam->setFov(-1.f);
    EXPECT_TRUE(camtest::isIdentity(projection(640, 480)));

    cam->setFov(0.7f);
    cam->setSensorHeight(0.f);
    EXPECT_TRUE(camtest::isIdentity(projection(640, 480)));
    EXPECT_TRUE(log.contains("aspect ratio"));
}

TEST_F(Camera2Test, FixedClippingPlanesWithoutUseNearFar)
{
    cam->setUseNearFar(false);
    EXPECT_TRUE(matricesNear(projection(640, 480), glm::perspective(0.7853982f, 4.f / 3.f, 100.f, 200.f), 2e-5f));
}

TEST_F(Camera2Test, ManualMatricesFrustumAndScale)
{
    cam->setUseManualFrustum(true);
    cam->setViewPlane(-1.f, 2.f, -0.5f, 1.5f);
    EXPECT_TRUE(matricesNear(projection(640, 480), glm::frustum(-1.f, 2.f, -0.5f, 1.5f, 0.5f, 200.f)));

    // Scale multiplies whole columns; within 1e-6 of 1 it is left alone.
    const Matrix plain = projection(640, 480);
    cam->setScale(Vec3f(1.f, 1.f, 1.0000005f));
    EXPECT_TRUE(matricesNear(projection(640, 480), plain, 0.f));
    cam->setScale(Vec3f(1.f, 2.f, 1.f));
    Matrix doubled = plain;
    doubled[1] *= 2.f;
    EXPECT_TRUE(matricesNear(projection(640, 480), doubled, 0.f));

    // A manual projection is taken as it is, without the scale.
    Matrix manual;
    manual[0][3] = 4.f;
    cam->setManualProjectionMatrix(manual);
    cam->setUseManualProjectionMatrix(true);
    EXPECT_TRUE(matricesNear(projection(640, 480), manual, 0.f));
}

TEST_F(Camera2Test, OrthographicViewPlaneIsRewrittenToTheViewport)
{
    cam->setOrthographic(true);
    cam->setViewPlane(-4.f, 4.f, -1.f, 1.f);    // aspect 4 on a 2:1 viewport
    const Matrix m = projection(200, 100);
    EXPECT_FLOAT_EQ(cam->getTop(), -2.f);       // top from left
    EXPECT_FLOAT_EQ(cam->getBottom(), 2.f);     // bottom from right
    EXPECT_TRUE(matricesNear(m, glm::ortho(-4.f, 4.f, -2.f, 2.f, 0.5f, 200.f)));

    // Within 0.001 of the viewport's aspect nothing is rewritten.
    cam->setViewPlane(-4.f, 4.f, -2.0001f, 2.f);
    projection(200, 100);
    EXPECT_FLOAT_EQ(cam->getTop(), 2.f);
}

TEST_F(Camera2Test, ViewingWithRollMatchesGlm)
{
    setting->setUseTransformBeacon(true);
    cam->setFrom(Pnt3f(1.f, 2.f, 6.f));
    cam->setAt(Pnt3f(0.f, 0.5f, 0.f));
    cam->setUp(Vec3f(0.f, 1.f, 0.f));
    const glm::mat4 look = glm::lookAt(glm::vec3(1.f, 2.f, 6.f), glm::vec3(0.f, 0.5f, 0.f), glm::vec3(0.f, 1.f, 0.f));
    Matrix v;
    cam->getViewing(v, 640, 480);
    EXPECT_TRUE(matricesNear(v, look, 1e-5f));

    cam->setRoll(30.f);
    cam->getViewing(v, 640, 480);
    EXPECT_TRUE(matricesNear(v, glm::rotate(glm::mat4(1.f), glm::radians(-30.f), glm::vec3(0.f, 0.f, 1.f)) * look, 1e-5f));

    cam->setUseManualViewMatrix(true);
    Matrix manual;
    manual.setTranslate(1.f, 1.f, 1.f);
    cam->setManualViewMatrix(manual);
    cam->getViewing(v, 640, 480);
    EXPECT_TRUE(matricesNear(v, manual, 0.f));
}

TEST_F(Camera2Test, LocksAndTheViewCubeOrder)
{
    setting->setUseTransformBeacon(true);
    cam->setFrom(Pnt3f(0.f, 0.f, 5.f));
    cam->setAt(Pnt3f(0.f, 0.f, 0.f));
    Quaternion q;
    q.setValueAsAxisDeg(0.f, 1.f, 0.f, 90.f);
    cam->setLockedRotation(q);
    cam->setLockRotation(true);    // captures; then pin to q again
    cam->setLockedRotation(q);
    cam->setLockedFrom(Pnt3f(3.f, 0.f, 0.f));
    cam->setLockTranslation(true);
    cam->setLockedFrom(Pnt3f(3.f, 0.f, 0.f));

    // Ordinary camera: M = T(lockedFrom) R(q), viewing its inverse.
    const glm::mat4 M = glm::translate(glm::mat4(1.f), glm::vec3(3.f, 0.f, 0.f)) *
                        glm::rotate(glm::mat4(1.f), glm::radians(90.f), glm::vec3(0.f, 1.f, 0.f));
    Matrix v;
    cam->getViewing(v, 640, 480);
    EXPECT_TRUE(matricesNear(v, glm::inverse(M), 1e-5f));

    // View-cube camera: inverted first, then the translation pinned.
    cam->setIsViewCubeCamera(true);
    cam->getViewing(v, 640, 480);
    glm::mat4 expected = glm::inverse(glm::rotate(glm::mat4(1.f), glm::radians(90.f), glm::vec3(0.f, 1.f, 0.f)));
    expected[3] = glm::vec4(3.f, 0.f, 0.f, 1.f);
    EXPECT_TRUE(matricesNear(v, expected, 1e-5f));
}

TEST_F(Camera2Test, BeaconPlacementWithoutTransformBeacon)
{
    NodePtr beacon = Node::create();
    addRefCP(beacon);
    TransformPtr xf = Transform::create();
    Matrix m;
    m.setTranslate(0.f, 0.f, 10.f);
    xf->setMatrix(m);
    beacon->setCore(xf);
    cam->setBeacon(beacon);
    Matrix v;
    cam->getViewing(v, 100, 100);
    EXPECT_FLOAT_EQ(v[3][2], -10.f);
    subRefCP(beacon);
}

TEST_F(Camera2Test, ForwardingWithoutASettingWarns)
{
    PerspectiveCamera2Ptr bare = PerspectiveCamera2::create();
    addRefCP(bare);
    LogCapture log;
    EXPECT_FLOAT_EQ(bare->getFov(), 0.f);
    EXPECT_TRUE(log.contains("Camera has no Setting! Can't get field of view."));
    bare->setScale(Vec3f(2.f, 2.f, 2.f));
    EXPECT_TRUE(log.contains("Camera has no Setting! Can't set scale."));
    EXPECT_TRUE(camtest::isIdentity(bare->getKMatrix(10.f, 10.f)));
    EXPECT_TRUE(log.contains("Camera has no Setting! Can't get K-Matrix."));
    EXPECT_FALSE(bare->isDefaultPersp());
    EXPECT_TRUE(log.contains("Can't get default perspective."));
    EXPECT_EQ(bare->getUp(), Vec3f(0.f, 0.f, 0.f));
    Matrix p;
    bare->getProjection(p, 10, 10);
    EXPECT_TRUE(camtest::isIdentity(p));

    Pnt3f from, at;
    Vec3f up;
    bare->getFromAtUp(from, at, up);
    EXPECT_EQ(at, Pnt3f(0.f, 0.f, -1.f));
    skOpenSGExt::setCameraZUp(true);
    bare->getFromAtUp(from, at, up);
    skOpenSGExt::setCameraZUp(false);
    EXPECT_EQ(at, Pnt3f(0.f, 1.f, 0.f));
    EXPECT_EQ(up, Vec3f(0.f, 0.f, 1.f));
    subRefCP(bare);
}

TEST_F(Camera2Test, SettersEditTheSettingAndOwnIt)
{
    EXPECT_EQ(setting->getRefCount(), 1);
    cam->setSensorDimensions(30.f, 20.f);
    Real32 w, h;
    cam->getSensorDimensions(w, h);
    EXPECT_FLOAT_EQ(w, 30.f);
    EXPECT_FLOAT_EQ(h, 20.f);
    cam->setFocalLength(35.f);
    EXPECT_NEAR(cam->getFocalLength(), 35.f, 1e-3f);
    cam->setFStop(4.f);
    EXPECT_NEAR(cam->getApertureDiameter(), 35.f / 4.f, 1e-3f);
    EXPECT_FLOAT_EQ(cam->getNear(), 0.5f);
    EXPECT_FLOAT_EQ(setting->getFarClippingPlane(), 200.f);

    PerspectiveCamera2Ptr copy = PerspectiveCamera2Ptr::dcast(cam->shallowCopy());
    addRefCP(copy);
    EXPECT_EQ(setting->getRefCount(), 2);
    subRefCP(copy);
    EXPECT_EQ(setting->getRefCount(), 1);
}

TEST_F(Camera2Test, SingularPlacementGivesTheIdentity)
{
    NodePtr beacon = Node::create();
    addRefCP(beacon);
    TransformPtr xf = Transform::create();
    Matrix flat;
    flat.setScale(0.f);
    xf->setMatrix(flat);
    beacon->setCore(xf);
    cam->setBeacon(beacon);
    Matrix v;
    v[0][1] = 3.f;
    cam->getViewing(v, 100, 100);
    EXPECT_TRUE(camtest::isIdentity(v));

    // A look-at with up along the line of sight keeps the beacon's placement.
    setting->setUseTransformBeacon(true);
    cam->setFrom(Pnt3f(0.f, 5.f, 0.f));
    cam->setAt(Pnt3f(0.f, 0.f, 0.f));
    Matrix t;
    cam->getTransform(t, Camera::CameraToWorld);
    EXPECT_TRUE(matricesNear(t, flat, 0.f));
    subRefCP(beacon);
}
