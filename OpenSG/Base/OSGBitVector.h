#ifndef _OSGBITVECTOR_H_
#define _OSGBITVECTOR_H_

#include <OpenSG/OSGBaseTypes.h>

#include <cstddef>
#include <functional>
#include <ostream>
#include <string>

namespace osg {

/*! Unsigned 128-bit value used as a field mask: bit n is the mask of field id n. Two plain 64-bit
    words keep it portable and trivially copyable; everything that can be is constexpr, so masks such
    as TypeTraits<BitVector>::One << 127 are compile-time constants. Shifts by 128 or more give 0. */
class BitVector
{
  public:
    constexpr BitVector(void) noexcept : _low(0), _high(0) {}

    // Implicit, so that "BitVector m = 0;" and "mask & (1 << id)" read as with an integer mask.
    constexpr BitVector(UInt64 low) noexcept : _low(low), _high(0) {}

    static constexpr BitVector fromWords(UInt64 high, UInt64 low) noexcept
    {
        return BitVector(high, low, WordsTag());
    }

    constexpr UInt64 getLow (void) const noexcept { return _low;  }
    constexpr UInt64 getHigh(void) const noexcept { return _high; }

    /*------------------------------ bits ---------------------------------*/

    constexpr bool test(UInt32 bit) const noexcept
    {
        return bit < 64 ? ((_low >> bit) & 1u) != 0 : (bit < 128 ? ((_high >> (bit - 64)) & 1u) != 0 : false);
    }

    constexpr BitVector &set(UInt32 bit) noexcept
    {
        if(bit < 64)
            _low |= UInt64(1) << bit;
        else if(bit < 128)
            _high |= UInt64(1) << (bit - 64);
        return *this;
    }

    constexpr BitVector &reset(UInt32 bit) noexcept
    {
        if(bit < 64)
            _low &= ~(UInt64(1) << bit);
        else if(bit < 128)
            _high &= ~(UInt64(1) << (bit - 64));
        return *this;
    }

    constexpr bool any (void) const noexcept { return (_low | _high) != 0; }
    constexpr bool none(void) const noexcept { return (_low | _high) == 0; }

    constexpr UInt32 count(void) const noexcept { return popCount(_low) + popCount(_high); }

    constexpr explicit operator bool(void) const noexcept { return any(); }

    /*------------------------------ operators ----------------------------*/

    friend constexpr BitVector operator|(const BitVector &a, const BitVector &b) noexcept
    {
        return fromWords(a._high | b._high, a._low | b._low);
    }
    friend constexpr BitVector operator&(const BitVector &a, const BitVector &b) noexcept
    {
        return fromWords(a._high & b._high, a._low & b._low);
    }
    friend constexpr BitVector operator^(const BitVector &a, const BitVector &b) noexcept
    {
        return fromWords(a._high ^ b._high, a._low ^ b._low);
    }
    constexpr BitVector operator~(void) const noexcept { return fromWords(~_high, ~_low); }

    friend constexpr BitVector operator<<(const BitVector &v, UInt32 n) noexcept
    {
        return n == 0    ? v
             : n >= 128 ? BitVector()
             : n >= 64  ? fromWords(v._low << (n - 64), 0)
                        : fromWords((v._high << n) | (v._low >> (64 - n)), v._low << n);
    }
    friend constexpr BitVector operator>>(const BitVector &v, UInt32 n) noexcept
    {
        return n == 0    ? v
             : n >= 128 ? BitVector()
             : n >= 64  ? fromWords(0, v._high >> (n - 64))
                        : fromWords(v._high >> n, (v._low >> n) | (v._high << (64 - n)));
    }

    constexpr BitVector &operator|= (const BitVector &b) noexcept { return *this = *this | b;  }
    constexpr BitVector &operator&= (const BitVector &b) noexcept { return *this = *this & b;  }
    constexpr BitVector &operator^= (const BitVector &b) noexcept { return *this = *this ^ b;  }
    constexpr BitVector &operator<<=(UInt32 n)           noexcept { return *this = *this << n; }
    constexpr BitVector &operator>>=(UInt32 n)           noexcept { return *this = *this >> n; }

    friend constexpr bool operator==(const BitVector &a, const BitVector &b) noexcept
    {
        return a._low == b._low && a._high == b._high;
    }
    friend constexpr bool operator!=(const BitVector &a, const BitVector &b) noexcept
    {
        return !(a == b);
    }
    friend constexpr bool operator<(const BitVector &a, const BitVector &b) noexcept
    {
        return a._high < b._high || (a._high == b._high && a._low < b._low);
    }

