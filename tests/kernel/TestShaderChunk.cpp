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
struct ChunkHolder
{
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

UInt32 idOf(const SHLChunkPtr &c, const char *name)
{
    return c->findUniformParameter(name).getFieldContainerId();
}

template <class FieldT, class... Values>
FieldT makeField(Values... values)
{
    FieldT field;
    (field.push_back(values), ...);
    return field;
}

template <class T>
bool same(const T &a, const T &b)
{
    return a == b;
}

template <class T, Int32 N>
bool same(const MField<T, N> &a, const MField<T, N> &b)
{
    return a.getValues() == b.getValues();
}

// Stores value under name, reads it back into a variable holding junk and checks the kind.
template <class T>
void expectRoundTrip(const SHLChunkPtr &c, const char *name, const T &value, const T &junk,
                     const char *kind)
{
    SCOPED_TRACE(name);
    EXPECT_TRUE(c->setUniformParameter(name, value));
    T back = junk;
    EXPECT_TRUE(c->getUniformParameter(name, back));
    EXPECT_TRUE(same(back, value));
    EXPECT_STREQ(c->findUniformParameter(name)->getTypeName(), kind);
}

Matrix makeMatrix(Real32 base)
{
    Matrix m;
    for(UInt32 i = 0; i < 16; ++i)
        m[i / 4][i % 4] = base + Real32(i);
    return m;
}

} // namespace

TEST(ShaderUniforms, EveryKindStoresAndReadsBack)
{
    ChunkHolder h;
    SHLChunkPtr c = h.chunk;
    expectRoundTrip(c, "b", true, false, "ShaderParameterBool");
    expectRoundTrip(c, "i", Int32(-7), Int32(0), "ShaderParameterInt");
    expectRoundTrip(c, "r", 2.25f, 0.f, "ShaderParameterReal");
    expectRoundTrip(c, "v2", Vec2f(1, 2), Vec2f(), "ShaderParameterVec2f");
    expectRoundTrip(c, "v3", Vec3f(1, 2, 3), Vec3f(), "ShaderParameterVec3f");
    expectRoundTrip(c, "v4", Vec4f(1, 2, 3, 4), Vec4f(), "ShaderParameterVec4f");
    expectRoundTrip(c, "m", makeMatrix(0.5f), Matrix(), "ShaderParameterMatrix");
    expectRoundTrip(c, "mi", makeField<MFInt32>(Int32(3), Int32(-4)), makeField<MFInt32>(Int32(8)),
                    "ShaderParameterMInt");
    expectRoundTrip(c, "mr", makeField<MFReal32>(0.5f, 1.5f, 2.5f), MFReal32(), "ShaderParameterMReal");
    expectRoundTrip(c, "mv2", makeField<MFVec2f>(Vec2f(1, 2)), MFVec2f(), "ShaderParameterMVec2f");
    expectRoundTrip(c, "mv3", makeField<MFVec3f>(Vec3f(1, 2, 3), Vec3f(4, 5, 6)), MFVec3f(),
                    "ShaderParameterMVec3f");
    expectRoundTrip(c, "mv4", makeField<MFVec4f>(Vec4f(1, 2, 3, 4)), MFVec4f(), "ShaderParameterMVec4f");
    expectRoundTrip(c, "mm", makeField<MFMatrix>(makeMatrix(1), makeMatrix(20)), MFMatrix(),
                    "ShaderParameterMMatrix");
    EXPECT_EQ(c->getMFParameters()->size(), 13u);

    // Storing again updates the same parameter; arrays are replaced whole.
    ShaderParameterPtr first = c->findUniformParameter("r");
    expectRoundTrip(c, "r", 3.f, 0.f, "ShaderParameterReal");
    expectRoundTrip(c, "mi", makeField<MFInt32>(Int32(9)), MFInt32(), "ShaderParameterMInt");
    EXPECT_EQ(c->findUniformParameter("r"), first);
    EXPECT_EQ(c->getMFParameters()->size(), 13u);
}

