#include <OpenSG/OSGMaterialDrawable.h>

namespace osg {

MaterialDrawable::MaterialDrawable(void) : Inherited()
{
}

MaterialDrawable::MaterialDrawable(const MaterialDrawable &source) : Inherited(source)
{
}

MaterialDrawable::~MaterialDrawable(void) = default;

void MaterialDrawable::onCreate(const MaterialDrawable *source)
{
    Inherited::onCreate(source);
    // The copy constructor shared the source's material; the copy owns its reference.
    if(source != NULL)
        addRefCP(_sfMaterial.getValue());
}

void MaterialDrawable::onDestroy(void)
{
    clearRefCP(_sfMaterial.getValue());
    Inherited::onDestroy();
}

void MaterialDrawable::setMaterial(const MaterialPtr &material)
{
    setRefdCP(_sfMaterial.getValue(), material);
}

void MaterialDrawable::changed(BitVector whichField, UInt32 origin)
{
    Inherited::changed(whichField, origin);

    if((origin & ChangedOrigin::Abstract) && (origin & ChangedOrigin::AbstrIncRefCount) &&
       (whichField & MaterialFieldMask))
    {
        addRefCP(_sfMaterial.getValue());
    }
}

} // namespace osg
