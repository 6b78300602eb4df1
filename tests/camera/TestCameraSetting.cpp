// CameraSetting: layout, defaults, lens formulas, distance/height/angle and the changed rules.
#include <OpenSGExt/OSGCameraAttachment.h>
#include <OpenSGExt/OSGCameraSetting.h>
#include <OpenSGExt/OSGTonemappingSettings.h>

#include <OpenSG/OSGChangeList.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGLog.h>
#include <OpenSG/OSGMatrixUtility.h>

#include <platform/skSceneData.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace osg;

namespace {

class SettingTest : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        s = CameraSetting::create();
        addRefCP(s);
    }
    void TearDown() override { subRefCP(s); }
    CameraSettingPtr s;
};

} // namespace

TEST(CameraSettingLayout, SixtyFieldsFromThreeOnWideMasks)
{
    EXPECT_EQ(CameraSetting::FromFieldId, 3u);
    EXPECT_EQ(CameraSetting::DistanceHeightAngleFieldId, 62u);
    EXPECT_EQ(CameraSetting::NextFieldId, 63u);
    EXPECT_EQ(CameraSetting::LockedRotationFieldId, 52u);
    EXPECT_EQ(CameraSetting::TonemappingSettingsFieldId, 61u);
    // Ids from 64 on would not fit 64 bits; the top field's bit is in the upper word.
    EXPECT_EQ(CameraSetting::DistanceHeightAngleFieldMask, TypeTraits<BitVector>::One << 62u);
    const FieldContainerType *t = FieldContainerFactory::the()->findType("CameraSetting");
    ASSERT_NE(t, nullptr);
    EXPECT_STREQ(t->getParentType()->getCName(), "NodeCore");
    EXPECT_NE(FieldContainerFactory::the()->findType("TonemappingSettings"), nullptr);
    EXPECT_NE(FieldContainerFactory::the()->findType("TextureSettings"), nullptr);
}

TEST_F(SettingTest, DefaultsOfANewSetting)
{
    EXPECT_EQ(s->getAt(), Pnt3f(0.f, 0.f, -1.f));
    EXPECT_EQ(s->getUp(), Vec3f(0.f, 1.f, 0.f));
    EXPECT_FLOAT_EQ(s->getNearClippingPlane(), 0.1f);
    EXPECT_FLOAT_EQ(s->getFarClippingPlane(), 50000.f);
    EXPECT_FLOAT_EQ(s->getFieldOfView(), 0.7853982f);
    EXPECT_FLOAT_EQ(s->getSensorWidth(), 36.f);
    EXPECT_FLOAT_EQ(s->getSensorHeight(), 24.f);
    EXPECT_FLOAT_EQ(s->getShutterSpeed(), 125.f);
    EXPECT_FLOAT_EQ(s->getApertureDiameter(), 7.76f);
    EXPECT_EQ(s->getFlags(), 16u);
    EXPECT_FLOAT_EQ(s->getCameraChangeDuration(), 1.f);
    EXPECT_EQ(s->getScale(), Vec3f(1.f, 1.f, 1.f));
    EXPECT_TRUE(s->getManualProjectionMatrix().equals(Matrix(), 0.f));
    EXPECT_FALSE(s->getZUp());
    EXPECT_EQ(s->getTonemappingSettings(), NullFC);
}

TEST_F(SettingTest, LensFormulas)
{
    // 24 / (2 tan(pi / 8)) = 28.9706...
    EXPECT_NEAR(s->getFocalLength(), 24.0 / (2.0 * std::tan(M_PI / 8.0)), 1e-4);
    EXPECT_FLOAT_EQ(s->calculateFocalLength(45.f), s->calculateFocalLength(0.7853982f));
    EXPECT_NEAR(s->calculateFocalLength(0.5f), 24.0 / (2.0 * std::tan(0.25)), 1e-4);

    // Horizontal mode measures on the sensor width.
    s->setFieldOfViewMode(1);
    EXPECT_NEAR(s->getFocalLength(), 36.0 / (2.0 * std::tan(M_PI / 8.0)), 1e-4);
    s->setFieldOfViewMode(0);

    s->setFocalLength(50.f);
    EXPECT_NEAR(s->getFieldOfView(), 2.0 * std::atan2(12.0, 50.0), 1e-6);
    EXPECT_NEAR(s->getFocalLength(), 50.f, 1e-3f);

    s->setFStop(2.8f);
    EXPECT_NEAR(s->getApertureDiameter(), 50.0 / 2.8, 1e-3);
    EXPECT_NEAR(s->getFStop(), 2.8f, 1e-4f);
}