    /*------------------------------ text ---------------------------------*/

    /*! "0x" and the value in lowercase hex without leading zeros ("0x0" for zero). */
    std::string toHexString(void) const
    {
        static const char digits[] = "0123456789abcdef";
        char   buffer[2 + 32];
        UInt32 n = 0;
        bool   started = false;
        buffer[n++] = '0';
        buffer[n++] = 'x';
        for(Int32 nibble = 31; nibble >= 0; --nibble)
        {
            UInt64 word  = nibble >= 16 ? _high : _low;
            UInt32 digit = UInt32((word >> ((nibble & 15) * 4)) & 0xF);
            if(digit != 0 || started || nibble == 0)
            {
                buffer[n++] = digits[digit];
                started = true;
            }
        }
        return std::string(buffer, n);
    }

  private:
    struct WordsTag {};

    constexpr BitVector(UInt64 high, UInt64 low, WordsTag) noexcept : _low(low), _high(high) {}

    static constexpr UInt32 popCount(UInt64 v) noexcept
    {
#if defined(__GNUC__) || defined(__clang__)
        return UInt32(__builtin_popcountll(v));
#else
        UInt32 c = 0;
        for(; v != 0; v &= v - 1)
            ++c;
        return c;
#endif
    }

    UInt64 _low;
    UInt64 _high;
};

inline std::ostream &operator<<(std::ostream &os, const BitVector &v)
{
    return os << v.toHexString();
}

template <>
struct TypeTraits<BitVector>
{
    static constexpr bool      IsPOD     = true;
    static constexpr BitVector BitsSet   = BitVector::fromWords(~UInt64(0), ~UInt64(0));
    static constexpr BitVector BitsClear = BitVector();
    static constexpr BitVector Zero      = BitVector();
    static constexpr BitVector One       = BitVector(1);

    static constexpr BitVector getZeroElement(void) { return Zero;      }
    static constexpr BitVector getOneElement (void) { return One;       }
    static constexpr BitVector getMax        (void) { return BitsSet;   }
    static constexpr BitVector getMin        (void) { return BitsClear; }

    static std::string putToString(const BitVector &val) { return val.toHexString(); }

    /*! Reads "0x" hex or decimal; anything unreadable, or a value wider than 128 bits, gives 0. */
    static BitVector getFromString(const Char8 *szString)
    {
        if(szString == NULL)
            return Zero;
        while(*szString == ' ' || *szString == '\t')
            ++szString;

        UInt64 hi = 0, lo = 0;
        bool   hex = szString[0] == '0' && (szString[1] == 'x' || szString[1] == 'X');
        const Char8 *p = hex ? szString + 2 : szString;
        if(*p == '\0')
            return Zero;
        for(; *p != '\0' && *p != ' ' && *p != '\t' && *p != '\n'; ++p)
        {
            UInt32 digit;
            if(*p >= '0' && *p <= '9')
                digit = UInt32(*p - '0');
            else if(hex && *p >= 'a' && *p <= 'f')
                digit = UInt32(*p - 'a' + 10);
            else if(hex && *p >= 'A' && *p <= 'F')
                digit = UInt32(*p - 'A' + 10);
            else
                return Zero;

            if(hex)
            {
                if((hi >> 60) != 0)
                    return Zero;
                hi = (hi << 4) | (lo >> 60);
                lo = (lo << 4) | digit;
            }
            else
            {
                // value * 10 + digit in 128 bits, split into 32-bit limbs to see the carries.
                UInt64 limbs[4] = { lo & 0xFFFFFFFFu, lo >> 32, hi & 0xFFFFFFFFu, hi >> 32 };
                UInt64 carry    = digit;
                for(UInt64 &limb : limbs)
                {
                    UInt64 v = limb * 10 + carry;
                    limb  = v & 0xFFFFFFFFu;
                    carry = v >> 32;
                }
                if(carry != 0)
                    return Zero;
                lo = limbs[0] | (limbs[1] << 32);
                hi = limbs[2] | (limbs[3] << 32);
            }
        }
        return BitVector::fromWords(hi, lo);
    }
};

} // namespace osg

namespace std {

template <>
struct hash<osg::BitVector>
{
    size_t operator()(const osg::BitVector &v) const noexcept
    {
        osg::UInt64 h = v.getLow() ^ (v.getHigh() * 0x9E3779B97F4A7C15ull + 0x7F4A7C15u);
        h ^= h >> 33;
        h *= 0xFF51AFD7ED558CCDull;
        h ^= h >> 33;
        return size_t(h);
    }
};

} // namespace std

#endif
