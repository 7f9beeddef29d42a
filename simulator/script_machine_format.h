// The texts of a script: strings in the machine's memory, and printf's formats. One thread at a time.

#pragma once

#include "simulator/script_machine_memory.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace Vantor::simulator {

/// The bytes at `address` up to a zero byte; a fault when the memory ends first.
[[nodiscard]] std::string readText(ScriptMemory& memory, std::uint32_t address);

/// Puts the arguments into a format with the conversions %d %i %u %x %X %c %s %f %% with flags, width and
/// precision as in C (both at most 99). %f takes a fix32. A conversion that is none, or one without an
/// argument, is printed as it stands.
[[nodiscard]] std::string formatText(ScriptMemory& memory, std::string_view format,
                                     std::span<const std::uint32_t> arguments);

} // namespace Vantor::simulator
