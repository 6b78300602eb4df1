#ifndef _OSGVECTOR_H_
#define _OSGVECTOR_H_

#include <OpenSG/OSGBaseTypes.h>

#include <ostream>
#include <type_traits>

namespace osg {

template <class ValueTypeT, UInt32 SizeI> class Point;
template <class ValueTypeT, UInt32 SizeI> class Vector;

namespace detail {

// Byte-sized components print as numbers, not characters.
template <class T> inline const T &printable(const T &v) { return v; }
inline Int32  printable(const Int8  &v) { return Int32(v);  }
inline UInt32 printable(const UInt8 &v) { return UInt32(v); }

// |a - b| without wrapping around for unsigned component types.
template <class T> inline T absDiff(const T a, const T b) { return a < b ? T(b - a) : T(a - b); }

} // namespace detail

/*! A position: SizeI components of ValueTypeT and nothing else, so arrays of points are plain
    component arrays (memcpy-safe, uploadable as is). Default construction gives the origin.
    Point - Point is a Vector, Point +/- Vector a Point. */
template <class ValueTypeT, UInt32 SizeI>
class Point
{
    static_assert(SizeI >= 1 && SizeI <= 4, "points have 1 to 4 components");

  public:
    typedef ValueTypeT                                      ValueType;
    typedef typename TypeTraits<ValueTypeT>::RealReturnType RealReturnType;
    typedef Vector<ValueTypeT, SizeI>                       VecInterface;
    typedef Vector<ValueTypeT, SizeI>                       VectorType;
    typedef Point <ValueTypeT, SizeI>                       Self;

    static constexpr UInt32 _iSize = SizeI;

    static const Point Null;

    /*---------------------------- construction ---------------------------*/

    constexpr Point(void) : _values{} {}

    /*! Reads SizeI values; a null pointer gives the origin (and a warning). */
    explicit Point(const ValueTypeT *pVals) : _values{} { setValue(pVals); }

    /*! Size and type conversion: copies the common components, zero-fills the rest. */
    template <class ValueType2T, UInt32 Size2I>
    explicit Point(const Point<ValueType2T, Size2I> &other) : _values{}
    {
        for(UInt32 i = 0; i < (SizeI < Size2I ? SizeI : Size2I); ++i)
            _values[i] = ValueTypeT(other[i]);
    }

    // Components beyond the size are ignored, missing ones are zero.
    constexpr Point(const ValueTypeT v0, const ValueTypeT v1) : _values{}
    {
        init(v0, v1, ValueTypeT(0), ValueTypeT(0));
    }
    constexpr Point(const ValueTypeT v0, const ValueTypeT v1, const ValueTypeT v2) : _values{}
    {
        init(v0, v1, v2, ValueTypeT(0));
    }
    constexpr Point(const ValueTypeT v0, const ValueTypeT v1, const ValueTypeT v2,
                    const ValueTypeT v3) : _values{}
    {
        init(v0, v1, v2, v3);
    }

    /*---------------------------- set ------------------------------------*/

    void setNull(void)
    {
        for(UInt32 i = 0; i < SizeI; ++i)
            _values[i] = ValueTypeT(0);
    }

    void setValue(const Point &other) { *this = other; }

    /*! Copies the common components and leaves the others. */
    template <class ValueType2T, UInt32 Size2I>
    void setValue(const Point<ValueType2T, Size2I> &other)
    {
        for(UInt32 i = 0; i < (SizeI < Size2I ? SizeI : Size2I); ++i)
            _values[i] = ValueTypeT(other[i]);
    }

    void setValue(const ValueTypeT *pVals)
    {
        if(pVals == NULL)
        {
            detail::warnNullPointer("Point::setValue");
            setNull();
            return;
        }
        for(UInt32 i = 0; i < SizeI; ++i)
            _values[i] = pVals[i];
    }

