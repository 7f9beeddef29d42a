// The skipping rules and the token rules, in the order in which they apply.

#include "gpc/lexer.h"

#include "gpc/characters.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace Vantor::gpc {

namespace {

constexpr std::uint8_t kNone = static_cast<std::uint8_t>(TokenKind::Invalid);

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

constexpr std::array<OperatorRule, 128> kOperators = [] {
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

} // namespace

/// Moves to `end`, counting the line feeds on the way.
void Lexer::skipTo(std::size_t end) noexcept {
    const char* const base = source.data();
    while (at < end) {
        const void* feed = std::memchr(base + at, '\n', end - at);
        if (!feed)
            break;
        at = static_cast<std::size_t>(static_cast<const char*>(feed) - base) + 1;
        lineStart = at;
        ++currentLine;
    }
    at = end;
}

void Lexer::skipBlockComment() noexcept {
    const std::size_t end = source.find("*/", at + 2);
    skipTo(end == std::string_view::npos ? source.size() : end + 2);
}

void Lexer::skipBetweenTokens() noexcept {
    while (at < source.size()) {
        const char byte = source[at];
        if (hasClass(byte, kIdentifierStart | kDigit))
            return;
        // A no-break space is two non-ASCII bytes, so it needs no rule of its own.
        if (hasClass(byte, kBlank | kNonAscii) || byte == '`' || isEscapedBracket(byte)) {
            ++at;
        } else if (byte == '\n') {
            ++at;
            lineStart = at;
            ++currentLine;
        } else if (byte == '.' && source.substr(at, 3) == "...") {
            at += 3;
        } else if (byte == '/' && source.substr(at, 2) == "//") {
            at = std::min(source.find('\n', at), source.size());
        } else if (byte == '/' && source.substr(at, 2) == "/*") {
            skipBlockComment();
        } else {
            return;
        }
    }
}

Token Lexer::take(TokenKind kind, std::size_t end) noexcept {
    const Token token{kind, source.substr(at, end - at), at, currentLine, column()};
    at = end;
    return token;
}

Token Lexer::takeQuoted(TokenKind kind) noexcept {
    const std::size_t quote = closingQuote(source, at + 1, source[at]);
    const bool closed = quote != std::string_view::npos;
    const std::size_t end = closed ? quote + 1 : source.size();
    const Token token{closed ? kind : TokenKind::Invalid, source.substr(at, end - at), at, currentLine,
                      column()};
    skipTo(end);
    return token;
}

Token Lexer::takeOperator() noexcept {
    const auto first = static_cast<unsigned char>(source[at]);
    const OperatorRule rule = first < kOperators.size() ? kOperators[first] : OperatorRule{};
    const char second = at + 1 < source.size() ? source[at + 1] : '\0';
    const char third = at + 2 < source.size() ? source[at + 2] : '\0';
    const bool twice = second == source[at];
    if (rule.doubledAssigned != kNone && twice && third == '=')
        return take(TokenKind{rule.doubledAssigned}, at + 3);
    if (rule.doubled != kNone && twice)
        return take(TokenKind{rule.doubled}, at + 2);
    if (rule.assigned != kNone && second == '=')
        return take(TokenKind{rule.assigned}, at + 2);
    return take(TokenKind{rule.alone}, at + 1);
}

Token Lexer::next() noexcept {
    skipBetweenTokens();
    if (at >= source.size())
        return take(TokenKind::EndOfInput, source.size());
    const char byte = source[at];
    if (hasClass(byte, kIdentifierStart))
        return take(TokenKind::Identifier, identifierEnd(source, at));
    if (startsNumber(source, at))
        return take(TokenKind::Number, numberEnd(source, at));
    if (byte == '"')
        return takeQuoted(TokenKind::StringLiteral);
    if (byte == '\'')
        return takeQuoted(TokenKind::CharLiteral);
    return takeOperator();
}

} // namespace Vantor::gpc
