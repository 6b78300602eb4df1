// The library's decorators: eye choice, eye matrices, fixed matrices, multi-view and overlap
// frusta, transform decorator, and their answers without a decoratee.
#include "CameraTestSupport.h"

#include <OpenSGExt/OSGHMDStereoCameraDecorator.h>
#include <OpenSGExt/OSGMatrixStereoCameraDecorator.h>
#include <OpenSGExt/OSGMultiStereoCameraDecorator.h>
#include <OpenSGExt/OSGOverlapCameraDecorator.h>
#include <OpenSGExt/OSGPerspectiveCamera2.h>
#include <OpenSGExt/OSGTransformCameraDecorator.h>

#include <OpenSG/OSGLog.h>
#include <OpenSG/OSGMatrixUtility.h>
#include <OpenSG/OSGShearedStereoCameraDecorator.h>
#include <OpenSG/OSGTransform3D.h>

#include <glm/gtc/matrix_transform.hpp>

using namespace osg;
using camtest::matricesNear;

namespace {

class DecoratorTest : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        cam = PerspectiveCamera2::create();
        addRefCP(cam);
        cam->setCameraSetting(CameraSetting::create());
        cam->getCameraSetting()->setUseTransformBeacon(true);
        cam->setFrom(Pnt3f(0.f, 1.f, 4.f));
        cam->setAt(Pnt3f(0.f, 1.f, 0.f));
        cam->setNear(0.5f);
        cam->setFar(100.f);
        cam->getViewing(camView, 640, 480);
        cam->getProjection(camProj, 640, 480);
    }
    void TearDown() override { subRefCP(cam); }

    template <class PtrT>
    PtrT held(PtrT p)
    {
        addRefCP(p);
        _held.push_back(p);
        return p;
    }
    ~DecoratorTest() override
    {
        for(FieldContainerPtr p : _held)
            subRefCP(p);
    }

    PerspectiveCamera2Ptr cam;
    Matrix                camView, camProj;

  private:
    std::vector<FieldContainerPtr> _held;
};

Matrix translation(float x, float y, float z)
{
    Matrix m;
    m.setTranslate(x, y, z);
    return m;
}

} // namespace

TEST_F(DecoratorTest, HmdEyeChoiceAndEyeMatrices)
{
    HMDStereoCameraDecoratorPtr hmd = held(HMDStereoCameraDecorator::create());
    hmd->setDecoratee(cam);
    hmd->setLeftEyeViewingMatrix(translation(0.03f, 0.f, 0.f));
    hmd->setRightEyeViewingMatrix(translation(-0.03f, 0.f, 0.f));
    Matrix lp, rp;
    MatrixFrustum(lp, -1.f, 0.8f, -1.f, 1.f, 0.1f, 50.f);
    MatrixFrustum(rp, -0.8f, 1.f, -1.f, 1.f, 0.1f, 50.f);
    hmd->setLeftEyeProjectionMatrix(lp);
    hmd->setRightEyeProjectionMatrix(rp);

    Matrix v, p;
    // -1 with leftEye false: the right eye; 0: the left eye whatever leftEye says.
    hmd->getViewing(v, 640, 480, -1);
    Matrix expected = camView;
    expected.multLeft(translation(-0.03f, 0.f, 0.f));
    EXPECT_TRUE(matricesNear(v, expected, 0.f));    // adjust (0, 0, 0): exactly E V
    hmd->getProjection(p, 640, 480, -1, false);
    EXPECT_TRUE(matricesNear(p, rp, 0.f));
    hmd->getProjection(p, 640, 480, 0, false);
    EXPECT_TRUE(matricesNear(p, lp, 0.f));
    hmd->setLeftEye(true);
    hmd->getProjection(p, 640, 480, -1, false);
    EXPECT_TRUE(matricesNear(p, lp, 0.f));
    hmd->getProjection(p, 640, 480, 1, false);
    EXPECT_TRUE(matricesNear(p, rp, 0.f));

    // The adjust vector translates after the eye matrix.
    hmd->setLeftEyeAdjust(Vec3f(0.f, 0.f, -0.1f));
    hmd->getLeftEyeViewing(v, 640, 480);
    expected = camView;
    expected.multLeft(translation(0.03f, 0.f, 0.f));
    expected.multLeft(translation(0.f, 0.f, -0.1f));
    EXPECT_TRUE(matricesNear(v, expected, 1e-6f));

    // Reversed depth: only the two depth terms change, from the decoratee's planes.
    hmd->getProjection(p, 640, 480, 0, true);
    Matrix patched = lp;
    patched[2][2] = 0.5f / 99.5f;
    patched[3][2] = 0.5f * 100.f / 99.5f;
    EXPECT_TRUE(matricesNear(p, patched, 0.f));
    hmd->getLeftEyeProjection(p, 640, 480, true);
    EXPECT_TRUE(matricesNear(p, lp, 0.f));
}

