#include <OpenSG/OSGChunkMaterial.h>
#include <OpenSG/OSGLog.h>

namespace osg {

ChunkMaterial::ChunkMaterial(void) : Inherited()
{
}

ChunkMaterial::ChunkMaterial(const ChunkMaterial &source) : Inherited(source)
{
}

ChunkMaterial::~ChunkMaterial(void) = default;

void ChunkMaterial::onCreate(const ChunkMaterial *source)
{
    Inherited::onCreate(source);
    // The copy constructor shared the source's chunks; the copy owns its references.
    if(source != NULL)
    {
        for(const StateChunkPtr &c : _mfChunks)
            addRefCP(c);
    }
}

void ChunkMaterial::onDestroy(void)
{
    clearChunks();
    Inherited::onDestroy();
}

void ChunkMaterial::changed(BitVector whichField, UInt32 origin)
{
    Inherited::changed(whichField, origin);

    if((origin & ChangedOrigin::Abstract) && (origin & ChangedOrigin::AbstrIncRefCount) &&
       (whichField & ChunksFieldMask))
    {
        for(const StateChunkPtr &c : _mfChunks)
            addRefCP(c);
    }
}

bool ChunkMaterial::addChunk(const StateChunkPtr &chunk)
{
    if(chunk == NullFC)
    {
        SWARNING << "ChunkMaterial::addChunk: null chunk ignored" << std::endl;
        return false;
    }
    if(find(chunk) >= 0)
        return true;

    addRefCP(chunk);
    for(StateChunkPtr &c : _mfChunks)
    {
        if(c != NullFC && c->getClass() == chunk->getClass())
        {
            StateChunkPtr old = c;
            c = chunk;
            subRefCP(old);
            return true;
        }
    }
    _mfChunks.push_back(chunk);
    return true;
}

bool ChunkMaterial::subChunk(const StateChunkPtr &chunk)
{
    if(chunk == NullFC)
        return false;
    Int32 index = find(chunk);
    if(index < 0)
        return false;
    _mfChunks.erase(_mfChunks.begin() + index);
    subRefCP(chunk);
    return true;
}

void ChunkMaterial::clearChunks(void)
{
    MFStateChunkPtr::StorageType chunks;
    chunks.swap(_mfChunks.getValues());
    for(const StateChunkPtr &c : chunks)
        subRefCP(c);
}

StateChunkPtr ChunkMaterial::find(const StateChunkClass &chunkClass) const
{
    for(const StateChunkPtr &c : _mfChunks)
    {
        if(c != NullFC && c->getClass() == &chunkClass)
            return c;
    }
    return NullFC;
}

Int32 ChunkMaterial::find(const StateChunkPtr &chunk) const
{
    auto it = _mfChunks.find(chunk);
    return it != _mfChunks.end() ? Int32(it - _mfChunks.begin()) : -1;
}

bool ChunkMaterial::isTransparent(void) const
{
    Int32 forced = transparencyForced();
    if(forced >= 0)
        return forced == 1;
    for(const StateChunkPtr &c : _mfChunks)
    {
        if(c != NullFC && c->isTransparent())
            return true;
    }
    return false;
}

} // namespace osg
