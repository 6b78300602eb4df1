#ifndef _OSGMFMATHTYPES_H_
#define _OSGMFMATHTYPES_H_
#include <OpenSG/OSGMFBaseTypes.h>
#endif
