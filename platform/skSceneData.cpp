#include <platform/skSceneData.h>

#include <OpenSG/OSGLog.h>

#include <cmath>

using namespace osg;

skSceneData::skSceneData(void) : _root(NullFC), _frameRate(0.f), _changeStamp(0)
{
}

skSceneData::~skSceneData(void)
{
    clearRefCP(_root);
}

void skSceneData::setRoot(const NodePtr &root)
{
    setRefdCP(_root, root);
}

Real32 skSceneData::getFrameRate(void) const
{
    return _frameRate.load(std::memory_order_relaxed);
}

void skSceneData::setFrameRate(Real32 framesPerSecond)
{
    if(!std::isfinite(framesPerSecond) || framesPerSecond < 0.f)
    {
        SWARNING << "skSceneData::setFrameRate: " << framesPerSecond
                 << " is no frame rate; kept " << getFrameRate() << std::endl;
        return;
    }
    _frameRate.store(framesPerSecond, std::memory_order_relaxed);
}

UInt64 skSceneData::getChangeStamp(void) const
{
    return _changeStamp.load(std::memory_order_acquire);
}

UInt64 skSceneData::advanceChangeStamp(void)
{
    return _changeStamp.fetch_add(1, std::memory_order_acq_rel) + 1;
}

bool skSceneData::compareExchangeChangeStamp(UInt64 &expected, UInt64 desired)
{
    return _changeStamp.compare_exchange_strong(expected, desired, std::memory_order_acq_rel,
                                                std::memory_order_acquire);
}

bool skSceneData::claimChange(std::atomic<UInt64> &lastSeen) const
{
    const UInt64 current = getChangeStamp();
    UInt64 seen = lastSeen.load(std::memory_order_acquire);
    // Stamps only grow, so a consumer already at or past the current one has nothing to do; a
    // failed exchange reloads `seen` and the loop decides again.
    while(seen < current)
    {
        if(lastSeen.compare_exchange_weak(seen, current, std::memory_order_acq_rel,
                                          std::memory_order_acquire))
            return true;
    }
    return false;
}

skSceneData *skSceneDataManager::getSceneData(void)
{
    static skSceneData *const data = new skSceneData;
    return data;
}
