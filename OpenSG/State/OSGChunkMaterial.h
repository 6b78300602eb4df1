#ifndef _OSGCHUNKMATERIAL_H_
#define _OSGCHUNKMATERIAL_H_

#include <OpenSG/OSGChunkMaterialBase.h>
#include <OpenSG/OSGStateChunk.h>

namespace osg {

/*! A material made of state chunks, at most one per chunk class.

    Ownership of `chunks`: the material holds one reference per entry. addChunk takes it,
    subChunk and clearChunks give it back, destroying the material gives back all. A shallow copy
    shares its source's chunks and takes its own references. Reading the field from a stream or
    synchronising it takes none; a loader that ends its edit with the origin
    Abstract|AbstrIncRefCount makes the material take them then. The operations below do not
    record the material's own field: wrap them in an edit of ChunksFieldMask. */
class ChunkMaterial : public ChunkMaterialBase
{
  public:
    typedef ChunkMaterialBase Inherited;

    /*! Adds a chunk; one of the same class is released and replaced. False for a null chunk. */
    bool addChunk(const StateChunkPtr &chunk);
    /*! Removes and releases a chunk; false when it is not part of this material. */
    bool subChunk(const StateChunkPtr &chunk);
    /*! Releases every chunk. */
    void clearChunks(void);

    /*! The chunk of the given class, or NullFC. */
    StateChunkPtr find(const StateChunkClass &chunkClass) const;
    /*! Index of a chunk in `chunks`, or -1. */
    Int32 find(const StateChunkPtr &chunk) const;

    /*! As transparencyMode forces, else transparent as soon as one chunk is. */
    bool isTransparent(void) const override;

    void changed(BitVector whichField, UInt32 origin) override;

  protected:
    friend class FieldContainer;
    friend class ChunkMaterialBase;

    ChunkMaterial(void);
    ChunkMaterial(const ChunkMaterial &source);
    ~ChunkMaterial(void) override;

    void onCreate(const ChunkMaterial *source = NULL);
    void onDestroy(void) override;
};

} // namespace osg

#endif
