#ifndef _OSGVALUEHANDLERTEMPL_H_
#define _OSGVALUEHANDLERTEMPL_H_

#include <OpenSG/OSGBaseTypes.h>
#include <OpenSG/OSGReal16.h>

#include <platform/skImageScaler.h>

#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>

namespace osg {

/*! The resampler's view of one channel type: values as doubles, range [0, largest value of the
    type]. Stored values are clamped to that range and rounded to nearest for integer types; NaN
    stores 0. */
template <class ValueT>
class ValueHandlerTempl : public skUtils::ValueHandler
{
  public:
    double get(const void *data, std::size_t index) const override
    {
        ValueT v;
        std::memcpy(&v, static_cast<const UInt8 *>(data) + index * sizeof(ValueT), sizeof(ValueT));
        return toDouble(v);
    }

    void set(void *data, std::size_t index, double v) const override
    {
        if(!(v > 0.0))
            v = 0.0;
        else if(v > maxValue())
            v = maxValue();
        ValueT out = fromDouble(v);
        std::memcpy(static_cast<UInt8 *>(data) + index * sizeof(ValueT), &out, sizeof(ValueT));
    }

    double      maxValue (void) const override { return largest(); }
    std::size_t valueSize(void) const override { return sizeof(ValueT); }
    Storage     storage  (void) const override { return storageOf(); }

    static double largest(void);

  private:
    static double  toDouble  (ValueT v)
    {
        if constexpr(std::numeric_limits<ValueT>::is_integer)
            return double(v);
        else
            return double(static_cast<float>(v));
    }
    static ValueT  fromDouble(double v)
    {
        if constexpr(std::numeric_limits<ValueT>::is_integer)
            return ValueT(std::floor(v + 0.5));
        else
            return ValueT(float(v));
    }
    static Storage storageOf(void);
};

template <> inline double ValueHandlerTempl<UInt8 >::largest(void) { return 255.0; }
template <> inline double ValueHandlerTempl<UInt16>::largest(void) { return 65535.0; }
template <> inline double ValueHandlerTempl<UInt32>::largest(void) { return 4294967295.0; }
template <> inline double ValueHandlerTempl<Real32>::largest(void) { return double(FLT_MAX); }
template <> inline double ValueHandlerTempl<Real16>::largest(void) { return 65504.0; }

template <> inline skUtils::ValueHandler::Storage ValueHandlerTempl<UInt8 >::storageOf(void) { return Storage::UInt8; }
template <> inline skUtils::ValueHandler::Storage ValueHandlerTempl<UInt16>::storageOf(void) { return Storage::UInt16; }
template <> inline skUtils::ValueHandler::Storage ValueHandlerTempl<UInt32>::storageOf(void) { return Storage::UInt32; }
template <> inline skUtils::ValueHandler::Storage ValueHandlerTempl<Real32>::storageOf(void) { return Storage::Float32; }
template <> inline skUtils::ValueHandler::Storage ValueHandlerTempl<Real16>::storageOf(void) { return Storage::Float16; }

} // namespace osg

#endif
