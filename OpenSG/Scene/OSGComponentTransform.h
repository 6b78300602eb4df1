#ifndef _OSGCOMPONENTTRANSFORM_H_
#define _OSGCOMPONENTTRANSFORM_H_

#include <OpenSG/OSGComponentTransformBase.h>

namespace osg {

/*! A transform kept as components. With column vectors its matrix is

        T(translation) T(center) R(rotation) R(scaleOrientation) S(scale) R(scaleOrientation)^-1 T(-center)

    (scale in the scale-orientation frame and rotate, both about the centre, then translate).
    An edit of any component rebuilds the matrix; an edit of the matrix alone decomposes it into
    the components around a zero centre, so such an edit sets the centre to 0, and the scale and
    scale orientation may come back permuted or sign-flipped while describing the same matrix.
    Neither write is recorded as a change of its own. */
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

    ComponentTransform(void);
    ComponentTransform(const ComponentTransform &source);
    ~ComponentTransform(void) override;
};

} // namespace osg

#endif
