#include <OpenSG/OSGBoxVolume.h>
#include <OpenSG/OSGSphereVolume.h>
#include <OpenSG/OSGLine.h>
#include <OpenSG/OSGLog.h>

#include <sstream>
#include <string>

namespace osg {

BoxVolume::BoxVolume(Real32 xmin, Real32 ymin, Real32 zmin, Real32 xmax, Real32 ymax, Real32 zmax)
    : Volume(), _min(xmin, ymin, zmin), _max(xmax, ymax, zmax)
{
    setEmpty(false);
}

BoxVolume::BoxVolume(const Pnt3f &min, const Pnt3f &max) : Volume(), _min(min), _max(max)
{
    setEmpty(false);
}

BoxVolume::~BoxVolume(void)
{
}

void BoxVolume::getCenter(Pnt3f &center) const
{
    if(isEmpty())
        center.setValues(0, 0, 0);
    else if(isInfinite())
        center.setValues(0, 0, 0);
    else
        center.setValues((_min[0] + _max[0]) * 0.5f, (_min[1] + _max[1]) * 0.5f,
                         (_min[2] + _max[2]) * 0.5f);
}

Real32 BoxVolume::getScalarVolume(void) const
{
    if(isEmpty())
        return 0.f;
    if(isInfinite())
        return Inf;
    return (_max[0] - _min[0]) * (_max[1] - _min[1]) * (_max[2] - _min[2]);
}

void BoxVolume::getBounds(Pnt3f &min, Pnt3f &max) const
{
    if(isInfinite())
    {
        min.setValues(NegInf, NegInf, NegInf);
        max.setValues(Inf, Inf, Inf);
        return;
    }
    min = _min;
    max = _max;
}

void BoxVolume::getBounds(Real32 &xmin, Real32 &ymin, Real32 &zmin,
                          Real32 &xmax, Real32 &ymax, Real32 &zmax) const
{
    Pnt3f lo, hi;
    getBounds(lo, hi);
    lo.getSeparateValues(xmin, ymin, zmin);
    hi.getSeparateValues(xmax, ymax, zmax);
}

void BoxVolume::getSize(Vec3f &vec) const
{
    if(isEmpty())
        vec.setValues(0, 0, 0);
    else
        vec = getMax() - getMin();
}

void BoxVolume::getSize(Real32 &sizeX, Real32 &sizeY, Real32 &sizeZ) const
{
    Vec3f size;
    getSize(size);
    size.getSeparateValues(sizeX, sizeY, sizeZ);
}

void BoxVolume::setBounds(Real32 w, Real32 h, Real32 d)
{
    setBounds(-w * 0.5f, -h * 0.5f, -d * 0.5f, w * 0.5f, h * 0.5f, d * 0.5f);
}

void BoxVolume::setBounds(Real32 xmin, Real32 ymin, Real32 zmin, Real32 xmax, Real32 ymax, Real32 zmax)
{
    setBounds(Pnt3f(xmin, ymin, zmin), Pnt3f(xmax, ymax, zmax));
}

void BoxVolume::setBounds(const Pnt3f &min, const Pnt3f &max)
{
    _min = min;
    _max = max;
    _state = UInt16((_state | OSGVALID) & ~(OSGEMPTY | OSGINFINITE));
}

void BoxVolume::setBoundsByCenterAndSize(const Pnt3f &center, const Vec3f &size)
{
    Vec3f half = size * 0.5f;
    setBounds(center - half, center + half);
}

void BoxVolume::extendBy(const Pnt3f &pt)
{
    if(isUntouchable())
        return;
    if(isEmpty())
    {
        setBounds(pt, pt);
        return;
    }
    for(UInt32 i = 0; i < 3; ++i)
    {
        _min[i] = osgMin(_min[i], pt[i]);
        _max[i] = osgMax(_max[i], pt[i]);
    }
}

void BoxVolume::extendBy(const BoxVolume &bb)
{
    switch(extendAction(*this, bb))
    {
        case ExtendNothing:
            return;
        case ExtendInfinite:
            setInfinite();
            return;
        case ExtendCopy:
            setBounds(bb._min, bb._max);
            return;
        case ExtendUnion:
            for(UInt32 i = 0; i < 3; ++i)
            {
                _min[i] = osgMin(_min[i], bb._min[i]);
                _max[i] = osgMax(_max[i], bb._max[i]);
            }
            return;
    }
}

void BoxVolume::extendBy(const Volume &volume)
{
    const Volume &src = resolve(volume);
    if(const BoxVolume *box = dynamic_cast<const BoxVolume *>(&src))
    {
        extendBy(*box);
        return;
    }
    // Any other kind contributes its bounding box, with its own state.
    BoxVolume bounds;
    if(src.isValid() && !src.isEmpty() && !src.isInfinite())
    {
        Pnt3f lo, hi;
        src.getBounds(lo, hi);
        bounds.setBounds(lo, hi);
    }
    bounds._state = src.getState();
    extendBy(bounds);
}

bool BoxVolume::intersect(const Pnt3f &point) const
{
    if(isEmpty())
        return false;
    if(isInfinite())
        return true;
    return point[0] >= _min[0] && point[0] <= _max[0] && point[1] >= _min[1] && point[1] <= _max[1] &&
           point[2] >= _min[2] && point[2] <= _max[2];
}

bool BoxVolume::intersect(const BoxVolume &bb) const
{
    if(isEmpty() || bb.isEmpty())
        return false;
    if(isInfinite() || bb.isInfinite())
        return true;
    for(UInt32 i = 0; i < 3; ++i)
    {
        if(_max[i] < bb._min[i] || bb._max[i] < _min[i])
            return false;
    }
    return true;
}

bool BoxVolume::intersect(const Volume &volume) const
{
    const Volume &src = resolve(volume);
    if(const BoxVolume *box = dynamic_cast<const BoxVolume *>(&src))
        return intersect(*box);
    return src.intersect(*this);
}

bool BoxVolume::isOnSurface(const Pnt3f &point) const
{
    if(isEmpty() || isInfinite() || !intersect(point))
        return false;
    for(UInt32 i = 0; i < 3; ++i)
    {
        if(osgabs(point[i] - _min[i]) <= Eps || osgabs(point[i] - _max[i]) <= Eps)
            return true;
    }
    return false;
}

bool BoxVolume::intersect(const Line &line) const
{
    return line.intersect(*this);
}

bool BoxVolume::intersect(const Line &line, Real32 &enter, Real32 &exit) const
{
    return line.intersect(*this, enter, exit);
}

void BoxVolume::transform(const Matrix &m)
{
    if(isEmpty() || isInfinite())
        return;
    Pnt3f lo, hi, p;
    for(UInt32 corner = 0; corner < 8; ++corner)
    {
        Pnt3f c((corner & 1) ? _max[0] : _min[0], (corner & 2) ? _max[1] : _min[1],
                (corner & 4) ? _max[2] : _min[2]);
        m.multMatrixPnt(c, p);
        if(corner == 0)
        {
            lo = p;
            hi = p;
            continue;
        }
        for(UInt32 i = 0; i < 3; ++i)
        {
            lo[i] = osgMin(lo[i], p[i]);
            hi[i] = osgMax(hi[i], p[i]);
        }
    }
    _min = lo;
    _max = hi;
}

void BoxVolume::dump(UInt32 uiIndent, const BitVector) const
{
    std::ostringstream os;
    os << std::string(uiIndent, ' ') << "Box(" << _min << "|" << _max << ") [";
    putState(os, _state);
    PLOG << os.str() << "]" << std::endl;
}

bool operator==(const BoxVolume &b1, const BoxVolume &b2)
{
    return b1.getState() == b2.getState() && b1.getMin().equals(b2.getMin(), 0.f) &&
           b1.getMax().equals(b2.getMax(), 0.f);
}

} // namespace osg
