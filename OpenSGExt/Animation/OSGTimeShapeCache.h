#ifndef _OSGTIMESHAPECACHE_H_
#define _OSGTIMESHAPECACHE_H_

#include <OpenSGExt/OSGTimeShapeCacheBase.h>

namespace osg {

/*! The animation core for cached shapes of a vertex animation (time edits treat it like VertexAnimCurves). Its own fields are not defined yet: it is registered with
    its parent so that animation trees and files can hold it and the searches and time edits
    can recognise its type. */
class TimeShapeCache : public TimeShapeCacheBase
{
  public:
    typedef TimeShapeCacheBase Inherited;

  protected:
    friend class FieldContainer;
    friend class TimeShapeCacheBase;

    TimeShapeCache(void);
    TimeShapeCache(const TimeShapeCache &source);
    ~TimeShapeCache(void) override;
};

} // namespace osg

#endif
