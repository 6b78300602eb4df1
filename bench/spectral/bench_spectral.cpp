// Spectral colour: getXYZ of a loaded spectrum against a raw 40-term weighted sum over plain
// arrays (the least work any implementation must do), re-deriving the 40 samples of an 81-sample
// source (Spectrum::resample, with its edit and change report) against the bare interval
// averaging, and building the reference spectra (first construction timed once, then
// initCIE1931, which rebuilds all twenty in place).

#include <OpenSGExt/OSGSpectralData.h>
#include <OpenSGExt/Spectral/detail/SpectralSampling.h>

#include <OpenSG/OSGChangeList.h>

#include "support/BenchSupport.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <vector>

using namespace osg;

namespace {

double firstConstructionMs = -1.0;

SpectralData &data(void)
{
    if(firstConstructionMs < 0.0)
    {
        auto t0 = std::chrono::steady_clock::now();
        SpectralData::Instance();
        auto t1 = std::chrono::steady_clock::now();
        firstConstructionMs = std::chrono::duration<double, std::milli>(t1 - t0).count();
    }
    return SpectralData::Instance();
}

// A reflectance with some structure: Smits' red on the 81-sample grid.
SpectrumPtr loadedSpectrum(void)
{
    static SpectrumPtr s = [] {
        data();
        SpectrumPtr p = Spectrum::create();
        addRefCP(p);
        p->setRGB(0.8f, 0.3f, 0.1f, 380, 5, 81);
        Thread::getCurrentChangeList()->clearAll();
        return p;
    }();
    return s;
}

void BM_GetXYZ(benchmark::State &state)
{
    SpectrumPtr s = loadedSpectrum();
    for(auto _ : state)
        benchmark::DoNotOptimize(s->getXYZ());
}
BENCHMARK(BM_GetXYZ);

void BM_RawXYZ(benchmark::State &state)
{
    SpectralData &d = data();
    SpectrumPtr s = loadedSpectrum();
    std::vector<float> x(d.getX()->getSamples().begin(), d.getX()->getSamples().end());
    std::vector<float> y(d.getY()->getSamples().begin(), d.getY()->getSamples().end());
    std::vector<float> z(d.getZ()->getSamples().begin(), d.getZ()->getSamples().end());
    std::vector<float> i(d.getD65()->getSamples().begin(), d.getD65()->getSamples().end());
    std::vector<float> v(s->getSamples().begin(), s->getSamples().end());
    for(auto _ : state)
    {
        float n = 0, sx = 0, sy = 0, sz = 0;
        for(size_t k = 0; k < 40; ++k)
        {
            n += i[k] * y[k];
            sx += x[k] * v[k] * i[k];
            sy += y[k] * v[k] * i[k];
            sz += z[k] * v[k] * i[k];
        }
        benchmark::DoNotOptimize(Vec3f(sx / n, sy / n, sz / n));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_RawXYZ);

void BM_Resample81(benchmark::State &state)
{
    SpectrumPtr s = loadedSpectrum();
    ChangeList *cl = Thread::getCurrentChangeList();
    UInt32 k = 0;
    for(auto _ : state)
    {
        s->resample();
        // Every edit is recorded; clearing now and then (not timed apart: pausing the timer
        // costs more than the call) keeps the list small.
        if(++k % 1024 == 0)
            cl->clearAll();
    }
}
BENCHMARK(BM_Resample81);

void BM_DeriveSamples81(benchmark::State &state)
{
    SpectrumPtr s = loadedSpectrum();
    std::vector<float> wl(s->getWavelengths().begin(), s->getWavelengths().end());
    std::vector<float> val(s->getSourceValues().begin(), s->getSourceValues().end());
    std::vector<float> out;
    for(auto _ : state)
    {
        skosg::spectral::deriveSamples(wl.data(), val.data(), int(wl.size()), out);
        benchmark::DoNotOptimize(out.data());
    }
}
BENCHMARK(BM_DeriveSamples81);

void BM_InitCIE1931(benchmark::State &state)
{
    SpectralData &d = data();
    ChangeList *cl = Thread::getCurrentChangeList();
    for(auto _ : state)
    {
        d.initCIE1931();
        state.PauseTiming();
        cl->clearAll();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_InitCIE1931)->Unit(benchmark::kMicrosecond);

SKBENCH_REPORT([](std::ostream &os, const skbench::Results &r) {
    os << "spectral:\n";
    if(r.has("BM_GetXYZ"))
        os << "  getXYZ per call: " << r.seconds.at("BM_GetXYZ") * 1e9 << " ns ("
           << r.ratio("BM_GetXYZ", "BM_RawXYZ") << "x the raw weighted sum)\n";
    if(r.has("BM_Resample81"))
        os << "  resample of 81 samples per call: " << r.seconds.at("BM_Resample81") * 1e9
           << " ns (" << r.ratio("BM_Resample81", "BM_DeriveSamples81")
           << "x the bare interval averaging)\n";
    if(firstConstructionMs >= 0.0)
        os << "  SpectralData first construction: " << firstConstructionMs << " ms (goal < 5 ms)\n";
    if(r.has("BM_InitCIE1931"))
        os << "  initCIE1931 (rebuild in place): " << r.seconds.at("BM_InitCIE1931") * 1e3
           << " ms\n";
});

SKBENCH_CLEANUP([] {
    if(firstConstructionMs >= 0.0)
        subRefCP(loadedSpectrum());
});

} // namespace
