// AnimCurve: key insertion, replacement and sorting rules, verify, cleaning, volume, the refusal
// of non-finite keys, and the binary form of CCPnt and of a small curve against bytes written out
// by hand (big-endian IEEE floats and unsigned integers, 32 bytes per key).

#include "animation/AnimTestSupport.h"

#include <OpenSGExt/OSGAnimAttachment.h>
#include <OpenSGExt/OSGAnimObject.h>
#include <OpenSGExt/OSGAnimationAttachment.h>

#include <OpenSG/OSGRefPtr.h>
#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGBinaryDataHandler.h>
#include <OpenSG/OSGBoxVolume.h>
#include <OpenSG/OSGLog.h>

#include <gtest/gtest.h>

#include <limits>

using namespace osg;
using namespace animtest;

namespace {

typedef std::vector<UInt8> Bytes;

class AnimCurveTest : public ::testing::Test
{
  protected:
    void SetUp() override { _curve = AnimCurve::create(); addRefCP(_curve); }
    void TearDown() override { subRefCP(_curve); }

    std::vector<double> times() const
    {
        std::vector<double> t;
        for(const CCPnt &k : _curve->getControlPoints())
            t.push_back(k.point[0]);
        return t;
    }
    std::vector<double> values() const
    {
        std::vector<double> v;
        for(const CCPnt &k : _curve->getControlPoints())
            v.push_back(k.point[1]);
        return v;
    }

    AnimCurvePtr _curve;
};

const Vec2f Z(0.f, 0.f);
const Real32 NaN = std::numeric_limits<Real32>::quiet_NaN();
const Real32 PosInf = std::numeric_limits<Real32>::infinity();

} // namespace

// The numbering files and field masks depend on, and the defaults of new containers.
TEST_F(AnimCurveTest, FieldIdsAndDefaults)
{
    const std::pair<UInt32, UInt32> ids[] = {
        { AnimObject::ActiveFieldId, 3 },
        { AnimObject::StartTimeFieldId, 10 },
        { AnimCurve::ColorFieldId, 11 },
        { AnimCurve::ControlPointsFieldId, 16 },
        { AnimCurve::IsCameraShotCurveFieldId, 21 },
        { AnimNode::OffsetFieldId, 10 },
        { AnimNode::LastEvaluationTimeFieldId, 25 },
        { AnimAttachment::ReferenceIDsFieldId, 3 },
        { AnimAttachment::AnimationRootFieldId, 10 },
        { AnimationControlPoint::ControlPointFieldId, 1 },
        { AnimationCurve::AFAppNodeFieldId, 11 },
        { AnimationBlock::EndFieldId, 12 },
        { AnimationTrack::SequencesFieldId, 7 },
        { AnimationClip::RepeatedFieldId, 8 },
        { AnimationAttachment::CurvesFieldId, 3 },
        { AnimationAttachment::BlocksFieldId, 5 },
    };
    for(size_t i = 0; i < sizeof(ids) / sizeof(ids[0]); ++i)
        EXPECT_EQ(ids[i].first, ids[i].second) << "row " << i;
    EXPECT_EQ(AnimCurve::getClassType().getFieldDescription(16)->getFieldType().getName(),
              std::string("MFCCPnt"));

    EXPECT_TRUE(_curve->getActive());
    EXPECT_EQ(_curve->getScale(), 1.f);
    EXPECT_EQ(_curve->getAccumulatedScale(), 1.f);
    CCPnt d;
    EXPECT_EQ(d.inTangentType, 2u);
    EXPECT_EQ(d.outTangentType, 2u);
    RefPtr<AnimNodePtr> fresh(AnimNode::create());
    EXPECT_TRUE(fresh->getMotionBlur());
    EXPECT_EQ(fresh->getScale(), 1.f);
    EXPECT_FALSE(fresh->getHidden());
    EXPECT_TRUE(AnimNode::getClassType().isNode());
}

