// Reading a gzip-compressed 64 MiB YIF file against bare zlib raw inflate of the same deflate
// payload from the same file, both through 4096-byte input and output buffers.

#include "support/BenchSupport.h"

#include <OpenSGExt/OSGYIFImageFileType.h>

#include <benchmark/benchmark.h>
#include <zlib.h>

#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

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

const int Side = 4096;   // RGBA8: 64 MiB of pixels

struct Files
{
    std::string plain, gz;
    std::size_t payloadOffset = 0, pixelBytes = 0;
    bool        ok = false;
};

const Files &files(void)
{
    static Files f = [] {
        Files r;
        fs::path dir = fs::temp_directory_path() / ("skosg-bench-yif-" + std::to_string(::getpid()));
        fs::create_directories(dir);
        r.plain = (dir / "big.yif").string();
        r.gz    = r.plain + ".gz";

        ImagePtr img = Image::create();
        addRefCP(img);
        img->set(Image::OSG_RGBA_PF, Side, Side, 1, 1, 1, 0.0, NULL, Image::OSG_UINT8_IMAGEDATA);
        UInt8 *d = img->editData();
        UInt32 seed = 7;
        // A rendered-looking picture: smooth shading, flat areas and some noise.
        for(std::size_t i = 0; i < img->getSize(); ++i)
        {
            seed = seed * 1664525u + 1013904223u;
            std::size_t x = (i / 4) % Side, y = (i / 4) / Side;
            d[i] = (i & 3) == 3 ? 255 : UInt8((x / 16 + y / 8 + (i & 3) * 40) + ((seed >> 29) & ((x & 64) ? 7 : 0)));
        }
        r.pixelBytes = img->getSize();
        r.ok = YIFImageFileType::the().write(img, r.plain.c_str());
        subRefCP(img);
        r.ok = r.ok && std::system(("gzip -k -f -6 '" + r.plain + "'").c_str()) == 0;

        // Member header: 10 fixed bytes and the stored file name.
        std::ifstream is(r.gz, std::ios::binary);
        char head[10];
        is.read(head, 10);
        r.payloadOffset = 10;
        if(head[3] & 8)
            while(is.get() > 0)
                ++r.payloadOffset;
        r.payloadOffset += (head[3] & 8) ? 1 : 0;
        return r;
    }();
    return f;
}

void BM_YIFReadGzip(benchmark::State &state)
{
    const Files &f = files();
    ImagePtr img = Image::create();
    addRefCP(img);
    for(auto _ : state)
    {
        double t0 = cpuSeconds(RUSAGE_SELF);
        if(!f.ok || !YIFImageFileType::the().read(img, f.gz.c_str()))
            state.SkipWithError("read failed");
        state.SetIterationTime(cpuSeconds(RUSAGE_SELF) - t0);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(f.pixelBytes));
    subRefCP(img);
}

void BM_YIFReadPlain(benchmark::State &state)
{
    const Files &f = files();
    ImagePtr img = Image::create();
    addRefCP(img);
    for(auto _ : state)
    {
        double t0 = cpuSeconds(RUSAGE_SELF);
        if(!f.ok || !YIFImageFileType::the().read(img, f.plain.c_str()))
            state.SkipWithError("read failed");
        state.SetIterationTime(cpuSeconds(RUSAGE_SELF) - t0);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(f.pixelBytes));
    subRefCP(img);
}

// The bound: a fresh destination of the same size, the file read in 4096-byte pieces, inflated
// into a 4096-byte buffer and copied out, as a hand-written loop would.
void BM_ZlibRawInflate(benchmark::State &state)
{
    const Files &f = files();
    std::vector<unsigned char> in(4096), out(4096);
    for(auto _ : state)
    {
        double t0 = cpuSeconds(RUSAGE_SELF);
        std::vector<UInt8> dest(96 + f.pixelBytes);
        std::ifstream is(f.gz, std::ios::binary);
        is.seekg(std::streamoff(f.payloadOffset));
        z_stream zs;
        std::memset(&zs, 0, sizeof(zs));
        inflateInit2(&zs, -15);
        std::size_t done = 0;
        int rc = Z_OK;
        while(rc != Z_STREAM_END)
        {
            if(zs.avail_in == 0)
            {
                is.read(reinterpret_cast<char *>(in.data()), std::streamsize(in.size()));
                if(is.gcount() <= 0)
                    break;
                zs.next_in  = in.data();
                zs.avail_in = uInt(is.gcount());
            }
            zs.next_out  = out.data();
            zs.avail_out = uInt(out.size());
            rc = inflate(&zs, Z_NO_FLUSH);
            if(rc != Z_OK && rc != Z_STREAM_END)
                break;
            std::size_t n = out.size() - zs.avail_out;
            if(done + n > dest.size())
                break;
            std::memcpy(dest.data() + done, out.data(), n);
            done += n;
        }
        inflateEnd(&zs);
        if(done != dest.size())
            state.SkipWithError("inflate failed");
        benchmark::DoNotOptimize(dest.data());
        state.SetIterationTime(cpuSeconds(RUSAGE_SELF) - t0);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(f.pixelBytes));
}

BENCHMARK(BM_ZlibRawInflate)->Unit(benchmark::kMillisecond)->UseManualTime()->MinTime(3.0);
BENCHMARK(BM_YIFReadGzip)->Unit(benchmark::kMillisecond)->UseManualTime()->MinTime(3.0);
BENCHMARK(BM_YIFReadPlain)->Unit(benchmark::kMillisecond)->UseManualTime()->MinTime(1.0);

double timeOf(const skbench::Results &r, const std::string &prefix)
{
    for(const auto &kv : r.seconds)
        if(kv.first.compare(0, prefix.size(), prefix) == 0)
            return kv.second;
    return 0;
}

SKBENCH_REPORT([](std::ostream &os, const skbench::Results &r) {
    double yif = timeOf(r, "BM_YIFReadGzip"), zlib = timeOf(r, "BM_ZlibRawInflate");
    if(yif > 0 && zlib > 0)
        os << "\nYIF gzip read of " << (files().pixelBytes >> 20) << " MiB (compressed "
           << (fs::file_size(files().gz) >> 20) << " MiB): " << yif * 1e3 << " ms vs bare raw inflate "
           << zlib * 1e3 << " ms -> " << yif / zlib << "x the bound (goal <= 1.10x)\n";
});

SKBENCH_CLEANUP([] {
    if(!files().plain.empty())
        fs::remove_all(fs::path(files().plain).parent_path());
});

} // namespace
