#include <OpenSG/OSGChangeList.h>

#include <algorithm>

namespace osg {

namespace {
// Trivially destructible, so it stays valid while static destructors run.
thread_local ChangeList *currentChangeList = NULL;
} // namespace

bool ChangeList::_readWriteDefault = true;

void ChangeList::addChanged(const FieldContainerPtr &p, const BitVector &whichField)
{
    if(_readWrite && p != NullFC)
        _changed.push_back(ChangeEntry(p.getFieldContainerId(), whichField));
}

bool ChangeList::wasCreated(UInt32 containerId) const
{
    return std::find(_created.begin(), _created.end(), containerId) != _created.end();
}

BitVector ChangeList::getChangedMask(UInt32 containerId) const
{
    BitVector mask(0);
    for(const ChangeEntry &e : _changed)
    {
        if(e.first == containerId)
            mask |= e.second;
    }
    return mask;
}

void ChangeList::clearAll(void)
{
    _changed.clear();
    _created.clear();
    _destroyed.clear();
}

ChangeList *Thread::getCurrentChangeList(void)
{
    return currentChangeList;
}

void Thread::setCurrentChangeList(ChangeList *list)
{
    currentChangeList = list;
}

} // namespace osg
