// Uniform parameters of shader chunks (kinds, ownership, binary form), program reading and the
// chunk class registry.

#include <OpenSG/OSGSHLChunk.h>
#include <OpenSG/OSGShaderParameterInt.h>
#include <OpenSG/OSGShaderParameterReal.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGBinaryDataHandler.h>
#include <OpenSG/OSGLog.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

using namespace osg;

namespace {

// A chunk that lives for one test and is released at its end.
class ChunkHolder
{
  public:
    ChunkHolder() : chunk(SHLChunk::create()) { addRefCP(chunk); }
    ~ChunkHolder() { subRefCP(chunk); }
    ChunkHolder(const ChunkHolder &) = delete;
    ChunkHolder &operator=(const ChunkHolder &) = delete;
    SHLChunkPtr chunk;
};

bool isAlive(UInt32 id)
{
    return FieldContainerFactory::the()->getContainer(id) != NullFC;
}

Matrix makeMatrix(Real32 base)
{
    Matrix m;
    for(UInt32 c = 0; c < 4; ++c)
        for(UInt32 r = 0; r < 4; ++r)
            m[c][r] = base + Real32(c * 4 + r);
    return m;
}

template <class FieldT, class... Values>
FieldT makeField(Values... values)
{
    FieldT field;
    (field.push_back(values), ...);
    return field;
}

template <class FieldT>
bool sameField(const FieldT &a, const FieldT &b)
{
    return a.getValues() == b.getValues();
}

} // namespace

TEST(ShaderUniforms, EveryKindStoresAndReadsBack)
{
    ChunkHolder h;
    SHLChunkPtr c = h.chunk;

    MFInt32  ints    = makeField<MFInt32>(Int32(3), Int32(-4));
    MFReal32 reals   = makeField<MFReal32>(0.5f, 1.5f, 2.5f);
    MFVec2f  vec2s   = makeField<MFVec2f>(Vec2f(1.f, 2.f));
    MFVec3f  vec3s   = makeField<MFVec3f>(Vec3f(1.f, 2.f, 3.f), Vec3f(4.f, 5.f, 6.f));
    MFVec4f  vec4s   = makeField<MFVec4f>(Vec4f(1.f, 2.f, 3.f, 4.f));
    MFMatrix mats    = makeField<MFMatrix>(makeMatrix(1.f), makeMatrix(20.f));

    beginEditCP(c, SHLChunk::ParametersFieldMask);
    EXPECT_TRUE(c->setUniformParameter("b", true));
    EXPECT_TRUE(c->setUniformParameter("i", Int32(-7)));
    EXPECT_TRUE(c->setUniformParameter("r", 2.25f));
    EXPECT_TRUE(c->setUniformParameter("v2", Vec2f(1.f, 2.f)));
    EXPECT_TRUE(c->setUniformParameter("v3", Vec3f(1.f, 2.f, 3.f)));
    EXPECT_TRUE(c->setUniformParameter("v4", Vec4f(1.f, 2.f, 3.f, 4.f)));
    EXPECT_TRUE(c->setUniformParameter("m", makeMatrix(0.5f)));
    EXPECT_TRUE(c->setUniformParameter("mi", ints));
    EXPECT_TRUE(c->setUniformParameter("mr", reals));
    EXPECT_TRUE(c->setUniformParameter("mv2", vec2s));
    EXPECT_TRUE(c->setUniformParameter("mv3", vec3s));
    EXPECT_TRUE(c->setUniformParameter("mv4", vec4s));
    EXPECT_TRUE(c->setUniformParameter("mm", mats));
    endEditCP(c, SHLChunk::ParametersFieldMask);

    ASSERT_EQ(c->getMFParameters()->size(), 13u);
    const char *expectedTypes[13] = {
        "ShaderParameterBool", "ShaderParameterInt", "ShaderParameterReal",
        "ShaderParameterVec2f", "ShaderParameterVec3f", "ShaderParameterVec4f",
        "ShaderParameterMatrix", "ShaderParameterMInt", "ShaderParameterMReal",
        "ShaderParameterMVec2f", "ShaderParameterMVec3f", "ShaderParameterMVec4f",
        "ShaderParameterMMatrix"};
    for(UInt32 i = 0; i < 13; ++i)
        EXPECT_STREQ(c->getParameters(i)->getTypeName(), expectedTypes[i]) << i;

    bool b = false;
    Int32 i = 0;
    Real32 r = 0.f;
    Vec2f v2;
    Vec3f v3;
    Vec4f v4;
    Matrix m;
    MFInt32 gi;
    MFReal32 gr;
    MFVec2f gv2;
    MFVec3f gv3;
    MFVec4f gv4;
    MFMatrix gm;
    EXPECT_TRUE(c->getUniformParameter("b", b));
    EXPECT_TRUE(b);
    EXPECT_TRUE(c->getUniformParameter("i", i));
    EXPECT_EQ(i, -7);
    EXPECT_TRUE(c->getUniformParameter("r", r));
    EXPECT_EQ(r, 2.25f);
    EXPECT_TRUE(c->getUniformParameter("v2", v2));
    EXPECT_EQ(v2, Vec2f(1.f, 2.f));
    EXPECT_TRUE(c->getUniformParameter("v3", v3));
    EXPECT_EQ(v3, Vec3f(1.f, 2.f, 3.f));
    EXPECT_TRUE(c->getUniformParameter("v4", v4));
    EXPECT_EQ(v4, Vec4f(1.f, 2.f, 3.f, 4.f));
    EXPECT_TRUE(c->getUniformParameter("m", m));
    EXPECT_EQ(m, makeMatrix(0.5f));
    EXPECT_TRUE(c->getUniformParameter("mi", gi));
    EXPECT_TRUE(sameField(gi, ints));
    EXPECT_TRUE(c->getUniformParameter("mr", gr));
    EXPECT_TRUE(sameField(gr, reals));
    EXPECT_TRUE(c->getUniformParameter("mv2", gv2));
    EXPECT_TRUE(sameField(gv2, vec2s));
    EXPECT_TRUE(c->getUniformParameter("mv3", gv3));
    EXPECT_TRUE(sameField(gv3, vec3s));
    EXPECT_TRUE(c->getUniformParameter("mv4", gv4));
    EXPECT_TRUE(sameField(gv4, vec4s));
    EXPECT_TRUE(c->getUniformParameter("mm", gm));
    EXPECT_TRUE(sameField(gm, mats));
}

