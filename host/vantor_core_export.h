#pragma once

#include <QtGlobal>

#if defined(VANTOR_CORE_LIBRARY)
#define VANTOR_CORE_EXPORT Q_DECL_EXPORT
#else
#define VANTOR_CORE_EXPORT Q_DECL_IMPORT
#endif
