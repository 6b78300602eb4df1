#include <OpenSGExt/Spectral/detail/SpectralSampling.h>

#include <algorithm>

namespace skosg {
namespace spectral {

namespace {

bool validSource(const float *wl, const float *val, int n)
{
    return wl != nullptr && val != nullptr && n >= 1;
}

// Index of the first k >= 1 with x <= wl[k] (a binary search: the wavelengths are sorted); n
// when there is none. Unsorted or NaN input gives some index in [1, n], never one outside.
int firstNotBelow(const float *wl, int n, float x)
{
    return int(std::lower_bound(wl + 1, wl + n, x) - wl);
}

// Value at x on the segment [wl[k-1], wl[k]]; equal ends (only reachable with unsorted input)
// give the right-hand value instead of a division by zero.
float onSegment(const float *wl, const float *val, int k, float x)
{
    float width = wl[k] - wl[k - 1];
    if(width == 0.0f)
        return val[k];
    float t = (x - wl[k - 1]) / width;
    return t * val[k] + (1.0f - t) * val[k - 1];
}

} // namespace

float averageSamplesToSamples(const float *wl, const float *val, int n, float x)
{
    if(!validSource(wl, val, n))
        return 0.0f;
    if(wl[0] >= x)
        return val[0];
    if(x >= wl[n - 1])
        return val[n - 1];
    int k = firstNotBelow(wl, n, x);
    if(k >= n)
        return val[n - 1];
    return onSegment(wl, val, k, x);
}

float averageSamplesToIntervals(const float *wl, const float *val, int n, float lo, float hi)
{
    if(!validSource(wl, val, n))
        return 0.0f;
    if(!(hi > lo))
        return averageSamplesToSamples(wl, val, n, lo);
    if(wl[0] >= hi)
        return val[0];
    if(lo >= wl[n - 1])
        return val[n - 1];

    // The first value extends below the data.
    float sum = wl[0] > lo ? (wl[0] - lo) * val[0] : 0.0f;
    int k = firstNotBelow(wl, n, lo);
    for(int j = k - 1; j + 1 < n && hi >= wl[j]; ++j)
    {
        float a = std::max(wl[j], lo);
        float b = std::min(wl[j + 1], hi);
        if(!(b > a))
            continue;
        sum += (b - a) * (onSegment(wl, val, j + 1, a) + onSegment(wl, val, j + 1, b)) * 0.5f;
    }
    // ... and the last one above it.
    if(hi > wl[n - 1])
        sum += (hi - wl[n - 1]) * val[n - 1];
    return sum / (hi - lo);
}

float averageIntervalsToIntervals(const float *edges, const float *val, int n, float lo, float hi)
{
    if(!validSource(edges, val, n) || !(hi > lo))
        return 0.0f;
    // No extension beyond the data: an interval source says nothing outside its edges.
    if(edges[0] >= hi || lo >= edges[n - 1])
        return 0.0f;

    float sum = 0.0f;
    int k = firstNotBelow(edges, n, lo);
    for(int j = k - 1; j + 1 < n && hi >= edges[j]; ++j)
    {
        float w = std::min(hi, edges[j + 1]) - std::max(lo, edges[j]);
        if(w > 0.0f)
            sum += val[j] * w;
    }
    return sum / (hi - lo);
}

void resampleSamplesToSamples(int n, const float *wl, const float *val, int start, int delta,
                              int count, std::vector<float> &out)
{
    if(count <= 0)
        return;
    out.reserve(out.size() + size_t(count));
    if(!validSource(wl, val, n))
    {
        out.insert(out.end(), size_t(count), 0.0f);
        return;
    }
    if(n == 1)
    {
        out.insert(out.end(), size_t(count), val[0]);
        return;
    }
    int j = 0;   // first source index with wl[j] >= x; never moves back
    for(int i = 0; i < count; ++i)
    {
        float x = gridWavelength(start, delta, i);
        while(j < n && wl[j] < x)
            ++j;
        if(j < n && wl[j] == x)
            out.push_back(val[j]);
        else if(j == 0 || j == n)
            out.push_back(averageSamplesToSamples(wl, val, n, x));
        else
            out.push_back(onSegment(wl, val, j, x));
    }
}

void resampleSamplesToIntervals(int n, const float *wl, const float *val, int start, int delta,
                                int count, std::vector<float> &out)
{
    if(count <= 0)
        return;
    out.reserve(out.size() + size_t(count));
    for(int i = 0; i < count; ++i)
    {
        if(validSource(wl, val, n) && n == 1)
            out.push_back(val[0]);
        else
            out.push_back(averageSamplesToIntervals(wl, val, n, gridWavelength(start, delta, i),
                                                    gridWavelength(start, delta, i + 1)));
    }
}

void resampleIntervalsToIntervals(int n, const float *edges, const float *val, int start,
                                  int delta, int count, std::vector<float> &out)
{
    if(count <= 0)
        return;
    out.reserve(out.size() + size_t(count));
    for(int i = 0; i < count; ++i)
        out.push_back(averageIntervalsToIntervals(edges, val, n, gridWavelength(start, delta, i),
                                                  gridWavelength(start, delta, i + 1)));
}

void deriveSamples(const float *wl, const float *val, int n, std::vector<float> &out)
{
    out.clear();
    out.reserve(DerivedCount);
    for(int i = DerivedStart + DerivedDelta; i < DerivedStart + (DerivedCount + 1) * DerivedDelta;
        i += DerivedDelta)
    {
        if(n == 1 && val != nullptr)
            out.push_back(val[0]);
        else
            out.push_back(averageSamplesToIntervals(wl, val, n, float(i - DerivedDelta), float(i)));
    }
}

} // namespace spectral
} // namespace skosg
