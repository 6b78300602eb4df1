#ifndef _OSGVERTEXANIMCURVES_H_
#define _OSGVERTEXANIMCURVES_H_

#include <OpenSGExt/OSGVertexAnimCurvesBase.h>

namespace osg {

/*! The animation core for the curves of a vertex animation (hasVertexAnimation looks for it; time edits scale it in place). Its own fields are not defined yet: it is registered with
    its parent so that animation trees and files can hold it and the searches and time edits
    can recognise its type. */
class VertexAnimCurves : public VertexAnimCurvesBase
{
  public:
    typedef VertexAnimCurvesBase Inherited;

  protected:
    friend class FieldContainer;
    friend class VertexAnimCurvesBase;

    VertexAnimCurves(void);
    VertexAnimCurves(const VertexAnimCurves &source);
    ~VertexAnimCurves(void) override;
};

} // namespace osg

#endif
