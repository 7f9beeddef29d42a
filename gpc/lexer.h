// Cuts a preprocessed source into tokens, one at a time, on demand. Entry point: Lexer::next().
// It reports no errors: what fits no rule becomes an Invalid token, and whoever meets it speaks up.
// A small value type: copy it to look ahead or to come back. Allocates nothing. Any thread.

#pragma once

#include "gpc/token.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Vantor::gpc {

class Lexer {
public:
    /// `text` must outlive the lexer and every token that it returns.
    explicit Lexer(std::string_view text) noexcept : source(text) {}

    /// The next token; EndOfInput at the end of the source, however often it is asked.
    Token next() noexcept;

    /// Byte index of the next unread byte, and its place: lines from 1, columns in bytes from 1.
    std::uint64_t position() const noexcept { return at; }
    std::uint64_t line() const noexcept { return currentLine; }
    std::uint64_t column() const noexcept { return at - lineStart + 1; }

private:
    void skipTo(std::size_t end) noexcept;

    std::string_view source;
    std::size_t at = 0;
    std::size_t lineStart = 0; ///< offset of the current line's first byte; the column follows from it
    std::uint64_t currentLine = 1;
};

} // namespace Vantor::gpc
