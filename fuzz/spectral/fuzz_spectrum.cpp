// libFuzzer target: arbitrary bytes as a ".spectral" file (either version) and as plain text
// pairs, first through the parsers, then through Spectrum's readers on a real file, followed by
// the colour queries and a save/load round trip of whatever was accepted. A parse either fails
// cleanly or yields a consistent source; the container never changes on a failed native read.

#include <OpenSGExt/OSGSpectralData.h>
#include <OpenSGExt/Spectral/detail/SpectrumFile.h>
#include <OpenSGExt/skOpenSGExt.h>

#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGChangeList.h>
#include <OpenSG/OSGLog.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <streambuf>
#include <string>
#include <unistd.h>

using namespace osg;
namespace sp = skosg::spectral;

namespace {

class NullBuffer : public std::streambuf
{
  protected:
    int overflow(int c) override { return c; }
};

struct Setup
{
    SpectrumPtr spectrum;
    std::string file;
    std::string copy;
};

Setup &setup()
{
    static Setup s = [] {
        skOpenSGExt::init();
        osgInit(0, nullptr);
        osgLog().setLogType(LOG_NONE, true);
        static NullBuffer null;
        std::cout.rdbuf(&null);
        SpectralData::Instance();
        Setup r;
        r.spectrum = Spectrum::create();
        addRefCP(r.spectrum);
        std::string base = "/tmp/fuzz_spectrum_" + std::to_string(getpid());
        r.file = base + ".spectral.txt";   // routed to the native reader by load()
        r.copy = base + "_copy.spectral";
        return r;
    }();
    return s;
}

void check(bool ok, const sp::ParsedSpectrum &p)
{
    if(!ok)
    {
        if(p.error == sp::ParseError::None)
            std::abort();
        return;
    }
    if(p.wavelengths.size() != size_t(p.count) || p.values.size() != size_t(p.count))
        std::abort();
    for(size_t i = 1; i < p.wavelengths.size(); ++i)
        if(p.wavelengths[i - 1] > p.wavelengths[i])
            std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Setup &s = setup();
    const std::string text(reinterpret_cast<const char *>(data), size);

    sp::ParsedSpectrum parsed;
    check(sp::parseNative(text, Spectrum::MaxSamples, parsed), parsed);
    check(sp::parseTextPairs(text, Spectrum::MaxSamples, parsed), parsed);

    {
        std::ofstream out(s.file, std::ios::binary | std::ios::trunc);
        out.write(text.data(), std::streamsize(text.size()));
    }
    SpectrumPtr sp = s.spectrum;
    sp->setOne();
    const Spectrum::Options before = sp->getOptions();
    if(!sp->loadNative(s.file))
    {
        if(!(sp->getOptions() == before))
            std::abort();
    }
    else
    {
        sp->getXYZ();
        sp->getRGB();
        sp->getPhotometricValue();
        SpectralData::Instance().convertToRGBA(sp, 1.0f, true);
        if(sp->save(s.copy))
        {
            SpectrumPtr back = Spectrum::create();
            addRefCP(back);
            if(!back->loadNative(s.copy) || back->getNumSamples() != sp->getNumSamples())
                std::abort();
            subRefCP(back);
        }
    }
    if(sp->loadTxt(s.file))
    {
        sp->getXYZ();
        sp->resampleSource(380, 5, 81);
        sp->getMaxValue();
    }
    Thread::getCurrentChangeList()->clearAll();
    return 0;
}
