// Events on Windows: the kernel's manual-reset event objects.

#include "platform/clock.h"
#include "platform/event.h"
#include "platform/windows_names.h"

#include <algorithm>

namespace Vantor::platform {

static_assert(kWaitForever == INFINITE);
static_assert(kMaxWaitEvents <= MAXIMUM_WAIT_OBJECTS);

namespace {

constexpr std::int64_t kNsPerMs = 1'000'000;

} // namespace

Event::Event() : eventHandle(CreateEventW(nullptr, TRUE, FALSE, nullptr)), owned(eventHandle != nullptr) {}

Event Event::shared(std::string_view name, void* /*word*/) {
    Event event{Unopened{}};
    const std::wstring objectName = kernelObjectName(name);
    if (objectName.empty())
        return event;
    event.eventHandle = CreateEventW(nullptr, TRUE, FALSE, objectName.c_str());
    event.owned = event.eventHandle != nullptr;
    return event;
}

Event::~Event() {
    if (owned)
        CloseHandle(eventHandle);
}

bool Event::set() noexcept {
    return valid() && SetEvent(eventHandle) != FALSE;
}

bool Event::reset() noexcept {
    return valid() && ResetEvent(eventHandle) != FALSE;
}

bool Event::isSet() const noexcept {
    return valid() && WaitForSingleObject(eventHandle, 0) == WAIT_OBJECT_0;
}

WaitResult waitAny(std::span<const EventHandle> events, std::uint32_t timeoutMs) noexcept {
    if (events.empty() || events.size() > kMaxWaitEvents || std::ranges::count(events, nullptr) > 0)
        return {};
    const DWORD count = static_cast<DWORD>(events.size());
    const std::int64_t endNs = monotonicNowNs() + timeoutMs * kNsPerMs;
    for (DWORD leftMs = timeoutMs;;) {
        const DWORD result = WaitForMultipleObjects(count, events.data(), FALSE, leftMs);
        if (result < WAIT_OBJECT_0 + count)
            return {.kind = WaitResult::Kind::signalled, .index = result - WAIT_OBJECT_0};
        if (result != WAIT_TIMEOUT)
            return {.kind = WaitResult::Kind::failed};
        // The kernel counts in ticks of up to 16 ms, the current one as a whole: a wait may end that much
        // early.
        const std::int64_t leftNs = endNs - monotonicNowNs();
        if (leftNs <= 0 || timeoutMs == 0)
            return {.kind = WaitResult::Kind::timeout};
        leftMs = static_cast<DWORD>((leftNs + kNsPerMs - 1) / kNsPerMs);
    }
}

} // namespace Vantor::platform
