#include <OpenSG/OSGStereoCameraDecorator.h>

namespace osg {

StereoCameraDecorator::StereoCameraDecorator(void) : Inherited()
{
}

StereoCameraDecorator::StereoCameraDecorator(const StereoCameraDecorator &source) :
    Inherited(source)
{
}

StereoCameraDecorator::~StereoCameraDecorator(void) = default;

} // namespace osg
