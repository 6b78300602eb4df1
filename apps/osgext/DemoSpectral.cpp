// osgext demo, spectra: the CIE illuminants D65 and A and a reflectance built from an RGB colour
// are saved as ".spectral" files, read back, converted to colour and plotted; a perfect reflector
// under D65 must come out white.

#include "Command.h"

#include <OpenSGExt/OSGSpectralData.h>

#include <OpenSG/OSGChangeList.h>

#include <cmath>
#include <cstdio>
#include <iostream>
#include <ostream>
#include <streambuf>
#include <string>

namespace osgext {

// Defined in CmdSpectrum.cpp.
osg::Vec3f  lightXYZ(const osg::SpectrumPtr &s);
std::string reflectanceSwatch(const osg::SpectrumPtr &s);
std::string lightSwatch(const osg::SpectrumPtr &s);
bool writeSpectrumPlot(const osg::SpectrumPtr &s, const std::string &title,
                       const std::string &path);

namespace {

using namespace osg;

// The library prints progress lines while reading and writing; the demo keeps its summary short.
class QuietStdout
{
  public:
    QuietStdout(void) : _old(std::cout.rdbuf(&_null)) {}
    ~QuietStdout(void) { std::cout.rdbuf(_old); }
  private:
    struct Null : std::streambuf
    {
        int overflow(int c) override { return c; }
    } _null;
    std::streambuf *_old;
};

bool showSpectrum(DemoContext &ctx, const char *name, const SpectrumPtr &source, bool asLight)
{
    const std::string file = (ctx.outDir / (std::string(name) + ".spectral")).string();
    const std::string plot = (ctx.outDir / (std::string(name) + ".svg")).string();
    SpectrumPtr back = Spectrum::create();
    addRefCP(back);
    bool ok;
    {
        QuietStdout quiet;
        ok = source->save(file) && back->load(file) && writeSpectrumPlot(back, name, plot);
    }
    if(ok)
    {
        char line[200];
        if(asLight)
        {
            Vec3f xyz = lightXYZ(back);
            Real32 sum = xyz[0] + xyz[1] + xyz[2];
            std::snprintf(line, sizeof(line), "  spectrum %s: %d samples, as a light x %.4f y %.4f, %s",
                          name, back->getNumSamples(), xyz[0] / sum, xyz[1] / sum,
                          lightSwatch(back).c_str());
        }
        else
        {
            Vec4f rgb = SpectralData::Instance().convertToRGBA(back, 1.0f, false);
            std::snprintf(line, sizeof(line),
                          "  spectrum %s: %d samples, reflectance under D65: RGB %.4f %.4f %.4f, %s",
                          name, back->getNumSamples(), rgb[0], rgb[1], rgb[2],
                          reflectanceSwatch(back).c_str());
        }
        ctx.out << line << "\n";
    }
    else
    {
        ctx.err << "  spectrum " << name << ": save, load or plot failed\n";
    }
    subRefCP(back);
    return ok;
}

bool spectraSection(DemoContext &ctx)
{
    SpectralData &data = SpectralData::Instance();
    bool ok = true;

    ok = showSpectrum(ctx, "D65", data.getD65(), true) && ok;
    ok = showSpectrum(ctx, "A", data.getA(), true) && ok;

    SpectrumPtr refl = Spectrum::create();
    addRefCP(refl);
    refl->setRGB(0.8f, 0.3f, 0.1f, 380, 5, 81);
    ok = showSpectrum(ctx, "reflectance-rgb-0.8-0.3-0.1", refl, false) && ok;

    // A perfect reflector under D65 is the white point.
    refl->setOne();
    Vec4f white = data.convertToRGBA(refl, 1.0f, false);
    bool isWhite = std::fabs(white[0] - 1.0f) < 0.01f && std::fabs(white[1] - 1.0f) < 0.01f &&
                   std::fabs(white[2] - 1.0f) < 0.01f;
    char line[120];
    std::snprintf(line, sizeof(line), "  perfect reflector under D65: RGB %.4f %.4f %.4f (%s)",
                  white[0], white[1], white[2], isWhite ? "white" : "NOT white");
    ctx.out << line << "\n";
    subRefCP(refl);
    Thread::getCurrentChangeList()->clearAll();
    return ok && isWhite;
}

} // namespace

OSGEXT_DEMO_SECTION(200, "spectra", spectraSection);

} // namespace osgext
