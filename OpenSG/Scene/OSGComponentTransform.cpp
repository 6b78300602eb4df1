#include <OpenSG/OSGComponentTransform.h>
#include <OpenSG/OSGIntersectAction.h>

namespace osg {

ComponentTransform::ComponentTransform(void) : Inherited()
{
}

ComponentTransform::ComponentTransform(const ComponentTransform &source) : Inherited(source)
{
}

ComponentTransform::~ComponentTransform(void) = default;

void ComponentTransform::initMethod(void)
{
    IntersectAction::registerEnterDefault(
        getClassType(),
        osgTypedMethodFunctor2BaseCPtrRef<Action::ResultE, ComponentTransformPtr, CNodePtr, Action *>(
            &ComponentTransform::intersectEnter));
    IntersectAction::registerLeaveDefault(
        getClassType(),
        osgTypedMethodFunctor2BaseCPtrRef<Action::ResultE, ComponentTransformPtr, CNodePtr, Action *>(
            &ComponentTransform::intersectLeave));
}

void ComponentTransform::changed(BitVector whichField, UInt32 origin)
{
    if(whichField & ComponentsFieldMask)
        rebuildMatrix();
    Inherited::changed(whichField, origin);
}

void ComponentTransform::rebuildMatrix(void)
{
    // A nested edit, so the new matrix is recorded and changed() sees the matrix bit (which
    // invalidates the volume) like after any edit of the matrix.
    ComponentTransformPtr thisP(this);
    beginEditCP(thisP, MatrixFieldMask);
    _sfMatrix.getValue().setTransform(_sfTranslation.getValue(), _sfRotation.getValue(),
                                      _sfScale.getValue(), _sfScaleOrientation.getValue(),
                                      _sfCenter.getValue());
    endEditCP(thisP, MatrixFieldMask);
}

} // namespace osg