TEST(ShaderUniforms, OverwriteUpdatesTheSameParameter)
{
    ChunkHolder h;
    SHLChunkPtr c = h.chunk;
    ASSERT_TRUE(c->setUniformParameter("scale", 1.f));
    ShaderParameterPtr first = c->findUniformParameter("scale");
    ASSERT_NE(first, NullFC);

    ASSERT_TRUE(c->setUniformParameter("scale", 3.f));
    EXPECT_EQ(c->getMFParameters()->size(), 1u);
    EXPECT_EQ(c->findUniformParameter("scale"), first);
    Real32 value = 0.f;
    EXPECT_TRUE(c->getUniformParameter("scale", value));
    EXPECT_EQ(value, 3.f);

    // Arrays are replaced whole, not appended to.
    ASSERT_TRUE(c->setUniformParameter("list", makeField<MFInt32>(Int32(1), Int32(2), Int32(3))));
    ASSERT_TRUE(c->setUniformParameter("list", makeField<MFInt32>(Int32(9))));
    MFInt32 list;
    EXPECT_TRUE(c->getUniformParameter("list", list));
    EXPECT_TRUE(sameField(list, makeField<MFInt32>(Int32(9))));
}

TEST(ShaderUniforms, AnotherKindIsRefusedWithAWarning)
{
    ChunkHolder h;
    SHLChunkPtr c = h.chunk;
    ASSERT_TRUE(c->setUniformParameter("count", Int32(5)));

    {
        LogCapture capture;
        EXPECT_FALSE(c->setUniformParameter("count", 5.f));
        EXPECT_NE(capture.text().find("wrong type"), std::string::npos) << capture.text();
    }
    EXPECT_STREQ(c->findUniformParameter("count")->getTypeName(), "ShaderParameterInt");
    Int32 count = 0;
    EXPECT_TRUE(c->getUniformParameter("count", count));
    EXPECT_EQ(count, 5);

    {
        LogCapture capture;
        Real32 asReal = 42.f;
        EXPECT_FALSE(c->getUniformParameter("count", asReal));
        EXPECT_EQ(asReal, 42.f);
        EXPECT_NE(capture.text().find("wrong type"), std::string::npos) << capture.text();

        MFInt32 missing = makeField<MFInt32>(Int32(1));
        EXPECT_FALSE(c->getUniformParameter("missing", missing));
        EXPECT_EQ(missing.size(), 1u);
    }
    {
        LogCapture capture;
        const char *noName = nullptr;
        EXPECT_FALSE(c->setUniformParameter(noName, true));
        EXPECT_FALSE(c->setUniformParameter("", true));
        EXPECT_FALSE(c->subUniformParameter(noName));
        EXPECT_FALSE(c->hasUniformParameter(noName));
        EXPECT_NE(capture.text().find("no parameter name"), std::string::npos);
    }
    EXPECT_EQ(c->getMFParameters()->size(), 1u);
}

