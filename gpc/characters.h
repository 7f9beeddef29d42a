// Byte classes of the source language, shared by the lexer and the preprocessor so that both cut a text into
// the same identifiers and numbers. Bytes are taken as they are: nothing depends on the locale.

#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Vantor::gpc {

enum ByteClass : std::uint8_t {
    kIdentifierStart = 1, ///< letters, _ and $
    kDigit = 2,
    kHexDigit = 4,
    kBlank = 8,     ///< space, tab, carriage return; a line feed is none
    kNonAscii = 16, ///< 128 and above: continues an identifier, is ignored elsewhere
    kInert = 32     ///< begins nothing that the preprocessor looks at: blanks, brackets, most operators
};

inline constexpr std::array<std::uint8_t, 256> kByteClasses = [] {
    std::array<std::uint8_t, 256> classes{};
    for (std::size_t c = 0; c < 256; ++c) {
        const bool lower = c >= 'a' && c <= 'z';
        const bool upper = c >= 'A' && c <= 'Z';
        const bool digit = c >= '0' && c <= '9';
        std::uint8_t bits = 0;
        if (lower || upper || c == '_' || c == '$')
            bits |= kIdentifierStart;
        if (digit)
            bits |= kDigit;
        if (digit || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'))
            bits |= kHexDigit;
        if (c == ' ' || c == '\t' || c == '\r')
            bits |= kBlank;
        if (c >= 128)
            bits |= kNonAscii;
        // The exceptions: line feeds, literals, comments, numbers that begin with a dot, paint marks.
        const bool looked = c == '\n' || c == '"' || c == '\'' || c == '/' || c == '.' || c == 1;
        if (!lower && !upper && !digit && c != '_' && c != '$' && !looked)
            bits |= kInert;
        classes[c] = bits;
    }
    return classes;
}();

constexpr bool hasClass(char byte, unsigned classes) noexcept {
    return (kByteClasses[static_cast<unsigned char>(byte)] & classes) != 0;
}

/// The UTF-8 ideographic space, the one sequence of non-ASCII bytes that ends an identifier.
inline constexpr std::string_view kIdeographicSpace = "\xE3\x80\x80";

/// What some editors put in front of a UTF-8 file; no part of its first line.
inline constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// Offset behind the identifier whose first byte stands at `begin`.
constexpr std::size_t identifierEnd(std::string_view text, std::size_t begin) noexcept {
    std::size_t end = begin + 1;
    for (;; ++end) {
        while (end < text.size() && hasClass(text[end], kIdentifierStart | kDigit))
            ++end;
        if (end >= text.size() || !hasClass(text[end], kNonAscii) || text.substr(end, 3) == kIdeographicSpace)
            return end;
    }
}

/// Whether a numeric literal begins at `at`: a digit, or a dot directly before one.
constexpr bool startsNumber(std::string_view text, std::size_t at) noexcept {
    return hasClass(text[at], kDigit) ||
           (text[at] == '.' && at + 1 < text.size() && hasClass(text[at + 1], kDigit));
}

constexpr std::size_t skipClass(std::string_view text, std::size_t at, unsigned classes) noexcept {
    while (at < text.size() && hasClass(text[at], classes))
        ++at;
    return at;
}

/// The rest of numberEnd(): what follows the digits from `begin` to `end`.
std::size_t numberTailEnd(std::string_view text, std::size_t begin, std::size_t end) noexcept;

/// Offset behind the numeric literal that begins at `begin`. A prefix without digits behind it is a literal
/// too; its value fails later.
inline std::size_t numberEnd(std::string_view text, std::size_t begin) noexcept {
    const std::size_t end = skipClass(text, begin, kDigit);
    const bool plain = end >= text.size() || (text[end] != '.' && !hasClass(text[end], kIdentifierStart));
    return plain ? end : numberTailEnd(text, begin, end);
}

inline bool startsComment(std::string_view text, std::size_t at) noexcept {
    return text[at] == '/' && at + 1 < text.size() && (text[at + 1] == '/' || text[at + 1] == '*');
}

/// Offset behind the comment that begins at `at` ("//" or "/*"); a line comment ends before its line feed.
inline std::size_t commentEnd(std::string_view text, std::size_t at) noexcept {
    if (text[at + 1] == '/')
        return std::min(text.find('\n', at), text.size());
    const std::size_t end = text.find("*/", at + 2);
    return end == std::string_view::npos ? text.size() : end + 2;
}

/// Offset of the quote that closes the literal whose content begins at `begin`, or npos. A backslash takes
/// the next byte with it, whatever it is; line feeds belong to the literal.
constexpr std::size_t closingQuote(std::string_view text, std::size_t begin, char quote) noexcept {
    for (std::size_t at = begin; at < text.size(); ++at) {
        if (text[at] == quote)
            return at;
        if (text[at] == '\\')
            ++at;
    }
    return std::string_view::npos;
}

} // namespace Vantor::gpc
