#include <OpenSG/OSGAttachment.h>

#include <algorithm>

namespace osg {

Attachment::Attachment(void) : Inherited()
{
}

Attachment::Attachment(const Attachment &source) : Inherited(source)
{
}

Attachment::~Attachment(void) = default;

void Attachment::addParent(const FieldContainerPtr &parent)
{
    _mfParents.push_back(parent);
}

void Attachment::subParent(const FieldContainerPtr &parent)
{
    auto it = _mfParents.find(parent);
    if(it != _mfParents.end())
        _mfParents.erase(it);
}

Int32 Attachment::findParent(const FieldContainerPtr &parent) const
{
    auto it = _mfParents.find(parent);
    return it != _mfParents.end() ? Int32(it - _mfParents.begin()) : -1;
}

} // namespace osg