TEST_F(AnimCurveTest, AddPointReplacesExactTimeOnlyAndRecomputesNeighbours)
{
    for(double t : { 0.0, 1.0, 3.0 })
        _curve->addPoint(Pnt2f(Real32(t), Real32(t * t)), Z, Z, 3, 3, false, true);
    ASSERT_EQ(times(), (std::vector<double>{ 0, 1, 3 }));
    // The middle key got the smooth handle from its neighbours: slope (9-0)/3, length 2/3.
    EXPECT_NEAR(_curve->getControlPoints(1).outTangent[0], 2.0 / 3.0, 1e-6);
    EXPECT_NEAR(_curve->getControlPoints(1).outTangent[1], 9.0 * (2.0 / 3.0) / 3.0, 1e-6);

    EXPECT_EQ(_curve->addPoint(Pnt2f(1.f, 5.f), Z, Z, 2, 2, false, true), 1);
    EXPECT_EQ(values(), (std::vector<double>{ 0, 5, 9 }));
    Int32 i = _curve->addPoint(Pnt2f(1.0000001f, 7.f), Z, Z, 2, 2, false, true);
    EXPECT_EQ(i, 2);
    EXPECT_EQ(_curve->getControlPoints().size(), 4u);

    // Neighbour handles follow the inserted key: key 0 (type 3, first) now points at key 1.
    EXPECT_NEAR(_curve->getControlPoints(0).outTangent[1], 5.0 * (1.0 / 3.0) / 1.0, 1e-6);

    // Given tangents are kept unless asked to compute.
    Int32 j = _curve->addPoint(Pnt2f(2.f, 1.f), Vec2f(-0.1f, 0.2f), Vec2f(0.3f, 0.4f), 2, 2,
                               false, true);
    EXPECT_EQ(_curve->getControlPoints(j).inTangent, Vec2f(-0.1f, 0.2f));
    EXPECT_EQ(_curve->getControlPoints(j).outTangent, Vec2f(0.3f, 0.4f));

    // Forced linear interpolation never recomputes; a handle within 1e-6 of zero is stored as 0.
    RefPtr<AnimCurvePtr> lin(AnimCurve::create());
    lin->setForceLinearInterpolation(true);
    lin->addPoint(Pnt2f(0.f, 0.f), Z, Z, 1, 1, true, true);
    lin->addPoint(Pnt2f(1.f, 4.f), Vec2f(-0.5f, 0.f), Vec2f(1e-7f, 0.f), 1, 1, true, true);
    EXPECT_EQ(lin->getControlPoints(0).outTangent, Z);
    EXPECT_EQ(lin->getControlPoints(1).inTangent, Vec2f(-0.5f, 0.f));
    EXPECT_EQ(lin->getControlPoints(1).outTangent[0], 0.f);
}

TEST_F(AnimCurveTest, AddControlPointIndexAndStableOrder)
{
    CCPnt a(Pnt2f(2.f, 1.f), Z, Z), b(Pnt2f(1.f, 1.f), Z, Z), c(Pnt2f(2.f, 5.f), Z, Z, 0, 0);
    EXPECT_EQ(_curve->addControlPoint(a, false, false), 0);
    EXPECT_EQ(_curve->addControlPoint(b, false, true), 0);
    // Same time, no replace: the later key stays behind the earlier one (stable sort).
    EXPECT_EQ(_curve->addControlPoint(c, false, true), 2);
    EXPECT_EQ(values(), (std::vector<double>{ 1, 1, 5 }));
    // verify keeps the first of equal times.
    _curve->verify(true, true, false);
    EXPECT_EQ(times(), (std::vector<double>{ 1, 2 }));
    EXPECT_EQ(values(), (std::vector<double>{ 1, 1 }));
    // Replace removes the first key at exactly that time.
    EXPECT_EQ(_curve->addControlPoint(c, true, true), 1);
    EXPECT_EQ(values(), (std::vector<double>{ 1, 5 }));
}

TEST_F(AnimCurveTest, VerifySortsDeduplicatesAndRetangents)
{
    for(double t : { 3.0, 0.0, 2.0, 0.0, 1.0 })
        _curve->addPointSimple(Pnt2f(Real32(t), Real32(10 * t + (t == 0.0 ? 1 : 0))));
    _curve->editControlPoints(3).point[1] = 42.f;   // the second key at time 0
    _curve->verify(true, true, true);
    EXPECT_EQ(times(), (std::vector<double>{ 0, 1, 2, 3 }));
    EXPECT_EQ(values()[0], 1.0);   // the first of the two keys at 0 in array order survives
    // types 2/2 (flat): middle key 1, out min(0.5, 2/3), in min(0.5, 2/3)
    EXPECT_NEAR(_curve->getControlPoints(1).outTangent[0], 0.5, 1e-6);
    EXPECT_NEAR(_curve->getControlPoints(1).inTangent[0], -0.5, 1e-6);
    EXPECT_EQ(_curve->getControlPoints(1).outTangent[1], 0.f);

}

