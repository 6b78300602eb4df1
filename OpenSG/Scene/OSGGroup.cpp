#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGIntersectAction.h>

namespace osg {

Group::Group(void) : Inherited()
{
}

Group::Group(const Group &source) : Inherited(source)
{
}

Group::~Group(void) = default;

void Group::initMethod(void)
{
    IntersectAction::registerEnterDefault(
        getClassType(),
        osgTypedMethodFunctor2BaseCPtrRef<Action::ResultE, GroupPtr, CNodePtr, Action *>(
            &Group::intersect));
}

Action::ResultE Group::intersect(Action *action)
{
    IntersectAction *ia = dynamic_cast<IntersectAction *>(action);
    return ia != NULL ? ia->testVolume() : Action::Continue;
}

} // namespace osg
