#ifndef _OSGCOLOR_H_
#define _OSGCOLOR_H_

#include <OpenSG/OSGVector.h>

#include <ostream>
#include <type_traits>

namespace osg {

namespace detail {

// HSV with h in degrees [0, 360), s and v in [0, 1]; rgb in [0, 1].
inline void hsvToRgb(Real32 h, Real32 s, Real32 v, Real32 rgb[3])
{
    if(s <= 0.f)
    {
        rgb[0] = rgb[1] = rgb[2] = v;
        return;
    }
    h = std::fmod(h, 360.f);
    if(h < 0.f)
        h += 360.f;
    h /= 60.f;
    Int32  sector = Int32(h);
    Real32 f = h - Real32(sector);
    Real32 p = v * (1.f - s);
    Real32 q = v * (1.f - s * f);
    Real32 t = v * (1.f - s * (1.f - f));
    switch(sector)
    {
        case 0:  rgb[0] = v; rgb[1] = t; rgb[2] = p; break;
        case 1:  rgb[0] = q; rgb[1] = v; rgb[2] = p; break;
        case 2:  rgb[0] = p; rgb[1] = v; rgb[2] = t; break;
        case 3:  rgb[0] = p; rgb[1] = q; rgb[2] = v; break;
        case 4:  rgb[0] = t; rgb[1] = p; rgb[2] = v; break;
        default: rgb[0] = v; rgb[1] = p; rgb[2] = q; break;
    }
}

inline void rgbToHsv(const Real32 rgb[3], Real32 &h, Real32 &s, Real32 &v)
{
    Real32 maxC = osgMax(rgb[0], osgMax(rgb[1], rgb[2]));
    Real32 minC = osgMin(rgb[0], osgMin(rgb[1], rgb[2]));
    Real32 delta = maxC - minC;
    v = maxC;
    s = maxC > 0.f ? delta / maxC : 0.f;
    if(delta <= 0.f)
    {
        h = 0.f;
        return;
    }
    if(rgb[0] >= maxC)
        h = (rgb[1] - rgb[2]) / delta;
    else if(rgb[1] >= maxC)
        h = 2.f + (rgb[2] - rgb[0]) / delta;
    else
        h = 4.f + (rgb[0] - rgb[1]) / delta;
    h *= 60.f;
    if(h < 0.f)
        h += 360.f;
}

// Components to and from [0, 1]: reals are taken as they are, integers scale by their maximum.
template <class T> inline Real32 colorFraction(const T v)
{
    if constexpr(std::is_integral<T>::value)
        return Real32(v) / Real32(TypeTraits<T>::getMax());
    else
        return Real32(v);
}
template <class T> inline T colorPortion(const Real32 f)
{
    if constexpr(std::is_integral<T>::value)
    {
        Real32 c = osgClamp(0.f, f, 1.f);
        return T(c * Real32(TypeTraits<T>::getMax()) + 0.5f);
    }
    else
        return T(f);
}

} // namespace detail

/*! RGB colour; Color3ub holds bytes. Plain component storage, so colour arrays are memcpy-safe. */
template <class ValueTypeT>
class Color3
{
  public:
    typedef ValueTypeT ValueType;

    static const Color3 Null;

    constexpr Color3(void) : _rgb{} {}
    constexpr Color3(const ValueTypeT r, const ValueTypeT g, const ValueTypeT b) : _rgb{ r, g, b } {}
    explicit Color3(const ValueTypeT *pVals) : _rgb{}
    {
        if(pVals != NULL)
            setValuesRGB(pVals[0], pVals[1], pVals[2]);
        else
            detail::warnNullPointer("Color3");
    }

    void clear(void) { _rgb[0] = _rgb[1] = _rgb[2] = ValueTypeT(0); }

    void setValuesRGB(const ValueTypeT r, const ValueTypeT g, const ValueTypeT b)
    {
        _rgb[0] = r;
        _rgb[1] = g;
        _rgb[2] = b;
    }
    void setValue(const Char8 *szString)
    {
        Point<Real64, 3> p;
        p.setValueFromCString(szString);
        setValuesRGB(ValueTypeT(p[0]), ValueTypeT(p[1]), ValueTypeT(p[2]));
    }

