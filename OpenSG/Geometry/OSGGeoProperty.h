#ifndef _OSGGEOPROPERTY_H_
#define _OSGGEOPROPERTY_H_

// OpenSG code reaches every geometry property type through this header; here each type has one
// of its own.

#include <OpenSG/OSGGeoColors3f.h>
#include <OpenSG/OSGGeoColors3ub.h>
#include <OpenSG/OSGGeoColors4f.h>
#include <OpenSG/OSGGeoColors4ub.h>
#include <OpenSG/OSGGeoIndicesUI16.h>
#include <OpenSG/OSGGeoIndicesUI32.h>
#include <OpenSG/OSGGeoNormals3b.h>
#include <OpenSG/OSGGeoNormals3f.h>
#include <OpenSG/OSGGeoNormals3s.h>
#include <OpenSG/OSGGeoPLengthsUI32.h>
#include <OpenSG/OSGGeoPTypesUI8.h>
#include <OpenSG/OSGGeoPositions2f.h>
#include <OpenSG/OSGGeoPositions3f.h>
#include <OpenSG/OSGGeoPositions4f.h>
#include <OpenSG/OSGGeoTexCoords1f.h>
#include <OpenSG/OSGGeoTexCoords2f.h>
#include <OpenSG/OSGGeoTexCoords3f.h>
#include <OpenSG/OSGGeoTexCoords4f.h>

#endif
