#ifndef SKOSG_SPECTRAL_DETAIL_SPECTRALSAMPLING_H
#define SKOSG_SPECTRAL_DETAIL_SPECTRALSAMPLING_H

// Resampling of tabulated spectra: plain arrays in, plain arrays out, no scene graph. All
// arithmetic is in float, as the colour pipeline that consumes the results is. Target grids are
// integer nanometres, start + i * delta, computed in 64-bit so that absurd grids cannot overflow.
//
// Every function accepts any input: a null array or n < 1 gives 0 (or appends zeros), n == 1 is a
// constant, and a degenerate target (hi <= lo) falls back to the point value. Wavelengths are
// expected to be non-decreasing; unsorted input gives meaningless values but never reads out of
// bounds.

#include <cstdint>
#include <vector>

namespace skosg {
namespace spectral {

inline float lerp(float t, float a, float b) { return (1.0f - t) * a + t * b; }

/*! The piecewise-linear source (wl, val, n) at x; the end values extend beyond the data. */
float averageSamplesToSamples(const float *wl, const float *val, int n, float x);

/*! Mean of the piecewise-linear source over [lo, hi]; the end values extend beyond the data. */
float averageSamplesToIntervals(const float *wl, const float *val, int n, float lo, float hi);

/*! Mean over [lo, hi] of the piecewise-constant source whose val[k] holds on
    [edges[k], edges[k + 1]] (n edges, n - 1 values). Outside the edges the source is 0. */
float averageIntervalsToIntervals(const float *edges, const float *val, int n, float lo, float hi);

/*! Appends count point values at start + i * delta. The search cursor only moves forward, so a
    whole grid costs O(n + count). */
void resampleSamplesToSamples(int n, const float *wl, const float *val, int start, int delta,
                              int count, std::vector<float> &out);

/*! Appends count interval means over [start + i * delta, start + (i + 1) * delta]. */
void resampleSamplesToIntervals(int n, const float *wl, const float *val, int start, int delta,
                                int count, std::vector<float> &out);

/*! As resampleSamplesToIntervals for a piecewise-constant source. */
void resampleIntervalsToIntervals(int n, const float *edges, const float *val, int start,
                                  int delta, int count, std::vector<float> &out);

/*! The 40 derived samples: mean of the source over [380 + 10k, 390 + 10k] nm, k = 0..39. A
    one-sample source gives its value everywhere. Replaces out. */
void deriveSamples(const float *wl, const float *val, int n, std::vector<float> &out);

constexpr int DerivedCount = 40;
constexpr int DerivedStart = 380;
constexpr int DerivedDelta = 10;

/*! Grid wavelength start + i * delta as float, without integer overflow. */
inline float gridWavelength(int start, int delta, int i)
{
    return float(std::int64_t(start) + std::int64_t(i) * std::int64_t(delta));
}

} // namespace spectral
} // namespace skosg

#endif
