// osgext spectrum FILE [--observer 1931|2006] [--plot out.svg]: loads a ".spectral" or text-pair
// file and prints its source summary, XYZ (the library's convention: the spectrum as a reflectance
// under D65, a perfect reflector at Y = 1), both RGB paths (skColor's matrix and the fixed sRGB
// conversion), the photometric value, and the colour of the spectrum taken as a light source
// (which is what an illuminant file means: D65 is white). --plot writes an SVG chart of the
// source over 380-780 nm with the 40 derived samples and swatches of both colours. The plot and
// colour helpers are shared with the demo (DemoSpectral.cpp).

#include "Command.h"

#include <OpenSGExt/OSGSpectralData.h>
#include <platform/skColor.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <ostream>
#include <sstream>
#include <string>

namespace osgext {

using namespace osg;

namespace {

std::string xmlEscape(const std::string &s)
{
    std::string r;
    for(char c : s)
    {
        switch(c)
        {
            case '&': r += "&amp;"; break;
            case '<': r += "&lt;"; break;
            case '>': r += "&gt;"; break;
            case '"': r += "&quot;"; break;
            default:
                // Control bytes are not allowed in XML 1.0 text.
                r += (static_cast<unsigned char>(c) < 0x20 && c != '\t') ? '?' : c;
        }
    }
    return r;
}

double srgbEncode(double linear)
{
    linear = std::min(std::max(linear, 0.0), 1.0);
    return linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1.0 / 2.4) - 0.055;
}

} // namespace

/*! "#rrggbb" of a linear sRGB colour: negatives cut to 0, scaled down to a largest component of
    1 when brighter, sRGB-encoded. */
std::string colourHex(const Vec3f &linear)
{
    double rgb[3] = {std::max(double(linear[0]), 0.0), std::max(double(linear[1]), 0.0),
                     std::max(double(linear[2]), 0.0)};
    double peak = std::max(rgb[0], std::max(rgb[1], rgb[2]));
    if(!std::isfinite(peak))
        return "#000000";
    char hex[8];
    int v[3];
    for(int k = 0; k < 3; ++k)
        v[k] = int(std::lround(255.0 * srgbEncode(peak > 1.0 ? rgb[k] / peak : rgb[k])));
    std::snprintf(hex, sizeof(hex), "#%02x%02x%02x", v[0], v[1], v[2]);
    return hex;
}

/*! XYZ of the spectrum taken as a light: its 40 samples against the colour-matching functions
    alone, scaled to Y = 1 (zeros when it has no luminance). */
Vec3f lightXYZ(const SpectrumPtr &s)
{
    SpectralData &d = SpectralData::Instance();
    if(s == NullFC || !s->isInUse() || d.getX() == NullFC || !d.getX()->isInUse())
        return Vec3f(0, 0, 0);
    double xyz[3] = {0, 0, 0};
    for(UInt32 i = 0; i < 40; ++i)
    {
        xyz[0] += double(d.getX()->getSamples(i)) * s->getSamples(i);
        xyz[1] += double(d.getY()->getSamples(i)) * s->getSamples(i);
        xyz[2] += double(d.getZ()->getSamples(i)) * s->getSamples(i);
    }
    if(!(xyz[1] > 0.0) || !std::isfinite(xyz[0] + xyz[1] + xyz[2]))
        return Vec3f(0, 0, 0);
    return Vec3f(Real32(xyz[0] / xyz[1]), 1.0f, Real32(xyz[2] / xyz[1]));
}

/*! Linear sRGB of a light's XYZ through skColor's matrix. */
Vec3f lightRGB(const Vec3f &xyz)
{
    float m[9];
    skColor::getXYZtoRGBMat(m);
    return Vec3f(m[0] * xyz[0] + m[1] * xyz[1] + m[2] * xyz[2],
                 m[3] * xyz[0] + m[4] * xyz[1] + m[5] * xyz[2],
                 m[6] * xyz[0] + m[7] * xyz[1] + m[8] * xyz[2]);
}

/*! The spectrum's colour as a reflectance under D65 (the library's convention). */
std::string reflectanceSwatch(const SpectrumPtr &s)
{
    Vec4f c = SpectralData::Instance().convertToRGBA(s, 1.0f, false);
    return colourHex(Vec3f(c[0], c[1], c[2]));
}

/*! The spectrum's colour as a light source. */
std::string lightSwatch(const SpectrumPtr &s)
{
    return colourHex(lightRGB(lightXYZ(s)));
}

/*! Writes an SVG chart: the source (piecewise linear, held constant beyond its ends) over
    380-780 nm, the 40 derived interval samples as steps, wavelength and value axes, and a swatch
    of the colour. False when the file cannot be written or the spectrum is not in use. */
