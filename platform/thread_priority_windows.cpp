// Thread priority on Windows.

#include "platform/thread_priority.h"

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>

namespace Vantor::platform {

bool raiseCurrentThreadPriority() noexcept {
    return SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_HIGHEST) != FALSE;
}

} // namespace Vantor::platform