    /*! h in degrees, s and v in [0, 1]. */
    void setValuesHSV(const Real32 h, const Real32 s, const Real32 v)
    {
        Real32 rgb[3];
        detail::hsvToRgb(h, s, v, rgb);
        for(UInt32 i = 0; i < 3; ++i)
            _rgb[i] = detail::colorPortion<ValueTypeT>(rgb[i]);
    }

    /*! 0xRRGGBB */
    void setRGB(UInt32 rgbPack)
    {
        for(Int32 i = 2; i >= 0; --i, rgbPack >>= 8)
            _rgb[i] = detail::colorPortion<ValueTypeT>(Real32(rgbPack & 0xFF) / 255.f);
    }
    UInt32 getRGB(void) const
    {
        UInt32 pack = 0;
        for(UInt32 i = 0; i < 3; ++i)
            pack = (pack << 8) | detail::colorPortion<UInt8>(detail::colorFraction(_rgb[i]));
        return pack;
    }

    void getValuesRGB(ValueTypeT &r, ValueTypeT &g, ValueTypeT &b) const
    {
        r = _rgb[0];
        g = _rgb[1];
        b = _rgb[2];
    }
    void getValuesHSV(Real32 &h, Real32 &s, Real32 &v) const
    {
        Real32 rgb[3] = { detail::colorFraction(_rgb[0]), detail::colorFraction(_rgb[1]),
                          detail::colorFraction(_rgb[2]) };
        detail::rgbToHsv(rgb, h, s, v);
    }

    constexpr ValueTypeT red  (void) const { return _rgb[0]; }
    constexpr ValueTypeT green(void) const { return _rgb[1]; }
    constexpr ValueTypeT blue (void) const { return _rgb[2]; }

          ValueTypeT *getValuesRGB(void)       { return _rgb; }
    const ValueTypeT *getValuesRGB(void) const { return _rgb; }
          ValueTypeT *getValues   (void)       { return _rgb; }
    const ValueTypeT *getValues   (void) const { return _rgb; }

          ValueTypeT &operator[](const UInt32 i)       { return _rgb[i]; }
    const ValueTypeT &operator[](const UInt32 i) const { return _rgb[i]; }

    Color3 operator*(const ValueTypeT s) const { return Color3(ValueTypeT(_rgb[0] * s), ValueTypeT(_rgb[1] * s), ValueTypeT(_rgb[2] * s)); }
    Color3 operator/(const ValueTypeT s) const { return Color3(ValueTypeT(_rgb[0] / s), ValueTypeT(_rgb[1] / s), ValueTypeT(_rgb[2] / s)); }
    Color3 operator*(const Color3 &o) const { return Color3(ValueTypeT(_rgb[0] * o._rgb[0]), ValueTypeT(_rgb[1] * o._rgb[1]), ValueTypeT(_rgb[2] * o._rgb[2])); }
    Color3 operator+(const Color3 &o) const { return Color3(ValueTypeT(_rgb[0] + o._rgb[0]), ValueTypeT(_rgb[1] + o._rgb[1]), ValueTypeT(_rgb[2] + o._rgb[2])); }
    Color3 operator-(const Color3 &o) const { return Color3(ValueTypeT(_rgb[0] - o._rgb[0]), ValueTypeT(_rgb[1] - o._rgb[1]), ValueTypeT(_rgb[2] - o._rgb[2])); }

    Color3 &operator*=(const ValueTypeT s) { return *this = *this * s; }
    Color3 &operator/=(const ValueTypeT s) { return *this = *this / s; }
    Color3 &operator*=(const Color3 &o)    { return *this = *this * o; }
    Color3 &operator+=(const Color3 &o)    { return *this = *this + o; }
    Color3 &operator-=(const Color3 &o)    { return *this = *this - o; }

    bool equals(const Color3 &o, const ValueTypeT tolerance) const
    {
        for(UInt32 i = 0; i < 3; ++i)
        {
            if(detail::absDiff(_rgb[i], o._rgb[i]) > tolerance)
                return false;
        }
        return true;
    }

