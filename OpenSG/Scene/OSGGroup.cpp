#include <OpenSG/OSGGroup.h>

namespace osg {

Group::Group(void) : Inherited()
{
}

Group::Group(const Group &source) : Inherited(source)
{
}

Group::~Group(void) = default;

} // namespace osg
