// PSD writing: our writer against ImageMagick writing the same document from the same bytes
// (whole `convert` process), and against the bound of a plain row-by-row deinterleave and
// fwrite of the same planes; the float case; peak memory of writing and reading.

#include "support/BenchSupport.h"

#include <OpenSGExt/OSGPSDImageFileType.h>
#include <OpenSG/OSGImage.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace osg;
namespace fs = std::filesystem;

const int Size = 8192;        // the 8-bit document
const int FloatSize = 4096;   // the float document (1/4 of the pixels; 256 MB of samples)

std::string benchFile(const std::string &name)
{
    return (fs::temp_directory_path() / ("skbench_psd_" + std::to_string(::getpid()) + "_" + name)).string();
}

// The test picture: smooth ramps with some noise, so that no writer profits from runs.
ImagePtr makeImage(int size, bool isFloat)
{
    ImagePtr img = Image::create();
    addRefCP(img);
    img->set(Image::OSG_RGBA_PF, size, size, 1, 1, 1, 0.0, NULL,
             isFloat ? Image::OSG_FLOAT32_IMAGEDATA : Image::OSG_UINT8_IMAGEDATA);
    UInt32 seed = 12345;
    if(isFloat)
    {
        Real32 *f = reinterpret_cast<Real32 *>(img->editData());
        for(size_t i = 0; i < size_t(size) * size * 4; ++i)
        {
            seed = seed * 1664525u + 1013904223u;
            f[i] = Real32((i % 4096) / 4096.0 + (seed >> 28) / 64.0);
        }
    }
    else
    {
        UInt8 *d = img->editData();
        for(size_t i = 0; i < size_t(size) * size * 4; ++i)
        {
            seed = seed * 1664525u + 1013904223u;
            d[i] = UInt8((i >> 2) + (seed >> 29));
        }
    }
    return img;
}

struct Fixture
{
    ImagePtr rgba8 = NullFC, rgba32f = NullFC;
    std::string rawFile;     // the 8-bit pixels top row first, as ImageMagick's rgba: input

    ImagePtr eight(void)
    {
        if(rgba8 == NullFC)
        {
            rgba8 = makeImage(Size, false);
            rawFile = benchFile("input.rgba");
            std::FILE *f = std::fopen(rawFile.c_str(), "wb");
            const size_t row = size_t(Size) * 4;
            for(int y = Size - 1; f && y >= 0; --y)
                std::fwrite(rgba8->getData() + size_t(y) * row, 1, row, f);
            if(f)
                std::fclose(f);
        }
        return rgba8;
    }
    ImagePtr floats(void)
    {
        if(rgba32f == NullFC)
            rgba32f = makeImage(FloatSize, true);
        return rgba32f;
    }
};

Fixture &fixture(void)
{
    static Fixture f;
    return f;
}

void writeOurs(benchmark::State &state, ImagePtr img)
{
    const std::string out = benchFile("ours.psd");
    for(auto _ : state)
    {
        std::ofstream os(out, std::ios::binary | std::ios::trunc);
        bool ok = PSDImageFileType::the().write(img, os, "");
        os.close();
        if(!ok || !os)
            state.SkipWithError("write failed");
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(img->getSize()));
    std::remove(out.c_str());
}

// The bound: the same planes, rows top first, deinterleaved row by row and written with fwrite
// through a 1 MiB stdio buffer (the default 4 KiB buffer would make every 8 KiB row a system
// call and a weaker bound).
void writeBound(benchmark::State &state, ImagePtr img)
{
    const std::string out = benchFile("bound.bin");
    const size_t w = size_t(img->getWidth()), h = size_t(img->getHeight());
    const size_t sample = size_t(img->getBpp()) / 4;
    std::vector<UInt8> rowBuffer(w * sample);
    UInt8 *row = rowBuffer.data();
    for(auto _ : state)
    {
        std::FILE *f = std::fopen(out.c_str(), "wb");
        if(f == NULL)
        {
            state.SkipWithError("cannot open");
            break;
        }
        std::setvbuf(f, NULL, _IOFBF, size_t(1) << 20);
        for(unsigned c = 0; c < 4; ++c)
            for(size_t y = 0; y < h; ++y)
            {
                const UInt8 *src = img->getData() + (h - 1 - y) * w * 4 * sample + c * sample;
                if(sample == 1)
                {
                    for(size_t x = 0; x < w; ++x)
                        row[x] = src[x * 4];
                }
                else
                {
                    for(size_t x = 0; x < w; ++x)
                    {
                        UInt32 v;
                        std::memcpy(&v, src + x * 16, 4);
                        v = __builtin_bswap32(v);
                        std::memcpy(row + x * 4, &v, 4);
                    }
                }
                std::fwrite(row, 1, rowBuffer.size(), f);
            }
        std::fclose(f);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(img->getSize()));
    std::remove(out.c_str());
}

void BM_PSDWrite_RGBA8(benchmark::State &state) { writeOurs(state, fixture().eight()); }
void BM_Bound_RGBA8(benchmark::State &state) { writeBound(state, fixture().eight()); }
void BM_PSDWrite_RGBA32F(benchmark::State &state) { writeOurs(state, fixture().floats()); }
void BM_Bound_RGBA32F(benchmark::State &state) { writeBound(state, fixture().floats()); }

