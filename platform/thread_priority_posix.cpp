// Thread priority on Linux: the nice value, which the kernel keeps per thread.

#include "platform/thread_priority.h"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Vantor::platform {

bool raiseCurrentThreadPriority() noexcept {
    constexpr int kRaisedNice = -10;
    const auto thread = static_cast<id_t>(syscall(SYS_gettid));
    return setpriority(PRIO_PROCESS, thread, kRaisedNice) == 0;
}

} // namespace Vantor::platform
