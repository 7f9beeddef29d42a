// Precise sleep on Windows: a high-resolution waitable timer, or an ordinary one before Windows 10 version
// 1803.

#include "platform/clock.h"
#include "platform/precise_sleep.h"
#include "platform/windows_names.h"

#ifndef CREATE_WAITABLE_TIMER_HIGH_RESOLUTION
#define CREATE_WAITABLE_TIMER_HIGH_RESOLUTION 0x00000002
#endif

namespace Vantor::platform {

PreciseSleep::PreciseSleep() noexcept
    : timerHandle(
          CreateWaitableTimerExW(nullptr, nullptr, CREATE_WAITABLE_TIMER_HIGH_RESOLUTION, TIMER_ALL_ACCESS)) {
    if (timerHandle == nullptr)
        timerHandle = CreateWaitableTimerExW(nullptr, nullptr, 0, TIMER_ALL_ACCESS);
}

PreciseSleep::~PreciseSleep() {
    if (timerHandle != nullptr)
        CloseHandle(timerHandle);
}

void PreciseSleep::until(std::int64_t deadlineNs) noexcept {
    constexpr std::int64_t kNsPerTick = 100;
    constexpr std::int64_t kNsPerMs = 1'000'000;
    const std::int64_t remainingNs = deadlineNs - monotonicNowNs();
    if (remainingNs <= 0)
        return;
    // Negative: counted from now. Rounded up, so that the deadline has come when the timer ends.
    LARGE_INTEGER due{};
    due.QuadPart = -((remainingNs + kNsPerTick - 1) / kNsPerTick);
    if (timerHandle != nullptr && SetWaitableTimer(timerHandle, &due, 0, nullptr, nullptr, FALSE) != FALSE)
        WaitForSingleObject(timerHandle, INFINITE);
    else
        Sleep(static_cast<DWORD>(remainingNs / kNsPerMs + 1));
}

} // namespace Vantor::platform
