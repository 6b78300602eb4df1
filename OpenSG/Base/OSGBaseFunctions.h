#ifndef _OSGBASEFUNCTIONS_H_
#define _OSGBASEFUNCTIONS_H_

#include <OpenSG/OSGBaseTypes.h>

#include <functional>

namespace osg {

enum SystemState
{
    Startup  = 0x01,
    Running  = 0x02,
    Shutdown = 0x03
};

/*! Startup until osgInit has finished, Running until osgExit, then Shutdown. */
extern SystemState GlobalSystemState;

typedef std::function<bool(void)> InitFuncF;
typedef std::function<bool(void)> ExitFuncF;

/*! Runs the registered init functions (the container factory initialises its pending types and
    makes their prototypes), gives the calling thread its change list and clears it, then enters
    Running. Calling it again while running does nothing. */
bool osgInit(Int32 argc = 0, Char8 **argv = NULL);

/*! Runs the exit functions in reverse order of registration and enters Shutdown. */
bool osgExit(void);

void addInitFunction      (InitFuncF initFunc);
void addSystemExitFunction(ExitFuncF exitFunc);

/*! 64-bit element counts for multi-value fields in the binary form (32-bit otherwise). */
bool osgUseOSB64(void);
void osgSetUseOSB64(bool on);

/*! While set, ending an edit still records the change but does not call changed() or the
    changed callbacks: bulk loaders set it and deliver one change at the end. */
bool osgIgnoreChanges(void);
void osgSetIgnoreChanges(bool on);

} // namespace osg

#endif
