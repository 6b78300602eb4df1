#include <OpenSG/OSGNodeCore.h>
#include <OpenSG/OSGNode.h>

namespace osg {

NodeCore::NodeCore(void) : Inherited()
{
}

NodeCore::NodeCore(const NodeCore &source) : Inherited(source)
{
}

NodeCore::~NodeCore(void) = default;

void NodeCore::accumulateMatrix(Matrix &)
{
}

void NodeCore::adjustVolume(Volume &)
{
}

void NodeCore::invalidateVolume(void)
{
    for(UInt32 i = 0; i < _mfParents.size(); ++i)
    {
        if(_mfParents[i] != NullFC)
            _mfParents[i]->invalidateVolume();
    }
}

void NodeCore::addParent(const NodePtr &parent)
{
    _mfParents.push_back(parent);
}

void NodeCore::subParent(const NodePtr &parent)
{
    auto it = _mfParents.find(parent);
    if(it != _mfParents.end())
        _mfParents.erase(it);
}

} // namespace osg
