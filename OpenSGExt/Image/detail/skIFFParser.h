#ifndef SK_OPENSGEXT_IMAGE_DETAIL_SKIFFPARSER_H
#define SK_OPENSGEXT_IMAGE_DETAIL_SKIFFPARSER_H

// Reader of tiled IFF images on a byte buffer. Private to the library.
//
// File layout (all numbers big-endian): chunks are a 4-byte tag, a 4-byte size and the data,
// padded to a multiple of 4 bytes. A group "FOR4" holds a 4-byte type and chunks. The file is a
// "FOR4" group of type "CIMG" holding
//   "TBHD" (24 or 32 bytes): width u32, height u32, pixel aspect numerator u16 and denominator u16,
//          flags u32 (1 colour, 2 alpha, 4 depth), bytes u16 (0: 8-bit, 1: 16-bit channels),
//          tile count u16, compression u32 (0 none, 1 RLE), optionally origin x u32, y u32;
//   a "FOR4" group of type "TBMP" holding the tiles: "RGBA" (colour) and "ZBUF" (depth) chunks,
//          each x1 u16, y1 u16, x2 u16, y2 u16 (inclusive pixel rectangle, y counted from the
//          bottom row) followed by the tile's pixels, rows bottom first;
// and other chunks, which are skipped. Colour pixels hold their channels in reverse order (A B G R,
// or B G R without alpha), 16-bit values big-endian; depth pixels one 32-bit float. A tile whose
// data is shorter than its raw size is RLE-coded: the raw bytes are split into planes (one per
// channel, stored order; for 16-bit channels the high-byte plane before the low-byte plane; for
// depth four planes, most significant byte first), and each plane is a run of packets: a count
// byte c, then (c & 0x7f) + 1 literal bytes if c < 0x80, else one byte repeated (c & 0x7f) + 1
// times.

#include <OpenSG/OSGBaseTypes.h>

#include <cstddef>
#include <string>
#include <vector>

namespace osg {
namespace detail {

/*! Largest width or height accepted (tile corners are 16-bit). */
const UInt32 IFFMaxDimension = 65536;
/*! Largest colour or depth buffer accepted, as for any OpenSG image (2^31 - 1 bytes). */
const UInt64 IFFMaxPixelBytes = 0x7fffffffULL;

struct IFFImage
{
    UInt32 width            = 0;
    UInt32 height           = 0;
    UInt32 channels         = 0;   //!< 3 (RGB) or 4 (RGBA); 0 without colour
    UInt32 bytesPerChannel  = 0;   //!< 1 or 2
    std::vector<UInt8> colour;     //!< rows bottom first, R G B [A], 16-bit values in host order
    std::vector<Real32> depth;     //!< rows bottom first; empty without depth
};

/*! Parses a whole file. On failure returns false with a short reason in error ("unexpected tag",
    "tag stack corrupt", "unknown compression format", "truncated file", "corrupt RLE data",
    "image too large", "tile outside the image", "missing tiles", "no header") and leaves image
    unchanged. Memory held is bounded by a fixed multiple of size: every tile must carry enough
    bytes for its area before anything is allocated. */
bool parseIFF(const UInt8 *data, std::size_t size, IFFImage &image, std::string &error);

/*! Decodes one RLE plane of exactly `count` bytes from [in, in + size); returns the bytes read,
    or 0 if the packets run past the input or beyond count. */
std::size_t iffUnpackRLE(const UInt8 *in, std::size_t size, UInt8 *out, std::size_t count);

} // namespace detail
} // namespace osg

#endif
