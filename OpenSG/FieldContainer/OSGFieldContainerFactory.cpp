#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGFieldContainer.h>
#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGChangeList.h>
#include <OpenSG/OSGLog.h>

namespace osg {

FieldContainerFactory *FieldContainerFactory::the(void)
{
    // Never destroyed: type objects of other libraries unregister from their static destructors.
    static FieldContainerFactory *factory = new FieldContainerFactory;
    return factory;
}

FieldContainerFactory::FieldContainerFactory() :
    _typeMutex(),
    _types(),
    _typesByName(),
    _groups(),
    _storeMutex(),
    _store(1, static_cast<FieldContainer *>(NULL)),
    _liveContainers(0),
    _mapper(NULL)
{
    addInitFunction(&FieldContainerFactory::initFunction);
    addSystemExitFunction(&FieldContainerFactory::exitFunction);
}

bool FieldContainerFactory::initFunction(void)
{
    bool ok = the()->initializePendingTypes();
    // The application thread records from here on; what start-up created is not news.
    static ChangeList *appList = new ChangeList;
    if(Thread::getCurrentChangeList() == NULL)
        Thread::setCurrentChangeList(appList);
    Thread::getCurrentChangeList()->clearAll();
    return ok;
}

bool FieldContainerFactory::exitFunction(void)
{
    for(FieldContainerType *t : the()->getTypes())
        t->terminate();
    return true;
}

void FieldContainerFactory::registerType(FieldContainerType *type)
{
    std::lock_guard<std::recursive_mutex> lock(_typeMutex);
    auto it = _typesByName.find(type->getName());
    if(it != _typesByName.end())
    {
        SWARNING << "FieldContainerFactory: type " << type->getName()
                 << " registered twice; the first registration stays" << std::endl;
        return;
    }
    _types.push_back(type);
    _typesByName[type->getName()] = type;
}

void FieldContainerFactory::unregisterType(FieldContainerType *type)
{
    std::lock_guard<std::recursive_mutex> lock(_typeMutex);
    auto it = _typesByName.find(type->getName());
    if(it != _typesByName.end() && it->second == type)
        _typesByName.erase(it);
    for(auto t = _types.begin(); t != _types.end(); ++t)
    {
        if(*t == type)
        {
            _types.erase(t);
            break;
        }
    }
}

FieldContainerType *FieldContainerFactory::findTypeLocked(const std::string &name) const
{
    auto it = _typesByName.find(name);
    return it != _typesByName.end() ? it->second : NULL;
}

FieldContainerType *FieldContainerFactory::findType(UInt32 typeId) const
{
    std::lock_guard<std::recursive_mutex> lock(_typeMutex);
    for(FieldContainerType *t : _types)
    {
        if(t->getId() == typeId)
        {
            if(!t->isInitialized())
                t->initialize();
            return t->isInitialized() ? t : NULL;
        }
    }
    return NULL;
}

FieldContainerType *FieldContainerFactory::findType(const Char8 *name) const
{
    if(name == NULL)
        return NULL;
    std::lock_guard<std::recursive_mutex> lock(_typeMutex);
    FieldContainerType *t = findTypeLocked(name);
    if(t == NULL)
        return NULL;
    // A lookup from the type's own initialisation (its parent chain) must not recurse.
    if(!t->isInitialized() && !t->initialize())
        return NULL;
    return t;
}

UInt32 FieldContainerFactory::getNumTypes(void) const
{
    std::lock_guard<std::recursive_mutex> lock(_typeMutex);
    return UInt32(_types.size());
}

std::vector<FieldContainerType *> FieldContainerFactory::getTypes(void) const
{
    std::lock_guard<std::recursive_mutex> lock(_typeMutex);
    return _types;
}

bool FieldContainerFactory::initializePendingTypes(void)
{
    std::lock_guard<std::recursive_mutex> lock(_typeMutex);
    bool ok = true;
    // Index-based: initialising a type may register further ones.
    for(size_t i = 0; i < _types.size(); ++i)
    {
        if(!_types[i]->isInitialized() && !_types[i]->initialize())
            ok = false;
    }
    return ok;
}

UInt16 FieldContainerFactory::registerGroup(const Char8 *name)
{
    if(name == NULL)
        return 0;
    std::lock_guard<std::recursive_mutex> lock(_typeMutex);
    for(size_t i = 0; i < _groups.size(); ++i)
    {
        if(_groups[i] == name)
            return UInt16(i + 1);
    }
    _groups.push_back(name);
    return UInt16(_groups.size());
}

UInt16 FieldContainerFactory::findGroupId(const Char8 *name) const
{
    if(name == NULL)
        return 0;
    std::lock_guard<std::recursive_mutex> lock(_typeMutex);
    for(size_t i = 0; i < _groups.size(); ++i)
    {
        if(_groups[i] == name)
            return UInt16(i + 1);
    }
    return 0;
}

const Char8 *FieldContainerFactory::findGroupName(UInt16 groupId) const
{
    std::lock_guard<std::recursive_mutex> lock(_typeMutex);
    return groupId >= 1 && groupId <= _groups.size() ? _groups[groupId - 1].c_str() : NULL;
}

FieldContainerPtr FieldContainerFactory::createFieldContainer(const Char8 *name) const
{
    FieldContainerType *type = findType(name);
    if(type == NULL)
    {
        SWARNING << "FieldContainerFactory: unknown type \"" << (name != NULL ? name : "")
                 << "\"" << std::endl;
        return NullFC;
    }
    if(type->isAbstract())
    {
        SWARNING << "FieldContainerFactory: type \"" << name
                 << "\" is abstract and cannot be created" << std::endl;
        return NullFC;
    }
    return type->createFieldContainer();
}

namespace {
template <class PtrT>
PtrT createOfKind(const FieldContainerFactory &factory, const Char8 *name, const char *kind)
{
    FieldContainerPtr fc = factory.createFieldContainer(name);
    if(fc == NullFC)
        return PtrT();
    PtrT typed = PtrT::dcast(fc);
    if(typed == NullFC)
    {
        SWARNING << "FieldContainerFactory: type \"" << name << "\" is not a " << kind
                 << std::endl;
        addRefCP(fc);
        subRefCP(fc);
    }
    return typed;
}
} // namespace

} // namespace osg

