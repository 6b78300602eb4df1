#include <OpenSG/OSGFieldContainerType.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGFieldContainer.h>
#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGLog.h>

#include <algorithm>
#include <cstring>
#include <ostream>

namespace osg {

FieldContainerType::FieldContainerType(const Char8       *name,
                                       const Char8       *parentName,
                                       const Char8       *groupName,
                                       PrototypeCreateF   prototypeCreate,
                                       InitContainerF     initMethod,
                                       FieldDescription **desc,
                                       UInt32             descByteCount,
                                       bool               descsAddable) :
    DataType(name, parentName),
    _groupName(groupName != NULL ? groupName : (name != NULL ? name : "")),
    _groupId(0),
    _prototypeCreate(prototypeCreate),
    _initMethod(initMethod),
    _desc(desc),
    _ownDescCount(desc != NULL ? descByteCount / UInt32(sizeof(FieldDescription *)) : 0),
    _descsAddable(descsAddable),
    _initialized(false),
    _initializing(false),
    _parentType(NULL),
    _descVec(),
    _prototype()
{
    FieldContainerFactory::the()->registerType(this);
    _groupId = FieldContainerFactory::the()->registerGroup(_groupName.c_str());
}

FieldContainerType::~FieldContainerType()
{
    if(GlobalSystemState == Running)
        clearPrototype();
    FieldContainerFactory::the()->unregisterType(this);
    for(UInt32 i = 0; i < _ownDescCount; ++i)
        delete _desc[i];
}

TypeBase *FieldContainerType::getParent(void) const
{
    return getParentType();
}

FieldContainerType *FieldContainerType::getParentType(void) const
{
    if(_parentType != NULL)
        return _parentType;
    if(_parentName.empty())
        return NULL;
    return FieldContainerFactory::the()->findType(_parentName.c_str());
}

bool FieldContainerType::derivesFromName(const Char8 *name) const
{
    const FieldContainerType *t = this;
    for(UInt32 depth = 0; t != NULL && depth < 256; ++depth)
    {
        if(t->getName() == name)
            return true;
        t = t->getParentType();
    }
    return false;
}

bool FieldContainerType::isAbstract(void) const
{
    return _prototype == NullFC;
}

bool FieldContainerType::isNode(void) const
{
    return derivesFromName("Node");
}

bool FieldContainerType::isNodeCore(void) const
{
    return derivesFromName("NodeCore");
}

bool FieldContainerType::isAttachment(void) const
{
    return derivesFromName("Attachment");
}

FieldDescription *FieldContainerType::getFieldDescription(UInt32 fieldId)
{
    return fieldId >= 1 && fieldId <= _descVec.size() ? _descVec[fieldId - 1] : NULL;
}

const FieldDescription *FieldContainerType::getFieldDescription(UInt32 fieldId) const
{
    return fieldId >= 1 && fieldId <= _descVec.size() ? _descVec[fieldId - 1] : NULL;
}

FieldDescription *FieldContainerType::findFieldDescription(const Char8 *fieldName)
{
    if(fieldName == NULL)
        return NULL;
    for(FieldDescription *d : _descVec)
    {
        if(d != NULL && d->getName() == fieldName)
            return d;
    }
    return NULL;
}

const FieldDescription *FieldContainerType::findFieldDescription(const Char8 *fieldName) const
{
    return const_cast<FieldContainerType *>(this)->findFieldDescription(fieldName);
}

bool FieldContainerType::setPrototype(FieldContainerPtr prototype)
{
    if(prototype == NullFC)
        return false;
    setRefdCP(_prototype, prototype);
    return true;
}

void FieldContainerType::clearPrototype(void)
{
    if(_prototype != NullFC)
        clearRefCP(_prototype);
}

FieldContainerPtr FieldContainerType::createFieldContainer(void) const
{
    if(_prototype == NullFC)
        return NullFC;
    return _prototype->shallowCopy();
}

bool FieldContainerType::initialize(void)
{
    if(_initialized)
        return true;
    if(_initializing)
    {
        SFATAL << "FieldContainerType: type " << _name << " is its own ancestor" << std::endl;
        return false;
    }
    _initializing = true;

    bool ok = true;
    if(!_parentName.empty())
    {
        _parentType = FieldContainerFactory::the()->findType(_parentName.c_str());
        if(_parentType == NULL)
        {
            SFATAL << "ERROR: Can't find type with name " << _parentName << std::endl;
            ok = false;
        }
        else if(!_parentType->initialize())
        {
            ok = false;
        }
    }

    if(ok)
    {
        std::vector<FieldDescription *> all;
        if(_parentType != NULL)
            all = _parentType->_descVec;
        for(UInt32 i = 0; i < _ownDescCount; ++i)
        {
            FieldDescription *d = _desc[i];
            if(d == NULL || !d->isValid())
                continue;
            for(FieldDescription *other : all)
            {
                if(other->getName() == d->getName() || other->getFieldId() == d->getFieldId())
                {
                    SFATAL << "FieldContainerType: " << _name << " repeats field "
                           << d->getName() << " (id " << d->getFieldId() << ")" << std::endl;
                    ok = false;
                }
            }
            all.push_back(d);
        }
        std::sort(all.begin(), all.end(), [](const FieldDescription *a, const FieldDescription *b) {
            return a->getFieldId() < b->getFieldId();
        });
        for(UInt32 i = 0; i < all.size() && ok; ++i)
        {
            if(all[i]->getFieldId() != i + 1)
            {
                SFATAL << "FieldContainerType: " << _name << " has a gap before field "
                       << all[i]->getName() << " (id " << all[i]->getFieldId() << ")"
                       << std::endl;
                ok = false;
            }
        }
        if(all.size() > 128)
        {
            SFATAL << "FieldContainerType: " << _name << " has " << all.size()
                   << " fields, more than a 128-bit field mask can address" << std::endl;
            ok = false;
        }
        if(ok)
            _descVec.swap(all);
    }

    _initializing = false;
    if(!ok)
        return false;

    _initialized = true;

    if(_initMethod != NULL)
        _initMethod();

    if(_prototypeCreate != NULL && _prototype == NullFC)
    {
        // Prototypes are made in the start-up state, so onCreate hooks can tell them apart.
        SystemState saved = GlobalSystemState;
        GlobalSystemState = Startup;
        FieldContainerPtr proto = _prototypeCreate();
        GlobalSystemState = saved;
        setPrototype(proto);
    }
    return true;
}

void FieldContainerType::terminate(void)
{
    clearPrototype();
}

void FieldContainerType::dump(std::ostream &os) const
{
    os << _name << " : " << (_parentName.empty() ? "-" : _parentName) << "\n";
    for(const FieldDescription *d : _descVec)
    {
        os << "  " << d->getFieldId() << " " << d->getName() << " "
           << d->getFieldType().getName() << " " << d->getFieldMask().toHexString() << "\n";
    }
}

} // namespace osg
