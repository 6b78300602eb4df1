// The tool's own view of keyframe curves: a sampler for the cubic Bezier segments between keys
// (the library stores and tangents curves but does not evaluate them) and an SVG drawing of
// curves with their keys, tangent handles and axes.
#ifndef SKOSG_APPS_OSGEXT_CURVESKETCH_H
#define SKOSG_APPS_OSGEXT_CURVESKETCH_H

#include <OpenSGExt/OSGCCPnt.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ostream>
#include <string>
#include <vector>

namespace osgext {

struct CurveSample
{
    double t, v;
};

/*! Point of the segment from key a to key b at u in [0, 1]: the cubic Bezier through a.point,
    a.point + a.outTangent, b.point + b.inTangent, b.point, in Bernstein form. */
inline CurveSample sampleSegment(const osg::CCPnt &a, const osg::CCPnt &b, double u)
{
    const double w0 = (1 - u) * (1 - u) * (1 - u), w1 = 3 * u * (1 - u) * (1 - u),
                 w2 = 3 * u * u * (1 - u), w3 = u * u * u;
    const double x[4] = { a.point[0], double(a.point[0]) + a.outTangent[0],
                          double(b.point[0]) + b.inTangent[0], b.point[0] };
    const double y[4] = { a.point[1], double(a.point[1]) + a.outTangent[1],
                          double(b.point[1]) + b.inTangent[1], b.point[1] };
    return CurveSample{ w0 * x[0] + w1 * x[1] + w2 * x[2] + w3 * x[3],
                        w0 * y[0] + w1 * y[1] + w2 * y[2] + w3 * y[3] };
}

/*! perSegment samples of every segment in key order (u = 0, 1/n, ...), then the last key. */
inline std::vector<CurveSample> sampleCurve(const std::vector<osg::CCPnt> &keys, unsigned perSegment)
{
    std::vector<CurveSample> out;
    if(keys.empty() || perSegment == 0)
        return out;
    for(size_t s = 0; s + 1 < keys.size(); ++s)
        for(unsigned k = 0; k < perSegment; ++k)
            out.push_back(sampleSegment(keys[s], keys[s + 1], double(k) / perSegment));
    out.push_back(CurveSample{ keys.back().point[0], keys.back().point[1] });
    return out;
}

struct SketchCurve
{
    std::string             name;
    std::string             colour;
    std::vector<osg::CCPnt> keys;
};

/*! An SVG of the curves: axes through zero (or along the border when zero is out of view) with
    the ranges labelled, each curve as a path of cubic segments, its keys as circles and its
    handles as lines ending in squares. */
inline void writeCurveSvg(std::ostream &os, const std::vector<SketchCurve> &curves)
{
    const double W = 640, H = 400, M = 40;
    double t0 = 0, t1 = 1, v0 = 0, v1 = 1;
    bool   any = false;
    auto   grow = [&](double t, double v) {
        if(!std::isfinite(t) || !std::isfinite(v))
            return;
        if(!any)
        {
            t0 = t1 = t;
            v0 = v1 = v;
            any = true;
        }
        t0 = std::min(t0, t), t1 = std::max(t1, t), v0 = std::min(v0, v), v1 = std::max(v1, v);
    };
    for(const SketchCurve &c : curves)
        for(const osg::CCPnt &k : c.keys)
        {
            grow(k.point[0], k.point[1]);
            grow(double(k.point[0]) + k.inTangent[0], double(k.point[1]) + k.inTangent[1]);
            grow(double(k.point[0]) + k.outTangent[0], double(k.point[1]) + k.outTangent[1]);
        }
    if(t1 - t0 < 1e-9)
        t0 -= 0.5, t1 += 0.5;
    if(v1 - v0 < 1e-9)
        v0 -= 0.5, v1 += 0.5;
    auto X = [&](double t) { return M + (t - t0) / (t1 - t0) * (W - 2 * M); };
    auto Y = [&](double v) { return H - M - (v - v0) / (v1 - v0) * (H - 2 * M); };
    auto num = [](double d) {
        char buf[32];
        std::snprintf(buf, sizeof buf, "%.4g", std::isfinite(d) ? d : 0.0);
        return std::string(buf);
    };

    os << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
       << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << W << "\" height=\"" << H
       << "\" viewBox=\"0 0 " << W << " " << H << "\">\n"
       << "  <rect width=\"" << W << "\" height=\"" << H << "\" fill=\"white\"/>\n";
    const double ax = (t0 <= 0 && 0 <= t1) ? X(0) : M, ay = (v0 <= 0 && 0 <= v1) ? Y(0) : H - M;
    os << "  <g id=\"axes\" stroke=\"#888\" stroke-width=\"1\">\n"
       << "    <line x1=\"" << M << "\" y1=\"" << ay << "\" x2=\"" << W - M << "\" y2=\"" << ay << "\"/>\n"
       << "    <line x1=\"" << ax << "\" y1=\"" << M << "\" x2=\"" << ax << "\" y2=\"" << H - M << "\"/>\n"
       << "  </g>\n"
       << "  <g id=\"labels\" font-family=\"sans-serif\" font-size=\"11\" fill=\"#444\">\n"
       << "    <text x=\"" << M << "\" y=\"" << H - M / 3 << "\">t " << num(t0) << "</text>\n"
       << "    <text x=\"" << W - M << "\" y=\"" << H - M / 3 << "\" text-anchor=\"end\">t " << num(t1) << "</text>\n"
       << "    <text x=\"4\" y=\"" << H - M << "\">v " << num(v0) << "</text>\n"
       << "    <text x=\"4\" y=\"" << M << "\">v " << num(v1) << "</text>\n"
       << "  </g>\n";
    for(const SketchCurve &c : curves)
    {
        os << "  <g class=\"curve\" id=\"curve-" << c.name << "\">\n";
        if(!c.keys.empty())
        {
            os << "    <path fill=\"none\" stroke=\"" << c.colour << "\" stroke-width=\"2\" d=\"M "
               << X(c.keys[0].point[0]) << " " << Y(c.keys[0].point[1]);
            for(size_t s = 0; s + 1 < c.keys.size(); ++s)
            {
                const osg::CCPnt &a = c.keys[s], &b = c.keys[s + 1];
                os << " C " << X(double(a.point[0]) + a.outTangent[0]) << " "
                   << Y(double(a.point[1]) + a.outTangent[1]) << " "
                   << X(double(b.point[0]) + b.inTangent[0]) << " "
                   << Y(double(b.point[1]) + b.inTangent[1]) << " " << X(b.point[0]) << " "
                   << Y(b.point[1]);
            }
            os << "\"/>\n";
        }
        for(const osg::CCPnt &k : c.keys)
        {
            const double kx = X(k.point[0]), ky = Y(k.point[1]);
            for(const osg::Vec2f &h : { k.inTangent, k.outTangent })
            {
                const double hx = X(double(k.point[0]) + h[0]), hy = Y(double(k.point[1]) + h[1]);
                os << "    <line class=\"handle\" stroke=\"#999\" x1=\"" << kx << "\" y1=\"" << ky
                   << "\" x2=\"" << hx << "\" y2=\"" << hy << "\"/>\n"
                   << "    <rect class=\"handle-end\" fill=\"#999\" x=\"" << hx - 2 << "\" y=\""
                   << hy - 2 << "\" width=\"4\" height=\"4\"/>\n";
            }
            os << "    <circle class=\"key\" fill=\"" << c.colour << "\" cx=\"" << kx << "\" cy=\""
               << ky << "\" r=\"4\"/>\n";
        }
        os << "  </g>\n";
    }
    os << "</svg>\n";
}

} // namespace osgext

#endif