    /*! Numbers separated by blanks or commas; missing or unreadable ones are zero. */
    void setValue(const Char8 *szString) { setValueFromCString(szString); }
    void setValueFromCString(const Char8 *szString)
    {
        setNull();
        if(szString == NULL)
        {
            detail::warnNullPointer("Point::setValueFromCString");
            return;
        }
        const Char8 *p = szString;
        for(UInt32 i = 0; i < SizeI; ++i)
        {
            while(*p == ' ' || *p == '\t' || *p == ',' || *p == '\n' || *p == '\r')
                ++p;
            if(*p == '\0')
                return;
            Char8 *end = NULL;
            Real64 v   = std::strtod(p, &end);
            if(end == p)
                return;
            _values[i] = ValueTypeT(v);
            p = end;
        }
    }

    void setValues(const ValueTypeT v0, const ValueTypeT v1)
    {
        init(v0, v1, ValueTypeT(0), ValueTypeT(0));
    }
    void setValues(const ValueTypeT v0, const ValueTypeT v1, const ValueTypeT v2)
    {
        init(v0, v1, v2, ValueTypeT(0));
    }
    void setValues(const ValueTypeT v0, const ValueTypeT v1, const ValueTypeT v2, const ValueTypeT v3)
    {
        init(v0, v1, v2, v3);
    }

    /*---------------------------- get ------------------------------------*/

          ValueTypeT *getValues(void)       { return _values; }
    const ValueTypeT *getValues(void) const { return _values; }

    void getSeparateValues(ValueTypeT &v0, ValueTypeT &v1) const
    {
        v0 = _values[0];
        v1 = get(1);
    }
    void getSeparateValues(ValueTypeT &v0, ValueTypeT &v1, ValueTypeT &v2) const
    {
        getSeparateValues(v0, v1);
        v2 = get(2);
    }
    void getSeparateValues(ValueTypeT &v0, ValueTypeT &v1, ValueTypeT &v2, ValueTypeT &v3) const
    {
        getSeparateValues(v0, v1, v2);
        v3 = get(3);
    }

    // Only where the component exists (a template, so explicit instantiation stays possible).
    constexpr ValueTypeT x(void) const { return _values[0]; }
    template <UInt32 S = SizeI, typename std::enable_if<(S >= 2), int>::type = 0>
    constexpr ValueTypeT y(void) const { return _values[1 % SizeI]; }
    template <UInt32 S = SizeI, typename std::enable_if<(S >= 3), int>::type = 0>
    constexpr ValueTypeT z(void) const { return _values[2 % SizeI]; }
    template <UInt32 S = SizeI, typename std::enable_if<(S >= 4), int>::type = 0>
    constexpr ValueTypeT w(void) const { return _values[3 % SizeI]; }

          ValueTypeT &operator[](const UInt32 i)       { return _values[i]; }
    constexpr const ValueTypeT &operator[](const UInt32 i) const { return _values[i]; }

    /*---------------------------- common math ----------------------------*/

    /*! True if every component is within Eps of zero. */
    bool isZero(void) const
    {
        for(UInt32 i = 0; i < SizeI; ++i)
        {
            if(detail::absDiff(_values[i], ValueTypeT(0)) > ValueTypeT(Eps))
                return false;
        }
        return true;
    }

    void negate(void)
    {
        for(UInt32 i = 0; i < SizeI; ++i)
            _values[i] = ValueTypeT(-_values[i]);
    }

    bool equals(const Point &other, const ValueTypeT tolerance) const
    {
        for(UInt32 i = 0; i < SizeI; ++i)
        {
            if(detail::absDiff(_values[i], other._values[i]) > tolerance)
                return false;
        }
        return true;
    }

    /*! The point as the vector from the origin. */
    VectorType subZero(void) const;

    RealReturnType dist2(const Point &other) const
    {
        RealReturnType sum = 0;
        for(UInt32 i = 0; i < SizeI; ++i)
        {
            RealReturnType d = RealReturnType(_values[i]) - RealReturnType(other._values[i]);
            sum += d * d;
        }
        return sum;
    }

    RealReturnType dist(const Point &other) const { return osgsqrt(dist2(other)); }

    /*! The largest component. Deliberately not OpenSG 1.x's answer, which starts from the smallest
        positive value of the type and so gives that (FLT_MIN for floats) for points whose
        components are all negative. */
    RealReturnType maxValue(void) const
    {
        ValueTypeT m = _values[0];
        for(UInt32 i = 1; i < SizeI; ++i)
        {
            if(m < _values[i])
                m = _values[i];
        }
        return RealReturnType(m);
    }

