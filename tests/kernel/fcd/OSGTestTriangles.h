#ifndef SKOSG_TESTS_OSGTESTTRIANGLES_H
#define SKOSG_TESTS_OSGTESTTRIANGLES_H

#include "kernel/fcd/OSGTestTrianglesBase.h"

#include <OpenSG/OSGAction.h>

namespace osg {

/*! Test drawable: its volume holds its corners, and the intersect action hits its triangles the
    way a geometry core does (registered by the init method). */
class TestTriangles : public TestTrianglesBase
{
  public:
    typedef TestTrianglesBase Inherited;

    void changed(BitVector whichField, UInt32 origin) override;

    /*! Enter calls of the intersect functor since the last reset. */
    static UInt32 intersectCalls;

  protected:
    friend class FieldContainer;
    friend class TestTrianglesBase;

    TestTriangles(void);
    TestTriangles(const TestTriangles &source);
    ~TestTriangles(void) override;

    void adjustVolume(Volume &volume) override;

    static void initMethod(void);

    Action::ResultE intersect(Action *action);
};

} // namespace osg

#endif
