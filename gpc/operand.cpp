// Where values are, and how they get onto the stack and off it again.

#include "gpc/expression.h"

namespace Vantor::gpc {

namespace {

Opcode loadOpcode(Type type, bool through) {
    if (type.pointer)
        return through ? Opcode::LoadThroughU16 : Opcode::LoadU16;
    switch (type.code) {
    case TypeCode::UInt8:
        return through ? Opcode::LoadThroughU8 : Opcode::LoadU8;
    case TypeCode::Int8:
        return through ? Opcode::LoadThroughS8 : Opcode::LoadS8;
    case TypeCode::UInt16:
        return through ? Opcode::LoadThroughU16 : Opcode::LoadU16;
    case TypeCode::Int16:
        return through ? Opcode::LoadThroughS16 : Opcode::LoadS16;
    default:
        return through ? Opcode::LoadThrough32 : Opcode::Load32;
    }
}

bool narrow(Type type) {
    return !type.pointer && type.width() < 4;
}

/// Whether every value of `from` is a value of `to`.
bool fits(Type from, Type to) {
    if (from.code == to.code)
        return true;
    const bool fromSigned = from.code == TypeCode::Int8 || from.code == TypeCode::Int16;
    const bool toSigned = to.code == TypeCode::Int8 || to.code == TypeCode::Int16;
    return from.width() < to.width() && (!fromSigned || toSigned);
}

} // namespace

Operand variableReference(const CompilerState& state, std::uint32_t index) {
    const Variable& variable = state.variables[index];
    Operand result;
    result.kind = Operand::Kind::Variable;
    result.type = variable.type;
    result.operand = variableOperand(variable);
    result.count = variable.array ? variable.count : 0;
    result.readOnly = variable.readOnly();
    if (variable.array && variable.count == 0)
        result.count = kNoIndex; // an array of unknown length is an array all the same
    return result;
}

std::uint32_t truncateBits(std::uint32_t bits, Type type) {
    if (type.pointer)
        return bits & 0xFFFF;
    switch (type.code) {
    case TypeCode::UInt8:
        return static_cast<std::uint8_t>(bits);
    case TypeCode::Int8:
        return static_cast<std::uint32_t>(std::int32_t{static_cast<std::int8_t>(bits)});
    case TypeCode::UInt16:
        return static_cast<std::uint16_t>(bits);
    case TypeCode::Int16:
        return static_cast<std::uint32_t>(std::int32_t{static_cast<std::int16_t>(bits)});
    default:
        return bits;
    }
}

void settleVariable(CompilerState& state, Operand& operand) {
    if (operand.count != 0) {
        operand.kind = Operand::Kind::Address;
        operand.type = operand.type.addressType();
        operand.count = 0;
    } else if (operand.readOnly) {
        const std::uint32_t bits = state.image.read(operand.operand, operand.type.width());
        operand = Operand::constant(truncateBits(bits, operand.type), operand.type);
    }
}

void load(CompilerState& state, Operand& operand) {
    settle(state, operand);
    switch (operand.kind) {
    case Operand::Kind::Constant:
        if (operand.type.isFixed())
            state.code.emitWideConstant(operand.bits);
        else
            state.code.emitConstant(operand.bits);
        break;
    case Operand::Kind::Address:
        state.code.emit(Opcode::AddressOf, operand.operand);
        break;
    case Operand::Kind::Variable:
        state.code.emit(loadOpcode(operand.type, false), operand.operand);
        break;
    case Operand::Kind::Through:
        state.code.emit(loadOpcode(operand.type, true));
        break;
    default:
        return;
    }
    operand.kind = Operand::Kind::Stack;
}

bool loadValue(CompilerState& state, Operand& operand, std::uint32_t token) {
    if (operand.type.isVoid)
        return state.fail(token, "a void operation cannot be used as a value");
    load(state, operand);
    return true;
}

void discard(CompilerState& state, const Operand& operand) {
    if (operand.kind == Operand::Kind::Stack || operand.kind == Operand::Kind::Through)
        state.code.emit(Opcode::Drop);
}

void storeVariable(CompilerState& state, std::uint16_t operand, Type type) {
    const std::uint32_t width = type.width();
    state.code.emit(width == 1 ? Opcode::Store8 : width == 2 ? Opcode::Store16 : Opcode::Store32, operand);
}

void truncateTo(CompilerState& state, Operand& operand, Type type) {
    if (operand.kind == Operand::Kind::Constant) {
        operand.bits = truncateBits(operand.bits, type);
    } else if (narrow(type) && !(operand.type.isInteger() && fits(operand.type, type)) && !operand.boolean) {
        constexpr std::array<Opcode, 4> kCasts{Opcode::CastU8, Opcode::CastS8, Opcode::CastU16,
                                               Opcode::CastS16};
        state.code.emit(kCasts[static_cast<std::size_t>(type.code)]);
    } else if (type.pointer && !operand.type.pointer && operand.type.width() == 4) {
        state.code.emit(Opcode::CastU16);
    }
    operand.type = type;
}

bool assignable(const Operand& value, Type type) {
    if (value.type.typeClass() != type.typeClass())
        return type.pointer && value.isConstant() && value.type.isInteger();
    // A string is a pointer to char; who wants its bytes unsigned may have them so.
    return !type.pointer || value.type.code == type.code ||
           (value.type.targetWidth() == 1 && type.targetWidth() == 1);
}

} // namespace Vantor::gpc
