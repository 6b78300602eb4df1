#include <OpenSGExt/Animation/detail/CurveAlgorithms.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace osg {
namespace curve {

namespace {

constexpr double Tolerance = 1e-6;

struct P
{
    double x, y;
};

/*! Keys seen along one direction: the outgoing handle looks at the keys in array order; the
    incoming one at the mirror image (reversed order, time negated), so that one rule serves
    both sides. */
struct View
{
    const CCPnt *keys;
    size_t       count;
    bool         mirrored;

    const CCPnt &at(size_t j) const { return keys[mirrored ? count - 1 - j : j]; }
    P point(size_t j) const
    {
        const CCPnt &k = at(j);
        return P{ mirrored ? -double(k.point[0]) : double(k.point[0]), double(k.point[1]) };
    }
    // The handle on this view's forward side and on its backward side, in view coordinates.
    P forward(size_t j) const
    {
        const Vec2f &h = mirrored ? at(j).inTangent : at(j).outTangent;
        return P{ mirrored ? -double(h[0]) : double(h[0]), double(h[1]) };
    }
    P backward(size_t j) const
    {
        const Vec2f &h = mirrored ? at(j).outTangent : at(j).inTangent;
        return P{ mirrored ? -double(h[0]) : double(h[0]), double(h[1]) };
    }
};

// rise * length / run; a zero run gives a flat handle.
double along(double rise, double run, double length)
{
    return run != 0.0 ? rise * length / run : 0.0;
}

/*! The forward handle of key i in view coordinates; false when it stays as it is. */
bool forwardHandle(const View &v, size_t i, UInt32 type, P &h)
{
    const size_t n = v.count;
    if(n < 2 || i >= n)
        return false;
    const bool first = i == 0, last = i == n - 1;
    const P    p     = v.point(i);
    const P    prev  = first ? p : v.point(i - 1);
    const P    next  = last ? p : v.point(i + 1);

    switch(type)
    {
      case 0:
        h = P{ 0.0, 0.0 };
        return true;
      case 1:
        if(last)
            h = P{ 0.5 * (p.x - prev.x), 0.0 };
        else
            h = P{ 0.5 * (next.x - p.x), 0.5 * (next.y - p.y) };
        return true;
      case 2:
        if(last)
            h = P{ 0.5 * (p.x - prev.x), 0.0 };
        else if(first)
            h = P{ 0.5 * (next.x - p.x), 0.0 };
        else
            h = P{ std::min(0.5 * (next.x - p.x), (next.x - prev.x) / 3.0), 0.0 };
        return true;
      case 3:
      {
        if(first)
        {
            double l = (next.x - p.x) / 3.0;
            h = P{ l, along(next.y - p.y, next.x - p.x, l) };
        }
        else if(last)
        {
            double l = (p.x - prev.x) / 3.0;
            h = P{ l, along(p.y - prev.y, p.x - prev.x, l) };
        }
        else
        {
            double d = next.x - prev.x;
            double l = (next.x - p.x) / 3.0;
            if(l > d / 3.0)
                l = d / 3.0;
            h = P{ l, along(next.y - prev.y, d, l) };
        }
        return true;
      }
      case 4:
        if(last)
            h = P{ 0.5 * (p.x - prev.x), 0.0 };
        else if(first)
            h = P{ 0.5 * (next.x - p.x), 0.5 * (next.y - p.y) };
        else
        {
            double l = 0.5 * (next.x - p.x);
            if(l > (next.x - prev.x) / 3.0)
                l = (next.x - prev.x) / 3.0;
            h = P{ l, along(next.y - p.y, next.x - p.x, l) };
        }
        return true;
      case 5:
      {
        const P fwd = v.forward(i), bwd = v.backward(i);
        double  l;
        if(first)
        {
            if(next.x > p.x + fwd.x)
                return false;
            l = next.x - p.x;
        }
        else if(last)
        {
            if(p.x + bwd.x > prev.x)
                return false;
            l = p.x - prev.x;
        }
        else
        {
            if(p.x + bwd.x > prev.x && p.x + fwd.x < next.x)
                return false;
            l = std::min(p.x - prev.x, next.x - p.x);
        }
        h = P{ l, along(fwd.y, fwd.x, l) };
        return true;
      }
      default:
        h = P{ 10.0, 0.0 };
        return true;
    }
}

bool finite2(const Vec2f &v)
{
    return std::isfinite(v[0]) && std::isfinite(v[1]);
}

bool handle(const CCPnt *keys, size_t count, size_t index, UInt32 type, bool mirrored,
            Vec2f &out)
{
    if(count < 2 || index >= count)
        return false;
    // Only the key and its neighbours take part.
    size_t lo = index == 0 ? 0 : index - 1, hi = std::min(count - 1, index + 1);
    for(size_t j = lo; j <= hi; ++j)
    {
        if(!isFinite(keys[j]))
            return false;
    }
    View v{ keys, count, mirrored };
    P    h;
    if(!forwardHandle(v, mirrored ? count - 1 - index : index, type, h))
        return false;
    double x = mirrored ? -h.x : h.x;
    float  fx = float(x), fy = float(h.y);
    if(!std::isfinite(fx) || !std::isfinite(fy))
        fx = fy = 0.f;
    out.setValues(fx, fy);
    return true;
}

} // namespace

bool isFinite(const CCPnt &key)
{
    return std::isfinite(key.point[0]) && std::isfinite(key.point[1]) &&
           finite2(key.inTangent) && finite2(key.outTangent);
}

bool allFinite(const CCPnt *keys, size_t count)
{
    for(size_t i = 0; i < count; ++i)
    {
        if(!isFinite(keys[i]))
            return false;
    }
    return true;
}

bool outHandle(const CCPnt *keys, size_t count, size_t index, UInt32 type, Vec2f &h)
{
    return handle(keys, count, index, type, false, h);
}

bool inHandle(const CCPnt *keys, size_t count, size_t index, UInt32 type, Vec2f &h)
{
    return handle(keys, count, index, type, true, h);
}

void computeOut(std::vector<CCPnt> &keys, size_t index, Int32 type)
{
    if(keys.size() < 2 || index >= keys.size())
        return;
    if(type >= 0)
        keys[index].outTangentType = UInt32(type);
    Vec2f h;
    if(outHandle(keys.data(), keys.size(), index, keys[index].outTangentType, h))
        keys[index].outTangent = h;
}

void computeIn(std::vector<CCPnt> &keys, size_t index, Int32 type)
{
    if(keys.size() < 2 || index >= keys.size())
        return;
    if(type >= 0)
        keys[index].inTangentType = UInt32(type);
    Vec2f h;
    if(inHandle(keys.data(), keys.size(), index, keys[index].inTangentType, h))
        keys[index].inTangent = h;
}

void sortByTime(std::vector<CCPnt> &keys)
{
    auto earlier = [](const CCPnt &a, const CCPnt &b) { return a.point[0] < b.point[0]; };
    if(!std::is_sorted(keys.begin(), keys.end(), earlier))
        std::stable_sort(keys.begin(), keys.end(), earlier);
}

size_t removeDuplicateTimes(std::vector<CCPnt> &keys)
{
    if(keys.size() < 2)
        return 0;
    size_t kept = 1;
    for(size_t i = 1; i < keys.size(); ++i)
    {
        if(keys[i].point[0] == keys[kept - 1].point[0])
            continue;
        if(kept != i)
            keys[kept] = keys[i];
        ++kept;
    }
    size_t removed = keys.size() - kept;
    keys.erase(keys.begin() + std::ptrdiff_t(kept), keys.end());
    return removed;
}

void recomputeAll(std::vector<CCPnt> &keys)
{
    const size_t n = keys.size();
    if(n < 2)
        return;
    Vec2f h;
    for(size_t i = 0; i < n; ++i)
    {
        if(inHandle(keys.data(), n, i, keys[i].inTangentType, h))
            keys[i].inTangent = h;
        if(outHandle(keys.data(), n, i, keys[i].outTangentType, h))
            keys[i].outTangent = h;
    }
}

bool isConstant(const CCPnt *keys, size_t count)
{
    for(size_t i = 1; i < count; ++i)
    {
        if(std::fabs(double(keys[i].point[1]) - double(keys[i - 1].point[1])) > Tolerance)
            return false;
    }
    return true;
}

bool nearlyEqual(const CCPnt &a, const CCPnt &b)
{
    auto close = [](float x, float y) { return std::fabs(double(x) - double(y)) <= Tolerance; };
    for(int k = 0; k < 2; ++k)
    {
        if(!close(a.point[k], b.point[k]) || !close(a.inTangent[k], b.inTangent[k]) ||
           !close(a.outTangent[k], b.outTangent[k]))
            return false;
    }
    return a.inTangentType == b.inTangentType && a.outTangentType == b.outTangentType;
}

} // namespace curve
} // namespace osg
