// What each directive does, and the conditions of #if and #elif.

#include "gpc/constant_expression.h"
#include "gpc/preprocessor_state.h"

#include <utility>

namespace Vantor::gpc {

namespace {

/// The one name that `rest` holds, comments aside; empty when it holds anything else.
std::string onlyName(std::string_view rest) {
    std::string storage;
    const std::string_view text = withoutComments(rest, storage);
    const bool named = !text.empty() && hasClass(text.front(), kIdentifierStart);
    return named && identifierEnd(text, 0) == text.size() ? std::string(text) : std::string();
}

} // namespace

const Preprocessor::DirectiveRule Preprocessor::kDirectives[] = {
    {"define", &Preprocessor::handleDefine, false},
    {"undef", &Preprocessor::handleUndef, false},
    {"ifdef", &Preprocessor::handleIfdef, true},
    {"ifndef", &Preprocessor::handleIfndef, true},
    {"if", &Preprocessor::handleIf, true},
    {"elif", &Preprocessor::handleElif, true},
    {"else", &Preprocessor::handleElse, true},
    {"endif", &Preprocessor::handleEndif, true},
    {"include", &Preprocessor::handleInclude, false},
    {"import", &Preprocessor::handleImport, false},
    {"pragma", &Preprocessor::handlePragma, true},
};

bool Preprocessor::dispatch(const Directive& directive) {
    for (const DirectiveRule& rule : kDirectives) {
        if (rule.name == directive.name)
            return rule.inAnyRegion || isActive() ? (this->*rule.handler)(directive) : true;
    }
    if (!isActive())
        return true;
    return fail(directive.place, "unsupported preprocessing directive: #" + std::string(directive.name));
}

bool Preprocessor::handleDefine(const Directive& directive) {
    std::string error;
    std::string storage;
    auto macro = readDefinition(withoutComments(directive.rest, storage), error);
    if (!macro)
        return fail(directive.place, std::move(error));
    macros.define(std::move(*macro));
    return true;
}

bool Preprocessor::handleLegacyDefine(const Directive& directive) {
    std::string error;
    std::string storage;
    auto macro = readLegacyDefinition(withoutComments(directive.rest, storage), error);
    if (!macro)
        return fail(directive.place, std::move(error));
    macros.define(std::move(*macro));
    return true;
}

bool Preprocessor::handleUndef(const Directive& directive) {
    const std::string name = onlyName(directive.rest);
    if (name.empty())
        return fail(directive.place, "expected one macro name after #undef");
    macros.undefine(name);
    return true;
}

bool Preprocessor::handlePragma(const Directive&) {
    return true;
}

void Preprocessor::openConditional(bool condition, FileOffset place) {
    const bool parent = isActive();
    conditionals.push_back({parent, condition, parent && condition, 0});
    conditionalPlaces.push_back(place);
}

bool Preprocessor::openOnName(const Directive& directive, bool wantDefined) {
    const std::string name = onlyName(directive.rest);
    if (name.empty())
        return fail(directive.place, "expected one macro name after conditional directive");
    openConditional((macros.find(name) != nullptr) == wantDefined, directive.place);
    return true;
}

bool Preprocessor::handleIfdef(const Directive& directive) {
    return openOnName(directive, true);
}

bool Preprocessor::handleIfndef(const Directive& directive) {
    return openOnName(directive, false);
}

bool Preprocessor::handleIf(const Directive& directive) {
    const auto condition = evaluateCondition(directive.rest);
    if (!condition)
        return fail(directive.place, "invalid #if expression");
    openConditional(*condition, directive.place);
    return true;
}

bool Preprocessor::handleElif(const Directive& directive) {
    if (conditionals.empty() || conditionals.back().elseSeen)
        return fail(directive.place, "invalid #elif");
    // Evaluated even where it cannot matter, so that a faulty condition shows on every machine.
    const auto condition = evaluateCondition(directive.rest);
    if (!condition)
        return fail(directive.place, "invalid #elif expression");
    Conditional& frame = conditionals.back();
    frame.active = frame.parentActive && !frame.branchTaken && *condition;
    frame.branchTaken |= frame.active;
    return true;
}

bool Preprocessor::handleElse(const Directive& directive) {
    if (conditionals.empty() || conditionals.back().elseSeen)
        return fail(directive.place, "invalid #else");
    Conditional& frame = conditionals.back();
    frame.elseSeen = 1;
    frame.active = frame.parentActive && !frame.branchTaken;
    frame.branchTaken = 1;
    return true;
}

bool Preprocessor::handleEndif(const Directive& directive) {
    if (conditionals.empty())
        return fail(directive.place, "invalid #endif");
    conditionals.pop_back();
    conditionalPlaces.pop_back();
    return true;
}

std::optional<bool> Preprocessor::evaluateCondition(std::string_view text) {
    std::string storage;
    std::string answered;
    std::string expanded;
    if (!answerDefined(withoutComments(text, storage), answered) ||
        !expander.expandCondition(answered, expanded))
        return std::nullopt;
    const auto value = evaluateConstantExpression(expanded);
    return value ? std::optional(value->isTrue()) : std::nullopt;
}

/// Replaces `defined NAME` and `defined(NAME)` by 1 or 0, before any macro is expanded.
bool Preprocessor::answerDefined(std::string_view text, std::string& answered) {
    std::size_t at = 0;
    while (at < text.size()) {
        std::size_t end = at + 1;
        if (text[at] == '"' || text[at] == '\'')
            end = literalEnd(text, at);
        else if (startsNumber(text, at))
            end = numberEnd(text, at);
        else if (hasClass(text[at], kIdentifierStart))
            end = identifierEnd(text, at);
        const std::string_view word = text.substr(at, end - at);
        at = end;
        if (word != "defined") {
            answered += word;
            continue;
        }
        at = skipBlanks(text, at);
        const bool parenthesised = at < text.size() && text[at] == '(';
        if (parenthesised)
            at = skipBlanks(text, at + 1);
        if (at >= text.size() || !hasClass(text[at], kIdentifierStart))
            return false;
        end = identifierEnd(text, at);
        answered += macros.find(text.substr(at, end - at)) ? " 1 " : " 0 ";
        at = end;
        if (parenthesised) {
            at = skipBlanks(text, at);
            if (at >= text.size() || text[at++] != ')')
                return false;
        }
    }
    return true;
}

} // namespace Vantor::gpc
