#include <OpenSGExt/OSGTimeShapeCache.h>

namespace osg {

TimeShapeCache::TimeShapeCache(void) : Inherited()
{
}

TimeShapeCache::TimeShapeCache(const TimeShapeCache &source) : Inherited(source)
{
}

TimeShapeCache::~TimeShapeCache(void) = default;

} // namespace osg
