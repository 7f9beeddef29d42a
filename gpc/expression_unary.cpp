// Operands: literals, names, calls, elements, casts and the unary operators.

#include "gpc/expression.h"
#include "gpc/literals.h"
#include "gpc/strings.h"

namespace Vantor::gpc {

namespace {

Type literalType(IntegerLiteralType type) {
    switch (type) {
    case IntegerLiteralType::int16:
        return kInt16Type;
    case IntegerLiteralType::int32:
        return kInt32Type;
    default:
        return kUInt32Type;
    }
}

bool compileNumber(CompilerState& state, Operand& result, bool negated) {
    const std::uint32_t known = state.name();
    const std::string_view text = known != 0 ? std::string_view{} : state.tokens.text(state.at);
    const auto integer =
        known != 0 ? integerLiteralOf(known - 1, negated) : integerLiteralValue(text, negated);
    if (integer) {
        result = Operand::constant(static_cast<std::uint32_t>(integer->value), literalType(integer->type));
    } else {
        const auto fixed = fixedLiteralValue(text);
        if (!fixed)
            return state.fail(state.at, isFixedLiteral(text) ? kFixedLiteralMessage : kIntegerLiteralMessage);
        const auto bits = static_cast<std::uint32_t>(fixed->bits);
        result = Operand::constant(negated ? 0 - bits : bits, kFix32Type);
    }
    state.advance();
    return true;
}

bool compileCharacter(CompilerState& state, Operand& result) {
    const auto value = charLiteralValue(state.tokens.text(state.at));
    if (!value)
        return state.fail(state.at, kCharLiteralMessage);
    const bool wide = *value < -0x8000 || *value > 0x7FFF;
    result = Operand::constant(static_cast<std::uint32_t>(*value), wide ? kInt32Type : kInt16Type);
    state.advance();
    return true;
}

bool compileString(CompilerState& state, Operand& result) {
    std::uint32_t address = 0;
    if (!takeString(state, address))
        return false;
    result = {};
    result.kind = Operand::Kind::Address;
    result.type = kStringType;
    result.readOnly = true;
    result.operand = static_cast<std::uint16_t>(address);
    return true;
}

/// A name: the user's own before the builtins.
bool compileName(CompilerState& state, Operand& result) {
    const std::uint32_t token = state.at;
    const NameId name = state.name();
    if (name >= nameOf(Word::ComboRun) && name <= nameOf(Word::ComboStop))
        return compileComboControl(state, result);
    const std::uint32_t variable = state.symbols.variable(name);
    if (variable != kNoIndex) {
        state.advance();
        result = variableReference(state, variable);
        return true;
    }
    const std::uint32_t function = state.symbols.function(name);
    if (function != kNoIndex)
        return compileUserCall(state, function, result);
    if (const Builtin* builtin = builtinOfName(name))
        return compileBuiltinCall(state, *builtin, result);
    if (const NamedConstant* constant = constantOfName(name)) {
        state.advance();
        result = Operand::constant(static_cast<std::uint32_t>(constant->value), kInt16Type);
        return true;
    }
    if (!state.isUserNameAt(token))
        return state.fail(token, "expected an expression");
    if (state.kindAfter(1) == TokenKind::LParen)
        return state.fail(token, "unknown function: ", state.tokens.nameText(name));
    return state.fail(token, "unknown name: ", state.tokens.nameText(name));
}

bool compileParenthesised(CompilerState& state, Operand& result) {
    state.advance();
    if (!compileExpression(state, result))
        return false;
    return state.expect(TokenKind::RParen, "expected ')' after expression");
}

bool compilePrimary(CompilerState& state, Operand& result) {
    switch (state.kind()) {
    case TokenKind::Number:
        return compileNumber(state, result, false);
    case TokenKind::CharLiteral:
        return compileCharacter(state, result);
    case TokenKind::StringLiteral:
        return compileString(state, result);
    case TokenKind::Identifier:
        return compileName(state, result);
    case TokenKind::LParen:
        return compileParenthesised(state, result);
    default:
        return state.fail(state.at, "expected an expression");
    }
}

Opcode elementOpcode(std::uint32_t width) {
    return width == 1 ? Opcode::Index1 : width == 2 ? Opcode::Index2 : Opcode::Index4;
}

/// base[index]. The base is compiled; the current token is the '['.
bool compileElement(CompilerState& state, Operand& base) {
    const std::uint32_t token = state.at;
    state.advance();
    const bool array = base.kind == Operand::Kind::Variable && base.count != 0;
    const std::uint32_t count = base.count;
    // An array's elements have its type, whatever that is; what a pointer points to is a scalar.
    const Type element = array ? base.type : base.type.target();
    settle(state, base);
    const bool readOnly = base.readOnly; // survives in the address of constant data alone
    if (!base.type.pointer)
        return state.fail(token, "only an array or a pointer has elements");
    const Operand known = base;
    const std::uint32_t mark = state.code.here();
    load(state, base);
    Operand index;
    const std::uint32_t indexToken = state.at;
    if (!compileExpression(state, index))
        return false;
    settle(state, index);
    if (!index.type.isInteger())
        return state.fail(indexToken, "an array index must be an integer expression");
    if (!state.expect(TokenKind::RBracket, "expected ']' after array index"))
        return false;
    if (array && index.isConstant() && index.bits >= count)
        return state.fail(indexToken, "array index is outside the array");
    base = {};
    base.type = element;
    base.readOnly = readOnly;
    base.kind = Operand::Kind::Through;
    const std::uint32_t moved = known.operand + index.bits * element.width();
    if (index.isConstant() && known.kind == Operand::Kind::Address &&
        ((moved ^ known.operand) & 0x18000) == 0) {
        state.code.truncate(mark);
        base.kind = Operand::Kind::Variable;
        base.operand = static_cast<std::uint16_t>(moved);
    } else if (!index.isConstant() || index.bits != 0) {
        load(state, index);
        state.code.emit(elementOpcode(element.width()));
    }
    return true;
}

bool canContinueOperand(TokenKind kind) {
    return kind == TokenKind::LBracket || kind == TokenKind::PlusPlus || kind == TokenKind::MinusMinus;
}

/// What a step's value is used for: nothing, only where the whole expression is and ends behind it.
Use useOfStep(TokenKind next, Use use) {
    const bool last = next == TokenKind::Semicolon || next == TokenKind::RParen || next == TokenKind::Comma;
    return last ? use : Use::Value;
}

bool compilePostfix(CompilerState& state, Operand& result, Use use) {
    if (!compilePrimary(state, result))
        return false;
    for (;;) {
        if (state.is(TokenKind::LBracket)) {
            if (!compileElement(state, result))
                return false;
        } else if (state.is(TokenKind::PlusPlus) || state.is(TokenKind::MinusMinus)) {
            const bool increment = state.is(TokenKind::PlusPlus);
            const std::uint32_t token = state.at;
            state.advance();
            if (!compileIncrement(state, result, token, {increment, false}, useOfStep(state.kind(), use)))
                return false;
        } else {
            return true;
        }
    }
}

/// (type) operand. The current token is the '('.
bool compileCast(CompilerState& state, Operand& result) {
    const std::uint32_t token = state.at;
    state.advance();
    Type type = *state.typeAt(state.at);
    state.advance();
    type.pointer = state.accept(TokenKind::Star);
    if (!state.expect(TokenKind::RParen, "expected ')' after cast type") ||
        !compileUnary(state, result, Use::Value))
        return false;
    settle(state, result);
    if (result.type.isVoid)
        return loadValue(state, result, token);
    const bool fixedPointer =
        (type.pointer && result.type.isFixed()) || (type.isFixed() && result.type.pointer);
    if (fixedPointer)
        return state.fail(token, "a pointer cannot be cast to or from fix32");
    if (result.kind == Operand::Kind::Address && type.pointer) {
        result.type = type;
        return true;
    }
    if (!result.isConstant())
        load(state, result);
    if (type.isFixed() && result.type.isInteger()) {
        if (result.isConstant())
            result.bits <<= 16;
        else
            state.code.emit(Opcode::IntToFix);
        result.type = type;
        result.boolean = false;
        return true;
    }
    if (result.type.isFixed() && !type.isFixed()) {
        if (result.isConstant())
            result.bits = static_cast<std::uint32_t>(static_cast<std::int32_t>(result.bits) / 65536);
        else
            state.code.emit(Opcode::FixToInt);
        result.type = kInt32Type;
    } else if (result.type.pointer) {
        result.type = {TypeCode::UInt16}; // an address is a 16-bit number
    }
    truncateTo(state, result, type);
    return true;
}

/// &operand
bool compileAddressOf(CompilerState& state, Operand& result) {
    const std::uint32_t token = state.at;
    state.advance();
    if (!compileUnary(state, result, Use::Value))
        return false;
    const bool whole = result.kind == Operand::Kind::Variable && result.count != 0;
    if (!result.isAssignable() && !whole)
        return state.fail(token, "only a variable or an array element has an address");
    result.kind = result.kind == Operand::Kind::Variable ? Operand::Kind::Address : Operand::Kind::Stack;
    result.type = result.type.addressType();
    result.count = 0;
    return true;
}

/// *operand
bool compileDereference(CompilerState& state, Operand& result) {
    const std::uint32_t token = state.at;
    state.advance();
    if (!compileUnary(state, result, Use::Value))
        return false;
    settle(state, result);
    if (!result.type.pointer)
        return state.fail(token, "the '*' operator requires a pointer");
    if (result.kind == Operand::Kind::Address) {
        result.kind = Operand::Kind::Variable;
    } else {
        load(state, result);
        result.kind = Operand::Kind::Through;
    }
    result.type = result.type.target();
    return true;
}

std::uint32_t foldUnary(TokenKind op, std::uint32_t bits) {
    switch (op) {
    case TokenKind::Minus:
        return 0 - bits;
    case TokenKind::Tilde:
        return ~bits;
    default: // Bang
        return bits == 0;
    }
}

/// + - ! ~
bool compileValueOperator(CompilerState& state, Operand& result) {
    const std::uint32_t token = state.at;
    const TokenKind op = state.kind();
    state.advance();
    if (op == TokenKind::Minus && state.is(TokenKind::Number))
        return compileNumber(state, result, true);
    if (!compileUnary(state, result, Use::Value))
        return false;
    settle(state, result);
    if (result.type.isVoid)
        return loadValue(state, result, token);
    if (op == TokenKind::Tilde && !result.type.isInteger())
        return state.fail(token, "the '~' operator requires an integer operand");
    if (op != TokenKind::Bang && result.type.pointer)
        return state.fail(token,
                          "a pointer takes part only in '+', '-' and comparisons, and stands on the left");
    const bool truth = op == TokenKind::Bang;
    Type type = result.type.isUnsigned32() ? kUInt32Type : kInt32Type;
    if (truth)
        type = kInt32Type;
    else if (result.type.isFixed())
        type = kFix32Type;
    if (op == TokenKind::Plus) {
        if (!result.isConstant())
            load(state, result);
        result.type = type;
        return true;
    }
    if (result.isConstant()) {
        result = Operand::constant(foldUnary(op, result.bits), type);
        return true;
    }
    load(state, result);
    state.code.emit(op == TokenKind::Minus ? Opcode::Negate : truth ? Opcode::LogicalNot : Opcode::BitNot);
    result = Operand::onStack(type, truth);
    return true;
}

} // namespace

bool compileUnary(CompilerState& state, Operand& result, Use use) {
    const DepthGuard guard(state.expressionDepth);
    if (state.expressionDepth > kMaxExpressionDepth)
        return state.fail(state.at, "expression is nested too deeply");
    switch (state.kind()) {
    case TokenKind::Number:
        // Only to be told what is wrong with it could one be followed by an index or a step.
        return canContinueOperand(state.kindAfter(1)) ? compilePostfix(state, result, use)
                                                      : compileNumber(state, result, false);
    case TokenKind::Plus:
    case TokenKind::Minus:
    case TokenKind::Bang:
    case TokenKind::Tilde:
        return compileValueOperator(state, result);
    case TokenKind::PlusPlus:
    case TokenKind::MinusMinus: {
        const bool increment = state.is(TokenKind::PlusPlus);
        const std::uint32_t token = state.at;
        state.advance();
        return compileUnary(state, result, Use::Value) &&
               compileIncrement(state, result, token, {increment, true}, useOfStep(state.kind(), use));
    }
    case TokenKind::Ampersand:
        return compileAddressOf(state, result);
    case TokenKind::Star:
        return compileDereference(state, result);
    case TokenKind::LParen:
        if (state.typeAt(state.at + 1))
            return compileCast(state, result);
        return compilePostfix(state, result, use);
    default:
        return compilePostfix(state, result, use);
    }
}

} // namespace Vantor::gpc
