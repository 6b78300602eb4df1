#ifndef SK_OPENSGEXT_IMAGE_DETAIL_SKYIFHEADER_H
#define SK_OPENSGEXT_IMAGE_DETAIL_SKYIFHEADER_H

// The 96-byte header of YIF files on plain bytes. Private to the library.
//
// Layout (offsets in bytes): 0 "yif\0"; 4 unused; 8 pixel format; 12 width; 16 height; 20 depth;
// 24 mipmap count; 28 frame count; 32 frame delay (IEEE double, little-endian); 40 side count;
// 44 data type; 48..87 zero; 88 reserved; 92 unused. Every integer field is 32 bits little-endian
// in memory, but only its low 16 bits survive: the header conversion swaps the two low bytes and
// drops the high ones, so a file holds each value as a 16-bit big-endian number followed by two
// zero bytes. The frame delay goes through the same conversion as an integer.

#include <OpenSG/OSGBaseTypes.h>

#include <cstddef>

namespace osg {
namespace detail {

const std::size_t YIFHeaderSize = 96;

struct YIFHeaderFields
{
    UInt32 pixelFormat = 0;
    UInt32 width       = 0;
    UInt32 height      = 0;
    UInt32 depth       = 0;
    UInt32 mipmapCount = 0;
    UInt32 frameCount  = 0;
    Real64 frameDelay  = 0;
    UInt32 sideCount   = 0;
    UInt32 dataType    = 0;
};

/*! The conversion on a header as it lies in memory: integer fields at 8, 12, 16, 20, 24, 28, 40,
    44 and 88 become their low 16 bits with the two bytes swapped; the frame delay is truncated to
    an integer (non-finite or out-of-range delays count as 0), converted alike and stored back as a
    double; bytes 48 to 87 are cleared. Applying it twice restores values below 65536. */
void yifConvertHeader(UInt8 header[YIFHeaderSize]);

/*! The 96 bytes a writer puts in a file for these fields: the magic, the fields, then the
    conversion; unused words are zero. */
void yifEncodeHeader(const YIFHeaderFields &fields, UInt8 header[YIFHeaderSize]);

/*! Reads the fields of 96 bytes from a file (conversion applied). False if the magic's first
    three bytes are not "yif"; the fields are filled either way. */
bool yifDecodeHeader(const UInt8 header[YIFHeaderSize], YIFHeaderFields &fields);

} // namespace detail
} // namespace osg

#endif
