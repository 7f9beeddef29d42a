// Access to HID devices on Windows: there is nothing to advise.

#include "platform/device_access.h"

namespace Vantor::platform {

const char* deviceAccessAdvice(const char* /*path*/) noexcept {
    return nullptr;
}

} // namespace Vantor::platform
