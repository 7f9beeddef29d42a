// Two events for handing a turn back and forth, between threads or processes.

#pragma once

#include "platform/event.h"
#include "platform/shared_memory.h"

#include <array>
#include <string>
#include <string_view>

namespace Vantor::test {

inline constexpr std::size_t kEventPairBytes = 2 * platform::kEventWordBytes;
/// Only a lost wake-up takes that long.
inline constexpr std::uint32_t kLostMs = 20'000;

struct EventPair {
    EventPair() = default;
    EventPair(std::string_view name, std::byte* words)
        : ping(platform::Event::shared(std::string(name) + ".ping", words)),
          pong(platform::Event::shared(std::string(name) + ".pong", words + platform::kEventWordBytes)) {}

    platform::Event ping;
    platform::Event pong;
};

/// Waits for the event, behind two others that nobody sets, and resets it.
inline bool take(platform::Event& event) {
    static const platform::Event idleA;
    static const platform::Event idleB;
    const std::array handles{idleA.handle(), idleB.handle(), event.handle()};
    const platform::WaitResult result = platform::waitAny(handles, kLostMs);
    event.reset();
    return result.kind == platform::WaitResult::Kind::signalled && result.index == 2;
}

} // namespace Vantor::test
