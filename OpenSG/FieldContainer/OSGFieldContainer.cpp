#include <OpenSG/OSGFieldContainer.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGChangeList.h>
#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGField.h>
#include <OpenSG/OSGLog.h>

#include "detail/ContainerHeap.h"

#include <algorithm>
#include <iostream>
#include <ostream>

namespace osg {

const NullFieldContainerPtr NullFC;

FieldContainerType FieldContainer::_type("FieldContainer");

FieldContainer::FieldContainer() :
    _refCount(0),
    _containerId(0),
    _changedFunctions()
{
}

FieldContainer::FieldContainer(const FieldContainer &) :
    _refCount(0),
    _containerId(0),
    _changedFunctions()
{
}

FieldContainer::~FieldContainer() = default;

FieldContainerType &FieldContainer::getClassType(void)
{
    return _type;
}

UInt32 FieldContainer::getClassTypeId(void)
{
    return _type.getId();
}

FieldContainerType &FieldContainer::getType(void)
{
    return _type;
}

const FieldContainerType &FieldContainer::getType(void) const
{
    return _type;
}

UInt32 FieldContainer::getTypeId(void) const
{
    return getType().getId();
}

UInt16 FieldContainer::getGroupId(void) const
{
    return getType().getGroupId();
}

const Char8 *FieldContainer::getTypeName(void) const
{
    return getType().getCName();
}

Field *FieldContainer::getField(UInt32 fieldId)
{
    const FieldDescription *desc = getType().getFieldDescription(fieldId);
    return desc != NULL ? desc->getField(this) : NULL;
}

Field *FieldContainer::getField(const Char8 *fieldName)
{
    const FieldDescription *desc = getType().findFieldDescription(fieldName);
    return desc != NULL ? desc->getField(this) : NULL;
}

UInt32 FieldContainer::getBinSize(const BitVector &)
{
    return 0;
}

void FieldContainer::copyToBin(BinaryDataHandler &, const BitVector &)
{
}

void FieldContainer::copyFromBin(BinaryDataHandler &, const BitVector &)
{
}

void FieldContainer::changed(BitVector, UInt32)
{
}

void FieldContainer::addChangedFunction(const ChangedFunctionPtr &function)
{
    if(!function)
        return;
    if(!_changedFunctions)
        _changedFunctions.reset(new std::vector<std::weak_ptr<ChangedFunction> >);
    for(const auto &w : *_changedFunctions)
    {
        if(w.lock() == function)
            return;
    }
    _changedFunctions->push_back(function);
}

bool FieldContainer::subChangedFunction(const ChangedFunctionPtr &function)
{
    if(!_changedFunctions || !function)
        return false;
    auto &v = *_changedFunctions;
    auto it = std::find_if(v.begin(), v.end(), [&](const std::weak_ptr<ChangedFunction> &w) {
        return w.lock() == function;
    });
    if(it == v.end())
        return false;
    v.erase(it);
    return true;
}

UInt32 FieldContainer::getNumChangedFunctions(void) const
{
    if(!_changedFunctions)
        return 0;
    UInt32 n = 0;
    for(const auto &w : *_changedFunctions)
        n += !w.expired();
    return n;
}

void FieldContainer::callChangedFunctions(const BitVector &whichField, UInt32 origin)
{
    if(!_changedFunctions || _changedFunctions->empty())
        return;
    // Lock first: a function may register or drop functions on this container while it runs.
    std::vector<ChangedFunctionPtr> live;
    auto &v = *_changedFunctions;
    v.erase(std::remove_if(v.begin(), v.end(),
                           [](const std::weak_ptr<ChangedFunction> &w) { return w.expired(); }),
            v.end());
    for(const auto &w : v)
    {
        if(ChangedFunctionPtr f = w.lock())
            live.push_back(f);
    }
    FieldContainerPtr self(this);
    for(const ChangedFunctionPtr &f : live)
    {
        if(*f)
            (*f)(self, whichField, origin);
    }
}

void FieldContainer::dump(UInt32 uiIndent, const BitVector) const
{
    dumpFields(std::cout, uiIndent);
}

void FieldContainer::dumpFields(std::ostream &os, UInt32 uiIndent) const
{
    std::string pad(uiIndent, ' ');
    const FieldContainerType &type = getType();
    os << pad << type.getName() << " #" << _containerId << " (refs " << getRefCount() << ")\n";
    FieldContainer *self = const_cast<FieldContainer *>(this);
    for(UInt32 id = 1; id <= type.getNumFieldDescs(); ++id)
    {
        const FieldDescription *desc = type.getFieldDescription(id);
        if(desc == NULL)
            continue;
        const Field *field = desc->getField(self);
        os << pad << "  " << desc->getName() << " = ";
        if(field != NULL)
            os << field->getValueByStr();
        os << "\n";
    }
}

void FieldContainer::onDestroy(void)
{
}

void FieldContainer::registerNew(void)
{
    _containerId = FieldContainerFactory::the()->registerFieldContainer(this);
    if(ChangeList *list = Thread::getCurrentChangeList())
        list->addCreated(_containerId);
}

void FieldContainer::addRef(void)
{
    _refCount.fetch_add(1, std::memory_order_relaxed);
}

void FieldContainer::subRef(void)
{
    if(_refCount.fetch_sub(1, std::memory_order_acq_rel) <= 1)
        destroy();
}

void *FieldContainer::operator new(size_t bytes)
{
#ifdef SKOSG_HEAP_ASAN
    // The sanitizer's own heap keeps its use-after-free checks on containers.
    return ::operator new(bytes);
#else
    return detail::ContainerHeap::allocate(bytes);
#endif
}

void FieldContainer::operator delete(void *block) noexcept
{
#ifdef SKOSG_HEAP_ASAN
    ::operator delete(block);
#else
    detail::ContainerHeap::release(block);
#endif
}

namespace {
// Containers released while another one is being destroyed wait here, so that dropping the top
// of a deep hierarchy destroys it level by level instead of recursing once per level.
thread_local bool                           destroying = false;
thread_local std::vector<FieldContainer *> *pendingDestroy = NULL;
} // namespace

void FieldContainer::destroy(void)
{
    if(destroying)
    {
        if(pendingDestroy == NULL)
            pendingDestroy = new std::vector<FieldContainer *>;
        pendingDestroy->push_back(this);
        return;
    }
    destroying = true;
    FieldContainer *next = this;
    size_t done = 0;
    while(next != NULL)
    {
        if(ChangeList *list = Thread::getCurrentChangeList())
            list->addDestroyed(next->_containerId);
        FieldContainerFactory::the()->unregisterFieldContainer(next->_containerId);
        next->onDestroy();
        delete next;

        next = NULL;
        if(pendingDestroy != NULL && done < pendingDestroy->size())
            next = (*pendingDestroy)[done++];
    }
    if(pendingDestroy != NULL)
        pendingDestroy->clear();
    destroying = false;
}

/*-------------------------------------------------------------------------*/

UInt32 FieldContainerPtr::getFieldContainerId(void) const
{
    return _storeP != NULL ? _storeP->getContainerId() : 0;
}

Int32 FieldContainerPtr::getRefCount(void) const
{
    return _storeP != NULL ? _storeP->getRefCount() : 0;
}

std::ostream &operator<<(std::ostream &os, const FieldContainerPtr &fc)
{
    if(fc == NullFC)
        return os << "FieldContainerPtr 0x" << static_cast<const void *>(&fc) << ":NullFC";
    return os << "FCPtr 0x" << static_cast<const void *>(&fc) << ":" << fc->getTypeName()
              << "Ptr(0x" << static_cast<const void *>(fc.getCPtr()) << ")";
}

void addRefCP(const FieldContainerPtr &objectP)
{
    if(objectP != NullFC)
        objectP.getCPtr()->addRef();
}

void subRefCP(const FieldContainerPtr &objectP)
{
    if(objectP != NullFC)
        objectP.getCPtr()->subRef();
}

void beginEditCP(const FieldContainerPtr &, const BitVector &, UInt32)
{
}

void endEditCP(const FieldContainerPtr &objectP, const BitVector &whichField, UInt32 origin)
{
    if(objectP == NullFC)
        return;
    if(ChangeList *list = Thread::getCurrentChangeList())
        list->addChanged(objectP, whichField);
    changedCP(objectP, whichField, origin);
}

void endEditNotChangedCP(const FieldContainerPtr &objectP, const BitVector &whichField, UInt32)
{
    if(objectP == NullFC)
        return;
    if(ChangeList *list = Thread::getCurrentChangeList())
        list->addChanged(objectP, whichField);
}

void changedCP(const FieldContainerPtr &objectP, const BitVector &whichField, UInt32 origin)
{
    if(objectP == NullFC || osgIgnoreChanges())
        return;
    FieldContainer *fc = objectP.getCPtr();
    fc->changed(whichField, origin);
    fc->callChangedFunctions(whichField, origin);
}

} // namespace osg
