// Values of numeric and character literals. Every function takes a token's whole text and fails with nullopt;
// the texts of the diagnostics stand here because several callers record them. No allocation, any thread.

#pragma once

#include "gpc/characters.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace Vantor::gpc {

/// What a failed conversion is called, recorded at the literal's token. The first one names 16 bits although
/// the limit is that of 32 bits: existing users know the text.
inline constexpr std::string_view kIntegerLiteralMessage =
    "integer literal is outside the signed 16-bit range";
inline constexpr std::string_view kFixedLiteralMessage = "invalid or out-of-range fixed-point literal";
inline constexpr std::string_view kCharLiteralMessage = "invalid character literal";

enum class IntegerLiteralType { int16, int32, uint32 };

struct IntegerLiteral {
    std::int64_t value = 0; ///< with its sign, -2147483648 to 4294967295
    IntegerLiteralType type = IntegerLiteralType::int16;
};

/// fix32: signed 16.16 fixed point, the value times 65536.
struct FixedLiteral {
    std::int32_t bits = 0;
    double value = 0; ///< as written, before rounding to 16 fraction bits
};

/// Whether a Number token is a fixed-point literal: it holds a dot, or ends in f or F without being
/// hexadecimal.
bool isFixedLiteral(std::string_view text) noexcept;

/// At most nine decimal digits and nothing else, which most numbers are.
inline std::optional<std::uint32_t> shortDecimal(std::string_view text) noexcept {
    std::uint32_t value = 0;
    if (text.empty() || text.size() > 9)
        return std::nullopt;
    for (const char byte : text) {
        if (!hasClass(byte, kDigit))
            return std::nullopt;
        value = value * 10 + static_cast<std::uint32_t>(byte - '0');
    }
    return value;
}

/// `negated`: a unary minus stands before the literal; the value comes back with it applied.
std::optional<IntegerLiteral> integerLiteralValue(std::string_view text, bool negated) noexcept;

/// The same for a value that has been read already.
std::optional<IntegerLiteral> integerLiteralOf(std::uint64_t magnitude, bool negated) noexcept;

/// The positive value; a unary minus negates both members afterwards. `0f` fails while `0.f` and `0.0` do
/// not.
std::optional<FixedLiteral> fixedLiteralValue(std::string_view text) noexcept;

/// One byte, one escape, or a constant of three and more bytes whose last four fill the value, the last one
/// lowest. Two plain bytes fail.
std::optional<std::int32_t> charLiteralValue(std::string_view text) noexcept;

/// Rounds half away from zero; fails outside the 32 bits, and for what is no number.
std::optional<std::int32_t> fix32FromDouble(double value) noexcept;

} // namespace Vantor::gpc