TEST_F(SettingTest, FieldOfViewKeepsTheFramingWithFlag8)
{
    s->setFrom(Pnt3f(0.f, 0.f, 10.f));
    s->setAt(Pnt3f(0.f, 0.f, 0.f));
    s->setFieldOfView(1.f);
    EXPECT_EQ(s->getFrom(), Pnt3f(0.f, 0.f, 10.f));    // no flag: the eye stays

    s->addFlag(CameraSetting::KeepFramingFlag);
    Thread::getCurrentChangeList()->clearAll();
    s->setFieldOfView(0.5f);
    // The width at the target, 2 L tan(fov / 2), is what it was.
    const Real32 L = (s->getAt() - s->getFrom()).length();
    EXPECT_NEAR(2.f * L * std::tan(0.25f), 2.f * 10.f * std::tan(0.5f), 1e-4f);
    EXPECT_FLOAT_EQ(s->getFieldOfView(), 0.5f);
    ChangeList *cl = Thread::getCurrentChangeList();
    ASSERT_EQ(cl->sizeChanged(), 1u);
    EXPECT_EQ(cl->getChanged()[0].second, CameraSetting::FromFieldMask);
}

TEST_F(SettingTest, DistanceHeightAngleEdgeCases)
{
    Real32 d, h, a;
    s->setAt(Pnt3f(0.f, 0.f, 0.f));
    s->setFrom(Pnt3f(10.f, 0.f, 0.f));
    s->getDHAFromFAU(d, h, a);
    EXPECT_FLOAT_EQ(d, 10.f);
    EXPECT_FLOAT_EQ(h, 0.f);
    EXPECT_FLOAT_EQ(a, 0.f);

    s->setFrom(Pnt3f(0.f, 0.f, -5.f));
    s->getDHAFromFAU(d, h, a);
    EXPECT_NEAR(a, 270.f, 1e-4f);
    EXPECT_NEAR(d, 5.f, 1e-4f);

    // cos(270 deg) is within 1e-6 of 0: the distance falls back to cos(asin(3/5)) * 5.
    s->setFrom(Pnt3f(0.f, 3.f, -4.f));
    s->getDHAFromFAU(d, h, a);
    EXPECT_NEAR(a, 270.f, 1e-4f);
    EXPECT_NEAR(d, 4.f, 1e-5f);
    EXPECT_FLOAT_EQ(h, 3.f);

    s->setFrom(Pnt3f(0.f, 7.f, 0.f));
    s->getDHAFromFAU(d, h, a);
    EXPECT_FLOAT_EQ(a, 0.f);
    EXPECT_FLOAT_EQ(d, 0.f);
    EXPECT_FLOAT_EQ(h, 7.f);
}

TEST_F(SettingTest, DistanceHeightAngleRoundTripsWithYAndZUp)
{
    for(bool zUp : { false, true })
    {
        s->setZUp(zUp);
        s->setAt(Pnt3f(1.f, -2.f, 3.f));
        const Pnt3f eye = zUp ? Pnt3f(-3.f, 2.f, 8.f) : Pnt3f(-3.f, 3.f, 7.f);
        s->setFrom(eye);
        s->updateDistanceHeightAngleByFromAtUp();
        const Vec3f dha = s->getDistanceHeightAngle();
        EXPECT_NEAR(dha[1], 5.f, 1e-5f) << zUp;
        EXPECT_NEAR(dha[0], std::sqrt(32.f), 1e-4f) << zUp;
        EXPECT_NEAR(dha[2], 135.f, 1e-3f) << zUp;

        Vec3f from, at, up;
        s->getFAUFromDHA(from, at, up);
        EXPECT_NEAR(from[0], eye[0], 1e-4f);
        EXPECT_NEAR(from[1], eye[1], 1e-4f);
        EXPECT_NEAR(from[2], eye[2], 1e-4f);
        EXPECT_EQ(at, Vec3f(1.f, -2.f, 3.f));
        EXPECT_EQ(up, zUp ? Vec3f(0.f, 0.f, 1.f) : Vec3f(0.f, 1.f, 0.f));
    }
}

