#include <OpenSG/OSGStateChunk.h>
#include <OpenSG/OSGLog.h>

#include <functional>
#include <mutex>

namespace osg {

namespace {

// One entry per slot id. Entries are never erased, so ids stay stable; a destroyed class leaves
// its entries ownerless for a class of the same name and size to take over.
struct SlotEntry
{
    std::string            name;
    UInt32                 numSlots;
    const StateChunkClass *owner;
};

struct ClassRegistry
{
    std::mutex             mutex;
    std::vector<SlotEntry> slots;
};

// Never destroyed: classes in libraries unloaded after this one still unregister safely.
ClassRegistry &registry(void)
{
    static ClassRegistry *r = new ClassRegistry;
    return *r;
}

const UInt32 MaxSlots = 1024;

} // namespace

StateChunkClass::StateChunkClass(const Char8 *name, UInt32 numSlots) :
    _name(name != NULL ? name : ""),
    _numSlots(numSlots),
    _classId(0)
{
    if(_name.empty() || _numSlots == 0 || _numSlots > MaxSlots)
    {
        SWARNING << "StateChunkClass: invalid class \"" << _name << "\" with " << numSlots
                 << " slots; registered with one slot" << std::endl;
        if(_name.empty())
            _name = "<unnamed>";
        _numSlots = 1;
    }

    ClassRegistry &r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    for(UInt32 i = 0; i < r.slots.size(); i += r.slots[i].numSlots)
    {
        SlotEntry &e = r.slots[i];
        if(e.owner == NULL && e.name == _name && e.numSlots == _numSlots)
        {
            for(UInt32 j = 0; j < _numSlots; ++j)
                r.slots[i + j].owner = this;
            _classId = i;
            return;
        }
        if(e.owner != NULL && e.name == _name)
            SWARNING << "StateChunkClass: class \"" << _name << "\" registered twice" << std::endl;
    }
    _classId = UInt32(r.slots.size());
    r.slots.insert(r.slots.end(), _numSlots, SlotEntry{_name, _numSlots, this});
}

StateChunkClass::~StateChunkClass(void)
{
    ClassRegistry &r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    for(UInt32 j = 0; j < _numSlots && _classId + j < r.slots.size(); ++j)
    {
        if(r.slots[_classId + j].owner == this)
            r.slots[_classId + j].owner = NULL;
    }
}

const StateChunkClass *StateChunkClass::find(UInt32 id)
{
    ClassRegistry &r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    return id < r.slots.size() ? r.slots[id].owner : NULL;
}

const StateChunkClass *StateChunkClass::find(const Char8 *name)
{
    if(name == NULL)
        return NULL;
    ClassRegistry &r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    for(const SlotEntry &e : r.slots)
    {
        if(e.owner != NULL && e.name == name)
            return e.owner;
    }
    return NULL;
}

const Char8 *StateChunkClass::getName(UInt32 id)
{
    const StateChunkClass *c = find(id);
    return c != NULL ? c->getName() : NULL;
}

Int32 StateChunkClass::getNumSlots(UInt32 id)
{
    const StateChunkClass *c = find(id);
    return c != NULL ? c->getNumSlots() : -1;
}

UInt32 StateChunkClass::getUsedSlots(void)
{
    ClassRegistry &r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    return UInt32(r.slots.size());
}

/*-------------------------------------------------------------------------*/

StateChunk::StateChunk(void) : Inherited()
{
}

StateChunk::StateChunk(const StateChunk &source) : Inherited(source)
{
}

StateChunk::~StateChunk(void) = default;

bool StateChunk::isTransparent(void) const
{
    return false;
}

Real32 StateChunk::switchCost(StateChunk *)
{
    return 0.f;
}

bool StateChunk::operator<(const StateChunk &other) const
{
    return std::less<const StateChunk *>()(this, &other);
}

bool StateChunk::operator==(const StateChunk &other) const
{
    return this == &other;
}

bool StateChunk::operator!=(const StateChunk &other) const
{
    return !(*this == other);
}

} // namespace osg
