// Small scans of raw source text that several rooms of the preprocessor need: where comments and literals
// end, what is a directive line, how its physical lines join. Nothing here knows of macros or of conditions.

#pragma once

#include "gpc/characters.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

namespace Vantor::gpc {

/// What the text is inside of: 0 for code, '*' for a block comment, otherwise the quote of the open literal.
using OpenState = char;
inline constexpr OpenState kInCode = 0;
inline constexpr OpenState kInComment = '*';

/// How far a file has been read.
struct SourceCursor {
    std::string_view text;
    std::size_t at = 0;
    OpenState open = kInCode; ///< what the text at `at` is inside of
    std::size_t openedAt = 0; ///< where that comment or literal was opened
};

/// The state behind `text`, when it was `open` before it. `openedAt` is set to the offset in `text` of what
/// opened the state, and left alone when nothing in `text` did.
OpenState stateBehind(std::string_view text, OpenState open, std::size_t& openedAt) noexcept;

/// The first position from `at` on that holds no blank (line feeds are none).
inline std::size_t skipBlanks(std::string_view text, std::size_t at) noexcept {
    while (at < text.size() && hasClass(text[at], kBlank))
        ++at;
    return at;
}

/// Without blanks and line feeds at both ends.
std::string_view trimmed(std::string_view text) noexcept;

/// Offset behind the string or character literal that begins at `at`; the end of the text when it is not
/// closed.
inline std::size_t literalEnd(std::string_view text, std::size_t at) noexcept {
    const std::size_t quote = closingQuote(text, at + 1, text[at]);
    return quote == std::string_view::npos ? text.size() : quote + 1;
}

/// Every comment replaced by one blank, both ends trimmed. Literals stay as they are. `storage` holds the
/// text when there is a comment, and must live as long as the result.
std::string_view withoutComments(std::string_view text, std::string& storage);

enum class LineKind { text, directive, legacyDefine };

/// What the line that begins at `at` is, given that it does not begin inside a comment.
LineKind lineKindAt(std::string_view text, std::size_t at) noexcept;

/// Offset behind the line feed of the line that begins at `at`, or the end of the text.
inline std::size_t lineEndAt(std::string_view text, std::size_t at) noexcept {
    return std::min(text.find('\n', at), text.size() - 1) + 1;
}

/// Whether the line feed in front of `at` ends a run of ordinary lines.
inline bool directiveFollows(std::string_view text, std::size_t at) noexcept {
    return lineKindAt(text, at) != LineKind::text;
}

/// literalEnd() for a literal of a file whose content goes on at `at`: no further than the next directive
/// line, in front of which it stays open. `open` becomes the quote then and at the end of the text, else
/// kInCode.
std::size_t fileLiteralEnd(std::string_view text, std::size_t at, char quote, OpenState& open) noexcept;

struct JoinedLine {
    std::string_view text; ///< of a single physical line, or of `storage`
    std::size_t end = 0;   ///< offset behind the last physical line
};

/// The directive line at `at`, with the lines that follow while a backslash is the last thing on it.
/// `storage` holds the text when there is more than one, and must live as long as the result.
JoinedLine joinedLineAt(std::string_view text, std::size_t at, std::string& storage);

} // namespace Vantor::gpc
