// The top level: where items begin and end, what functions look like, which combos there are.

#include "gpc/scan.h"

namespace Vantor::gpc {

namespace {

using Kind = TopLevelItem::Kind;

/// Behind the '}' that matches the '{' at `open`, or at the end of the source.
std::uint32_t behindBody(const CompilerState& state, std::uint32_t open) {
    std::uint32_t depth = 0;
    for (std::uint32_t i = open; state.tokens.kind(i) != TokenKind::EndOfInput; ++i) {
        if (state.tokens.kind(i) == TokenKind::LBrace)
            ++depth;
        else if (state.tokens.kind(i) == TokenKind::RBrace && --depth == 0)
            return i + 1;
    }
    return state.tokens.size() - 1;
}

/// The first '{' or ';' from `token` on, or the end of the source.
std::uint32_t nextBraceOrSemicolon(const CompilerState& state, std::uint32_t token) {
    while (state.tokens.kind(token) != TokenKind::LBrace &&
           state.tokens.kind(token) != TokenKind::Semicolon &&
           state.tokens.kind(token) != TokenKind::EndOfInput)
        ++token;
    return token;
}

/// Sets body and end of an item whose body is looked for from `token` on.
void findBody(const CompilerState& state, TopLevelItem& item, std::uint32_t token) {
    item.body = nextBraceOrSemicolon(state, token);
    item.end = item.body;
    if (state.tokens.kind(item.body) == TokenKind::LBrace)
        item.end = behindBody(state, item.body);
    else if (state.tokens.kind(item.body) == TokenKind::Semicolon)
        item.end = item.body + 1;
}

/// Reads a parameter list; returns the token behind the last thing that was understood.
std::uint32_t scanParameters(CompilerState& state, Function& function, std::uint32_t token) {
    while (const auto type = state.typeAt(token)) {
        Variable parameter;
        parameter.type = *type;
        parameter.storage = StorageClass::Parameter;
        ++token;
        if (state.tokens.kind(token) == TokenKind::Star) {
            parameter.type.pointer = true;
            ++token;
        }
        if (state.isUserNameAt(token))
            parameter.name = state.tokens.name(token++);
        if (state.tokens.kind(token) == TokenKind::LBracket &&
            state.tokens.kind(token + 1) == TokenKind::RBracket) {
            parameter.type.pointer = true;
            token += 2;
        }
        const std::uint32_t variable = state.addVariable(parameter);
        function.parameters.push_back(variable);
        state.allocateFrame(function, variable, token);
        if (state.tokens.kind(token) != TokenKind::Comma)
            break;
        ++token;
    }
    return token;
}

void scanFunction(CompilerState& state, TopLevelItem& item, std::uint32_t typeToken) {
    item.kind = Kind::Function;
    item.name = typeToken + 1;
    if (state.tokens.kind(item.name) == TokenKind::Star)
        ++item.name;
    Function function;
    function.token = item.name;
    if (const auto type = state.typeAt(typeToken))
        function.result = *type;
    const bool named = state.isUserNameAt(item.name);
    std::uint32_t behind = item.name;
    if (named && state.tokens.kind(item.name + 1) == TokenKind::LParen) {
        function.name = state.tokens.name(item.name);
        behind = item.name + 2;
        if (state.isWordAt(behind, Word::Void) && state.tokens.kind(behind + 1) == TokenKind::RParen)
            ++behind;
        else
            behind = scanParameters(state, function, behind);
    }
    findBody(state, item, behind);
    item.prototype = state.tokens.kind(behind) == TokenKind::RParen && item.body == behind + 1 &&
                     state.tokens.kind(item.body) == TokenKind::Semicolon;
    if (!named)
        return;
    item.index = state.symbols.function(function.name);
    if (item.index == kNoIndex) {
        item.index = static_cast<std::uint32_t>(state.functions.size());
        state.symbols.setFunction(state.tokens.name(item.name), item.index);
        function.name = state.tokens.name(item.name);
        state.functions.push_back(std::move(function));
    }
}

/// Entries of the wait table: the start, one per wait, two per call.
std::uint32_t countWaits(const CompilerState& state, const TopLevelItem& item) {
    std::uint32_t count = 1;
    for (std::uint32_t i = item.body; i < item.end; ++i) {
        if (state.isWordAt(i, Word::Wait))
            count += 1;
        else if (state.isWordAt(i, Word::Call))
            count += 2;
    }
    return count;
}

void scanCombo(CompilerState& state, TopLevelItem& item) {
    item.kind = Kind::Combo;
    item.name = item.begin + 1;
    findBody(state, item, item.name);
    if (!state.isUserNameAt(item.name))
        return;
    const NameId name = state.tokens.name(item.name);
    if (state.symbols.combo(name) != kNoIndex)
        return;
    item.index = static_cast<std::uint32_t>(state.combos.size());
    Combo combo;
    combo.name = name;
    combo.token = item.name;
    combo.scannedWaits = countWaits(state, item);
    state.combos.push_back(combo);
    state.symbols.setCombo(name, item.index);
}

/// A declaration ends with the ';' outside every bracket.
std::uint32_t behindDeclaration(const CompilerState& state, std::uint32_t token) {
    static_assert(TokenKind::LBrace < TokenKind::RBracket && TokenKind::RBracket < TokenKind::Semicolon);
    std::int32_t depth = 0;
    for (;; ++token) {
        const TokenKind kind = state.tokens.kind(token);
        if (kind >= TokenKind::LBrace && kind <= TokenKind::RBracket) {
            const bool opens =
                kind == TokenKind::LBrace || kind == TokenKind::LParen || kind == TokenKind::LBracket;
            depth += opens ? 1 : -1;
        } else if (kind == TokenKind::Semicolon && depth <= 0) {
            return token + 1;
        } else if (kind == TokenKind::EndOfInput) {
            return token;
        }
    }
}

/// type name(   type *name(   type (   void
bool looksLikeFunction(const CompilerState& state, std::uint32_t typeToken) {
    if (state.isWordAt(typeToken, Word::Void))
        return true;
    if (!state.typeAt(typeToken))
        return false;
    std::uint32_t name = typeToken + 1;
    if (state.tokens.kind(name) == TokenKind::Star)
        ++name;
    return state.tokens.kind(name) == TokenKind::LParen ||
           (state.isName(name) && state.tokens.kind(name + 1) == TokenKind::LParen);
}

TopLevelItem scanItem(CompilerState& state, std::uint32_t token) {
    TopLevelItem item;
    item.begin = token;
    item.end = token + 1;
    const bool qualified = state.isWordAt(token, Word::Const) || state.isWordAt(token, Word::Static);
    const std::uint32_t typeToken = qualified ? token + 1 : token;
    if (looksLikeFunction(state, typeToken)) {
        scanFunction(state, item, typeToken);
    } else if (qualified || state.typeAt(token) || state.isWordAt(token, Word::Data)) {
        item.kind = Kind::Declaration;
        item.end = behindDeclaration(state, token);
    } else if (state.isWordAt(token, Word::Init) || state.isWordAt(token, Word::Main)) {
        item.kind = state.isWordAt(token, Word::Init) ? Kind::Init : Kind::Main;
        findBody(state, item, token + 1);
    } else if (state.isWordAt(token, Word::Combo)) {
        scanCombo(state, item);
    }
    return item;
}

} // namespace

bool scanTopLevel(CompilerState& state) {
    std::uint32_t token = 0;
    bool init = false;
    bool main = false;
    while (state.tokens.kind(token) != TokenKind::EndOfInput) {
        const TopLevelItem item = scanItem(state, token);
        bool& seen = item.kind == Kind::Init ? init : main;
        if (item.kind == Kind::Init || item.kind == Kind::Main) {
            if (seen)
                return state.fail(item.begin, "duplicate block: ", state.tokens.text(item.begin));
            seen = true;
        }
        state.items.push_back(item);
        token = item.end;
    }
    return true;
}

} // namespace Vantor::gpc