TEST(ShaderUniforms, BadNamesAndOtherKindsAreRefusedWithAWarning)
{
    ChunkHolder h;
    SHLChunkPtr c = h.chunk;
    ASSERT_TRUE(c->setUniformParameter("count", Int32(5)));

    LogCapture capture;
    EXPECT_FALSE(c->setUniformParameter("count", 5.f));
    Real32 asReal = 42.f;
    EXPECT_FALSE(c->getUniformParameter("count", asReal));
    EXPECT_EQ(asReal, 42.f);
    EXPECT_EQ(capture.count(), 2u);
    EXPECT_TRUE(capture.contains("wrong type")) << capture.text();
    Int32 count = 0;
    EXPECT_TRUE(c->getUniformParameter("count", count));
    EXPECT_EQ(count, 5);

    MFInt32 missing = makeField<MFInt32>(Int32(1));
    EXPECT_FALSE(c->getUniformParameter("missing", missing));
    EXPECT_EQ(missing.size(), 1u);

    capture.clear();
    const char *noName = nullptr;
    EXPECT_FALSE(c->setUniformParameter(noName, true));
    EXPECT_FALSE(c->setUniformParameter("", true));
    EXPECT_FALSE(c->subUniformParameter(noName));
    EXPECT_FALSE(c->hasUniformParameter(noName));
    EXPECT_TRUE(capture.contains("no parameter name")) << capture.text();
    EXPECT_EQ(c->getMFParameters()->size(), 1u);
}

TEST(ShaderUniforms, ChunkOwnsItsParameters)
{
    SHLChunkPtr c = SHLChunk::create();
    addRefCP(c);
    for(const char *name : { "a", "kept", "c" })
        c->setUniformParameter(name, Int32(1));
    ShaderParameterPtr kept = c->findUniformParameter("kept");
    UInt32             a    = idOf(c, "a");
    EXPECT_EQ(kept.getRefCount(), 1);

    // Removing releases; the others keep their order.
    EXPECT_TRUE(c->subUniformParameter("a"));
    EXPECT_FALSE(isAlive(a));
    EXPECT_FALSE(c->hasUniformParameter("a"));
    EXPECT_FALSE(c->subUniformParameter("a"));
    ASSERT_EQ(c->getMFParameters()->size(), 2u);
    EXPECT_EQ(c->getParameters(1)->getName(), "c");

    // A shallow copy shares the parameters and holds its own references.
    addRefCP(kept);
    SHLChunkPtr copy = SHLChunkPtr::dcast(c->shallowCopy());
    addRefCP(copy);
    EXPECT_EQ(copy->findUniformParameter("kept"), kept);
    EXPECT_EQ(kept.getRefCount(), 3);
    subRefCP(copy);
    EXPECT_EQ(kept.getRefCount(), 2);

    UInt32 last = idOf(c, "c");
    c->clearUniformParameters();
    EXPECT_FALSE(isAlive(last));
    EXPECT_TRUE(c->getMFParameters()->empty());
    EXPECT_EQ(kept.getRefCount(), 1);
    EXPECT_TRUE(c->setUniformParameter("a", 1.f));    // a removed name may come back as another kind

    // Destroying the chunk releases what it still holds.
    UInt32 late = idOf(c, "a");
    beginEditCP(c, SHLChunk::ParametersFieldMask);
    c->editMFParameters()->push_back(kept);
    addRefCP(kept);
    endEditCP(c, SHLChunk::ParametersFieldMask);
    subRefCP(c);
    EXPECT_FALSE(isAlive(late));
    EXPECT_EQ(kept.getRefCount(), 1);
    subRefCP(kept);
}

TEST(ShaderUniforms, BinaryFormWritesParametersAsIds)
{
    ChunkHolder source;
    source.chunk->setUniformParameter("first", Int32(11));
    source.chunk->setUniformParameter("second", 0.5f);
    ShaderParameterPtr first = source.chunk->getParameters(0), second = source.chunk->getParameters(1);

    // Count, then one 32-bit container id per parameter, all big-endian.
    MemoryBinaryDataHandler out;
    source.chunk->copyToBin(out, SHLChunk::ParametersFieldMask);
    std::vector<UInt8> expected = { 0, 0, 0, 2 };
    for(UInt32 id : { first.getFieldContainerId(), second.getFieldContainerId() })
        for(int shift = 24; shift >= 0; shift -= 8)
            expected.push_back(UInt8(id >> shift));
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
    endEditCP(target.chunk, FieldBits::AllFields, ChangedOrigin::Abstract | ChangedOrigin::AbstrIncRefCount);
    EXPECT_EQ(first.getRefCount(), 2);
    EXPECT_EQ(second.getRefCount(), 2);
    Real32 secondValue = 0.f;
    EXPECT_TRUE(target.chunk->getUniformParameter("second", secondValue));
    EXPECT_EQ(secondValue, 0.5f);

    // The id of a container that is not a parameter (the chunk itself) reads as null and is skipped.
    MemoryBinaryDataHandler foreign;
    foreign.putValue(UInt32(1));
    foreign.putValue(UInt32(source.chunk.getFieldContainerId()));
    ChunkHolder third;
    LogCapture capture;
    MemoryBinaryDataHandler in3(foreign.getBuffer().data(), foreign.getBuffer().size());
    third.chunk->copyFromBin(in3, SHLChunk::ParametersFieldMask);
    ASSERT_EQ(third.chunk->getMFParameters()->size(), 1u);
    EXPECT_EQ(third.chunk->getParameters(0), NullFC);
    EXPECT_TRUE(third.chunk->setUniformParameter("first", Int32(2)));
    EXPECT_EQ(third.chunk->getMFParameters()->size(), 2u);
}

