// Expansion by a stack of texts: the innermost replacement is read first, and what follows a macro is simply
// what stands below it. An identifier that meets its own busy macro is marked, so that it stays unexpanded in
// every later reading.

#include "gpc/preprocessor_expansion.h"

#include "gpc/characters.h"

#include <algorithm>
#include <array>
#include <utility>

namespace Vantor::gpc {

namespace {

/// Replacements open inside each other without anything left to read behind them take memory only.
constexpr std::size_t kMaxOpenTexts = 4096;
/// Arguments expanded inside arguments: native recursion, and each level copies what is inside it.
constexpr int kMaxArgumentDepth = 200;
/// What an expansion costs beside the bytes that it copies.
constexpr std::size_t kExpansionCost = 32;

/// Texts up to here are kept for their memory.
constexpr std::size_t kMaxSpareBytes = 4096;

constexpr unsigned kWordByte = kIdentifierStart | kDigit | kNonAscii;

bool wouldMergeSeldom(char left, char right) noexcept {
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

/// Whether two texts side by side would read as one token, or as the start of a comment, where neither side
/// meant it.
bool wouldMerge(char left, char right) noexcept {
    return right != ' ' && right != '(' && right != ')' && left != ' ' && left != '(' && left != ')' &&
           wouldMergeSeldom(left, right);
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
    TextFrame& frame = frames.emplace_back();
    frame.text = text;
    frame.macro = macro;
    if (macro)
        macro->busy = true;
}

void MacroExpander::popFrame() {
    TextFrame& frame = frames.back();
    if (frame.macro)
        frame.macro->busy = false;
    if (frame.owned.capacity() > spareText.capacity() && frame.owned.capacity() <= kMaxSpareBytes)
        spareText.swap(frame.owned);
    frames.pop_back();
}

/// From `at` on, the end of what is passed on as it is: literals, numbers, names of other things. `next` is
/// the macro whose name stands there; null at the end of the text and at a paint mark.
std::size_t MacroExpander::unchangedEnd(std::string_view text, std::size_t at, Macro*& next) {
    next = nullptr;
    while (at < text.size()) {
        const char byte = text[at];
        if (hasClass(byte, kInert)) {
            ++at;
            continue;
        }
        if (hasClass(byte, kIdentifierStart)) {
            const std::size_t end = identifierEnd(text, at);
            next = macros.find(text.substr(at, end - at));
            if (next)
                return at;
            at = end;
        } else if (startsNumber(text, at)) {
            at = numberEnd(text, at);
        } else if (byte == '"' || byte == '\'') {
            at = literalEnd(text, at);
        } else if (byte == kPaintMark) {
            return at;
        } else {
            ++at;
        }
    }
    return at;
}

/// The same for lines of a file, which end before a directive line. Moves `file`; what is open at the end
/// goes into the cursor.
MacroExpander::Stop MacroExpander::nextStop(TextFrame& file, SourceCursor& cursor, Macro*& macro) {
    const std::string_view text = file.text;
    std::size_t at = file.at;
    if (cursor.open == kInComment)
        return at < text.size() ? Stop::comment : Stop::end;
    if (cursor.open != kInCode)
        at = fileLiteralEnd(text, at, cursor.open, cursor.open);
    while (cursor.open == kInCode && at < text.size()) {
        const char byte = text[at];
        if (hasClass(byte, kInert)) {
            ++at;
            continue;
        }
        if (hasClass(byte, kIdentifierStart)) {
            const std::size_t end = identifierEnd(text, at);
            macro = macros.find(text.substr(at, end - at));
            if (macro) {
                file.at = at;
                return Stop::macro;
            }
            at = end;
        } else if (byte == '\n') {
            if (directiveFollows(text, ++at))
                break;
        } else if (startsNumber(text, at)) {
            at = numberEnd(text, at);
        } else if (byte == '"' || byte == '\'') {
            cursor.openedAt = at;
            at = fileLiteralEnd(text, at + 1, byte, cursor.open);
        } else if (startsComment(text, at)) {
            file.at = at;
            return Stop::comment;
        } else {
            ++at; // a paint mark, too, is a byte like any other in a file
        }
    }
    file.at = at;
    return Stop::end;
}

/// Moves behind the comment at `at`, or behind the rest of the open one. A blank takes the place of a block.
void MacroExpander::dropComment(SourceCursor& cursor, std::size_t& at, std::string& output, LineMap& lines) {
    const std::string_view text = cursor.text;
    if (cursor.open == kInCode && text[at + 1] == '/') {
        at = commentEnd(text, at);
        if (at < text.size())
            return; // the line feed that follows brings the map back into step
    } else {
        if (cursor.open == kInCode) {
            cursor.openedAt = at;
            at += 2;
        }
        const std::size_t close = text.find("*/", at);
        cursor.open = close == std::string_view::npos ? kInComment : kInCode;
        at = close == std::string_view::npos ? text.size() : close + 2;
        output += ' ';
    }
    lines.beginCopy(output.size(), at);
}

bool MacroExpander::expandRun(SourceCursor& cursor, std::string& output, LineMap& lines) {
    pushFrame(cursor.text, nullptr);
    TextFrame& file = frames.back();
    file.isFile = true;
    file.at = cursor.at;
    lines.beginCopy(output.size(), cursor.at);
    for (;;) {
        const std::size_t copied = file.at;
        Macro* macro = nullptr;
        const Stop stop = nextStop(file, cursor, macro);
        output.append(cursor.text, copied, file.at - copied);
        cursor.at = file.at;
        if (output.size() > outputLimit)
            return fail("preprocessed source is too large");
        if (stop == Stop::end) {
            popFrame();
            return true;
        }
        if (stop == Stop::comment)
            dropComment(cursor, file.at, output, lines);
        else if (!expandInFile(file, *macro, output, lines))
            return false;
    }
}

bool MacroExpander::expandInFile(TextFrame& file, Macro& macro, std::string& output, LineMap& lines) {
    lines.beginMade(output.size(), file.at);
    file.at += macro.name.size();
    Sink sink{output, false, true};
    if (!putMacroName(0, macro, sink) || !drain(1, 0, sink))
        return false;
    if (file.at < file.text.size() && !output.empty() && wouldMerge(output.back(), file.text[file.at]))
        output += ' ';
    lines.beginCopy(output.size(), file.at);
    return true;
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
        TextFrame& frame = frames.back();
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
void MacroExpander::putPaintedName(TextFrame& frame, Sink& sink) {
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
    if (!beginExpansion(floor, macro, sink))
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

bool MacroExpander::beginExpansion(std::size_t floor, Macro& macro, Sink& sink) {
    if (frames.size() >= kMaxOpenTexts)
        return fail("macro expansion is nested too deeply");
    if (macro.kind != Macro::Kind::function) {
        const std::string& text = objectText(macro);
        if (macro.isInert) {
            sink.put(text);
            sink.seam = true;
        } else {
            pushFrame(text, &macro);
        }
        return charge(text.size() + kExpansionCost);
    }
    ++expansions;
    std::vector<Argument> arguments;
    std::string text;
    arguments.swap(spareArguments);
    text.swap(spareText);
    arguments.clear();
    text.clear();
    if (!collectArguments(floor, macro, arguments) || !substitute(macro, arguments, text))
        return false;
    pushFrame({}, &macro);
    TextFrame& frame = frames.back();
    frame.owned = std::move(text);
    frame.text = frame.owned;
    spareArguments.swap(arguments);
    return true;
}

/// Whether the next thing to be read is an opening parenthesis. If so, it has been read.
bool MacroExpander::isCalled(std::size_t floor) {
    for (std::size_t index = frames.size(); index-- > floor;) {
        TextFrame& frame = frames[index];
        std::size_t at = frame.at;
        while (at < frame.text.size()) {
            if (frame.text[at] == '\n')
                endAtDirective(frame, at++);
            else if (hasClass(frame.text[at], kBlank))
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
                                     std::vector<Argument>& arguments) {
    ArgumentReader reader(macros, macro, arguments);
    for (;;) {
        const bool raw = frames.size() == 1 && frames.back().macro == nullptr;
        const bool closed = reader.read(frames.back(), raw);
        if (!charge(reader.takeCost()))
            return false;
        if (closed)
            break;
        if (frames.size() - 1 <= floor)
            return fail("unterminated macro argument list: " + macro.name);
        reader.leaveFrame();
        popFrame();
    }
    std::size_t found = 0;
    return reader.matchParameters(found) ||
           fail("wrong number of macro arguments: " + macro.name + " expects " +
                (macro.variadic ? "at least " : "") + std::to_string(macro.parameters.size()) + ", found " +
                std::to_string(found));
}

bool MacroExpander::substitute(const Macro& macro, std::vector<Argument>& arguments, std::string& result) {
    std::size_t expected = macro.piecesBytes;
    for (const Argument& argument : arguments)
        expected += argument.text.size();
    result.reserve(expected);
    Sink sink{result, true};
    for (const Macro::Piece& piece : macro.pieces) {
        sink.seam = true;
        std::string_view text = piece.text;
        if (piece.parameter != Macro::kNoParameter) {
            Argument& argument = arguments[piece.parameter];
            if (!argument.isExpanded && !expandArgument(argument))
                return false;
            text = argument.expanded;
        }
        if (!charge(text.size()))
            return false;
        sink.put(text);
    }
    return charge(kExpansionCost);
}

bool MacroExpander::expandArgument(Argument& argument) {
    if (argumentDepth == kMaxArgumentDepth)
        return fail("macro expansion is nested too deeply");
    argument.isExpanded = true;
    argument.expanded = argument.text;
    if (!argument.macro)
        return true;
    if (argument.macro->isInert && argument.macro->name == argument.text) {
        argument.expanded = argument.macro->replacement;
        return charge(argument.expanded.size() + kExpansionCost);
    }
    ++argumentDepth;
    const std::size_t floor = frames.size();
    pushFrame(argument.text, nullptr);
    Sink sink{argument.ownExpansion, true};
    const bool expanded = drain(floor, floor, sink);
    argument.expanded = argument.ownExpansion;
    --argumentDepth;
    return expanded;
}

} // namespace Vantor::gpc
