#include <OpenSG/OSGMaterial.h>

namespace osg {

Material::Material(void) : Inherited()
{
}

Material::Material(const Material &source) : Inherited(source)
{
}

Material::~Material(void) = default;

Int32 Material::transparencyForced(void) const
{
    switch(_sfTransparencyMode.getValue())
    {
        case TransparencyForceTransparent:
            return 1;
        case TransparencyForceOpaque:
            return 0;
        default:
            return -1;
    }
}

} // namespace osg
