// The library frame: the back-plate shader chunk and the camera Z-up setting.

#include <OpenSGExt/skOpenSGExt.h>

#include <OpenSG/OSGChangeList.h>
#include <OpenSG/OSGShaderParameterBool.h>
#include <OpenSG/OSGShaderParameterInt.h>
#include <OpenSG/OSGShaderParameterReal.h>

#include <gtest/gtest.h>

#include <string>

using namespace osg;

namespace {

std::string withoutHeader(const std::string &program, SHLChunk::ShaderKind kind)
{
    std::string header = SHLChunk::getShaderHeaderString(kind);
    EXPECT_EQ(program.compare(0, header.size(), header), 0) << program.substr(0, 80);
    return program.substr(header.size());
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

TEST(BackplateShader, ProgramsStartWithTheHeadersAndUseTheUniforms)
{
    SHLChunkPtr c = skOpenSGExt::createBackplateShader(true, false);
    ASSERT_NE(c, NullFC);
    addRefCP(c);

    std::string vertex = withoutHeader(c->getVertexProgram(), SHLChunk::VertexShader);
    std::string fragment = withoutHeader(c->getFragmentProgram(), SHLChunk::FragmentShader);
    EXPECT_TRUE(c->getGeometryProgram().empty());

    // The header's #version must stay the only one, and first.
    EXPECT_EQ(vertex.find("#version"), std::string::npos);
    EXPECT_EQ(fragment.find("#version"), std::string::npos);
    EXPECT_NE(vertex.find("void main()"), std::string::npos);
    EXPECT_NE(vertex.find("gl_Position"), std::string::npos);
    for(const char *decl : {"uniform sampler2D map;", "uniform float alpha;",
                            "uniform bool normalizedX;", "uniform bool normalizedY;"})
    {
        EXPECT_NE(fragment.find(decl), std::string::npos) << decl;
    }
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

TEST(LibraryFrame, CameraZUpIsAProcessWideFlag)
{
    skOpenSGExt::init();
    EXPECT_FALSE(skOpenSGExt::isCameraZUp());
    skOpenSGExt::setCameraZUp(true);
    EXPECT_TRUE(skOpenSGExt::isCameraZUp());
    skOpenSGExt::setCameraZUp(false);
    EXPECT_FALSE(skOpenSGExt::isCameraZUp());
}