    /*---------------------------- math -----------------------------------*/

    VectorType operator-(const Point &other) const;

    Point operator+(const VectorType &vec) const
    {
        Point r(*this);
        r += vec;
        return r;
    }
    Point operator-(const VectorType &vec) const
    {
        Point r(*this);
        r -= vec;
        return r;
    }
    Point operator*(const ValueTypeT s) const
    {
        Point r(*this);
        r *= s;
        return r;
    }
    Point operator-(void) const
    {
        Point r(*this);
        r.negate();
        return r;
    }

    Point &operator+=(const VectorType &vec)
    {
        for(UInt32 i = 0; i < SizeI; ++i)
            _values[i] = ValueTypeT(_values[i] + vec[i]);
        return *this;
    }
    Point &operator-=(const VectorType &vec)
    {
        for(UInt32 i = 0; i < SizeI; ++i)
            _values[i] = ValueTypeT(_values[i] - vec[i]);
        return *this;
    }
    Point &operator*=(const ValueTypeT s)
    {
        for(UInt32 i = 0; i < SizeI; ++i)
            _values[i] = ValueTypeT(_values[i] * s);
        return *this;
    }
    Point &operator/=(const ValueTypeT s)
    {
        for(UInt32 i = 0; i < SizeI; ++i)
            _values[i] = ValueTypeT(_values[i] / s);
        return *this;
    }

    friend Point operator*(const ValueTypeT s, const Point &p) { return p * s; }

    /*---------------------------- comparison -----------------------------*/

    /*! Lexicographic, for ordered containers. */
    bool operator<(const Point &other) const
    {
        for(UInt32 i = 0; i < SizeI; ++i)
        {
            if(_values[i] < other._values[i])
                return true;
            if(other._values[i] < _values[i])
                return false;
        }
        return false;
    }

    /*! Equal within Eps per component. */
    bool operator==(const Point &other) const { return equals(other, ValueTypeT(Eps)); }
    bool operator!=(const Point &other) const { return !(*this == other); }

  protected:
    constexpr void init(const ValueTypeT v0, const ValueTypeT v1, const ValueTypeT v2,
                        const ValueTypeT v3)
    {
        _values[0] = v0;
        if constexpr(SizeI > 1) _values[1] = v1;
        if constexpr(SizeI > 2) _values[2] = v2;
        if constexpr(SizeI > 3) _values[3] = v3;
    }

    ValueTypeT get(const UInt32 i) const { return i < SizeI ? _values[i] : ValueTypeT(0); }

    ValueTypeT _values[SizeI];
};

template <class ValueTypeT, UInt32 SizeI>
const Point<ValueTypeT, SizeI> Point<ValueTypeT, SizeI>::Null;

/*! A direction or offset; adds length, normalisation, dot and cross products to Point. */
template <class ValueTypeT, UInt32 SizeI>
class Vector : public Point<ValueTypeT, SizeI>
{
  public:
    typedef Point<ValueTypeT, SizeI>                        Inherited;
    typedef Point<ValueTypeT, SizeI>                        PntInterface;
    typedef Point<ValueTypeT, SizeI>                        PointType;
    typedef Vector<ValueTypeT, SizeI>                       Self;
    typedef typename TypeTraits<ValueTypeT>::RealReturnType RealReturnType;
    typedef ValueTypeT                                      ValueType;

    static const Vector Null;

    /*---------------------------- construction ---------------------------*/

    constexpr Vector(void) : Inherited() {}

    explicit Vector(const ValueTypeT *pVals) : Inherited(pVals) {}

    template <class ValueType2T, UInt32 Size2I>
    explicit Vector(const Point<ValueType2T, Size2I> &other) : Inherited(other) {}

    constexpr Vector(const ValueTypeT v0, const ValueTypeT v1) : Inherited(v0, v1) {}
    constexpr Vector(const ValueTypeT v0, const ValueTypeT v1, const ValueTypeT v2)
        : Inherited(v0, v1, v2) {}
    constexpr Vector(const ValueTypeT v0, const ValueTypeT v1, const ValueTypeT v2,
                     const ValueTypeT v3) : Inherited(v0, v1, v2, v3) {}

