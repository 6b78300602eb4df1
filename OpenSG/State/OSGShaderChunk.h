#ifndef _OSGSHADERCHUNK_H_
#define _OSGSHADERCHUNK_H_

#include <OpenSG/OSGShaderChunkBase.h>

#include <iosfwd>

namespace osg {

/*! A chunk with vertex, fragment and geometry program sources.

    The read functions replace a program with the whole content of a file or stream and return
    true; on failure (no file name, unreadable file or stream, more than MaxProgramSize bytes)
    they warn, return false and leave the program as it was. Like the setters they do not record
    the change: wrap them in the chunk's edit of the program's field mask. */
class ShaderChunk : public ShaderChunkBase
{
  public:
    typedef ShaderChunkBase Inherited;

    /*! No program source is anywhere near this long; larger input is taken to be wrong data. */
    static constexpr UInt32 MaxProgramSize = 16u << 20;

    bool readVertexProgram  (const Char8 *file);
    bool readVertexProgram  (std::istream &stream);
    bool readFragmentProgram(const Char8 *file);
    bool readFragmentProgram(std::istream &stream);
    bool readGeometryProgram(const Char8 *file);
    bool readGeometryProgram(std::istream &stream);

  protected:
    friend class FieldContainer;
    friend class ShaderChunkBase;

    ShaderChunk(void);
    ShaderChunk(const ShaderChunk &source);
    ~ShaderChunk(void) override;

  private:
    static bool readProgram(std::string &program, const Char8 *file);
    static bool readProgram(std::string &program, std::istream &stream);
};

} // namespace osg

#endif
