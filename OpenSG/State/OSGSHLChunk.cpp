#include <OpenSG/OSGSHLChunk.h>
#include <OpenSG/OSGLog.h>

namespace osg {

StateChunkClass SHLChunk::_class("SHL");

SHLChunk::SHLChunk(void) : Inherited()
{
}

SHLChunk::SHLChunk(const SHLChunk &source) : Inherited(source)
{
}

SHLChunk::~SHLChunk(void) = default;

const StateChunkClass *SHLChunk::getStaticClass(void)
{
    return &_class;
}

UInt32 SHLChunk::getStaticClassId(void)
{
    return _class.getId();
}

const StateChunkClass *SHLChunk::getClass(void) const
{
    return &_class;
}

std::string SHLChunk::getShaderHeaderString(ShaderKind kind)
{
    static const char *const version = "#version 330 compatibility\n";
    switch(kind)
    {
        case VertexShader:
            return std::string(version) + "#define SK_VERTEX_SHADER 1\n";
        case FragmentShader:
            return std::string(version) + "#define SK_FRAGMENT_SHADER 1\n";
        case GeometryShader:
            return std::string(version) + "#define SK_GEOMETRY_SHADER 1\n";
    }
    SWARNING << "SHLChunk::getShaderHeaderString: unknown shader kind " << Int32(kind)
             << std::endl;
    return std::string();
}

} // namespace osg