TEST_F(SettingTest, SettingDistanceMovesTheEye)
{
    s->setAt(Pnt3f(0.f, 0.f, 0.f));
    s->setDistanceHeightAngle(Vec3f(10.f, 2.f, 90.f));
    s->setDistance(4.f);    // reported: changed() recomputes from and up
    EXPECT_NEAR(s->getFrom()[0], 0.f, 1e-5f);
    EXPECT_NEAR(s->getFrom()[1], 2.f, 1e-5f);
    EXPECT_NEAR(s->getFrom()[2], 4.f, 1e-5f);
    s->setTurnTableAngle(180.f);
    EXPECT_NEAR(s->getFrom()[0], -4.f, 1e-5f);
    EXPECT_FLOAT_EQ(s->getTurnTableAngle(), 180.f);

    // Together with from, the from that was set stays; a whole-container change also.
    beginEditCP(s, CameraSetting::DistanceHeightAngleFieldMask | CameraSetting::FromFieldMask);
    s->setDistanceHeightAngle(Vec3f(1.f, 1.f, 0.f));
    s->setFrom(Pnt3f(9.f, 9.f, 9.f));
    endEditCP(s, CameraSetting::DistanceHeightAngleFieldMask | CameraSetting::FromFieldMask);
    EXPECT_EQ(s->getFrom(), Pnt3f(9.f, 9.f, 9.f));
    beginEditCP(s);
    endEditCP(s);
    EXPECT_EQ(s->getFrom(), Pnt3f(9.f, 9.f, 9.f));
}

TEST_F(SettingTest, LocksCaptureThePlacement)
{
    s->setFrom(Pnt3f(4.f, 3.f, 2.f));
    s->setAt(Pnt3f(0.f, 1.f, 0.f));
    s->setUp(Vec3f(0.f, 1.f, 0.f));
    beginEditCP(s, CameraSetting::LockTranslationFieldMask | CameraSetting::LockRotationFieldMask);
    s->setLockTranslation(true);
    s->setLockRotation(true);
    endEditCP(s, CameraSetting::LockTranslationFieldMask | CameraSetting::LockRotationFieldMask);
    EXPECT_EQ(s->getLockedFrom(), Pnt3f(4.f, 3.f, 2.f));
    EXPECT_EQ(s->getLockedAt(), Pnt3f(0.f, 1.f, 0.f));
    EXPECT_EQ(s->getLockedUp(), Vec3f(0.f, 1.f, 0.f));

    // The captured rotation turns -z into the line of sight.
    Matrix r;
    s->getLockedRotation().getValue(r);
    Vec3f minusZ(0.f, 0.f, -1.f), dir;
    r.multMatrixVec(minusZ, dir);
    Vec3f sight = s->getAt() - s->getFrom();
    sight.normalize();
    EXPECT_NEAR(dir.dot(sight), 1.f, 1e-5f);

    // Switching off captures nothing.
    s->setFrom(Pnt3f(0.f, 0.f, 0.f));
    beginEditCP(s, CameraSetting::LockTranslationFieldMask);
    s->setLockTranslation(false);
    endEditCP(s, CameraSetting::LockTranslationFieldMask);
    EXPECT_EQ(s->getLockedFrom(), Pnt3f(4.f, 3.f, 2.f));
}

TEST_F(SettingTest, ChangeDurationIsConvertedOnceByTheFrameRate)
{
    skSceneData *scene = skSceneDataManager::getSceneData();
    const Real32 oldRate = scene->getFrameRate();
    scene->setFrameRate(25.f);

    // Flag 16 set (the default): seconds already.
    beginEditCP(s, CameraSetting::CameraChangeDurationFieldMask);
    s->setCameraChangeDuration(50.f);
    endEditCP(s, CameraSetting::CameraChangeDurationFieldMask);
    EXPECT_FLOAT_EQ(s->getCameraChangeDuration(), 50.f);

    s->subFlag(CameraSetting::DurationSecondsFlag);
    beginEditCP(s, CameraSetting::CameraChangeDurationFieldMask);
    s->setCameraChangeDuration(50.f);
    endEditCP(s, CameraSetting::CameraChangeDurationFieldMask);
    EXPECT_FLOAT_EQ(s->getCameraChangeDuration(), 2.f);
    EXPECT_TRUE(s->hasFlag(CameraSetting::DurationSecondsFlag));

    // Once only.
    beginEditCP(s, CameraSetting::CameraChangeDurationFieldMask);
    endEditCP(s, CameraSetting::CameraChangeDurationFieldMask);
    EXPECT_FLOAT_EQ(s->getCameraChangeDuration(), 2.f);

    // Without a frame rate nothing is converted and the flag stays clear.
    scene->setFrameRate(0.f);
    s->subFlag(CameraSetting::DurationSecondsFlag);
    LogCapture log;
    beginEditCP(s, CameraSetting::CameraChangeDurationFieldMask);
    endEditCP(s, CameraSetting::CameraChangeDurationFieldMask);
    EXPECT_FLOAT_EQ(s->getCameraChangeDuration(), 2.f);
    EXPECT_FALSE(s->hasFlag(CameraSetting::DurationSecondsFlag));
    scene->setFrameRate(oldRate);
}