// ImageMagick's convert, whole process, from the same bytes to an uncompressed PSD.
void BM_ImageMagick_RGBA8(benchmark::State &state)
{
    fixture().eight();
    const std::string tool = ::access("/usr/bin/convert", X_OK) == 0 ? "/usr/bin/convert" : "convert";
    const std::string out = benchFile("im.psd");
    const std::string cmd = tool + " -size " + std::to_string(Size) + "x" + std::to_string(Size) +
        " -depth 8 rgba:" + fixture().rawFile + " -compress None " + out + " 2>/dev/null";
    for(auto _ : state)
    {
        if(std::system(cmd.c_str()) != 0)
            state.SkipWithError("convert failed");
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(Size) * Size * 4);
    std::remove(out.c_str());
}

long peakKiB(void)
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while(std::getline(status, line))
        if(line.compare(0, 6, "VmHWM:") == 0)
            return std::atol(line.c_str() + 6);
    return -1;
}

long currentKiB(void)
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while(std::getline(status, line))
        if(line.compare(0, 6, "VmRSS:") == 0)
            return std::atol(line.c_str() + 6);
    return -1;
}

void resetPeak(void)
{
    std::ofstream("/proc/self/clear_refs") << "5";
}

// Peak memory beyond the image itself, measured in a child process so that nothing else of the
// run counts: writing holds the image and the writer's buffers; reading allocates the image and
// its own buffers.
void BM_PSDMemory(benchmark::State &state)
{
    const bool reading = state.range(0) == 1;
    const std::string file = benchFile("mem.psd");
    {
        std::ofstream os(file, std::ios::binary | std::ios::trunc);
        PSDImageFileType::the().write(fixture().eight(), os, "");
    }
    double extraMiB = -1;
    for(auto _ : state)
    {
        int fds[2];
        if(::pipe(fds) != 0)
        {
            state.SkipWithError("pipe");
            break;
        }
        pid_t pid = ::fork();
        if(pid == 0)
        {
            ::close(fds[0]);
            long extra = -1;
            if(!reading)
            {
                // A fresh image of the child's own, so that its pages are resident.
                ImagePtr img = makeImage(Size, false);
                resetPeak();
                const long base = currentKiB();
                std::ofstream os(benchFile("mem_out.psd"), std::ios::binary | std::ios::trunc);
                PSDImageFileType::the().write(img, os, "");
                extra = peakKiB() - base;
                std::remove(benchFile("mem_out.psd").c_str());
            }
            else
            {
                ImagePtr target = Image::create();
                addRefCP(target);
                resetPeak();
                const long base = currentKiB();
                std::ifstream is(file, std::ios::binary);
                PSDImageFileType::the().read(target, is, "");
                extra = peakKiB() - base - long(target->getSize() / 1024);
            }
            if(::write(fds[1], &extra, sizeof(extra)) != sizeof(extra))
                ::_exit(1);
            ::_exit(0);
        }
        ::close(fds[1]);
        long extra = -1;
        if(::read(fds[0], &extra, sizeof(extra)) != sizeof(extra))
            state.SkipWithError("child failed");
        ::close(fds[0]);
        int status = 0;
        ::waitpid(pid, &status, 0);
        extraMiB = extra / 1024.0;
    }
    const double planeMiB = double(Size) * Size / (1024.0 * 1024.0);
    state.counters["extra_MiB"] = extraMiB;
    state.counters["extra_planes"] = extraMiB / planeMiB;
    std::remove(file.c_str());
}

BENCHMARK(BM_PSDWrite_RGBA8)->Unit(benchmark::kMillisecond)->Iterations(5)->UseRealTime();
BENCHMARK(BM_Bound_RGBA8)->Unit(benchmark::kMillisecond)->Iterations(5)->UseRealTime();
BENCHMARK(BM_ImageMagick_RGBA8)->Unit(benchmark::kMillisecond)->Iterations(2)->UseRealTime();
BENCHMARK(BM_PSDWrite_RGBA32F)->Unit(benchmark::kMillisecond)->Iterations(5)->UseRealTime();
BENCHMARK(BM_Bound_RGBA32F)->Unit(benchmark::kMillisecond)->Iterations(5)->UseRealTime();
BENCHMARK(BM_PSDMemory)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->Iterations(1)->UseRealTime();

SKBENCH_REPORT([](std::ostream &os, const skbench::Results &r) {
    os << "PSD write, RGBA 8-bit " << Size << "x" << Size << ":\n";
    {
        auto find = [&](const std::string &prefix) -> double {
            for(const auto &kv : r.seconds)
                if(kv.first.compare(0, prefix.size(), prefix) == 0)
                    return kv.second;
            return 0;
        };
        const double ours = find("BM_PSDWrite_RGBA8"), bound = find("BM_Bound_RGBA8"),
                     im = find("BM_ImageMagick_RGBA8"), oursF = find("BM_PSDWrite_RGBA32F"),
                     boundF = find("BM_Bound_RGBA32F");
        if(ours > 0 && im > 0)
            os << "  vs ImageMagick convert: " << im / ours << "x faster (goal >= 2.5x)\n";
        if(ours > 0 && bound > 0)
            os << "  share of the deinterleave+fwrite bound: " << 100.0 * bound / ours
               << " % (goal >= 80 %)\n";
        if(oursF > 0 && boundF > 0)
            os << "PSD write, RGBA float " << FloatSize << "x" << FloatSize
               << ": share of the bound: " << 100.0 * boundF / oursF << " %\n";
    }
});

SKBENCH_CLEANUP([] {
    Fixture &f = fixture();
    if(f.rgba8 != NullFC)
        subRefCP(f.rgba8);
    if(f.rgba32f != NullFC)
        subRefCP(f.rgba32f);
    if(!f.rawFile.empty())
        std::remove(f.rawFile.c_str());
});

} // namespace