TEST(ShaderUniforms, SubAndClearRemoveParameters)
{
    ChunkHolder h;
    SHLChunkPtr c = h.chunk;
    c->setUniformParameter("a", Int32(1));
    c->setUniformParameter("b", Int32(2));
    c->setUniformParameter("c", Int32(3));

    EXPECT_TRUE(c->subUniformParameter("b"));
    EXPECT_FALSE(c->hasUniformParameter("b"));
    EXPECT_FALSE(c->subUniformParameter("b"));
    ASSERT_EQ(c->getMFParameters()->size(), 2u);
    EXPECT_EQ(c->getParameters(0)->getName(), "a");
    EXPECT_EQ(c->getParameters(1)->getName(), "c");

    c->clearUniformParameters();
    EXPECT_TRUE(c->getMFParameters()->empty());
    EXPECT_FALSE(c->hasUniformParameter("a"));
    // A removed name can come back as another kind.
    EXPECT_TRUE(c->setUniformParameter("a", 1.f));
}

TEST(ShaderUniforms, ChunkReferencesItsParameters)
{
    SHLChunkPtr c = SHLChunk::create();
    addRefCP(c);
    c->setUniformParameter("kept", Int32(1));
    c->setUniformParameter("dropped", Int32(2));
    c->setUniformParameter("cleared", Int32(3));
    ShaderParameterPtr kept = c->findUniformParameter("kept");
    UInt32 droppedId = c->findUniformParameter("dropped").getFieldContainerId();
    UInt32 clearedId = c->findUniformParameter("cleared").getFieldContainerId();
    EXPECT_EQ(kept.getRefCount(), 1);

    c->subUniformParameter("dropped");
    EXPECT_FALSE(isAlive(droppedId));

    // A shallow copy shares the parameters and holds its own references.
    addRefCP(kept);
    SHLChunkPtr copy = SHLChunkPtr::dcast(c->shallowCopy());
    addRefCP(copy);
    EXPECT_EQ(copy->findUniformParameter("kept"), kept);
    EXPECT_EQ(kept.getRefCount(), 3);
    subRefCP(copy);
    EXPECT_EQ(kept.getRefCount(), 2);

    c->subUniformParameter("cleared");
    EXPECT_FALSE(isAlive(clearedId));
    c->setUniformParameter("cleared", Int32(3));
    clearedId = c->findUniformParameter("cleared").getFieldContainerId();
    c->clearUniformParameters();
    EXPECT_FALSE(isAlive(clearedId));
    EXPECT_EQ(kept.getRefCount(), 1);

    // Destroying the chunk releases what it still holds.
    c->setUniformParameter("late", Int32(4));
    UInt32 lateId = c->findUniformParameter("late").getFieldContainerId();
    beginEditCP(c, SHLChunk::ParametersFieldMask);
    c->editMFParameters()->push_back(kept);
    addRefCP(kept);
    endEditCP(c, SHLChunk::ParametersFieldMask);
    EXPECT_EQ(kept.getRefCount(), 2);
    subRefCP(c);
    EXPECT_FALSE(isAlive(lateId));
    EXPECT_EQ(kept.getRefCount(), 1);
    subRefCP(kept);
}

