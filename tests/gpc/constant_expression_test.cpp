// Values of conditions: precedence, signedness, what short-circuits away, and what has no value.

#include "gpc/constant_expression.h"

#include <gtest/gtest.h>

#include <string>

namespace Vantor::gpc {
namespace {

TEST(ConstantExpression, HasTheLanguagesPrecedenceAndWrapsAt32Bits) {
    struct Expected {
        std::string_view text;
        std::uint32_t bits;
    };
    const Expected cases[] = {
        {"1 + 2 * 3", 7},
        {"(1 + 2) * 3", 9},
        {"20 - 5 - 3", 12},
        {"1 << 2 + 1", 8},
        {"1 | 6 & 3 ^ 1", 3},
        {"1 == 2 < 3", 1},
        {"1 || 1 ^^ 1 && 0", 1},
        {"0 ^^ 2", 1},
        {"3 ^^ 2", 0},
        {"1 ^^ 1 && 0", 1},
        {"1 ? 2 : 0 ? 3 : 4", 2},
        {"0 ? 1 : 0 ? 3 : 4", 4},
        {"- -1 + ~0 + !5", 0},
        {"-7 / 2", static_cast<std::uint32_t>(-3)},
        {"-7 % 2", static_cast<std::uint32_t>(-1)},
        {"-2147483648 / -1", 0x80000000},
        {"-2147483648 % -1", 0},
        {"2147483647 + 1", 0x80000000},
        {"65536 * 65536", 0},
        {"-1 < 1", 1},
        {"-1 < 4294967295", 0},
        {"-1 > 2147483648", 1},
        {"-8 >> 1", static_cast<std::uint32_t>(-4)},
        {"4294967288 >> 1", 0x7FFFFFFC},
        {"1 << 33", 2},
        {"4294967295 / 2", 0x7FFFFFFF},
        {"-1 / 2147483648", 1},
        {"'A' == 65 && 0x10 == 0b10000", 1},
        {"NAME + 1", 1},
        {"TRUE && !FALSE && BUTTON_2 == 1", 1},
        {"PROTOCOL_PS5 - PROTOCOL_PS4", 10},
        {"0 && 1 / 0", 0},
        {"1 || 1 % 0", 1},
        {"1 ? 5 : 1 / 0", 5},
        {"0 && (1 ? 1 / 0 : 2)", 0},
    };
    for (const Expected& c : cases) {
        const auto value = evaluateConstantExpression(c.text);
        ASSERT_TRUE(value) << c.text;
        EXPECT_EQ(value->bits, c.bits) << c.text;
    }
}

TEST(ConstantExpression, WhatHasNoValueIsRefused) {
    for (const std::string_view text : {"",      "1 +",     "1 2",        "(1",          "1)",         "()",
                                        "1 ? 2", "1 ? 2 :", "1 / 0",      "1 % (2 - 2)", "0 || 1 / 0", "1.5",
                                        "1f",    "\"a\"",   "4294967296", "-2147483649", "'AB'",       "a(1)",
                                        "1 = 1", "x++",     "#",          "1, 2"})
        EXPECT_FALSE(evaluateConstantExpression(text)) << text;
}

TEST(ConstantExpression, DepthIsBoundedButLengthIsNot) {
    const auto nested = [](std::size_t count) {
        return std::string(count, '(') + "1" + std::string(count, ')');
    };
    EXPECT_TRUE(evaluateConstantExpression(nested(200)));
    EXPECT_FALSE(evaluateConstantExpression(nested(100000)));
    EXPECT_FALSE(evaluateConstantExpression(std::string(100000, '!') + "1"));
    std::string chain;
    std::string choices;
    for (int i = 0; i < 100000; ++i)
        chain += "1+";
    for (int i = 0; i < 100000; ++i)
        choices += "0?1:";
    EXPECT_EQ(evaluateConstantExpression(chain + "1")->bits, 100001u);
    EXPECT_FALSE(evaluateConstantExpression(choices + "1"));
}

} // namespace
} // namespace Vantor::gpc
