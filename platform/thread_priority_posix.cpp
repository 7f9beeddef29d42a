// Thread priority on Linux: the nice value, which the kernel keeps per thread.

#include "platform/thread_priority.h"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

namespace Vantor::platform {

bool raiseCurrentThreadPriority() noexcept {
    constexpr int kRaisedNice = -10;
    const auto thread = static_cast<id_t>(syscall(SYS_gettid));
    errno = 0; // -1 is a nice value too
    const int current = getpriority(PRIO_PROCESS, thread);
    if (errno == 0 && current <= kRaisedNice)
        return true; // the user gave the whole process more
    return setpriority(PRIO_PROCESS, thread, kRaisedNice) == 0;
}

} // namespace Vantor::platform
