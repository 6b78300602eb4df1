// The back-plate shader: a full-screen pass that draws a background image behind the scene.

#include <OpenSGExt/skOpenSGExt.h>

#include <OpenSG/OSGLog.h>

namespace {

// GLSL bodies; SHLChunk::getShaderHeaderString supplies the #version line before them.

const char *const BackplateVertexProgram = R"glsl(
// One triangle, (-1,-1) (3,-1) (-1,3), covers the viewport; skScreenCoord runs 0..1 across it.
// The depth is the far plane, so a back-plate drawn with depth writes hides nothing.
out vec2 skScreenCoord;

void main()
{
    vec2 corner = vec2(float((gl_VertexID & 1) << 2), float((gl_VertexID & 2) << 1));
    skScreenCoord = corner * 0.5;
    gl_Position = vec4(corner - 1.0, 1.0, 1.0);
}
)glsl";

const char *const BackplateFragmentProgram = R"glsl(
uniform sampler2D map;
uniform float alpha;        // >= 0 replaces the texture's alpha
uniform bool normalizedX;   // the image spans the viewport horizontally
uniform bool normalizedY;   // the image spans the viewport vertically

in vec2 skScreenCoord;
layout(location = 0) out vec4 skFragColor;

void main()
{
    // skScreenCoord is linear across the screen, so its derivative gives the viewport size
    // without a uniform for it.
    vec2 viewport = 1.0 / abs(vec2(dFdx(skScreenCoord.x), dFdy(skScreenCoord.y)));
    vec2 image = vec2(textureSize(map, 0));

    // Screen pixels per image pixel. A normalised axis fits the image to the viewport; the other
    // axis borrows that scale so image pixels stay square; with neither, one to one.
    vec2 fit = viewport / image;
    vec2 scale = vec2(1.0);
    if(normalizedX && normalizedY)
        scale = fit;
    else if(normalizedX)
        scale = vec2(fit.x);
    else if(normalizedY)
        scale = vec2(fit.y);

    vec2 uv = 0.5 + (skScreenCoord - 0.5) * viewport / (image * scale);
    if(any(lessThan(uv, vec2(0.0))) || any(greaterThan(uv, vec2(1.0))))
        discard;

    vec4 texel = texture(map, uv);
    skFragColor = vec4(texel.rgb, alpha >= 0.0 ? alpha : texel.a);
}
)glsl";

} // namespace

osg::SHLChunkPtr skOpenSGExt::createBackplateShader(bool normalizedX, bool normalizedY)
{
    using osg::SHLChunk;

    osg::SHLChunkPtr chunk = SHLChunk::create();
    if(chunk == osg::NullFC)
    {
        SWARNING << "skOpenSGExt::createBackplateShader: cannot create an SHLChunk" << std::endl;
        return chunk;
    }

    const osg::BitVector mask = SHLChunk::VertexProgramFieldMask |
                                SHLChunk::FragmentProgramFieldMask |
                                SHLChunk::ParametersFieldMask;
    osg::beginEditCP(chunk, mask);
    chunk->setVertexProgram(SHLChunk::getShaderHeaderString(SHLChunk::VertexShader) +
                            BackplateVertexProgram);
    chunk->setFragmentProgram(SHLChunk::getShaderHeaderString(SHLChunk::FragmentShader) +
                              BackplateFragmentProgram);
    chunk->clearUniformParameters();
    chunk->setUniformParameter("map", osg::Int32(0));
    chunk->setUniformParameter("alpha", -1.0f);
    chunk->setUniformParameter("normalizedX", normalizedX);
    chunk->setUniformParameter("normalizedY", normalizedY);
    osg::endEditCP(chunk, mask);
    return chunk;
}
