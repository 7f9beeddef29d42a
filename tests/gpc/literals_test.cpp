// Literal values on both sides of every limit.

#include "gpc/literals.h"

#include <gtest/gtest.h>

#include <limits>

namespace Vantor::gpc {
namespace {

TEST(Literals, IntegersTakeTheSmallestTypeThatHoldsThem) {
    using T = IntegerLiteralType;
    struct Case {
        std::string_view text;
        std::int64_t value;
        bool negated;
        T type;
    };
    const Case cases[] = {
        {"0", 0, false, T::int16},
        {"007", 7, false, T::int16},
        {"32767", 32767, false, T::int16},
        {"32768", 32768, false, T::int32},
        {"32768", -32768, true, T::int16},
        {"32769", -32769, true, T::int32},
        {"2147483647", 2147483647, false, T::int32},
        {"2147483648", 2147483648, false, T::uint32},
        {"2147483648", -2147483648, true, T::int32},
        {"4294967295", 4294967295, false, T::uint32},
        {"0xFFFFffff", 4294967295, false, T::uint32},
        {"0X7f", 127, false, T::int16},
        {"0b1010", -10, true, T::int16},
        {"0B0", 0, true, T::int16},
    };
    for (const Case& c : cases) {
        const auto literal = integerLiteralValue(c.text, c.negated);
        ASSERT_TRUE(literal) << c.text;
        EXPECT_EQ(literal->value, c.value) << c.text;
        EXPECT_EQ(literal->type, c.type) << c.text;
    }
}

TEST(Literals, IntegersOutsideThirtyTwoBitsOrMalformedFail) {
    EXPECT_FALSE(integerLiteralValue("2147483649", true));
    for (const std::string_view text :
         {"4294967296", "18446744073709551616", "0x", "0b", "", "12a", "0b2", "1f"})
        EXPECT_FALSE(integerLiteralValue(text, false)) << text;
}

TEST(Literals, FixedPointRoundsTheFractionHalfUp) {
    struct Case {
        std::string_view text;
        std::int32_t bits;
        double value;
    };
    const Case cases[] = {
        {"1.5", 0x18000, 1.5},
        {".5", 0x8000, 0.5},
        {"5.", 0x50000, 5},
        {"0.0", 0, 0},
        {"0.f", 0, 0},
        {"1f", 0x10000, 1},
        {"2.25F", 0x24000, 2.25},
        {"0.00001", 1, 0.00001},
        {"0.000001", 0, 0.000001},
        {".f", 0, 0},
        {"32767.99999", 0x7FFFFFFF, 32767.99999},
    };
    for (const Case& c : cases) {
        const auto literal = fixedLiteralValue(c.text);
        ASSERT_TRUE(literal) << c.text;
        EXPECT_EQ(literal->bits, c.bits) << c.text;
        EXPECT_DOUBLE_EQ(literal->value, c.value) << c.text;
    }
    for (const std::string_view text :
         {"0f", "00F", "32768.0", "32767.999999", "1.1234567891", "99999999999999999999.0", "f", "", "15"})
        EXPECT_FALSE(fixedLiteralValue(text)) << text;
    EXPECT_TRUE(isFixedLiteral("1F"));
    EXPECT_TRUE(isFixedLiteral("1."));
    EXPECT_FALSE(isFixedLiteral("0x1F"));
    EXPECT_FALSE(isFixedLiteral("15"));
}

TEST(Literals, CharactersPackTheirLastFourBytes) {
    struct Case {
        std::string_view text;
        std::int32_t value;
    };
    const Case cases[] = {
        {"'x'", 'x'},           {"'\xFF'", 255},
        {R"('\n')", 10},        {R"('\r')", 13},
        {R"('\t')", 9},         {R"('\0')", 0},
        {R"('\\')", 92},        {R"('\'')", 39},
        {R"('\"')", 34},        {"'ABC'", 0x414243},
        {"'ABCD'", 0x41424344}, {"'ABCDE'", 0x42434445},
        {R"('\n1')", 0x5C6E31}, {"'\xFF\xFF\xFF\xFF'", -1},
    };
    for (const Case& c : cases)
        EXPECT_EQ(charLiteralValue(c.text), c.value) << c.text;
    for (const std::string_view text : {"''", "'AB'", R"('\x')", "'", "", "x", "'a"})
        EXPECT_FALSE(charLiteralValue(text)) << text;
}

TEST(Literals, DoublesRoundAwayFromZeroWithinThirtyTwoBits) {
    EXPECT_EQ(fix32FromDouble(1.5), 0x18000);
    EXPECT_EQ(fix32FromDouble(0.5 / 65536), 1);
    EXPECT_EQ(fix32FromDouble(-0.5 / 65536), -1);
    EXPECT_EQ(fix32FromDouble(0.49 / 65536), 0);
    EXPECT_EQ(fix32FromDouble(-32768.0), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(fix32FromDouble(2147483647.0 / 65536), std::numeric_limits<std::int32_t>::max());
    EXPECT_FALSE(fix32FromDouble(32768.0));
    EXPECT_FALSE(fix32FromDouble(-2147483649.0 / 65536));
    EXPECT_FALSE(fix32FromDouble(std::numeric_limits<double>::quiet_NaN()));
}

} // namespace
} // namespace Vantor::gpc
