#include <OpenSG/OSGTypeBase.h>
#include <OpenSG/OSGLog.h>

#include <cstring>
#include <mutex>

namespace osg {

namespace {
std::mutex &typeMutex()
{
    static std::mutex *m = new std::mutex;
    return *m;
}
} // namespace

TypeBase::TypeBase(const Char8 *name, const Char8 *parentName, UInt32 nameSpace) :
    _id(0),
    _name(name != NULL ? name : ""),
    _parentName(parentName != NULL ? parentName : ""),
    _nameSpace(nameSpace)
{
    _id = TypeFactory::the()->registerType(this);
}

TypeBase::~TypeBase()
{
    TypeFactory::the()->unregisterType(this);
}

TypeBase *TypeBase::getParent(void) const
{
    if(_parentName.empty())
        return NULL;
    return TypeFactory::the()->findType(_parentName.c_str(), _nameSpace);
}

bool TypeBase::isDerivedFrom(const TypeBase &other) const
{
    const TypeBase *t = this;
    // Bounded: a cycle of parent names must not hang the caller.
    for(UInt32 depth = 0; t != NULL && depth < 256; ++depth)
    {
        if(t == &other)
            return true;
        t = t->getParent();
    }
    return false;
}

DataType::DataType(const Char8 *name, const Char8 *parentName, UInt32 nameSpace) :
    TypeBase(name, parentName, nameSpace)
{
}

DataType::~DataType() = default;

TypeFactory *TypeFactory::the(void)
{
    // Never destroyed: types in other libraries unregister from their static destructors.
    static TypeFactory *factory = new TypeFactory;
    return factory;
}

UInt32 TypeFactory::registerType(TypeBase *type)
{
    std::lock_guard<std::mutex> lock(typeMutex());
    if(_types.empty())
        _types.push_back(NULL);
    _types.push_back(type);
    return UInt32(_types.size() - 1);
}

void TypeFactory::unregisterType(TypeBase *type)
{
    std::lock_guard<std::mutex> lock(typeMutex());
    UInt32 id = type->getId();
    if(id < _types.size() && _types[id] == type)
        _types[id] = NULL;
}

TypeBase *TypeFactory::findType(UInt32 id) const
{
    std::lock_guard<std::mutex> lock(typeMutex());
    return id < _types.size() ? _types[id] : NULL;
}

TypeBase *TypeFactory::findType(const Char8 *name, UInt32 nameSpace) const
{
    if(name == NULL)
        return NULL;
    std::lock_guard<std::mutex> lock(typeMutex());
    for(TypeBase *t : _types)
    {
        if(t != NULL && t->getNameSpace() == nameSpace && t->getName() == name)
            return t;
    }
    return NULL;
}

UInt32 TypeFactory::getNumTypes(void) const
{
    std::lock_guard<std::mutex> lock(typeMutex());
    UInt32 n = 0;
    for(TypeBase *t : _types)
        n += (t != NULL);
    return n;
}

} // namespace osg
