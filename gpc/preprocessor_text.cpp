// One pass each, linear in what they look at.

#include "gpc/preprocessor_text.h"

namespace Vantor::gpc {

OpenState stateBehind(std::string_view text, OpenState open, std::size_t& openedAt) noexcept {
    std::size_t at = 0;
    while (at < text.size()) {
        if (open == kInComment) {
            const std::size_t end = text.find("*/", at);
            if (end == std::string_view::npos)
                return open;
            at = end + 2;
        } else if (open != kInCode) {
            const std::size_t quote = closingQuote(text, at, open);
            if (quote == std::string_view::npos)
                return open;
            at = quote + 1;
        }
        open = kInCode;
        for (; at < text.size(); ++at) {
            const char byte = text[at];
            if (byte == '"' || byte == '\'') {
                open = byte;
                openedAt = at++;
                break;
            }
            if (byte != '/' || !startsComment(text, at))
                continue;
            if (text[at + 1] == '*') {
                open = kInComment;
                openedAt = at;
                at += 2;
                break;
            }
            at = commentEnd(text, at) - 1;
        }
    }
    return open;
}

std::string_view trimmed(std::string_view text) noexcept {
    const auto blank = [](char byte) { return hasClass(byte, kBlank) || byte == '\n'; };
    while (!text.empty() && blank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && blank(text.back()))
        text.remove_suffix(1);
    return text;
}

std::string_view withoutComments(std::string_view text, std::string& storage) {
    std::size_t copied = 0;
    std::size_t at = 0;
    while (at < text.size()) {
        if (startsComment(text, at)) {
            storage.append(text, copied, at - copied);
            storage += ' ';
            at = copied = commentEnd(text, at);
        } else {
            at = text[at] == '"' || text[at] == '\'' ? literalEnd(text, at) : at + 1;
        }
    }
    if (copied == 0)
        return trimmed(text);
    storage.append(text, copied);
    return trimmed(storage);
}

LineKind lineKindAt(std::string_view text, std::size_t at) noexcept {
    static constexpr std::string_view kLegacyWord = "define";
    at = skipBlanks(text, at);
    if (at >= text.size())
        return LineKind::text;
    if (text[at] == '#')
        return LineKind::directive;
    if (text[at] != 'd' || text.substr(at, kLegacyWord.size()) != kLegacyWord)
        return LineKind::text;
    const std::size_t behind = at + kLegacyWord.size();
    const bool longerWord =
        behind < text.size() && text[behind] != '$' && hasClass(text[behind], kIdentifierStart | kDigit);
    return longerWord ? LineKind::text : LineKind::legacyDefine;
}

std::size_t fileLiteralEnd(std::string_view text, std::size_t at, char quote, OpenState& open) noexcept {
    open = quote;
    for (; at < text.size(); ++at) {
        if (text[at] == quote) {
            open = kInCode;
            return at + 1;
        }
        if (text[at] == '\\' && ++at == text.size())
            break;
        if (text[at] == '\n' && directiveFollows(text, at + 1))
            return at + 1;
    }
    return text.size();
}

JoinedLine joinedLineAt(std::string_view text, std::size_t at, std::string& storage) {
    JoinedLine joined;
    bool several = false;
    for (;;) {
        const std::size_t end = lineEndAt(text, at);
        std::string_view line = text.substr(at, end - at);
        while (!line.empty() && (line.back() == '\n' || hasClass(line.back(), kBlank)))
            line.remove_suffix(1);
        const bool continued = !line.empty() && line.back() == '\\';
        if (continued)
            line.remove_suffix(1);
        if (continued || several) {
            if (!several)
                storage.clear();
            several = true;
            storage += line;
        }
        at = end;
        if (!continued || end >= text.size()) {
            joined.text = several ? std::string_view(storage) : line;
            joined.end = end;
            return joined;
        }
    }
}

} // namespace Vantor::gpc
