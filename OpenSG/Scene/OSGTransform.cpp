#include <OpenSG/OSGTransform.h>
#include <OpenSG/OSGIntersectAction.h>
#include <OpenSG/OSGVolume.h>

namespace osg {

Transform::Transform(void) : Inherited()
{
}

Transform::Transform(const Transform &source) : Inherited(source)
{
}

Transform::~Transform(void) = default;

void Transform::initMethod(void)
{
    IntersectAction::registerEnterDefault(
        getClassType(),
        osgTypedMethodFunctor2BaseCPtrRef<Action::ResultE, TransformPtr, CNodePtr, Action *>(
            &Transform::intersectEnter));
    IntersectAction::registerLeaveDefault(
        getClassType(),
        osgTypedMethodFunctor2BaseCPtrRef<Action::ResultE, TransformPtr, CNodePtr, Action *>(
            &Transform::intersectLeave));
}

Action::ResultE Transform::intersectEnter(Action *action)
{
    IntersectAction *ia = dynamic_cast<IntersectAction *>(action);
    return ia != NULL ? ia->enterTransform(_sfMatrix.getValue()) : Action::Continue;
}

Action::ResultE Transform::intersectLeave(Action *action)
{
    IntersectAction *ia = dynamic_cast<IntersectAction *>(action);
    return ia != NULL ? ia->leaveTransform() : Action::Continue;
}

void Transform::accumulateMatrix(Matrix &result)
{
    result.mult(_sfMatrix.getValue());
}

void Transform::adjustVolume(Volume &volume)
{
    volume.transform(_sfMatrix.getValue());
}

void Transform::changed(BitVector whichField, UInt32 origin)
{
    Inherited::changed(whichField, origin);
    if(whichField & MatrixFieldMask)
        invalidateVolume();
}

} // namespace osg
