#ifndef SKOSG_SPECTRAL_DETAIL_SPECTRALSHAPES_H
#define SKOSG_SPECTRAL_DETAIL_SPECTRALSHAPES_H

// Spectra made from parameters: Smits' RGB decomposition and the analytic curves.

namespace skosg {
namespace spectral {

/*! Weights of Smits' seven basis spectra (white, cyan, magenta, yellow, red, green, blue) for an
    RGB triple: the smallest component times white, the gap to the middle one times the
    secondary that contains both larger components, the rest times the primary of the largest.
    Ties resolve as in Smits' paper (red tested first, then green). */
void smitsWeights(float r, float g, float b, float weights[7]);

/*! Planck's law relative to 560 nm: B(lambda, T) / B(560, T), lambda in nm, T in kelvin, with
    c2 = 1.4388e7 nm K. 0 for lambda <= 0. */
double planckRelative(double lambdaNm, double kelvin);

} // namespace spectral
} // namespace skosg

#endif
