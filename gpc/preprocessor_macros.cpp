// Definitions are taken apart once, here, so that each expansion only strings pieces together.

#include "gpc/preprocessor_macros.h"

#include "gpc/characters.h"
#include "gpc/lexer.h"
#include "gpc/name_hash.h"
#include "gpc/preprocessor_text.h"

#include <algorithm>
#include <utility>

namespace Vantor::gpc {

namespace {

constexpr std::string_view kVariadicName = "__VA_ARGS__";
constexpr std::string_view kEllipsis = "...";
constexpr std::size_t kFirstSlotCount = 64;

std::uint64_t lengthBit(std::string_view name) noexcept {
    return std::uint64_t{1} << std::min<std::size_t>(name.size(), 63);
}

/// Swaps a user's own paint marks for their stand-in; inside literals they mean nothing and stay.
void maskPaintMarks(std::string& text) {
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '"' || text[at] == '\'')
            at = literalEnd(text, at) - 1;
        else if (text[at] == kPaintMark)
            text[at] = kPaintMarkStandIn;
    }
}

bool hasNames(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        if (hasClass(text[at], kIdentifierStart))
            return true;
        if (text[at] == '"' || text[at] == '\'')
            at = literalEnd(text, at);
        else
            at = startsNumber(text, at) ? numberEnd(text, at) : at + 1;
    }
    return false;
}

void setReplacement(Macro& macro, std::string_view text) {
    macro.replacement = text;
    maskPaintMarks(macro.replacement);
    macro.isInert = macro.kind == Macro::Kind::object && !hasNames(macro.replacement);
}

/// Reads "NAME replacement" and "NAME(parameters) replacement".
class DefinitionReader {
public:
    DefinitionReader(std::string_view definitionText, std::string& errorText)
        : text(definitionText), error(errorText) {}

    bool read() {
        at = skipBlanks(text, 0);
        if (!readName(macro.name))
            return fail("expected a macro name after #define");
        // Only a parenthesis directly behind the name opens a parameter list.
        if (at < text.size() && text[at] == '(') {
            ++at;
            macro.kind = Macro::Kind::function;
            if (!readParameters())
                return false;
        }
        setReplacement(macro, trimmed(text.substr(at)));
        if (macro.kind == Macro::Kind::function)
            cutIntoPieces(std::exchange(macro.replacement, {}));
        return true;
    }

    Macro macro;

private:
    bool fail(std::string_view message) {
        error = message;
        return false;
    }

    bool readName(std::string& name) {
        if (at >= text.size() || !hasClass(text[at], kIdentifierStart))
            return false;
        const std::size_t end = identifierEnd(text, at);
        name = text.substr(at, end - at);
        at = end;
        return true;
    }

    bool failInList(std::string_view message) {
        return fail(at >= text.size() ? std::string_view("unterminated function-like macro parameter list")
                                      : message);
    }

    /// parameters: ")" | name { "," name } [ "," "..." ] ")" | "..." ")"
    bool readParameters() {
        at = skipBlanks(text, at);
        if (at < text.size() && text[at] == ')') {
            ++at;
            return true;
        }
        for (;;) {
            at = skipBlanks(text, at);
            if (text.substr(at, kEllipsis.size()) == kEllipsis)
                return readVariadicEnd();
            std::string name;
            if (!readName(name))
                return failInList("expected a macro parameter name");
            auto& names = macro.parameters;
            if (std::find(names.begin(), names.end(), name) != names.end())
                return fail("duplicate macro parameter name");
            if (names.size() == kMaxParameters)
                return fail("too many macro parameters");
            names.push_back(std::move(name));
            at = skipBlanks(text, at);
            if (at >= text.size() || (text[at] != ',' && text[at] != ')'))
                return failInList("expected ',' or ')' in macro parameter list");
            if (text[at++] == ')')
                return true;
        }
    }

    bool readVariadicEnd() {
        at = skipBlanks(text, at + kEllipsis.size());
        if (at >= text.size() || text[at] != ')')
            return failInList("expected ')' after variadic macro parameter");
        ++at;
        macro.variadic = true;
        return true;
    }

