// Expansion by a stack of texts: the innermost replacement is read first, and what follows a macro is simply
// what stands below it. An identifier that meets its own busy macro is marked, so that it stays unexpanded in
// every later reading.

#include "gpc/preprocessor_expansion.h"

#include "gpc/characters.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace Vantor::gpc {

namespace {

/// Replacements open inside each other without anything left to read behind them take memory only.
constexpr std::size_t kMaxOpenTexts = 4096;
/// Arguments expanded inside arguments: native recursion, and each level copies what is inside it.
constexpr int kMaxArgumentDepth = 200;
/// What an expansion costs beside the bytes that it copies.
constexpr std::size_t kExpansionCost = 32;

constexpr unsigned kWordByte = kIdentifierStart | kDigit | kNonAscii;

/// Whether two texts side by side would read as one token, or as the start of a comment, where neither side
/// meant it.
bool wouldMerge(char left, char right) noexcept {
    static constexpr std::string_view kBeforeAssign = "+-*/%&|^<>=!";
    static constexpr std::string_view kDoubling = "+-&|^<>";
    if (right == kPaintMark)
        return hasClass(left, kWordByte);
    if (hasClass(left, kWordByte) || left == '.')
        return hasClass(right, kWordByte) || right == '.';
    if (right == '=')
        return kBeforeAssign.find(left) != std::string_view::npos;
    if (left == '/')
        return right == '/' || right == '*';
    return left == right && kDoubling.find(left) != std::string_view::npos;
}

/// As "Mmm dd yyyy" and "hh:mm:ss", in quotes. Month names do not follow the host application's locale.
std::string dateText(std::time_t now) {
    static constexpr std::array<std::string_view, 12> kMonths{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                              "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const std::tm* const local = std::localtime(&now);
    if (!local)
        return "\"\"";
    std::array<char, 32> rest{};
    const std::size_t length = std::strftime(rest.data(), rest.size(), " %d %Y\"", local);
    return '"' + std::string(kMonths[static_cast<std::size_t>(local->tm_mon) % 12]) +
           std::string(rest.data(), length);
}

std::string timeText(std::time_t now) {
    const std::tm* const local = std::localtime(&now);
    std::array<char, 32> text{};
    const std::size_t length =
        local ? std::strftime(text.data(), text.size(), "\"%H:%M:%S\"", local) : std::size_t{0};
    return length == 0 ? "\"\"" : std::string(text.data(), length);
}

} // namespace

void PlaceCounter::moveTo(std::size_t offset) {
    while (at < offset) {
        const void* const feed = std::memchr(text.data() + at, '\n', offset - at);
        if (!feed)
            break;
        at = static_cast<std::size_t>(static_cast<const char*>(feed) - text.data()) + 1;
        lineStart = at;
        ++currentLine;
    }
    at = offset;
}

MacroExpander::MacroExpander(MacroTable& macroTable, std::time_t now, std::size_t maxOutput,
                             std::uint64_t maxWork)
    : macros(macroTable), startTime(now), outputLimit(maxOutput), workLimit(maxWork) {
    for (const auto& [name, kind] :
         {std::pair{"__DATE__", Macro::Kind::date}, {"__TIME__", Macro::Kind::time}}) {
        Macro macro;
        macro.name = name;
        macro.kind = kind;
        macros.define(std::move(macro));
    }
}

bool MacroExpander::fail(std::string message) {
    failureText = std::move(message);
    return false;
}

bool MacroExpander::charge(std::size_t bytes) {
    work += bytes;
    return work <= workLimit ? true : fail("macro expansion is too large");
}

void MacroExpander::Sink::put(std::string_view piece) {
    if (piece.empty())
        return;
    if (std::exchange(seam, false) && !text.empty() && wouldMerge(text.back(), piece.front()))
        text += ' ';
    text += piece;
}

void MacroExpander::pushFrame(std::string_view text, Macro* macro) {
    Frame& frame = frames.emplace_back();
    frame.text = text;
    frame.macro = macro;
    if (macro)
        macro->busy = true;
}

void MacroExpander::popFrame() {
    if (frames.back().macro)
        frames.back().macro->busy = false;
    frames.pop_back();
}

/// From `at` on, the end of what is passed on as it is: comments, literals, numbers, names of other things.
/// `next` is the macro whose name stands there; null at the end of the text and at a paint mark.
std::size_t MacroExpander::unchangedEnd(std::string_view text, std::size_t at, Macro*& next) {
    next = nullptr;
    while (at < text.size()) {
        const char byte = text[at];
        if (hasClass(byte, kBlank)) {
            ++at;
            continue;
        }
        if (hasClass(byte, kIdentifierStart)) {
            const std::size_t end = identifierEnd(text, at);
            next = macros.find(text.substr(at, end - at));
            if (next)
                return at;
            at = end;
        } else if (byte == '"' || byte == '\'') {
            at = literalEnd(text, at);
        } else if (byte == '/' && startsComment(text, at)) {
            at = commentEnd(text, at);
        } else if (hasClass(byte, kDigit) || byte == '.') {
            at = startsNumber(text, at) ? numberEnd(text, at) : at + 1;
        } else if (byte == kPaintMark) {
            return at;
        } else {
            ++at;
        }
    }
    return at;
}

bool MacroExpander::expandRun(std::string_view file, std::size_t end, OpenState open, PlaceCounter& place,
                              std::string& output, LineMap& lines) {
    const std::string_view run = file.substr(0, end);
    std::size_t at = place.offset();
    std::size_t copiedTo = at;
    lines.beginCopy(output.size(), place.line(), place.column());
    if (open == kInComment) {
        const std::size_t close = run.find("*/", at);
        at = close == std::string_view::npos ? end : close + 2;
    } else if (open != kInCode) {
        const std::size_t close = closingQuote(run, at, open);
        at = close == std::string_view::npos ? end : close + 1;
    }

    for (;;) {
        Macro* macro = nullptr;
        at = unchangedEnd(run, at, macro);
        if (!macro && at < end) { // in a file the mark is a byte like any other
            ++at;
            continue;
        }
        output.append(run, copiedTo, at - copiedTo);
        if (output.size() > outputLimit)
            return fail("preprocessed source is too large");
        place.moveTo(at);
        if (!macro)
            return true;
        lines.beginMade(output.size(), place.line(), place.column());
        pushFrame(run, nullptr);
        frames.back().at = at + macro->name.size();
        Sink sink{output, false, true};
        if (!putMacroName(0, *macro, sink) || !drain(1, 0, sink))
            return false;
        at = copiedTo = frames.back().at;
        popFrame();
        if (at < end && !output.empty() && wouldMerge(output.back(), run[at]))
            output += ' ';
        place.moveTo(at);
        lines.beginCopy(output.size(), place.line(), place.column());
    }
}

bool MacroExpander::expandCondition(std::string_view text, std::string& result) {
    pushFrame(text, nullptr);
    Sink sink{result, false};
    return drain(0, 0, sink);
}

/// Reads frames to their ends, and takes them off the stack, until `remaining` are left. Arguments may be
/// read from frames down to the index `floor`.
bool MacroExpander::drain(std::size_t remaining, std::size_t floor, Sink& sink) {
    while (frames.size() > remaining) {
        Frame& frame = frames.back();
        const std::string_view text = frame.text;
        if (frame.at >= text.size()) {
            popFrame();
            sink.seam = true;
            continue;
        }
        const std::size_t begin = frame.at;
        Macro* macro = nullptr;
        frame.at = unchangedEnd(text, begin, macro);
        sink.put(text.substr(begin, frame.at - begin));
        if (macro) {
            frame.at += macro->name.size();
            if (!putMacroName(floor, *macro, sink))
                return false;
        } else if (frame.at < text.size()) {
            putPaintedName(frame, sink);
        }
    }
    return true;
}

/// At a paint mark: the name behind it as it is, with the mark as long as the text will be expanded again.
void MacroExpander::putPaintedName(Frame& frame, Sink& sink) {
    const std::size_t mark = frame.at;
    const bool marksName = mark + 1 < frame.text.size() && hasClass(frame.text[mark + 1], kIdentifierStart);
    frame.at = marksName ? identifierEnd(frame.text, mark + 1) : mark + 1;
    const std::size_t from = sink.keepPaint || !marksName ? mark : mark + 1;
    sink.put(frame.text.substr(from, frame.at - from));
}

/// The name has just been read from the top frame: begins its expansion, or puts it out as it is.
bool MacroExpander::putMacroName(std::size_t floor, Macro& macro, Sink& sink) {
    if (macro.busy) {
        if (sink.keepPaint)
            sink.put(std::string_view(&kPaintMark, 1));
        sink.put(macro.name);
        return true;
    }
    if (macro.kind == Macro::Kind::function && !isCalled(floor)) {
        sink.put(macro.name);
        return true;
    }
    sink.seam = true;
    if (!beginExpansion(floor, macro))
        return false;
    // A name that stands alone in a replacement of megabytes must not build them up unnoticed.
    return sink.text.size() <= outputLimit ? true : fail("macro expansion is too large");
}

const std::string& MacroExpander::objectText(Macro& macro) const {
    if (macro.kind == Macro::Kind::date && macro.replacement.empty())
        macro.replacement = dateText(startTime);
    if (macro.kind == Macro::Kind::time && macro.replacement.empty())
        macro.replacement = timeText(startTime);
    return macro.replacement;
}

bool MacroExpander::beginExpansion(std::size_t floor, Macro& macro) {
    if (frames.size() >= kMaxOpenTexts)
        return fail("macro expansion is nested too deeply");
    if (macro.kind != Macro::Kind::function) {
        const std::string& text = objectText(macro);
        pushFrame(text, &macro);
        return charge(text.size() + kExpansionCost);
    }
    ++expansions;
    std::vector<std::string> arguments;
    std::string text;
    if (!collectArguments(floor, macro, arguments) || !substitute(macro, arguments, text))
        return false;
    pushFrame({}, &macro);
    Frame& frame = frames.back();
    frame.owned = std::move(text);
    frame.text = frame.owned;
    return true;
}

/// Whether the next thing to be read is an opening parenthesis. If so, it has been read.
bool MacroExpander::isCalled(std::size_t floor) {
    for (std::size_t index = frames.size(); index-- > floor;) {
        const Frame& frame = frames[index];
        std::size_t at = frame.at;
        while (at < frame.text.size()) {
            if (hasClass(frame.text[at], kBlank) || frame.text[at] == '\n')
                ++at;
            else if (startsComment(frame.text, at))
                at = commentEnd(frame.text, at);
            else
                break;
        }
        if (at >= frame.text.size())
            continue;
        if (frame.text[at] != '(')
            return false;
        while (frames.size() > index + 1)
            popFrame();
        frames.back().at = at + 1;
        return true;
    }
    return false;
}

bool MacroExpander::collectArguments(std::size_t floor, const Macro& macro,
                                     std::vector<std::string>& arguments) {
    const std::size_t places = macro.parameters.size() + (macro.variadic ? 1 : 0);
    std::size_t surplus = 0; // arguments without a place, counted but not kept
    std::size_t depth = 0;
    arguments.emplace_back();
    for (;;) {
        Frame& frame = frames.back();
        const std::string_view text = frame.text;
        std::string& argument = arguments.back();
        const std::size_t begin = frame.at;
        if (begin >= text.size()) {
            if (frames.size() - 1 <= floor)
                return fail("unterminated macro argument list: " + macro.name);
            popFrame();
            continue;
        }
        const char byte = text[begin];
        frame.at = begin + 1;
        if (hasClass(byte, kIdentifierStart)) {
            frame.at = identifierEnd(text, begin);
            const std::string_view word = text.substr(begin, frame.at - begin);
            const Macro* const named = macros.find(word);
            const bool painted = begin > 0 && text[begin - 1] == kPaintMark;
            if (named && named->busy && !painted)
                argument += kPaintMark;
            argument += word;
        } else if (byte == '"' || byte == '\'') {
            frame.at = literalEnd(text, begin);
            argument.append(text, begin, frame.at - begin);
        } else if (startsNumber(text, begin)) {
            frame.at = numberEnd(text, begin);
            argument.append(text, begin, frame.at - begin);
        } else if (startsComment(text, begin)) {
            frame.at = commentEnd(text, begin);
            argument += ' ';
        } else if (byte == ')' && depth == 0) {
            return checkCount(macro, arguments, surplus);
        } else if (byte == ',' && depth == 0 && arguments.size() < places) {
            arguments.emplace_back();
        } else if (byte == ',' && depth == 0 && !macro.variadic) {
            ++surplus;
        } else {
            depth += byte == '(' ? 1u : 0u;
            depth -= byte == ')' ? 1u : 0u;
            const bool fromFile = frame.macro == nullptr && frames.size() == 1;
            const char kept = fromFile && byte == kPaintMark ? kPaintMarkStandIn : byte;
            argument += kept == '\n' ? ' ' : kept;
        }
        if (!charge(frame.at - begin))
            return false;
    }
}

/// Brings the arguments into the shape that the macro's pieces count on: one per parameter, the variadic one
/// last.
bool MacroExpander::checkCount(const Macro& macro, std::vector<std::string>& arguments, std::size_t surplus) {
    for (std::string& argument : arguments)
        argument = std::string(trimmed(argument));
    const std::size_t wanted = macro.parameters.size();
    if (wanted == 0 && arguments.size() == 1 && arguments[0].empty())
        arguments.clear();
    const std::size_t found = arguments.size() + surplus;
    if (macro.variadic ? found >= wanted : found == wanted) {
        arguments.resize(wanted + (macro.variadic ? 1 : 0));
        return true;
    }
    return fail("wrong number of macro arguments: " + macro.name + " expects " +
                (macro.variadic ? "at least " : "") + std::to_string(wanted) + ", found " +
                std::to_string(found));
}

bool MacroExpander::substitute(const Macro& macro, const std::vector<std::string>& arguments,
                               std::string& result) {
    std::vector<std::string> expanded(arguments.size());
    std::vector<bool> done(arguments.size(), false);
    Sink sink{result, true};
    for (const Macro::Piece& piece : macro.pieces) {
        sink.seam = true;
        std::string_view text = piece.text;
        if (piece.parameter != Macro::kNoParameter) {
            if (!done[piece.parameter] &&
                !expandArgument(arguments[piece.parameter], expanded[piece.parameter]))
                return false;
            done[piece.parameter] = true;
            text = expanded[piece.parameter];
        }
        if (!charge(text.size()))
            return false;
        sink.put(text);
    }
    return charge(kExpansionCost);
}

bool MacroExpander::expandArgument(std::string_view argument, std::string& result) {
    if (++argumentDepth > kMaxArgumentDepth)
        return fail("macro expansion is nested too deeply");
    const std::size_t floor = frames.size();
    pushFrame(argument, nullptr);
    Sink sink{result, true};
    const bool expanded = drain(floor, floor, sink);
    --argumentDepth;
    return expanded;
}

} // namespace Vantor::gpc
