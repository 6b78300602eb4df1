#include <OpenSGExt/OSGComponentTransformExtended.h>
#include <OpenSG/OSGIntersectAction.h>

#include <cmath>

namespace osg {

ComponentTransformExtended::ComponentTransformExtended(void) : Inherited()
{
}

ComponentTransformExtended::ComponentTransformExtended(const ComponentTransformExtended &source) :
    Inherited(source)
{
}

ComponentTransformExtended::~ComponentTransformExtended(void) = default;

void ComponentTransformExtended::initMethod(void)
{
    IntersectAction::registerEnterDefault(
        getClassType(),
        osgTypedMethodFunctor2BaseCPtrRef<Action::ResultE, ComponentTransformExtendedPtr, CNodePtr,
                                          Action *>(&ComponentTransformExtended::intersectEnter));
    IntersectAction::registerLeaveDefault(
        getClassType(),
        osgTypedMethodFunctor2BaseCPtrRef<Action::ResultE, ComponentTransformExtendedPtr, CNodePtr,
                                          Action *>(&ComponentTransformExtended::intersectLeave));
}

void ComponentTransformExtended::setRotation(const Vec3f &eulerDegrees)
{
    setRotation(eulerDegrees[0], eulerDegrees[1], eulerDegrees[2]);
}

void ComponentTransformExtended::setRotation(Real32 x, Real32 y, Real32 z)
{
    Quaternion q;
    q.setValue(osgdegree2rad(x), osgdegree2rad(y), osgdegree2rad(z));
    _sfRotation.setValue(q);
}

Vec3f ComponentTransformExtended::getRotation(void) const
{
    // Rows of R = Rz(c) Ry(b) Rx(a) from the unit quaternion, in double.
    const Quaternion &q = _sfRotation.getValue();
    Real64 x = q.x(), y = q.y(), z = q.z(), w = q.w();
    const Real64 len = std::sqrt(x * x + y * y + z * z + w * w);
    if(len < 1e-12)
        return Vec3f(0.f, 0.f, 0.f);
    x /= len;
    y /= len;
    z /= len;
    w /= len;

    const Real64 r00 = 1.0 - 2.0 * (y * y + z * z);
    const Real64 r01 = 2.0 * (x * y - z * w);
    const Real64 r02 = 2.0 * (x * z + y * w);
    const Real64 r10 = 2.0 * (x * y + z * w);
    const Real64 r11 = 1.0 - 2.0 * (x * x + z * z);
    const Real64 r12 = 2.0 * (y * z - x * w);
    const Real64 r20 = 2.0 * (x * z - y * w);

    // Column 0 of R is (cb cc, cb sc, -sb).
    const Real64 cb = std::hypot(r00, r10);
    const Real64 b  = std::atan2(-r20, cb);
    // At the lock only a - c (b = +90) or a + c (b = -90) is defined; all of it goes into a.
    const Real64 c  = cb > 1e-6 ? std::atan2(r10, r00) : 0.0;
    // a from Rz(c)^-1 R = Ry(b) Rx(a), whose row 1 is (0, ca, -sa): whatever c came out near the
    // lock, the three angles then describe R.
    const Real64 sc = std::sin(c), cc = std::cos(c);
    const Real64 a  = std::atan2(sc * r02 - cc * r12, cc * r11 - sc * r01);

    return Vec3f(Real32(osgrad2degree(a)), Real32(osgrad2degree(b)), Real32(osgrad2degree(c)));
}

} // namespace osg