    std::size_t parameterNamed(std::string_view name) const {
        const auto& names = macro.parameters;
        if (macro.variadic && name == kVariadicName)
            return names.size();
        const auto found = std::find(names.begin(), names.end(), name);
        return found == names.end() ? Macro::kNoParameter : static_cast<std::size_t>(found - names.begin());
    }

    void cutIntoPieces(std::string_view replacement) {
        std::size_t begin = 0; // of the text that belongs to no parameter
        std::size_t from = 0;
        const auto closePiece = [&](std::size_t end) {
            if (end > begin)
                macro.pieces.push_back({std::string(replacement.substr(begin, end - begin))});
            macro.piecesBytes += end - begin;
        };
        while (from < replacement.size()) {
            const char byte = replacement[from];
            std::size_t end = from + 1;
            if (byte == '"' || byte == '\'') {
                end = literalEnd(replacement, from);
            } else if (startsNumber(replacement, from)) {
                end = numberEnd(replacement, from);
            } else if (hasClass(byte, kIdentifierStart)) {
                end = identifierEnd(replacement, from);
                const std::size_t parameter = parameterNamed(replacement.substr(from, end - from));
                if (parameter != Macro::kNoParameter) {
                    closePiece(from);
                    macro.pieces.push_back({{}, parameter});
                    begin = end;
                }
            }
            from = end;
        }
        closePiece(replacement.size());
    }

    /// Keeps a definition's cost linear in its length: names are compared one by one.
    static constexpr std::size_t kMaxParameters = 256;

    std::string_view text;
    std::string& error;
    std::size_t at = 0;
};

constexpr std::array<std::string_view, 10> kTypeNames{"bool", "uint8", "char",   "int8",  "uint16",
                                                      "int",  "int16", "uint32", "int32", "fix32"};

/// Finds where one expression ends, without looking at what it means. Works on a stack of its own, not on
/// recursion.
class ExpressionEnd {
public:
    explicit ExpressionEnd(std::string_view text) : lexer(text) { advance(); }

    /// Reads as far as an expression goes. False when there is none, or an incomplete one.
    bool read() {
        while (wantsOperand ? takeOperandToken() : takeOperatorToken()) {
        }
        return !wantsOperand && open.empty();
    }

    std::size_t end() const noexcept { return behind; }
    bool atEndOfText() const noexcept { return token.kind == TokenKind::EndOfInput; }

private:
    using K = TokenKind;

    void advance() { token = lexer.next(); }

    bool take(bool operandNext) {
        behind = static_cast<std::size_t>(token.offset) + token.text.size();
        advance();
        wantsOperand = operandNext;
        return true;
    }

    bool takeOperandToken() {
        switch (token.kind) {
        case K::Plus:
        case K::Minus:
        case K::Bang:
        case K::Tilde:
        case K::Star:
        case K::Ampersand:
        case K::PlusPlus:
        case K::MinusMinus:
            return take(true);
        case K::Number:
        case K::CharLiteral:
        case K::StringLiteral:
        case K::Identifier:
            return take(false);
        case K::LParen:
            if (takeCast())
                return true;
            open.push_back('(');
            return take(true);
        default:
            return false;
        }
    }

    /// A type name in parentheses is a prefix, not an operand.
    bool takeCast() {
        Lexer ahead = lexer;
        const Token type = ahead.next();
        if (std::find(kTypeNames.begin(), kTypeNames.end(), type.text) == kTypeNames.end() ||
            ahead.next().kind != K::RParen)
            return false;
        lexer = ahead;
        advance();
        return true;
    }

    bool takeOperatorToken() {
        switch (token.kind) {
        case K::LParen:
            return takeCall();
        case K::LBracket:
            return takeOpening('[');
        case K::Question:
            return takeOpening('?');
        case K::RParen:
            return takeClosing('(', false);
        case K::RBracket:
            return takeClosing('[', false);
        case K::Colon:
            return takeClosing('?', true);
        case K::Comma:
            return !open.empty() && open.back() == '(' && take(true);
        case K::PlusPlus:
        case K::MinusMinus:
            return take(false);
        default:
            return isInfix(token.kind) && take(true);
        }
    }

