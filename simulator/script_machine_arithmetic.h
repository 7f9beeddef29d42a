// The arithmetic of scripts: 32-bit two's complement that wraps, and 16.16 fixed-point numbers (fix32).
// Pure functions on the bits of a temporary; nothing here can fault. The rules are those of docs/gbc.md.

#pragma once

#include <cstdint>

namespace Vantor::simulator::arithmetic {

using Bits = std::uint32_t;

/// Division by zero gives 0; the most negative number divided by -1 wraps.
[[nodiscard]] Bits divideSigned(Bits left, Bits right);
[[nodiscard]] Bits divideUnsigned(Bits left, Bits right);
[[nodiscard]] Bits remainderSigned(Bits left, Bits right);
[[nodiscard]] Bits remainderUnsigned(Bits left, Bits right);

/// Product and quotient of two fix32, rounded half away from zero; a result that does not fit wraps.
[[nodiscard]] Bits multiplyFixed(Bits left, Bits right);
[[nodiscard]] Bits divideFixed(Bits left, Bits right);

/// Truncation toward zero.
[[nodiscard]] Bits fixedToInteger(Bits value);
/// `value` in [-2147483648.5 / 65536, 2147483647.5 / 65536] to the nearest fix32; everything else, NaN
/// included, gives the nearest end of the range, NaN 0.
[[nodiscard]] Bits fixedFromDouble(double value);
[[nodiscard]] double doubleFromFixed(Bits value);

} // namespace Vantor::simulator::arithmetic