bool writeSpectrumPlot(const SpectrumPtr &s, const std::string &title, const std::string &path)
{
    if(s == NullFC || !s->isInUse())
        return false;
    const double W = 760, H = 420, left = 70, right = 150, top = 40, bottom = 50;
    const double plotW = W - left - right, plotH = H - top - bottom;
    const MFReal32 &wl = s->getWavelengths();
    const MFReal32 &val = s->getSourceValues();
    const MFReal32 &samples = s->getSamples();
    const Int32 n = Int32(std::min(wl.size(), val.size()));

    // Points of the source inside the window, plus its values at the window's edges.
    std::vector<std::pair<double, double>> curve;
    auto at = [&](double l) {
        return n > 0 ? double(Spectrum::averageSamplesToSamples(&wl[0], &val[0], n, Real32(l)))
                     : 0.0;
    };
    curve.emplace_back(380.0, at(380.0));
    for(Int32 i = 0; i < n; ++i)
        if(wl[UInt32(i)] > 380.0f && wl[UInt32(i)] < 780.0f)
            curve.emplace_back(wl[UInt32(i)], val[UInt32(i)]);
    curve.emplace_back(780.0, at(780.0));

    double vmax = 0.0, vmin = 0.0;
    for(const auto &p : curve)
    {
        vmax = std::max(vmax, p.second);
        vmin = std::min(vmin, p.second);
    }
    for(UInt32 k = 0; k < 40; ++k)
    {
        vmax = std::max(vmax, double(samples[k]));
        vmin = std::min(vmin, double(samples[k]));
    }
    if(!std::isfinite(vmax) || !std::isfinite(vmin))
        return false;
    if(vmax - vmin <= 0.0)
        vmax = vmin + 1.0;
    auto x = [&](double l) { return left + (l - 380.0) / 400.0 * plotW; };
    auto y = [&](double v) { return top + (vmax - v) / (vmax - vmin) * plotH; };

    std::ostringstream svg;
    svg.precision(6);
    svg << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << W << "\" height=\"" << H
        << "\" viewBox=\"0 0 " << W << ' ' << H << "\" font-family=\"sans-serif\" font-size=\"12\">\n"
        << "<title>" << xmlEscape(title) << "</title>\n"
        << "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n"
        << "<text x=\"" << left << "\" y=\"24\" font-size=\"15\">" << xmlEscape(title)
        << "</text>\n";
    // Axes with ticks every 50 nm and five value ticks.
    svg << "<g stroke=\"#444\" fill=\"none\"><rect x=\"" << left << "\" y=\"" << top
        << "\" width=\"" << plotW << "\" height=\"" << plotH << "\"/></g>\n<g fill=\"#444\">\n";
    for(int l = 380; l <= 780; l += 50)
        svg << "<line x1=\"" << x(l) << "\" y1=\"" << top + plotH << "\" x2=\"" << x(l)
            << "\" y2=\"" << top + plotH + 5 << "\" stroke=\"#444\"/><text x=\"" << x(l)
            << "\" y=\"" << top + plotH + 18 << "\" text-anchor=\"middle\">" << l << "</text>\n";
    for(int t = 0; t <= 4; ++t)
    {
        double v = vmin + (vmax - vmin) * t / 4.0;
        svg << "<text x=\"" << left - 6 << "\" y=\"" << y(v) + 4
            << "\" text-anchor=\"end\">" << v << "</text>\n";
    }
    svg << "<text x=\"" << left + plotW / 2 << "\" y=\"" << H - 10
        << "\" text-anchor=\"middle\">wavelength (nm)</text>\n</g>\n";

    // The 40 derived samples as steps over their intervals.
    svg << "<path id=\"samples\" fill=\"none\" stroke=\"#e07020\" stroke-width=\"1.5\" d=\"";
    for(UInt32 k = 0; k < 40; ++k)
    {
        svg << (k == 0 ? 'M' : 'L') << x(380.0 + 10.0 * k) << ',' << y(samples[k]) << ' ';
        svg << 'L' << x(390.0 + 10.0 * k) << ',' << y(samples[k]) << ' ';
    }
    svg << "\"/>\n<polyline id=\"source\" fill=\"none\" stroke=\"#2050c0\" stroke-width=\"1.5\" "
           "points=\"";
    for(const auto &p : curve)
        svg << x(p.first) << ',' << y(p.second) << ' ';
    svg << "\"/>\n";

    // Legend and swatch.
    const double lx = left + plotW + 15;
    const std::string reflected = reflectanceSwatch(s), emitted = lightSwatch(s);
    svg << "<g><line x1=\"" << lx << "\" y1=\"" << top + 10 << "\" x2=\"" << lx + 20 << "\" y2=\""
        << top + 10 << "\" stroke=\"#2050c0\" stroke-width=\"2\"/><text x=\"" << lx + 26
        << "\" y=\"" << top + 14 << "\">source</text>\n<line x1=\"" << lx << "\" y1=\""
        << top + 30 << "\" x2=\"" << lx + 20 << "\" y2=\"" << top + 30
        << "\" stroke=\"#e07020\" stroke-width=\"2\"/><text x=\"" << lx + 26 << "\" y=\""
        << top + 34 << "\">40 samples</text>\n"
        << "<text x=\"" << lx << "\" y=\"" << top + 64 << "\">as reflectance</text>"
        << "<rect id=\"swatch-reflectance\" x=\"" << lx << "\" y=\"" << top + 70
        << "\" width=\"70\" height=\"70\" fill=\"" << reflected << "\" stroke=\"#444\"/>"
        << "<text x=\"" << lx << "\" y=\"" << top + 156 << "\">" << reflected << "</text>\n"
        << "<text x=\"" << lx << "\" y=\"" << top + 190 << "\">as light</text>"
        << "<rect id=\"swatch-light\" x=\"" << lx << "\" y=\"" << top + 196
        << "\" width=\"70\" height=\"70\" fill=\"" << emitted << "\" stroke=\"#444\"/>"
        << "<text x=\"" << lx << "\" y=\"" << top + 282 << "\">" << emitted
        << "</text></g>\n</svg>\n";

    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << svg.str();
    out.close();
    return bool(out);
}

