#include <OpenSG/OSGGeoPLengthsUI32.h>

namespace osg {

GeoPLengthsUI32::GeoPLengthsUI32(void) : Inherited()
{
}

GeoPLengthsUI32::GeoPLengthsUI32(const GeoPLengthsUI32 &source) : Inherited(source)
{
}

GeoPLengthsUI32::~GeoPLengthsUI32(void) = default;

} // namespace osg
