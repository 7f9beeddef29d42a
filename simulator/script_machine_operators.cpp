// Operators and math builtins: instructions that pop operands and push a result, and touch nothing else.

#include "simulator/script_machine_arithmetic.h"
#include "simulator/script_machine_state.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace Vantor::simulator {

namespace {

using arithmetic::Bits;
using arithmetic::doubleFromFixed;
using arithmetic::fixedFromDouble;
using gpc::Opcode;

constexpr Bits kFractionMask = 0xFFFF;
constexpr Bits kFixedHalf = 0x8000;

constexpr std::int32_t asSigned(Bits value) {
    return static_cast<std::int32_t>(value);
}

template<auto Function>
void unary(ScriptState& s, const ScriptInstruction&) {
    s.push(static_cast<Bits>(Function(s.pop())));
}

template<auto Function>
void binary(ScriptState& s, const ScriptInstruction&) {
    const Bits right = s.pop();
    s.push(static_cast<Bits>(Function(s.pop(), right)));
}

template<auto Function>
void ternary(ScriptState& s, const ScriptInstruction&) {
    const Bits third = s.pop();
    const Bits second = s.pop();
    s.push(static_cast<Bits>(Function(s.pop(), second, third)));
}

Bits shiftRightSigned(Bits a, Bits b) {
    return static_cast<Bits>(asSigned(a) >> (b & 31));
}

Bits minSigned(Bits a, Bits b) {
    return asSigned(a) < asSigned(b) ? a : b;
}

Bits maxSigned(Bits a, Bits b) {
    return asSigned(a) > asSigned(b) ? a : b;
}

Bits clampSigned(Bits value, Bits low, Bits high) {
    return minSigned(maxSigned(value, low), high);
}

Bits clampUnsigned(Bits value, Bits low, Bits high) {
    return std::min(std::max(value, low), high);
}

Bits lerp(Bits a, Bits b, Bits t) {
    return a + arithmetic::multiplyFixed(b - a, t);
}

Bits floorFixed(Bits a) {
    return a & ~kFractionMask;
}

Bits ceilFixed(Bits a) {
    return (a + kFractionMask) & ~kFractionMask;
}

Bits roundFixed(Bits a) {
    const bool negative = asSigned(a) < 0;
    const Bits rounded = ((negative ? 0 - a : a) + kFixedHalf) & ~kFractionMask;
    return negative ? 0 - rounded : rounded;
}

Bits sqrtFixed(Bits a) {
    // 47 bits at most: exact in a double, and far enough from the next square for the root to be rounded down
    // right.
    return asSigned(a) <= 0 ? 0 : static_cast<Bits>(std::sqrt(static_cast<double>(a) * 65536.0));
}

Bits powFixed(Bits a, Bits b) {
    return fixedFromDouble(std::pow(doubleFromFixed(a), doubleFromFixed(b)));
}

Bits sinFixed(Bits a) {
    return fixedFromDouble(std::sin(doubleFromFixed(a)));
}

Bits cosFixed(Bits a) {
    return fixedFromDouble(std::cos(doubleFromFixed(a)));
}

Bits tanFixed(Bits a) {
    return fixedFromDouble(std::tan(doubleFromFixed(a)));
}

Bits atan2Fixed(Bits y, Bits x) {
    return fixedFromDouble(std::atan2(doubleFromFixed(y), doubleFromFixed(x)));
}

struct Difference {
    std::uint64_t magnitude;
    bool negative;
};

Difference difference(Bits a, Bits b) {
    const std::int64_t value = static_cast<std::int64_t>(asSigned(a)) - asSigned(b);
    return {static_cast<std::uint64_t>(value < 0 ? -value : value), value < 0};
}

void map(ScriptState& s, const ScriptInstruction&) {
    const Bits outHigh = s.pop();
    const Bits outLow = s.pop();
    const Bits inHigh = s.pop();
    const Bits inLow = s.pop();
    const Difference way = difference(s.pop(), inLow);
    const Difference from = difference(inHigh, inLow);
    const Difference to = difference(outHigh, outLow);
    if (from.magnitude == 0) {
        s.push(outLow);
        return;
    }
    // Each factor is below 2^32, so the product of the magnitudes fits.
    const auto moved = static_cast<Bits>(way.magnitude * to.magnitude / from.magnitude);
    const bool negative = (way.negative != to.negative) != from.negative;
    s.push(negative ? outLow - moved : outLow + moved);
}

void rand(ScriptState& s, const ScriptInstruction&) {
    s.push(s.nextRandom() >> 16);
}

void intRand(ScriptState& s, const ScriptInstruction&) {
    const std::int32_t high = s.popSigned();
    const std::int32_t low = s.popSigned();
    const std::int64_t choices = static_cast<std::int64_t>(high) - low + 1;
    const auto drawn = static_cast<std::int64_t>(s.nextRandom());
    s.push(static_cast<Bits>(choices <= 0 ? low : low + drawn % choices));
}

constexpr std::array kRows{
    ScriptHandlerRow{Opcode::Negate, unary<[](Bits a) { return 0 - a; }>},
    ScriptHandlerRow{Opcode::LogicalNot, unary<[](Bits a) { return a == 0; }>},
    ScriptHandlerRow{Opcode::BitNot, unary<[](Bits a) { return ~a; }>},
    ScriptHandlerRow{Opcode::CastU8, unary<[](Bits a) { return static_cast<std::uint8_t>(a); }>},
    ScriptHandlerRow{Opcode::CastS8, unary<[](Bits a) { return static_cast<std::int8_t>(a); }>},
    ScriptHandlerRow{Opcode::CastU16, unary<[](Bits a) { return static_cast<std::uint16_t>(a); }>},
    ScriptHandlerRow{Opcode::CastS16, unary<[](Bits a) { return static_cast<std::int16_t>(a); }>},
    ScriptHandlerRow{Opcode::ToBool, unary<[](Bits a) { return a != 0; }>},
    ScriptHandlerRow{Opcode::Add, binary<[](Bits a, Bits b) { return a + b; }>},
    ScriptHandlerRow{Opcode::Subtract, binary<[](Bits a, Bits b) { return a - b; }>},
    ScriptHandlerRow{Opcode::Multiply, binary<[](Bits a, Bits b) { return a * b; }>},
    ScriptHandlerRow{Opcode::DivideSigned, binary<arithmetic::divideSigned>},
    ScriptHandlerRow{Opcode::DivideUnsigned, binary<arithmetic::divideUnsigned>},
    ScriptHandlerRow{Opcode::ModuloSigned, binary<arithmetic::remainderSigned>},
    ScriptHandlerRow{Opcode::ModuloUnsigned, binary<arithmetic::remainderUnsigned>},
    ScriptHandlerRow{Opcode::FixMultiply, binary<arithmetic::multiplyFixed>},
    ScriptHandlerRow{Opcode::FixDivide, binary<arithmetic::divideFixed>},
    ScriptHandlerRow{Opcode::IntToFix, unary<[](Bits a) { return a << 16; }>},
    ScriptHandlerRow{Opcode::FixToInt, unary<arithmetic::fixedToInteger>},
    ScriptHandlerRow{Opcode::BitAnd, binary<[](Bits a, Bits b) { return a & b; }>},
    ScriptHandlerRow{Opcode::BitOr, binary<[](Bits a, Bits b) { return a | b; }>},
    ScriptHandlerRow{Opcode::BitXor, binary<[](Bits a, Bits b) { return a ^ b; }>},
    ScriptHandlerRow{Opcode::ShiftLeft, binary<[](Bits a, Bits b) { return a << (b & 31); }>},
    ScriptHandlerRow{Opcode::ShiftRightSigned, binary<shiftRightSigned>},
    ScriptHandlerRow{Opcode::ShiftRightUnsigned, binary<[](Bits a, Bits b) { return (a >> (b & 31)); }>},
    ScriptHandlerRow{Opcode::Equal, binary<[](Bits a, Bits b) { return a == b; }>},
    ScriptHandlerRow{Opcode::NotEqual, binary<[](Bits a, Bits b) { return a != b; }>},
    ScriptHandlerRow{Opcode::LessSigned, binary<[](Bits a, Bits b) { return asSigned(a) < asSigned(b); }>},
    ScriptHandlerRow{Opcode::LessEqualSigned,
                     binary<[](Bits a, Bits b) { return asSigned(a) <= asSigned(b); }>},
    ScriptHandlerRow{Opcode::GreaterSigned,
                     binary<[](Bits a, Bits b) { return (asSigned(a) > asSigned(b)); }>},
    ScriptHandlerRow{Opcode::GreaterEqualSigned,
                     binary<[](Bits a, Bits b) { return (asSigned(a) >= asSigned(b)); }>},
    ScriptHandlerRow{Opcode::LessUnsigned, binary<[](Bits a, Bits b) { return a < b; }>},
    ScriptHandlerRow{Opcode::LessEqualUnsigned, binary<[](Bits a, Bits b) { return a <= b; }>},
    ScriptHandlerRow{Opcode::GreaterUnsigned, binary<[](Bits a, Bits b) { return (a > b); }>},
    ScriptHandlerRow{Opcode::GreaterEqualUnsigned, binary<[](Bits a, Bits b) { return (a >= b); }>},
    ScriptHandlerRow{Opcode::LogicalXor, binary<[](Bits a, Bits b) { return (a != 0) != (b != 0); }>},
    ScriptHandlerRow{Opcode::Abs, unary<[](Bits a) { return asSigned(a) < 0 ? 0 - a : a; }>},
    ScriptHandlerRow{Opcode::MinSigned, binary<minSigned>},
    ScriptHandlerRow{Opcode::MaxSigned, binary<maxSigned>},
    ScriptHandlerRow{Opcode::ClampSigned, ternary<clampSigned>},
    ScriptHandlerRow{Opcode::MinUnsigned, binary<[](Bits a, Bits b) { return std::min(a, b); }>},
    ScriptHandlerRow{Opcode::MaxUnsigned, binary<[](Bits a, Bits b) { return std::max(a, b); }>},
    ScriptHandlerRow{Opcode::ClampUnsigned, ternary<clampUnsigned>},
    ScriptHandlerRow{Opcode::Lerp, ternary<lerp>},
    ScriptHandlerRow{Opcode::Map, map},
    ScriptHandlerRow{Opcode::Floor, unary<floorFixed>},
    ScriptHandlerRow{Opcode::Ceil, unary<ceilFixed>},
    ScriptHandlerRow{Opcode::Round, unary<roundFixed>},
    ScriptHandlerRow{Opcode::Sqrt, unary<sqrtFixed>},
    ScriptHandlerRow{Opcode::Pow, binary<powFixed>},
    ScriptHandlerRow{Opcode::Sin, unary<sinFixed>},
    ScriptHandlerRow{Opcode::Cos, unary<cosFixed>},
    ScriptHandlerRow{Opcode::Tan, unary<tanFixed>},
    ScriptHandlerRow{Opcode::Atan2, binary<atan2Fixed>},
    ScriptHandlerRow{Opcode::Rand, rand},
    ScriptHandlerRow{Opcode::IntRand, intRand},
};

} // namespace

std::span<const ScriptHandlerRow> arithmeticHandlers() {
    return kRows;
}

} // namespace Vantor::simulator