namespace {

class SpectrumCommand : public Command
{
  public:
    void configure(CLI::App &app) override
    {
        app.add_option("FILE", _file, "spectrum file (.spectral versions 1 and 2, or .txt pairs)")
            ->required();
        app.add_option("--observer", _observer, "CIE standard observer")
            ->check(CLI::IsMember({"1931", "2006"}))
            ->capture_default_str();
        app.add_option("--plot", _plot, "write an SVG chart of the spectrum to this file");
    }

    int run(std::ostream &out, std::ostream &err) override
    {
        SpectralData &data = SpectralData::Instance();
        if(_observer == "2006")
            data.initCIE2006();

        SpectrumPtr s = Spectrum::create();
        addRefCP(s);
        int result = report(s, out, err);
        subRefCP(s);
        return result;
    }

  private:
    int report(const SpectrumPtr &s, std::ostream &out, std::ostream &err)
    {
        if(!s->load(_file))
        {
            err << "osgext spectrum: cannot read " << _file << "\n";
            return 1;
        }
        if(!s->isInUse())
        {
            err << "osgext spectrum: " << _file << " holds no usable spectrum\n";
            return 1;
        }
        const MFReal32 &wl = s->getWavelengths();
        const MFReal32 &val = s->getSourceValues();
        const UInt32 n = std::min(wl.size(), val.size());
        Real32 vmin = n ? *std::min_element(val.begin(), val.begin() + n) : 0.0f;

        out << "spectrum: " << _file << "\n";
        out << "  source: version " << s->getVersionID()
            << (s->getVersionID() == 1 ? " (regular)" : " (explicit wavelengths)") << ", "
            << s->getNumSamples() << " samples";
        if(n > 0)
            out << ", " << wl[0] << " to " << wl[n - 1] << " nm";
        if(s->getVersionID() == 1)
            out << ", step " << s->getDeltaWavelength() << " nm";
        out << ", values " << vmin << " to " << s->getMaxValue() << "\n";
        out << "  observer: CIE " << _observer << " 2 degree\n";

        Vec3f xyz = s->getXYZ();
        char line[160];
        std::snprintf(line, sizeof(line), "  XYZ: %.6f %.6f %.6f", xyz[0], xyz[1], xyz[2]);
        out << line;
        const Real32 sum = xyz[0] + xyz[1] + xyz[2];
        if(sum != 0.0f)
        {
            std::snprintf(line, sizeof(line), " (x %.5f, y %.5f)", xyz[0] / sum, xyz[1] / sum);
            out << line;
        }
        out << "\n";
        Vec3f rgb = s->getRGB();
        std::snprintf(line, sizeof(line), "  RGB (skColor): %.6f %.6f %.6f\n", rgb[0], rgb[1],
                      rgb[2]);
        out << line;
        Vec4f rgba = SpectralData::Instance().convertToRGBA(s, 1.0f, false);
        std::snprintf(line, sizeof(line), "  RGB (sRGB matrix): %.6f %.6f %.6f\n", rgba[0],
                      rgba[1], rgba[2]);
        out << line;
        std::snprintf(line, sizeof(line), "  photometric value: %.6g\n",
                      double(s->getPhotometricValue()));
        out << line;
        Vec3f light = lightXYZ(s);
        Vec3f lrgb = lightRGB(light);
        const Real32 lsum = light[0] + light[1] + light[2];
        std::snprintf(line, sizeof(line),
                      "  as a light (Y = 1): x %.5f, y %.5f, RGB %.6f %.6f %.6f\n",
                      lsum != 0.0f ? light[0] / lsum : 0.0f, lsum != 0.0f ? light[1] / lsum : 0.0f,
                      lrgb[0], lrgb[1], lrgb[2]);
        out << line;
        out << "  swatch: " << reflectanceSwatch(s) << " as reflectance, " << lightSwatch(s)
            << " as light\n";

        if(!_plot.empty())
        {
            if(!writeSpectrumPlot(s, _file, _plot))
            {
                err << "osgext spectrum: cannot write " << _plot << "\n";
                return 1;
            }
            out << "  plot: " << _plot << "\n";
        }
        return 0;
    }

    std::string _file;
    std::string _observer = "1931";
    std::string _plot;
};

} // namespace

OSGEXT_COMMAND(SpectrumCommand, "spectrum",
               "print the colour of a spectrum file (XYZ, RGB, photometric value) and plot it");

} // namespace osgext
