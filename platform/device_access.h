// Why the system did not let this user open a device that is there. Any thread.

#pragma once

namespace Vantor::platform {

/// To be asked when opening the device `path` (local 8-bit encoding) has failed: what keeps this user out and
/// how to change that, as sentences for people. Null when the system gives no such reason; always null on
/// Windows, where HID devices are open to everybody.
const char* deviceAccessAdvice(const char* path) noexcept;

} // namespace Vantor::platform
