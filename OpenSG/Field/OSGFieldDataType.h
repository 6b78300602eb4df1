#ifndef _OSGFIELDDATATYPE_H_
#define _OSGFIELDDATATYPE_H_

#include <OpenSG/OSGBaseTypes.h>
#include <OpenSG/OSGTypeBase.h>
#include <OpenSG/OSGBinaryDataHandler.h>
#include <OpenSG/OSGBitVector.h>
#include <OpenSG/OSGReal16.h>
#include <OpenSG/OSGVector.h>
#include <OpenSG/OSGColor.h>
#include <OpenSG/OSGQuaternion.h>
#include <OpenSG/OSGMatrix.h>

#include <iomanip>
#include <sstream>
#include <string>

namespace osg {

/*! Per value type: its data type, field type names, default, text form and binary form (single
    values and arrays). Types without traits cannot be used in fields. */
template <class ValueTypeT>
struct FieldDataTraits;

namespace detail {

template <class T> inline void appendText(std::string &out, const T &value)
{
    std::ostringstream os;
    os << std::setprecision(9) << value;
    out += os.str();
}

inline void appendText(std::string &out, const Int8  &value) { out += std::to_string(Int32(value));  }
inline void appendText(std::string &out, const UInt8 &value) { out += std::to_string(UInt32(value)); }
inline void appendText(std::string &out, const bool  &value) { out += value ? "TRUE" : "FALSE";     }

} // namespace detail

/*! Values stored as K contiguous scalars of one type (numbers, vectors, colours, quaternions,
    matrices): the binary form is the scalars in order, arrays go through the handler in bulk. */
template <class ValueT, class ScalarT, UInt32 K>
struct FieldTraitsScalarArray
{
    static constexpr bool   IsPOD      = true;
    static constexpr UInt32 MinBinSize = (std::is_same<ScalarT, bool>::value ? 1 : sizeof(ScalarT)) * K;

    static_assert(std::is_same<ScalarT, bool>::value || sizeof(ValueT) == sizeof(ScalarT) * K,
                  "value type must be its scalars without padding");

    static ValueT getDefault(void) { return ValueT(); }

    static UInt32 getBinSize(const ValueT &)                    { return MinBinSize;                 }
    static UInt32 getBinSize(const ValueT *, UInt64 count)      { return UInt32(MinBinSize * count); }

    static void copyToBin(BinaryDataHandler &h, const ValueT &value)
    {
        const ScalarT *s = reinterpret_cast<const ScalarT *>(&value);
        for(UInt32 k = 0; k < K; ++k)
            h.putValue(s[k]);
    }
    static bool copyFromBin(BinaryDataHandler &h, ValueT &value)
    {
        ScalarT *s = reinterpret_cast<ScalarT *>(&value);
        bool ok = true;
        for(UInt32 k = 0; k < K; ++k)
            ok = h.getValue(s[k]) && ok;
        return ok;
    }
    static void copyToBin(BinaryDataHandler &h, const ValueT *values, UInt64 count)
    {
        h.putValues(reinterpret_cast<const ScalarT *>(values), count * K);
    }
    static bool copyFromBin(BinaryDataHandler &h, ValueT *values, UInt64 count)
    {
        return h.getValues(reinterpret_cast<ScalarT *>(values), count * K);
    }

