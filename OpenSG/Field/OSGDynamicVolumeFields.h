#ifndef _OSGDYNAMICVOLUMEFIELDS_H_
#define _OSGDYNAMICVOLUMEFIELDS_H_

#include <OpenSG/OSGDynamicVolume.h>
#include <OpenSG/OSGBoxVolume.h>
#include <OpenSG/OSGSphereVolume.h>
#include <OpenSG/OSGFieldDataType.h>
#include <OpenSG/OSGSField.h>
#include <OpenSG/OSGMField.h>

namespace osg {

/*! Binary form: UInt32 volume type (0 box, 1 sphere), UInt16 state, then the box's min and max
    (6 Real32, 30 bytes in all) or the sphere's centre and radius (4 Real32, 22 bytes). */
template <>
struct FieldDataTraits<DynamicVolume>
{
    static constexpr bool   IsPOD      = false;
    static constexpr UInt32 MinBinSize = 22;

    static DataType &getType(void)
    {
        static DataType type("DynamicVolume", "BaseType");
        return type;
    }
    static const Char8 *getSName(void) { return "SFDynamicVolume"; }
    static const Char8 *getMName(void) { return "MFDynamicVolume"; }
    static DynamicVolume getDefault(void) { return DynamicVolume(); }

    static UInt32 getBinSize(const DynamicVolume &v)
    {
        return v.getType() == DynamicVolume::SPHERE_VOLUME ? 22 : 30;
    }
    static UInt32 getBinSize(const DynamicVolume *v, UInt64 count)
    {
        UInt32 size = 0;
        for(UInt64 i = 0; i < count; ++i)
            size += getBinSize(v[i]);
        return size;
    }

    static void copyToBin(BinaryDataHandler &h, const DynamicVolume &v)
    {
        h.putValue(UInt32(v.getType()));
        h.putValue(UInt16(v.getState()));
        if(v.getType() == DynamicVolume::SPHERE_VOLUME)
        {
            const SphereVolume &s = static_cast<const SphereVolume &>(v.getInstance());
            putReals(h, s.getCenter().getValues(), 3);
            h.putValue(Real32(s.getRadius()));
        }
        else
        {
            const BoxVolume &b = static_cast<const BoxVolume &>(v.getInstance());
            putReals(h, b.getMin().getValues(), 3);
            putReals(h, b.getMax().getValues(), 3);
        }
    }

    static bool copyFromBin(BinaryDataHandler &h, DynamicVolume &v)
    {
        UInt32 type  = 0;
        UInt16 state = 0;
        if(!h.getValue(type) || !h.getValue(state))
            return false;
        if(type != DynamicVolume::BOX_VOLUME && type != DynamicVolume::SPHERE_VOLUME)
        {
            h.setFailed("unknown volume type " + std::to_string(type));
            return false;
        }
        Real32 r[6] = { 0, 0, 0, 0, 0, 0 };
        UInt32 n = (type == DynamicVolume::SPHERE_VOLUME) ? 4 : 6;
        for(UInt32 i = 0; i < n; ++i)
        {
            if(!h.getValue(r[i]))
                return false;
        }
        DynamicVolume result(type == DynamicVolume::SPHERE_VOLUME ? DynamicVolume::SPHERE_VOLUME
                                                                  : DynamicVolume::BOX_VOLUME);
        if(type == DynamicVolume::SPHERE_VOLUME)
        {
            SphereVolume &s = static_cast<SphereVolume &>(result.getInstance());
            s.setValue(Pnt3f(r[0], r[1], r[2]), r[3]);
        }
        else
        {
            BoxVolume &b = static_cast<BoxVolume &>(result.getInstance());
            b.setBounds(Pnt3f(r[0], r[1], r[2]), Pnt3f(r[3], r[4], r[5]));
        }
        result.instanceChanged();
        result.setState(state);
        v = result;
        return true;
    }

    static void copyToBin(BinaryDataHandler &h, const DynamicVolume *v, UInt64 count)
    {
        for(UInt64 i = 0; i < count; ++i)
            copyToBin(h, v[i]);
    }
    static bool copyFromBin(BinaryDataHandler &h, DynamicVolume *v, UInt64 count)
    {
        bool ok = true;
        for(UInt64 i = 0; i < count; ++i)
            ok = copyFromBin(h, v[i]) && ok;
        return ok;
    }

    static void putToString(const DynamicVolume &v, std::string &out)
    {
        Pnt3f lo, hi;
        v.getBounds(lo, hi);
        out += v.getType() == DynamicVolume::SPHERE_VOLUME ? "sphere " : "box ";
        out += "state " + std::to_string(v.getState()) + " ";
        FieldDataTraits<Pnt3f>::putToString(lo, out);
        out += " .. ";
        FieldDataTraits<Pnt3f>::putToString(hi, out);
    }

  private:
    static void putReals(BinaryDataHandler &h, const Real32 *r, UInt32 n)
    {
        for(UInt32 i = 0; i < n; ++i)
            h.putValue(r[i]);
    }
};

typedef SField<DynamicVolume> SFDynamicVolume;

} // namespace osg

#endif
