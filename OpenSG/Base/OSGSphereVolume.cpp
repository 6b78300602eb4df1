#include <OpenSG/OSGSphereVolume.h>
#include <OpenSG/OSGBoxVolume.h>
#include <OpenSG/OSGLine.h>
#include <OpenSG/OSGLog.h>

#include <cmath>
#include <sstream>
#include <string>

namespace osg {

SphereVolume::SphereVolume(const Pnt3f &c, Real32 r) : Volume(), _center(c), _radius(r)
{
    setEmpty(false);
}

SphereVolume::~SphereVolume(void)
{
}

void SphereVolume::setValue(const Pnt3f &c, Real32 r)
{
    _center = c;
    _radius = r;
    _state  = UInt16((_state | OSGVALID) & ~(OSGEMPTY | OSGINFINITE));
}

void SphereVolume::setCenter(const Pnt3f &c)
{
    setValue(c, _radius);
}

void SphereVolume::setRadius(Real32 r)
{
    setValue(_center, r);
}

void SphereVolume::getCenter(Pnt3f &center) const
{
    center = _center;
}

Real32 SphereVolume::getScalarVolume(void) const
{
    if(isEmpty())
        return 0.f;
    if(isInfinite())
        return Inf;
    return Real32(4.0 / 3.0 * Pi * Real64(_radius) * _radius * _radius);
}

void SphereVolume::getBounds(Pnt3f &min, Pnt3f &max) const
{
    if(isInfinite())
    {
        min.setValues(NegInf, NegInf, NegInf);
        max.setValues(Inf, Inf, Inf);
        return;
    }
    Vec3f r(_radius, _radius, _radius);
    min = _center - r;
    max = _center + r;
}

void SphereVolume::extendBy(const Pnt3f &pt)
{
    if(isUntouchable())
        return;
    if(isEmpty())
    {
        setValue(pt, 0.f);
        return;
    }
    // The centre stays; only the radius grows (not the smallest enclosing sphere).
    Real32 dist = (pt - _center).length();
    if(dist > _radius)
        _radius = dist;
}

void SphereVolume::extendBy(const SphereVolume &sphere)
{
    switch(extendAction(*this, sphere))
    {
        case ExtendNothing:
            return;
        case ExtendInfinite:
            setInfinite();
            return;
        case ExtendCopy:
            setValue(sphere._center, sphere._radius);
            return;
        case ExtendUnion:
            break;
    }
    Vec3f  d    = sphere._center - _center;
    Real32 dist = d.length();
    if(dist + sphere._radius <= _radius)
        return;
    if(dist + _radius <= sphere._radius)
    {
        setValue(sphere._center, sphere._radius);
        return;
    }
    Real32 newRadius = (dist + _radius + sphere._radius) * 0.5f;
    _center += d * ((newRadius - _radius) / dist);
    _radius  = newRadius;
}

void SphereVolume::extendBy(const Volume &volume)
{
    const Volume &src = resolve(volume);
    if(const SphereVolume *sphere = dynamic_cast<const SphereVolume *>(&src))
    {
        extendBy(*sphere);
        return;
    }
    // Any other kind contributes the sphere around its bounding box, with its own state.
    SphereVolume around;
    if(src.isValid() && !src.isEmpty() && !src.isInfinite())
    {
        Pnt3f lo, hi;
        src.getBounds(lo, hi);
        around.setValue(lo + (hi - lo) * 0.5f, (hi - lo).length() * 0.5f);
    }
    around._state = src.getState();
    extendBy(around);
}

bool SphereVolume::intersect(const Pnt3f &point) const
{
    if(isEmpty())
        return false;
    if(isInfinite())
        return true;
    return _center.dist2(point) <= _radius * _radius;
}

bool SphereVolume::intersect(const SphereVolume &sphere) const
{
    if(isEmpty() || sphere.isEmpty())
        return false;
    if(isInfinite() || sphere.isInfinite())
        return true;
    Real32 r = _radius + sphere._radius;
    return _center.dist2(sphere._center) <= r * r;
}

bool SphereVolume::intersect(const Volume &volume) const
{
    const Volume &src = resolve(volume);
    if(const SphereVolume *sphere = dynamic_cast<const SphereVolume *>(&src))
        return intersect(*sphere);

    if(isEmpty() || src.isEmpty())
        return false;
    if(isInfinite() || src.isInfinite())
        return true;
    // Other kinds by their bounding box: the box point closest to the centre.
    Pnt3f lo, hi;
    src.getBounds(lo, hi);
    Real32 d2 = 0;
    for(UInt32 i = 0; i < 3; ++i)
    {
        Real32 c = osgClamp(lo[i], _center[i], hi[i]);
        d2 += (c - _center[i]) * (c - _center[i]);
    }
    return d2 <= _radius * _radius;
}

bool SphereVolume::isOnSurface(const Pnt3f &point) const
{
    if(isEmpty() || isInfinite())
        return false;
    return osgabs(_center.dist(point) - _radius) <= Eps;
}

bool SphereVolume::intersect(const Line &line) const
{
    return line.intersect(*this);
}

bool SphereVolume::intersect(const Line &line, Real32 &enter, Real32 &exit) const
{
    return line.intersect(*this, enter, exit);
}

void SphereVolume::transform(const Matrix &m)
{
    if(isEmpty() || isInfinite())
        return;
    // The image of the radius along y: exact for rotations and uniform scales; under a
    // non-uniform scale the result is a sphere only for the y axis (as in OpenSG 1.x).
    Vec3f up(0.f, _radius, 0.f);
    m.multMatrixVec(up, up);
    m.multMatrixPnt(_center);
    _radius = up.length();
}

void SphereVolume::dump(UInt32 uiIndent, const BitVector) const
{
    std::ostringstream os;
    os << std::string(uiIndent, ' ') << "Sphere(" << _center << "|" << _radius << ") [";
    putState(os, _state);
    PLOG << os.str() << "]" << std::endl;
}

bool operator==(const SphereVolume &s1, const SphereVolume &s2)
{
    return s1.getState() == s2.getState() && s1.getCenter().equals(s2.getCenter(), 0.f) &&
           s1.getRadius() == s2.getRadius();
}

} // namespace osg
