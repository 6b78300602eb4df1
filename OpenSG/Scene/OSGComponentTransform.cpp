#include <OpenSG/OSGComponentTransform.h>

namespace osg {

ComponentTransform::ComponentTransform(void) : Inherited()
{
}

ComponentTransform::ComponentTransform(const ComponentTransform &source) : Inherited(source)
{
}

ComponentTransform::~ComponentTransform(void) = default;

void ComponentTransform::changed(BitVector whichField, UInt32 origin)
{
    if(whichField & ComponentsFieldMask)
    {
        _sfMatrix.getValue().setTransform(_sfTranslation.getValue(), _sfRotation.getValue(),
                                          _sfScale.getValue(), _sfScaleOrientation.getValue(),
                                          _sfCenter.getValue());
        invalidateVolume();
    }
    else if(whichField & MatrixFieldMask)
    {
        Vec3f      translation, scale;
        Quaternion rotation, scaleOrientation;
        _sfMatrix.getValue().getTransform(translation, rotation, scale, scaleOrientation, Vec3f());
        _sfTranslation.setValue(translation);
        _sfRotation.setValue(rotation);
        _sfScale.setValue(scale);
        _sfScaleOrientation.setValue(scaleOrientation);
        _sfCenter.setValue(Vec3f());
    }
    Inherited::changed(whichField, origin);
}

} // namespace osg
