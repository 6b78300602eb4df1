#ifndef _OSGCCPNTFIELDS_H_
#define _OSGCCPNTFIELDS_H_

#include <OpenSGExt/OSGCCPnt.h>

#include <OpenSG/OSGFieldDataType.h>
#include <OpenSG/OSGSField.h>
#include <OpenSG/OSGMField.h>

#include <cstring>

namespace osg {

/*! Binary form of a CCPnt: point.x, point.y, inTangent.x, inTangent.y, outTangent.x,
    outTangent.y (Real32), inTangentType, outTangentType (UInt32): 32 bytes. Single values are
    always big-endian; arrays follow the handler's network-order switch like every other array
    (big-endian by default), in one bulk pass per chunk. */
template <>
struct FieldDataTraits<CCPnt>
{
    static constexpr bool   IsPOD      = false;
    static constexpr UInt32 MinBinSize = 32;
    static constexpr UInt32 Words      = 8;

    static DataType &getType(void)
    {
        static DataType type("CCPnt", "BaseType");
        return type;
    }
    static const Char8 *getSName(void) { return "SFCCPnt"; }
    static const Char8 *getMName(void) { return "MFCCPnt"; }
    static CCPnt getDefault(void) { return CCPnt(); }

    static UInt32 getBinSize(const CCPnt &)               { return MinBinSize;                 }
    static UInt32 getBinSize(const CCPnt *, UInt64 count) { return UInt32(MinBinSize * count); }

    static void pack(const CCPnt &p, UInt32 *w)
    {
        std::memcpy(w + 0, p.point.getValues(), 8);
        std::memcpy(w + 2, p.inTangent.getValues(), 8);
        std::memcpy(w + 4, p.outTangent.getValues(), 8);
        w[6] = p.inTangentType;
        w[7] = p.outTangentType;
    }
    static void unpack(const UInt32 *w, CCPnt &p)
    {
        std::memcpy(p.point.getValues(), w + 0, 8);
        std::memcpy(p.inTangent.getValues(), w + 2, 8);
        std::memcpy(p.outTangent.getValues(), w + 4, 8);
        p.inTangentType  = w[6];
        p.outTangentType = w[7];
    }

    static void copyToBin(BinaryDataHandler &h, const CCPnt &p)
    {
        UInt32 w[Words];
        pack(p, w);
        for(UInt32 k = 0; k < Words; ++k)
            h.putValue(w[k]);
    }
    static bool copyFromBin(BinaryDataHandler &h, CCPnt &p)
    {
        UInt32 w[Words];
        bool   ok = true;
        for(UInt32 k = 0; k < Words; ++k)
            ok = h.getValue(w[k]) && ok;
        if(ok)
            unpack(w, p);
        return ok;
    }

    static void copyToBin(BinaryDataHandler &h, const CCPnt *values, UInt64 count)
    {
        UInt32 buffer[Chunk * Words];
        for(UInt64 done = 0; done < count; )
        {
            UInt64 n = count - done < Chunk ? count - done : Chunk;
            for(UInt64 i = 0; i < n; ++i)
                pack(values[done + i], buffer + i * Words);
            h.putValues(buffer, n * Words);
            done += n;
        }
    }
    static bool copyFromBin(BinaryDataHandler &h, CCPnt *values, UInt64 count)
    {
        UInt32 buffer[Chunk * Words];
        for(UInt64 done = 0; done < count; )
        {
            UInt64 n = count - done < Chunk ? count - done : Chunk;
            if(!h.getValues(buffer, n * Words))
                return false;
            for(UInt64 i = 0; i < n; ++i)
                unpack(buffer + i * Words, values[done + i]);
            done += n;
        }
        return true;
    }

    static void putToString(const CCPnt &p, std::string &out)
    {
        out += '(';
        FieldDataTraits<Pnt2f>::putToString(p.point, out);
        out += ") in (";
        FieldDataTraits<Vec2f>::putToString(p.inTangent, out);
        out += ") out (";
        FieldDataTraits<Vec2f>::putToString(p.outTangent, out);
        out += ") types " + std::to_string(p.inTangentType) + "/" + std::to_string(p.outTangentType);
    }

  private:
    // Not 256: a buffer of exactly two 4 KB pages would keep the same page offset to the stream
    // for a whole field, and an unlucky offset (the stack is placed at random) makes each load
    // wait on a store it only seems to alias, halving the speed for the whole run.
    static constexpr UInt64 Chunk = 255;
};

typedef SField<CCPnt> SFCCPnt;
typedef MField<CCPnt> MFCCPnt;

} // namespace osg

#endif
