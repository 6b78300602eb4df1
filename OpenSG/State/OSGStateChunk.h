#ifndef _OSGSTATECHUNK_H_
#define _OSGSTATECHUNK_H_

#include <OpenSG/OSGStateChunkBase.h>

#include <string>
#include <vector>

namespace osg {

/*! The class of a kind of state chunk, e.g. "SHL" or "Texture". Every class owns a block of
    consecutive slot ids (one per unit a chunk of that class can occupy at once); getId() is the
    first of them, so a renderer's state can index chunks by getId() + slot. A class registers
    when it is constructed (concrete chunks hold one as a static object) and frees its ids when
    it is destroyed; a class constructed again under the same name and slot count (a library
    loaded anew) gets its old ids back. */
class StateChunkClass
{
  public:
    explicit StateChunkClass(const Char8 *name, UInt32 numSlots = 1);
    ~StateChunkClass(void);

    StateChunkClass(const StateChunkClass &) = delete;
    StateChunkClass &operator=(const StateChunkClass &) = delete;

    UInt32       getId      (void) const { return _classId;        }
    const Char8 *getName    (void) const { return _name.c_str();   }
    Int32        getNumSlots(void) const { return Int32(_numSlots); }

    /*! The registered class that owns a slot id, or NULL. */
    static const StateChunkClass *find(UInt32 id);
    /*! The registered class of that name, or NULL. */
    static const StateChunkClass *find(const Char8 *name);

    /*! Name and slot count of the class owning a slot id; NULL and -1 for a free or unknown id. */
    static const Char8 *getName    (UInt32 id);
    static Int32        getNumSlots(UInt32 id);

    /*! One past the highest slot id handed out so far. */
    static UInt32 getUsedSlots(void);

  private:
    std::string _name;
    UInt32      _numSlots;
    UInt32      _classId;
};

/*! Base of state chunks. This kernel renders nothing, so the GL entry points of OpenSG's chunks
    (activate, changeFrom, deactivate, update) are deliberately absent rather than empty: a chunk
    here is its data, its class and the comparisons a renderer sorts by. */
class StateChunk : public StateChunkBase
{
  public:
    typedef StateChunkBase Inherited;

    /*! The chunk's class; every concrete chunk has one. */
    virtual const StateChunkClass *getClass(void) const = 0;
    UInt32 getClassId(void) const { return getClass()->getId(); }

    /*! Whether the chunk makes its geometry need blending; false unless a chunk says otherwise. */
    virtual bool   isTransparent(void) const;
    /*! Relative cost of switching from this chunk to another; 0 when nothing is known. */
    virtual Real32 switchCost(StateChunk *chunk);

    /*! Identity order and identity equality: chunks that can tell equal state apart override. */
    virtual bool operator< (const StateChunk &other) const;
    virtual bool operator==(const StateChunk &other) const;
    virtual bool operator!=(const StateChunk &other) const;

  protected:
    friend class FieldContainer;
    friend class StateChunkBase;

    StateChunk(void);
    StateChunk(const StateChunk &source);
    ~StateChunk(void) override;
};

} // namespace osg

#endif
