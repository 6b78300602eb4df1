// osgext curve (--keys "t,v ..." | --file F) [--type N | --in N --out N] [--verify] [--clean]
// [--samples N] [--svg OUT]: builds a keyframe curve with the library (keys added one by one with
// their tangents computed), prints its keys, handles and types, samples its cubic segments with
// the tool's own sampler and draws it as SVG.

#include "Command.h"
#include "CurveSketch.h"

#include <OpenSGExt/OSGAnimCurve.h>

#include <OpenSG/OSGLog.h>

#include <cmath>
#include <fstream>
#include <iomanip>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

namespace osgext {

namespace {

constexpr size_t MaxKeys = 1000000;

/*! "t,v t,v ..." or lines of "t v" / "t,v"; '#' starts a comment. */
bool parseKeys(const std::string &text, std::vector<osg::Pnt2f> &out, std::string &error)
{
    std::istringstream lines(text);
    std::string        line;
    while(std::getline(lines, line))
    {
        line = line.substr(0, line.find('#'));
        for(char &c : line)
            if(c == ',' || c == ';' || c == '\t')
                c = ' ';
        std::istringstream words(line);
        std::vector<std::string> parts;
        for(std::string w; words >> w; )
            parts.push_back(w);
        if(parts.size() % 2 != 0)
        {
            error = "odd number of values in \"" + line + "\"";
            return false;
        }
        for(size_t i = 0; i < parts.size(); i += 2)
        {
            double t = 0, v = 0;
            size_t used1 = 0, used2 = 0;
            try
            {
                t = std::stod(parts[i], &used1);
                v = std::stod(parts[i + 1], &used2);
            }
            catch(const std::exception &)
            {
                used1 = 0;
            }
            if(used1 != parts[i].size() || used2 != parts[i + 1].size() || !std::isfinite(t) ||
               !std::isfinite(v) || std::fabs(t) > 3e38 || std::fabs(v) > 3e38)
            {
                error = "bad key \"" + parts[i] + "," + parts[i + 1] + "\"";
                return false;
            }
            if(out.size() >= MaxKeys)
            {
                error = "more than " + std::to_string(MaxKeys) + " keys";
                return false;
            }
            out.push_back(osg::Pnt2f(osg::Real32(t), osg::Real32(v)));
        }
    }
    if(out.empty())
    {
        error = "no keys";
        return false;
    }
    return true;
}

class CurveCommand : public Command
{
  public:
    void configure(CLI::App &app) override
    {
        auto *keys = app.add_option("--keys", _keys, "keys as \"t,v t,v ...\"");
        auto *file = app.add_option("--file", _file, "text file of keys, one \"t v\" per line");
        keys->excludes(file);
        file->excludes(keys);
        auto *type = app.add_option("--type", _type, "tangent type of both handles (0-6)")
                         ->check(CLI::Range(0, 1000));
        auto *in  = app.add_option("--in", _in, "tangent type of the incoming handles")
                        ->check(CLI::Range(0, 1000));
        auto *out = app.add_option("--out", _out, "tangent type of the outgoing handles")
                        ->check(CLI::Range(0, 1000));
        type->excludes(in)->excludes(out);
        app.add_flag("--verify", _verify, "sort, drop repeated times and recompute all handles");
        app.add_flag("--clean", _clean, "remove all keys of a constant curve");
        app.add_option("--samples", _samples, "samples per segment (default 8)")
            ->check(CLI::Range(1, 10000));
        app.add_option("--svg", _svg, "write an SVG drawing of the curve");
    }

    int run(std::ostream &out, std::ostream &err) override
    {
        std::string text = _keys;
        if(_keys.empty() && _file.empty())
        {
            err << "osgext curve: give --keys or --file" << std::endl;
            return 1;
        }
        if(!_file.empty())
        {
            std::ifstream in(_file, std::ios::binary);
            if(!in)
            {
                err << "osgext curve: cannot read " << _file << std::endl;
                return 1;
            }
            std::ostringstream all;
            all << in.rdbuf();
            text = all.str();
        }
        std::vector<osg::Pnt2f> points;
        std::string             error;
        if(!parseKeys(text, points, error))
        {
            err << "osgext curve: " << error << std::endl;
            return 1;
        }

        const osg::UInt32 inType  = _type >= 0 ? osg::UInt32(_type) : _in >= 0 ? osg::UInt32(_in) : 2u;
        const osg::UInt32 outType = _type >= 0 ? osg::UInt32(_type) : _out >= 0 ? osg::UInt32(_out) : 2u;
        osg::AnimCurvePtr curve   = osg::AnimCurve::create();
        osg::addRefCP(curve);
        const osg::Vec2f zero(0.f, 0.f);
        beginEditCP(curve, osg::AnimCurve::ControlPointsFieldMask);
        for(const osg::Pnt2f &p : points)
            curve->addPoint(p, zero, zero, inType, outType, true, true);
        if(_verify)
            curve->verify(true, true, true);
        if(_clean)
            curve->clearConstantControlPoints();
        endEditCP(curve, osg::AnimCurve::ControlPointsFieldMask);

        const std::vector<osg::CCPnt> keys(curve->getControlPoints().begin(),
                                           curve->getControlPoints().end());
        osg::subRefCP(curve);

        out << std::setprecision(6);
        out << "keys: " << keys.size() << "\n";
        for(size_t i = 0; i < keys.size(); ++i)
        {
            const osg::CCPnt &k = keys[i];
            out << "  [" << i << "] (" << k.point[0] << ", " << k.point[1] << ")  in ("
                << k.inTangent[0] << ", " << k.inTangent[1] << ") type " << k.inTangentType
                << "  out (" << k.outTangent[0] << ", " << k.outTangent[1] << ") type "
                << k.outTangentType << "\n";
        }
        const std::vector<CurveSample> samples = sampleCurve(keys, _samples);
        out << "samples: " << samples.size() << "\n";
        for(const CurveSample &s : samples)
            out << "  " << s.t << " " << s.v << "\n";

        if(!_svg.empty())
        {
            std::ofstream svg(_svg, std::ios::binary);
            if(svg)
                writeCurveSvg(svg, { SketchCurve{ "curve", "#1f5fbf", keys } });
            if(!svg)
            {
                err << "osgext curve: cannot write " << _svg << std::endl;
                return 1;
            }
            out << "svg: " << _svg << "\n";
        }
        return 0;
    }

  private:
    std::string _keys, _file, _svg;
    int         _type = -1, _in = -1, _out = -1;
    unsigned    _samples = 8;
    bool        _verify = false, _clean = false;
};

} // namespace

OSGEXT_COMMAND(CurveCommand, "curve",
               "build a keyframe curve, print its keys and handles, sample and draw it");

} // namespace osgext
