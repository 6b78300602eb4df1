#ifndef _OSGFIELDCONTAINERBASE_H_
#define _OSGFIELDCONTAINERBASE_H_

#include <OpenSG/OSGBaseTypes.h>
#include <OpenSG/OSGBitVector.h>

namespace osg {

struct FieldBits
{
    static constexpr BitVector AllFields = ~BitVector(0);
    static constexpr BitVector NoField   = BitVector(0);

    static constexpr BitVector Field0  = TypeTraits<BitVector>::One << 0;
    static constexpr BitVector Field1  = TypeTraits<BitVector>::One << 1;
    static constexpr BitVector Field2  = TypeTraits<BitVector>::One << 2;
    static constexpr BitVector Field3  = TypeTraits<BitVector>::One << 3;
    static constexpr BitVector Field4  = TypeTraits<BitVector>::One << 4;
    static constexpr BitVector Field5  = TypeTraits<BitVector>::One << 5;
    static constexpr BitVector Field6  = TypeTraits<BitVector>::One << 6;
    static constexpr BitVector Field7  = TypeTraits<BitVector>::One << 7;
};

struct ChangedOrigin
{
    static constexpr UInt32 External         = 0x0001;
    static constexpr UInt32 Sync             = 0x0002;
    static constexpr UInt32 Child            = 0x0004;
    static constexpr UInt32 Abstract         = 0x0008;
    static constexpr UInt32 AbstrIgnoreCore  = 0x0100;
    static constexpr UInt32 AbstrIgnoreChild = 0x0200;
    static constexpr UInt32 AbstrCheckValid  = 0x0400;
    static constexpr UInt32 AbstrIncRefCount = 0x0800;
};

} // namespace osg

#endif
