#include <OpenSG/OSGTransform.h>
#include <OpenSG/OSGVolume.h>

namespace osg {

Transform::Transform(void) : Inherited()
{
}

Transform::Transform(const Transform &source) : Inherited(source)
{
}

Transform::~Transform(void) = default;

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
