#include <OpenSG/OSGDrawable.h>

namespace osg {

Drawable::Drawable(void) : Inherited()
{
}

Drawable::Drawable(const Drawable &source) : Inherited(source)
{
}

Drawable::~Drawable(void) = default;

} // namespace osg
