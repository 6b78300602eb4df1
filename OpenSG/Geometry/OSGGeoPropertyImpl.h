#ifndef _OSGGEOPROPERTYIMPL_H_
#define _OSGGEOPROPERTYIMPL_H_

// The implementation shared by the concrete geometry properties: each one is a generated Base
// with one multi-value field, wrapped by GeoPropertyImpl<Base, Desc>, where Desc names the field
// and how its values convert to the kind's generic type.

#include <OpenSG/OSGVector.h>
#include <OpenSG/OSGColor.h>
#include <OpenSG/OSGLog.h>
#include <OpenSG/OSGGLTypes.h>
#include <OpenSG/OSGFieldContainerPtr.h>

#include <cmath>
#include <limits>
#include <type_traits>

namespace osg {

namespace geoprop {

/*! Components of the value types that properties store. */
template <class T, class Enable = void> struct Components
{
    static_assert(std::is_arithmetic<T>::value, "unsupported geometry property value type");
    typedef T Scalar;
    static constexpr UInt32 Count = 1;
    static       Scalar *ptr(T       &v) { return &v; }
    static const Scalar *ptr(const T &v) { return &v; }
};
template <class S, UInt32 N> struct Components<Point<S, N> >
{
    typedef S Scalar;
    static constexpr UInt32 Count = N;
    static       Scalar *ptr(Point<S, N>       &v) { return v.getValues(); }
    static const Scalar *ptr(const Point<S, N> &v) { return v.getValues(); }
};
template <class S, UInt32 N> struct Components<Vector<S, N> > : Components<Point<S, N> > {};
template <class S> struct Components<Color3<S> >
{
    typedef S Scalar;
    static constexpr UInt32 Count = 3;
    static       Scalar *ptr(Color3<S>       &v) { return v.getValues(); }
    static const Scalar *ptr(const Color3<S> &v) { return v.getValues(); }
};
template <class S> struct Components<Color4<S> >
{
    typedef S Scalar;
    static constexpr UInt32 Count = 4;
    static       Scalar *ptr(Color4<S>       &v) { return v.getValues(); }
    static const Scalar *ptr(const Color4<S> &v) { return v.getValues(); }
};

/*! How stored components map to generic ones. */
enum Scaling
{
    Plain,            // copied (floats) or cast (integers)
    SignedUnit,       // signed integers over [-1, 1]: read (2i + 1) / (2^bits - 1)
    UnsignedUnit      // unsigned integers over [0, 1]: read i / (2^bits - 1)
};

template <class To, class From, Scaling S>
inline To decodeComponent(const From v)
{
    if constexpr(S == SignedUnit)
    {
        const Real32 range = Real32(std::numeric_limits<std::make_unsigned_t<From> >::max());
        return To((2.f * Real32(v) + 1.f) / range);
    }
    else if constexpr(S == UnsignedUnit)
        return To(Real32(v) / Real32(std::numeric_limits<From>::max()));
    else
        return To(v);
}

/*! The inverse of decodeComponent, truncating toward zero and clamped to the stored range (NaN
    stores 0), so out-of-range input saturates instead of wrapping. */
template <class To, class From, Scaling S>
inline To encodeComponent(const From v)
{
    if constexpr(S == Plain && !std::is_integral<To>::value)
        return To(v);
    else
    {
        Real64 f = Real64(v);
        if constexpr(S == SignedUnit)
        {
            const Real64 range = Real64(std::numeric_limits<std::make_unsigned_t<To> >::max());
            f = (f * range - 1.0) / 2.0;
        }
        else if constexpr(S == UnsignedUnit)
            f *= Real64(std::numeric_limits<To>::max());
        if(f != f)
            return To(0);
        f = std::trunc(f);
        if(f < Real64(std::numeric_limits<To>::lowest()))
            return std::numeric_limits<To>::lowest();
        if(f > Real64(std::numeric_limits<To>::max()))
            return std::numeric_limits<To>::max();
        return To(f);
    }
}

/*! Common components converted, extra ones dropped, missing ones zero. */
template <class To, class From, Scaling S>
inline To decode(const From &value)
{
    typedef Components<To>   CT;
    typedef Components<From> CF;
    To result = To();
    const typename CF::Scalar *src = CF::ptr(value);
    typename CT::Scalar       *dst = CT::ptr(result);
    for(UInt32 i = 0; i < (CT::Count < CF::Count ? CT::Count : CF::Count); ++i)
        dst[i] = decodeComponent<typename CT::Scalar, typename CF::Scalar, S>(src[i]);
    return result;
}

template <class To, class From, Scaling S>
inline To encode(const From &value)
{
    typedef Components<To>   CT;
    typedef Components<From> CF;
    To result = To();
    const typename CF::Scalar *src = CF::ptr(value);
    typename CT::Scalar       *dst = CT::ptr(result);
    for(UInt32 i = 0; i < (CT::Count < CF::Count ? CT::Count : CF::Count); ++i)
        dst[i] = encodeComponent<typename CT::Scalar, typename CF::Scalar, S>(src[i]);
    return result;
}

template <class Scalar> struct GLFormat;
template <> struct GLFormat<Real32> { static constexpr UInt32 Value = GL_FLOAT;          };
template <> struct GLFormat<Real64> { static constexpr UInt32 Value = GL_DOUBLE;         };
template <> struct GLFormat<Int8>   { static constexpr UInt32 Value = GL_BYTE;           };
template <> struct GLFormat<UInt8>  { static constexpr UInt32 Value = GL_UNSIGNED_BYTE;  };
template <> struct GLFormat<Int16>  { static constexpr UInt32 Value = GL_SHORT;          };
template <> struct GLFormat<UInt16> { static constexpr UInt32 Value = GL_UNSIGNED_SHORT; };
template <> struct GLFormat<Int32>  { static constexpr UInt32 Value = GL_INT;            };
template <> struct GLFormat<UInt32> { static constexpr UInt32 Value = GL_UNSIGNED_INT;   };

void warnIndex(const Char8 *typeName, const Char8 *operation, UInt32 index, UInt32 size);
void warnRange(const Char8 *typeName, const Char8 *operation);

} // namespace geoprop

/*! A concrete geometry property. BaseT is the generated Base of the concrete type (its parent is
    the abstract kind, e.g. GeoPositions); DescT provides
        typedef <MF type> FieldType;
        static constexpr geoprop::Scaling ScalingMode;   // how values convert
        static constexpr BitVector        FieldMask;     // the mask of the data field
        static FieldType &field(BaseT &);  static const FieldType &field(const BaseT &);
    The generic accessors do not record edits: wrap them in an edit of the data field. */
template <class BaseT, class DescT>
class GeoPropertyImpl : public BaseT
{
  public:
    typedef BaseT                                  Inherited;
    typedef typename DescT::FieldType              StoredFieldType;
    typedef typename StoredFieldType::StoredType   StoredType;
    typedef typename BaseT::Inherited              KindType;       // e.g. GeoPositions
    typedef typename KindType::GenericType         GenericType;
    typedef typename KindType::Ptr                 KindPtr;        // e.g. GeoPositionsPtr
    typedef typename geoprop::Components<StoredType>::Scalar ComponentType;

