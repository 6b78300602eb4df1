#ifndef _OSGSFMATHTYPES_H_
#define _OSGSFMATHTYPES_H_
#include <OpenSG/OSGSFBaseTypes.h>
#endif
