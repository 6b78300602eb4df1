// The animation parts of the tool: `osgext curve` (its keys and handles against values worked out
// by hand, its samples against a de Casteljau evaluation of the printed keys, its SVG parsed back)
// and the demo's animation summary.

#include "apps/osgext/CurveSketch.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

struct ToolRun
{
    int         status;
    std::string out;
};

ToolRun runTool(const std::string &args, const fs::path &dir)
{
    const std::string cmd = "cd '" + dir.string() + "' && '" SKOSG_OSGEXT_PATH "' " + args + " 2>&1";
    ToolRun   r{ -1, {} };
    FILE *p = popen(cmd.c_str(), "r");
    if(p == nullptr)
        return r;
    char buf[4096];
    size_t n;
    while((n = fread(buf, 1, sizeof buf, p)) > 0)
        r.out.append(buf, n);
    int st   = pclose(p);
    r.status = WIFEXITED(st) ? WEXITSTATUS(st) : -1;
    return r;
}

fs::path tempDir(const char *name)
{
    fs::path d = fs::temp_directory_path() / (std::string("skosg-anim-") + name + "-" +
                                              std::to_string(::getpid()));
    fs::remove_all(d);
    fs::create_directories(d);
    return d;
}

struct XY
{
    double x, y;
};

XY deCasteljau(XY p0, XY p1, XY p2, XY p3, double u)
{
    XY p[4] = { p0, p1, p2, p3 };
    for(int level = 3; level > 0; --level)
        for(int i = 0; i < level; ++i)
            p[i] = XY{ p[i].x + (p[i + 1].x - p[i].x) * u, p[i].y + (p[i + 1].y - p[i].y) * u };
    return p[0];
}

struct Key
{
    double t, v, inX, inY, outX, outY;
    int    inType, outType;
};

std::vector<Key> parseKeys(const std::string &out)
{
    std::vector<Key> keys;
    std::regex re(R"(\[\d+\] \(([-\d.e+]+), ([-\d.e+]+)\)  in \(([-\d.e+]+), ([-\d.e+]+)\) type (\d+)  out \(([-\d.e+]+), ([-\d.e+]+)\) type (\d+))");
    for(std::sregex_iterator it(out.begin(), out.end(), re), end; it != end; ++it)
    {
        const std::smatch &m = *it;
        keys.push_back(Key{ std::stod(m[1]), std::stod(m[2]), std::stod(m[3]), std::stod(m[4]),
                            std::stod(m[6]), std::stod(m[7]), std::stoi(m[5]), std::stoi(m[8]) });
    }
    return keys;
}

std::vector<XY> parseSamples(const std::string &out)
{
    std::vector<XY>    s;
    std::istringstream in(out.substr(out.find("samples:")));
    std::string        line;
    std::getline(in, line);
    double t, v;
    while(std::getline(in, line) && std::istringstream(line) >> t >> v)
        s.push_back(XY{ t, v });
    return s;
}

size_t countOf(const std::string &text, const std::string &what)
{
    size_t n = 0;
    for(size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
        ++n;
    return n;
}

// Elements open and close in order (a minimal well-formedness check of the SVG's markup).
bool tagsBalanced(const std::string &xml)
{
    std::vector<std::string> open;
    std::regex               tag(R"(<(/?)([A-Za-z][\w:-]*)[^>]*?(/?)>)");
    for(std::sregex_iterator it(xml.begin(), xml.end(), tag), end; it != end; ++it)
    {
        const std::smatch &m = *it;
        if(m[3] == "/")
            continue;
        if(m[1] == "/")
        {
            if(open.empty() || open.back() != m[2])
                return false;
            open.pop_back();
        }
        else
            open.push_back(m[2]);
    }
    return open.empty();
}

} // namespace

TEST(AnimationTool, SamplerMatchesDeCasteljau)
{
    std::mt19937                           rng(7);
    std::uniform_real_distribution<float>  d(-5.f, 5.f);
    for(int i = 0; i < 50; ++i)
    {
        osg::CCPnt a(osg::Pnt2f(d(rng), d(rng)), osg::Vec2f(d(rng), d(rng)), osg::Vec2f(d(rng), d(rng)));
        osg::CCPnt b(osg::Pnt2f(d(rng), d(rng)), osg::Vec2f(d(rng), d(rng)), osg::Vec2f(d(rng), d(rng)));
        XY p0{ a.point[0], a.point[1] }, p3{ b.point[0], b.point[1] };
        XY p1{ p0.x + a.outTangent[0], p0.y + a.outTangent[1] };
        XY p2{ p3.x + b.inTangent[0], p3.y + b.inTangent[1] };
        for(double u : { 0.0, 0.1, 0.5, 0.77, 1.0 })
        {
            osgext::CurveSample s = osgext::sampleSegment(a, b, u);
            XY                  r = deCasteljau(p0, p1, p2, p3, u);
            EXPECT_NEAR(s.t, r.x, 1e-12);
            EXPECT_NEAR(s.v, r.y, 1e-12);
        }
    }
}

