#ifndef _OSGGROUP_H_
#define _OSGGROUP_H_

#include <OpenSG/OSGGroupBase.h>
#include <OpenSG/OSGAction.h>

namespace osg {

/*! A core that only groups its node's children. */
class Group : public GroupBase
{
  public:
    typedef GroupBase Inherited;

    /*! IntersectAction's enter functor: skips the subtree when the node's valid volume is
        missed (IntersectAction::testVolume). */
    Action::ResultE intersect(Action *action);

  protected:
    friend class FieldContainer;
    friend class GroupBase;

    /*! Registers intersect() with IntersectAction for this type. */
    static void initMethod(void);

    Group(void);
    Group(const Group &source);
    ~Group(void) override;
};

} // namespace osg

#endif
