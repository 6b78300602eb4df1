#include <OpenSG/OSGShaderChunk.h>
#include <OpenSG/OSGLog.h>

#include <fstream>
#include <istream>
#include <iterator>

namespace osg {

ShaderChunk::ShaderChunk(void) : Inherited()
{
}

ShaderChunk::ShaderChunk(const ShaderChunk &source) : Inherited(source)
{
}

ShaderChunk::~ShaderChunk(void) = default;

bool ShaderChunk::readProgram(std::string &program, std::istream &stream)
{
    std::string text;
    char buffer[8192];
    while(stream)
    {
        stream.read(buffer, sizeof(buffer));
        std::streamsize n = stream.gcount();
        if(n <= 0)
            break;
        if(text.size() + size_t(n) > MaxProgramSize)
        {
            SWARNING << "ShaderChunk: program source exceeds " << MaxProgramSize
                     << " bytes; not read" << std::endl;
            return false;
        }
        text.append(buffer, size_t(n));
    }
    if(stream.bad() || !stream.eof())
    {
        SWARNING << "ShaderChunk: error while reading a program source" << std::endl;
        return false;
    }
    program.swap(text);
    return true;
}

bool ShaderChunk::readProgram(std::string &program, const Char8 *file)
{
    if(file == NULL || *file == '\0')
    {
        SWARNING << "ShaderChunk: no program file name given" << std::endl;
        return false;
    }
    std::ifstream stream(file, std::ios::in | std::ios::binary);
    if(!stream)
    {
        SWARNING << "ShaderChunk: cannot open program file \"" << file << "\"" << std::endl;
        return false;
    }
    return readProgram(program, stream);
}

bool ShaderChunk::readVertexProgram(const Char8 *file)
{
    return readProgram(_sfVertexProgram.getValue(), file);
}

bool ShaderChunk::readVertexProgram(std::istream &stream)
{
    return readProgram(_sfVertexProgram.getValue(), stream);
}

bool ShaderChunk::readFragmentProgram(const Char8 *file)
{
    return readProgram(_sfFragmentProgram.getValue(), file);
}

bool ShaderChunk::readFragmentProgram(std::istream &stream)
{
    return readProgram(_sfFragmentProgram.getValue(), stream);
}

bool ShaderChunk::readGeometryProgram(const Char8 *file)
{
    return readProgram(_sfGeometryProgram.getValue(), file);
}

bool ShaderChunk::readGeometryProgram(std::istream &stream)
{
    return readProgram(_sfGeometryProgram.getValue(), stream);
}

} // namespace osg
