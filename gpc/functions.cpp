// The bodies of init, main and the functions.

#include "gpc/statements.h"

namespace Vantor::gpc {

namespace {

constexpr std::uint32_t kAddressSpace = 0x10000;

/// One parameter, against the signature of the function's first declaration; binds its name.
bool checkParameter(CompilerState& state, std::uint32_t index) {
    Variable& parameter = state.variables[index];
    const auto type = state.typeAt(state.at);
    if (!type)
        return state.fail(state.at, "expected a function parameter");
    if (type->code != parameter.type.code)
        return state.fail(state.at, "function parameter type does not match its signature");
    state.advance();
    const bool star = state.accept(TokenKind::Star);
    if (star && !parameter.type.pointer)
        return state.fail(state.at - 1, "function parameter type does not match its signature");
    if (!state.isUserNameAt(state.at))
        return state.fail(state.at, "expected a function parameter");
    if (parameter.name == 0)
        parameter.name = state.name(); // a declaration may leave names out
    if (parameter.name != state.name())
        return state.fail(state.at, "function parameter name does not match its signature");
    if (state.symbols.boundHere(parameter.name))
        return state.fail(state.at, "duplicate function parameter or local variable");
    state.symbols.bind(parameter.name, index);
    state.advance();
    const bool brackets = state.is(TokenKind::LBracket) && state.kindAfter(1) == TokenKind::RBracket;
    if (parameter.type.pointer && !star && !brackets)
        return state.fail(state.at - 1, "expected '*' in pointer parameter");
    if (brackets)
        state.at += 2;
    return true;
}

/// The list up to its ')', which it leaves.
bool checkParameters(CompilerState& state, const Function& function) {
    for (std::size_t i = 0; i < function.parameters.size(); ++i) {
        if (i > 0 && !state.expect(TokenKind::Comma, "expected ',' between function parameters"))
            return false;
        if (!checkParameter(state, function.parameters[i]))
            return false;
    }
    if (state.is(TokenKind::Comma)) {
        state.advance();
        return state.fail(state.at,
                          state.typeAt(state.at)
                              ? std::string_view("function parameter type does not match its signature")
                              : "expected a function parameter");
    }
    if (state.is(TokenKind::Identifier) && !function.parameters.empty())
        return state.fail(state.at, "expected ',' between function parameters");
    const bool value = state.is(TokenKind::Identifier) || state.is(TokenKind::Number);
    return !value || state.fail(state.at, "expected a function parameter");
}

/// ( parameters ) {
bool readParameters(CompilerState& state, Function& function) {
    if (!state.expect(TokenKind::LParen, "expected '(' after function name"))
        return false;
    if (state.isWord(Word::Void) && function.parameters.empty())
        state.advance();
    return checkParameters(state, function) &&
           state.expect(TokenKind::RParen, "expected ')' after function parameters") &&
           state.expect(TokenKind::LBrace, "expected '{' to start function body");
}

/// Type and name; leaves the parenthesis as the current token.
bool readFunctionHead(CompilerState& state, const TopLevelItem& item) {
    const auto type = state.typeAt(state.at);
    if (!type && !state.isWord(Word::Void))
        return state.fail(state.at, "expected a function return type");
    const std::uint32_t typeToken = state.at;
    state.advance();
    if (state.is(TokenKind::Star))
        return state.fail(state.at, "expected a scalar type or 'void' as a function return type");
    if (!state.isUserNameAt(state.at))
        return state.fail(state.at, "expected a function name");
    if (!state.is(TokenKind::Identifier) || item.index == kNoIndex)
        return false;
    const Function& function = state.functions[item.index];
    if (function.result != (type ? *type : kVoidType))
        return state.fail(typeToken, "function definition does not match its scanned signature");
    if (function.compiled)
        return state.fail(state.at, "duplicate function definition: ", state.tokens.text(state.at));
    state.advance();
    return true;
}

/// The body's statements; the epilogue unless a return has just been written.
bool compileFunctionBody(CompilerState& state, const Function& function) {
    bool returned = false;
    while (!state.is(TokenKind::RBrace)) {
        if (state.is(TokenKind::EndOfInput))
            return state.fail(state.at, "expected '}' after function body");
        returned = state.isWord(Word::Return);
        if (!compileStatement(state))
            return false;
    }
    state.advance();
    if (!finishLabels(state))
        return false;
    if (returned)
        return true;
    if (function.result.isVoid) {
        state.code.emit(Opcode::Return);
    } else {
        state.code.emitConstant(0);
        state.code.emit(Opcode::ReturnValue);
    }
    return true;
}

} // namespace

/// type name ( parameters ) { statements }
bool compileFunction(CompilerState& state, const TopLevelItem& item) {
    state.at = item.begin;
    if (!readFunctionHead(state, item))
        return false;
    Function& function = state.functions[item.index];
    const std::size_t scope = state.symbols.openScope();
    bool good = readParameters(state, function);
    if (good && state.code.here() >= kAddressSpace)
        good = state.fail(item.name, "function address exceeds the GPC2 call range");
    if (good) {
        state.body = BodyKind::Function;
        state.function = &function;
        function.address = state.code.here();
        state.code.patchHere(function.calls);
        good = compileFunctionBody(state, function);
        function.compiled = true;
        state.body = BodyKind::None;
        state.function = nullptr;
    }
    state.symbols.closeScope(scope);
    return good;
}

bool compileTopBlock(CompilerState& state, const TopLevelItem& item, BodyKind kind) {
    state.at = item.begin + 1;
    if (!state.expect(TokenKind::LBrace, kind == BodyKind::Main ? std::string_view("expected '{' after main")
                                                                : "expected '{' after init"))
        return false;
    state.body = kind;
    const std::size_t scope = state.symbols.openScope();
    const bool good = compileBlockStatements(state, "expected '}' after block") && finishLabels(state);
    state.symbols.closeScope(scope);
    state.body = BodyKind::None;
    return good;
}

} // namespace Vantor::gpc
