#ifndef SK_OPENSGEXT_SKOPENSGEXT_H
#define SK_OPENSGEXT_SKOPENSGEXT_H

#include <OpenSG/OSGSHLChunk.h>

/*! The library's entry class: a link anchor for hosts and the process-wide settings. */
class skOpenSGExt
{
  public:
    /*! Does nothing. Everything the library adds to OpenSG registers itself by static
        construction when the library is loaded; a host calls this only so that its linker keeps
        the library, and with it those registrations. */
    static void init(void);

    /*! Whether the library's cameras take +Z as up (default false). A plain flag: set it before
        cameras are used from other threads. */
    static void setCameraZUp(bool zUp);
    static bool isCameraZUp (void);

    /*! A new SHLChunk (reference count 0) that draws a back-plate image over the whole viewport.
        The vertex program makes a full-screen triangle from gl_VertexID, so the renderer draws
        it as three vertices without attributes. The fragment program samples the texture in unit
        `map`; `alpha` >= 0 replaces the texture's alpha. Along an axis whose `normalized` flag is
        set the image spans the viewport; along the other axis it keeps its pixels square,
        borrowing the normalised axis's scale, or drawing one image pixel per screen pixel when
        neither is set. The image is centred; outside it nothing is drawn. Uniforms: "map" = 0
        (Int32), "alpha" = -1 (Real32), "normalizedX" and "normalizedY" (bool). The edit is
        recorded in the current change list. NullFC (and a warning) if the SHLChunk type is not
        initialised. */
    static osg::SHLChunkPtr createBackplateShader(bool normalizedX, bool normalizedY);

    skOpenSGExt(void) = delete;

  private:
    static bool _zUp;
};

#endif
