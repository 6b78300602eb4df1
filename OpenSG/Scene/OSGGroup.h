#ifndef _OSGGROUP_H_
#define _OSGGROUP_H_

#include <OpenSG/OSGGroupBase.h>

namespace osg {

/*! A core that only groups its node's children. */
class Group : public GroupBase
{
  public:
    typedef GroupBase Inherited;

  protected:
    friend class FieldContainer;
    friend class GroupBase;

    Group(void);
    Group(const Group &source);
    ~Group(void) override;
};

} // namespace osg

#endif
