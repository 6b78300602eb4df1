#include <OpenSGExt/Image/detail/skYIFHeader.h>

#include <cmath>
#include <cstring>

namespace osg {
namespace detail {

namespace {

const std::size_t kIntFields[] = { 8, 12, 16, 20, 24, 28, 40, 44, 88 };

// Fields are kept little-endian whatever the host, so files agree across machines.
UInt32 loadLE32(const UInt8 *p)
{
    return UInt32(p[0]) | UInt32(p[1]) << 8 | UInt32(p[2]) << 16 | UInt32(p[3]) << 24;
}

void storeLE32(UInt8 *p, UInt32 v)
{
    for(int i = 0; i < 4; ++i)
        p[i] = UInt8(v >> (8 * i));
}

Real64 loadDouble(const UInt8 *p)
{
    UInt64 bits = 0;
    for(int i = 7; i >= 0; --i)
        bits = bits << 8 | p[i];
    Real64 d;
    std::memcpy(&d, &bits, sizeof(d));
    return d;
}

void storeDouble(UInt8 *p, Real64 d)
{
    UInt64 bits;
    std::memcpy(&bits, &d, sizeof(bits));
    for(int i = 0; i < 8; ++i)
        p[i] = UInt8(bits >> (8 * i));
}

UInt32 swap16(UInt32 v)
{
    return ((v & 0xFFu) << 8) | ((v >> 8) & 0xFFu);
}

} // namespace

void yifConvertHeader(UInt8 header[YIFHeaderSize])
{
    for(std::size_t off : kIntFields)
        storeLE32(header + off, swap16(loadLE32(header + off)));

    Real64 delay = loadDouble(header + 32);
    // Truncation as an integer cast would do, without its undefined cases.
    Int64 whole = 0;
    if(std::isfinite(delay) && std::fabs(delay) < 9.0e18)
        whole = Int64(delay);
    storeDouble(header + 32, Real64(swap16(UInt32(UInt64(whole) & 0xFFFFu))));

    std::memset(header + 48, 0, 40);
}

void yifEncodeHeader(const YIFHeaderFields &f, UInt8 header[YIFHeaderSize])
{
    std::memset(header, 0, YIFHeaderSize);
    header[0] = 'y';
    header[1] = 'i';
    header[2] = 'f';
    storeLE32(header + 8,  f.pixelFormat);
    storeLE32(header + 12, f.width);
    storeLE32(header + 16, f.height);
    storeLE32(header + 20, f.depth);
    storeLE32(header + 24, f.mipmapCount);
    storeLE32(header + 28, f.frameCount);
    storeDouble(header + 32, f.frameDelay);
    storeLE32(header + 40, f.sideCount);
    storeLE32(header + 44, f.dataType);
    yifConvertHeader(header);
}

bool yifDecodeHeader(const UInt8 raw[YIFHeaderSize], YIFHeaderFields &f)
{
    UInt8 header[YIFHeaderSize];
    std::memcpy(header, raw, YIFHeaderSize);
    yifConvertHeader(header);
    f.pixelFormat = loadLE32(header + 8);
    f.width       = loadLE32(header + 12);
    f.height      = loadLE32(header + 16);
    f.depth       = loadLE32(header + 20);
    f.mipmapCount = loadLE32(header + 24);
    f.frameCount  = loadLE32(header + 28);
    f.frameDelay  = loadDouble(header + 32);
    f.sideCount   = loadLE32(header + 40);
    f.dataType    = loadLE32(header + 44);
    return header[0] == 'y' && header[1] == 'i' && header[2] == 'f';
}

} // namespace detail
} // namespace osg