TEST(ShaderUniforms, BinaryFormWritesParametersAsIds)
{
    ChunkHolder source;
    source.chunk->setUniformParameter("first", Int32(11));
    source.chunk->setUniformParameter("second", 0.5f);
    ShaderParameterPtr first = source.chunk->getParameters(0);
    ShaderParameterPtr second = source.chunk->getParameters(1);

    // Count, then one 32-bit container id per parameter, all big-endian.
    MemoryBinaryDataHandler out;
    source.chunk->copyToBin(out, SHLChunk::ParametersFieldMask);
    std::vector<UInt8> expected = {0, 0, 0, 2};
    for(UInt32 id : {first.getFieldContainerId(), second.getFieldContainerId()})
    {
        for(int shift = 24; shift >= 0; shift -= 8)
            expected.push_back(UInt8(id >> shift));
    }
    EXPECT_EQ(out.getBuffer(), expected);
    EXPECT_EQ(source.chunk->getBinSize(SHLChunk::ParametersFieldMask), expected.size());

    // The whole chunk: the reader resolves the ids and takes references when the loader ends
    // its edit.
    MemoryBinaryDataHandler all;
    source.chunk->copyToBin(all, FieldBits::AllFields);
    ChunkHolder target;
    MemoryBinaryDataHandler in(all.getBuffer().data(), all.getBuffer().size());
    target.chunk->copyFromBin(in, FieldBits::AllFields);
    EXPECT_FALSE(in.isFailed());
    EXPECT_EQ(in.getBytesLeft(), 0u);
    EXPECT_EQ(first.getRefCount(), 1);
    beginEditCP(target.chunk, FieldBits::AllFields);
    endEditCP(target.chunk, FieldBits::AllFields,
              ChangedOrigin::Abstract | ChangedOrigin::AbstrIncRefCount);
    EXPECT_EQ(first.getRefCount(), 2);
    EXPECT_EQ(second.getRefCount(), 2);

    Int32 firstValue = 0;
    Real32 secondValue = 0.f;
    EXPECT_TRUE(target.chunk->getUniformParameter("first", firstValue));
    EXPECT_EQ(firstValue, 11);
    EXPECT_TRUE(target.chunk->getUniformParameter("second", secondValue));
    EXPECT_EQ(secondValue, 0.5f);
    EXPECT_EQ(target.chunk->getIgnoreGLForAspect(), -1);
    EXPECT_TRUE(target.chunk->getUnknownParameterWarning());
}

TEST(ShaderUniforms, ForeignIdsReadAsNullAndAreSkipped)
{
    ChunkHolder source;
    source.chunk->setUniformParameter("x", Int32(1));
    // The id of a container that is not a parameter: the chunk itself.
    MemoryBinaryDataHandler out;
    out.putValue(UInt32(1));
    out.putValue(UInt32(source.chunk.getFieldContainerId()));

    ChunkHolder target;
    LogCapture capture;
    MemoryBinaryDataHandler in(out.getBuffer().data(), out.getBuffer().size());
    target.chunk->copyFromBin(in, SHLChunk::ParametersFieldMask);
    ASSERT_EQ(target.chunk->getMFParameters()->size(), 1u);
    EXPECT_EQ(target.chunk->getParameters(0), NullFC);
    EXPECT_FALSE(target.chunk->hasUniformParameter("x"));
    EXPECT_TRUE(target.chunk->setUniformParameter("x", Int32(2)));
    EXPECT_EQ(target.chunk->getMFParameters()->size(), 2u);
}

TEST(ShaderChunkPrograms, ReadFromStreamAndFile)
{
    ChunkHolder h;
    SHLChunkPtr c = h.chunk;

    std::istringstream vertex("void main() { gl_Position = vec4(0.0); }\n");
    EXPECT_TRUE(c->readVertexProgram(vertex));
    EXPECT_EQ(c->getVertexProgram(), "void main() { gl_Position = vec4(0.0); }\n");

    std::string text(20000, 'x');
    text += "\nend\n";
    std::string path = ::testing::TempDir() + "TestShaderChunk_fragment.glsl";
    {
        std::ofstream file(path, std::ios::binary);
        file << text;
    }
    EXPECT_TRUE(c->readFragmentProgram(path.c_str()));
    EXPECT_EQ(c->getFragmentProgram(), text);
    std::remove(path.c_str());

    LogCapture capture;
    EXPECT_FALSE(c->readFragmentProgram((path + ".missing").c_str()));
    EXPECT_FALSE(c->readGeometryProgram(static_cast<const Char8 *>(nullptr)));
    std::istringstream broken("lost");
    broken.setstate(std::ios::badbit);
    EXPECT_FALSE(c->readVertexProgram(broken));
    EXPECT_EQ(c->getFragmentProgram(), text);
    EXPECT_EQ(c->getVertexProgram(), "void main() { gl_Position = vec4(0.0); }\n");
    EXPECT_TRUE(c->getGeometryProgram().empty());
    EXPECT_NE(capture.text().find("cannot open program file"), std::string::npos);
}