TEST(ShaderChunkPrograms, ReadFromStreamAndFile)
{
    ChunkHolder h;
    SHLChunkPtr c = h.chunk;
    const std::string vertexText = "void main() { gl_Position = vec4(0.0); }\n";
    std::istringstream vertex(vertexText);
    EXPECT_TRUE(c->readVertexProgram(vertex));
    EXPECT_EQ(c->getVertexProgram(), vertexText);

    const std::string text = std::string(20000, 'x') + "\nend\n";
    const std::string path = ::testing::TempDir() + "TestShaderChunk_fragment.glsl";
    std::ofstream(path, std::ios::binary) << text;
    EXPECT_TRUE(c->readFragmentProgram(path.c_str()));
    EXPECT_EQ(c->getFragmentProgram(), text);
    std::remove(path.c_str());

    // Failures change nothing.
    LogCapture capture;
    EXPECT_FALSE(c->readFragmentProgram((path + ".missing").c_str()));
    EXPECT_FALSE(c->readGeometryProgram(static_cast<const Char8 *>(nullptr)));
    std::istringstream broken("lost");
    broken.setstate(std::ios::badbit);
    EXPECT_FALSE(c->readVertexProgram(broken));
    EXPECT_EQ(c->getFragmentProgram(), text);
    EXPECT_EQ(c->getVertexProgram(), vertexText);
    EXPECT_TRUE(c->getGeometryProgram().empty());
    EXPECT_TRUE(capture.contains("cannot open program file")) << capture.text();
}

TEST(SHLChunkType, ClassOrderingAndHeaders)
{
    SHLChunkPtr c = SHLChunkPtr::dcast(FieldContainerFactory::the()->createFieldContainer("SHLChunk"));
    ASSERT_NE(c, NullFC);
    addRefCP(c);
    EXPECT_STREQ(c->getClass()->getName(), "SHL");
    EXPECT_FALSE(c->isTransparent());
    SHLChunkPtr other = SHLChunk::create();
    addRefCP(other);
    EXPECT_TRUE(*c == *c);
    EXPECT_TRUE(*c != *other);
    EXPECT_NE(*c < *other, *other < *c);
    subRefCP(other);
    subRefCP(c);

    const struct { SHLChunk::ShaderKind kind; const char *define; } kinds[] = {
        { SHLChunk::VertexShader, "#define SK_VERTEX_SHADER 1\n" },
        { SHLChunk::FragmentShader, "#define SK_FRAGMENT_SHADER 1\n" },
        { SHLChunk::GeometryShader, "#define SK_GEOMETRY_SHADER 1\n" },
    };
    for(const auto &k : kinds)
    {
        std::string header = SHLChunk::getShaderHeaderString(k.kind);
        EXPECT_EQ(header.rfind("#version 330 compatibility\n", 0), 0u) << header;
        EXPECT_NE(header.find(k.define), std::string::npos) << header;
        EXPECT_EQ(header.back(), '\n');
    }
    LogCapture capture;
    EXPECT_TRUE(SHLChunk::getShaderHeaderString(SHLChunk::ShaderKind(7)).empty());
    EXPECT_TRUE(capture.contains("unknown shader kind"));
}

TEST(StateChunkClassRegistry, SlotsNamesAndReuse)
{
    const StateChunkClass *shl = StateChunkClass::find("SHL");
    ASSERT_NE(shl, nullptr);
    EXPECT_EQ(shl, SHLChunk::getStaticClass());
    EXPECT_EQ(StateChunkClass::find(shl->getId()), shl);
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
    EXPECT_TRUE(capture.contains("invalid class"));
}
