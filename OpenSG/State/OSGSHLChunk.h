#ifndef _OSGSHLCHUNK_H_
#define _OSGSHLCHUNK_H_

#include <OpenSG/OSGSHLChunkBase.h>

#include <string>

namespace osg {

/*! A GLSL program: sources, uniforms and the program parameters a renderer applies. Chunk class
    "SHL", one slot. */
class SHLChunk : public SHLChunkBase
{
  public:
    typedef SHLChunkBase Inherited;

    enum ShaderKind
    {
        VertexShader   = 0,
        FragmentShader = 1,
        GeometryShader = 2
    };

    /*! The text put before every program of a kind: "#version 330 compatibility" (GLSL 3.30,
        with the fixed-function built-ins still available) and a define naming the stage,
        SK_VERTEX_SHADER, SK_FRAGMENT_SHADER or SK_GEOMETRY_SHADER, set to 1; each line ends with
        '\n'. Programs stored with a header therefore carry no #version of their own. An unknown
        kind gives a warning and an empty string. */
    static std::string getShaderHeaderString(ShaderKind kind);

    static const StateChunkClass *getStaticClass  (void);
    static UInt32                 getStaticClassId(void);

    const StateChunkClass *getClass(void) const override;

  protected:
    friend class FieldContainer;
    friend class SHLChunkBase;

    SHLChunk(void);
    SHLChunk(const SHLChunk &source);
    ~SHLChunk(void) override;

  private:
    static StateChunkClass _class;
};

} // namespace osg

#endif