TEST_F(DecoratorTest, HmdEyeSeparationIsInTheEyeMatrices)
{
    HMDStereoCameraDecoratorPtr hmd = held(HMDStereoCameraDecorator::create());
    beginEditCP(hmd);
    hmd->setLeftEyeViewingMatrix(translation(0.032f, 0.f, 0.f));
    hmd->setRightEyeViewingMatrix(translation(-0.032f, 0.f, 0.f));
    endEditCP(hmd);
    EXPECT_FALSE(hmd->isCacheValid());
    EXPECT_NEAR(hmd->getEyeDistance(), 0.064f, 1e-6f);
    EXPECT_TRUE(hmd->isCacheValid());
    hmd->setEyeSeparation(5.f);
    EXPECT_FALSE(hmd->isCacheValid());
    EXPECT_FLOAT_EQ(hmd->getEyeSeparation(), 0.f);    // stored nothing
}

TEST_F(DecoratorTest, MatrixAndTransformDecorators)
{
    MatrixStereoCameraDecoratorPtr ms = held(MatrixStereoCameraDecorator::create());
    ms->setDecoratee(cam);
    ms->setViewingMatrix(translation(1.f, 0.f, 0.f));
    Matrix proj;
    MatrixOrthogonal(proj, -1.f, 1.f, -1.f, 1.f, 1.f, 2.f);
    ms->setProjectionMatrix(proj);
    Matrix v, p;
    ms->getViewing(v, 640, 480);
    Matrix expected = camView;
    expected.multLeft(translation(1.f, 0.f, 0.f));
    EXPECT_TRUE(matricesNear(v, expected, 0.f));
    ms->getProjection(p, 640, 480);
    EXPECT_TRUE(matricesNear(p, proj, 0.f));

    TransformCameraDecoratorPtr td = held(TransformCameraDecorator::create());
    td->setDecoratee(cam);
    td->getViewing(v, 640, 480);
    EXPECT_TRUE(matricesNear(v, camView, 0.f));    // no transform: unchanged
    Transform3DPtr xf = Transform3D::create();
    xf->setMatrix(translation(0.f, -2.f, 0.f));
    td->setViewTransform(xf);
    EXPECT_EQ(xf->getRefCount(), 1);
    td->getViewing(v, 640, 480);
    expected = camView;
    expected.multLeft(translation(0.f, -2.f, 0.f));
    EXPECT_TRUE(matricesNear(v, expected, 0.f));
    td->getProjection(p, 640, 480);
    EXPECT_TRUE(matricesNear(p, camProj, 0.f));
}

TEST_F(DecoratorTest, MultiViewEyesAgreeOnTheScreenPlane)
{
    MultiStereoCameraDecoratorPtr a = held(MultiStereoCameraDecorator::create());
    MultiStereoCameraDecoratorPtr b = held(MultiStereoCameraDecorator::create());
    for(MultiStereoCameraDecoratorPtr d : { a, b })
    {
        d->setDecoratee(cam);
        d->setZeroParallaxDistance(4.f);
    }
    Matrix p;
    a->getProjection(p, 640, 480);
    EXPECT_TRUE(matricesNear(p, camProj, 0.f));    // offset 0: the decoratee's

    a->setEyeOffset(-0.1f);
    b->setEyeOffset(0.25f);
    Matrix pa, pb;
    a->getProjection(pa, 640, 480);
    b->getProjection(pb, 640, 480);
    // Points on the screen plane keep the centre view's image; off the plane they part.
    for(const glm::vec3 &q : { glm::vec3(0.5f, 0.2f, -4.f), glm::vec3(-1.f, 0.7f, -4.f) })
    {
        EXPECT_NEAR(camtest::ndc(pa, q).x, camtest::ndc(camProj, q).x, 1e-5f);
        EXPECT_NEAR(camtest::ndc(pb, q).x, camtest::ndc(camProj, q).x, 1e-5f);
        EXPECT_NEAR(camtest::ndc(pb, q).y, camtest::ndc(camProj, q).y, 1e-5f);
    }
    const glm::vec3 deep(0.5f, 0.2f, -20.f);
    EXPECT_GT(camtest::ndc(pb, deep).x, camtest::ndc(pa, deep).x);
    // The eye of b sees a point straight ahead of it on its own axis: x = 0.25 at any depth
    // projects like the centre axis of a parallel camera shifted by 0.25.
    EXPECT_NEAR(camtest::ndc(pb, glm::vec3(0.25f, 0.f, -8.f)).x,
                camtest::ndc(pb, glm::vec3(0.25f, 0.f, -50.f)).x, 1e-5f);

    LogCapture log;
    MatrixStereoCameraDecoratorPtr notPerspective = held(MatrixStereoCameraDecorator::create());
    a->setDecoratee(notPerspective);
    a->getProjection(p, 640, 480);
    EXPECT_TRUE(camtest::isIdentity(p));
    EXPECT_TRUE(log.contains("MultiStereoCameraDecorator::getProjection: can only decorate PerspectiveCameras!"));
}