    /*---------------------------- common math ----------------------------*/

    RealReturnType squareLength(void) const
    {
        RealReturnType sum = 0;
        for(UInt32 i = 0; i < SizeI; ++i)
            sum += RealReturnType(_values[i]) * RealReturnType(_values[i]);
        return sum;
    }

    RealReturnType length(void) const { return osgsqrt(squareLength()); }

    /*! Scales to unit length; a vector shorter than Eps is left as it is. */
    void normalize(void)
    {
        RealReturnType len = length();
        if(len < RealReturnType(Eps))
            return;
        for(UInt32 i = 0; i < SizeI; ++i)
            _values[i] = ValueTypeT(RealReturnType(_values[i]) / len);
    }

    /*! Cross product of the first three components; a fourth one is 0. */
    template <UInt32 S = SizeI, typename std::enable_if<(S >= 3), int>::type = 0>
    Vector cross(const Vector &v) const
    {
        Vector r;
        r._values[0] = ValueTypeT(_values[1] * v._values[2] - _values[2] * v._values[1]);
        r._values[1] = ValueTypeT(_values[2] * v._values[0] - _values[0] * v._values[2]);
        r._values[2] = ValueTypeT(_values[0] * v._values[1] - _values[1] * v._values[0]);
        return r;
    }
    template <UInt32 S = SizeI, typename std::enable_if<(S >= 3), int>::type = 0>
    Vector operator%(const Vector &v) const { return cross(v); }
    template <UInt32 S = SizeI, typename std::enable_if<(S >= 3), int>::type = 0>
    void   crossThis(const Vector &v) { *this = cross(v); }

    ValueTypeT dot(const Vector &v) const
    {
        ValueTypeT sum = ValueTypeT(0);
        for(UInt32 i = 0; i < SizeI; ++i)
            sum = ValueTypeT(sum + _values[i] * v._values[i]);
        return sum;
    }
    ValueTypeT dot(const PointType &p) const
    {
        ValueTypeT sum = ValueTypeT(0);
        for(UInt32 i = 0; i < SizeI; ++i)
            sum = ValueTypeT(sum + _values[i] * p[i]);
        return sum;
    }
    ValueTypeT operator*(const Vector &v) const { return dot(v); }

    /*! Angle between the two vectors in radians; 0 if either is zero (isZero). A cosine within
        Eps of 1 or -1 snaps to 0 or Pi, so nearly parallel vectors give exact answers. */
    RealReturnType enclosedAngle(const Vector &v) const
    {
        if(this->isZero() || v.isZero())
            return RealReturnType(0);
        RealReturnType cosine = RealReturnType(dot(v)) / (length() * v.length());
        if(cosine - RealReturnType(Eps) < RealReturnType(-1))
            return RealReturnType(Pi);
        if(cosine + RealReturnType(Eps) > RealReturnType(1))
            return RealReturnType(0);
        return osgacos(cosine);
    }

    /*! Replaces the vector by its projection onto toVec and returns the factor f of the
        projection f * toVec. A factor within Eps of 0 gives the zero vector and 0. A toVec whose
        square length is at most Eps cannot be projected onto: the vector is kept and 1 returned. */
    RealReturnType projectTo(const Vector &toVec)
    {
        RealReturnType factor      = RealReturnType(dot(toVec));
        RealReturnType squareDenom = RealReturnType(toVec.dot(toVec));
        if(squareDenom <= RealReturnType(Eps))
            return RealReturnType(1);
        factor /= squareDenom;
        if(osgabs(factor) <= RealReturnType(Eps))
        {
            this->setNull();
            return RealReturnType(0);
        }
        *this = toVec;
        for(UInt32 i = 0; i < SizeI; ++i)
            _values[i] = ValueTypeT(_values[i] * factor);
        return factor;
    }

    /*! The vector as the point it reaches from the origin. */
          PointType &addToZero(void)       { return *this; }
    const PointType &addToZero(void) const { return *this; }

