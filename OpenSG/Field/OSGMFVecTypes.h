#ifndef _OSGMFVECTYPES_H_
#define _OSGMFVECTYPES_H_
#include <OpenSG/OSGMFBaseTypes.h>
#endif
