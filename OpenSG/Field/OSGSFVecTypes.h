#ifndef _OSGSFVECTYPES_H_
#define _OSGSFVECTYPES_H_
#include <OpenSG/OSGSFBaseTypes.h>
#endif
