// Precise sleep on Linux: an absolute sleep on the monotonic clock.

#include "platform/precise_sleep.h"

#include <ctime>

namespace Vantor::platform {

PreciseSleep::PreciseSleep() noexcept = default;
PreciseSleep::~PreciseSleep() = default;

void PreciseSleep::until(std::int64_t deadlineNs) noexcept {
    constexpr std::int64_t kNsPerSecond = 1'000'000'000;
    if (deadlineNs <= 0)
        return;
    const timespec deadline{.tv_sec = static_cast<time_t>(deadlineNs / kNsPerSecond),
                            .tv_nsec = static_cast<long>(deadlineNs % kNsPerSecond)};
    clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr);
}

} // namespace Vantor::platform
