#include <OpenSGExt/OSGVertexAnimCurves.h>

namespace osg {

VertexAnimCurves::VertexAnimCurves(void) : Inherited()
{
}

VertexAnimCurves::VertexAnimCurves(const VertexAnimCurves &source) : Inherited(source)
{
}

VertexAnimCurves::~VertexAnimCurves(void) = default;

} // namespace osg
