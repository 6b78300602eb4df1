// osgext geo on the shipped cube soup (36 corners): unification with all attributes and with
// positions only, Phong subdivision, tangents, the written OBJ read back, and refused input.

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

struct ToolRun
{
    int         status = -1;
    std::string out;
};

ToolRun runTool(const std::string &args)
{
    const std::string cmd = std::string("\"") + SKOSG_OSGEXT_PATH + "\" geo " + args + " 2>&1";
    ToolRun r;
    FILE *pipe = popen(cmd.c_str(), "r");
    if(pipe == nullptr)
        return r;
    char buffer[4096];
    std::size_t n;
    while((n = fread(buffer, 1, sizeof(buffer), pipe)) > 0)
        r.out.append(buffer, n);
    const int status = pclose(pipe);
    r.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return r;
}

std::string cube(void)
{
    return std::string("\"") + SKOSG_SOURCE_DIR + "/tests/data/cube_soup.obj\"";
}

fs::path tempDir(void)
{
    const fs::path dir = fs::temp_directory_path() / ("osgext-geo-" + std::to_string(::getpid()));
    fs::create_directories(dir);
    return dir;
}

std::size_t countLines(const fs::path &file, const std::string &prefix)
{
    std::ifstream in(file);
    std::string line;
    std::size_t n = 0;
    while(std::getline(in, line))
        n += line.compare(0, prefix.size(), prefix) == 0 ? 1 : 0;
    return n;
}

} // namespace

TEST(GeoTool, CubeSoupUnifiesSubdividesAndRoundTrips)
{
    ToolRun r = runTool(cube() + " --unify");
    EXPECT_EQ(r.status, 0) << r.out;
    EXPECT_NE(r.out.find("36 vertices, 12 triangles"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("unify: 36 -> 24 vertices, 12 -> 12 triangles"), std::string::npos)
        << r.out;

    r = runTool(cube() + " --unify --compare positions");
    EXPECT_NE(r.out.find("unify: 36 -> 8 vertices"), std::string::npos) << r.out;

    const fs::path dir = tempDir();
    const fs::path out = dir / "cube2.obj";
    r = runTool(cube() + " --phong 2 --tangents --out \"" + out.string() + "\"");
    EXPECT_EQ(r.status, 0) << r.out;
    EXPECT_NE(r.out.find("phong 2: 36 -> 576 vertices, 12 -> 192 triangles"), std::string::npos)
        << r.out;
    EXPECT_NE(r.out.find("tangents: 576 -> 576 vertices"), std::string::npos) << r.out;
    EXPECT_EQ(countLines(out, "f "), 192u);

    // The written file reads back with the same triangles; unified by position, the Phong cube
    // shares its corners and edge points: 6 faces x 25 grid points minus the shared borders.
    r = runTool("\"" + out.string() + "\" --unify --compare positions");
    EXPECT_NE(r.out.find("192 triangles"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("-> 98 vertices"), std::string::npos) << r.out;

    // Adaptive subdivision: each unit-square face's diagonal (1.41) and sides (1) split.
    r = runTool(cube() + " --subdivide 1");
    EXPECT_EQ(r.status, 0) << r.out;
    EXPECT_NE(r.out.find("subdivide 1: 36 -> "), std::string::npos) << r.out;
    fs::remove_all(dir);
}

TEST(GeoTool, BadFilesAndArguments)
{
    const fs::path dir = tempDir();
    const fs::path bad = dir / "bad.obj";
    {
        std::ofstream o(bad);
        o << "v 0 0 0\nv 1 0 0\nf 1 2 3\n";
    }
    ToolRun r = runTool("\"" + bad.string() + "\"");
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.out.find("position 3 of 2"), std::string::npos) << r.out;

    r = runTool("\"" + (dir / "missing.obj").string() + "\"");
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.out.find("cannot open"), std::string::npos) << r.out;

    // --eps without --unify, and both subdivisions at once, are argument errors.
    EXPECT_EQ(runTool(cube() + " --eps 0.1").status, 2);
    EXPECT_EQ(runTool(cube() + " --subdivide 1 --phong 1").status, 2);
    r = runTool(cube() + " --unify --compare colour");
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.out.find("unknown attribute 'colour'"), std::string::npos) << r.out;

    // A refused maximum edge length leaves the mesh as it was.
    r = runTool(cube() + " --subdivide 0");
    EXPECT_NE(r.out.find("subdivide 0: 36 -> 36 vertices, 12 -> 12 triangles"), std::string::npos)
        << r.out;
    EXPECT_NE(r.out.find("positive"), std::string::npos) << r.out;
    fs::remove_all(dir);
}
