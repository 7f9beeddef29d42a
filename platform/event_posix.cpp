// Events on Linux: a 32-bit futex word, 0 = not set, anything else = set, and futex_waitv() to wait on
// several. The word lies on the heap or in a shared mapping; the futex calls are the cross-process kind for
// both, since a handle does not tell them apart.

#include "platform/event.h"

#include <climits>

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <ctime>
#include <new>
#include <optional>

namespace Vantor::platform {

namespace {

using Word = std::uint32_t;
static_assert(sizeof(Word) == kEventWordBytes);
static_assert(std::atomic_ref<Word>::is_always_lock_free);

constexpr Word kNotSet = 0;
constexpr Word kSet = 1;
constexpr long kNsPerSecond = 1'000'000'000;
constexpr long kNsPerMs = 1'000'000;
/// How long a wait without futex_waitv() looks at one word before it looks at all of them again.
constexpr long kSliceNs = 1 * kNsPerMs;

std::atomic_ref<Word> wordOf(EventHandle handle) noexcept {
    return std::atomic_ref<Word>(*static_cast<Word*>(handle));
}

std::optional<std::size_t> firstSet(std::span<const EventHandle> events) noexcept {
    for (std::size_t index = 0; index < events.size(); ++index) {
        if (wordOf(events[index]).load(std::memory_order_acquire) != kNotSet)
            return index;
    }
    return std::nullopt;
}

timespec later(timespec time, std::uint64_t nanoseconds) noexcept {
    const std::uint64_t total = static_cast<std::uint64_t>(time.tv_nsec) + nanoseconds;
    time.tv_sec += static_cast<time_t>(total / kNsPerSecond);
    time.tv_nsec = static_cast<long>(total % kNsPerSecond);
    return time;
}

timespec now() noexcept {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time;
}

bool isBefore(const timespec& left, const timespec& right) noexcept {
    return left.tv_sec != right.tv_sec ? left.tv_sec < right.tv_sec : left.tv_nsec < right.tv_nsec;
}

/// Sleeps until one of the words may have changed or the deadline (null: none) has come; 0 or an errno value.
int sleepOnAll(std::span<const EventHandle> events, const timespec* deadline) noexcept {
    std::array<futex_waitv, kMaxWaitEvents> waiters{};
    for (std::size_t index = 0; index < events.size(); ++index) {
        waiters[index].val = kNotSet;
        waiters[index].uaddr = reinterpret_cast<std::uintptr_t>(events[index]);
        waiters[index].flags = FUTEX_32;
    }
    const long result = syscall(SYS_futex_waitv, waiters.data(), events.size(), 0, deadline, CLOCK_MONOTONIC);
    return result < 0 ? errno : 0;
}

/// The same for kernels before 5.16 and sandboxes that do not know futex_waitv(): sleeps on the first word
/// only. With several events the sleep is cut to kSliceNs, which bounds how late the others are noticed.
int sleepOnFirst(std::span<const EventHandle> events, const timespec* deadline) noexcept {
    timespec until{};
    const timespec* limit = deadline;
    if (events.size() > 1) {
        until = later(now(), kSliceNs);
        if (deadline == nullptr || isBefore(until, *deadline))
            limit = &until;
    }
    const long result =
        syscall(SYS_futex, events[0], FUTEX_WAIT_BITSET, kNotSet, limit, nullptr, FUTEX_BITSET_MATCH_ANY);
    if (result < 0 && errno == ETIMEDOUT && limit == &until)
        return 0;
    return result < 0 ? errno : 0;
}

} // namespace

Event::Event() : eventHandle(new (std::nothrow) Word{kNotSet}), owned(eventHandle != nullptr) {}

Event Event::shared(std::string_view /*name*/, void* word) {
    Event event{Unopened{}};
    if (reinterpret_cast<std::uintptr_t>(word) % alignof(Word) == 0)
        event.eventHandle = word;
    return event;
}

Event::~Event() {
    if (owned)
        delete static_cast<Word*>(eventHandle);
}

bool Event::set() noexcept {
    if (!valid())
        return false;
    // Whoever set it before has woken everybody, and nobody goes to sleep on a word that is set.
    if (wordOf(eventHandle).exchange(kSet, std::memory_order_acq_rel) == kNotSet)
        syscall(SYS_futex, eventHandle, FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
    return true;
}

bool Event::reset() noexcept {
    if (!valid())
        return false;
    // An exchange rather than a store: it reads the last set(), so that what was written before that set() is
    // seen after this reset(). With a store, data behind a set() that this reset() wipes out could be missed
    // for ever.
    wordOf(eventHandle).exchange(kNotSet, std::memory_order_acq_rel);
    return true;
}

bool Event::isSet() const noexcept {
    return valid() && wordOf(eventHandle).load(std::memory_order_acquire) != kNotSet;
}

WaitResult waitAny(std::span<const EventHandle> events, std::uint32_t timeoutMs) noexcept {
    if (events.empty() || events.size() > kMaxWaitEvents || std::ranges::count(events, nullptr) > 0)
        return {};
    if (const auto index = firstSet(events))
        return {.kind = WaitResult::Kind::signalled, .index = *index};
    if (timeoutMs == 0)
        return {.kind = WaitResult::Kind::timeout};

    timespec end{};
    if (timeoutMs != kWaitForever)
        end = later(now(), std::uint64_t{timeoutMs} * kNsPerMs);
    const timespec* deadline = timeoutMs == kWaitForever ? nullptr : &end;
    for (;;) {
        int error = sleepOnAll(events, deadline);
        // Some sandboxes answer EPERM to calls that they do not know.
        if (error == ENOSYS || error == EPERM)
            error = sleepOnFirst(events, deadline);
        // A wake-up may be late news of a set() that was reset since: only the words count.
        if (const auto index = firstSet(events))
            return {.kind = WaitResult::Kind::signalled, .index = *index};
        if (error == ETIMEDOUT)
            return {.kind = WaitResult::Kind::timeout};
        if (error != 0 && error != EAGAIN && error != EINTR)
            return {};
    }
}

} // namespace Vantor::platform
