#ifndef _OSGINDEXWEIGHTFIELDS_H_
#define _OSGINDEXWEIGHTFIELDS_H_

#include <OpenSGExt/OSGIndexWeight.h>
#include <OpenSG/OSGFieldDataType.h>
#include <OpenSG/OSGSField.h>
#include <OpenSG/OSGMField.h>

namespace osg {

/*! Binary form: the index (UInt32), then the weight (Real32), each in network byte order:
    8 bytes per value, whatever the size of the class in memory (it has a virtual destructor). */
template <>
struct FieldDataTraits<IndexWeight>
{
    static constexpr bool   IsPOD      = false;
    static constexpr UInt32 MinBinSize = 8;

    static DataType &getType(void)
    {
        static DataType type("IndexWeight", "BaseType");
        return type;
    }
    static const Char8 *getSName(void) { return "SFIndexWeight"; }
    static const Char8 *getMName(void) { return "MFIndexWeight"; }
    static IndexWeight getDefault(void) { return IndexWeight(); }

    static UInt32 getBinSize(const IndexWeight &)               { return MinBinSize; }
    static UInt32 getBinSize(const IndexWeight *, UInt64 count) { return UInt32(MinBinSize * count); }

    static void copyToBin(BinaryDataHandler &h, const IndexWeight &v)
    {
        h.putValue(v.getIndex());
        h.putValue(v.getWeight());
    }
    static bool copyFromBin(BinaryDataHandler &h, IndexWeight &v)
    {
        UInt32 index  = 0;
        Real32 weight = 0.f;
        if(!h.getValue(index) || !h.getValue(weight))
            return false;
        v = IndexWeight(index, weight);
        return true;
    }
    static void copyToBin(BinaryDataHandler &h, const IndexWeight *v, UInt64 count)
    {
        for(UInt64 i = 0; i < count; ++i)
            copyToBin(h, v[i]);
    }
    static bool copyFromBin(BinaryDataHandler &h, IndexWeight *v, UInt64 count)
    {
        for(UInt64 i = 0; i < count; ++i)
        {
            if(!copyFromBin(h, v[i]))
                return false;
        }
        return true;
    }

    static void putToString(const IndexWeight &v, std::string &out)
    {
        detail::appendText(out, v.getIndex());
        out += ' ';
        detail::appendText(out, v.getWeight());
    }
};

typedef SField<IndexWeight> SFIndexWeight;
typedef MField<IndexWeight> MFIndexWeight;

} // namespace osg

#endif
