#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGLog.h>

#include <atomic>
#include <vector>

namespace osg {

SystemState GlobalSystemState = Startup;

namespace {

std::atomic<bool> useOSB64(false);
std::atomic<bool> ignoreChanges(false);

// Function-local so that libraries registering from static constructors find them constructed.
std::vector<InitFuncF> &initFunctions()
{
    static std::vector<InitFuncF> *funcs = new std::vector<InitFuncF>;
    return *funcs;
}

std::vector<ExitFuncF> &exitFunctions()
{
    static std::vector<ExitFuncF> *funcs = new std::vector<ExitFuncF>;
    return *funcs;
}

} // namespace

bool osgInit(Int32, Char8 **)
{
    if(GlobalSystemState == Running)
        return true;

    GlobalSystemState = Startup;
    bool ok = true;
    // Init functions may register further ones; index-based so the loop sees them.
    for(size_t i = 0; i < initFunctions().size(); ++i)
    {
        InitFuncF f = initFunctions()[i];
        if(f && !f())
        {
            SFATAL << "osgInit: an init function failed" << std::endl;
            ok = false;
        }
    }
    GlobalSystemState = Running;
    return ok;
}

bool osgExit(void)
{
    if(GlobalSystemState != Running)
        return true;

    GlobalSystemState = Shutdown;
    bool ok = true;
    std::vector<ExitFuncF> &funcs = exitFunctions();
    for(auto it = funcs.rbegin(); it != funcs.rend(); ++it)
    {
        if(*it && !(*it)())
            ok = false;
    }
    return ok;
}

void addInitFunction(InitFuncF initFunc)
{
    initFunctions().push_back(initFunc);
}

void addSystemExitFunction(ExitFuncF exitFunc)
{
    exitFunctions().push_back(exitFunc);
}

bool osgUseOSB64(void)
{
    return useOSB64.load(std::memory_order_relaxed);
}

void osgSetUseOSB64(bool on)
{
    useOSB64.store(on, std::memory_order_relaxed);
}

bool osgIgnoreChanges(void)
{
    return ignoreChanges.load(std::memory_order_relaxed);
}

void osgSetIgnoreChanges(bool on)
{
    ignoreChanges.store(on, std::memory_order_relaxed);
}

} // namespace osg
