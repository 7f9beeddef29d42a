// Nearly every argument stands in one piece in one text, and is left there.

#include "gpc/preprocessor_arguments.h"

#include "gpc/characters.h"
#include "gpc/preprocessor_text.h"

#include <algorithm>
#include <utility>

namespace Vantor::gpc {

void endAtDirective(TextFrame& frame, std::size_t feed) {
    if (frame.isFile && directiveFollows(frame.text, feed + 1))
        frame.text = frame.text.substr(0, feed + 1);
}

ArgumentReader::ArgumentReader(MacroTable& macroTable, const Macro& macro, std::vector<Argument>& list)
    : macros(macroTable),
      called(macro),
      arguments(list),
      places(macro.parameters.size() + (macro.variadic ? 1 : 0)) {
    arguments.reserve(std::max<std::size_t>(places, 1));
    arguments.emplace_back();
}

bool ArgumentReader::read(TextFrame& frame, bool raw) {
    copied = frame.at;
    while (frame.at < frame.text.size()) {
        const char byte = frame.text[frame.at];
        if (!hasClass(byte, kInert)) {
            readPiece(frame, raw);
            continue;
        }
        if (depth == 0 && byte == ')') {
            finishArgument(frame);
            return true;
        }
        if (depth == 0 && byte == ',' && arguments.size() < places) {
            finishArgument(frame);
            arguments.emplace_back();
            continue;
        }
        surplus += depth == 0 && byte == ',' && !called.variadic ? 1u : 0u;
        depth += byte == '(' ? 1u : 0u;
        depth -= byte == ')' ? 1u : 0u;
        ++frame.at;
    }
    keep(frame, frame.at, {});
    return false;
}

void ArgumentReader::readPiece(TextFrame& frame, bool raw) {
    const std::string_view text = frame.text;
    const std::size_t begin = frame.at;
    const char byte = text[begin];
    if (hasClass(byte, kIdentifierStart)) {
        const std::size_t end = identifierEnd(text, begin);
        const Macro* const named = macros.find(text.substr(begin, end - begin));
        const bool painted = begin > 0 && text[begin - 1] == kPaintMark;
        if (named && !painted && named->busy)
            keep(frame, begin, {&kPaintMark, 1});
        else if (named && !painted)
            arguments.back().macro = named;
        frame.at = end;
    } else if (byte == '"' || byte == '\'') {
        OpenState open = kInCode;
        frame.at = frame.isFile ? fileLiteralEnd(text, begin + 1, byte, open) : literalEnd(text, begin);
        if (open != kInCode)
            frame.text = text.substr(0, frame.at);
    } else if (startsNumber(text, begin)) {
        frame.at = numberEnd(text, begin);
    } else if (byte == '\n') {
        endAtDirective(frame, begin);
        keep(frame, begin + 1, " ");
    } else if (startsComment(text, begin)) {
        keep(frame, commentEnd(text, begin), " ");
    } else if (byte == kPaintMark && raw) {
        keep(frame, begin + 1, {&kPaintMarkStandIn, 1});
    } else {
        ++frame.at;
    }
}

/// Copies what has been read of the last argument but not copied yet; it goes on with `instead`, and at
/// `next`.
void ArgumentReader::keep(TextFrame& frame, std::size_t next, std::string_view instead) {
    std::string& text = arguments.back().ownText;
    text.append(frame.text, copied, frame.at - copied);
    text += instead;
    cost += next - copied;
    frame.at = copied = next;
}

/// The byte that ends it is next.
void ArgumentReader::finishArgument(TextFrame& frame) {
    Argument& argument = arguments.back();
    if (argument.ownText.empty()) {
        argument.text = trimmed(frame.text.substr(copied, frame.at - copied));
        cost += frame.at - copied;
    } else {
        keep(frame, frame.at, {});
        argument.text = trimmed(argument.ownText);
    }
    copied = ++frame.at;
}

void ArgumentReader::leaveFrame() {
    for (; safe + 1 < arguments.size(); ++safe) {
        Argument& argument = arguments[safe];
        if (argument.ownText.empty()) {
            argument.ownText = argument.text;
            argument.text = argument.ownText;
        }
    }
}

std::size_t ArgumentReader::takeCost() {
    return std::exchange(cost, 0);
}

bool ArgumentReader::matchParameters(std::size_t& found) {
    const std::size_t wanted = called.parameters.size();
    if (wanted == 0 && arguments.size() == 1 && arguments[0].text.empty())
        arguments.clear();
    found = arguments.size() + surplus;
    if (called.variadic ? found < wanted : found != wanted)
        return false;
    arguments.resize(places);
    return true;
}

} // namespace Vantor::gpc