TEST_F(AnimCurveTest, NonFiniteKeysRefusedOrLeftAlone)
{
    LogCapture log;
    EXPECT_EQ(_curve->addPoint(Pnt2f(NaN, 0.f), Z, Z, 2, 2, true, true), -1);
    EXPECT_EQ(_curve->addPoint(Pnt2f(0.f, PosInf), Z, Z, 2, 2, true, true), -1);
    EXPECT_EQ(_curve->addControlPoint(CCPnt(Pnt2f(0.f, 0.f), Vec2f(NaN, 0.f), Z), true, true), -1);
    MFPnt2f pts;
    pts.push_back(Pnt2f(0.f, 1.f));
    pts.push_back(Pnt2f(1.f, -PosInf));
    _curve->addPoints(pts);
    EXPECT_TRUE(_curve->isEmpty());
    EXPECT_EQ(log.count(), 4u);

    // verify leaves empty curves and curves with a non-finite key (added unchecked) alone.
    _curve->verify(true, true, true);
    _curve->addPointSimple(Pnt2f(2.f, 0.f));
    _curve->addPointSimple(Pnt2f(NaN, 0.f));
    _curve->addPointSimple(Pnt2f(1.f, 0.f));
    log.clear();
    _curve->verify(true, true, true);
    EXPECT_EQ(_curve->getControlPoints(0).point[0], 2.f);
    EXPECT_TRUE(std::isnan(_curve->getControlPoints(1).point[0]));
    EXPECT_TRUE(log.contains("non-finite"));
}

TEST_F(AnimCurveTest, AddPointsLastOfEqualTimesWinsThenTangents)
{
    _curve->addPointSimple(Pnt2f(1.f, 100.f));
    MFPnt2f pts;
    for(auto p : { std::array<float, 2>{ 2, 0 }, { 0, 0 }, { 1, 5 }, { 2, 7 }, { 2, 9 } })
        pts.push_back(Pnt2f(p[0], p[1]));
    _curve->addPoints(pts);
    EXPECT_EQ(times(), (std::vector<double>{ 0, 1, 2 }));
    EXPECT_EQ(values(), (std::vector<double>{ 0, 5, 9 }));
    // Flat handles were computed for all keys (first key: half the run to the next).
    EXPECT_NEAR(_curve->getControlPoints(0).outTangent[0], 0.5, 1e-6);
    MFPnt2f out;
    out.push_back(Pnt2f(-1.f, -1.f));
    _curve->points(out);
    ASSERT_EQ(out.size(), 4u);
    EXPECT_EQ(out[3], Pnt2f(2.f, 9.f));
}

TEST_F(AnimCurveTest, RemovingKeys)
{
    for(int i = 0; i < 5; ++i)
        _curve->addPointSimple(Pnt2f(Real32(i), Real32(i % 2)));
    _curve->subPoint(7);
    _curve->subPoint(0);
    EXPECT_EQ(times(), (std::vector<double>{ 1, 2, 3, 4 }));
    _curve->subPoints({ CCPnt(Pnt2f(3.f, 1.f), Z, Z), CCPnt(Pnt2f(2.f, 0.f), Z, Z, 1, 2) });
    EXPECT_EQ(times(), (std::vector<double>{ 1, 2, 4 }));   // types differ: (2,0) stays
    _curve->reserve(100);
    _curve->shrink();
    EXPECT_EQ(_curve->getControlPoints().getValues().capacity(), 3u);
    _curve->clear();
    _curve->shrink();
    EXPECT_TRUE(_curve->isEmpty());
    EXPECT_EQ(_curve->getControlPoints().getValues().capacity(), 0u);

    // Constant keys go when each is within 1e-6 of its neighbour, not of the first.
    for(double v : { 0.0, 1e-6, 2e-6 })
        _curve->addPointSimple(Pnt2f(Real32(v * 1e6), Real32(v)));
    _curve->clearConstantControlPoints();
    EXPECT_TRUE(_curve->isEmpty());
    EXPECT_EQ(_curve->getControlPoints().getValues().capacity(), 0u);
    _curve->addPointSimple(Pnt2f(0.f, 0.f));
    _curve->addPointSimple(Pnt2f(1.f, 2e-6f));
    _curve->clearConstantControlPoints();
    EXPECT_EQ(_curve->getControlPoints().size(), 2u);
}

