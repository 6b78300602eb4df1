// Lanczos-3 scaling of 4096^2 <-> 1024^2 images: ImageScaler (the platform resampler) against
// libvips' vips_resize (same kernel, no pre-shrink gap) in process, and ImageMagick's
// `convert -filter Lanczos -resize` as a whole process on the same raw bytes. RGBA 8-bit is the
// goal; 16-bit and float are reported.

#include "support/BenchSupport.h"

#include <OpenSGExt/OSGImageScaler.h>

#include <benchmark/benchmark.h>
#include <vips/vips.h>

#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

using namespace osg;

namespace {

namespace fs = std::filesystem;

// CPU seconds (user + system, all threads) of this process or of its finished children. The
// machine is shared, so the benchmarks time work rather than wall-clock.
double cpuSeconds(int who)
{
    struct rusage u;
    getrusage(who, &u);
    return double(u.ru_utime.tv_sec + u.ru_stime.tv_sec) + 1e-6 * double(u.ru_utime.tv_usec + u.ru_stime.tv_usec);
}

const int Large = 4096, Small = 1024;

struct Format
{
    const char     *name;
    Int32           type;
    VipsBandFormat  vips;
};
const Format kFormats[] = { { "rgba8", Image::OSG_UINT8_IMAGEDATA, VIPS_FORMAT_UCHAR },
                            { "rgba16", Image::OSG_UINT16_IMAGEDATA, VIPS_FORMAT_USHORT },
                            { "rgbaf", Image::OSG_FLOAT32_IMAGEDATA, VIPS_FORMAT_FLOAT } };

// Smooth gradients with detail on top, so that every tap of the kernel matters.
ImagePtr makeImage(int size, Int32 type)
{
    ImagePtr img = Image::create();
    addRefCP(img);
    img->set(Image::OSG_RGBA_PF, size, size, 1, 1, 1, 0.0, NULL, type);
    UInt8 *d = img->editData();
    UInt32 seed = 1;
    for(std::size_t i = 0; i < std::size_t(size) * size * 4; ++i)
    {
        seed = seed * 1664525u + 1013904223u;
        std::size_t x = (i / 4) % std::size_t(size), y = (i / 4) / std::size_t(size);
        double v = (double((x * 3 + y * 5 + (i & 3) * 64) % 4096) / 4096.0) * 0.8 + double(seed >> 24) / 255.0 * 0.2;
        if(type == Image::OSG_UINT8_IMAGEDATA)
            d[i] = UInt8(v * 255);
        else if(type == Image::OSG_UINT16_IMAGEDATA)
            reinterpret_cast<UInt16 *>(d)[i] = UInt16(v * 65535);
        else
            reinterpret_cast<Real32 *>(d)[i] = Real32(v);
    }
    return img;
}

ImagePtr source(const Format &f, int size)
{
    static std::map<std::string, ImagePtr> cache;
    std::string key = std::string(f.name) + std::to_string(size);
    auto it = cache.find(key);
    if(it == cache.end())
        it = cache.emplace(key, makeImage(size, f.type)).first;
    return it->second;
}

void runOurs(benchmark::State &state, const Format &f, int from, int to)
{
    ImagePtr src = source(f, from);
    ImagePtr dst = Image::create();
    addRefCP(dst);
    skUtils::ImageGenericFilter lanczos(skUtils::ImageGenericFilter::Lanczos3);
    for(auto _ : state)
    {
        double t0 = cpuSeconds(RUSAGE_SELF);
        if(!ImageScaler::scale(src, dst, to, to, 1, lanczos))
            state.SkipWithError("scale failed");
        state.SetIterationTime(cpuSeconds(RUSAGE_SELF) - t0);
    }
    subRefCP(dst);
}

bool vipsReady(void)
{
    static bool ok = [] {
        if(VIPS_INIT("bench_image") != 0)
            return false;
        vips_cache_set_max(0);   // every run computes
        return true;
    }();
    return ok;
}

void runVips(benchmark::State &state, const Format &f, int from, int to)
{
    if(!vipsReady())
    {
        state.SkipWithError("libvips did not start");
        return;
    }
    ImagePtr src = source(f, from);
    for(auto _ : state)
    {
        double t0 = cpuSeconds(RUSAGE_SELF);
        VipsImage *in = vips_image_new_from_memory(src->getData(), src->getSize(), from, from, 4, f.vips);
        VipsImage *out = NULL;
        if(in == NULL || vips_resize(in, &out, double(to) / from, "kernel", VIPS_KERNEL_LANCZOS3,
                                     "gap", 0.0, NULL) != 0)
        {
            state.SkipWithError(vips_error_buffer());
            if(in)
                g_object_unref(in);
            return;
        }
        size_t bytes = 0;
        void  *mem   = vips_image_write_to_memory(out, &bytes);
        benchmark::DoNotOptimize(mem);
        g_free(mem);
        g_object_unref(out);
        g_object_unref(in);
        state.SetIterationTime(cpuSeconds(RUSAGE_SELF) - t0);
    }
}

std::string rawInput(int size)
{
    fs::path p = fs::temp_directory_path() / ("skosg-bench-scale-" + std::to_string(::getpid()) + "-" +
                                              std::to_string(size) + ".rgba");
    if(!fs::exists(p))
    {
        ImagePtr src = source(kFormats[0], size);
        std::ofstream os(p, std::ios::binary);
        os.write(reinterpret_cast<const char *>(src->getData()), std::streamsize(src->getSize()));
    }
    return p.string();
}

// resize == false runs the same conversion without resizing: start-up and raw I/O only.
void runMagick(benchmark::State &state, int from, int to, bool resize)
{
    std::string in  = rawInput(from);
    std::string out = in + ".out";
    std::string dim = std::to_string(from);
    std::string cmd = "convert -size " + dim + "x" + dim + " -depth 8 rgba:'" + in + "'" +
                      (resize ? " -filter Lanczos -resize " + std::to_string(to) + "x" + std::to_string(to) + "!" : "") +
                      " rgba:'" + out + "'";
    for(auto _ : state)
    {
        double t0 = cpuSeconds(RUSAGE_CHILDREN);
        if(std::system(cmd.c_str()) != 0)
            state.SkipWithError("convert failed");
        state.SetIterationTime(cpuSeconds(RUSAGE_CHILDREN) - t0);
    }
    fs::remove(out);
}

const bool registered = [] {
    for(const Format &f : kFormats)
        for(int down = 1; down >= 0; --down)
        {
            int from = down ? Large : Small, to = down ? Small : Large;
            std::string dir = down ? "down" : "up";
            benchmark::RegisterBenchmark(("scale/ours/" + std::string(f.name) + "/" + dir).c_str(),
                                         [=](benchmark::State &s) { runOurs(s, f, from, to); })
                ->Unit(benchmark::kMillisecond)->UseManualTime()->MinTime(1.0);
            benchmark::RegisterBenchmark(("scale/vips/" + std::string(f.name) + "/" + dir).c_str(),
                                         [=](benchmark::State &s) { runVips(s, f, from, to); })
                ->Unit(benchmark::kMillisecond)->UseManualTime()->MinTime(1.0);
            if(f.type == Image::OSG_UINT8_IMAGEDATA)
            {
                benchmark::RegisterBenchmark(("scale/magick/rgba8/" + dir).c_str(),
                                             [=](benchmark::State &s) { runMagick(s, from, to, true); })
                    ->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(2);
                benchmark::RegisterBenchmark(("scale/magick-noresize/rgba8/" + dir).c_str(),
                                             [=](benchmark::State &s) { runMagick(s, from, to, false); })
                    ->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(2);
            }
        }
    return true;
}();

double timeOf(const skbench::Results &r, const std::string &prefix)
{
    for(const auto &kv : r.seconds)
        if(kv.first.compare(0, prefix.size(), prefix) == 0)
            return kv.second;
    return 0;
}

SKBENCH_REPORT([](std::ostream &os, const skbench::Results &r) {
    os << "\nLanczos-3 scaling, CPU time of all threads (ImageMagick: of its process); speed relative to the "
          "peers, higher is faster (goals for rgba8: >= 3x ImageMagick, >= 0.7x libvips)\n";
    for(const Format &f : kFormats)
        for(const char *dir : { "down", "up" })
        {
            std::string tail = std::string(f.name) + "/" + dir;
            double ours = timeOf(r, "scale/ours/" + tail), vips = timeOf(r, "scale/vips/" + tail);
            if(ours <= 0)
                continue;
            os << "  " << tail << ": ours " << ours * 1e3 << " ms";
            if(vips > 0)
                os << ", vips " << vips * 1e3 << " ms -> " << vips / ours << "x libvips";
            double im = timeOf(r, "scale/magick/" + tail), noop = timeOf(r, "scale/magick-noresize/" + tail);
            if(im > 0)
                os << ", convert " << im * 1e3 << " ms -> " << im / ours << "x ImageMagick (process)";
            if(im > 0 && noop > 0 && im > noop)
                os << ", " << (im - noop) / ours << "x its resize alone";
            os << "\n";
        }
});

SKBENCH_CLEANUP([] {
    for(int size : { Large, Small })
        fs::remove(fs::temp_directory_path() / ("skosg-bench-scale-" + std::to_string(::getpid()) + "-" +
                                                std::to_string(size) + ".rgba"));
});

} // namespace
