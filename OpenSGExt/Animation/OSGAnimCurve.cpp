#include <OpenSGExt/OSGAnimCurve.h>
#include <OpenSGExt/Animation/detail/CurveAlgorithms.h>

#include <OpenSG/OSGLog.h>
#include <OpenSG/OSGVolume.h>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <limits>
#include <map>

namespace osg {

namespace {

bool isZero(const Vec2f &v)
{
    return std::fabs(v[0]) <= 1e-6f && std::fabs(v[1]) <= 1e-6f;
}

} // namespace

AnimCurve::AnimCurve(void) : Inherited()
{
}

AnimCurve::AnimCurve(const AnimCurve &source) : Inherited(source)
{
}

AnimCurve::~AnimCurve(void) = default;

Int32 AnimCurve::addControlPoint(const CCPnt &p, bool replace, bool sort)
{
    if(!curve::isFinite(p))
    {
        SWARNING << "AnimCurve::addControlPoint: key with a non-finite time, value or handle "
                    "refused" << std::endl;
        return -1;
    }
    MFCCPnt::StorageType &keys = _mfControlPoints.getValues();
    if(replace)
    {
        for(auto it = keys.begin(); it != keys.end(); ++it)
        {
            if(it->point[0] == p.point[0])
            {
                keys.erase(it);
                break;
            }
        }
    }
    keys.push_back(p);
    if(!sort)
        return Int32(keys.size() - 1);
    if(!curve::allFinite(keys.data(), keys.size()))
    {
        SWARNING << "AnimCurve::addControlPoint: the curve holds non-finite keys; not sorted"
                 << std::endl;
        return Int32(keys.size() - 1);
    }
    curve::sortByTime(keys);
    for(size_t i = 0; i < keys.size(); ++i)
    {
        if(curve::nearlyEqual(keys[i], p))
            return Int32(i);
    }
    return Int32(keys.size() - 1);
}

Int32 AnimCurve::addPoint(const Pnt2f &point, const Vec2f &inTangent, const Vec2f &outTangent,
                          UInt32 inType, UInt32 outType, bool computeTangents, bool sort)
{
    const bool inZero = isZero(inTangent), outZero = isZero(outTangent);
    CCPnt p(point, inZero ? Vec2f(0.f, 0.f) : inTangent, outZero ? Vec2f(0.f, 0.f) : outTangent,
            inType, outType);
    if(!curve::isFinite(p))
    {
        SWARNING << "AnimCurve::addPoint: point (" << point[0] << ", " << point[1]
                 << ") or its handles not finite; nothing added" << std::endl;
        return -1;
    }
    Int32 index = addControlPoint(p, true, sort);
    if(index >= 0 && !_sfForceLinearInterpolation.getValue() &&
       ((inZero && outZero) || computeTangents))
    {
        MFCCPnt::StorageType &keys = _mfControlPoints.getValues();
        const size_t          i    = size_t(index);
        curve::computeIn(keys, i, -1);
        curve::computeOut(keys, i, -1);
        if(i > 0)
        {
            curve::computeIn(keys, i - 1, -1);
            curve::computeOut(keys, i - 1, -1);
        }
        if(i + 1 < keys.size())
        {
            curve::computeIn(keys, i + 1, -1);
            curve::computeOut(keys, i + 1, -1);
        }
    }
    return index;
}

void AnimCurve::addPointSimple(const Pnt2f &point)
{
    _mfControlPoints.push_back(CCPnt(point, Vec2f(0.f, 0.f), Vec2f(0.f, 0.f)));
}

void AnimCurve::addPoints(const MFPnt2f &points)
{
    for(const Pnt2f &p : points)
    {
        if(!std::isfinite(p[0]) || !std::isfinite(p[1]))
        {
            SWARNING << "AnimCurve::addPoints: a point is not finite; nothing added" << std::endl;
            return;
        }
    }
    MFCCPnt::StorageType &keys = _mfControlPoints.getValues();
    if(!curve::allFinite(keys.data(), keys.size()))
    {
        SWARNING << "AnimCurve::addPoints: the curve holds non-finite keys; nothing added"
                 << std::endl;
        return;
    }
    if(points.empty())
        return;

    // Each point replaces the first key at exactly its time, as addControlPoint(p, true, ...)
    // one by one would: of a run of equal times the last max(1, keys there before) survive.
    const size_t old = keys.size();
    keys.reserve(old + points.size());
    for(const Pnt2f &p : points)
        keys.push_back(CCPnt(p, Vec2f(0.f, 0.f), Vec2f(0.f, 0.f)));

    std::vector<UInt32> order(keys.size());
    for(size_t i = 0; i < order.size(); ++i)
        order[i] = UInt32(i);
    std::stable_sort(order.begin(), order.end(), [&keys](UInt32 a, UInt32 b) {
        return keys[a].point[0] < keys[b].point[0];
    });

    MFCCPnt::StorageType result;
    result.reserve(keys.size());
    for(size_t begin = 0; begin < order.size(); )
    {
        size_t end = begin + 1;
        while(end < order.size() && keys[order[end]].point[0] == keys[order[begin]].point[0])
            ++end;
        size_t existing = 0;
        for(size_t j = begin; j < end; ++j)
            existing += order[j] < old ? 1 : 0;
        size_t keep = existing == end - begin ? existing : std::max<size_t>(existing, 1);
        for(size_t j = end - keep; j < end; ++j)
            result.push_back(keys[order[j]]);
        begin = end;
    }
    keys.swap(result);
    curve::recomputeAll(keys);
}

void AnimCurve::subPoint(UInt32 index)
{
    if(index < _mfControlPoints.size())
        _mfControlPoints.erase(_mfControlPoints.begin() + index);
}

void AnimCurve::subPoints(const std::vector<CCPnt> &points)
{
    if(points.empty())
        return;
    MFCCPnt::StorageType &keys = _mfControlPoints.getValues();
    keys.erase(std::remove_if(keys.begin(), keys.end(),
                              [&points](const CCPnt &k) {
                                  return std::find(points.begin(), points.end(), k) !=
                                         points.end();
                              }),
               keys.end());
}

void AnimCurve::clear(void)
{
    _mfControlPoints.clear();
}

void AnimCurve::reserve(UInt32 size)
{
    _mfControlPoints.reserve(size);
}

void AnimCurve::shrink(void)
{
    MFCCPnt::StorageType &keys = _mfControlPoints.getValues();
    if(keys.empty())
        MFCCPnt::StorageType().swap(keys);
    else
        keys.shrink_to_fit();
}

void AnimCurve::points(MFPnt2f &out) const
{
    out.reserve(out.size() + _mfControlPoints.size());
    for(const CCPnt &k : _mfControlPoints)
        out.push_back(k.point);
}

bool AnimCurve::isEmpty(void) const
{
    return _mfControlPoints.empty();
}

void AnimCurve::computeIntangent(UInt32 index, Int32 type)
{
    curve::computeIn(_mfControlPoints.getValues(), index, type);
}

void AnimCurve::computeOuttangent(UInt32 index, Int32 type)
{
    curve::computeOut(_mfControlPoints.getValues(), index, type);
}

void AnimCurve::verify(bool sort, bool removeDuplicates, bool recomputeTangents)
{
    MFCCPnt::StorageType &keys = _mfControlPoints.getValues();
    if(keys.empty())
        return;
    if(!curve::allFinite(keys.data(), keys.size()))
    {
        SWARNING << "AnimCurve::verify: the curve holds keys with a non-finite time, value or "
                    "handle; left unchanged" << std::endl;
        return;
    }
    if(sort)
        curve::sortByTime(keys);
    if(removeDuplicates)
        curve::removeDuplicateTimes(keys);
    if(recomputeTangents)
        curve::recomputeAll(keys);
}

void AnimCurve::clearConstantControlPoints(void)
{
    MFCCPnt::StorageType &keys = _mfControlPoints.getValues();
    if(keys.empty())
        return;
    if(!curve::allFinite(keys.data(), keys.size()))
    {
        SWARNING << "AnimCurve::clearConstantControlPoints: the curve holds non-finite keys; "
                    "left unchanged" << std::endl;
        return;
    }
    if(curve::isConstant(keys.data(), keys.size()))
        MFCCPnt::StorageType().swap(keys);
}

void AnimCurve::adjustVolume(Volume &volume)
{
    const MFCCPnt::StorageType &keys = _mfControlPoints.getValues();
    if(keys.empty())
        return;
    if(!curve::allFinite(keys.data(), keys.size()))
    {
        SWARNING << "AnimCurve::adjustVolume: the curve holds non-finite keys; volume left "
                    "unchanged" << std::endl;
        return;
    }
    if(!volume.isStatic())
        volume.setValid();
    for(const CCPnt &k : keys)
        volume.extendBy(Pnt3f(k.point[0], 0.f, k.point[1]));
}

void AnimCurve::changed(BitVector whichField, UInt32 origin)
{
    if(whichField & ControlPointsFieldMask)
        invalidateVolume();
    Inherited::changed(whichField, origin);
}

void AnimCurve::dump(UInt32 uiIndent, const BitVector) const
{
    std::string pad(uiIndent, ' ');
    std::cout << pad << "AnimCurve \"" << getName() << "\" channel \"" << getChannelName()
              << "\", " << _mfControlPoints.size() << " keys\n";
    for(UInt32 i = 0; i < _mfControlPoints.size(); ++i)
    {
        std::string text;
        FieldDataTraits<CCPnt>::putToString(_mfControlPoints[i], text);
        std::cout << pad << "  [" << i << "] " << text << "\n";
    }
}

} // namespace osg