    static bool isInfix(K kind) noexcept {
        return (kind >= K::Assign && kind <= K::Minus) || (kind >= K::Star && kind <= K::PipePipe) ||
               (kind >= K::PlusAssign && kind <= K::OrAssign);
    }

    bool takeOpening(char bracket) {
        open.push_back(bracket);
        return take(true);
    }

    bool takeClosing(char bracket, bool operandNext) {
        if (open.empty() || open.back() != bracket)
            return false;
        open.pop_back();
        return take(operandNext);
    }

    bool takeCall() {
        Lexer ahead = lexer;
        takeOpening('(');
        return ahead.next().kind == K::RParen ? takeClosing('(', false) : true;
    }

    Lexer lexer;
    Token token;
    std::string open; ///< brackets and question marks that wait for their other half
    std::size_t behind = 0;
    bool wantsOperand = true;
};

class LegacyReader {
public:
    LegacyReader(std::string_view definitionText, std::string& errorText)
        : text(definitionText), error(errorText) {}

    bool read() {
        const std::size_t nameBegin = skipBlanks(text, 0);
        if (nameBegin >= text.size() || !hasClass(text[nameBegin], kIdentifierStart))
            return fail("expected a name and expression after define");
        const std::size_t nameEnd = identifierEnd(text, nameBegin);
        macro.name = text.substr(nameBegin, nameEnd - nameBegin);
        const std::string_view expression = trimmed(text.substr(nameEnd));
        ExpressionEnd extent(expression);
        if (!extent.read())
            return fail("expected an expression after legacy define name");
        if (!extent.atEndOfText())
            return fail("unexpected text after legacy define");
        setReplacement(macro, expression.substr(0, extent.end()));
        return true;
    }

    Macro macro;

private:
    bool fail(std::string_view message) {
        error = message;
        return false;
    }

    std::string_view text;
    std::string& error;
};

} // namespace

void MacroTable::grow() {
    slots.assign(slots.empty() ? kFirstSlotCount : slots.size() * 2, {});
    for (Macro& macro : macros) {
        const std::uint32_t hash = hashOfName(macro.name);
        slotOf(macro.name, hash) = {&macro, hash};
    }
}

/// Where that name is, or belongs when there is none. At least one slot is free.
MacroTable::Slot& MacroTable::slotOf(std::string_view name, std::uint32_t hash) {
    const std::size_t mask = slots.size() - 1;
    std::size_t at = hash & mask;
    while (slots[at].macro && (slots[at].hash != hash || !isSameName(slots[at].macro->name, name)))
        at = (at + 1) & mask;
    return slots[at];
}

void MacroTable::define(Macro macro) {
    lengthsByFirstByte[static_cast<unsigned char>(macro.name.front())] |= lengthBit(macro.name);
    lengthsByLastByte[static_cast<unsigned char>(macro.name.back())] |= lengthBit(macro.name);
    if (2 * (macros.size() + 1) > slots.size())
        grow();
    const std::uint32_t hash = hashOfName(macro.name);
    Slot& slot = slotOf(macro.name, hash);
    if (slot.macro)
        *slot.macro = std::move(macro);
    else
        slot = {&macros.emplace_back(std::move(macro)), hash};
}

void MacroTable::undefine(std::string_view name) {
    if (Macro* const macro = find(name))
        macro->defined = false;
}

Macro* MacroTable::find(std::string_view name) {
    const std::uint64_t possible = lengthsByFirstByte[static_cast<unsigned char>(name.front())] &
                                   lengthsByLastByte[static_cast<unsigned char>(name.back())];
    if ((possible & lengthBit(name)) == 0)
        return nullptr;
    Macro* const macro = slotOf(name, hashOfName(name)).macro;
    return macro && macro->defined ? macro : nullptr;
}

std::optional<Macro> readDefinition(std::string_view text, std::string& error) {
    DefinitionReader reader(text, error);
    if (!reader.read())
        return std::nullopt;
    return std::move(reader.macro);
}

std::optional<Macro> readLegacyDefinition(std::string_view text, std::string& error) {
    LegacyReader reader(text, error);
    if (!reader.read())
        return std::nullopt;
    return std::move(reader.macro);
}

} // namespace Vantor::gpc
