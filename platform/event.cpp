// The part of Event that is the same on every system: ownership of the handle.

#include "platform/event.h"

#include <utility>

namespace Vantor::platform {

Event::Event(Unopened) noexcept {}

Event Event::none() noexcept {
    return Event(Unopened{});
}

Event::Event(Event&& other) noexcept
    : eventHandle(std::exchange(other.eventHandle, nullptr)), owned(std::exchange(other.owned, false)) {}

Event& Event::operator=(Event&& other) noexcept {
    // The destructor of `other` releases what this one held.
    std::swap(eventHandle, other.eventHandle);
    std::swap(owned, other.owned);
    return *this;
}

EventHandle Event::handle() const noexcept {
    return eventHandle;
}

} // namespace Vantor::platform
