#ifndef _OSGSFSYSTYPES_H_
#define _OSGSFSYSTYPES_H_
#include <OpenSG/OSGSFBaseTypes.h>
#endif