#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGNodeCore.h>
#include <OpenSG/OSGAttachment.h>

namespace osg {

NodePtr FieldContainerFactory::createNode(const Char8 *name) const
{
    return createOfKind<NodePtr>(*this, name, "node");
}

NodeCorePtr FieldContainerFactory::createNodeCore(const Char8 *name) const
{
    return createOfKind<NodeCorePtr>(*this, name, "node core");
}

AttachmentPtr FieldContainerFactory::createAttachment(const Char8 *name) const
{
    return createOfKind<AttachmentPtr>(*this, name, "attachment");
}

FieldContainerPtr FieldContainerFactory::getContainer(UInt32 containerId) const
{
    std::lock_guard<std::mutex> lock(_storeMutex);
    if(containerId >= _store.size())
        return NullFC;
    return FieldContainerPtr(_store[containerId]);
}

FieldContainerPtr FieldContainerFactory::getMappedContainer(UInt32 containerId) const
{
    if(_mapper != NULL)
        containerId = _mapper->map(containerId);
    return getContainer(containerId);
}

UInt32 FieldContainerFactory::getNumLiveContainers(void) const
{
    std::lock_guard<std::mutex> lock(_storeMutex);
    return _liveContainers;
}

UInt32 FieldContainerFactory::registerFieldContainer(FieldContainer *container)
{
    std::lock_guard<std::mutex> lock(_storeMutex);
    _store.push_back(container);
    ++_liveContainers;
    return UInt32(_store.size() - 1);
}

void FieldContainerFactory::unregisterFieldContainer(UInt32 containerId)
{
    std::lock_guard<std::mutex> lock(_storeMutex);
    if(containerId != 0 && containerId < _store.size() && _store[containerId] != NULL)
    {
        _store[containerId] = NULL;
        --_liveContainers;
    }
}

} // namespace osg
