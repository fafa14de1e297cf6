#pragma once

#include <QtCore/qglobal.h>

// The data model is one shared library, so that a host and every plug-in it loads
// share one copy of its types and of their meta-type registrations.
#if defined(ZUMSDK_LIBRARY)
#define ZUMSDK_EXPORT Q_DECL_EXPORT
#else
#define ZUMSDK_EXPORT Q_DECL_IMPORT
#endif
