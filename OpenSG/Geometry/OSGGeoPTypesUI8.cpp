#include <OpenSG/OSGGeoPTypesUI8.h>

namespace osg {

GeoPTypesUI8::GeoPTypesUI8(void) : Inherited()
{
}

GeoPTypesUI8::GeoPTypesUI8(const GeoPTypesUI8 &source) : Inherited(source)
{
}

GeoPTypesUI8::~GeoPTypesUI8(void) = default;

} // namespace osg
