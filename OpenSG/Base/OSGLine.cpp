#include <OpenSG/OSGLine.h>
#include <OpenSG/OSGBoxVolume.h>
#include <OpenSG/OSGSphereVolume.h>
#include <OpenSG/OSGDynamicVolume.h>

#include <cmath>

namespace osg {

Line::Line(void) : _pos(0, 0, 0), _dir(0, 0, 0)
{
}

Line::Line(const Pnt3f &pos, const Vec3f &dir)
{
    setValue(pos, dir);
}

Line::Line(const Pnt3f &p0, const Pnt3f &p1)
{
    setValue(p0, p1);
}

void Line::setValue(const Pnt3f &pos, const Vec3f &dir)
{
    _pos = pos;
    _dir = dir;
    _dir.normalize();
}

void Line::setValue(const Pnt3f &p0, const Pnt3f &p1)
{
    setValue(p0, p1 - p0);
}

Pnt3f Line::getClosestPoint(const Pnt3f &point) const
{
    Real32 len2 = _dir.squareLength();
    if(len2 <= 0.f)
        return _pos;
    return _pos + _dir * ((point - _pos).dot(_dir) / len2);
}

Real32 Line::distance(const Pnt3f &point) const
{
    return getClosestPoint(point).dist(point);
}

bool Line::intersect(const BoxVolume &box) const
{
    Real32 enter, exit;
    return intersect(box, enter, exit);
}

bool Line::intersect(const BoxVolume &box, Real32 &enter, Real32 &exit) const
{
    if(box.isEmpty())
        return false;
    if(box.isInfinite())
    {
        enter = 0.f;
        exit  = Inf;
        return true;
    }

    // Slabs, clipped to [0, Inf) from the start as OpenSG 1.x does; a direction component
    // within Eps of zero counts as parallel to its slab.
    const Pnt3f &lo = box.getMin(), &hi = box.getMax();
    Real32 in = 0.f, out = Inf;
    for(UInt32 i = 0; i < 3; ++i)
    {
        const Real32 d = _dir[i];
        if(d > Eps || d < -Eps)
        {
            const Real32 r     = 1.f / d;
            const Real32 first = ((d > 0.f ? lo[i] : hi[i]) - _pos[i]) * r;
            const Real32 last  = ((d > 0.f ? hi[i] : lo[i]) - _pos[i]) * r;
            if(last < out)
                out = last;
            if(first > in)
                in = first;
            // OpenSG 1.x gives up early after the second slab only; other misses are found
            // at the end, after enter and exit have been written.
            if(i == 1 && in - out >= Eps)
                return false;
        }
        else if(_pos[i] < lo[i] || _pos[i] > hi[i])
        {
            return false;
        }
    }
    enter = in;
    exit  = out;
    return in - out < Eps;
}

bool Line::intersect(const SphereVolume &sphere) const
{
    Real32 enter, exit;
    return intersect(sphere, enter, exit);
}

bool Line::intersect(const SphereVolume &sphere, Real32 &enter, Real32 &exit) const
{
    if(sphere.isEmpty())
        return false;
    if(sphere.isInfinite())
    {
        enter = NegInf;
        exit  = Inf;
        return true;
    }

    const Vec3f  oc = _pos - sphere.getCenter();
    const Real64 r  = sphere.getRadius();
    const Real64 c  = Real64(oc.dot(oc)) - r * r;
    const Real64 a  = _dir.dot(_dir);
    if(a <= 0.0)
    {
        // No direction: only the position itself.
        if(c > 0.0)
            return false;
        enter = exit = 0.f;
        return true;
    }
    const Real64 b    = oc.dot(_dir);
    const Real64 disc = b * b - a * c;
    if(disc < 0.0)
        return false;
    const Real64 root = std::sqrt(disc);
    const Real64 t1   = (-b + root) / a;
    if(t1 < 0.0)
        return false;
    enter = Real32((-b - root) / a);
    exit  = Real32(t1);
    return true;
}

bool Line::intersect(const Volume &volume, Real32 &enter, Real32 &exit) const
{
    return volume.intersect(*this, enter, exit);
}

bool Line::intersect(const Pnt3f &v0, const Pnt3f &v1, const Pnt3f &v2, Real32 &t,
                     Vec3f *normal) const
{
    Real32 u, v;
    return intersect(v0, v1, v2, t, u, v, normal);
}

bool Line::intersect(const Pnt3f &v0, const Pnt3f &v1, const Pnt3f &v2, Real32 &t, Real32 &u,
                     Real32 &v, Vec3f *normal) const
{
    // Moeller-Trumbore in double: the determinant of thin or tiny triangles underflows the
    // precision of float long before the triangle stops being hittable.
    const Real64 e1[3] = { Real64(v1[0]) - v0[0], Real64(v1[1]) - v0[1], Real64(v1[2]) - v0[2] };
    const Real64 e2[3] = { Real64(v2[0]) - v0[0], Real64(v2[1]) - v0[1], Real64(v2[2]) - v0[2] };
    const Real64 d[3]  = { _dir[0], _dir[1], _dir[2] };
    const Real64 s[3]  = { Real64(_pos[0]) - v0[0], Real64(_pos[1]) - v0[1], Real64(_pos[2]) - v0[2] };

    auto cross = [](const Real64 *a, const Real64 *b, Real64 *r) {
        r[0] = a[1] * b[2] - a[2] * b[1];
        r[1] = a[2] * b[0] - a[0] * b[2];
        r[2] = a[0] * b[1] - a[1] * b[0];
    };
    auto dot = [](const Real64 *a, const Real64 *b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; };

    Real64 n[3], p[3], q[3];
    cross(e1, e2, n);
    cross(d, e2, p);
    const Real64 det    = dot(e1, p);
    const Real64 nLen   = std::sqrt(dot(n, n));
    const Real64 dirLen = std::sqrt(dot(d, d));
    // Parallel (or degenerate triangle, or no direction): the cosine between the line and the
    // plane is what matters, not the size of the triangle.
    if(nLen == 0.0 || dirLen == 0.0 || std::fabs(det) <= 1E-9 * nLen * dirLen)
        return false;

    const Real64 inv = 1.0 / det;
    const Real64 bu  = dot(s, p) * inv;
    if(bu < 0.0 || bu > 1.0)
        return false;
    cross(s, e1, q);
    const Real64 bv = dot(d, q) * inv;
    if(bv < 0.0 || bu + bv > 1.0)
        return false;
    const Real64 bt = dot(e2, q) * inv;

    t = Real32(bt);
    u = Real32(bu);
    v = Real32(bv);
    if(normal != NULL)
        normal->setValues(Real32(n[0] / nLen), Real32(n[1] / nLen), Real32(n[2] / nLen));
    return true;
}

bool operator==(const Line &a, const Line &b)
{
    return a.getPosition() == b.getPosition() && a.getDirection() == b.getDirection();
}

} // namespace osg
