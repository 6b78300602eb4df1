// Demo: a YIF file, the same file compressed with gzip and read back, and a scaled image.

#include "Command.h"

#include <OpenSGExt/OSGImageScaler.h>
#include <OpenSGExt/OSGYIFImageFileType.h>

#include <OpenSG/OSGImageFileHandler.h>

#include <zlib.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <vector>

namespace {

using namespace osg;

struct Ref
{
    ImagePtr p;
    explicit Ref(ImagePtr i) : p(i) { if(p != NullFC) addRefCP(p); }
    ~Ref() { if(p != NullFC) subRefCP(p); }
};

bool gzipFile(const std::string &from, const std::string &to)
{
    std::ifstream in(from, std::ios::binary);
    gzFile out = gzopen(to.c_str(), "wb6");
    if(!in || out == NULL)
        return false;
    std::vector<char> buf(1 << 16);
    bool ok = true;
    while(in.read(buf.data(), std::streamsize(buf.size())) || in.gcount() > 0)
        ok = ok && gzwrite(out, buf.data(), unsigned(in.gcount())) == int(in.gcount());
    return gzclose(out) == Z_OK && ok;
}

bool sameData(ImagePtr a, ImagePtr b)
{
    return a->getSize() == b->getSize() && a->getWidth() == b->getWidth() &&
           a->getHeight() == b->getHeight() && std::memcmp(a->getData(), b->getData(), a->getSize()) == 0;
}

} // namespace

OSGEXT_DEMO_SECTION(310, "image scaling and YIF", [](osgext::DemoContext &ctx) -> bool {
    // A 128x128 RGBA picture: rings over a gradient, with a soft alpha edge.
    Ref src(Image::create());
    if(!src.p->set(Image::OSG_RGBA_PF, 128, 128, 1, 1, 1, 0.0, NULL, Image::OSG_UINT8_IMAGEDATA))
        return false;
    UInt8 *px = src.p->editData();
    for(int y = 0; y < 128; ++y)
        for(int x = 0; x < 128; ++x)
        {
            double r = std::hypot(x - 64.0, y - 64.0);
            UInt8 *p = px + (y * 128 + x) * 4;
            p[0] = UInt8(127.5 + 127.5 * std::sin(r * 0.35));
            p[1] = UInt8(2 * x);
            p[2] = UInt8(2 * y);
            p[3] = UInt8(r < 56 ? 255 : r > 62 ? 0 : 255 * (62 - r) / 6);
        }

    const std::string yif = (ctx.outDir / "image.yif").string();
    const std::string gz  = (ctx.outDir / "image-gzip.yif").string();
    if(!ImageFileHandler::the().write(src.p, yif.c_str()) || !gzipFile(yif, gz))
    {
        ctx.err << "  YIF: cannot write " << yif << "\n";
        return false;
    }
    Ref back(Image::create()), backGz(Image::create());
    bool equal = ImageFileHandler::the().read(back.p, yif.c_str()) &&
                 ImageFileHandler::the().read(backGz.p, gz.c_str()) && sameData(src.p, back.p) &&
                 sameData(src.p, backGz.p);
    ctx.out << "  YIF: " << std::filesystem::file_size(yif) << " bytes in " << yif << ", gzip "
            << std::filesystem::file_size(gz) << " bytes in " << gz << ", "
            << (equal ? "read back equal" : "read back DIFFERENT") << "\n";

    ImagePtr scaled = NullFC;
    skUtils::ImageGenericFilter lanczos(skUtils::ImageGenericFilter::Lanczos3);
    bool scaledOk = ImageScaler::scale(src.p, scaled, 300, 200, 1, lanczos);
    Ref scaledRef(scaled);
    const std::string png = (ctx.outDir / "image-scaled.png").string();
    scaledOk = scaledOk && ImageFileHandler::the().write(scaled, png.c_str());
    ctx.out << "  scaled: 128x128 -> 300x200 (" << lanczos.name() << ") in " << png
            << (scaledOk ? "" : " FAILED") << "\n";
    return equal && scaledOk;
});
