#ifndef SK_OPENSGEXT_IMAGE_DETAIL_PSDCODEC_H
#define SK_OPENSGEXT_IMAGE_DETAIL_PSDCODEC_H

// Plain routines beneath the PSD file type: interleaved pixels to big-endian planes and back,
// and PackBits. Arrays in, arrays out; the callers validate sizes.

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace skPSD {

/*! Channel `channel` of one row of `width` interleaved pixels of `components` samples, each
    `sampleBytes` wide (1, 2 or 4), into `dst` as big-endian samples. */
inline void deinterleaveRow(const uint8_t *src, uint8_t *dst, size_t width, unsigned components,
                            unsigned channel, unsigned sampleBytes)
{
    const size_t stride = size_t(components) * sampleBytes;
    src += size_t(channel) * sampleBytes;
    switch(sampleBytes)
    {
        case 1:
            for(size_t x = 0; x < width; ++x)
                dst[x] = src[x * stride];
            break;
        case 2:
            for(size_t x = 0; x < width; ++x)
            {
                uint16_t v;
                std::memcpy(&v, src + x * stride, 2);
                v = uint16_t((v >> 8) | (v << 8));
                std::memcpy(dst + 2 * x, &v, 2);
            }
            break;
        case 4:
            for(size_t x = 0; x < width; ++x)
            {
                uint32_t v;
                std::memcpy(&v, src + x * stride, 4);
                v = __builtin_bswap32(v);
                std::memcpy(dst + 4 * x, &v, 4);
            }
            break;
        default:
            break;
    }
}

/*! The inverse: big-endian samples of one channel row into the interleaved row. */
inline void interleaveRow(const uint8_t *src, uint8_t *dst, size_t width, unsigned components,
                          unsigned channel, unsigned sampleBytes)
{
    const size_t stride = size_t(components) * sampleBytes;
    dst += size_t(channel) * sampleBytes;
    switch(sampleBytes)
    {
        case 1:
            for(size_t x = 0; x < width; ++x)
                dst[x * stride] = src[x];
            break;
        case 2:
            for(size_t x = 0; x < width; ++x)
            {
                uint16_t v;
                std::memcpy(&v, src + 2 * x, 2);
                v = uint16_t((v >> 8) | (v << 8));
                std::memcpy(dst + x * stride, &v, 2);
            }
            break;
        case 4:
            for(size_t x = 0; x < width; ++x)
            {
                uint32_t v;
                std::memcpy(&v, src + 4 * x, 4);
                v = __builtin_bswap32(v);
                std::memcpy(dst + x * stride, &v, 4);
            }
            break;
        default:
            break;
    }
}

/*! Decodes PackBits from src[0, srcSize) into exactly dstSize bytes. Returns the number of
    bytes produced, or a different number when the data runs short, overflows the row or leaves
    input unused (the caller reports the mismatch). */
inline size_t unpackBits(const uint8_t *src, size_t srcSize, uint8_t *dst, size_t dstSize)
{
    size_t in = 0, out = 0;
    while(in < srcSize)
    {
        int8_t n = int8_t(src[in++]);
        if(n >= 0)
        {
            size_t count = size_t(n) + 1;
            if(in + count > srcSize || out + count > dstSize)
                return out + count;          // past the end of input or row
            std::memcpy(dst + out, src + in, count);
            in += count;
            out += count;
        }
        else if(n != -128)
        {
            size_t count = size_t(1 - n);
            if(in >= srcSize || out + count > dstSize)
                return out + count;
            std::memset(dst + out, src[in++], count);
            out += count;
        }
    }
    return out;
}

/*! Encodes `size` bytes with PackBits into dst, which must hold packBitsBound(size) bytes;
    returns the encoded length. */
inline size_t packBitsBound(size_t size)
{
    return size + (size + 127) / 128 + 1;
}

inline size_t packBits(const uint8_t *src, size_t size, uint8_t *dst)
{
    size_t in = 0, out = 0;
    while(in < size)
    {
        size_t run = 1;
        while(in + run < size && run < 128 && src[in + run] == src[in])
            ++run;
        if(run >= 3 || (run == 2 && in + run == size))
        {
            dst[out++] = uint8_t(int8_t(1 - int(run)));
            dst[out++] = src[in];
            in += run;
            continue;
        }
        // A literal up to the next run of three.
        size_t start = in, len = 0;
        while(in < size && len < 128)
        {
            if(in + 2 < size && src[in] == src[in + 1] && src[in] == src[in + 2])
                break;
            ++in;
            ++len;
        }
        dst[out++] = uint8_t(len - 1);
        std::memcpy(dst + out, src + start, len);
        out += len;
    }
    return out;
}

} // namespace skPSD

#endif
