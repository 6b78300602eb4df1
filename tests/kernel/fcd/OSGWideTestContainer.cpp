#include "kernel/fcd/OSGWideTestContainer.h"

namespace osg {

UInt32    WideTestContainer::changedCalls        = 0;
BitVector WideTestContainer::lastChangedMask     = BitVector(0);
UInt32    WideTestContainer::lastOrigin          = 0;
UInt32    WideTestContainer::destroyCalls        = 0;
UInt32    WideTestContainer::createCalls         = 0;
bool      WideTestContainer::lastCreateHadSource = false;

WideTestContainer::WideTestContainer(void) : Inherited()
{
}

WideTestContainer::WideTestContainer(const WideTestContainer &source) : Inherited(source)
{
}

WideTestContainer::~WideTestContainer(void) = default;

void WideTestContainer::resetCounters(void)
{
    changedCalls        = 0;
    lastChangedMask     = BitVector(0);
    lastOrigin          = 0;
    destroyCalls        = 0;
    createCalls         = 0;
    lastCreateHadSource = false;
}

void WideTestContainer::changed(BitVector whichField, UInt32 origin)
{
    Inherited::changed(whichField, origin);
    ++changedCalls;
    lastChangedMask = whichField;
    lastOrigin      = origin;
}

void WideTestContainer::onCreate(const WideTestContainer *source)
{
    ++createCalls;
    lastCreateHadSource = (source != NULL);
}

void WideTestContainer::onDestroy(void)
{
    ++destroyCalls;
    Inherited::onDestroy();
}

} // namespace osg
