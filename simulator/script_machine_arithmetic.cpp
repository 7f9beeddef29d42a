#include "simulator/script_machine_arithmetic.h"

#include <cmath>
#include <limits>

namespace Vantor::simulator::arithmetic {

namespace {

constexpr std::int64_t kFixedOne = 65536;
constexpr auto kMostNegative = std::numeric_limits<std::int32_t>::min();

std::int32_t asSigned(Bits value) {
    return static_cast<std::int32_t>(value);
}

/// numerator / denominator, rounded half away from zero; the denominator is not 0.
std::int64_t divideRounded(std::int64_t numerator, std::int64_t denominator) {
    const bool negative = (numerator < 0) != (denominator < 0);
    const std::int64_t magnitude = numerator < 0 ? -numerator : numerator;
    const std::int64_t divisor = denominator < 0 ? -denominator : denominator;
    const std::int64_t rounded = (magnitude + divisor / 2) / divisor;
    // An odd divisor has no exact half, so rounding its half down changes nothing.
    return negative ? -rounded : rounded;
}

} // namespace

Bits divideSigned(Bits left, Bits right) {
    if (right == 0) {
        return 0;
    }
    if (asSigned(left) == kMostNegative && asSigned(right) == -1) {
        return left;
    }
    return static_cast<Bits>(asSigned(left) / asSigned(right));
}

Bits divideUnsigned(Bits left, Bits right) {
    return right == 0 ? 0 : left / right;
}

Bits remainderSigned(Bits left, Bits right) {
    if (right == 0 || asSigned(right) == -1) {
        return 0;
    }
    return static_cast<Bits>(asSigned(left) % asSigned(right));
}

Bits remainderUnsigned(Bits left, Bits right) {
    return right == 0 ? 0 : left % right;
}

Bits multiplyFixed(Bits left, Bits right) {
    const std::int64_t product = static_cast<std::int64_t>(asSigned(left)) * asSigned(right);
    return static_cast<Bits>(divideRounded(product, kFixedOne));
}

Bits divideFixed(Bits left, Bits right) {
    if (right == 0) {
        return 0;
    }
    return static_cast<Bits>(divideRounded(asSigned(left) * kFixedOne, asSigned(right)));
}

Bits fixedToInteger(Bits value) {
    return static_cast<Bits>(asSigned(value) / kFixedOne);
}

Bits fixedFromDouble(double value) {
    if (std::isnan(value)) {
        return 0;
    }
    const double scaled = std::round(value * static_cast<double>(kFixedOne));
    constexpr double kLowest = std::numeric_limits<std::int32_t>::min();
    constexpr double kHighest = std::numeric_limits<std::int32_t>::max();
    return static_cast<Bits>(static_cast<std::int32_t>(std::fmin(std::fmax(scaled, kLowest), kHighest)));
}

double doubleFromFixed(Bits value) {
    return asSigned(value) / static_cast<double>(kFixedOne);
}

} // namespace Vantor::simulator::arithmetic