    /*! Within Eps per component (exact for byte colours). */
    bool operator==(const Color3 &o) const { return equals(o, ValueTypeT(Eps)); }
    bool operator!=(const Color3 &o) const { return !(*this == o); }

    bool operator<(const Color3 &o) const
    {
        for(UInt32 i = 0; i < 3; ++i)
        {
            if(_rgb[i] < o._rgb[i])
                return true;
            if(o._rgb[i] < _rgb[i])
                return false;
        }
        return false;
    }

  private:
    ValueTypeT _rgb[3];
};

template <class ValueTypeT>
const Color3<ValueTypeT> Color3<ValueTypeT>::Null;

/*! RGBA colour; Color4ub holds bytes. */
template <class ValueTypeT>
class Color4
{
  public:
    typedef ValueTypeT ValueType;

    static const Color4 Null;

    constexpr Color4(void) : _rgba{} {}
    constexpr Color4(const ValueTypeT r, const ValueTypeT g, const ValueTypeT b, const ValueTypeT a)
        : _rgba{ r, g, b, a } {}
    explicit Color4(const ValueTypeT *pVals) : _rgba{}
    {
        if(pVals != NULL)
            setValuesRGBA(pVals[0], pVals[1], pVals[2], pVals[3]);
        else
            detail::warnNullPointer("Color4");
    }

    void clear(void) { _rgba[0] = _rgba[1] = _rgba[2] = _rgba[3] = ValueTypeT(0); }

    void setValuesRGBA(const ValueTypeT r, const ValueTypeT g, const ValueTypeT b, const ValueTypeT a)
    {
        _rgba[0] = r;
        _rgba[1] = g;
        _rgba[2] = b;
        _rgba[3] = a;
    }
    void setValue(const Char8 *szString)
    {
        Point<Real64, 4> p;
        p.setValueFromCString(szString);
        setValuesRGBA(ValueTypeT(p[0]), ValueTypeT(p[1]), ValueTypeT(p[2]), ValueTypeT(p[3]));
    }

    /*! h in degrees, s and v in [0, 1]; alpha becomes opaque. */
    void setValuesHSV(const Real32 h, const Real32 s, const Real32 v)
    {
        Real32 rgb[3];
        detail::hsvToRgb(h, s, v, rgb);
        for(UInt32 i = 0; i < 3; ++i)
            _rgba[i] = detail::colorPortion<ValueTypeT>(rgb[i]);
        _rgba[3] = detail::colorPortion<ValueTypeT>(1.f);
    }

    /*! 0xRRGGBBAA */
    void setRGBA(UInt32 rgbaPack)
    {
        for(Int32 i = 3; i >= 0; --i, rgbaPack >>= 8)
            _rgba[i] = detail::colorPortion<ValueTypeT>(Real32(rgbaPack & 0xFF) / 255.f);
    }
    UInt32 getRGBA(void) const
    {
        UInt32 pack = 0;
        for(UInt32 i = 0; i < 4; ++i)
            pack = (pack << 8) | detail::colorPortion<UInt8>(detail::colorFraction(_rgba[i]));
        return pack;
    }

    void getValuesRGBA(ValueTypeT &r, ValueTypeT &g, ValueTypeT &b, ValueTypeT &a) const
    {
        r = _rgba[0];
        g = _rgba[1];
        b = _rgba[2];
        a = _rgba[3];
    }
    void getValuesHSV(Real32 &h, Real32 &s, Real32 &v) const
    {
        Real32 rgb[3] = { detail::colorFraction(_rgba[0]), detail::colorFraction(_rgba[1]),
                          detail::colorFraction(_rgba[2]) };
        detail::rgbToHsv(rgb, h, s, v);
    }

    constexpr ValueTypeT red  (void) const { return _rgba[0]; }
    constexpr ValueTypeT green(void) const { return _rgba[1]; }
    constexpr ValueTypeT blue (void) const { return _rgba[2]; }
    constexpr ValueTypeT alpha(void) const { return _rgba[3]; }

          ValueTypeT *getValuesRGBA(void)       { return _rgba; }
    const ValueTypeT *getValuesRGBA(void) const { return _rgba; }
          ValueTypeT *getValues    (void)       { return _rgba; }
    const ValueTypeT *getValues    (void) const { return _rgba; }