TEST_F(SettingTest, FlagsReportOnlyRealChanges)
{
    Thread::getCurrentChangeList()->clearAll();
    s->addFlag(16);    // already set
    EXPECT_EQ(Thread::getCurrentChangeList()->sizeChanged(), 0u);
    s->addFlag(8 | 1);
    EXPECT_EQ(s->getFlags(), 25u);
    EXPECT_EQ(Thread::getCurrentChangeList()->sizeChanged(), 1u);
    EXPECT_TRUE(s->hasFlag(9));
    EXPECT_FALSE(s->hasFlag(2));
    s->subFlag(2);
    EXPECT_EQ(Thread::getCurrentChangeList()->sizeChanged(), 1u);
    s->subFlag(1);
    EXPECT_EQ(s->getFlags(), 24u);
    EXPECT_EQ(Thread::getCurrentChangeList()->sizeChanged(), 2u);
}

TEST_F(SettingTest, DefaultCamerasAndPlainMembers)
{
    s->setIsDefaultTop(true);
    EXPECT_TRUE(s->isDefaultCamera(CameraSetting::Top));
    EXPECT_FALSE(s->isDefaultCamera(CameraSetting::Front));
    EXPECT_FALSE(s->isDefaultCamera(CameraSetting::DefaultCamera(7)));

    Thread::getCurrentChangeList()->clearAll();
    s->setEnableCollision(true);
    s->setSize(3);
    EXPECT_TRUE(s->getEnableCollision());
    EXPECT_EQ(s->getSize(), 3);
    EXPECT_EQ(Thread::getCurrentChangeList()->sizeChanged(), 0u);
}

TEST_F(SettingTest, ReferencedPointersFollowOwnership)
{
    TonemappingSettingsPtr tone = TonemappingSettings::create();
    addRefCP(tone);
    s->setTonemappingSettings(tone);
    EXPECT_EQ(tone->getRefCount(), 2);
    CameraSettingPtr copy = CameraSettingPtr::dcast(s->shallowCopy());
    addRefCP(copy);
    EXPECT_EQ(tone->getRefCount(), 3);
    subRefCP(copy);
    EXPECT_EQ(tone->getRefCount(), 2);
    s->setTonemappingSettings(NullFC);
    EXPECT_EQ(tone->getRefCount(), 1);
    subRefCP(tone);
}

TEST(CameraAttachmentFlags, ReportOnlyRealChanges)
{
    CameraAttachmentPtr a = CameraAttachment::create();
    addRefCP(a);
    Thread::getCurrentChangeList()->clearAll();
    a->addTurntableAnimationFlag(4);
    a->addTurntableAnimationFlag(4);
    EXPECT_EQ(Thread::getCurrentChangeList()->sizeChanged(), 1u);
    EXPECT_TRUE(a->hasTurntableAnimationFlag(4));
    a->subTurntableAnimationFlag(1);
    EXPECT_EQ(Thread::getCurrentChangeList()->sizeChanged(), 1u);
    a->subTurntableAnimationFlag(4);
    EXPECT_EQ(a->getTurntableAnimationFlags(), 0u);
    EXPECT_EQ(Thread::getCurrentChangeList()->sizeChanged(), 2u);
    EXPECT_EQ(CameraAttachment::ViewFieldId, 3u);
    EXPECT_EQ(CameraAttachment::OverrideTrackSettingsFieldId, 13u);
    subRefCP(a);
}