    /*---------------------------- math -----------------------------------*/

    Vector operator+(const Vector &v) const
    {
        Vector r(*this);
        r += v;
        return r;
    }
    Vector operator-(const Vector &v) const
    {
        Vector r(*this);
        r -= v;
        return r;
    }
    Vector operator*(const ValueTypeT s) const
    {
        Vector r(*this);
        r *= s;
        return r;
    }
    Vector operator/(const ValueTypeT s) const
    {
        Vector r(*this);
        r /= s;
        return r;
    }
    Vector operator-(void) const
    {
        Vector r(*this);
        r.negate();
        return r;
    }

    Vector &operator+=(const Vector &v)   { Inherited::operator+=(v); return *this; }
    Vector &operator-=(const Vector &v)   { Inherited::operator-=(v); return *this; }
    Vector &operator*=(const ValueTypeT s) { Inherited::operator*=(s); return *this; }
    Vector &operator/=(const ValueTypeT s) { Inherited::operator/=(s); return *this; }

    friend Vector operator*(const ValueTypeT s, const Vector &v) { return v * s; }

  protected:
    using Inherited::_values;
};

template <class ValueTypeT, UInt32 SizeI>
const Vector<ValueTypeT, SizeI> Vector<ValueTypeT, SizeI>::Null;

template <class ValueTypeT, UInt32 SizeI>
inline Vector<ValueTypeT, SizeI> Point<ValueTypeT, SizeI>::subZero(void) const
{
    return VectorType(*this);
}

template <class ValueTypeT, UInt32 SizeI>
inline Vector<ValueTypeT, SizeI> Point<ValueTypeT, SizeI>::operator-(const Point &other) const
{
    VectorType r;
    for(UInt32 i = 0; i < SizeI; ++i)
        r[i] = ValueTypeT(_values[i] - other._values[i]);
    return r;
}

/*! "x, y, z" */
template <class ValueTypeT, UInt32 SizeI>
inline std::ostream &operator<<(std::ostream &os, const Point<ValueTypeT, SizeI> &p)
{
    for(UInt32 i = 0; i < SizeI; ++i)
    {
        if(i != 0)
            os << ", ";
        os << detail::printable(p[i]);
    }
    return os;
}

typedef Vector<Real32, 2> Vec2f;
typedef Vector<Real32, 3> Vec3f;
typedef Vector<Real32, 4> Vec4f;
typedef Point <Real32, 2> Pnt2f;
typedef Point <Real32, 3> Pnt3f;
typedef Point <Real32, 4> Pnt4f;

typedef Vector<Real64, 2> Vec2d;
typedef Vector<Real64, 3> Vec3d;
typedef Vector<Real64, 4> Vec4d;
typedef Point <Real64, 2> Pnt2d;
typedef Point <Real64, 3> Pnt3d;
typedef Point <Real64, 4> Pnt4d;

typedef Vector<Int16, 2>  Vec2s;
typedef Vector<Int16, 3>  Vec3s;
typedef Vector<Int16, 4>  Vec4s;
typedef Point <Int16, 2>  Pnt2s;
typedef Point <Int16, 3>  Pnt3s;
typedef Point <Int16, 4>  Pnt4s;

typedef Vector<Int8, 3>   Vec3b;

typedef Vector<UInt8, 2>  Vec2ub;
typedef Vector<UInt8, 3>  Vec3ub;
typedef Vector<UInt8, 4>  Vec4ub;

typedef Vector<Int32, 2>  Vec2i;
typedef Vector<Int32, 3>  Vec3i;
typedef Vector<Int32, 4>  Vec4i;

typedef Vector<UInt32, 2> Vec2ui;
typedef Vector<UInt32, 3> Vec3ui;
typedef Vector<UInt32, 4> Vec4ui;

static_assert(sizeof(Pnt3f) == 3 * sizeof(Real32) && std::is_trivially_copyable<Pnt3f>::value,
              "points must stay plain component arrays");
static_assert(sizeof(Vec4ub) == 4 && std::is_trivially_copyable<Vec3f>::value,
              "vectors must stay plain component arrays");

} // namespace osg

#endif