    static void putToString(const ValueT &value, std::string &out)
    {
        const ScalarT *s = reinterpret_cast<const ScalarT *>(&value);
        for(UInt32 k = 0; k < K; ++k)
        {
            if(k != 0)
                out += ", ";
            detail::appendText(out, s[k]);
        }
    }
};

#define OSG_SCALAR_FIELD_TRAITS(TYPE, SCALAR, K, NAME, PARENT)                              \
template <>                                                                                 \
struct FieldDataTraits<TYPE> : public FieldTraitsScalarArray<TYPE, SCALAR, K>               \
{                                                                                           \
    static DataType &getType(void)                                                          \
    {                                                                                       \
        static DataType type(#NAME, PARENT);                                                \
        return type;                                                                        \
    }                                                                                       \
    static const Char8 *getSName(void) { return "SF" #NAME; }                               \
    static const Char8 *getMName(void) { return "MF" #NAME; }                               \
};

OSG_SCALAR_FIELD_TRAITS(bool,       bool,    1, Bool,       "BaseType")
OSG_SCALAR_FIELD_TRAITS(Int8,       Int8,    1, Int8,       "IntegralType")
OSG_SCALAR_FIELD_TRAITS(UInt8,      UInt8,   1, UInt8,      "IntegralType")
OSG_SCALAR_FIELD_TRAITS(Int16,      Int16,   1, Int16,      "IntegralType")
OSG_SCALAR_FIELD_TRAITS(UInt16,     UInt16,  1, UInt16,     "IntegralType")
OSG_SCALAR_FIELD_TRAITS(Int32,      Int32,   1, Int32,      "IntegralType")
OSG_SCALAR_FIELD_TRAITS(UInt32,     UInt32,  1, UInt32,     "IntegralType")
OSG_SCALAR_FIELD_TRAITS(Int64,      Int64,   1, Int64,      "IntegralType")
OSG_SCALAR_FIELD_TRAITS(UInt64,     UInt64,  1, UInt64,     "IntegralType")
OSG_SCALAR_FIELD_TRAITS(Real16,     Real16,  1, Real16,     "FloatingPointType")
OSG_SCALAR_FIELD_TRAITS(Real32,     Real32,  1, Real32,     "FloatingPointType")
OSG_SCALAR_FIELD_TRAITS(Real64,     Real64,  1, Real64,     "FloatingPointType")

OSG_SCALAR_FIELD_TRAITS(Vec2f,      Real32,  2, Vec2f,      "BaseType")
OSG_SCALAR_FIELD_TRAITS(Vec3f,      Real32,  3, Vec3f,      "BaseType")
OSG_SCALAR_FIELD_TRAITS(Vec4f,      Real32,  4, Vec4f,      "BaseType")
OSG_SCALAR_FIELD_TRAITS(Pnt2f,      Real32,  2, Pnt2f,      "BaseType")
OSG_SCALAR_FIELD_TRAITS(Pnt3f,      Real32,  3, Pnt3f,      "BaseType")
OSG_SCALAR_FIELD_TRAITS(Pnt4f,      Real32,  4, Pnt4f,      "BaseType")
OSG_SCALAR_FIELD_TRAITS(Vec2d,      Real64,  2, Vec2d,      "BaseType")
OSG_SCALAR_FIELD_TRAITS(Vec3d,      Real64,  3, Vec3d,      "BaseType")
OSG_SCALAR_FIELD_TRAITS(Vec4d,      Real64,  4, Vec4d,      "BaseType")
OSG_SCALAR_FIELD_TRAITS(Pnt2d,      Real64,  2, Pnt2d,      "BaseType")
OSG_SCALAR_FIELD_TRAITS(Pnt3d,      Real64,  3, Pnt3d,      "BaseType")
OSG_SCALAR_FIELD_TRAITS(Pnt4d,      Real64,  4, Pnt4d,      "BaseType")
OSG_SCALAR_FIELD_TRAITS(Vec2s,      Int16,   2, Vec2s,      "BaseType")
OSG_SCALAR_FIELD_TRAITS(Vec3s,      Int16,   3, Vec3s,      "BaseType")
OSG_SCALAR_FIELD_TRAITS(Vec4s,      Int16,   4, Vec4s,      "BaseType")
OSG_SCALAR_FIELD_TRAITS(Pnt2s,      Int16,   2, Pnt2s,      "BaseType")
OSG_SCALAR_FIELD_TRAITS(Pnt3s,      Int16,   3, Pnt3s,      "BaseType")
OSG_SCALAR_FIELD_TRAITS(Pnt4s,      Int16,   4, Pnt4s,      "BaseType")
OSG_SCALAR_FIELD_TRAITS(Vec3b,      Int8,    3, Vec3b,      "BaseType")
OSG_SCALAR_FIELD_TRAITS(Vec2ub,     UInt8,   2, Vec2ub,     "BaseType")
OSG_SCALAR_FIELD_TRAITS(Vec3ub,     UInt8,   3, Vec3ub,     "BaseType")
OSG_SCALAR_FIELD_TRAITS(Vec4ub,     UInt8,   4, Vec4ub,     "BaseType")
OSG_SCALAR_FIELD_TRAITS(Vec2i,      Int32,   2, Vec2i,      "BaseType")
OSG_SCALAR_FIELD_TRAITS(Vec3i,      Int32,   3, Vec3i,      "BaseType")
OSG_SCALAR_FIELD_TRAITS(Vec4i,      Int32,   4, Vec4i,      "BaseType")
OSG_SCALAR_FIELD_TRAITS(Color3f,    Real32,  3, Color3f,    "BaseType")
OSG_SCALAR_FIELD_TRAITS(Color4f,    Real32,  4, Color4f,    "BaseType")
OSG_SCALAR_FIELD_TRAITS(Color3ub,   UInt8,   3, Color3ub,   "BaseType")
OSG_SCALAR_FIELD_TRAITS(Color4ub,   UInt8,   4, Color4ub,   "BaseType")
OSG_SCALAR_FIELD_TRAITS(Quaternion, Real32,  4, Quaternion, "BaseType")
OSG_SCALAR_FIELD_TRAITS(Matrix,     Real32, 16, Matrix,     "BaseType")
OSG_SCALAR_FIELD_TRAITS(Matrix4d,   Real64, 16, Matrix4d,   "BaseType")

#undef OSG_SCALAR_FIELD_TRAITS

template <>
struct FieldDataTraits<BitVector>
{
    static constexpr bool   IsPOD      = true;
    static constexpr UInt32 MinBinSize = 16;

    static DataType &getType(void)
    {
        static DataType type("BitVector", "BaseType");
        return type;
    }
    static const Char8 *getSName(void) { return "SFBitVector"; }
    static const Char8 *getMName(void) { return "MFBitVector"; }
    static BitVector getDefault(void) { return BitVector(); }

    static UInt32 getBinSize(const BitVector &)               { return 16;                }
    static UInt32 getBinSize(const BitVector *, UInt64 count) { return UInt32(16 * count); }

    static void copyToBin  (BinaryDataHandler &h, const BitVector &v) { h.putValue(v);        }
    static bool copyFromBin(BinaryDataHandler &h, BitVector &v)       { return h.getValue(v); }
    static void copyToBin(BinaryDataHandler &h, const BitVector *v, UInt64 count)
    {
        for(UInt64 i = 0; i < count; ++i)
            h.putValue(v[i]);
    }
    static bool copyFromBin(BinaryDataHandler &h, BitVector *v, UInt64 count)
    {
        bool ok = true;
        for(UInt64 i = 0; i < count; ++i)
            ok = h.getValue(v[i]) && ok;
        return ok;
    }
    static void putToString(const BitVector &v, std::string &out) { out += v.toHexString(); }
};

template <>
struct FieldDataTraits<std::string>
{
    static constexpr bool   IsPOD      = false;
    static constexpr UInt32 MinBinSize = 4;   // a zero length reads as ""

    static DataType &getType(void)
    {
        static DataType type("string", "BaseType");
        return type;
    }
    static const Char8 *getSName(void) { return "SFString"; }
    static const Char8 *getMName(void) { return "MFString"; }
    static std::string getDefault(void) { return std::string(); }

    static UInt32 getBinSize(const std::string &v) { return UInt32(4 + v.size() + 1); }
    static UInt32 getBinSize(const std::string *v, UInt64 count)
    {
        UInt64 size = 0;
        for(UInt64 i = 0; i < count; ++i)
            size += 4 + v[i].size() + 1;
        return UInt32(size);
    }

    static void copyToBin  (BinaryDataHandler &h, const std::string &v) { h.putValue(v);        }
    static bool copyFromBin(BinaryDataHandler &h, std::string &v)       { return h.getValue(v); }
    static void copyToBin(BinaryDataHandler &h, const std::string *v, UInt64 count)
    {
        h.putValues(v, count);
    }
    static bool copyFromBin(BinaryDataHandler &h, std::string *v, UInt64 count)
    {
        return h.getValues(v, count);
    }
    static void putToString(const std::string &v, std::string &out)
    {
        out += '"';
        out += v;
        out += '"';
    }
};

} // namespace osg

#endif
