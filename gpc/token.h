// Tokens of a preprocessed source. A token owns nothing: its text is a view into that source.

#pragma once

#include <cstdint>
#include <string_view>

namespace Vantor::gpc {

/// Keywords are identifiers here; the parser tells them apart by their text.
enum class TokenKind : std::uint32_t {
    Identifier,
    Number,        ///< prefix and suffix included; see literals.h for its value
    CharLiteral,   ///< with both quotes
    StringLiteral, ///< with both quotes; escapes as written
    LBrace,
    RBrace,
    LParen,
    RParen,
    LBracket,
    RBracket,
    Comma,
    Question,
    Colon,
    Semicolon,
    Assign,
    Plus,
    Minus,
    PlusPlus,
    MinusMinus,
    Star,
    Slash,
    Percent,
    Greater,
    Less,
    GreaterEqual,
    LessEqual,
    EqualEqual,
    NotEqual,
    ShiftLeft,
    ShiftRight,
    Ampersand,
    Caret,
    Pipe,
    AndAnd,
    CaretCaret, ///< logical exclusive or
    PipePipe,
    Bang,
    Tilde,
    PlusAssign,
    MinusAssign,
    StarAssign,
    SlashAssign,
    PercentAssign,
    ShiftLeftAssign,
    ShiftRightAssign,
    AndAssign,
    XorAssign,
    OrAssign,
    EndOfInput, ///< empty text at the end of the source
    Invalid     ///< a byte that fits nothing, or an unterminated literal up to the end of the source
};

static_assert(static_cast<std::uint32_t>(TokenKind::Invalid) == 49, "the kinds are numbered without gaps");

struct Token {
    TokenKind kind = TokenKind::EndOfInput;
    std::string_view text;
    std::uint64_t offset = 0; ///< of the first byte, in the preprocessed text
    std::uint64_t line = 1;   ///< of the first byte, in the preprocessed text
    std::uint64_t column = 1; ///< in bytes
};

} // namespace Vantor::gpc
