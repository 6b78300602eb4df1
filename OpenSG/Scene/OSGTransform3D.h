#ifndef _OSGTRANSFORM3D_H_
#define _OSGTRANSFORM3D_H_

#include <OpenSG/OSGTransform3DBase.h>

namespace osg {

/*! A transform kept as the components of a content-creation transform stack. With column
    vectors (the rightmost factor acts first on points) its matrix is

        T(translation) T(rotatePivotTranslation) T(rotatePivot)
          R(eulerRotation, eulerRotationOrder) R(eulerRotationOrientation, "xyz") T(-rotatePivot)
          T(scalePivotTranslation) T(scalePivot) S(scale) T(-scalePivot)

    that is: scale about the scale pivot, move by the scale pivot translation, turn by the
    rotation orientation and then by the rotation, both about the rotate pivot, move by the
    rotate pivot translation and finally by the translation.

    Angles are in degrees. R(angles, order) applies the axis rotations in the order the string
    names them: "xyz" rotates about x first, so R = Rz Ry Rx; "zxy" gives Ry Rx Rz. All six
    permutations are accepted in either case; any other string is warned about when it is set
    and treated as "xyz". rotationMode is kept for the host and does not enter the matrix.

    An edit of any component (rotationMode excepted) rebuilds the matrix without recording it as
    a change of its own. An edit of the matrix alone keeps the matrix as set and leaves the
    components alone; the next component edit replaces it. */
class Transform3D : public Transform3DBase
{
  public:
    typedef Transform3DBase Inherited;

    /*! The fields that enter the matrix. */
    static constexpr BitVector ComponentsFieldMask =
        TranslationFieldMask | EulerRotationFieldMask | EulerRotationOrderFieldMask |
        ScaleFieldMask | ScalePivotFieldMask | ScalePivotTranslationFieldMask |
        RotatePivotFieldMask | EulerRotationOrientationFieldMask |
        RotatePivotTranslationFieldMask;

    /*! The matrix the current components describe. */
    void calcMatrix(Matrix &result) const;

    /*! Axis indices (0 = x, 1 = y, 2 = z) in the order an order string applies them; false for a
        string that is not a permutation of "xyz" (any case), leaving axes untouched. */
    static bool parseRotationOrder(const std::string &order, UInt32 axes[3]);

    /*! The rotation of Euler angles in degrees applied in the given axis order (see above); an
        invalid order is taken as "xyz". */
    static void calcEulerRotation(Matrix &result, const Vec3f &degrees, const std::string &order);

    void changed(BitVector whichField, UInt32 origin) override;

  protected:
    friend class FieldContainer;
    friend class Transform3DBase;

    /*! Registers the transform's intersect functors for this type. */
    static void initMethod(void);

    Transform3D(void);
    Transform3D(const Transform3D &source);
    ~Transform3D(void) override;
};

} // namespace osg

#endif
