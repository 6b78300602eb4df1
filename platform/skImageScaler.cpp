#include <platform/skImageScaler.h>

#include <OpenSG/OSGReal16.h>

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>

#include <algorithm>
#include <cctype>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <limits>

namespace skUtils {

namespace {

const double kPi = 3.14159265358979323846;

double sinc(double x)
{
    if(std::fabs(x) < 1e-9)
        return 1.0;
    double px = kPi * x;
    return std::sin(px) / px;
}

double cubic(double x, double b, double c)
{
    x = std::fabs(x);
    if(x < 1.0)
        return ((12 - 9 * b - 6 * c) * x * x * x + (-18 + 12 * b + 6 * c) * x * x + (6 - 2 * b)) / 6.0;
    if(x < 2.0)
        return ((-b - 6 * c) * x * x * x + (6 * b + 30 * c) * x * x + (-12 * b - 48 * c) * x +
                (8 * b + 24 * c)) / 6.0;
    return 0.0;
}

struct FilterName
{
    const char                *name;
    ImageGenericFilter::Kind   kind;
};

const FilterName kNames[] = {
    { "box",        ImageGenericFilter::Box               },
    { "bilinear",   ImageGenericFilter::Bilinear          },
    { "mitchell",   ImageGenericFilter::MitchellNetravali },
    { "catmullrom", ImageGenericFilter::CatmullRom        },
    { "lanczos3",   ImageGenericFilter::Lanczos3          },
    { "nearest",    ImageGenericFilter::Box               },
    { "triangle",   ImageGenericFilter::Bilinear          },
    { "linear",     ImageGenericFilter::Bilinear          },
    { "lanczos",    ImageGenericFilter::Lanczos3          },
};

} // namespace

double ImageGenericFilter::support(void) const
{
    switch(_kind)
    {
        case Box:               return 0.5;
        case Bilinear:          return 1.0;
        case MitchellNetravali:
        case CatmullRom:        return 2.0;
        case Lanczos3:          return 3.0;
    }
    return 0.5;
}

double ImageGenericFilter::evaluate(double x) const
{
    switch(_kind)
    {
        case Box:
            // Half-open, so a sample half-way between two pixels belongs to exactly one of them.
            return (x >= -0.5 && x < 0.5) ? 1.0 : 0.0;
        case Bilinear:
            x = std::fabs(x);
            return x < 1.0 ? 1.0 - x : 0.0;
        case MitchellNetravali:
            return cubic(x, 1.0 / 3.0, 1.0 / 3.0);
        case CatmullRom:
            return cubic(x, 0.0, 0.5);
        case Lanczos3:
            return std::fabs(x) < 3.0 ? sinc(x) * sinc(x / 3.0) : 0.0;
    }
    return 0.0;
}

const char *ImageGenericFilter::name(void) const
{
    for(const FilterName &n : kNames)
        if(n.kind == _kind)
            return n.name;
    return "";
}

bool ImageGenericFilter::fromName(const std::string &name, ImageGenericFilter &filter)
{
    std::string lower;
    for(char ch : name)
        if(ch != '-' && ch != '_')
            lower += char(std::tolower(static_cast<unsigned char>(ch)));
    for(const FilterName &n : kNames)
        if(lower == n.name)
        {
            filter = ImageGenericFilter(n.kind);
            return true;
        }
    return false;
}

std::string ImageGenericFilter::names(void)
{
    std::string s;
    for(int k = 0; k < 5; ++k)
        s += std::string(k ? ", " : "") + kNames[k].name;
    return s;
}

namespace {

bool mulOk(std::size_t a, std::size_t b, std::size_t &r)
{
    if(a != 0 && b > std::numeric_limits<std::size_t>::max() / a)
        return false;
    r = a * b;
    return true;
}

// Bytes of w x h x d pixels; false on overflow or beyond what a pointer can address.
bool bufferBytes(int w, int h, int d, int comps, std::size_t valueSize, std::size_t &bytes)
{
    std::size_t n = valueSize;
    return mulOk(n, std::size_t(w), n) && mulOk(n, std::size_t(h), n) &&
           mulOk(n, std::size_t(d), n) && mulOk(n, std::size_t(comps), n) &&
           n <= std::size_t(std::numeric_limits<std::ptrdiff_t>::max()) && (bytes = n, true);
}

// Weights of one axis: output i reads `count` consecutive inputs from start[i], with the weights
// weights[i * count ...]; windows cut at the edges are renormalised over the inputs that exist.
template <class Acc>
struct AxisTaps
{
    int              count = 0;
    std::vector<int> start;
    std::vector<Acc> weights;
    bool             identity = false;
};

template <class Acc>
AxisTaps<Acc> makeTaps(int in, int out, const ImageGenericFilter &filter)
{
    AxisTaps<Acc> taps;
    if(in == out)
    {
        taps.identity = true;
        taps.count    = 1;
        taps.start.resize(std::size_t(out));
        for(int i = 0; i < out; ++i)
            taps.start[std::size_t(i)] = i;
        taps.weights.assign(std::size_t(out), Acc(1));
        return taps;
    }

    double scale   = double(in) / double(out);
    double stretch = std::max(scale, 1.0);
    double support = filter.support() * stretch;

    std::vector<int>    lo(static_cast<std::size_t>(out)), hi(static_cast<std::size_t>(out));
    std::vector<double> raw;
    std::vector<std::size_t> rawStart(static_cast<std::size_t>(out));
    int maxCount = 1;
    for(int i = 0; i < out; ++i)
    {
        double center = (i + 0.5) * scale - 0.5;
        int    a      = std::max(0, int(std::floor(center - support)));
        int    b      = std::min(in - 1, int(std::ceil(center + support)));
        double sum    = 0;
        std::size_t first = raw.size();
        for(int j = a; j <= b; ++j)
        {
            double w = filter.evaluate((j - center) / stretch);
            raw.push_back(w);
            sum += w;
        }
        if(std::fabs(sum) < 1e-12)
        {
            // No input under the kernel (cannot happen for the filters above, but stay defined).
            raw.resize(first);
            a = b = std::min(in - 1, std::max(0, int(std::lround(center))));
            raw.push_back(1.0);
            sum = 1.0;
        }
        for(std::size_t k = first; k < raw.size(); ++k)
            raw[k] /= sum;
        // Zero weights at either end cost time and nothing else.
        while(a < b && raw[first] == 0.0)
        {
            raw.erase(raw.begin() + std::ptrdiff_t(first));
            ++a;
        }
        while(b > a && raw.back() == 0.0)
        {
            raw.pop_back();
            --b;
        }
        lo[std::size_t(i)]       = a;
        hi[std::size_t(i)]       = b;
        rawStart[std::size_t(i)] = first;
        maxCount = std::max(maxCount, b - a + 1);
    }

    taps.count = std::min(maxCount, in);
    taps.start.resize(std::size_t(out));
    taps.weights.assign(std::size_t(out) * std::size_t(taps.count), Acc(0));
    for(int i = 0; i < out; ++i)
    {
        int a = lo[std::size_t(i)], b = hi[std::size_t(i)];
        int s = std::min(a, in - taps.count);
        taps.start[std::size_t(i)] = s;
        Acc *w = &taps.weights[std::size_t(i) * std::size_t(taps.count)];
        for(int j = a; j <= b; ++j)
            w[j - s] = Acc(raw[rawStart[std::size_t(i)] + std::size_t(j - a)]);
    }
    return taps;
}

const float *halfTable(void)
{
    static const std::vector<float> table = [] {
        std::vector<float> t(65536);
        for(std::size_t i = 0; i < t.size(); ++i)
            t[i] = float(osg::Real16::fromBits(osg::UInt16(i)));
        return t;
    }();
    return table.data();
}

template <class T, class Acc>
struct DirectIO
{
    const ValueHandler *handler;
    Acc                 maxValue;

