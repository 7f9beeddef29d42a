// The rules by which a text is cut into tokens: what is skipped between them, and where each ends. Entry
// point: cutToken(). Knows no lines; the Lexer counts those. Inline, since the whole of every source goes
// through it.

#pragma once

#include "gpc/characters.h"
#include "gpc/token.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Vantor::gpc {

struct CutToken {
    TokenKind kind;
    std::size_t begin;
    std::size_t end;
};

namespace cutting {

inline constexpr std::uint8_t kNone = static_cast<std::uint8_t>(TokenKind::Invalid);

constexpr std::uint8_t number(TokenKind kind) {
    return static_cast<std::uint8_t>(kind);
}

/// What an operator's first byte can become. Of the three continuations the longest that fits wins.
struct OperatorRule {
    std::uint8_t alone = kNone;
    std::uint8_t doubled = kNone;         ///< the byte twice
    std::uint8_t assigned = kNone;        ///< followed by =
    std::uint8_t doubledAssigned = kNone; ///< the byte twice, then =
};

inline constexpr std::array<OperatorRule, 128> kOperators = [] {
    using K = TokenKind;
    std::array<OperatorRule, 128> rules{};
    rules.fill({kNone, kNone, kNone, kNone});
    rules['{'].alone = number(K::LBrace);
    rules['}'].alone = number(K::RBrace);
    rules['('].alone = number(K::LParen);
    rules[')'].alone = number(K::RParen);
    rules['['].alone = number(K::LBracket);
    rules[']'].alone = number(K::RBracket);
    rules[','].alone = number(K::Comma);
    rules['?'].alone = number(K::Question);
    rules[':'].alone = number(K::Colon);
    rules[';'].alone = number(K::Semicolon);
    rules['~'].alone = number(K::Tilde);
    rules['='] = {number(K::Assign), kNone, number(K::EqualEqual), kNone};
    rules['!'] = {number(K::Bang), kNone, number(K::NotEqual), kNone};
    rules['*'] = {number(K::Star), kNone, number(K::StarAssign), kNone};
    rules['/'] = {number(K::Slash), kNone, number(K::SlashAssign), kNone};
    rules['%'] = {number(K::Percent), kNone, number(K::PercentAssign), kNone};
    rules['+'] = {number(K::Plus), number(K::PlusPlus), number(K::PlusAssign), kNone};
    rules['-'] = {number(K::Minus), number(K::MinusMinus), number(K::MinusAssign), kNone};
    rules['&'] = {number(K::Ampersand), number(K::AndAnd), number(K::AndAssign), kNone};
    rules['|'] = {number(K::Pipe), number(K::PipePipe), number(K::OrAssign), kNone};
    rules['^'] = {number(K::Caret), number(K::CaretCaret), number(K::XorAssign), kNone};
    rules['<'] = {number(K::Less), number(K::ShiftLeft), number(K::LessEqual), number(K::ShiftLeftAssign)};
    rules['>'] = {number(K::Greater), number(K::ShiftRight), number(K::GreaterEqual),
                  number(K::ShiftRightAssign)};
    return rules;
}();

/// What a byte can begin; smaller numbers are the kinds of tokens that are one byte long and nothing else.
enum Lead : std::uint8_t { kSkipped = 64, kWord, kNumber, kOperator, kSeldom };

inline constexpr std::array<std::uint8_t, 256> kLeads = [] {
    std::array<std::uint8_t, 256> leads{};
    for (std::size_t c = 0; c < 256; ++c) {
        const char byte = static_cast<char>(c);
        const OperatorRule rule = c < kOperators.size() ? kOperators[c] : OperatorRule{};
        const bool continued = rule.doubled != kNone || rule.assigned != kNone;
        leads[c] = continued ? static_cast<std::uint8_t>(kOperator) : rule.alone;
        // A no-break space is two non-ASCII bytes, so it needs no rule of its own.
        if (hasClass(byte, kBlank | kNonAscii) || byte == '\n' || byte == '`')
            leads[c] = kSkipped;
        if (hasClass(byte, kIdentifierStart))
            leads[c] = kWord;
        if (hasClass(byte, kDigit))
            leads[c] = kNumber;
    }
    for (const unsigned char byte : {'"', '\'', '.', '/', '\\'})
        leads[byte] = kSeldom;
    return leads;
}();

inline CutToken cutOperator(std::string_view text, std::size_t at) noexcept {
    const OperatorRule& rule = kOperators[static_cast<unsigned char>(text[at])];
    const char second = at + 1 < text.size() ? text[at + 1] : '\0';
    if (second == text[at]) {
        const char third = at + 2 < text.size() ? text[at + 2] : '\0';
        if (rule.doubledAssigned != kNone && third == '=')
            return {TokenKind{rule.doubledAssigned}, at, at + 3};
        if (rule.doubled != kNone)
            return {TokenKind{rule.doubled}, at, at + 2};
    }
    if (rule.assigned != kNone && second == '=')
        return {TokenKind{rule.assigned}, at, at + 2};
    return {TokenKind{rule.alone}, at, at + 1};
}

/// The token at `at` when a literal, a dot, a slash or a backslash begins it; an empty one behind what is
/// skipped there.
CutToken cutSeldom(std::string_view text, std::size_t at) noexcept;

} // namespace cutting

/// The first token at or behind `at`; EndOfInput at the end of the text.
[[gnu::always_inline]] inline CutToken cutToken(std::string_view text, std::size_t at) noexcept {
    using namespace cutting;
    while (at < text.size()) {
        const std::uint8_t lead = kLeads[static_cast<unsigned char>(text[at])];
        if (lead == kSkipped) {
            ++at;
            continue;
        }
        if (lead < kSkipped)
            return {TokenKind{lead}, at, at + 1};
        if (lead == kOperator)
            return cutOperator(text, at);
        if (lead == kNumber)
            return {TokenKind::Number, at, numberEnd(text, at)};
        if (lead == kWord)
            return {TokenKind::Identifier, at, identifierEnd(text, at)};
        const CutToken token = cutSeldom(text, at);
        if (token.begin != token.end)
            return token;
        at = token.end;
    }
    return {TokenKind::EndOfInput, text.size(), text.size()};
}

} // namespace Vantor::gpc
