#ifndef _OSGMFSYSTYPES_H_
#define _OSGMFSYSTYPES_H_
#include <OpenSG/OSGMFBaseTypes.h>
#endif
