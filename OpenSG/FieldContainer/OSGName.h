#ifndef _OSGNAME_H_
#define _OSGNAME_H_

#include <OpenSG/OSGNameBase.h>

namespace osg {

/*! The name of a container, kept in the attachment group "name". */
class Name : public NameBase
{
  public:
    typedef NameBase Inherited;

  protected:
    friend class FieldContainer;
    friend class NameBase;

    Name(void);
    Name(const Name &source);
    ~Name(void) override;
};

} // namespace osg

#endif
