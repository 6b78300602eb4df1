#include <OpenSG/OSGVolume.h>
#include <OpenSG/OSGDynamicVolume.h>

#include <ostream>

namespace osg {

bool Volume::operator==(const Volume &other) const
{
    if(getState() != other.getState())
        return false;
    Pnt3f min1, max1, min2, max2;
    getBounds(min1, max1);
    other.getBounds(min2, max2);
    return min1 == min2 && max1 == max2;
}

Volume::ExtendAction Volume::extendAction(const Volume &dst, const Volume &src)
{
    if(dst.isStatic() || dst.isInfinite() || (!dst.isValid() && !dst.isEmpty()))
        return ExtendNothing;
    if(!src.isValid() || src.isEmpty())
        return ExtendNothing;
    if(src.isInfinite())
        return ExtendInfinite;
    if(dst.isEmpty())
        return ExtendCopy;
    return ExtendUnion;
}

const Volume &Volume::resolve(const Volume &src)
{
    const DynamicVolume *dyn = dynamic_cast<const DynamicVolume *>(&src);
    return dyn != NULL ? dyn->getInstance() : src;
}

void Volume::putState(std::ostream &os, UInt16 state)
{
    bool first = true;
    const char *names[] = { "valid", "empty", "static", "infinite" };
    for(UInt32 i = 0; i < 4; ++i)
    {
        if((state & (1u << i)) != 0)
        {
            os << (first ? "" : " ") << names[i];
            first = false;
        }
    }
    if(first)
        os << "invalid";
}

std::ostream &operator<<(std::ostream &os, const Volume &vol)
{
    const Volume &inst = Volume::resolve(vol);
    const char   *kind = dynamic_cast<const SphereVolume *>(&inst) != NULL ? "sphere" : "box";
    Pnt3f lo, hi;
    vol.getBounds(lo, hi);
    os << kind << " (" << lo << ") (" << hi << ") [";
    Volume::putState(os, vol.getState());
    return os << "]";
}

} // namespace osg
