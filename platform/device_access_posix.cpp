// Access to device nodes on Linux, where a udev rule decides it.

#include "platform/device_access.h"

#include <unistd.h>

#include <cerrno>

namespace Vantor::platform {

const char* deviceAccessAdvice(const char* path) noexcept {
    if (access(path, R_OK | W_OK) == 0 || errno != EACCES)
        return nullptr;
    return "Only root may use it: the udev rule for the adapter is missing or not in effect. Install "
           "70-ferrylink.rules "
           "in /etc/udev/rules.d, run \"udevadm control --reload\" as root, and plug the adapter in again.";
}

} // namespace Vantor::platform
