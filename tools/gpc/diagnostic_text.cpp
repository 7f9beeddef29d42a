// Long lines are shown in part: the caret is what matters.

#include "diagnostic_text.h"

#include "files.h"
#include "gpc/preprocessor.h"
#include "gpc/source_file.h"

#include <algorithm>

namespace Vantor::gpctool {

namespace {

constexpr std::size_t kShownBefore = 70; ///< bytes in front of the column, when the line is longer than that
constexpr std::size_t kShownBytes = 110;

bool continuesCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

std::string_view lineOf(std::string_view source, std::uint64_t line) {
    for (; line > 1; --line) {
        const std::size_t feed = source.find('\n');
        if (feed == std::string_view::npos)
            return {};
        source.remove_prefix(feed + 1);
    }
    source = source.substr(0, source.find('\n'));
    if (!source.empty() && source.back() == '\r')
        source.remove_suffix(1);
    return source;
}

/// The line, or the part of it around the caret, and the caret.
std::string excerpt(std::string_view line, std::uint64_t column) {
    std::size_t before = std::min<std::size_t>(column - 1, line.size());
    std::size_t begin = before > kShownBefore ? before - kShownBefore : 0;
    while (begin > 0 && begin < line.size() && continuesCharacter(line[begin]))
        --begin;
    std::size_t end = std::min(line.size(), begin + kShownBytes);
    while (end < line.size() && continuesCharacter(line[end]))
        ++end;
    std::string caret;
    for (std::size_t at = begin; at < before; ++at) {
        if (!continuesCharacter(line[at]))
            caret += line[at] == '\t' ? '\t' : ' ';
    }
    const std::string lead = begin > 0 ? "  ..." : "  ";
    return lead + printable(line.substr(begin, end - begin)) + (end < line.size() ? "..." : "") + '\n' +
           std::string(lead.size(), ' ') + caret + "^\n";
}

} // namespace

std::string printable(std::string_view text) {
    std::string shown(text);
    for (char& byte : shown) {
        const auto value = static_cast<unsigned char>(byte);
        if ((value < 32 && byte != '\t') || value == 127)
            byte = '?';
    }
    return shown;
}

std::string shownPath(const std::string& path) {
    return path.empty() || path == kStandardStream ? "<stdin>" : path;
}

std::string diagnosticText(const gpc::Diagnostic& diagnostic, const std::string& mainPath,
                           std::string_view source) {
    const bool inMain = diagnostic.file.empty() || diagnostic.file == mainPath;
    std::string text = printable(shownPath(inMain ? mainPath : diagnostic.file)) + ':' +
                       std::to_string(diagnostic.line) + ':' + std::to_string(diagnostic.column) +
                       ": error: " + printable(diagnostic.message) + '\n';
    std::string included;
    if (!inMain) {
        const auto path = gpc::pathFromUtf8(diagnostic.file);
        if (gpc::readSourceFile(path, gpc::kMaxSourceBytes, included) != gpc::ReadOutcome::ok)
            return text;
        source = included;
    }
    static constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (source.substr(0, kByteOrderMark.size()) == kByteOrderMark)
        source.remove_prefix(kByteOrderMark.size());
    const std::string_view line = lineOf(source, diagnostic.line);
    if (!line.empty() && diagnostic.column > 0)
        text += excerpt(line, diagnostic.column);
    return text;
}

} // namespace Vantor::gpctool