TEST_F(AnimCurveTest, VolumeIsTheKeysInTheXZPlane)
{
    RefPtr<NodePtr> node(Node::create());
    setCore(node, _curve);
    beginEditCP(_curve, AnimCurve::ControlPointsFieldMask);
    _curve->addPointSimple(Pnt2f(-1.f, 3.f));
    _curve->addPointSimple(Pnt2f(4.f, -2.f));
    endEditCP(_curve, AnimCurve::ControlPointsFieldMask);
    node->updateVolume();
    Pnt3f lo, hi;
    node->getVolume().getBounds(lo, hi);
    EXPECT_EQ(lo, Pnt3f(-1.f, 0.f, -2.f));
    EXPECT_EQ(hi, Pnt3f(4.f, 0.f, 3.f));

    // An edit of the keys invalidates the node's volume through changed().
    beginEditCP(_curve, AnimCurve::ControlPointsFieldMask);
    _curve->addPointSimple(Pnt2f(9.f, 0.f));
    endEditCP(_curve, AnimCurve::ControlPointsFieldMask);
    EXPECT_FALSE(node->getVolume().isValid());

    // A static volume stays as it is flagged; an empty curve adds nothing.
    BoxVolume box;
    box.setValid(false);
    box.setStatic();
    _curve->adjustVolume(box);
    EXPECT_FALSE(box.isValid());
}

TEST(CCPntBinary, GoldenBytes)
{
    CCPnt p(Pnt2f(1.f, 2.f), Vec2f(-0.5f, 0.f), Vec2f(0.5f, -2.f), 3, 258);
    MemoryBinaryDataHandler out;
    FieldDataTraits<CCPnt>::copyToBin(out, p);
    const Bytes expected = { 0x3F, 0x80, 0, 0,  0x40, 0, 0, 0,  0xBF, 0, 0, 0,  0, 0, 0, 0,
                             0x3F, 0, 0, 0,     0xC0, 0, 0, 0,  0, 0, 0, 3,     0, 0, 1, 2 };
    EXPECT_EQ(out.getBuffer(), expected);
    EXPECT_EQ(FieldDataTraits<CCPnt>::getBinSize(p), 32u);

    MemoryBinaryDataHandler in(expected.data(), expected.size());
    CCPnt back;
    ASSERT_TRUE(FieldDataTraits<CCPnt>::copyFromBin(in, back));
    EXPECT_EQ(back, p);
    EXPECT_EQ(back.outTangentType, 258u);

    // The array form gives the same bytes per element.
    CCPnt two[2] = { p, p };
    MemoryBinaryDataHandler arr;
    FieldDataTraits<CCPnt>::copyToBin(arr, two, 2);
    Bytes twice = expected;
    twice.insert(twice.end(), expected.begin(), expected.end());
    EXPECT_EQ(arr.getBuffer(), twice);
}

TEST(CCPntBinary, SmallCurveRecordAndLyingCount)
{
    RefPtr<AnimCurvePtr> c(AnimCurve::create());
    c->setName("ab");
    c->editMFControlPoints()->push_back(CCPnt(Pnt2f(0.f, 1.f), Z, Vec2f(0.25f, 0.f), 0, 1));
    const BitVector mask = AnimCurve::NameFieldMask | AnimCurve::ControlPointsFieldMask;
    // name: length 3 (with the NUL), "ab\0"; then the count and one key.
    const Bytes expected = { 0, 0, 0, 3, 'a', 'b', 0,
                             0, 0, 0, 1,
                             0, 0, 0, 0,  0x3F, 0x80, 0, 0,  0, 0, 0, 0,  0, 0, 0, 0,
                             0x3E, 0x80, 0, 0,  0, 0, 0, 0,  0, 0, 0, 0,  0, 0, 0, 1 };
    MemoryBinaryDataHandler out;
    c->copyToBin(out, mask);
    EXPECT_EQ(out.getBuffer(), expected);
    EXPECT_EQ(c->getBinSize(mask), expected.size());

    RefPtr<AnimCurvePtr> back(AnimCurve::create());
    MemoryBinaryDataHandler in(expected.data(), expected.size());
    back->copyFromBin(in, mask);
    EXPECT_EQ(back->getName(), "ab");
    ASSERT_EQ(back->getControlPoints().size(), 1u);
    EXPECT_EQ(back->getControlPoints(0), c->getControlPoints(0));

    // A count promising more keys than the stream holds fails and changes nothing.
    Bytes lying = expected;
    lying[10] = 200;
    RefPtr<AnimCurvePtr> third(AnimCurve::create());
    third->setName("keep");
    LogCapture quiet;
    MemoryBinaryDataHandler bad(lying.data(), lying.size());
    third->copyFromBin(bad, mask);
    EXPECT_TRUE(bad.isFailed());
    EXPECT_EQ(third->getName(), "keep");
    EXPECT_TRUE(third->isEmpty());
}
