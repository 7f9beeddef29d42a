// Lines and files: cuts each file into runs of ordinary lines and directive lines, and hands both on.

#include "gpc/preprocessor.h"

#include "gpc/preprocessor_state.h"

#include <utility>

namespace Vantor::gpc {

namespace {

/// What expansions may handle in all: a multiple of the growth that is allowed, and one of a long source.
constexpr std::uint64_t kWorkPerGrowthByte = 4;
constexpr std::uint64_t kWorkPerSourceByte = 16;

/// A file name in angle brackets is no code: what looks like a comment in it is none.
std::string_view behindFileName(std::string_view rest) {
    const bool angled = rest.substr(skipBlanks(rest, 0)).substr(0, 1) == "<";
    const std::size_t close = angled ? rest.find('>') : std::string_view::npos;
    return close == std::string_view::npos ? rest : rest.substr(close);
}

} // namespace

Preprocessor::Preprocessor(std::string_view source, const PreprocessOptions& preprocessOptions,
                           PreprocessResult& target)
    : options(preprocessOptions),
      result(target),
      expander(macros, preprocessOptions.startTime != 0 ? preprocessOptions.startTime : std::time(nullptr),
               source.size() + preprocessOptions.growthLimitBytes,
               kWorkPerGrowthByte * preprocessOptions.growthLimitBytes + kWorkPerSourceByte * source.size()) {
}

bool Preprocessor::fail(FileOffset at, std::string message) {
    const SourcePlace place = result.lines.locate(at);
    result.diagnostics.push_back({0, place.line, place.column, std::move(message), std::string(place.file)});
    return false;
}

bool Preprocessor::run(std::string_view source) {
    if (source.substr(0, kByteOrderMark.size()) == kByteOrderMark)
        source.remove_prefix(kByteOrderMark.size());
    File main{result.lines.addFile(options.sourcePath, source), 0, {source}};
    if (source.size() > kMaxSourceBytes)
        return fail({main.index, 0}, "source is larger than 8 MB");
    // Room that stays untouched costs nothing; growing a long text once costs a copy and all its pages again.
    result.text.reserve(source.size() + source.size() / 2);
    if (!processFile(main))
        return false;
    if (!conditionals.empty())
        return fail(conditionalPlaces.back(), "unterminated conditional preprocessing block");
    return true;
}

bool Preprocessor::processFile(File& file) {
    SourceCursor& cursor = file.cursor;
    result.lines.beginFile(result.text.size(), file.index);
    while (cursor.at < cursor.text.size()) {
        const LineKind kind = cursor.open == kInComment ? LineKind::text : lineKindAt(cursor.text, cursor.at);
        const bool plain = kind == LineKind::text || (kind == LineKind::legacyDefine && !isActive());
        if (plain ? !processRun(file) : !processDirectiveLine(file, kind))
            return false;
    }
    return true;
}

/// Takes the lines up to the next one that may be a directive: nothing in between can change what is active.
bool Preprocessor::processRun(File& file) {
    if (!isActive()) {
        skipRun(file.cursor);
        return true;
    }
    if (expander.expandRun(file.cursor, result.text, result.lines))
        return true;
    return fail({file.index, static_cast<std::uint32_t>(file.cursor.at)}, expander.failure());
}

/// Of lines that are left out only their comments matter: an apostrophe is prose in them, and no literal is
/// open for longer than its line.
void Preprocessor::skipRun(SourceCursor& cursor) {
    const std::string_view text = cursor.text;
    do {
        const std::size_t next = lineEndAt(text, cursor.at);
        std::size_t opened = cursor.openedAt - cursor.at; // wraps back below when the line opens nothing
        const OpenState behind = stateBehind(text.substr(cursor.at, next - cursor.at), cursor.open, opened);
        cursor.open = behind == kInComment ? kInComment : kInCode;
        cursor.openedAt = cursor.at + opened;
        cursor.at = next;
    } while (cursor.at < text.size() &&
             (cursor.open == kInComment || lineKindAt(text, cursor.at) != LineKind::directive));
}

bool Preprocessor::processDirectiveLine(File& file, LineKind kind) {
    SourceCursor& cursor = file.cursor;
    std::string storage;
    const std::size_t begin = cursor.at;
    const JoinedLine line = joinedLineAt(cursor.text, begin, storage);
    const std::size_t mark = skipBlanks(line.text, 0);

    std::string_view rest = line.text.substr(mark);
    std::string_view name;
    if (kind == LineKind::directive)
        rest.remove_prefix(skipBlanks(rest, 1));
    if (!rest.empty() && hasClass(rest.front(), kIdentifierStart))
        name = rest.substr(0, identifierEnd(rest, 0));
    rest.remove_prefix(name.size());

    cursor.at = line.end;
    const FileOffset place{file.index, static_cast<std::uint32_t>(skipBlanks(cursor.text, begin))};
    const Directive directive{file, name, rest, place};
    std::size_t opened = 0;
    const OpenState behind = stateBehind(behindFileName(rest), kInCode, opened);
    if (!(kind == LineKind::directive ? dispatch(directive) : handleLegacyDefine(directive)))
        return false;
    if (behind == kInComment) {
        cursor.open = kInComment;
        cursor.openedAt = begin;
    }
    return true;
}

PreprocessResult preprocess(std::string_view source, const PreprocessOptions& options) {
    PreprocessResult result;
    Preprocessor preprocessor(source, options, result);
    if (!preprocessor.run(source))
        result.text.clear();
    return result;
}

} // namespace Vantor::gpc
