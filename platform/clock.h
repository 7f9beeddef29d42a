// The one clock of time stamps and rates: monotonic, nanoseconds. Any thread.

#pragma once

#include <chrono>
#include <cstdint>

namespace Vantor::platform {

/// Nanoseconds of the steady clock (on Windows the performance counter scaled to nanoseconds). The same clock
/// in every process of this machine, so that a producer's time stamp can be compared with a reader's.
inline std::int64_t monotonicNowNs() noexcept {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

} // namespace Vantor::platform
