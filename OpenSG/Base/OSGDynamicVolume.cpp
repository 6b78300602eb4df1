#include <OpenSG/OSGDynamicVolume.h>
#include <OpenSG/OSGLine.h>
#include <OpenSG/OSGLog.h>

#include <new>

namespace osg {

DynamicVolume::DynamicVolume(Type type) : Volume(), _type(BOX_VOLUME)
{
    construct(type, NULL);
    instanceChanged();
}

DynamicVolume::DynamicVolume(const DynamicVolume &obj) : Volume(obj), _type(BOX_VOLUME)
{
    construct(obj._type, &obj.getInstance());
}

DynamicVolume &DynamicVolume::operator=(const DynamicVolume &source)
{
    if(this != &source)
    {
        destroy();
        construct(source._type, &source.getInstance());
        _state = source._state;
    }
    return *this;
}

DynamicVolume::~DynamicVolume(void)
{
    destroy();
}

void DynamicVolume::construct(Type type, const Volume *source)
{
    _type = type;
    if(type == SPHERE_VOLUME)
    {
        if(source != NULL)
            new (_volumeMem) SphereVolume(static_cast<const SphereVolume &>(*source));
        else
            new (_volumeMem) SphereVolume;
    }
    else
    {
        if(type != BOX_VOLUME)
            SWARNING << "DynamicVolume: unknown volume type " << Int32(type) << "; using a box" << std::endl;
        _type = BOX_VOLUME;
        if(source != NULL)
            new (_volumeMem) BoxVolume(static_cast<const BoxVolume &>(*source));
        else
            new (_volumeMem) BoxVolume;
    }
}

void DynamicVolume::destroy(void)
{
    getInstance().~Volume();
}

const Volume &DynamicVolume::getInstance(void) const
{
    if(_type == SPHERE_VOLUME)
        return *std::launder(reinterpret_cast<const SphereVolume *>(_volumeMem));
    return *std::launder(reinterpret_cast<const BoxVolume *>(_volumeMem));
}

Volume &DynamicVolume::getInstance(void)
{
    if(_type == SPHERE_VOLUME)
        return *std::launder(reinterpret_cast<SphereVolume *>(_volumeMem));
    return *std::launder(reinterpret_cast<BoxVolume *>(_volumeMem));
}

void DynamicVolume::instanceChanged(void)
{
    _state = getInstance().getState();
}

void DynamicVolume::updateInstanceState(void)
{
    getInstance().setState(_state);
}

void DynamicVolume::setVolumeType(Type type)
{
    destroy();
    construct(type, NULL);
    instanceChanged();
}

void DynamicVolume::morphToType(Type type)
{
    if(type != BOX_VOLUME && type != SPHERE_VOLUME)
    {
        SWARNING << "DynamicVolume::morphToType: unknown volume type " << Int32(type) << "; unchanged"
                 << std::endl;
        return;
    }
    if(type == _type)
        return;

    UInt16 state = getInstance().getState();
    Pnt3f  lo, hi;
    getInstance().getBounds(lo, hi);
    bool   hasExtent = (state & (OSGEMPTY | OSGINFINITE)) == 0;

    destroy();
    construct(type, NULL);
    if(hasExtent)
    {
        if(type == SPHERE_VOLUME)
            static_cast<SphereVolume &>(getInstance()).setValue(lo + (hi - lo) * 0.5f,
                                                                (hi - lo).length() * 0.5f);
        else
            static_cast<BoxVolume &>(getInstance()).setBounds(lo, hi);
    }
    getInstance().setState(state);
    instanceChanged();
}

void DynamicVolume::setValid(const bool value)
{
    getInstance().setValid(value);
    instanceChanged();
}

void DynamicVolume::setEmpty(const bool value)
{
    getInstance().setEmpty(value);
    instanceChanged();
}

void DynamicVolume::setStatic(const bool value)
{
    getInstance().setStatic(value);
    instanceChanged();
}

void DynamicVolume::setInfinite(const bool value)
{
    getInstance().setInfinite(value);
    instanceChanged();
}

void DynamicVolume::setState(UInt16 state)
{
    getInstance().setState(state);
    instanceChanged();
}

void DynamicVolume::getCenter(Pnt3f &center) const
{
    getInstance().getCenter(center);
}

Real32 DynamicVolume::getScalarVolume(void) const
{
    return getInstance().getScalarVolume();
}

void DynamicVolume::getBounds(Pnt3f &min, Pnt3f &max) const
{
    getInstance().getBounds(min, max);
}

void DynamicVolume::extendBy(const Pnt3f &pt)
{
    getInstance().extendBy(pt);
    instanceChanged();
}

void DynamicVolume::extendBy(const Volume &volume)
{
    getInstance().extendBy(volume);
    instanceChanged();
}

bool DynamicVolume::intersect(const Pnt3f &point) const
{
    return getInstance().intersect(point);
}

bool DynamicVolume::intersect(const Volume &volume) const
{
    return getInstance().intersect(volume);
}

bool DynamicVolume::isOnSurface(const Pnt3f &point) const
{
    return getInstance().isOnSurface(point);
}

bool DynamicVolume::intersect(const Line &line) const
{
    return getInstance().intersect(line);
}

bool DynamicVolume::intersect(const Line &line, Real32 &enter, Real32 &exit) const
{
    return getInstance().intersect(line, enter, exit);
}

void DynamicVolume::transform(const Matrix &matrix)
{
    getInstance().transform(matrix);
    instanceChanged();
}

void DynamicVolume::dump(UInt32 uiIndent, const BitVector bvFlags) const
{
    getInstance().dump(uiIndent, bvFlags);
}

bool operator==(const DynamicVolume &lhs, const DynamicVolume &rhs)
{
    if(lhs.getType() != rhs.getType() || lhs.getState() != rhs.getState())
        return false;
    if(lhs.getType() == DynamicVolume::SPHERE_VOLUME)
        return static_cast<const SphereVolume &>(lhs.getInstance()) ==
               static_cast<const SphereVolume &>(rhs.getInstance());
    return static_cast<const BoxVolume &>(lhs.getInstance()) ==
           static_cast<const BoxVolume &>(rhs.getInstance());
}

} // namespace osg
