// Statements: dispatch by the first token, blocks, labels, and everything that jumps.

#include "gpc/statements.h"

#include "gpc/declarations.h"
#include "gpc/expression.h"

#include <algorithm>

namespace Vantor::gpc {

namespace {

// ----- labels

Label& labelNamed(CompilerState& state, NameId name, std::uint32_t token) {
    const auto [entry, added] =
        state.labelOfName.try_emplace(name, static_cast<std::uint32_t>(state.labels.size()));
    if (added)
        state.labels.push_back({name, token, kNoIndex, {}});
    return state.labels[entry->second];
}

/// goto NAME ;
bool compileGoto(CompilerState& state) {
    state.advance();
    if (!state.isUserNameAt(state.at))
        return state.fail(state.at, "expected a label name after goto");
    Label& label = labelNamed(state, state.name(), state.at);
    state.advance();
    if (label.address != kNoIndex)
        state.code.emit(Opcode::Jump, label.address);
    else
        state.code.emitJump(Opcode::Jump, label.uses);
    return state.expect(TokenKind::Semicolon, "expected ';' after goto");
}

/// NAME :
bool compileLabel(CompilerState& state) {
    if (!state.isUserNameAt(state.at))
        return state.fail(state.at, "expected a label name");
    const NameId name = state.name();
    Label& label = labelNamed(state, name, state.at);
    if (label.address != kNoIndex)
        return state.fail(state.at, "duplicate label: ", state.tokens.nameText(name));
    label.address = state.code.here();
    state.code.patchHere(label.uses);
    state.advance();
    return state.expect(TokenKind::Colon, "expected ':' after label");
}

// ----- loops

bool atLabel(const CompilerState& state) {
    return state.isWord(Word::Case) || state.isWord(Word::Default) ||
           (state.isUserNameAt(state.at) && state.kindAfter(1) == TokenKind::Colon);
}

/// The one statement that an if or a loop governs, with the labels in front of it.
bool compileGoverned(CompilerState& state) {
    bool labelled = false;
    for (; atLabel(state); labelled = true)
        if (!compileStatement(state))
            return false;
    return (labelled && state.is(TokenKind::RBrace)) || compileStatement(state);
}

/// A loop's body, with what `break` and `continue` in it mean.
bool compileLoopBody(CompilerState& state, std::uint32_t continueTarget, Breakable& loop) {
    state.breakables.push_back({true, continueTarget, {}, {}});
    const bool good = compileGoverned(state);
    loop = state.breakables.back();
    state.breakables.pop_back();
    return good;
}

/// if (condition) statement [else statement]; a chain of `else if` is one loop here, however long.
bool compileIf(CompilerState& state) {
    FixupList end;
    for (;;) {
        state.advance();
        if (!state.expect(TokenKind::LParen, "expected '(' after 'if'") || !compileCondition(state) ||
            !state.expect(TokenKind::RParen, "expected ')' after if condition"))
            return false;
        const std::uint32_t toElse = state.code.emitJump(Opcode::JumpIfFalse);
        if (!compileGoverned(state))
            return false;
        const bool hasElse = state.isWord(Word::Else);
        if (hasElse)
            state.code.emitJump(Opcode::Jump, end);
        state.code.patchHere(toElse);
        if (!hasElse)
            break;
        state.advance();
        if (state.isWord(Word::If))
            continue;
        if (!compileGoverned(state))
            return false;
        break;
    }
    state.code.patchHere(end);
    return true;
}

/// while (condition) statement
bool compileWhile(CompilerState& state) {
    state.advance();
    const std::uint32_t start = state.code.here();
    if (!state.expect(TokenKind::LParen, "expected '(' after 'while'") || !compileCondition(state) ||
        !state.expect(TokenKind::RParen, "expected ')' after while condition"))
        return false;
    const std::uint32_t exit = state.code.emitJump(Opcode::JumpIfFalse);
    Breakable loop;
    if (!compileLoopBody(state, start, loop))
        return false;
    state.code.emit(Opcode::Jump, start);
    state.code.patchHere(exit);
    state.code.patchHere(loop.breaks);
    return true;
}

/// do statement while (condition);
bool compileDo(CompilerState& state) {
    state.advance();
    const std::uint32_t start = state.code.here();
    Breakable loop;
    if (!compileLoopBody(state, kNoIndex, loop))
        return false;
    if (!state.isWord(Word::While))
        return state.fail(state.at, "expected 'while' after do block");
    state.advance();
    state.code.patchHere(loop.continues);
    if (!state.expect(TokenKind::LParen, "expected '(' after while") || !compileCondition(state) ||
        !state.expect(TokenKind::RParen, "expected ')' after do/while condition"))
        return false;
    state.code.emit(Opcode::JumpIfTrue, start);
    state.code.patchHere(loop.breaks);
    return state.expect(TokenKind::Semicolon, "expected ';' after do/while");
}

bool compileEffects(CompilerState& state) {
    do {
        if (!compileEffect(state))
            return false;
    } while (state.accept(TokenKind::Comma));
    return true;
}

bool compileForStart(CompilerState& state) {
    if (atLocalDeclaration(state))
        return compileLocalDeclaration(state);
    if (!state.is(TokenKind::Semicolon) && !compileEffects(state))
        return false;
    return state.expect(TokenKind::Semicolon, "expected ';' after for initializer");
}

/// Moves to the ')' that closes the for's parentheses; the update is compiled behind the body.
void skipForUpdate(CompilerState& state) {
    std::uint32_t depth = 0;
    for (; !state.is(TokenKind::EndOfInput) && !state.is(TokenKind::LBrace); state.advance()) {
        if (state.is(TokenKind::LParen))
            ++depth;
        else if (state.is(TokenKind::RParen) && depth-- == 0)
            return;
    }
}

/// The update, which stands at `token`; afterwards the current token is the same as before.
bool compileForUpdate(CompilerState& state, std::uint32_t token) {
    const std::uint32_t behind = state.at;
    state.at = token;
    const bool good = (state.is(TokenKind::RParen) || compileEffects(state)) &&
                      (state.is(TokenKind::RParen) || state.fail(state.at, "expected ')' after for update"));
    state.at = behind;
    return good;
}

bool compileForParts(CompilerState& state) {
    if (!compileForStart(state))
        return false;
    const std::uint32_t start = state.code.here();
    FixupList exit;
    if (!state.is(TokenKind::Semicolon)) {
        if (!compileCondition(state))
            return false;
        state.code.emitJump(Opcode::JumpIfFalse, exit);
    }
    if (!state.expect(TokenKind::Semicolon, "expected ';' after for condition"))
        return false;
    const std::uint32_t update = state.at;
    skipForUpdate(state);
    if (!state.accept(TokenKind::RParen))
        return compileForUpdate(state, update) && state.fail(state.at, "expected ')' after for update");
    Breakable loop;
    if (!compileLoopBody(state, kNoIndex, loop))
        return false;
    state.code.patchHere(loop.continues);
    if (!compileForUpdate(state, update))
        return false;
    state.code.emit(Opcode::Jump, start);
    state.code.patchHere(exit);
    state.code.patchHere(loop.breaks);
    return true;
}

/// for (start; condition; update) statement
bool compileFor(CompilerState& state) {
    state.advance();
    if (!state.expect(TokenKind::LParen, "expected '(' after 'for'"))
        return false;
    const std::size_t scope = state.symbols.openScope();
    const bool good = compileForParts(state);
    state.symbols.closeScope(scope);
    return good;
}

// ----- transfers

bool compileBreak(CompilerState& state) {
    if (state.breakables.empty())
        return state.fail(state.at, "'break' is only valid inside a loop or switch");
    state.advance();
    state.code.emitJump(Opcode::Jump, state.breakables.back().breaks);
    return state.expect(TokenKind::Semicolon, "expected ';' after break");
}

bool compileContinue(CompilerState& state) {
    const auto loop = std::find_if(state.breakables.rbegin(), state.breakables.rend(),
                                   [](const Breakable& breakable) { return breakable.loop; });
    if (loop == state.breakables.rend())
        return state.fail(state.at, "'continue' is only valid inside a loop");
    state.advance();
    if (loop->continueTarget != kNoIndex)
        state.code.emit(Opcode::Jump, loop->continueTarget);
    else
        state.code.emitJump(Opcode::Jump, loop->continues);
    return state.expect(TokenKind::Semicolon, "expected ';' after continue");
}

bool compileReturn(CompilerState& state) {
    if (state.body != BodyKind::Function)
        return state.fail(state.at, "return is only valid inside a function");
    state.advance();
    const Type type = state.function->result;
    if (type.isVoid) {
        state.code.emit(Opcode::Return);
        return state.expect(TokenKind::Semicolon, "expected ';' after return");
    }
    const std::uint32_t token = state.at;
    Operand value;
    if (!compileExpression(state, value))
        return false;
    settle(state, value);
    if (value.type.typeClass() != type.typeClass())
        return state.fail(token, "return expression type does not match the function return type");
    if (value.isConstant()) {
        truncateTo(state, value, type);
        load(state, value);
    } else {
        load(state, value);
        truncateTo(state, value, type);
    }
    state.code.emit(Opcode::ReturnValue);
    return state.expect(TokenKind::Semicolon, "expected ';' after return expression");
}

// ----- simple statements

std::string_view semicolonMessage(const CompilerState& state, std::uint32_t first) {
    const NameId name = state.tokens.name(first);
    if (!state.isName(first) || state.symbols.variable(name) != kNoIndex)
        return "expected ';' after expression";
    if (name >= nameOf(Word::ComboRun) && name <= nameOf(Word::ComboStop))
        return "expected ';' after combo control";
    if (state.symbols.function(name) != kNoIndex)
        return "expected ';' after function call";
    const Builtin* builtin = builtinOfName(name);
    if (!builtin)
        return "expected ';' after expression";
    switch (builtin->family) {
    case BuiltinFamily::Output:
        return "expected ';' after statement";
    case BuiltinFamily::Math:
        return "expected ';' after math builtin";
    case BuiltinFamily::Mapping:
        return "expected ';' after mapping call";
    case BuiltinFamily::Remapper:
        return "expected ';' after remapper call";
    case BuiltinFamily::String:
        return "expected ';' after string builtin";
    case BuiltinFamily::Memory:
        return "expected ';' after memory builtin";
    default:
        return "expected ';' after builtin call";
    }
}

bool compileSimple(CompilerState& state) {
    const std::uint32_t first = state.at;
    return compileEffect(state) && state.expect(TokenKind::Semicolon, semicolonMessage(state, first));
}

bool compileBlock(CompilerState& state) {
    state.advance();
    const std::size_t scope = state.symbols.openScope();
    const bool good = compileBlockStatements(state, "expected '}' after block");
    state.symbols.closeScope(scope);
    return good;
}

using StatementFunction = bool (*)(CompilerState&);

/// What compiles a statement that begins with a word; nullptr for words that begin none.
StatementFunction statementOfWord(Word word) {
    switch (word) {
    case Word::If:
        return compileIf;
    case Word::While:
        return compileWhile;
    case Word::Do:
        return compileDo;
    case Word::For:
        return compileFor;
    case Word::Switch:
        return compileSwitch;
    case Word::Case:
        return compileCase;
    case Word::Default:
        return compileDefault;
    case Word::Break:
        return compileBreak;
    case Word::Continue:
        return compileContinue;
    case Word::Goto:
        return compileGoto;
    case Word::Return:
        return compileReturn;
    case Word::Wait:
        return compileWait;
    case Word::Call:
        return compileComboCall;
    default:
        return nullptr;
    }
}

bool dispatch(CompilerState& state) {
    if (state.is(TokenKind::LBrace))
        return compileBlock(state);
    if (state.accept(TokenKind::Semicolon))
        return true;
    if (!state.is(TokenKind::Identifier))
        return compileSimple(state);
    if (atLocalDeclaration(state))
        return compileLocalDeclaration(state);
    if (const StatementFunction compileWord = statementOfWord(static_cast<Word>(state.name())))
        return compileWord(state);
    if (state.kindAfter(1) == TokenKind::Colon)
        return compileLabel(state);
    return compileSimple(state);
}

} // namespace

bool compileCondition(CompilerState& state) {
    Operand condition;
    return compileValue(state, condition);
}

bool compileStatement(CompilerState& state) {
    const DepthGuard guard(state.statementDepth);
    const std::uint32_t token = state.at;
    if (state.statementDepth > kMaxStatementDepth)
        return state.fail(token, "statements are nested too deeply");
    if (!dispatch(state))
        return false;
    if (state.code.addressOverflow())
        return state.fail(token, "program exceeds the 65535 bytes that addresses can reach");
    return true;
}

bool compileBlockStatements(CompilerState& state, std::string_view closeMessage) {
    while (!state.is(TokenKind::RBrace)) {
        if (state.is(TokenKind::EndOfInput))
            return state.fail(state.at, closeMessage);
        if (!compileStatement(state))
            return false;
    }
    state.advance();
    return true;
}

bool finishLabels(CompilerState& state) {
    for (const Label& label : state.labels)
        if (label.address == kNoIndex)
            return state.fail(label.token, "unknown label: ", state.tokens.nameText(label.name));
    state.labels.clear();
    state.labelOfName.clear();
    return true;
}

} // namespace Vantor::gpc
