// Sleeping until a point in time, to well below a millisecond. Entry point: PreciseSleep::until().
// For producers that keep a rate; who waits for events uses waitAny(). An object belongs to one thread.

#pragma once

#include <cstdint>

namespace Vantor::platform {

class PreciseSleep {
public:
    PreciseSleep() noexcept;
    ~PreciseSleep(); // NOLINT(performance-trivially-destructible): not on every system
    PreciseSleep(const PreciseSleep&) = delete;
    PreciseSleep& operator=(const PreciseSleep&) = delete;

    /// Sleeps until monotonicNowNs() has reached `deadlineNs`; not at all when that is past. May come back
    /// early when a signal arrives: look at the clock.
    void until(std::int64_t deadlineNs) noexcept;

private:
    void* timerHandle = nullptr; ///< Windows only
};

} // namespace Vantor::platform
