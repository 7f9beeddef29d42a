// Lines and columns around what the cutter finds.

#include "gpc/lexer.h"

#include "gpc/token_cutter.h"

#include <cstring>

namespace Vantor::gpc {

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

Token Lexer::next() noexcept {
    const CutToken cut = cutToken(source, at);
    skipTo(cut.begin);
    const Token token{cut.kind, source.substr(cut.begin, cut.end - cut.begin), at, currentLine, column()};
    skipTo(cut.end);
    return token;
}

} // namespace Vantor::gpc
