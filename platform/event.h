// Manual-reset events, within a process and across processes, and waiting on several at once.
// Entry points: Event, waitAny(). The meaning is the same on every system: an event stays set until it is
// reset, setting a set event does nothing, and of several set events the one with the lowest index is
// reported. Safe from any thread; nothing here allocates after construction.

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace Vantor::platform {

/// What a wait needs to know of an event. Not owning: valid as long as the Event it came from.
/// Windows: the kernel's HANDLE. POSIX: the address of the event's 32-bit futex word.
using EventHandle = void*;

/// Bytes that a named event takes inside the shared mapping that carries it (POSIX; Windows leaves them
/// unused).
inline constexpr std::size_t kEventWordBytes = 4;

class Event {
public:
    /// An event of this process, not set. valid() is false when the system refuses another one.
    Event();
    /// An event shared by processes. `name` identifies it on Windows; `word` points at kEventWordBytes bytes,
    /// aligned to 4, of a shared mapping that outlives this object, and carries it on POSIX. A fresh
    /// mapping's zero means not set.
    static Event shared(std::string_view name, void* word);
    /// An event that is not there: valid() is false, handle() null.
    static Event none() noexcept;

    Event(Event&& other) noexcept;
    Event& operator=(Event&& other) noexcept;
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;
    ~Event();

    bool valid() const noexcept { return eventHandle != nullptr; }
    EventHandle handle() const noexcept;

    /// Sets the event and wakes every waiter. False when the event is not valid or the system refuses.
    bool set() noexcept;
    bool reset() noexcept;
    bool isSet() const noexcept;

private:
    struct Unopened {};
    explicit Event(Unopened) noexcept;

    EventHandle eventHandle = nullptr;
    bool owned = false; ///< whether the destructor releases the handle
};

/// The most events one wait takes.
inline constexpr std::size_t kMaxWaitEvents = 16;
inline constexpr std::uint32_t kWaitForever = 0xFFFFFFFF;

struct WaitResult {
    enum class Kind { signalled, timeout, failed };
    Kind kind = Kind::failed;
    std::size_t index = 0; ///< with signalled: position in the list of the first event that is set
};

/// Waits until one of `events` is set, or until `timeoutMs` milliseconds have passed (0: only looks).
/// Fails with an empty list, a null handle, more than kMaxWaitEvents, or a system error; never throws.
/// What counts is whether an event is set when the waiter looks: one that is set and at once reset again may
/// go unnoticed by a waiter that was asleep. So it is the waiter that resets, before it looks at what the
/// event announced. A null handle in the list fails at once on every system, so that a mistake never becomes
/// a wait without end.
WaitResult waitAny(std::span<const EventHandle> events, std::uint32_t timeoutMs) noexcept;

} // namespace Vantor::platform
