// The binary operators: which types they take, what they fold to, which instruction they are.

#include "gpc/expression.h"

#include <array>
#include <bit>

namespace Vantor::gpc {

namespace {

enum class Group : std::uint8_t { Arithmetic, Modulo, Bits, Shift, Comparison, LogicalXor };

struct OperatorRule {
    TokenKind kind;
    Group group;
    Opcode signedOpcode;
    Opcode unsignedOpcode;
    Opcode fixedOpcode;
};

constexpr std::array kRules = std::to_array<OperatorRule>({
    {TokenKind::Plus, Group::Arithmetic, Opcode::Add, Opcode::Add, Opcode::Add},
    {TokenKind::Minus, Group::Arithmetic, Opcode::Subtract, Opcode::Subtract, Opcode::Subtract},
    {TokenKind::Star, Group::Arithmetic, Opcode::Multiply, Opcode::Multiply, Opcode::FixMultiply},
    {TokenKind::Slash, Group::Arithmetic, Opcode::DivideSigned, Opcode::DivideUnsigned, Opcode::FixDivide},
    {TokenKind::Percent, Group::Modulo, Opcode::ModuloSigned, Opcode::ModuloUnsigned, Opcode::ModuloSigned},
    {TokenKind::Ampersand, Group::Bits, Opcode::BitAnd, Opcode::BitAnd, Opcode::BitAnd},
    {TokenKind::Pipe, Group::Bits, Opcode::BitOr, Opcode::BitOr, Opcode::BitOr},
    {TokenKind::Caret, Group::Bits, Opcode::BitXor, Opcode::BitXor, Opcode::BitXor},
    {TokenKind::ShiftLeft, Group::Shift, Opcode::ShiftLeft, Opcode::ShiftLeft, Opcode::ShiftLeft},
    {TokenKind::ShiftRight, Group::Shift, Opcode::ShiftRightSigned, Opcode::ShiftRightUnsigned,
     Opcode::ShiftRightSigned},
    {TokenKind::EqualEqual, Group::Comparison, Opcode::Equal, Opcode::Equal, Opcode::Equal},
    {TokenKind::NotEqual, Group::Comparison, Opcode::NotEqual, Opcode::NotEqual, Opcode::NotEqual},
    {TokenKind::Less, Group::Comparison, Opcode::LessSigned, Opcode::LessUnsigned, Opcode::LessSigned},
    {TokenKind::LessEqual, Group::Comparison, Opcode::LessEqualSigned, Opcode::LessEqualUnsigned,
     Opcode::LessEqualSigned},
    {TokenKind::Greater, Group::Comparison, Opcode::GreaterSigned, Opcode::GreaterUnsigned,
     Opcode::GreaterSigned},
    {TokenKind::GreaterEqual, Group::Comparison, Opcode::GreaterEqualSigned, Opcode::GreaterEqualUnsigned,
     Opcode::GreaterEqualSigned},
    {TokenKind::CaretCaret, Group::LogicalXor, Opcode::LogicalXor, Opcode::LogicalXor, Opcode::LogicalXor},
});

/// The row of each operator in kRules.
constexpr std::array<std::uint8_t, 50> kRows = [] {
    std::array<std::uint8_t, 50> rows{};
    for (std::size_t row = 0; row < kRules.size(); ++row)
        rows[static_cast<std::size_t>(kRules[row].kind)] = static_cast<std::uint8_t>(row);
    return rows;
}();

const OperatorRule& ruleOf(TokenKind kind) {
    return kRules[kRows[static_cast<std::size_t>(kind)]];
}

constexpr std::int32_t asSigned(std::uint32_t bits) {
    return static_cast<std::int32_t>(bits);
}

/// number / divisor (not 0), rounded half away from zero, low 32 bits.
std::uint32_t roundedQuotient(std::int64_t number, std::int64_t divisor) {
    const bool negative = (number < 0) != (divisor < 0);
    const std::uint64_t n =
        number < 0 ? 0 - static_cast<std::uint64_t>(number) : static_cast<std::uint64_t>(number);
    const std::uint64_t d =
        divisor < 0 ? 0 - static_cast<std::uint64_t>(divisor) : static_cast<std::uint64_t>(divisor);
    const std::uint64_t quotient = n / d + (n % d * 2 >= d ? 1 : 0);
    return static_cast<std::uint32_t>(negative ? 0 - quotient : quotient);
}

/// What the instruction gives; the machine and this function must agree to the last bit.
std::uint32_t fold(Opcode opcode, std::uint32_t a, std::uint32_t b) {
    const std::int64_t wideA = asSigned(a);
    const std::int64_t wideB = asSigned(b);
    switch (opcode) {
    case Opcode::Add:
        return a + b;
    case Opcode::Subtract:
        return a - b;
    case Opcode::Multiply:
        return a * b;
    case Opcode::DivideSigned:
        return b == 0 ? 0 : static_cast<std::uint32_t>(wideA / wideB);
    case Opcode::DivideUnsigned:
        return b == 0 ? 0 : a / b;
    case Opcode::ModuloSigned:
        return b == 0 ? 0 : static_cast<std::uint32_t>(wideA % wideB);
    case Opcode::ModuloUnsigned:
        return b == 0 ? 0 : a % b;
    case Opcode::FixMultiply:
        return roundedQuotient(wideA * wideB, 65536);
    case Opcode::FixDivide:
        return b == 0 ? 0 : roundedQuotient(wideA * 65536, wideB);
    case Opcode::BitAnd:
        return a & b;
    case Opcode::BitOr:
        return a | b;
    case Opcode::BitXor:
        return a ^ b;
    case Opcode::ShiftLeft:
        return a << (b & 31);
    case Opcode::ShiftRightSigned:
        return static_cast<std::uint32_t>(asSigned(a) >> (b & 31));
    case Opcode::ShiftRightUnsigned:
        return a >> (b & 31);
    case Opcode::Equal:
        return a == b;
    case Opcode::NotEqual:
        return a != b;
    case Opcode::LessSigned:
        return wideA < wideB;
    case Opcode::LessEqualSigned:
        return wideA <= wideB;
    case Opcode::GreaterSigned:
        return wideA > wideB;
    case Opcode::GreaterEqualSigned:
        return wideA >= wideB;
    case Opcode::LessUnsigned:
        return a < b;
    case Opcode::LessEqualUnsigned:
        return a <= b;
    case Opcode::GreaterUnsigned:
        return a > b;
    case Opcode::GreaterEqualUnsigned:
        return a >= b;
    default: // LogicalXor
        return (a != 0) != (b != 0);
    }
}

/// The message that the operand types of an operator deserve, or nothing.
std::string_view typeFault(Group group, const Operand& left, const Operand& right) {
    const TypeClass a = left.type.typeClass();
    const TypeClass b = right.type.typeClass();
    const bool integers = a == TypeClass::Integer && b == TypeClass::Integer;
    switch (group) {
    case Group::Arithmetic:
        if (a == TypeClass::Pointer || b == TypeClass::Pointer)
            return "a pointer takes part only in '+', '-' and comparisons, and stands on the left";
        return a == b ? "" : "integer and fixed arithmetic operands require an explicit cast";
    case Group::Modulo:
        return integers ? "" : "the '%' operator requires integer operands";
    case Group::Bits:
    case Group::Shift:
        return integers ? "" : "bitwise and shift operators require integer operands";
    case Group::Comparison:
        return a == b || assignable(left, right.type) || assignable(right, left.type)
                   ? ""
                   : "comparison operands must have the same type";
    default:
        return "";
    }
}

Opcode indexOpcode(Type pointer) {
    const std::uint32_t width = pointer.targetWidth();
    return width == 1 ? Opcode::Index1 : width == 2 ? Opcode::Index2 : Opcode::Index4;
}

/// Pushes `right`; when `left` is still pending, its provisional push at `mark` already lies below it.
void pushRight(CompilerState& state, Operand& right) {
    load(state, right);
}

/// pointer + integer and pointer - integer, in elements.
bool offsetPointer(CompilerState& state, Operand& left, Operand& right, bool minus, std::uint32_t mark) {
    if (right.isConstant() && left.kind == Operand::Kind::Address) {
        const std::uint32_t delta = right.bits * left.type.targetWidth();
        const auto moved = static_cast<std::uint16_t>(minus ? left.operand - delta : left.operand + delta);
        // Crossing the top bit would change what the operand is relative to.
        if (((moved ^ left.operand) & 0x8000) == 0) {
            state.code.truncate(mark);
            left.operand = moved;
            return true;
        }
    }
    if (minus && right.isConstant())
        right.bits = 0 - right.bits;
    const bool negate = minus && !right.isConstant();
    pushRight(state, right);
    if (negate)
        state.code.emit(Opcode::Negate);
    state.code.emit(indexOpcode(left.type));
    left = Operand::onStack(left.type);
    return true;
}

/// Constants that no operator minds, and which most constants are.
void foldIntegers(const OperatorRule& rule, Operand& left, const Operand& right) {
    const bool isUnsigned =
        left.type.isUnsigned32() || (rule.group != Group::Shift && right.type.isUnsigned32());
    const bool truth = rule.group == Group::Comparison || rule.group == Group::LogicalXor;
    const Opcode opcode = isUnsigned ? rule.unsignedOpcode : rule.signedOpcode;
    left = Operand::constant(fold(opcode, left.bits, right.bits),
                             isUnsigned && !truth ? kUInt32Type : kInt32Type);
}

/// pointer - pointer: elements between them.
bool pointerDistance(CompilerState& state, Operand& left, Operand& right) {
    pushRight(state, right);
    state.code.emit(Opcode::Subtract);
    if (left.type.targetWidth() > 1) {
        state.code.emitConstant(left.type.targetWidth());
        state.code.emit(Opcode::DivideSigned);
    }
    left = Operand::onStack(kInt32Type);
    return true;
}

} // namespace

bool combine(CompilerState& state, Operand& left, Operand& right, std::uint32_t token, TokenKind op,
             std::uint32_t mark) {
    const OperatorRule& rule = ruleOf(op);
    if (left.isConstant() && right.isConstant() && left.type.isInteger() && right.type.isInteger()) {
        state.code.truncate(mark);
        foldIntegers(rule, left, right);
        return true;
    }
    if (left.type.pointer && (op == TokenKind::Plus || op == TokenKind::Minus)) {
        if (right.type.isInteger())
            return offsetPointer(state, left, right, op == TokenKind::Minus, mark);
        if (op == TokenKind::Minus && right.type == left.type)
            return pointerDistance(state, left, right);
    }
    const std::string_view fault = typeFault(rule.group, left, right);
    if (!fault.empty())
        return state.fail(token, fault);
    const bool shift = rule.group == Group::Shift;
    const bool isUnsigned = left.type.isUnsigned32() || (!shift && right.type.isUnsigned32());
    const bool pointers = left.type.pointer || right.type.pointer;
    const Opcode opcode = left.type.isFixed()        ? rule.fixedOpcode
                          : (isUnsigned || pointers) ? rule.unsignedOpcode
                                                     : rule.signedOpcode;
    const bool truth = rule.group == Group::Comparison || rule.group == Group::LogicalXor;
    Type type = isUnsigned ? kUInt32Type : kInt32Type;
    if (truth)
        type = kInt32Type;
    else if (left.type.isFixed())
        type = kFix32Type;
    if (left.isConstant() && right.isConstant()) {
        state.code.truncate(mark);
        left = Operand::constant(fold(opcode, left.bits, right.bits), type);
        return true;
    }
    pushRight(state, right);
    state.code.emit(opcode);
    left = Operand::onStack(type, truth);
    return true;
}

TokenKind compoundOperator(TokenKind kind) {
    switch (kind) {
    case TokenKind::PlusAssign:
        return TokenKind::Plus;
    case TokenKind::MinusAssign:
        return TokenKind::Minus;
    case TokenKind::StarAssign:
        return TokenKind::Star;
    case TokenKind::SlashAssign:
        return TokenKind::Slash;
    case TokenKind::PercentAssign:
        return TokenKind::Percent;
    case TokenKind::ShiftLeftAssign:
        return TokenKind::ShiftLeft;
    case TokenKind::ShiftRightAssign:
        return TokenKind::ShiftRight;
    case TokenKind::AndAssign:
        return TokenKind::Ampersand;
    case TokenKind::XorAssign:
        return TokenKind::Caret;
    case TokenKind::OrAssign:
        return TokenKind::Pipe;
    default:
        return TokenKind::Invalid;
    }
}

} // namespace Vantor::gpc
