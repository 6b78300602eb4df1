// Lens interchange: pixel intrinsics and film backs, round trips and checks against the
// projection's own image of points.
#include "CameraTestSupport.h"

#include <OpenSGExt/OSGPerspectiveCamera2.h>
#include <OpenSGExt/skCameraInterchange.h>

#include <OpenSG/OSGLog.h>

using namespace osg;

namespace {

class InterchangeTest : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        cam = PerspectiveCamera2::create();
        addRefCP(cam);
        setting = CameraSetting::create();
        cam->setCameraSetting(setting);
    }
    void TearDown() override { subRefCP(cam); }

    // Pixel coordinates (top-left origin, y down) of an eye-space point under the camera.
    glm::vec2 pixel(const glm::vec3 &eye, UInt32 w, UInt32 h)
    {
        Matrix p;
        cam->getProjection(p, w, h);
        const glm::vec3 n = camtest::ndc(p, eye);
        return glm::vec2((n.x + 1.f) * w / 2.f, (1.f - n.y) * h / 2.f);
    }

    PerspectiveCamera2Ptr cam;
    CameraSettingPtr      setting;
};

} // namespace

TEST_F(InterchangeTest, IntrinsicsProjectLikeTheCamera)
{
    setting->setPrincipalPointOffset(Vec2f(1.5f, -0.75f));
    setting->setSkewFactor(0.3f);
    setting->setScale(Vec3f(1.1f, 1.f, 1.f));
    skCameraInterchange::PixelIntrinsics k;
    ASSERT_TRUE(skCameraInterchange::toPixelIntrinsics(setting, 1280, 720, k));
    // u = fx X/Z + s Y/Z + cx, v = fy Y/Z + cy with X = x, Y = -y, Z = -z.
    for(const glm::vec3 &q : { glm::vec3(0.3f, 0.2f, -2.f), glm::vec3(-1.f, 0.5f, -7.f) })
    {
        const float X = q.x, Y = -q.y, Z = -q.z;
        const glm::vec2 px = pixel(q, 1280, 720);
        EXPECT_NEAR(px.x, k.fx * X / Z + k.skew * Y / Z + k.cx, 2e-3f);
        EXPECT_NEAR(px.y, k.fy * Y / Z + k.cy, 2e-3f);
    }
    // Vertical mode without scale: fy = h / (2 tan(fov / 2)).
    setting->setScale(Vec3f(1.f, 1.f, 1.f));
    ASSERT_TRUE(skCameraInterchange::toPixelIntrinsics(setting, 1280, 720, k));
    EXPECT_NEAR(k.fy, 360.f / std::tan(0.7853982f / 2.f), 1e-2f);
    EXPECT_NEAR(k.fx, k.fy, 1e-2f);
}

TEST_F(InterchangeTest, IntrinsicsRoundTripInBothModes)
{
    const skCameraInterchange::PixelIntrinsics in{ 1450.f, 1400.f, 950.f, 560.f, -2.5f };
    for(UInt32 mode : { 0u, 1u })
    {
        setting->setFieldOfViewMode(mode);
        ASSERT_TRUE(skCameraInterchange::fromPixelIntrinsics(setting, in, 1920, 1080));
        EXPECT_EQ(setting->getFieldOfViewMode(), mode);
        skCameraInterchange::PixelIntrinsics out;
        ASSERT_TRUE(skCameraInterchange::toPixelIntrinsics(setting, 1920, 1080, out));
        EXPECT_NEAR(out.fx, in.fx, 0.05f) << mode;
        EXPECT_NEAR(out.fy, in.fy, 0.05f) << mode;
        EXPECT_NEAR(out.cx, in.cx, 0.05f) << mode;
        EXPECT_NEAR(out.cy, in.cy, 0.05f) << mode;
        EXPECT_NEAR(out.skew, in.skew, 1e-3f) << mode;
    }
}

TEST_F(InterchangeTest, FilmBackRoundTripAndMeaning)
{
    const skCameraInterchange::FilmBack in{ 23.76f, 13.365f, 35.f, 0.8f, -0.4f };
    ASSERT_TRUE(skCameraInterchange::fromFilmBack(setting, in));
    EXPECT_FLOAT_EQ(setting->getSensorWidth(), 23.76f);
    EXPECT_NEAR(setting->getFocalLength(), 35.f, 1e-3f);
    skCameraInterchange::FilmBack out;
    ASSERT_TRUE(skCameraInterchange::toFilmBack(setting, 0, 0, out));
    EXPECT_NEAR(out.horizontalOffset, 0.8f, 1e-6f);
    EXPECT_NEAR(out.verticalOffset, -0.4f, 1e-6f);
    EXPECT_NEAR(out.focalLength, 35.f, 1e-3f);

    // A film offset of h mm moves the image window right: the optical axis lands h mm (at
    // h / apertureHeight * pixelsHigh pixels) left of the image centre; vertical likewise up.
    const glm::vec2 axis = pixel(glm::vec3(0.f, 0.f, -5.f), 1600, 900);
    const float pixelsPerMm = 900.f / 13.365f;
    EXPECT_NEAR(axis.x, 800.f - 0.8f * pixelsPerMm, 1e-2f);
    EXPECT_NEAR(axis.y, 450.f - 0.4f * pixelsPerMm, 1e-2f);

    // Units other than the mode's need the viewport.
    setting->setPrincipalPointOffsetUnit(1);
    LogCapture log;
    EXPECT_FALSE(skCameraInterchange::toFilmBack(setting, 0, 0, out));
    EXPECT_TRUE(skCameraInterchange::toFilmBack(setting, 1600, 900, out));
}

TEST_F(InterchangeTest, BadInputLeavesEverythingAlone)
{
    LogCapture log;
    skCameraInterchange::PixelIntrinsics k;
    k.fx = 123.f;
    EXPECT_FALSE(skCameraInterchange::toPixelIntrinsics(NullFC, 10, 10, k));
    EXPECT_FALSE(skCameraInterchange::toPixelIntrinsics(setting, 0, 10, k));
    setting->setFieldOfViewMode(3);
    EXPECT_FALSE(skCameraInterchange::toPixelIntrinsics(setting, 10, 10, k));
    EXPECT_FLOAT_EQ(k.fx, 123.f);
    setting->setFieldOfViewMode(0);

    const Real32 fov = setting->getFieldOfView();
    EXPECT_FALSE(skCameraInterchange::fromPixelIntrinsics(setting, { 0.f, 1.f, 0.f, 0.f, 0.f }, 10, 10));
    EXPECT_FALSE(skCameraInterchange::fromPixelIntrinsics(setting, { 1.f, NAN, 0.f, 0.f, 0.f }, 10, 10));
    EXPECT_FALSE(skCameraInterchange::fromFilmBack(setting, { 36.f, 24.f, -5.f, 0.f, 0.f }));
    EXPECT_FLOAT_EQ(setting->getFieldOfView(), fov);
    EXPECT_TRUE(log.contains("not usable"));
}
