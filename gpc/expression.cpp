// Assignment, `?:`, the binary operators by precedence, and && and || with their jumps.

#include "gpc/expression.h"

#include <array>

namespace Vantor::gpc {

namespace {

constexpr std::string_view kTooDeepMessage = "expression is nested too deeply";

constexpr std::uint8_t kLogicalOr = 1;
constexpr std::uint8_t kLogicalAnd = 3;

/// Precedence of the binary operators, 0 for every other token; a higher number binds tighter.
constexpr std::array<std::uint8_t, 50> kPrecedence = [] {
    std::array<std::uint8_t, 50> table{};
    const auto set = [&](std::uint8_t level, std::initializer_list<TokenKind> kinds) {
        for (const TokenKind kind : kinds)
            table[static_cast<std::size_t>(kind)] = level;
    };
    set(kLogicalOr, {TokenKind::PipePipe});
    set(2, {TokenKind::CaretCaret});
    set(kLogicalAnd, {TokenKind::AndAnd});
    set(4, {TokenKind::Pipe});
    set(5, {TokenKind::Caret});
    set(6, {TokenKind::Ampersand});
    set(7, {TokenKind::EqualEqual, TokenKind::NotEqual});
    set(8, {TokenKind::Less, TokenKind::Greater, TokenKind::LessEqual, TokenKind::GreaterEqual});
    set(9, {TokenKind::ShiftLeft, TokenKind::ShiftRight});
    set(10, {TokenKind::Plus, TokenKind::Minus});
    set(11, {TokenKind::Star, TokenKind::Slash, TokenKind::Percent});
    return table;
}();

std::uint8_t precedenceOf(TokenKind kind) {
    return kPrecedence[static_cast<std::size_t>(kind)];
}

bool compileBinary(CompilerState& state, Operand& left, std::uint8_t lowest, Use use);

/// left && right && ...: one jump per operand to a common end, where the deciding operand still lies.
bool compileLogical(CompilerState& state, Operand& left, TokenKind op) {
    const std::uint8_t level = precedenceOf(op);
    const bool isAnd = op == TokenKind::AndAnd;
    FixupList end;
    bool jumped = false;
    while (state.is(op)) {
        const std::uint32_t token = state.at;
        state.advance();
        settle(state, left);
        const bool leftConstant = left.isConstant();
        const std::uint32_t leftBits = left.bits;
        const std::uint32_t mark = state.code.here();
        if (!loadValue(state, left, token))
            return false;
        FixupList skip;
        state.code.emitJump(isAnd ? Opcode::AndJump : Opcode::OrJump, jumped ? end : skip);
        Operand right;
        const std::uint32_t rightToken = state.at;
        if (!compileBinary(state, right, static_cast<std::uint8_t>(level + 1), Use::Value))
            return false;
        settle(state, right);
        if (leftConstant && right.isConstant()) {
            state.code.truncate(mark);
            const bool both = isAnd ? leftBits && right.bits : leftBits || right.bits;
            left = Operand::constant(both ? 1 : 0, kInt16Type);
            continue;
        }
        if (!jumped)
            end = skip;
        jumped = true;
        if (!loadValue(state, right, rightToken))
            return false;
        left = right;
    }
    if (!jumped)
        return true;
    if (!left.boolean)
        state.code.emit(Opcode::ToBool);
    state.code.patchHere(end);
    left = Operand::onStack(kInt32Type, true);
    return true;
}

bool compileBinary(CompilerState& state, Operand& left, std::uint8_t lowest, Use use) {
    if (!compileUnary(state, left, use))
        return false;
    for (;;) {
        const TokenKind op = state.kind();
        const std::uint8_t level = precedenceOf(op);
        if (level == 0 || level < lowest)
            return true;
        if (op == TokenKind::AndAnd || op == TokenKind::PipePipe) {
            if (!compileLogical(state, left, op))
                return false;
            continue;
        }
        const std::uint32_t token = state.at;
        state.advance();
        settle(state, left);
        // Pushed provisionally when it is known: taken back if the right side turns out to be known, too.
        // Where nothing but constants will do, it goes in any case, and need not come.
        const std::uint32_t mark = state.code.here();
        if (!left.isConstant() || state.constantOnly == 0) {
            Operand pushed = left;
            if (!loadValue(state, pushed, token))
                return false;
            if (!left.isPending())
                left = pushed;
        }
        Operand right;
        const std::uint32_t rightToken = state.at;
        if (!compileBinary(state, right, static_cast<std::uint8_t>(level + 1), Use::Value))
            return false;
        settle(state, right);
        if (right.type.isVoid)
            return loadValue(state, right, rightToken);
        if (!combine(state, left, right, token, op, mark))
            return false;
    }
}

/// The type that both branches of a `?:` become.
bool unify(Operand& first, const Operand& second, Type& type) {
    if (first.type.isInteger() && second.type.isInteger()) {
        if (first.type.code == second.type.code)
            type = first.type;
        else
            type = first.type.isUnsigned32() || second.type.isUnsigned32() ? kUInt32Type : kInt32Type;
        return true;
    }
    type = first.type.pointer ? first.type : second.type;
    return !type.isVoid && (assignable(first, type) && assignable(second, type));
}

/// condition ? first : second. The condition is compiled; the current token is the '?'.
bool compileChoice(CompilerState& state, Operand& result) {
    const std::uint32_t token = state.at;
    state.advance();
    settle(state, result);
    const bool constantCondition = result.isConstant();
    const bool condition = result.bits != 0;
    const std::uint32_t mark = state.code.here();
    if (!loadValue(state, result, token))
        return false;
    const std::uint32_t toSecond = state.code.emitJump(Opcode::JumpIfFalse);
    Operand first;
    if (!compileExpression(state, first))
        return false;
    settle(state, first);
    const Operand knownFirst = first;
    load(state, first);
    if (!state.expect(TokenKind::Colon, "expected ':' in conditional expression"))
        return false;
    const std::uint32_t toEnd = state.code.emitJump(Opcode::Jump);
    state.code.patchHere(toSecond);
    Operand second;
    if (!compileExpression(state, second))
        return false;
    settle(state, second);
    const Operand knownSecond = second;
    load(state, second);
    state.code.patchHere(toEnd);
    if (first.type.isVoid && second.type.isVoid) {
        result = {}; // two calls, of which one happens
        return true;
    }
    if (first.type.isVoid || second.type.isVoid)
        return loadValue(state, first.type.isVoid ? first : second, token);
    Type type;
    Operand typed = knownFirst;
    if (!unify(typed, knownSecond, type))
        return state.fail(token, "conditional expression branches have incompatible types");
    result = Operand::onStack(type, first.boolean && second.boolean);
    if (constantCondition && knownFirst.isPending() && knownSecond.isPending()) {
        state.code.truncate(mark);
        result = condition ? knownFirst : knownSecond;
        result.type = type;
    }
    return true;
}

} // namespace

bool compileExpression(CompilerState& state, Operand& result, Use use) {
    const DepthGuard guard(state.expressionDepth);
    if (state.expressionDepth > kMaxExpressionDepth)
        return state.fail(state.at, kTooDeepMessage);
    if (!compileBinary(state, result, 1, use))
        return false;
    if (state.is(TokenKind::Question))
        return compileChoice(state, result);
    const bool assigns = state.is(TokenKind::Assign) || compoundOperator(state.kind()) != TokenKind::Invalid;
    // A number cannot continue that way: whoever reads it says what he expects instead.
    if (assigns && !result.isConstant())
        return compileAssignment(state, result, use);
    return true;
}

bool compileValue(CompilerState& state, Operand& result) {
    const std::uint32_t token = state.at;
    return compileExpression(state, result) && loadValue(state, result, token);
}

bool compileConstant(CompilerState& state, Operand& result, std::string_view message) {
    const std::uint32_t token = state.at;
    const std::uint32_t mark = state.code.here();
    ++state.constantOnly;
    const bool compiled = compileExpression(state, result);
    --state.constantOnly;
    if (compiled)
        settle(state, result);
    state.code.truncate(mark);
    return (compiled && result.isPending()) || state.fail(token, message);
}

bool compileEffect(CompilerState& state) {
    Operand result;
    if (!compileExpression(state, result, Use::Discard))
        return false;
    discard(state, result);
    return true;
}

} // namespace Vantor::gpc
