// Integer constant expressions as conditions of the preprocessor hold them. Entry point:
// evaluateConstantExpression(). It knows the language's named constants, evaluates every other name to 0, and
// knows no fixed-point numbers. Any thread; recursion is bounded.

#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace Vantor::gpc {

/// A 32-bit value in two's complement. Arithmetic wraps, and is unsigned when either side is.
struct ConstantValue {
    std::uint32_t bits = 0;
    bool isUnsigned = false;

    bool isTrue() const noexcept { return bits != 0; }
};

/// The value of `text`, which must be one whole expression with C's operators, their precedence, and ^^
/// between && and ||. nullopt: malformed, a literal out of range, a division by zero that is really reached,
/// or nested too deeply.
std::optional<ConstantValue> evaluateConstantExpression(std::string_view text) noexcept;

} // namespace Vantor::gpc
