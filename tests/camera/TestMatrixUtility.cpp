// The kernel's projection and placement builders against glm, and the kernel cameras.
#include "CameraTestSupport.h"

#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGLog.h>
#include <OpenSG/OSGMatrixUtility.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGPerspectiveCamera.h>
#include <OpenSG/OSGShearedStereoCameraDecorator.h>
#include <OpenSG/OSGTransform.h>

#include <glm/gtc/matrix_transform.hpp>

using namespace osg;
using camtest::matricesNear;

TEST(MatrixUtility, ProjectionsMatchGlm)
{
    Matrix m;
    EXPECT_FALSE(MatrixFrustum(m, -1.f, 3.f, -2.f, 0.5f, 0.5f, 100.f));
    EXPECT_TRUE(matricesNear(m, glm::frustum(-1.f, 3.f, -2.f, 0.5f, 0.5f, 100.f)));

    EXPECT_FALSE(MatrixOrthogonal(m, -4.f, 2.f, -1.f, 3.f, 0.1f, 20.f));
    EXPECT_TRUE(matricesNear(m, glm::ortho(-4.f, 2.f, -1.f, 3.f, 0.1f, 20.f)));

    // OpenSG's MatrixPerspective takes the half opening.
    EXPECT_FALSE(MatrixPerspective(m, 0.4f, 1.5f, 0.2f, 500.f));
    EXPECT_TRUE(matricesNear(m, glm::perspective(0.8f, 1.5f, 0.2f, 500.f), 2e-5f));
}

TEST(MatrixUtility, ReversedDepthMapsNearToOneAndFarToZero)
{
    const float n = 0.5f, f = 80.f;
    Matrix frustum, ortho;
    MatrixFrustum(frustum, -1.f, 1.f, -1.f, 1.f, n, f, true);
    MatrixOrthogonal(ortho, -1.f, 1.f, -1.f, 1.f, n, f, true);
    for(const Matrix *m : { &frustum, &ortho })
    {
        EXPECT_NEAR(camtest::ndc(*m, glm::vec3(0.f, 0.f, -n)).z, 1.f, 1e-5f);
        EXPECT_NEAR(camtest::ndc(*m, glm::vec3(0.f, 0.f, -f)).z, 0.f, 1e-5f);
        const float mid = camtest::ndc(*m, glm::vec3(0.f, 0.f, -10.f)).z;
        EXPECT_GT(mid, 0.f);
        EXPECT_LT(mid, 1.f);
    }
    // Everything but the depth terms equals the ordinary matrix.
    Matrix plain;
    MatrixFrustum(plain, -1.f, 1.f, -1.f, 1.f, n, f, false);
    plain[2][2] = frustum[2][2];
    plain[3][2] = frustum[3][2];
    EXPECT_TRUE(matricesNear(plain, frustum, 0.f));
}

TEST(MatrixUtility, PerspectiveRejectsDegenerateInput)
{
    LogCapture log;
    Matrix m;
    m[0][1] = 7.f;
    EXPECT_TRUE(MatrixPerspective(m, 0.5f, 1.f, 10.f, 1.f));
    EXPECT_TRUE(camtest::isIdentity(m));
    EXPECT_TRUE(log.contains("MatrixPerspective: near 10 > far 1!"));
    EXPECT_TRUE(MatrixPerspective(m, 0.f, 1.f, 1.f, 10.f));
    EXPECT_TRUE(log.contains("very small"));
    EXPECT_TRUE(MatrixPerspective(m, 0.5f, 1.f, 2.f, 2.f));
    EXPECT_TRUE(log.contains("~= far"));
    EXPECT_TRUE(MatrixPerspective(m, 0.5f, 0.f, 1.f, 2.f));
    EXPECT_TRUE(log.contains("aspect ratio 0 very small!"));
}

TEST(MatrixUtility, LookAtIsTheInverseOfGlmLookAt)
{
    const Pnt3f from(3.f, 4.f, -2.f), at(-1.f, 0.5f, 2.f);
    const Vec3f up(0.2f, 1.f, 0.1f);
    Matrix m;
    EXPECT_FALSE(MatrixLookAt(m, from, at, up));
    const glm::mat4 view = glm::lookAt(glm::vec3(3.f, 4.f, -2.f), glm::vec3(-1.f, 0.5f, 2.f),
                                       glm::vec3(0.2f, 1.f, 0.1f));
    EXPECT_TRUE(matricesNear(m, glm::inverse(view), 1e-5f));

    // Up along the line of sight: nothing written.
    Matrix untouched;
    untouched[3][0] = 5.f;
    Matrix keep = untouched;
    EXPECT_TRUE(MatrixLookAt(untouched, 0.f, 0.f, 0.f, 0.f, 1.f, 0.f, 0.f, 1.f, 0.f));
    EXPECT_TRUE(matricesNear(untouched, keep, 0.f));
}

