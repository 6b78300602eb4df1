// The back-plate shader chunk: its uniforms, its programs as the reference GLSL compiler sees
// them, and its creation record.

#include <OpenSGExt/skOpenSGExt.h>

#include <OpenSG/OSGChangeList.h>
#include <OpenSG/OSGShaderParameterBool.h>
#include <OpenSG/OSGShaderParameterInt.h>
#include <OpenSG/OSGShaderParameterReal.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <unistd.h>

using namespace osg;

namespace {

std::string withoutHeader(const std::string &program, SHLChunk::ShaderKind kind)
{
    std::string header = SHLChunk::getShaderHeaderString(kind);
    EXPECT_EQ(program.compare(0, header.size(), header), 0) << program.substr(0, 80);
    return program.substr(header.size());
}

struct Compiled
{
    int                                status = -1;
    std::string                        log;
    std::map<std::string, std::string> uniforms;   // name -> the line glslang reports for it
};

// Links the two stages with glslangValidator and reads its uniform reflection (-q).
Compiled compileAndReflect(const std::string &vertex, const std::string &fragment)
{
    namespace fs = std::filesystem;
    const fs::path dir = fs::temp_directory_path() / ("skosg-backplate-" + std::to_string(getpid()));
    fs::create_directories(dir);
    const fs::path vert = dir / "backplate.vert", frag = dir / "backplate.frag";
    std::ofstream(vert) << vertex;
    std::ofstream(frag) << fragment;

    Compiled result;
    const std::string command = std::string("'") + SKOSG_GLSLANG_VALIDATOR + "' -l -q '" +
                                vert.string() + "' '" + frag.string() + "' 2>&1";
    if(FILE *pipe = popen(command.c_str(), "r"))
    {
        char buffer[4096];
        size_t n;
        while((n = fread(buffer, 1, sizeof(buffer), pipe)) > 0)
            result.log.append(buffer, n);
        result.status = pclose(pipe);
    }
    fs::remove_all(dir);

    // "Uniform reflection:" lists the active uniforms, one "name: offset .., type .., ..." each,
    // up to the next empty line.
    std::istringstream lines(result.log);
    std::string line;
    bool inUniforms = false;
    while(std::getline(lines, line))
    {
        if(line == "Uniform reflection:")
            inUniforms = true;
        else if(line.empty())
            inUniforms = false;
        else if(inUniforms && line.find(':') != std::string::npos)
            result.uniforms[line.substr(0, line.find(':'))] = line;
    }
    return result;
}

} // namespace

TEST(BackplateShader, UniformsHaveTheirValuesAndKinds)
{
    for(bool nx : {false, true})
    {
        for(bool ny : {false, true})
        {
            SHLChunkPtr c = skOpenSGExt::createBackplateShader(nx, ny);
            ASSERT_NE(c, NullFC);
            addRefCP(c);
            EXPECT_EQ(c->getMFParameters()->size(), 4u);

            Int32 map = -1;
            Real32 alpha = 0.f;
            bool gotX = !nx, gotY = !ny;
            EXPECT_TRUE(c->getUniformParameter("map", map));
            EXPECT_EQ(map, 0);
            EXPECT_TRUE(c->getUniformParameter("alpha", alpha));
            EXPECT_EQ(alpha, -1.f);
            EXPECT_TRUE(c->getUniformParameter("normalizedX", gotX));
            EXPECT_EQ(gotX, nx);
            EXPECT_TRUE(c->getUniformParameter("normalizedY", gotY));
            EXPECT_EQ(gotY, ny);

            // The kinds matter to the renderer: a bool is not an int, "alpha" is a float.
            EXPECT_NE(ShaderParameterIntPtr::dcast(c->findUniformParameter("map")), NullFC);
            EXPECT_NE(ShaderParameterRealPtr::dcast(c->findUniformParameter("alpha")), NullFC);
            EXPECT_NE(ShaderParameterBoolPtr::dcast(c->findUniformParameter("normalizedX")),
                      NullFC);
            EXPECT_NE(ShaderParameterBoolPtr::dcast(c->findUniformParameter("normalizedY")),
                      NullFC);
            subRefCP(c);
        }
    }
}

TEST(BackplateShader, BothStagesCompileAndLinkWithTheFourUniformsActive)
{
    SHLChunkPtr c = skOpenSGExt::createBackplateShader(true, false);
    ASSERT_NE(c, NullFC);
    addRefCP(c);
    // The headers come first: GLSL accepts #version on the first line only.
    withoutHeader(c->getVertexProgram(), SHLChunk::VertexShader);
    withoutHeader(c->getFragmentProgram(), SHLChunk::FragmentShader);
    EXPECT_TRUE(c->getGeometryProgram().empty());

    const Compiled compiled = compileAndReflect(c->getVertexProgram(), c->getFragmentProgram());
    ASSERT_EQ(compiled.status, 0) << compiled.log;
    // Active uniforms only: each is declared and used. GL type codes: GL_SAMPLER_2D 0x8b5e,
    // GL_FLOAT 0x1406, GL_BOOL 0x8b56; stage mask 16 is the fragment stage.
    const std::map<std::string, const char *> expected = {
        { "map", "type 8b5e" }, { "alpha", "type 1406" },
        { "normalizedX", "type 8b56" }, { "normalizedY", "type 8b56" } };
    EXPECT_EQ(compiled.uniforms.size(), expected.size()) << compiled.log;
    for(const auto &e : expected)
    {
        auto it = compiled.uniforms.find(e.first);
        ASSERT_NE(it, compiled.uniforms.end()) << e.first << "\n" << compiled.log;
        EXPECT_NE(it->second.find(e.second), std::string::npos) << it->second;
        EXPECT_NE(it->second.find("stages 16"), std::string::npos) << it->second;
        EXPECT_NE(c->findUniformParameter(e.first.c_str()), NullFC) << e.first;
    }

    // The check itself can fail: a program the compiler rejects.
    const Compiled broken = compileAndReflect(c->getVertexProgram(),
                                              c->getFragmentProgram() + "\nvoid main() {}\n");
    EXPECT_NE(broken.status, 0) << broken.log;
    subRefCP(c);
}

TEST(BackplateShader, CreationIsRecordedInTheChangeList)
{
    ChangeList *list = Thread::getCurrentChangeList();
    ASSERT_NE(list, nullptr);
    list->clearAll();

    SHLChunkPtr c = skOpenSGExt::createBackplateShader(false, false);
    ASSERT_NE(c, NullFC);
    addRefCP(c);
    UInt32 id = c.getFieldContainerId();
    EXPECT_TRUE(list->wasCreated(id));
    BitVector mask = list->getChangedMask(id);
    EXPECT_TRUE(mask & SHLChunk::VertexProgramFieldMask);
    EXPECT_TRUE(mask & SHLChunk::FragmentProgramFieldMask);
    EXPECT_TRUE(mask & SHLChunk::ParametersFieldMask);
    // Each uniform's container was created and its value recorded too.
    for(UInt32 i = 0; i < c->getMFParameters()->size(); ++i)
    {
        UInt32 pid = c->getParameters(i).getFieldContainerId();
        EXPECT_TRUE(list->wasCreated(pid)) << i;
        EXPECT_TRUE(list->getChangedMask(pid) & ShaderParameterInt::ValueFieldMask) << i;
    }
    subRefCP(c);
    list->clearAll();
}