TEST(SHLChunkType, FieldsClassAndHeaders)
{
    EXPECT_EQ(UInt32(SHLChunk::IgnoreFieldId), 3u);
    EXPECT_EQ(UInt32(SHLChunk::ParametersFieldId), 4u);
    EXPECT_EQ(UInt32(SHLChunk::VertexProgramFieldId), 5u);
    EXPECT_EQ(UInt32(SHLChunk::GeometryProgramFieldId), 7u);
    EXPECT_EQ(UInt32(SHLChunk::CgFrontEndFieldId), 8u);
    EXPECT_EQ(UInt32(SHLChunk::UnknownParameterWarningFieldId), 14u);
    EXPECT_EQ(UInt32(ShaderParameterInt::NameFieldId), 2u);
    EXPECT_EQ(UInt32(ShaderParameterInt::ValueFieldId), 3u);

    FieldContainerPtr byName = FieldContainerFactory::the()->createFieldContainer("SHLChunk");
    SHLChunkPtr c = SHLChunkPtr::dcast(byName);
    ASSERT_NE(c, NullFC);
    addRefCP(c);
    EXPECT_EQ(c->getGLId(), 0u);
    EXPECT_EQ(c->getIgnoreGLForAspect(), -1);
    EXPECT_TRUE(c->getUnknownParameterWarning());
    EXPECT_FALSE(c->getCgFrontEnd());
    EXPECT_FALSE(c->getIgnore());
    EXPECT_EQ(c->getClass(), SHLChunk::getStaticClass());
    EXPECT_STREQ(c->getClass()->getName(), "SHL");
    EXPECT_EQ(c->getClassId(), SHLChunk::getStaticClassId());
    EXPECT_FALSE(c->isTransparent());

    SHLChunkPtr other = SHLChunk::create();
    addRefCP(other);
    EXPECT_TRUE(*c == *c);
    EXPECT_TRUE(*c != *other);
    EXPECT_NE(*c < *other, *other < *c);
    subRefCP(other);
    subRefCP(c);

    struct Expect { SHLChunk::ShaderKind kind; const char *define; };
    for(const Expect &e : {Expect{SHLChunk::VertexShader, "#define SK_VERTEX_SHADER 1\n"},
                           Expect{SHLChunk::FragmentShader, "#define SK_FRAGMENT_SHADER 1\n"},
                           Expect{SHLChunk::GeometryShader, "#define SK_GEOMETRY_SHADER 1\n"}})
    {
        std::string header = SHLChunk::getShaderHeaderString(e.kind);
        EXPECT_EQ(header.rfind("#version 330 compatibility\n", 0), 0u) << header;
        EXPECT_NE(header.find(e.define), std::string::npos) << header;
        EXPECT_EQ(header.back(), '\n');
    }
    LogCapture capture;
    EXPECT_TRUE(SHLChunk::getShaderHeaderString(SHLChunk::ShaderKind(7)).empty());
    EXPECT_NE(capture.text().find("unknown shader kind"), std::string::npos);
}

TEST(StateChunkClassRegistry, SlotsNamesAndReuse)
{
    const StateChunkClass *shl = StateChunkClass::find("SHL");
    ASSERT_NE(shl, nullptr);
    EXPECT_EQ(shl, SHLChunk::getStaticClass());
    EXPECT_EQ(StateChunkClass::find(shl->getId()), shl);
    EXPECT_EQ(shl->getNumSlots(), 1);
    EXPECT_EQ(StateChunkClass::find("NoSuchChunk"), nullptr);
    EXPECT_EQ(StateChunkClass::getName(100000u), nullptr);
    EXPECT_EQ(StateChunkClass::getNumSlots(100000u), -1);

    UInt32 id = 0;
    {
        StateChunkClass units("TestUnits", 4);
        id = units.getId();
        EXPECT_EQ(StateChunkClass::getUsedSlots(), id + 4);
        for(UInt32 slot = 0; slot < 4; ++slot)
        {
            EXPECT_EQ(StateChunkClass::find(id + slot), &units);
            EXPECT_STREQ(StateChunkClass::getName(id + slot), "TestUnits");
            EXPECT_EQ(StateChunkClass::getNumSlots(id + slot), 4);
        }
        EXPECT_EQ(StateChunkClass::find("TestUnits"), &units);
    }
    EXPECT_EQ(StateChunkClass::find("TestUnits"), nullptr);
    EXPECT_EQ(StateChunkClass::find(id), nullptr);

    // Constructed again (a reloaded library), a class gets its ids back; another size does not.
    StateChunkClass again("TestUnits", 4);
    EXPECT_EQ(again.getId(), id);
    StateChunkClass wider("TestWide", 2);
    EXPECT_GE(wider.getId(), id + 4);

    LogCapture capture;
    StateChunkClass invalid(nullptr, 0);
    EXPECT_EQ(invalid.getNumSlots(), 1);
    EXPECT_NE(capture.text().find("invalid class"), std::string::npos);
}
