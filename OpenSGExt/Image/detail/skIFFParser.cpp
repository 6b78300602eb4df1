#include <OpenSGExt/Image/detail/skIFFParser.h>

#include <cstring>

namespace osg {
namespace detail {

namespace {

UInt32 be32(const UInt8 *p) { return UInt32(p[0]) << 24 | UInt32(p[1]) << 16 | UInt32(p[2]) << 8 | p[3]; }
UInt16 be16(const UInt8 *p) { return UInt16(p[0] << 8 | p[1]); }
bool   isTag(const UInt8 *p, const char *tag) { return std::memcmp(p, tag, 4) == 0; }

struct Tile
{
    UInt32       x1, y1, x2, y2;
    const UInt8 *data;
    std::size_t  size;
    bool         depth;
};

struct Header
{
    bool   present = false;
    UInt32 width = 0, height = 0, flags = 0, bytes = 0, compression = 0;
};

struct Walker
{
    const UInt8       *file;
    Header             header;
    std::vector<Tile>  tiles;
    std::string        error;

    bool fail(const char *e)
    {
        error = e;
        return false;
    }

    // Chunks in [pos, end); tiles says whether this is a TBMP group.
    bool walk(std::size_t pos, std::size_t end, bool inTiles, int level)
    {
        if(level > 8)
            return fail("tag stack corrupt");
        while(end - pos >= 8)
        {
            const UInt8 *c    = file + pos;
            UInt32       size = be32(c + 4);
            if(size > end - pos - 8)
                return fail("tag stack corrupt");
            std::size_t body = pos + 8;

            if(isTag(c, "FOR4"))
            {
                if(size < 4)
                    return fail("tag stack corrupt");
                bool tileGroup = isTag(file + body, "TBMP");
                if(inTiles || (tileGroup && !walk(body + 4, body + size, true, level + 1)))
                    return inTiles ? fail("unexpected tag") : false;
            }
            else if(inTiles)
            {
                bool depth = isTag(c, "ZBUF");
                if(!depth && !isTag(c, "RGBA"))
                    return fail("unexpected tag");
                if(size < 8)
                    return fail("truncated file");
                const UInt8 *t = file + body;
                tiles.push_back({ be16(t), be16(t + 2), be16(t + 4), be16(t + 6), t + 8, size - 8, depth });
            }
            else if(isTag(c, "TBHD"))
            {
                if(header.present)
                    return fail("unexpected tag");
                if(size < 24)
                    return fail("truncated file");
                const UInt8 *h = file + body;
                header.present     = true;
                header.width       = be32(h);
                header.height      = be32(h + 4);
                header.flags       = be32(h + 12);
                header.bytes       = be16(h + 16);
                header.compression = be32(h + 20);
            }
            // Any other chunk (author, date, version, clipping, ...) carries nothing we need.

            std::size_t next = body + ((std::size_t(size) + 3) & ~std::size_t(3));
            pos = next < end ? next : end;
        }
        return true;
    }
};

// Copies one tile's pixels into the image. bytes(i, k) is byte k of pixel i in stored order.
struct TileBytes
{
    const UInt8 *base;
    std::size_t  pixelStride, byteStride;
    UInt8 operator()(std::size_t i, std::size_t k) const { return base[i * pixelStride + k * byteStride]; }
};

} // namespace

std::size_t iffUnpackRLE(const UInt8 *in, std::size_t size, UInt8 *out, std::size_t count)
{
    std::size_t pos = 0, done = 0;
    while(done < count)
    {
        if(pos >= size)
            return 0;
        UInt8       c = in[pos++];
        std::size_t n = std::size_t(c & 0x7F) + 1;
        if(n > count - done)
            return 0;
        if(c & 0x80)
        {
            if(pos >= size)
                return 0;
            std::memset(out + done, in[pos++], n);
        }
        else
        {
            if(n > size - pos)
                return 0;
            std::memcpy(out + done, in + pos, n);
            pos += n;
        }
        done += n;
    }
    return pos;
}

bool parseIFF(const UInt8 *data, std::size_t size, IFFImage &image, std::string &error)
{
    if(data == nullptr || size < 12 || !isTag(data, "FOR4") || !isTag(data + 8, "CIMG"))
    {
        error = (data != nullptr && size < 12) ? "truncated file" : "unexpected tag";
        return false;
    }
    UInt32 formSize = be32(data + 4);
    if(formSize < 4 || formSize > size - 8)
    {
        error = formSize < 4 ? "tag stack corrupt" : "truncated file";
        return false;
    }

    Walker w;
    w.file = data;
    if(!w.walk(12, 8 + std::size_t(formSize), false, 0))
    {
        error = w.error;
        return false;
    }
    const Header &h = w.header;
    if(!h.present)
    {
        error = "no header";
        return false;
    }
    if(h.compression > 1)
    {
        error = "unknown compression format";
        return false;
    }
    if(h.width == 0 || h.height == 0 || h.width > IFFMaxDimension || h.height > IFFMaxDimension ||
       h.bytes > 1 || (h.flags & 5) == 0)
    {
        error = (h.width > IFFMaxDimension || h.height > IFFMaxDimension) ? "image too large"
                                                                           : "unsupported image layout";
        return false;
    }

    const bool        hasColour = (h.flags & 1) != 0, hasDepth = (h.flags & 4) != 0;
    const UInt32      channels  = hasColour ? ((h.flags & 2) ? 4 : 3) : 0;
    const UInt32      bpc       = h.bytes + 1;
    const std::size_t pixels    = std::size_t(h.width) * h.height;
    if(UInt64(pixels) * channels * bpc > IFFMaxPixelBytes || (hasDepth && UInt64(pixels) * 4 > IFFMaxPixelBytes))
    {
        error = "image too large";
        return false;
    }

    // Validate every tile before allocating anything: a tile inside the image whose data can hold
    // its area (raw, or at most 64 bytes per RLE byte), and enough tiles to cover the image.
    UInt64 colourArea = 0, depthArea = 0;
    for(const Tile &t : w.tiles)
    {
        if(t.x2 < t.x1 || t.y2 < t.y1 || t.x2 >= h.width || t.y2 >= h.height ||
           (t.depth ? !hasDepth : !hasColour))
        {
            error = "tile outside the image";
            return false;
        }
        UInt64 area = UInt64(t.x2 - t.x1 + 1) * (t.y2 - t.y1 + 1);
        UInt64 raw  = area * (t.depth ? 4 : channels * bpc);
        if(t.size < raw && (h.compression != 1 || raw > UInt64(t.size) * 64))
        {
            error = h.compression != 1 ? "truncated file" : "corrupt RLE data";
            return false;
        }
        (t.depth ? depthArea : colourArea) += area;
    }
    if((hasColour && colourArea < pixels) || (hasDepth && depthArea < pixels))
    {
        error = "missing tiles";
        return false;
    }

    IFFImage out;
    out.width           = h.width;
    out.height          = h.height;
    out.channels        = channels;
    out.bytesPerChannel = hasColour ? bpc : 0;
    if(hasColour)
        out.colour.assign(pixels * channels * bpc, 0);
    if(hasDepth)
        out.depth.assign(pixels, 0.f);

    std::vector<UInt8> planes;
    for(const Tile &t : w.tiles)
    {
        const std::size_t tw = t.x2 - t.x1 + 1, th = t.y2 - t.y1 + 1, n = tw * th;
        const std::size_t pb = t.depth ? 4 : std::size_t(channels) * bpc;
        TileBytes bytes = { t.data, pb, 1 };
        if(t.size < n * pb)
        {
            planes.resize(n * pb);
            std::size_t pos = 0;
            for(std::size_t k = 0; k < pb; ++k)
            {
                std::size_t used = iffUnpackRLE(t.data + pos, t.size - pos, planes.data() + k * n, n);
                if(used == 0)
                {
                    error = "corrupt RLE data";
                    return false;
                }
                pos += used;
            }
            bytes = { planes.data(), 1, n };
        }

        for(std::size_t ty = 0; ty < th; ++ty)
            for(std::size_t tx = 0; tx < tw; ++tx)
            {
                std::size_t i   = ty * tw + tx;
                std::size_t dst = (std::size_t(t.y1) + ty) * h.width + t.x1 + tx;
                if(t.depth)
                {
                    UInt32 bits = UInt32(bytes(i, 0)) << 24 | UInt32(bytes(i, 1)) << 16 |
                                  UInt32(bytes(i, 2)) << 8 | bytes(i, 3);
                    std::memcpy(&out.depth[dst], &bits, 4);
                    continue;
                }
                for(UInt32 s = 0; s < channels; ++s)
                {
                    UInt32 c = channels - 1 - s;   // stored A B G R
                    if(bpc == 1)
                        out.colour[dst * channels + c] = bytes(i, s);
                    else
                    {
                        UInt16 v = UInt16(bytes(i, 2 * s) << 8 | bytes(i, 2 * s + 1));
                        std::memcpy(&out.colour[(dst * channels + c) * 2], &v, 2);
                    }
                }
            }
    }

    image = std::move(out);
    return true;
}

} // namespace detail
} // namespace osg
