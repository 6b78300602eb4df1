#ifndef _OSGCOMPONENTTRANSFORM_H_
#define _OSGCOMPONENTTRANSFORM_H_

#include <OpenSG/OSGComponentTransformBase.h>

namespace osg {

/*! A transform kept as components. With column vectors its matrix is

        T(translation) T(center) R(rotation) R(scaleOrientation) S(scale) R(scaleOrientation)^-1 T(-center)

    (scale in the scale-orientation frame and rotate, both about the centre, then translate).
    As in OpenSG 1.x, an edit of any component rebuilds the matrix inside a nested edit of
    MatrixFieldMask, so the new matrix is recorded as a change of its own and changed() runs
    again with the matrix bit. An edit of the matrix alone keeps it as set and leaves the
    components (centre included) as they were: they no longer describe the matrix until the next
    component edit rebuilds it. */
class ComponentTransform : public ComponentTransformBase
{
  public:
    typedef ComponentTransformBase Inherited;

    static constexpr BitVector ComponentsFieldMask =
        CenterFieldMask | RotationFieldMask | ScaleFieldMask | ScaleOrientationFieldMask |
        TranslationFieldMask;

    void changed(BitVector whichField, UInt32 origin) override;

  protected:
    friend class FieldContainer;
    friend class ComponentTransformBase;

    /*! Sets the matrix from the components in an edit of MatrixFieldMask (recorded, and
        changed() called with the matrix bit). */
    void rebuildMatrix(void);

    /*! Registers the transform's intersect functors for this type. */
    static void initMethod(void);

    ComponentTransform(void);
    ComponentTransform(const ComponentTransform &source);
    ~ComponentTransform(void) override;
};

} // namespace osg

#endif