TEST_F(DecoratorTest, OverlapWidensTheTileFrustum)
{
    OverlapCameraDecoratorPtr ov = held(OverlapCameraDecorator::create());
    ov->setDecoratee(cam);
    Matrix p;
    ov->getProjection(p, 640, 480);
    EXPECT_TRUE(matricesNear(p, camProj, 0.f));    // no overlap

    ov->setOverlap(64);
    ov->setFullSize(1280, 960);
    ov->getProjection(p, 640, 480);
    // The decoratee's edge (ndc 1) now lies 64 of 1280 + 128 pixels inside the image edge.
    const glm::vec3 q(1.f, 0.5f, -3.f);
    EXPECT_NEAR(camtest::ndc(p, q).x, camtest::ndc(camProj, q).x * 1280.f / 1408.f, 1e-5f);
    EXPECT_NEAR(camtest::ndc(p, q).y, camtest::ndc(camProj, q).y * 960.f / 1088.f, 1e-5f);
    Matrix deco;
    ov->getDecoration(deco, 640, 480);
    EXPECT_NEAR(deco[0][0], 1280.f / 1408.f, 1e-6f);
}

TEST_F(DecoratorTest, NoDecorateeWarnsAndGivesTheIdentity)
{
    LogCapture log;
    Matrix m;
    HMDStereoCameraDecoratorPtr hmd = held(HMDStereoCameraDecorator::create());
    hmd->getViewing(m, 10, 10);
    EXPECT_TRUE(camtest::isIdentity(m));
    hmd->getRightEyeViewing(m, 10, 10);
    hmd->getProjection(m, 10, 10, 0, true);
    EXPECT_TRUE(camtest::isIdentity(m));
    MatrixStereoCameraDecoratorPtr ms = held(MatrixStereoCameraDecorator::create());
    ms->getViewing(m, 10, 10);
    ms->getProjection(m, 10, 10);
    TransformCameraDecoratorPtr td = held(TransformCameraDecorator::create());
    td->getViewing(m, 10, 10);
    td->getProjection(m, 10, 10);
    OverlapCameraDecoratorPtr ov = held(OverlapCameraDecorator::create());
    ov->getProjection(m, 10, 10);
    EXPECT_TRUE(camtest::isIdentity(m));
    for(const char *msg : { "HMDStereoCameraDecorator::getViewing: no camera!",
                            "HMDStereoCameraDecorator::getRightEyeViewing: no camera!",
                            "HMDStereoCameraDecorator::getProjection: no camera!",
                            "MatrixStereoCameraDecorator::getViewing: no decoratee!",
                            "MatrixStereoCameraDecorator::getProjection: no decoratee!",
                            "TransformCameraDecorator::getViewing: no decoratee!",
                            "TransformCameraDecorator::getProjection: no decoratee!",
                            "OverlapCameraDecorator::getProjection: no decoratee!" })
        EXPECT_TRUE(log.contains(msg)) << msg;
}

TEST_F(DecoratorTest, ShearedStereoReadsTheSettingsOpening)
{
    ShearedStereoCameraDecoratorPtr st = held(ShearedStereoCameraDecorator::create());
    st->setDecoratee(cam);
    st->setEyeSeparation(0.1f);
    st->setZeroParallaxDistance(4.f);
    Matrix left, right;
    st->getProjection(left, 640, 480, 0);
    st->getProjection(right, 640, 480, 1);
    // The opening is the setting's (pi / 4), reached through the PerspectiveCamera interface.
    EXPECT_NEAR(left[1][1], 1.f / std::tan(0.7853982f / 2.f), 1e-5f);
    const glm::vec3 onScreen(0.3f, 0.f, -4.f);
    EXPECT_NEAR(camtest::ndc(left, onScreen).x, camtest::ndc(right, onScreen).x, 1e-5f);
    EXPECT_NEAR(camtest::ndc(left, onScreen).x, camtest::ndc(camProj, onScreen).x, 1e-5f);
}
