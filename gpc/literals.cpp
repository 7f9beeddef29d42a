// Literal texts to values, with every overflow checked before it happens.

#include "gpc/literals.h"

#include "gpc/characters.h"

#include <array>
#include <limits>

namespace Vantor::gpc {

namespace {

constexpr std::uint64_t kMaxMagnitude = 4294967295;
constexpr std::uint64_t kMaxNegatedMagnitude = 2147483648;
constexpr std::size_t kMaxFractionDigits = 9;
constexpr std::uint64_t kFixedOne = 65536;

bool isHexadecimal(std::string_view text) noexcept {
    return text.size() >= 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
}

bool isBinary(std::string_view text) noexcept {
    return text.size() >= 2 && text[0] == '0' && (text[1] == 'b' || text[1] == 'B');
}

/// The value of a digit in any base up to 16; 255 for what is none.
unsigned digitValue(char byte) noexcept {
    if (hasClass(byte, kDigit))
        return static_cast<unsigned>(byte - '0');
    if (hasClass(byte, kHexDigit))
        return static_cast<unsigned>((byte | 0x20) - 'a') + 10;
    return 255;
}

/// An empty text is 0: both halves of a fixed-point literal may be empty.
std::optional<std::uint64_t> magnitude(std::string_view digits, unsigned base) noexcept {
    std::uint64_t value = 0;
    for (const char byte : digits) {
        const unsigned digit = digitValue(byte);
        if (digit >= base || value > (std::numeric_limits<std::uint64_t>::max() - digit) / base)
            return std::nullopt;
        value = value * base + digit;
    }
    return value;
}

std::optional<std::int32_t> escapeValue(char escaped) noexcept {
    struct Escape {
        char written;
        std::int32_t value;
    };
    static constexpr std::array<Escape, 7> kEscapes{
        {{'"', 34}, {'\'', 39}, {'0', 0}, {'\\', 92}, {'n', 10}, {'r', 13}, {'t', 9}}};
    for (const Escape& escape : kEscapes) {
        if (escape.written == escaped)
            return escape.value;
    }
    return std::nullopt;
}

} // namespace

bool isFixedLiteral(std::string_view text) noexcept {
    if (text.find('.') != std::string_view::npos)
        return true;
    return !text.empty() && !isHexadecimal(text) && (text.back() == 'f' || text.back() == 'F');
}

std::optional<IntegerLiteral> integerLiteralValue(std::string_view text, bool negated) noexcept {
    if (const auto decimal = shortDecimal(text))
        return integerLiteralOf(*decimal, negated);
    unsigned base = 10;
    if (isHexadecimal(text))
        base = 16;
    else if (isBinary(text))
        base = 2;
    if (base != 10)
        text.remove_prefix(2);
    if (text.empty())
        return std::nullopt;
    const auto absolute = magnitude(text, base);
    return absolute ? integerLiteralOf(*absolute, negated) : std::nullopt;
}

std::optional<IntegerLiteral> integerLiteralOf(std::uint64_t absolute, bool negated) noexcept {
    if (absolute > (negated ? kMaxNegatedMagnitude : kMaxMagnitude))
        return std::nullopt;
    const auto value = negated ? -static_cast<std::int64_t>(absolute) : static_cast<std::int64_t>(absolute);
    if (value > std::numeric_limits<std::int32_t>::max())
        return IntegerLiteral{value, IntegerLiteralType::uint32};
    const bool small = value >= std::numeric_limits<std::int16_t>::min() &&
                       value <= std::numeric_limits<std::int16_t>::max();
    return IntegerLiteral{value, small ? IntegerLiteralType::int16 : IntegerLiteralType::int32};
}

std::optional<FixedLiteral> fixedLiteralValue(std::string_view text) noexcept {
    const bool suffixed = !text.empty() && (text.back() == 'f' || text.back() == 'F');
    if (suffixed)
        text.remove_suffix(1);
    const std::size_t dot = text.find('.');
    const bool dotted = dot != std::string_view::npos;
    if (text.empty() || (!dotted && !suffixed))
        return std::nullopt;
    const std::string_view fractionText = dotted ? text.substr(dot + 1) : std::string_view{};
    const auto whole = magnitude(text.substr(0, dot), 10);
    const auto fraction = magnitude(fractionText, 10);
    if (!whole || !fraction || fractionText.size() > kMaxFractionDigits)
        return std::nullopt;
    if (!dotted && *whole == 0)
        return std::nullopt;

    std::uint64_t denominator = 1;
    for (std::size_t digit = 0; digit < fractionText.size(); ++digit)
        denominator *= 10;
    // Anything from 2^15 on is out of range, and refused before the product could overflow.
    if (*whole >= kMaxNegatedMagnitude / kFixedOne)
        return std::nullopt;
    const std::uint64_t bits = (*fraction * kFixedOne + denominator / 2) / denominator + *whole * kFixedOne;
    if (bits >= kMaxNegatedMagnitude)
        return std::nullopt;
    const double value =
        static_cast<double>(*fraction) / static_cast<double>(denominator) + static_cast<double>(*whole);
    return FixedLiteral{static_cast<std::int32_t>(bits), value};
}

std::optional<std::int32_t> charLiteralValue(std::string_view text) noexcept {
    if (text.size() < 3 || text.front() != '\'' || text.back() != '\'')
        return std::nullopt;
    const std::string_view content = text.substr(1, text.size() - 2);
    if (content.size() == 1)
        return static_cast<unsigned char>(content[0]);
    if (content.size() == 2)
        return content[0] == '\\' ? escapeValue(content[1]) : std::nullopt;
    std::uint32_t packed = 0;
    for (const char byte : content)
        packed = (packed << 8) | static_cast<unsigned char>(byte); // earlier bytes fall out at the top
    return static_cast<std::int32_t>(packed);
}

std::optional<std::int32_t> fix32FromDouble(double value) noexcept {
    const double scaled = value * static_cast<double>(kFixedOne);
    if (!(scaled >= -2147483648.5 && scaled <= 2147483647.5))
        return std::nullopt;
    const auto rounded = static_cast<std::int64_t>(scaled < 0 ? scaled - 0.5 : scaled + 0.5);
    // The two outermost halves round to one past the range; they are the range's ends.
    if (rounded > std::numeric_limits<std::int32_t>::max())
        return std::numeric_limits<std::int32_t>::max();
    if (rounded < std::numeric_limits<std::int32_t>::min())
        return std::numeric_limits<std::int32_t>::min();
    return static_cast<std::int32_t>(rounded);
}

} // namespace Vantor::gpc
