#ifndef _OSGCOMPONENTTRANSFORMEXTENDED_H_
#define _OSGCOMPONENTTRANSFORMEXTENDED_H_

#include <OpenSGExt/OSGComponentTransformExtendedBase.h>

namespace osg {

/*! A component transform whose rotation can also be set and read as Euler angles in degrees,
    applied about X first, then Y, then Z (R = Rz Ry Rx with column vectors, the order of
    Quaternion::setValue(alpha, beta, gamma)).

    getRotation() answers angles with X and Z in [-180, 180] and Y in [-90, 90]; at Y = +-90
    (gimbal lock) Z is 0 and X carries the whole remaining turn. The angles set are therefore
    not always the angles read, but they describe the same rotation.

    Like the generated setters, the Euler setters only write the rotation field: wrap them in an
    edit of RotationFieldMask so that the matrix follows. The quaternion stays available through
    setRotation(const Quaternion &), editRotation() and getSFRotation(). */
class ComponentTransformExtended : public ComponentTransformExtendedBase
{
  public:
    typedef ComponentTransformExtendedBase Inherited;

    using Inherited::setRotation;
    void setRotation(const Vec3f &eulerDegrees);
    void setRotation(Real32 x, Real32 y, Real32 z);

    /*! The rotation as Euler angles in degrees (see above). */
    Vec3f getRotation(void) const;

  protected:
    friend class FieldContainer;
    friend class ComponentTransformExtendedBase;

    ComponentTransformExtended(void);
    ComponentTransformExtended(const ComponentTransformExtended &source);
    ~ComponentTransformExtended(void) override;

    /*! Registers the transform's intersect functors for this type (functors are found by
        exact type). */
    static void initMethod(void);
};

} // namespace osg

#endif
