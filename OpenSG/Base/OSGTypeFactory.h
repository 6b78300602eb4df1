#ifndef _OSGTYPEFACTORY_H_
#define _OSGTYPEFACTORY_H_
#include <OpenSG/OSGTypeBase.h>
#endif
