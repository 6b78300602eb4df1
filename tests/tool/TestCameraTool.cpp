// osgext camera and the demo's camera section, run as a user runs them.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

struct Result
{
    int         code = -1;
    std::string out;
};

// Standard output and error together, and the exit code.
Result runTool(const std::string &args)
{
    Result r;
    const std::string cmd = std::string("\"") + SKOSG_OSGEXT_PATH + "\" " + args + " 2>&1";
    FILE *pipe = popen(cmd.c_str(), "r");
    if(pipe == nullptr)
        return r;
    std::array<char, 4096> buf;
    size_t n;
    while((n = fread(buf.data(), 1, buf.size(), pipe)) > 0)
        r.out.append(buf.data(), n);
    const int status = pclose(pipe);
    r.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return r;
}

// The numbers of the line that follows title (rows of a matrix block).
std::vector<double> matrixRows(const std::string &out, const std::string &title)
{
    std::vector<double> v;
    const size_t at = out.find(title);
    if(at == std::string::npos)
        return v;
    std::istringstream is(out.substr(out.find('\n', at) + 1));
    for(int i = 0; i < 16; ++i)
    {
        double x;
        if(!(is >> x))
            break;
        v.push_back(x);
    }
    return v;
}

double valueAfter(const std::string &out, const std::string &key)
{
    const size_t at = out.find(key);
    return at == std::string::npos ? NAN : std::stod(out.substr(at + key.size()));
}

} // namespace

TEST(CameraTool, PrintsTheMatricesOfTheLens)
{
    const Result r = runTool("camera --fov 60 --viewport 800x400 --near 1 --far 101 --from 0,0,5 --at 0,0,0");
    ASSERT_EQ(r.code, 0) << r.out;
    EXPECT_NEAR(valueAfter(r.out, "focal length: "), 24.0 / (2.0 * std::tan(M_PI / 6.0)), 1e-3);
    EXPECT_NEAR(valueAfter(r.out, "f-stop: "), 24.0 / (2.0 * std::tan(M_PI / 6.0)) / 7.76, 1e-3);
    EXPECT_NE(r.out.find("distance/height/angle: 5 0 90"), std::string::npos) << r.out;

    // Vertical opening of 60 degrees on a 2:1 viewport: the OpenGL perspective matrix.
    const std::vector<double> p = matrixRows(r.out, "projection (rows):");
    ASSERT_EQ(p.size(), 16u) << r.out;
    const double f = 1.0 / std::tan(M_PI / 6.0);
    EXPECT_NEAR(p[0], f / 2.0, 1e-4);
    EXPECT_NEAR(p[5], f, 1e-4);
    EXPECT_NEAR(p[10], -102.0 / 100.0, 1e-4);
    EXPECT_NEAR(p[11], -2.0 * 101.0 / 100.0, 1e-4);
    EXPECT_NEAR(p[14], -1.0, 0.0);

    const std::vector<double> v = matrixRows(r.out, "viewing (rows):");
    ASSERT_EQ(v.size(), 16u);
    EXPECT_NEAR(v[11], -5.0, 1e-5);    // row 2, column 3

    const std::vector<double> k = matrixRows(r.out, "K matrix (rows):");
    ASSERT_EQ(k.size(), 16u);
    EXPECT_NEAR(k[2], 400.0, 1e-3);
    EXPECT_NEAR(k[6], 200.0, 1e-3);
}

TEST(CameraTool, OptionsReachTheProjection)
{
    Result r = runTool("camera --viewport 800x600 --offset 2,1 --unit 0 --skew 0.5 --reversed-depth");
    ASSERT_EQ(r.code, 0) << r.out;
    std::vector<double> p = matrixRows(r.out, "projection (rows):");
    ASSERT_EQ(p.size(), 16u);
    EXPECT_NEAR(p[2], 0.125, 1e-5);                       // P(0,2) from the offset
    EXPECT_NEAR(p[1], 2.0 * 0.5 * 600 / 1080 / 800, 1e-6);   // P(0,1) from the skew
    EXPECT_NEAR(p[10], 0.1 / (50000 - 0.1), 1e-9);       // reversed depth

    r = runTool("camera --ortho --from 0,0,10 --at 0,0,0 --viewport 200x100 --mode 1");
    ASSERT_EQ(r.code, 0) << r.out;
    p = matrixRows(r.out, "projection (rows):");
    ASSERT_EQ(p.size(), 16u);
    EXPECT_NEAR(p[15], 1.0, 0.0);
    EXPECT_NEAR(p[0], 1.0 / (10.0 * std::tan(M_PI / 8.0)), 1e-4);
    EXPECT_NEAR(p[5], 2.0 / (10.0 * std::tan(M_PI / 8.0)), 1e-4);   // upright: positive
}

TEST(CameraTool, IntrinsicsRoundTrip)
{
    const Result r = runTool("camera --intrinsics 1450,1400,950,560,-2.5 --viewport 1920x1080");
    ASSERT_EQ(r.code, 0) << r.out;
    const size_t at = r.out.find("intrinsics (pixels):");
    ASSERT_NE(at, std::string::npos) << r.out;
    const std::string line = r.out.substr(at, r.out.find('\n', at) - at);
    EXPECT_NEAR(valueAfter(line, " fx "), 1450.0, 0.05);
    EXPECT_NEAR(valueAfter(line, " fy "), 1400.0, 0.05);
    EXPECT_NEAR(valueAfter(line, " cx "), 950.0, 0.05);
    EXPECT_NEAR(valueAfter(line, " cy "), 560.0, 0.05);
    EXPECT_NEAR(valueAfter(line, " skew "), -2.5, 0.01);
}

TEST(CameraTool, BadInput)
{
    Result r = runTool("camera --viewport 12");
    EXPECT_EQ(r.code, 2);
    EXPECT_NE(r.out.find("expects WxH"), std::string::npos) << r.out;
    r = runTool("camera --from 1,2");
    EXPECT_EQ(r.code, 2);
    r = runTool("camera --viewport 0x10");
    EXPECT_EQ(r.code, 1);
    r = runTool("camera --near 5 --far 5");
    EXPECT_EQ(r.code, 1);
    EXPECT_NE(r.out.find("MatrixICPProjection: near 5 ~= far 5!"), std::string::npos) << r.out;
    r = runTool("camera --intrinsics 0,1,2,3,4");
    EXPECT_EQ(r.code, 1);
}

TEST(CameraTool, DemoSection)
{
    const std::filesystem::path dir =
        std::filesystem::temp_directory_path() / ("osgext-camera-demo-" + std::to_string(::getpid()));
    const Result r = runTool("demo --out \"" + dir.string() + "\"");
    EXPECT_EQ(r.code, 0) << r.out;
    EXPECT_TRUE(std::regex_search(r.out, std::regex("== cameras\n  camera: focal length 35 mm, f-stop 2.8")));
    EXPECT_NE(r.out.find("round trip equal"), std::string::npos);
    EXPECT_NE(r.out.find("eyes agree on the screen plane"), std::string::npos);
    std::ifstream in(dir / "camera.txt");
    std::stringstream ss;
    ss << in.rdbuf();
    EXPECT_NE(ss.str().find("projection"), std::string::npos);
    std::filesystem::remove_all(dir);
}
