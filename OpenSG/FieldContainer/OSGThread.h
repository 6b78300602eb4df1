#ifndef _OSGTHREAD_H_
#define _OSGTHREAD_H_

// OpenSG code reaches Thread (the current change list, the aspect) through this header; here Thread
// lives beside ChangeList.
#include <OpenSG/OSGChangeList.h>

#endif
