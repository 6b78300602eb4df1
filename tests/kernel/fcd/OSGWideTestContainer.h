#ifndef SKOSG_TESTS_OSGWIDETESTCONTAINER_H
#define SKOSG_TESTS_OSGWIDETESTCONTAINER_H

#include "kernel/fcd/OSGWideTestContainerBase.h"

namespace osg {

/*! Test container with fields up to id 127 that counts the hooks the kernel calls. */
class WideTestContainer : public WideTestContainerBase
{
  public:
    typedef WideTestContainerBase Inherited;

    void changed(BitVector whichField, UInt32 origin) override;

    static UInt32    changedCalls;
    static BitVector lastChangedMask;
    static UInt32    lastOrigin;
    static UInt32    destroyCalls;
    static UInt32    createCalls;
    static bool      lastCreateHadSource;

    static void resetCounters(void);

  protected:
    friend class FieldContainer;
    friend class WideTestContainerBase;

    WideTestContainer(void);
    WideTestContainer(const WideTestContainer &source);
    ~WideTestContainer(void) override;

    void onCreate(const WideTestContainer *source = NULL);
    void onDestroy(void) override;
};

} // namespace osg

#endif
