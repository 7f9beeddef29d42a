// How single packets leave for the adapter, for code that does not know who writes them. Entry point:
// PacketSender.

#pragma once

#include <cstdint>
#include <functional>
#include <span>

namespace Vantor {

/// Hands over one packet of 1..64 bytes, without a report id, and waits until it was written. False: it was
/// not, and nobody will. An empty function stands for no link at all. Does not throw, runs no event loop, and
/// must not destroy its caller. To be called on the GUI thread.
using PacketSender = std::function<bool(std::span<const std::uint8_t> packet)>;

} // namespace Vantor