TEST(AnimationTool, CurveCommandKeysSamplesAndSvg)
{
    fs::path dir = tempDir("curve");
    ToolRun      r   = runTool("curve --keys \"0,0 1,2 3,1\" --type 3 --samples 4 --svg c.svg", dir);
    ASSERT_EQ(r.status, 0) << r.out;
    std::vector<Key> k = parseKeys(r.out);
    ASSERT_EQ(k.size(), 3u) << r.out;
    // Type 3 by hand: first key along the chord to the next, a third of its run; the middle key
    // along the chord prev..next, lengths a third of each side's run; the last along the chord
    // from the previous key.
    const double want[3][4] = { { -1.0 / 3, 2.0 * -1.0 / 3, 1.0 / 3, 2.0 / 3 },
                                { -1.0 / 3, (1.0 / 3) * -1.0 / 3, 2.0 / 3, (1.0 / 3) * 2.0 / 3 },
                                { -2.0 / 3, -0.5 * -2.0 / 3, 2.0 / 3, -0.5 * 2.0 / 3 } };
    for(int i = 0; i < 3; ++i)
    {
        EXPECT_NEAR(k[i].inX, want[i][0], 1e-5) << i;
        EXPECT_NEAR(k[i].inY, want[i][1], 1e-5) << i;
        EXPECT_NEAR(k[i].outX, want[i][2], 1e-5) << i;
        EXPECT_NEAR(k[i].outY, want[i][3], 1e-5) << i;
        EXPECT_EQ(k[i].inType, 3);
        EXPECT_EQ(k[i].outType, 3);
    }
    std::vector<XY> s = parseSamples(r.out);
    ASSERT_EQ(s.size(), 2u * 4 + 1);
    for(size_t seg = 0; seg < 2; ++seg)
    {
        const Key &a = k[seg], &b = k[seg + 1];
        for(int j = 0; j < 4; ++j)
        {
            XY ref = deCasteljau({ a.t, a.v }, { a.t + a.outX, a.v + a.outY },
                                 { b.t + b.inX, b.v + b.inY }, { b.t, b.v }, j / 4.0);
            EXPECT_NEAR(s[seg * 4 + j].x, ref.x, 1e-4);
            EXPECT_NEAR(s[seg * 4 + j].y, ref.y, 1e-4);
        }
    }
    EXPECT_NEAR(s.back().x, 3.0, 1e-9);

    std::ifstream     in(dir / "c.svg");
    std::stringstream svg;
    svg << in.rdbuf();
    const std::string text = svg.str();
    ASSERT_EQ(text.rfind("<?xml", 0), 0u);
    EXPECT_TRUE(tagsBalanced(text));
    EXPECT_NE(text.find("<svg xmlns=\"http://www.w3.org/2000/svg\""), std::string::npos);
    EXPECT_EQ(countOf(text, "<circle class=\"key\""), 3u);
    EXPECT_EQ(countOf(text, "<line class=\"handle\""), 6u);
    EXPECT_EQ(countOf(text, " C "), 2u);
    EXPECT_NE(text.find("<g id=\"axes\""), std::string::npos);
    fs::remove_all(dir);
}

TEST(AnimationTool, CurveCommandOptionsAndBadInput)
{
    fs::path dir = tempDir("curvebad");
    {
        std::ofstream f(dir / "keys.txt");
        f << "# time value\n2 1\n0 1\n1 1\n";
    }
    ToolRun r = runTool("curve --file keys.txt --in 0 --out 6 --verify", dir);
    ASSERT_EQ(r.status, 0) << r.out;
    std::vector<Key> k = parseKeys(r.out);
    ASSERT_EQ(k.size(), 3u);
    EXPECT_EQ(k[0].t, 0.0);
    EXPECT_EQ(k[2].outX, 10.0);
    EXPECT_EQ(k[1].inX, 0.0);
    r = runTool("curve --file keys.txt --clean", dir);
    EXPECT_NE(r.out.find("keys: 0"), std::string::npos) << r.out;

    EXPECT_EQ(runTool("curve --keys \"0,0 1,nan\"", dir).status, 1);
    EXPECT_EQ(runTool("curve --keys \"0,0 1\"", dir).status, 1);
    EXPECT_EQ(runTool("curve --file missing.txt", dir).status, 1);
    EXPECT_EQ(runTool("curve", dir).status, 1);
    EXPECT_EQ(runTool("curve --keys \"0,0\" --type 3 --in 1", dir).status, 2);
    EXPECT_EQ(runTool("curve --keys \"0,0\" --file keys.txt", dir).status, 2);
    fs::remove_all(dir);
}

TEST(AnimationTool, DemoAnimationSummary)
{
    fs::path dir = tempDir("demo");
    ToolRun      r   = runTool("demo --out out", dir);
    ASSERT_EQ(r.status, 0) << r.out;
    for(const char *line :
        { "  anim tree: 2 top-level animations (1 hidden), 2 curve nodes\n",
          "  clone: cores shared yes, deep clone cores copied yes\n",
          "  time edits: offset (3, 0) scale -2 after move, scale and flip\n",
          "  callback: fired 1 time(s) for 2 finishes\n",
          "  transfer: 2 animations moved, none left\n",
          "  flat model: 2 curves and 1 block referenced (block shared with a clip)\n" })
        EXPECT_NE(r.out.find(line), std::string::npos) << line << "\n" << r.out;
    EXPECT_NE(r.out.find("  curves: SVG with 2 curves in"), std::string::npos);
    std::ifstream     in(dir / "out" / "animation-curves.svg");
    std::stringstream svg;
    svg << in.rdbuf();
    EXPECT_TRUE(tagsBalanced(svg.str()));
    EXPECT_EQ(countOf(svg.str(), "<g class=\"curve\""), 2u);
    EXPECT_EQ(countOf(svg.str(), "<circle class=\"key\""), 7u);
    EXPECT_NE(r.out.find("result: ok"), std::string::npos);
    fs::remove_all(dir);
}
