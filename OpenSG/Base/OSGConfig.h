#ifndef _OSGCONFIG_H_
#define _OSGCONFIG_H_

// Ported OpenSG code opens and closes the kernel namespace through these macros and may name it
// OSG (the macros of OSGLog.h do).
#define OSG_BEGIN_NAMESPACE namespace osg {
#define OSG_END_NAMESPACE   }
#define OSG_USING_NAMESPACE using namespace osg;

namespace osg {}
namespace OSG = osg;

// The kernel is one shared library with default visibility, so the export markers are empty.
#define OSG_BASE_DLLMAPPING
#define OSG_SYSTEMLIB_DLLMAPPING

#endif
