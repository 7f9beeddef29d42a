// Lines and files: cuts each file into runs of ordinary lines and directive lines, and hands both on.

#include "gpc/preprocessor.h"

#include "gpc/preprocessor_state.h"

#include <utility>

namespace Vantor::gpc {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

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

bool Preprocessor::fail(const Place& place, std::string message) {
    result.diagnostics.push_back({0, place.line, place.column, std::move(message), place.file});
    return false;
}

Preprocessor::Place Preprocessor::placeIn(const File& file) const {
    return {file.place.line(), file.place.column(), file.path};
}

bool Preprocessor::run(std::string_view source) {
    if (source.substr(0, kByteOrderMark.size()) == kByteOrderMark)
        source.remove_prefix(kByteOrderMark.size());
    File main{source, options.sourcePath, 0, PlaceCounter(source)};
    if (source.size() > kMaxSourceBytes)
        return fail(placeIn(main), "source is larger than 8 MB");
    // Room that stays untouched costs nothing; growing a long text once costs a copy and all its pages again.
    result.text.reserve(source.size() + source.size() / 2);
    if (!processFile(main))
        return false;
    if (!conditionals.empty())
        return fail(conditionalPlaces.back(), "unterminated conditional preprocessing block");
    return true;
}

bool Preprocessor::processFile(File& file) {
    result.lines.beginFile(result.text.size(), file.path);
    while (file.place.offset() < file.text.size()) {
        const LineKind kind =
            file.open == kInComment ? LineKind::text : lineKindAt(file.text, file.place.offset());
        const bool plain = kind == LineKind::text || (kind == LineKind::legacyDefine && !isActive());
        if (plain ? !processRun(file) : !processDirectiveLine(file, kind))
            return false;
    }
    return true;
}

/// Takes the lines up to the next one that may be a directive: nothing in between can change what is active.
bool Preprocessor::processRun(File& file) {
    const bool active = isActive();
    const OpenState openBefore = file.open;
    std::size_t end = file.place.offset();
    do {
        const std::size_t next = lineEndAt(file.text, end);
        std::size_t opened = file.openedAt - end; // wraps back below when the line opens nothing
        file.open = stateBehind(file.text.substr(end, next - end), file.open, opened);
        file.openedAt = end + opened;
        // In lines that are left out, an apostrophe is prose and no literal is open for longer than its line.
        if (!active && file.open != kInComment)
            file.open = kInCode;
        end = next;
    } while (end < file.text.size() &&
             (file.open == kInComment || lineKindAt(file.text, end) == LineKind::text));
    if (!active) {
        file.place.moveTo(end);
        return true;
    }
    if (expander.expandRun(file.text, end, openBefore, file.place, result.text, result.lines))
        return true;
    return fail(placeIn(file), expander.failure());
}

bool Preprocessor::processDirectiveLine(File& file, LineKind kind) {
    std::string storage;
    const std::size_t begin = file.place.offset();
    const JoinedLine line = joinedLineAt(file.text, begin, storage);
    const std::size_t mark = skipBlanks(line.text, 0);
    file.place.moveTo(skipBlanks(file.text, begin));
    const Place place = placeIn(file);

    std::string_view rest = line.text.substr(mark);
    std::string_view name;
    if (kind == LineKind::directive)
        rest.remove_prefix(skipBlanks(rest, 1));
    if (!rest.empty() && hasClass(rest.front(), kIdentifierStart))
        name = rest.substr(0, identifierEnd(rest, 0));
    rest.remove_prefix(name.size());

    file.place.moveTo(line.end);
    const Directive directive{file, name, rest, place};
    std::size_t opened = 0;
    const OpenState behind = stateBehind(behindFileName(rest), kInCode, opened);
    if (!(kind == LineKind::directive ? dispatch(directive) : handleLegacyDefine(directive)))
        return false;
    if (behind == kInComment) {
        file.open = kInComment;
        file.openedAt = begin;
        // The directive goes, but the lines behind it still begin inside its comment.
        if (isActive()) {
            result.lines.beginMade(result.text.size(), place.line, place.column);
            result.text += "/*";
        }
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
