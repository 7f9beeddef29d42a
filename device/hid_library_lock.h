// Keeps threads apart where hidapi does not. Entry point: HidLibraryLock. Any thread.

#pragma once

#include <mutex>

namespace Vantor {

/// To be held during every call of hidapi that can fail without an open device to keep the reason: listing,
/// opening, and asking for a serial number. Each of them replaces the one text that hidapi has for such
/// reasons, without a lock, so that two at once may free it twice. Not for reading and writing, which may
/// take long.
class HidLibraryLock {
public:
    HidLibraryLock() : held(mutex) {}

private:
    static inline std::mutex mutex;
    std::lock_guard<std::mutex> held;
};

} // namespace Vantor
