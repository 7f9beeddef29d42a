// switch: the selector jumps over the body to the dispatch behind it.

#include "gpc/expression.h"
#include "gpc/statements.h"

#include <algorithm>

namespace Vantor::gpc {

namespace {

void dispatchByTable(CompilerState& state, const SwitchRecord& record, const OpenSwitch& open,
                     FixupList& end) {
    if (record.lowest != 0) {
        state.code.emitConstant(record.lowest);
        state.code.emit(Opcode::Subtract);
    }
    state.code.emit(Opcode::TableSwitch, record.table);
    state.code.emitByte(static_cast<std::uint8_t>(record.entries - 1)); // highest index: 256 entries fit
    // Without a default, the end of the switch is what follows this operand.
    const std::uint32_t otherwise =
        open.defaultTarget != kNoIndex ? open.defaultTarget : state.code.here() + 2;
    state.code.emitU16(otherwise);
    for (std::uint32_t entry = 0; entry < record.entries; ++entry)
        state.code.patchU16(record.table + 2 * entry, otherwise);
    for (const auto& [value, address] : open.targets)
        state.code.patchU16(record.table + 2 * (value - record.lowest), address);
    state.code.patchHere(end);
}

void dispatchOneByOne(CompilerState& state, OpenSwitch& open, FixupList& end) {
    std::sort(open.targets.begin(), open.targets.end());
    for (const auto& [value, address] : open.targets) {
        state.code.emit(Opcode::JumpIfCase);
        state.code.emitByte(static_cast<std::uint8_t>(value));
        state.code.emitU16(address);
    }
    state.code.emit(Opcode::Drop);
    if (open.defaultTarget != kNoIndex)
        state.code.emit(Opcode::Jump, open.defaultTarget);
    state.code.patchHere(end);
}

/// Body and dispatch; the selector is on the stack.
bool compileSwitchBody(CompilerState& state, std::uint32_t token, SwitchRecord& record) {
    const std::uint32_t toDispatch = state.code.emitJump(Opcode::Jump);
    state.openSwitches.push_back({});
    state.openSwitches.back().record = static_cast<std::uint32_t>(&record - state.switches.data());
    state.breakables.push_back({});
    const std::size_t scope = state.symbols.openScope();
    const bool good = compileBlockStatements(state, "expected '}' after switch body");
    state.symbols.closeScope(scope);
    OpenSwitch open = std::move(state.openSwitches.back());
    state.openSwitches.pop_back();
    FixupList end = state.breakables.back().breaks;
    state.breakables.pop_back();
    if (!good)
        return false;
    if (open.targets.empty())
        return state.fail(token, "switch requires at least one non-negative case value");
    state.code.emitJump(Opcode::Jump, end);
    state.code.patchHere(toDispatch);
    if (record.entries > 0)
        dispatchByTable(state, record, open, end);
    else
        dispatchOneByOne(state, open, end);
    return true;
}

} // namespace

/// switch (selector) { ... }
bool compileSwitch(CompilerState& state) {
    const std::uint32_t token = state.at;
    SwitchRecord* record = CompilerState::recordAt(state.switches, &SwitchRecord::token, token);
    state.advance();
    if (!record || !state.expect(TokenKind::LParen, "expected '(' after switch"))
        return false;
    const std::uint32_t selectorToken = state.at;
    Operand selector;
    if (!compileExpression(state, selector))
        return false;
    settle(state, selector);
    if (!selector.type.isInteger())
        return state.fail(selectorToken, "switch selector must be an integer expression");
    load(state, selector);
    return state.expect(TokenKind::RParen, "expected ')' after switch selector") &&
           state.expect(TokenKind::LBrace, "expected '{' after switch selector") &&
           compileSwitchBody(state, token, *record);
}

constexpr std::string_view kCaseMessage = "case value must be a non-negative uint8 constant";

/// (value)   (value) + 1   (type)value   value
bool compileCaseValue(CompilerState& state, Operand& value) {
    const std::uint32_t token = state.at;
    const bool parenthesis = state.is(TokenKind::LParen) && !state.typeAt(token + 1);
    if (parenthesis) {
        state.advance();
        if (!compileConstant(state, value, kCaseMessage) ||
            !state.expect(TokenKind::RParen, "expected ')' after case value"))
            return false;
        if (state.is(TokenKind::Colon))
            return true;
        state.at = token; // the value only begins with what stands in parentheses
    }
    return compileConstant(state, value, kCaseMessage);
}

/// case value:   case (value):
bool compileCase(CompilerState& state) {
    if (state.openSwitches.empty())
        return state.fail(state.at, "'case' is only valid inside a switch");
    state.advance();
    const std::uint32_t token = state.at;
    Operand value;
    if (!compileCaseValue(state, value))
        return false;
    if (!value.isConstant() || !value.type.isInteger() || value.bits > 255)
        return state.fail(token, kCaseMessage);
    OpenSwitch& open = state.openSwitches.back();
    if (open.seen.test(value.bits))
        return state.fail(token, "duplicate switch case value");
    if (!state.switches[open.record].values.test(value.bits))
        return state.fail(token, "case value uses a constant that is declared later");
    open.seen.set(value.bits);
    open.targets.emplace_back(value.bits, state.code.here());
    return state.expect(TokenKind::Colon, "expected ':' after case value");
}

bool compileDefault(CompilerState& state) {
    if (state.openSwitches.empty())
        return state.fail(state.at, "'default' is only valid inside a switch");
    OpenSwitch& open = state.openSwitches.back();
    if (open.defaultTarget != kNoIndex)
        return state.fail(state.at, "duplicate default label");
    state.advance();
    open.defaultTarget = state.code.here();
    return state.expect(TokenKind::Colon, "expected ':' after default");
}

} // namespace Vantor::gpc
