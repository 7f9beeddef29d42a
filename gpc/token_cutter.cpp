// What few tokens begin with.

#include "gpc/token_cutter.h"

namespace Vantor::gpc {

std::size_t numberTailEnd(std::string_view text, std::size_t begin, std::size_t end) noexcept {
    const bool prefixed = end == begin + 1 && text[begin] == '0';
    if (prefixed && (text[end] == 'x' || text[end] == 'X'))
        return skipClass(text, end + 1, kHexDigit);
    if (prefixed && (text[end] == 'b' || text[end] == 'B')) {
        ++end;
        while (end < text.size() && (text[end] == '0' || text[end] == '1'))
            ++end;
        return end;
    }
    if (text[end] == '.')
        end = skipClass(text, end + 1, kDigit);
    if (end < text.size() && (text[end] == 'f' || text[end] == 'F'))
        ++end;
    return end;
}

namespace cutting {

namespace {

CutToken cutQuoted(std::string_view text, std::size_t at) noexcept {
    const std::size_t quote = closingQuote(text, at + 1, text[at]);
    if (quote == std::string_view::npos)
        return {TokenKind::Invalid, at, text.size()};
    return {text[at] == '"' ? TokenKind::StringLiteral : TokenKind::CharLiteral, at, quote + 1};
}

} // namespace

CutToken cutSeldom(std::string_view text, std::size_t at) noexcept {
    const auto skipTo = [](std::size_t end) { return CutToken{TokenKind::Invalid, end, end}; };
    const char byte = text[at];
    const char second = at + 1 < text.size() ? text[at + 1] : '\0';
    if (byte == '"' || byte == '\'')
        return cutQuoted(text, at);
    if (startsNumber(text, at))
        return {TokenKind::Number, at, numberEnd(text, at)};
    if (text.substr(at, 3) == "...")
        return skipTo(at + 3);
    if (startsComment(text, at))
        return skipTo(commentEnd(text, at));
    if (byte == '/')
        return cutOperator(text, at);
    // A backslash directly in front of a bracket: the bracket is the token.
    if (byte == '\\' && (second == '[' || second == ']'))
        return skipTo(at + 1);
    return {TokenKind::Invalid, at, at + 1};
}

} // namespace cutting

} // namespace Vantor::gpc
