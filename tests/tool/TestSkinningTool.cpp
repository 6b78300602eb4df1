// The skinning section of `osgext demo`: its summary lines and the OBJ frames it writes.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

namespace {

namespace fs = std::filesystem;

std::string run(const std::string &command)
{
    std::string out;
    FILE *pipe = popen(command.c_str(), "r");
    if(pipe == nullptr)
        return out;
    char buf[4096];
    size_t n;
    while((n = fread(buf, 1, sizeof(buf), pipe)) > 0)
        out.append(buf, n);
    pclose(pipe);
    return out;
}

} // namespace

TEST(SkinningTool, DemoBendsTheTubeAndWritesFrames)
{
    const fs::path dir = fs::temp_directory_path() / ("osgext-skin-" + std::to_string(::getpid()));
    fs::remove_all(dir);
    fs::create_directories(dir);
    const std::string out = run(std::string(SKOSG_OSGEXT_PATH) + " demo --out " + dir.string() + " 2>&1");
    EXPECT_NE(out.find("skinned tube: 496 vertices, 3 joints"), std::string::npos) << out;
    EXPECT_NE(out.find("influence budget: at most 3 of 4 joints per vertex, 0 vertices over budget"),
              std::string::npos) << out;
    EXPECT_NE(out.find("1 vs 2 threads: bit-identical"), std::string::npos) << out;
    EXPECT_EQ(out.find("MISSES"), std::string::npos) << out;
    EXPECT_NE(out.find("result: ok"), std::string::npos) << out;

    // Frame 0 is the rest pose: the straight tube from x = 0 to 3 with radius 0.25. Later frames
    // bend it, so some vertex leaves that cylinder.
    for(int frame = 0; frame < 4; ++frame)
    {
        std::ifstream in(dir / ("skin_frame" + std::to_string(frame) + ".obj"));
        ASSERT_TRUE(in) << frame;
        int vertices = 0, faces = 0, outside = 0;
        std::string line;
        while(std::getline(in, line))
        {
            if(line.rfind("v ", 0) == 0)
            {
                double x, y, z;
                ASSERT_EQ(std::sscanf(line.c_str(), "v %lf %lf %lf", &x, &y, &z), 3);
                ++vertices;
                if(x < -1e-4 || x > 3 + 1e-4 || std::abs(y * y + z * z - 0.0625) > 1e-4)
                    ++outside;
            }
            else if(line.rfind("f ", 0) == 0)
                ++faces;
        }
        EXPECT_EQ(vertices, 496) << frame;
        EXPECT_EQ(faces, 2 * 30 * 16) << frame;
        if(frame == 0)
            EXPECT_EQ(outside, 0);
        else
            EXPECT_GT(outside, 0) << frame;
    }
    fs::remove_all(dir);
}