    static_assert(sizeof(StoredType) ==
                      sizeof(ComponentType) * geoprop::Components<StoredType>::Count,
                  "property elements must be tightly packed components");

    using BaseT::getField;

    /*! The data field's mask under the name OpenSG code uses for every property type. */
    static constexpr BitVector GeoPropDataFieldMask = DescT::FieldMask;

    /*------------------------- the field ----------------------------------*/
          StoredFieldType &getField (void)       { return DescT::field(*this); }
    const StoredFieldType &getField (void) const { return DescT::field(*this); }
          StoredFieldType &editField(void)       { return DescT::field(*this); }
          StoredFieldType *getFieldPtr(void)     { return &DescT::field(*this); }

    /*------------------------- array description --------------------------*/
    UInt32 getFormat    (void) const override { return geoprop::GLFormat<ComponentType>::Value; }
    UInt32 getFormatSize(void) const override { return UInt32(sizeof(ComponentType)); }
    UInt32 getStride    (void) const override { return 0; }
    UInt32 getDimension (void) const override { return geoprop::Components<StoredType>::Count; }
    UInt32 getSize      (void) const override { return getField().size(); }

    const UInt8 *getData(void) const override
    {
        return getField().empty() ? NULL
                                  : reinterpret_cast<const UInt8 *>(getField().getValues().data());
    }
    UInt8 *editData(void) override
    {
        return getField().empty() ? NULL
                                  : reinterpret_cast<UInt8 *>(editField().getValues().data());
    }

    BitVector getValuesFieldMask(void) const override { return DescT::FieldMask; }

    void clear (void)           override { editField().clear(); }
    void resize(size_t newSize) override { editField().resize(newSize); }

    /*------------------------- generic values -----------------------------*/
    GenericType getValue(const UInt32 index) const override
    {
        const StoredFieldType &f = getField();
        if(index >= f.size())
        {
            geoprop::warnIndex(this->getTypeName(), "getValue", index, f.size());
            return GenericType();
        }
        return geoprop::decode<GenericType, StoredType, DescT::ScalingMode>(f[index]);
    }
    void getValue(GenericType &value, const UInt32 index) const override
    {
        value = getValue(index);
    }
    void setValue(const GenericType &value, const UInt32 index) override
    {
        StoredFieldType &f = editField();
        if(index >= f.size())
        {
            geoprop::warnIndex(this->getTypeName(), "setValue", index, f.size());
            return;
        }
        f[index] = convert(value, "setValue");
    }
    void addValue(const GenericType &value) override
    {
        editField().push_back(convert(value, "addValue"));
    }

    /*------------------------- copy ---------------------------------------*/
    /*! A new property of the same type with the same values and no parents (count 0). */
    KindPtr clone(void) override
    {
        typename BaseT::Ptr copy = BaseT::create();
        if(copy == NullFC)
            copy = BaseT::createEmpty();
        beginEditCP(copy, DescT::FieldMask);
        DescT::field(*copy).setValues(getField());
        endEditCP(copy, DescT::FieldMask);
        return copy;
    }

  protected:
    GeoPropertyImpl(void) : Inherited() {}
    GeoPropertyImpl(const GeoPropertyImpl &source) : Inherited(source) {}
    ~GeoPropertyImpl(void) override = default;

  private:
    StoredType convert(const GenericType &value, const Char8 *operation) const
    {
        // Integer kinds narrower than their generic type report what they cannot hold.
        if constexpr(std::is_integral<StoredType>::value && std::is_integral<GenericType>::value &&
                     (sizeof(StoredType) < sizeof(GenericType)))
        {
            if(value > GenericType(std::numeric_limits<StoredType>::max()))
                geoprop::warnRange(this->getTypeName(), operation);
        }
        return geoprop::encode<StoredType, GenericType, DescT::ScalingMode>(value);
    }
};

} // namespace osg

#endif
