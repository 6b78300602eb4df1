#ifndef _OSGBASETYPES_H_
#define _OSGBASETYPES_H_

#include <OpenSG/OSGConfig.h>

#include <cfloat>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <type_traits>

namespace osg {

/*---------------------------------------------------------------------------*/
/*                               Scalars                                     */

typedef char          Char8;
typedef unsigned char UChar8;
typedef signed char   SChar8;

typedef std::int8_t   Int8;
typedef std::uint8_t  UInt8;
typedef std::int16_t  Int16;
typedef std::uint16_t UInt16;
typedef std::int32_t  Int32;
typedef std::uint32_t UInt32;
typedef std::int64_t  Int64;
typedef std::uint64_t UInt64;

typedef float         Real32;
typedef double        Real64;
typedef long double   Real128;

typedef Real64        Time;
typedef std::size_t   SizeT;

constexpr Real32 Eps    = 1E-6f;
constexpr Real64 Pi     = 3.14159265358979323846;
constexpr Real32 Inf    = 1E30f;
constexpr Real32 NegInf = -1E30f;

/*---------------------------------------------------------------------------*/
/*                               TypeTraits                                  */

enum MathTypeProperties
{
    IntValue,
    RealValue,
    BoolValue
};

/*! Per scalar type: identity elements, bit patterns, range and text form. The primary template
    marks everything else as not plain old data. */
template <class LookupTypeT>
struct TypeTraits
{
    static constexpr bool IsPOD = false;
};

template <>
struct TypeTraits<bool>
{
    typedef bool RealReturnType;

    static constexpr bool               IsPOD     = true;
    static constexpr MathTypeProperties MathProp  = BoolValue;
    static constexpr bool               BitsSet   = true;
    static constexpr bool               BitsClear = false;

    static constexpr bool getZeroElement(void) { return false; }
    static constexpr bool getOneElement (void) { return true;  }
    static constexpr bool getMax        (void) { return true;  }
    static constexpr bool getMin        (void) { return false; }

    static bool getFromString(const Char8 *szString)
    {
        if(szString == NULL)
            return false;
        while(*szString == ' ' || *szString == '\t')
            ++szString;
        return std::strncmp(szString, "true", 4) == 0 || std::strncmp(szString, "TRUE", 4) == 0 ||
               std::strtol(szString, NULL, 0) != 0;
    }
    static std::string putToString(const bool val) { return val ? "true" : "false"; }
};

namespace detail {

/*! Shared part of the integer traits; strings parse with base 0 as OpenSG does ("0x10", "010"). */
template <class IntT>
struct IntTypeTraits
{
    typedef Real32 RealReturnType;

    static constexpr bool               IsPOD     = true;
    static constexpr MathTypeProperties MathProp  = IntValue;
    static constexpr IntT               BitsSet   = IntT(~IntT(0));
    static constexpr IntT               BitsClear = IntT(0);

    static constexpr IntT getZeroElement(void) { return IntT(0); }
    static constexpr IntT getOneElement (void) { return IntT(1); }
    static constexpr IntT getMax        (void) { return std::numeric_limits<IntT>::max(); }
    static constexpr IntT getMin        (void) { return std::numeric_limits<IntT>::min(); }

    static Real32 getFraction(IntT   val) { return Real32(val) / Real32(getMax()); }
    static IntT   getPortion (Real32 val) { return IntT(val * Real32(getMax()));  }

    static IntT getFromString(const Char8 *szString)
    {
        if(szString == NULL)
            return getZeroElement();
        if(std::numeric_limits<IntT>::is_signed)
            return IntT(std::strtoll(szString, NULL, 0));
        return IntT(std::strtoull(szString, NULL, 0));
    }
    static std::string putToString(const IntT val)
    {
        return std::numeric_limits<IntT>::is_signed ? std::to_string(static_cast<long long>(val))
                                                    : std::to_string(static_cast<unsigned long long>(val));
    }
};

/*! Shared part of the real traits. getMin() is the smallest positive normal value, as in OpenSG,
    not the most negative one. Text uses enough digits to read back the same value. */
template <class RealT>
struct RealTypeTraits
{
    typedef RealT RealReturnType;

    static constexpr bool               IsPOD    = true;
    static constexpr MathTypeProperties MathProp = RealValue;

    static constexpr RealT getZeroElement(void) { return RealT(0); }
    static constexpr RealT getOneElement (void) { return RealT(1); }
    static constexpr RealT getMax        (void) { return std::numeric_limits<RealT>::max(); }
    static constexpr RealT getMin        (void) { return std::numeric_limits<RealT>::min(); }

    static RealT getFraction(RealT val) { return val; }
    static RealT getPortion (RealT val) { return val; }