          ValueTypeT &operator[](const UInt32 i)       { return _rgba[i]; }
    const ValueTypeT &operator[](const UInt32 i) const { return _rgba[i]; }

    Color4 operator*(const ValueTypeT s) const
    {
        return Color4(ValueTypeT(_rgba[0] * s), ValueTypeT(_rgba[1] * s), ValueTypeT(_rgba[2] * s), ValueTypeT(_rgba[3] * s));
    }
    Color4 operator/(const ValueTypeT s) const
    {
        return Color4(ValueTypeT(_rgba[0] / s), ValueTypeT(_rgba[1] / s), ValueTypeT(_rgba[2] / s), ValueTypeT(_rgba[3] / s));
    }
    Color4 operator*(const Color4 &o) const
    {
        return Color4(ValueTypeT(_rgba[0] * o._rgba[0]), ValueTypeT(_rgba[1] * o._rgba[1]),
                      ValueTypeT(_rgba[2] * o._rgba[2]), ValueTypeT(_rgba[3] * o._rgba[3]));
    }
    Color4 operator+(const Color4 &o) const
    {
        return Color4(ValueTypeT(_rgba[0] + o._rgba[0]), ValueTypeT(_rgba[1] + o._rgba[1]),
                      ValueTypeT(_rgba[2] + o._rgba[2]), ValueTypeT(_rgba[3] + o._rgba[3]));
    }
    Color4 operator-(const Color4 &o) const
    {
        return Color4(ValueTypeT(_rgba[0] - o._rgba[0]), ValueTypeT(_rgba[1] - o._rgba[1]),
                      ValueTypeT(_rgba[2] - o._rgba[2]), ValueTypeT(_rgba[3] - o._rgba[3]));
    }

    Color4 &operator*=(const ValueTypeT s) { return *this = *this * s; }
    Color4 &operator/=(const ValueTypeT s) { return *this = *this / s; }
    Color4 &operator*=(const Color4 &o)    { return *this = *this * o; }
    Color4 &operator+=(const Color4 &o)    { return *this = *this + o; }
    Color4 &operator-=(const Color4 &o)    { return *this = *this - o; }

    bool equals(const Color4 &o, const ValueTypeT tolerance) const
    {
        for(UInt32 i = 0; i < 4; ++i)
        {
            if(detail::absDiff(_rgba[i], o._rgba[i]) > tolerance)
                return false;
        }
        return true;
    }

    /*! Within Eps per component (exact for byte colours). */
    bool operator==(const Color4 &o) const { return equals(o, ValueTypeT(Eps)); }
    bool operator!=(const Color4 &o) const { return !(*this == o); }

    bool operator<(const Color4 &o) const
    {
        for(UInt32 i = 0; i < 4; ++i)
        {
            if(_rgba[i] < o._rgba[i])
                return true;
            if(o._rgba[i] < _rgba[i])
                return false;
        }
        return false;
    }

  private:
    ValueTypeT _rgba[4];
};

template <class ValueTypeT>
const Color4<ValueTypeT> Color4<ValueTypeT>::Null;

/*! "r, g, b" */
template <class ValueTypeT>
inline std::ostream &operator<<(std::ostream &os, const Color3<ValueTypeT> &c)
{
    return os << detail::printable(c[0]) << ", " << detail::printable(c[1]) << ", "
              << detail::printable(c[2]);
}

/*! "r, g, b, a" */
template <class ValueTypeT>
inline std::ostream &operator<<(std::ostream &os, const Color4<ValueTypeT> &c)
{
    return os << detail::printable(c[0]) << ", " << detail::printable(c[1]) << ", "
              << detail::printable(c[2]) << ", " << detail::printable(c[3]);
}

typedef Color3<Real32> Color3f;
typedef Color4<Real32> Color4f;
typedef Color3<UInt8>  Color3ub;
typedef Color4<UInt8>  Color4ub;

static_assert(sizeof(Color3f) == 12 && sizeof(Color4ub) == 4 &&
              std::is_trivially_copyable<Color4f>::value,
              "colours must stay plain component arrays");

} // namespace osg

#endif
