// Combos: bodies that the device suspends and resumes at the addresses in their wait table.

#include "gpc/expression.h"
#include "gpc/statements.h"

namespace Vantor::gpc {

namespace {

std::uint16_t stateOperand(const CompilerState& state, const Combo& combo) {
    return variableOperand(state.variables[combo.state]);
}

/// The next instruction is where the combo goes on. Entries beyond the scan's count are counted, not written.
void fillWaitEntry(CompilerState& state) {
    Combo& combo = *state.combo;
    if (combo.filledWaits < combo.scannedWaits)
        state.code.patchU16(combo.waitTable + 2 * combo.filledWaits, state.code.here());
    ++combo.filledWaits;
}

bool compileComboBody(CompilerState& state, Combo& combo) {
    state.code.emit(Opcode::ComboStart, stateOperand(state, combo));
    state.code.emitU16(combo.waitTable);
    state.code.emitFixup(combo.end);
    fillWaitEntry(state);
    if (!compileBlockStatements(state, "expected '}' after combo body"))
        return false;
    if (combo.filledWaits != combo.scannedWaits)
        return state.fail(combo.token, "combo wait table does not match the compiled body");
    state.code.emit(Opcode::ComboEnd, stateOperand(state, combo));
    state.code.patchHere(combo.end);
    return finishLabels(state);
}

} // namespace

/// combo NAME { ... }
bool compileCombo(CompilerState& state, const TopLevelItem& item) {
    state.at = item.name;
    if (!state.isUserNameAt(state.at))
        return state.fail(state.at, "expected a combo name");
    if (item.index == kNoIndex) {
        if (state.symbols.combo(state.name()) != kNoIndex)
            return state.fail(state.at, "duplicate combo: ", state.tokens.text(state.at));
        return state.fail(state.at, "combo definition was not discovered during source scan");
    }
    state.advance();
    if (!state.expect(TokenKind::LBrace, "expected '{' after combo name"))
        return false;
    Combo& combo = state.combos[item.index];
    state.body = BodyKind::Combo;
    state.combo = &combo;
    const std::size_t scope = state.symbols.openScope();
    const bool good = compileComboBody(state, combo);
    state.symbols.closeScope(scope);
    state.body = BodyKind::None;
    state.combo = nullptr;
    return good;
}

/// wait (duration);
bool compileWait(CompilerState& state) {
    if (state.body != BodyKind::Combo)
        return state.fail(state.at, "wait is only valid inside a combo");
    Combo& combo = *state.combo;
    const std::uint16_t variable = stateOperand(state, combo);
    state.advance();
    if (!state.expect(TokenKind::LParen, "expected '(' after wait"))
        return false;
    const std::uint32_t mark = state.code.here();
    state.code.emit(Opcode::BeginWait, variable);
    state.code.emitU16(0);
    const std::uint32_t token = state.at;
    Operand duration;
    if (!compileExpression(state, duration))
        return false;
    settle(state, duration);
    if (!duration.type.isInteger())
        return state.fail(token, "wait duration must be an integer expression");
    if (duration.isConstant()) {
        // Unsigned: negative durations are above the limit, too.
        if (duration.bits > 0x7FFF)
            return state.fail(token, "wait duration is outside the int16 range");
        state.code.truncate(mark);
        state.code.emit(Opcode::Wait, variable);
        state.code.emitU16(duration.bits);
    } else {
        state.code.addFixup(mark + 3, combo.end);
        load(state, duration);
        state.code.emit(Opcode::EndWait, variable);
    }
    state.code.emitFixup(combo.end);
    fillWaitEntry(state);
    return state.expect(TokenKind::RParen, "expected ')' after wait duration") &&
           state.expect(TokenKind::Semicolon, "expected ';' after wait");
}

/// call (NAME);
bool compileComboCall(CompilerState& state) {
    if (state.body != BodyKind::Combo)
        return state.fail(state.at, "call is only valid inside a combo");
    Combo& caller = *state.combo;
    state.advance();
    if (!state.expect(TokenKind::LParen, "expected '(' after call"))
        return false;
    if (!state.isName(state.at))
        return state.fail(state.at, "expected a combo name");
    const std::uint32_t index = state.symbols.combo(state.name());
    if (index == kNoIndex)
        return state.fail(state.at, "unknown called combo");
    const Combo& called = state.combos[index];
    if (&called == &caller)
        return state.fail(state.at, "a combo cannot call itself");
    state.advance();
    state.code.emit(Opcode::CallCombo, stateOperand(state, called));
    state.code.emitFixup(caller.end);
    fillWaitEntry(state);
    state.code.emit(Opcode::AwaitCombo, stateOperand(state, caller));
    state.code.emitU16(stateOperand(state, called));
    state.code.emitFixup(caller.end);
    fillWaitEntry(state);
    return state.expect(TokenKind::RParen, "expected ')' after combo name") &&
           state.expect(TokenKind::Semicolon, "expected ';' after call");
}

} // namespace Vantor::gpc