    static RealT getFromString(const Char8 *szString)
    {
        if(szString == NULL)
            return getZeroElement();
        return RealT(std::strtold(szString, NULL));
    }
    static std::string putToString(const RealT val)
    {
        char buffer[64];
        std::snprintf(buffer, sizeof(buffer), "%.*Lg",
                      int(std::numeric_limits<RealT>::max_digits10), static_cast<long double>(val));
        return std::string(buffer);
    }
};

} // namespace detail

template <> struct TypeTraits<Int8>   : public detail::IntTypeTraits<Int8>   {};
template <> struct TypeTraits<UInt8>  : public detail::IntTypeTraits<UInt8>  {};
template <> struct TypeTraits<Int16>  : public detail::IntTypeTraits<Int16>  {};
template <> struct TypeTraits<UInt16> : public detail::IntTypeTraits<UInt16> {};
template <> struct TypeTraits<Int32>  : public detail::IntTypeTraits<Int32>  {};
template <> struct TypeTraits<UInt32> : public detail::IntTypeTraits<UInt32> {};
template <> struct TypeTraits<Int64>  : public detail::IntTypeTraits<Int64>  {};

template <>
struct TypeTraits<UInt64> : public detail::IntTypeTraits<UInt64>
{
    static constexpr UInt64 Zero = 0;
    static constexpr UInt64 One  = 1;
};

template <> struct TypeTraits<Real32>  : public detail::RealTypeTraits<Real32>  {};
template <> struct TypeTraits<Real64>  : public detail::RealTypeTraits<Real64>  {};
template <> struct TypeTraits<Real128> : public detail::RealTypeTraits<Real128> {};

#define TypeConstants TypeTraits

namespace detail {

/*! Logs that function got a null pointer; the caller carries on with a neutral value. Out of
    line, so that the value headers need not include the log. */
void warnNullPointer(const Char8 *function);

} // namespace detail

/*---------------------------------------------------------------------------*/
/*                               Math functions                              */

// Integer arguments compute in Real32, as OpenSG's RealReturnType says.
#define OSG_REAL_FUNC1(NAME, STDFUNC)                                                  \
template <class T> inline                                                            \
typename TypeTraits<T>::RealReturnType NAME(const T value)                           \
{                                                                                    \
    typedef typename TypeTraits<T>::RealReturnType R;                                \
    return R(std::STDFUNC(R(value)));                                                \
}

OSG_REAL_FUNC1(osgsqrt,  sqrt)
OSG_REAL_FUNC1(osgsin,   sin)
OSG_REAL_FUNC1(osgcos,   cos)
OSG_REAL_FUNC1(osgtan,   tan)
OSG_REAL_FUNC1(osgatan,  atan)
OSG_REAL_FUNC1(osglog,   log)
OSG_REAL_FUNC1(osgexp,   exp)
OSG_REAL_FUNC1(osgfloor, floor)
OSG_REAL_FUNC1(osgceil,  ceil)

#undef OSG_REAL_FUNC1

/*! acos/asin clamp to [-1, 1] first: dot products of unit vectors overshoot by rounding and would
    otherwise give NaN. */
template <class T> inline typename TypeTraits<T>::RealReturnType osgacos(const T value)
{
    typedef typename TypeTraits<T>::RealReturnType R;
    R v = R(value);
    return R(std::acos(v < R(-1) ? R(-1) : (v > R(1) ? R(1) : v)));
}

template <class T> inline typename TypeTraits<T>::RealReturnType osgasin(const T value)
{
    typedef typename TypeTraits<T>::RealReturnType R;
    R v = R(value);
    return R(std::asin(v < R(-1) ? R(-1) : (v > R(1) ? R(1) : v)));
}

template <class T> inline typename TypeTraits<T>::RealReturnType osgatan2(const T y, const T x)
{
    typedef typename TypeTraits<T>::RealReturnType R;
    return R(std::atan2(R(y), R(x)));
}

template <class T> inline typename TypeTraits<T>::RealReturnType osgpow(const T base, const T exponent)
{
    typedef typename TypeTraits<T>::RealReturnType R;
    return R(std::pow(R(base), R(exponent)));
}

template <class T> inline T osgabs(const T value)
{
    if constexpr(std::is_unsigned<T>::value)
        return value;
    else
        return value < T(0) ? T(-value) : value;
}

template <class T> inline bool osgfinite(const T value)
{
    return std::isfinite(value);
}

template <class T> inline constexpr const T &osgMin(const T &a, const T &b) { return b < a ? b : a; }
template <class T> inline constexpr const T &osgMax(const T &a, const T &b) { return a < b ? b : a; }

template <class T> inline constexpr T osgClamp(const T &minVal, const T &val, const T &maxVal)
{
    return val < minVal ? minVal : (maxVal < val ? maxVal : val);
}

template <class T> inline void osgSwap(T &a, T &b)
{
    T tmp = a;
    a = b;
    b = tmp;
}

template <class T> inline constexpr T osgsgn(const T value)
{
    if constexpr(std::is_unsigned<T>::value)
        return value != T(0) ? T(1) : T(0);
    else
        return value < T(0) ? T(-1) : (T(0) < value ? T(1) : T(0));
}

inline constexpr bool osgispower2(const UInt64 value)
{
    return value != 0 && (value & (value - 1)) == 0;
}

/*! The smallest power of two not below value (1 for 0). */
inline UInt64 osgnextpower2(UInt64 value)
{
    UInt64 p = 1;
    while(p < value && p != (UInt64(1) << 63))
        p <<= 1;
    return p;
}

template <class T> inline typename TypeTraits<T>::RealReturnType osgdegree2rad(const T degree)
{
    typedef typename TypeTraits<T>::RealReturnType R;
    return R(R(degree) * R(Pi / 180.0));
}

template <class T> inline typename TypeTraits<T>::RealReturnType osgrad2degree(const T rad)
{
    typedef typename TypeTraits<T>::RealReturnType R;
    return R(R(rad) * R(180.0 / Pi));
}

inline Real32 deg2rad(const Real32 degree) { return osgdegree2rad(degree); }
inline Real32 rad2deg(const Real32 rad)    { return osgrad2degree(rad);    }

} // namespace osg

// Real16 and BitVector are base types too; code that includes only this header may use them.
#include <OpenSG/OSGReal16.h>
#include <OpenSG/OSGBitVector.h>

#endif
