#ifndef SKOSG_TESTS_IMAGE_IFFTESTFILES_H
#define SKOSG_TESTS_IMAGE_IFFTESTFILES_H

// Tiled IFF files assembled byte by byte from the layout rules (big-endian numbers, chunks padded
// to 4 bytes, FOR4 groups), for the reader's tests.

#include <OpenSG/OSGBaseTypes.h>

#include <vector>

namespace ifftest {

using osg::UInt8;
using osg::UInt32;

typedef std::vector<UInt8> Bytes;

inline void put32(Bytes &b, UInt32 v) { for(int s = 24; s >= 0; s -= 8) b.push_back(UInt8(v >> s)); }
inline void put16(Bytes &b, UInt32 v) { b.push_back(UInt8(v >> 8)); b.push_back(UInt8(v)); }

inline Bytes chunk(const char *tag, const Bytes &body)
{
    Bytes b(tag, tag + 4);
    put32(b, UInt32(body.size()));
    b.insert(b.end(), body.begin(), body.end());
    while(b.size() % 4)
        b.push_back(0);
    return b;
}

inline Bytes group(const char *type, const std::vector<Bytes> &chunks)
{
    Bytes body(type, type + 4);
    for(const Bytes &c : chunks)
        body.insert(body.end(), c.begin(), c.end());
    return chunk("FOR4", body);
}

inline Bytes header(UInt32 w, UInt32 h, UInt32 flags, UInt32 bytes, UInt32 compression, UInt32 tiles)
{
    Bytes b;
    put32(b, w); put32(b, h); put16(b, 1); put16(b, 1); put32(b, flags); put16(b, bytes);
    put16(b, tiles); put32(b, compression);
    return chunk("TBHD", b);
}

inline Bytes tile(const char *tag, UInt32 x1, UInt32 y1, UInt32 x2, UInt32 y2, const Bytes &data)
{
    Bytes b;
    put16(b, x1); put16(b, y1); put16(b, x2); put16(b, y2);
    b.insert(b.end(), data.begin(), data.end());
    return chunk(tag, b);
}

inline Bytes file(const std::vector<Bytes> &cimg)
{
    return group("CIMG", cimg);
}

} // namespace ifftest

#endif
