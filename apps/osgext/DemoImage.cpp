// osgext demo, images: a layered PSD (a gradient background, a soft disc, a half-transparent
// band) written with an sRGB profile and read back, layers and pixels compared.

#include "Command.h"
#include "ImageTools.h"

#include <OpenSGExt/OSGPSDImageFileType.h>
#include <OpenSGExt/skICCProfile.h>

#include <cmath>
#include <fstream>
#include <ostream>
#include <string>
#include <vector>

namespace osgext {

namespace {

using namespace osg;

ImagePtr makeLayer(int w, int h, int kind)
{
    ImagePtr img = Image::create();
    addRefCP(img);
    img->set(Image::OSG_RGBA_PF, w, h);
    UInt8 *d = img->editData();
    for(int y = 0; y < h; ++y)
        for(int x = 0; x < w; ++x)
        {
            UInt8 *p = d + (size_t(y) * w + x) * 4;
            const float u = float(x) / (w - 1), v = float(y) / (h - 1);
            float r = 0, g = 0, b = 0, a = 0;
            if(kind == 0)
            {
                r = 0.15f + 0.3f * u; g = 0.25f + 0.5f * v; b = 0.6f; a = 1.f;
            }
            else if(kind == 1)
            {
                const float dist = std::hypot(u - 0.4f, v - 0.55f) / 0.3f;
                r = 0.95f; g = 0.55f; b = 0.1f;
                a = std::min(std::max(1.f - (dist - 0.8f) / 0.2f, 0.f), 1.f);
            }
            else
            {
                r = 1.f; g = 1.f; b = 1.f;
                a = std::fabs(v - 0.3f) < 0.08f ? 0.5f : 0.f;
            }
            p[0] = UInt8(r * 255 + 0.5f); p[1] = UInt8(g * 255 + 0.5f);
            p[2] = UInt8(b * 255 + 0.5f); p[3] = UInt8(a * 255 + 0.5f);
        }
    return img;
}

bool runImageDemo(DemoContext &ctx)
{
    const int w = 160, h = 120;
    const std::vector<std::string> names = { "Background", "Disc", "Band" };
    std::vector<ImagePtr> layers;
    for(int k = 0; k < 3; ++k)
        layers.push_back(makeLayer(w, h, k));
    ImagePtr doc = compositeLayers(layers);
    bool ok = doc != NullFC;
    if(ok)
    {
        std::vector<UInt8> srgb = skICCProfile::createSRGB();
        doc->setICCProfile(srgb.data(), UInt32(srgb.size()));
        const std::string file = (ctx.outDir / "layered.psd").string();
        {
            std::ofstream os(file, std::ios::binary | std::ios::trunc);
            ok = os && PSDImageFileType::the().write(doc, os, "", layers, names) && os.flush();
        }
        std::vector<PSDImageFileType::Layer> back;
        ImagePtr merged = Image::create();
        addRefCP(merged);
        std::ifstream is(file, std::ios::binary);
        ok = ok && PSDImageFileType::the().readLayers(is, merged, back) && back.size() == 3;
        bool equal = ok;
        for(size_t i = 0; equal && i < back.size(); ++i)
            equal = back[i].name == names[i] && back[i].image != NullFC &&
                    std::equal(layers[i]->getData(), layers[i]->getData() + layers[i]->getSize(),
                               back[i].image->getData());
        equal = equal && std::equal(doc->getData(), doc->getData() + doc->getSize(),
                                    merged->getData());
        UInt32 iccSize = 0;
        skICCProfile::Info info;
        const UInt8 *icc = merged->getICCProfile(iccSize);
        const bool profile = skICCProfile::inspect(icc, iccSize, info);
        ctx.out << "  layered PSD: " << file << ", " << describeImage(doc) << ", "
                << back.size() << " layers, profile \"" << info.description << "\", "
                << (equal ? "read back equal" : "read back DIFFERENT") << "\n";
        ok = ok && equal && profile;
        PSDImageFileType::releaseLayers(back);
        subRefCP(merged);
        subRefCP(doc);
    }
    for(ImagePtr &l : layers)
        subRefCP(l);
    if(!ok)
        ctx.err << "image demo: the layered PSD did not come back as written\n";
    return ok;
}

} // namespace

OSGEXT_DEMO_SECTION(300, "images", runImageDemo);

} // namespace osgext
