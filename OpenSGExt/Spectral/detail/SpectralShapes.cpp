#include <OpenSGExt/Spectral/detail/SpectralShapes.h>

#include <cmath>

namespace skosg {
namespace spectral {

void smitsWeights(float r, float g, float b, float weights[7])
{
    enum { White, Cyan, Magenta, Yellow, Red, Green, Blue };
    for(int i = 0; i < 7; ++i)
        weights[i] = 0.0f;

    if(r <= g && r <= b)
    {
        weights[White] = r;
        if(g <= b)
        {
            weights[Cyan] = g - r;
            weights[Blue] = b - g;
        }
        else
        {
            weights[Cyan]  = b - r;
            weights[Green] = g - b;
        }
    }
    else if(g <= r && g <= b)
    {
        weights[White] = g;
        if(r <= b)
        {
            weights[Magenta] = r - g;
            weights[Blue]    = b - r;
        }
        else
        {
            weights[Magenta] = b - g;
            weights[Red]     = r - b;
        }
    }
    else
    {
        weights[White] = b;
        if(r <= g)
        {
            weights[Yellow] = r - b;
            weights[Green]  = g - r;
        }
        else
        {
            weights[Yellow] = g - b;
            weights[Red]    = r - g;
        }
    }
}

double planckRelative(double lambdaNm, double kelvin)
{
    if(!(lambdaNm > 0.0) || !(kelvin > 0.0))
        return 0.0;
    const double c2 = 1.4388e7;   // nm K
    double a = c2 / (560.0 * kelvin);
    double b = c2 / (lambdaNm * kelvin);
    // (e^a - 1) / (e^b - 1) written as e^(a - b) (1 - e^-a) / (1 - e^-b): no overflow for cold
    // bodies and no cancellation for hot ones.
    double ratio = 560.0 / lambdaNm;
    double r5 = ratio * ratio * ratio * ratio * ratio;
    return r5 * std::exp(a - b) * std::expm1(-a) / std::expm1(-b);
}

} // namespace spectral
} // namespace skosg
