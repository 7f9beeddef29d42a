// Calls of the user's functions, and the combo controls.

#include "gpc/expression.h"

namespace Vantor::gpc {

namespace {

/// Return address and the caller's frame pointer.
constexpr std::uint32_t kCallLinkBytes = 4;
constexpr std::uint32_t kMaxCallFrame = 252;

Opcode argumentOpcode(Type type) {
    if (type.pointer)
        return Opcode::ArgumentPointer;
    switch (type.width()) {
    case 1:
        return Opcode::Argument8;
    case 2:
        return Opcode::Argument16;
    default:
        return Opcode::Argument32;
    }
}

bool compileArgument(CompilerState& state, const Function& function, const Variable& parameter) {
    const std::uint32_t token = state.at;
    Operand value;
    if (!compileExpression(state, value))
        return false;
    settle(state, value);
    if (!value.type.isVoid && !assignable(value, parameter.type))
        return state.fail(token, "function argument does not match the parameter type");
    if (!loadValue(state, value, token))
        return false;
    state.code.emit(argumentOpcode(parameter.type));
    // The address is the negated frame offset, so the sum counts from the bottom of the new frame.
    state.code.emitByte(static_cast<std::uint8_t>(function.frameSize + parameter.address));
    return true;
}

} // namespace

bool compileUserCall(CompilerState& state, std::uint32_t functionIndex, Operand& result) {
    const std::uint32_t token = state.at;
    if (state.constantOnly > 0)
        return false;
    state.advance();
    if (!state.expect(TokenKind::LParen, "expected '(' after function name"))
        return false;
    Function& function = state.functions[functionIndex];
    if (function.frameSize > kMaxCallFrame)
        return state.fail(token, "function frame exceeds the GPC2 call limit");
    state.code.emit(Opcode::Reserve, function.frameSize + kCallLinkBytes);
    for (std::size_t i = 0; i < function.parameters.size(); ++i) {
        if (i > 0 && !state.expect(TokenKind::Comma, "expected ',' between function arguments"))
            return false;
        if (!compileArgument(state, function, state.variables[function.parameters[i]]))
            return false;
    }
    if (!state.expect(TokenKind::RParen, "expected ')' after function arguments"))
        return false;
    if (function.address != 0)
        state.code.emit(Opcode::Call, function.address);
    else
        state.code.emitJump(Opcode::Call, function.calls);
    state.code.emitByte(static_cast<std::uint8_t>(function.frameSize));
    result = {};
    if (!function.result.isVoid)
        result = Operand::onStack(function.result);
    return true;
}

bool compileComboControl(CompilerState& state, Operand& result) {
    if (state.constantOnly > 0)
        return false;
    const std::uint32_t control = state.name() - nameOf(Word::ComboRun);
    state.advance();
    if (!state.expect(TokenKind::LParen, "expected '(' after combo control"))
        return false;
    if (!state.isName(state.at))
        return state.fail(state.at, "expected a combo name");
    const std::uint32_t combo = state.symbols.combo(state.name());
    if (combo == kNoIndex)
        return state.fail(state.at, "unknown combo");
    state.advance();
    if (!state.expect(TokenKind::RParen, "expected ')' after combo name"))
        return false;
    const auto opcode = static_cast<Opcode>(static_cast<std::uint32_t>(Opcode::ComboRun) + control);
    state.code.emit(opcode, variableOperand(state.variables[state.combos[combo].state]));
    result = {};
    return true;
}

} // namespace Vantor::gpc
