// Assignment in all its forms, ++ and --.

#include "gpc/expression.h"

namespace Vantor::gpc {

namespace {

Opcode storeThrough(Type type, bool keepAddress) {
    switch (type.width()) {
    case 1:
        return keepAddress ? Opcode::StoreKeep8 : Opcode::StoreThrough8;
    case 2:
        return keepAddress ? Opcode::StoreKeep16 : Opcode::StoreThrough16;
    default:
        return keepAddress ? Opcode::StoreKeep32 : Opcode::StoreThrough32;
    }
}

bool checkTarget(CompilerState& state, const Operand& target, std::uint32_t token) {
    if (!target.isAssignable())
        return state.fail(token,
                          "only a variable, an array element or what a pointer points to can be assigned to");
    if (target.readOnly)
        return state.fail(token, "a constant cannot be assigned to");
    return true;
}

/// Stores the value on the stack into the target; the target is an operand again where its value is wanted.
void store(CompilerState& state, Operand& target, Use use) {
    if (target.kind == Operand::Kind::Variable) {
        storeVariable(state, target.operand, target.type);
        if (use == Use::Value)
            load(state, target);
        else
            target = {};
        return;
    }
    state.code.emit(storeThrough(target.type, use == Use::Value));
    if (use == Use::Value)
        load(state, target);
    else
        target = {};
}

/// The target's value, above its address when it has one there.
Operand loadForUpdate(CompilerState& state, const Operand& target) {
    Operand value = target;
    if (target.kind == Operand::Kind::Through)
        state.code.emit(Opcode::Duplicate);
    load(state, value);
    return value;
}

Opcode stepOpcode(Type type, bool increment) {
    switch (type.width()) {
    case 1:
        return increment ? Opcode::Increment8 : Opcode::Decrement8;
    case 2:
        return increment ? Opcode::Increment16 : Opcode::Decrement16;
    default:
        return increment ? Opcode::Increment32 : Opcode::Decrement32;
    }
}

/// Whether one instruction on the variable adds 1 in the type's own terms.
bool stepsByOne(const Operand& target) {
    const bool wide = target.type.isFixed() || (target.type.pointer && target.type.targetWidth() != 1);
    return target.kind == Operand::Kind::Variable && !wide;
}

/// What ++ adds to the stored bits.
std::uint32_t stepOf(Type type) {
    if (type.pointer)
        return type.targetWidth();
    return type.isFixed() ? 0x10000 : 1;
}

void addStep(CompilerState& state, Type type, bool increment) {
    state.code.emitConstant(stepOf(type));
    state.code.emit(increment ? Opcode::Add : Opcode::Subtract);
}

bool compileCompound(CompilerState& state, Operand& target, std::uint32_t token, TokenKind op, Use use) {
    const std::uint32_t mark = state.code.here();
    Operand value = loadForUpdate(state, target);
    Operand right;
    const std::uint32_t rightToken = state.at;
    if (!compileExpression(state, right))
        return false;
    settle(state, right);
    if (right.type.isVoid)
        return loadValue(state, right, rightToken);
    const bool step = (op == TokenKind::Plus || op == TokenKind::Minus) && right.isConstant() &&
                      right.bits == 1 && right.type.isInteger() && !target.type.isFixed();
    if (step && stepsByOne(target)) {
        state.code.truncate(mark);
        state.code.emit(stepOpcode(target.type, op == TokenKind::Plus), target.operand);
        if (use == Use::Value)
            load(state, target);
        else
            target = {};
        return true;
    }
    if (!combine(state, value, right, token, op, mark))
        return false;
    // The difference of two pointers is a number.
    if (!assignable(value, target.type))
        return state.fail(token, "assigned value does not match the variable type");
    store(state, target, use);
    return true;
}

} // namespace

bool compileAssignment(CompilerState& state, Operand& target, Use use) {
    const std::uint32_t token = state.at;
    const TokenKind op = compoundOperator(state.kind());
    if (!checkTarget(state, target, token))
        return false;
    state.advance();
    if (op != TokenKind::Invalid)
        return compileCompound(state, target, token, op, use);
    Operand value;
    const std::uint32_t valueToken = state.at;
    if (!compileExpression(state, value))
        return false;
    settle(state, value);
    if (value.type.isVoid)
        return loadValue(state, value, valueToken);
    if (!assignable(value, target.type))
        return state.fail(token, "assigned value does not match the variable type");
    load(state, value);
    store(state, target, use);
    return true;
}

bool compileIncrement(CompilerState& state, Operand& target, std::uint32_t token, Step step, Use use) {
    const auto [increment, prefix] = step;
    if (!checkTarget(state, target, token))
        return false;
    const Type type = target.type;
    if (stepsByOne(target)) {
        const std::uint16_t variable = target.operand;
        if (use == Use::Value && !prefix)
            load(state, target);
        state.code.emit(stepOpcode(type, increment), variable);
        if (use == Use::Value && prefix)
            load(state, target);
        if (use == Use::Discard)
            target = {};
        return true;
    }
    loadForUpdate(state, target);
    addStep(state, type, increment);
    store(state, target, use);
    if (use == Use::Value && !prefix) {
        // The old value is the new one taken back; what lies below on the stack needs no exchange that way.
        addStep(state, type, !increment);
        Operand old = Operand::onStack(kInt32Type);
        truncateTo(state, old, type);
        target = Operand::onStack(type);
    }
    return true;
}

} // namespace Vantor::gpc
