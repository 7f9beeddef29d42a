// The console protocols by the byte that the adapter uses for them. Plain functions, any thread.

#pragma once

#include <QString>

#include <cstdint>
#include <span>

namespace Vantor {

/// What a protocol byte stands for; "Unknown" for values without a name.
QString protocolName(std::uint8_t protocol);

/// The bytes that have a name, without that for "Disconnected": what the adapter can speak to a console.
std::span<const std::uint8_t> consoleProtocols();

} // namespace Vantor