TEST(MatrixUtility, StereoFrustaShareTheZeroParallaxRectangle)
{
    Matrix left, leftT, right, rightT;
    const float zp = 5.f, sep = 0.3f;
    EXPECT_FALSE(MatrixStereoPerspective(left, leftT, 1.f, 1.6f, 0.5f, 100.f, zp, sep, 0.f, 1.f));
    EXPECT_FALSE(MatrixStereoPerspective(right, rightT, 1.f, 1.6f, 0.5f, 100.f, zp, sep, 1.f, 1.f));
    left.mult(leftT);
    right.mult(rightT);
    // A point on the zero-parallax plane has the same image in both eyes; nearer points not.
    const glm::vec3 onScreen(0.7f, -0.3f, -zp), nearer(0.7f, -0.3f, -1.f);
    EXPECT_NEAR(camtest::ndc(left, onScreen).x, camtest::ndc(right, onScreen).x, 1e-5f);
    EXPECT_GT(std::fabs(camtest::ndc(left, nearer).x - camtest::ndc(right, nearer).x), 0.05f);
    EXPECT_FLOAT_EQ(leftT[3][0], 0.15f);
    EXPECT_FLOAT_EQ(rightT[3][0], -0.15f);
}

namespace {

struct KernelCameraFixture : public ::testing::Test
{
    void SetUp() override
    {
        beacon = Node::create();
        addRefCP(beacon);
        xform = Transform::create();
        Matrix m;
        m.setTranslate(1.f, 2.f, 3.f);
        xform->setMatrix(m);
        beacon->setCore(xform);
        cam = PerspectiveCamera::create();
        addRefCP(cam);
        cam->setBeacon(beacon);
        cam->setNear(0.5f);
        cam->setFar(50.f);
        cam->PerspectiveCameraBase::setFov(1.f);
    }
    void TearDown() override
    {
        subRefCP(cam);
        subRefCP(beacon);
    }
    NodePtr              beacon;
    TransformPtr         xform;
    PerspectiveCameraPtr cam;
};

} // namespace

TEST_F(KernelCameraFixture, PerspectiveCameraModes)
{
    Matrix m;
    cam->getProjection(m, 400, 200);
    EXPECT_TRUE(matricesNear(m, glm::perspective(1.f, 2.f, 0.5f, 50.f), 2e-5f));

    // Horizontal: the opening fixes x, so the vertical one is 2 atan(tan(0.5) / aspect).
    cam->setFovMode(PerspectiveCamera::FOV_horizontal);
    cam->getProjection(m, 400, 200);
    EXPECT_TRUE(matricesNear(m, glm::perspective(2.f * std::atan(std::tan(0.5f) / 2.f), 2.f, 0.5f, 50.f), 2e-5f));

    // Smaller: a tall viewport fixes x.
    cam->setFovMode(PerspectiveCamera::FOV_smaller);
    Matrix tall;
    cam->getProjection(tall, 100, 300);
    EXPECT_NEAR(tall[0][0], 1.f / std::tan(0.5f), 1e-5f);

    // Degrees are read as such; an empty viewport gives the identity.
    cam->setFovMode(PerspectiveCamera::FOV_vertical);
    cam->PerspectiveCameraBase::setFov(Real32(osgrad2degree(1.0)));
    cam->getProjection(m, 400, 200);
    EXPECT_TRUE(matricesNear(m, glm::perspective(1.f, 2.f, 0.5f, 50.f), 2e-5f));
    cam->getProjection(m, 0, 200);
    EXPECT_TRUE(camtest::isIdentity(m));
}

TEST_F(KernelCameraFixture, ViewingInvertsTheBeacon)
{
    Matrix v;
    cam->getViewing(v, 100, 100);
    EXPECT_FLOAT_EQ(v[3][0], -1.f);
    EXPECT_FLOAT_EQ(v[3][1], -2.f);
    EXPECT_FLOAT_EQ(v[3][2], -3.f);

    Matrix t;
    cam->getTransform(t, Camera::CameraToWorld);
    EXPECT_FLOAT_EQ(t[3][2], 3.f);

    LogCapture log;
    cam->setBeacon(NullFC);
    cam->getViewing(v, 100, 100);
    EXPECT_TRUE(camtest::isIdentity(v));
    EXPECT_TRUE(log.contains("Camera::getViewing: no beacon!"));
}

TEST_F(KernelCameraFixture, ShearedStereoDecorator)
{
    ShearedStereoCameraDecoratorPtr deco = ShearedStereoCameraDecorator::create();
    addRefCP(deco);
    deco->setDecoratee(cam);
    // The decorator answers the decoratee's fields.
    EXPECT_FLOAT_EQ(deco->getNear(), 0.5f);
    deco->setFar(60.f);
    EXPECT_FLOAT_EQ(cam->getFar(), 60.f);

    Matrix plain, m;
    cam->getProjection(plain, 300, 200);
    deco->getProjection(m, 300, 200);
    EXPECT_TRUE(matricesNear(m, plain, 0.f));    // no separation

    deco->setEyeSeparation(0.2f);
    deco->setZeroParallaxDistance(4.f);
    Matrix left, right;
    deco->getProjection(left, 300, 200, 0);
    deco->getProjection(right, 300, 200, 1);
    const glm::vec3 onScreen(0.4f, 0.2f, -4.f);
    EXPECT_NEAR(camtest::ndc(left, onScreen).x, camtest::ndc(right, onScreen).x, 1e-5f);
    deco->setLeftEye(true);
    deco->getProjection(m, 300, 200, -1);
    EXPECT_TRUE(matricesNear(m, left, 0.f));

    LogCapture log;
    deco->setDecoratee(NullFC);
    deco->getProjection(m, 300, 200);
    EXPECT_TRUE(camtest::isIdentity(m));
    EXPECT_TRUE(log.contains("can only decorate PerspectiveCameras!"));
    deco->getViewing(m, 300, 200);
    EXPECT_TRUE(log.contains("CameraDecorator::getViewing: no decoratee!"));
    subRefCP(deco);
}