    Acc load(const unsigned char *base, std::size_t i) const
    {
        return Acc(reinterpret_cast<const T *>(base)[i]);
    }
    void store(unsigned char *base, std::size_t i, Acc v) const
    {
        // Written as !(v > 0) so that NaN stores 0.
        if(!(v > Acc(0)))
            v = Acc(0);
        else if(v > maxValue)
            v = maxValue;
        if(std::numeric_limits<T>::is_integer)
            reinterpret_cast<T *>(base)[i] = T(v + Acc(0.5));
        else
            reinterpret_cast<T *>(base)[i] = T(v);
    }
};

struct HalfIO
{
    const ValueHandler *handler;
    float               maxValue;
    const float        *table = halfTable();

    float load(const unsigned char *base, std::size_t i) const
    {
        return table[reinterpret_cast<const osg::UInt16 *>(base)[i]];
    }
    void store(unsigned char *base, std::size_t i, float v) const
    {
        if(!(v > 0.f))
            v = 0.f;
        else if(v > maxValue)
            v = maxValue;
        reinterpret_cast<osg::UInt16 *>(base)[i] = osg::Real16::fromFloat(v);
    }
};

struct HandlerIO
{
    const ValueHandler *handler;
    double              maxValue;

    double load(const unsigned char *base, std::size_t i) const { return handler->get(base, i); }
    void store(unsigned char *base, std::size_t i, double v) const
    {
        if(!(v > 0.0))
            v = 0.0;
        else if(v > maxValue)
            v = maxValue;
        handler->set(base, i, v);
    }
};

struct Geometry
{
    int sw, sh, sd, dw, dh, dd, comps;
};

// acc[k] += w * value k of the row, for the row's n values.
template <class Acc, class IO>
inline void accumulateRow(Acc *__restrict acc, const IO &io, const unsigned char *row, Acc w,
                          std::size_t n)
{
    for(std::size_t k = 0; k < n; ++k)
        acc[k] += w * io.load(row, k);
}

template <int C, class Acc, class IO>
void filterRowFixed(const Acc *__restrict in, const AxisTaps<Acc> &tx, int dw, const IO &io,
                    unsigned char *out)
{
    const int n = tx.count;
    for(int x = 0; x < dw; ++x)
    {
        const Acc *w = &tx.weights[std::size_t(x) * std::size_t(n)];
        const Acc *p = in + std::size_t(tx.start[std::size_t(x)]) * C;
        Acc sum[C] = {};
        for(int t = 0; t < n; ++t)
            for(int c = 0; c < C; ++c)
                sum[c] += w[t] * p[t * C + c];
        for(int c = 0; c < C; ++c)
            io.store(out, std::size_t(x) * C + std::size_t(c), sum[c]);
    }
}

template <class Acc, class IO>
void filterRow(const Acc *in, const AxisTaps<Acc> &tx, int dw, int comps, const IO &io,
               unsigned char *out)
{
    switch(comps)
    {
        case 1: filterRowFixed<1>(in, tx, dw, io, out); return;
        case 2: filterRowFixed<2>(in, tx, dw, io, out); return;
        case 3: filterRowFixed<3>(in, tx, dw, io, out); return;
        case 4: filterRowFixed<4>(in, tx, dw, io, out); return;
        default: break;
    }
    const int n = tx.count;
    for(int x = 0; x < dw; ++x)
    {
        const Acc *w = &tx.weights[std::size_t(x) * std::size_t(n)];
        for(int c = 0; c < comps; ++c)
        {
            const Acc *p = in + std::size_t(tx.start[std::size_t(x)]) * std::size_t(comps) + std::size_t(c);
            Acc sum = 0;
            for(int t = 0; t < n; ++t)
                sum += w[t] * p[std::size_t(t) * std::size_t(comps)];
            io.store(out, std::size_t(x) * std::size_t(comps) + std::size_t(c), sum);
        }
    }
}

// Output rows [first, last) of all slices, numbered slice-major: each row combines the source rows
// under the depth and height kernels (in that order of loops), then filters across the width.
template <class Acc, class IO>
void scaleRows(const unsigned char *src, unsigned char *dst, const Geometry &g,
               const AxisTaps<Acc> &tx, const AxisTaps<Acc> &ty, const AxisTaps<Acc> &tz,
               const IO &io, std::size_t valueSize, std::size_t first, std::size_t last)
{
    const std::size_t srcRowValues = std::size_t(g.sw) * std::size_t(g.comps);
    const std::size_t dstRowValues = std::size_t(g.dw) * std::size_t(g.comps);
    std::vector<Acc>  acc(srcRowValues);

    for(std::size_t r = first; r < last; ++r)
    {
        std::size_t z = r / std::size_t(g.dh), y = r % std::size_t(g.dh);
        unsigned char *out = dst + r * dstRowValues * valueSize;

        std::fill(acc.begin(), acc.end(), Acc(0));
        const Acc *wz = &tz.weights[z * std::size_t(tz.count)];
        const Acc *wy = &ty.weights[y * std::size_t(ty.count)];
        for(int kz = 0; kz < tz.count; ++kz)
        {
            if(wz[kz] == Acc(0))
                continue;
            std::size_t zi = std::size_t(tz.start[z] + kz);
            for(int ky = 0; ky < ty.count; ++ky)
            {
                Acc w = wz[kz] * wy[ky];
                if(w == Acc(0))
                    continue;
                std::size_t yi = std::size_t(ty.start[y] + ky);
                const unsigned char *row =
                    src + (zi * std::size_t(g.sh) + yi) * srcRowValues * valueSize;
                accumulateRow(acc.data(), io, row, w, srcRowValues);
            }
        }

        if(tx.identity)
            for(std::size_t k = 0; k < dstRowValues; ++k)
                io.store(out, k, acc[k]);
        else
            filterRow(acc.data(), tx, g.dw, g.comps, io, out);
    }
}

template <class Acc, class IO>
void scaleAll(const std::vector<const unsigned char *> &src, const std::vector<unsigned char *> &dst,
              const Geometry &g, const IO &io, std::size_t valueSize, const ImageGenericFilter &filter)
{
    AxisTaps<Acc> tx = makeTaps<Acc>(g.sw, g.dw, filter);
    AxisTaps<Acc> ty = makeTaps<Acc>(g.sh, g.dh, filter);
    AxisTaps<Acc> tz = makeTaps<Acc>(g.sd, g.dd, filter);

    const std::size_t rows = std::size_t(g.dh) * std::size_t(g.dd);
    // Rows are independent, so splitting them changes nothing in the result; small images are not
    // worth waking other threads for.
    const double work = double(rows) * double(g.dw) * double(g.comps) *
                        double(tx.count + std::size_t(ty.count) * std::size_t(tz.count));
    const bool parallel = work > 4.0e6 && io.handler->storage() != ValueHandler::Storage::Other;

    for(std::size_t i = 0; i < src.size(); ++i)
    {
        if(parallel)
            tbb::parallel_for(tbb::blocked_range<std::size_t>(0, rows, 8),
                              [&](const tbb::blocked_range<std::size_t> &range) {
                                  scaleRows(src[i], dst[i], g, tx, ty, tz, io, valueSize,
                                            range.begin(), range.end());
                              });
        else
            scaleRows(src[i], dst[i], g, tx, ty, tz, io, valueSize, 0, rows);
    }
}

void dispatch(const std::vector<const unsigned char *> &src, const std::vector<unsigned char *> &dst,
              const Geometry &g, const ValueHandler &handler, const ImageGenericFilter &filter)
{
    const std::size_t vs = handler.valueSize();
    switch(handler.storage())
    {
        case ValueHandler::Storage::UInt8:
            scaleAll<float>(src, dst, g, DirectIO<std::uint8_t, float>{ &handler, float(handler.maxValue()) }, vs, filter);
            return;
        case ValueHandler::Storage::UInt16:
            scaleAll<float>(src, dst, g, DirectIO<std::uint16_t, float>{ &handler, float(handler.maxValue()) }, vs, filter);
            return;
        case ValueHandler::Storage::UInt32:
            scaleAll<double>(src, dst, g, DirectIO<std::uint32_t, double>{ &handler, handler.maxValue() }, vs, filter);
            return;
        case ValueHandler::Storage::Float32:
            scaleAll<float>(src, dst, g, DirectIO<float, float>{ &handler, float(std::min(handler.maxValue(), double(FLT_MAX))) }, vs, filter);
            return;
        case ValueHandler::Storage::Float16:
            scaleAll<float>(src, dst, g, HalfIO{ &handler, float(std::min(handler.maxValue(), 65504.0)) }, vs, filter);
            return;
        case ValueHandler::Storage::Other:
            break;
    }
    scaleAll<double>(src, dst, g, HandlerIO{ &handler, handler.maxValue() }, vs, filter);
}

bool storageMatches(const ValueHandler &handler)
{
    std::size_t expected = 0;
    switch(handler.storage())
    {
        case ValueHandler::Storage::UInt8:   expected = 1; break;
        case ValueHandler::Storage::UInt16:  expected = 2; break;
        case ValueHandler::Storage::UInt32:  expected = 4; break;
        case ValueHandler::Storage::Float32: expected = 4; break;
        case ValueHandler::Storage::Float16: expected = 2; break;
        case ValueHandler::Storage::Other:   return handler.valueSize() > 0;
    }
    return handler.valueSize() == expected;
}

bool overlaps(const unsigned char *a, std::size_t na, const unsigned char *b, std::size_t nb)
{
    std::uintptr_t pa = reinterpret_cast<std::uintptr_t>(a), pb = reinterpret_cast<std::uintptr_t>(b);
    return pa < pb + nb && pb < pa + na;
}

} // namespace

bool ImageScaler::scale(const std::vector<const unsigned char *> &src,
                        const std::vector<unsigned char *>       &dst,
                        int srcWidth, int srcHeight, int srcDepth,
                        int dstWidth, int dstHeight, int dstDepth,
                        int components,
                        const ValueHandler       &handler,
                        const ImageGenericFilter &filter)
{
    if(src.size() != dst.size() || srcWidth <= 0 || srcHeight <= 0 || srcDepth <= 0 ||
       dstWidth <= 0 || dstHeight <= 0 || dstDepth <= 0 || components <= 0 ||
       !storageMatches(handler) || !(handler.maxValue() > 0))
        return false;

    std::size_t srcBytes = 0, dstBytes = 0;
    if(!bufferBytes(srcWidth, srcHeight, srcDepth, components, handler.valueSize(), srcBytes) ||
       !bufferBytes(dstWidth, dstHeight, dstDepth, components, handler.valueSize(), dstBytes))
        return false;

    for(std::size_t i = 0; i < src.size(); ++i)
    {
        if(src[i] == nullptr || dst[i] == nullptr)
            return false;
        for(std::size_t j = 0; j < dst.size(); ++j)
            if(overlaps(src[i], srcBytes, dst[j], dstBytes) ||
               (j != i && overlaps(dst[i], dstBytes, dst[j], dstBytes)))
                return false;
    }

    Geometry g = { srcWidth, srcHeight, srcDepth, dstWidth, dstHeight, dstDepth, components };
    dispatch(src, dst, g, handler, filter);
    return true;
}

std::size_t ImageScaler::mipmapBytes(int width, int height, int depth, int levels, int components,
                                     std::size_t valueSize)
{
    if(width <= 0 || height <= 0 || depth <= 0 || levels <= 0 || components <= 0 || valueSize == 0)
        return 0;
    std::size_t total = 0;
    for(int l = 0; l < levels; ++l)
    {
        std::size_t bytes = 0;
        if(!bufferBytes(width, height, depth, components, valueSize, bytes) ||
           total > std::numeric_limits<std::size_t>::max() - bytes)
            return 0;
        total += bytes;
        width  = std::max(width / 2, 1);
        height = std::max(height / 2, 1);
        depth  = std::max(depth / 2, 1);
    }
    return total;
}

bool ImageScaler::buildMipmaps(const std::vector<unsigned char *> &buffers,
                               int width, int height, int depth, int levels,
                               int components,
                               const ValueHandler       &handler,
                               const ImageGenericFilter &filter)
{
    if(levels <= 1)
        return true;
    if(mipmapBytes(width, height, depth, levels, components, handler.valueSize()) == 0 ||
       !storageMatches(handler))
        return false;
    for(unsigned char *b : buffers)
        if(b == nullptr)
            return false;

    for(unsigned char *b : buffers)
    {
        unsigned char *level = b;
        int w = width, h = height, d = depth;
        for(int l = 1; l < levels; ++l)
        {
            int nw = std::max(w / 2, 1), nh = std::max(h / 2, 1), nd = std::max(d / 2, 1);
            unsigned char *next = level + mipmapBytes(w, h, d, 1, components, handler.valueSize());
            if(!scale({ level }, { next }, w, h, d, nw, nh, nd, components, handler, filter))
                return false;
            level = next;
            w = nw;
            h = nh;
            d = nd;
        }
    }
    return true;
}

} // namespace skUtils
