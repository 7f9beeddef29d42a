// The texts of a script: strings in the machine's memory, and printf's formats. One thread at a time.

#pragma once

#include "simulator/script_machine_memory.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace Vantor::simulator {

/// The bytes at `address` up to a zero byte, which stands behind them; a fault and nothing when the memory
/// ends first. A view of the memory.
[[nodiscard]] std::string_view readText(ScriptMemory& memory, std::uint32_t address);

/// Appends to `text` what the arguments make of a format with the conversions %d %i %u %x %X %c %s %f %% with
/// flags, width and precision as in C (both at most 99). %f takes a fix32. A conversion that is none, or one
/// without an argument, is printed as it stands.
void formatText(ScriptMemory& memory, std::string_view format, std::span<const std::uint32_t> arguments,
                std::string& text);

} // namespace Vantor::simulator
