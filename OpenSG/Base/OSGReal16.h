#ifndef _OSGREAL16_H_
#define _OSGREAL16_H_

#include <OpenSG/OSGBaseTypes.h>

#include <cstring>
#include <ostream>
#include <string>

namespace osg {

/*! IEEE 754 binary16: sign 1 bit, exponent 5 bits (bias 15), mantissa 10 bits, in one UInt16.
    Conversion from float rounds to nearest, ties to even; magnitudes that round beyond 65504
    become infinity, tiny ones become subnormals or zero; NaNs stay (quiet) NaNs. */
class Real16
{
  public:
    /*! Leaves the value undefined, as a built-in float does; Real16() value-initialises to 0. */
    Real16(void) = default;

    Real16(float f) : _h(fromFloat(f)) {}

    operator float(void) const { return toFloat(_h); }

    Real16 operator-(void) const { return fromBits(UInt16(_h ^ 0x8000)); }

    Real16 &operator=(float f) { _h = fromFloat(f); return *this; }

    Real16 &operator+=(Real16 h) { return *this = float(*this) + float(h); }
    Real16 &operator+=(float  f) { return *this = float(*this) + f;        }
    Real16 &operator-=(Real16 h) { return *this = float(*this) - float(h); }
    Real16 &operator-=(float  f) { return *this = float(*this) - f;        }
    Real16 &operator*=(Real16 h) { return *this = float(*this) * float(h); }
    Real16 &operator*=(float  f) { return *this = float(*this) * f;        }
    Real16 &operator/=(Real16 h) { return *this = float(*this) / float(h); }
    Real16 &operator/=(float  f) { return *this = float(*this) / f;        }

    bool isFinite      (void) const { return (_h & 0x7C00) != 0x7C00;                         }
    bool isNormalized  (void) const { UInt16 e = _h & 0x7C00; return e != 0 && e != 0x7C00;   }
    bool isDenormalized(void) const { return (_h & 0x7C00) == 0 && (_h & 0x03FF) != 0;        }
    bool isZero        (void) const { return (_h & 0x7FFF) == 0;                              }
    bool isNan         (void) const { return (_h & 0x7C00) == 0x7C00 && (_h & 0x03FF) != 0;   }
    bool isInfinity    (void) const { return (_h & 0x7FFF) == 0x7C00;                         }
    bool isNegative    (void) const { return (_h & 0x8000) != 0;                              }

    static Real16 posInf(void) { return fromBits(0x7C00); }
    static Real16 negInf(void) { return fromBits(0xFC00); }
    static Real16 qNan  (void) { return fromBits(0x7FFF); }
    static Real16 sNan  (void) { return fromBits(0x7DFF); }

    UInt16 bits   (void) const { return _h; }
    void   setBits(UInt16 bits) { _h = bits; }

    static Real16 fromBits(UInt16 bits)
    {
        Real16 r;
        r._h = bits;
        return r;
    }

    static UInt16 fromFloat(float f)
    {
        UInt32 x;
        std::memcpy(&x, &f, sizeof(x));

        UInt32 sign = (x >> 16) & 0x8000u;
        UInt32 exp  = (x >> 23) & 0xFFu;
        UInt32 mant = x & 0x7FFFFFu;

        if(exp == 0xFF)                                   // infinity or NaN
            return UInt16(sign | 0x7C00u | (mant != 0 ? 0x200u | (mant >> 13) : 0u));

        Int32 e = Int32(exp) - 127;
        if(e > 15)
            return UInt16(sign | 0x7C00u);

        if(e >= -14)                                      // normal range
        {
            UInt32 h   = (UInt32(e + 15) << 10) | (mant >> 13);
            UInt32 rem = mant & 0x1FFFu;
            if(rem > 0x1000u || (rem == 0x1000u && (h & 1u) != 0))
                ++h;                                      // a carry may reach infinity: correct
            return UInt16(sign | h);
        }

        if(exp == 0 || e < -25)                           // below half the smallest subnormal
            return UInt16(sign);

        // Subnormal: the value in units of 2^-24 is (1.mant) * 2^(e + 24).
        UInt32 full  = mant | 0x800000u;
        UInt32 shift = UInt32(-e - 1);                    // 14 ... 24
        UInt32 q     = full >> shift;
        UInt32 rem   = full & ((1u << shift) - 1u);
        UInt32 half  = 1u << (shift - 1u);
        if(rem > half || (rem == half && (q & 1u) != 0))
            ++q;                                          // may become the smallest normal
        return UInt16(sign | q);
    }

    static float toFloat(UInt16 h)
    {
        UInt32 sign = UInt32(h & 0x8000u) << 16;
        UInt32 exp  = (h >> 10) & 0x1Fu;
        UInt32 mant = h & 0x3FFu;
        UInt32 x;

        if(exp == 0)
        {
            float f = float(mant) * 5.9604644775390625e-8f;   // exact: mant * 2^-24
            return sign != 0 ? -f : f;
        }
        if(exp == 0x1F)
            x = sign | 0x7F800000u | (mant << 13);
        else
            x = sign | ((exp + 112u) << 23) | (mant << 13);

        float f;
        std::memcpy(&f, &x, sizeof(f));
        return f;
    }

  private:
    UInt16 _h;
};

inline std::ostream &operator<<(std::ostream &os, const Real16 &h)
{
    return os << float(h);
}

#define REAL16_MIN      5.96046448e-08f     // smallest positive subnormal
#define REAL16_NRM_MIN  6.10351562e-05f     // smallest positive normal
#define REAL16_MAX      65504.0f
#define REAL16_EPSILON  0.00097656f
#define REAL16_MANT_DIG 11
#define REAL16_DIG      2
#define REAL16_RADIX    2
#define REAL16_MIN_EXP  -13
#define REAL16_MAX_EXP  16

template <>
struct TypeTraits<Real16>
{
    typedef Real16 RealReturnType;

    static constexpr bool               IsPOD    = true;
    static constexpr MathTypeProperties MathProp = RealValue;

    static Real16 getZeroElement(void) { return Real16::fromBits(0x0000); }
    static Real16 getOneElement (void) { return Real16::fromBits(0x3C00); }
    static Real16 getMax        (void) { return Real16::fromBits(0x7BFF); }   // 65504
    static Real16 getMin        (void) { return Real16::fromBits(0x0001); }   // REAL16_MIN

    static Real16 getFraction(Real16 val) { return val; }
    static Real16 getPortion (Real16 val) { return val; }

    static Real16 getFromString(const Char8 *szString)
    {
        if(szString == NULL)
            return getZeroElement();
        return Real16(std::strtof(szString, NULL));
    }
    static std::string putToString(const Real16 val)
    {
        return TypeTraits<Real32>::putToString(float(val));
    }
};

} // namespace osg

#endif
