#include <OpenSG/OSGTransform3D.h>
#include <OpenSG/OSGIntersectAction.h>
#include <OpenSG/OSGLog.h>

#include <cctype>
#include <cmath>

namespace osg {

namespace {

// The stack is evaluated in double: pivots far from the origin cancel, and float products of
// ten factors would lose the small differences that remain.
Matrix4d translation(const Vec3f &t, Real64 sign = 1.0)
{
    Matrix4d m;
    m.setTranslate(sign * t[0], sign * t[1], sign * t[2]);
    return m;
}

Matrix4d axisRotation(UInt32 axis, Real64 degrees)
{
    const Real64 a = degrees * (3.14159265358979323846 / 180.0);
    const Real64 c = std::cos(a), s = std::sin(a);
    Matrix4d m;
    const UInt32 i = (axis + 1) % 3, j = (axis + 2) % 3;
    // Right-handed rotation about the axis: m[c][r], column i maps to (c, s) in (i, j).
    m[i][i] = c;
    m[i][j] = s;
    m[j][i] = -s;
    m[j][j] = c;
    return m;
}

Matrix4d eulerRotation(const Vec3f &degrees, const UInt32 axes[3])
{
    Matrix4d m;
    for(UInt32 k = 0; k < 3; ++k)
        m.multLeft(axisRotation(axes[k], degrees[axes[k]]));
    return m;
}

const UInt32 DefaultOrder[3] = { 0, 1, 2 };

} // namespace

Transform3D::Transform3D(void) : Inherited()
{
}

Transform3D::Transform3D(const Transform3D &source) : Inherited(source)
{
}

Transform3D::~Transform3D(void) = default;

void Transform3D::initMethod(void)
{
    IntersectAction::registerEnterDefault(
        getClassType(),
        osgTypedMethodFunctor2BaseCPtrRef<Action::ResultE, Transform3DPtr, CNodePtr, Action *>(
            &Transform3D::intersectEnter));
    IntersectAction::registerLeaveDefault(
        getClassType(),
        osgTypedMethodFunctor2BaseCPtrRef<Action::ResultE, Transform3DPtr, CNodePtr, Action *>(
            &Transform3D::intersectLeave));
}

bool Transform3D::parseRotationOrder(const std::string &order, UInt32 axes[3])
{
    if(order.size() != 3)
        return false;
    UInt32 parsed[3];
    bool   seen[3] = { false, false, false };
    for(UInt32 k = 0; k < 3; ++k)
    {
        int ch = std::tolower(static_cast<unsigned char>(order[k]));
        if(ch < 'x' || ch > 'z' || seen[ch - 'x'])
            return false;
        parsed[k]       = UInt32(ch - 'x');
        seen[ch - 'x'] = true;
    }
    for(UInt32 k = 0; k < 3; ++k)
        axes[k] = parsed[k];
    return true;
}

void Transform3D::calcEulerRotation(Matrix &result, const Vec3f &degrees, const std::string &order)
{
    UInt32 axes[3] = { DefaultOrder[0], DefaultOrder[1], DefaultOrder[2] };
    parseRotationOrder(order, axes);
    Matrix4d m = eulerRotation(degrees, axes);
    for(UInt32 c = 0; c < 4; ++c)
        for(UInt32 r = 0; r < 4; ++r)
            result[c][r] = Real32(m[c][r]);
}

void Transform3D::calcMatrix(Matrix &result) const
{
    UInt32 axes[3] = { DefaultOrder[0], DefaultOrder[1], DefaultOrder[2] };
    parseRotationOrder(_sfEulerRotationOrder.getValue(), axes);

    Matrix4d scale;
    scale.setScale(_sfScale.getValue()[0], _sfScale.getValue()[1], _sfScale.getValue()[2]);

    Matrix4d m = translation(_sfTranslation.getValue());
    m.mult(translation(_sfRotatePivotTranslation.getValue()));
    m.mult(translation(_sfRotatePivot.getValue()));
    m.mult(eulerRotation(_sfEulerRotation.getValue(), axes));
    m.mult(eulerRotation(_sfEulerRotationOrientation.getValue(), DefaultOrder));
    m.mult(translation(_sfRotatePivot.getValue(), -1.0));
    m.mult(translation(_sfScalePivotTranslation.getValue()));
    m.mult(translation(_sfScalePivot.getValue()));
    m.mult(scale);
    m.mult(translation(_sfScalePivot.getValue(), -1.0));

    for(UInt32 c = 0; c < 4; ++c)
        for(UInt32 r = 0; r < 4; ++r)
            result[c][r] = Real32(m[c][r]);
}

void Transform3D::changed(BitVector whichField, UInt32 origin)
{
    if(whichField & ComponentsFieldMask)
    {
        UInt32 axes[3];
        if((whichField & EulerRotationOrderFieldMask) &&
           !parseRotationOrder(_sfEulerRotationOrder.getValue(), axes))
        {
            SWARNING << "Transform3D: invalid euler rotation order \""
                     << _sfEulerRotationOrder.getValue() << "\", using \"xyz\"" << std::endl;
        }
        calcMatrix(_sfMatrix.getValue());
        invalidateVolume();
    }
    Inherited::changed(whichField, origin);
}

} // namespace osg
