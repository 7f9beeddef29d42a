#include "device/controller_state_decoder.h"
#include "tests/support/bytes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using namespace Vantor;
using test::bytes;
using Bytes = std::vector<std::uint8_t>;
constexpr std::int32_t kHuge = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kTiny = std::numeric_limits<std::int32_t>::min();

// Value n of a full state is n + 1: part 0 holds 1..15, part 1 16..30, part 2 31..45.
StagedState numberedState() {
    StagedState parts{};
    for (std::size_t part = 0; part < kStateParts; ++part)
        for (std::size_t value = 0; value < 15; ++value)
            putBigEndian16(parts.data() + part * kInputReportBytes + 4 + 4 * value,
                           static_cast<std::uint16_t>(part * 15 + value + 1));
    return parts;
}

DecodedState decode(const DecoderLayout& layout, const PartLengths& lengths) {
    DecodedState state;
    state.buttonCount = state.axisCount = 99;
    decodeControllerState(layout, numberedState(), lengths, state);
    return state;
}

TEST(ControllerStateDecoder, TakesButtonsAndAxesFromTheirPlaces) {
    const DecodedState state = decode({}, {64, 64, 64});
    ASSERT_EQ(state.buttonCount, 21);
    ASSERT_EQ(state.axisCount, 17);
    for (std::size_t button = 0; button < 21; ++button)
        EXPECT_EQ(state.values[button], static_cast<float>(button + 1));
    for (std::size_t axis = 0; axis < 17; ++axis)
        EXPECT_EQ(state.values[21 + axis], static_cast<float>(axis + 22));
}

TEST(ControllerStateDecoder, ValuesAreSignedFixedPointRoundedOnce) {
    const struct {
        const char* wire;
        float value;
    } cases[] = {
        {"00 00 00 00", 0.0F},
        {"00 64 00 00", 100.0F},
        {"00 00 80 00", 0.5F},
        {"FF FF 80 00", -0.5F},
        {"FF 9C 00 00", -100.0F},
        {"FF FF FF FF", -0x1p-16F},
        {"80 00 00 00", -32768.F},
        {"7F FF FF FF", 32768.0F},
        {"00 00 00 01", 0x1p-16F},
        {"40 00 00 21", 16384.0F},          // more bits than a float has
        {"01 00 00 03", 256.0F + 0x1p-14F}, // half-way: to the even neighbour
    };
    for (const auto& each : cases) {
        const Bytes wire = bytes(each.wire);
        StagedState parts{};
        std::copy(wire.begin(), wire.end(), parts.begin() + 4);
        DecodedState state;
        decodeControllerState({}, parts, {8, 0, 0}, state);
        ASSERT_EQ(state.buttonCount, 1) << each.wire;
        const auto integer = static_cast<float>(static_cast<std::int16_t>(getBigEndian16(wire.data())));
        const auto fraction = static_cast<float>(getBigEndian16(wire.data() + 2));
        EXPECT_EQ(state.values[0], std::fma(fraction, 0x1p-16F, integer)) << each.wire;
        EXPECT_EQ(state.values[0], each.value) << each.wire;
    }
}

TEST(ControllerStateDecoder, ShortPartsGiveFewerValues) {
    const struct {
        PartLengths lengths;
        std::int32_t buttons;
        std::int32_t axes;
    } cases[] = {
        {{4, 4, 4}, 0, 0},      {{7, 64, 64}, 6, 17},   {{8, 64, 64}, 7, 17},         {{64, 28, 64}, 21, 15},
        {{64, 31, 4}, 21, 0},   {{64, 32, 7}, 21, 1},   {{64, 32, 8}, 21, 2},         {{64, 64, 35}, 21, 16},
        {{64, 64, 36}, 21, 17}, {{65, 65, 65}, 21, 17}, {{9999, 9999, 9999}, 21, 17},
    };
    for (const auto& each : cases) {
        const DecodedState state = decode({}, each.lengths);
        EXPECT_EQ(state.buttonCount, each.buttons) << each.lengths[0] << ' ' << each.lengths[1];
        EXPECT_EQ(state.axisCount, each.axes) << each.lengths[1] << ' ' << each.lengths[2];
    }
}

TEST(ControllerStateDecoder, TheLimitsDoNotFollowTheLayout) {
    DecoderLayout greedy;
    greedy.buttonCounts = {15, 15, 15};
    EXPECT_EQ(decode(greedy, {64, 64, 64}).buttonCount, 21);
    greedy.buttonCounts = {0, 0, 3};
    const DecodedState last = decode(greedy, {64, 64, 64});
    EXPECT_EQ(last.buttonCount, 3);
    EXPECT_EQ(last.values[0], 31.0F);
    EXPECT_EQ(last.axisCount, 17);
}

TEST(ControllerStateDecoder, NoLayoutReadsOutsideOrRunsForever) {
    const DecoderLayout layouts[] = {
        {kHuge, 4, {15, 6, 0}}, {kTiny, 4, {15, 6, 0}},    {0, 4, {kHuge, kHuge, kHuge}},
        {-4, 60, {15, 6, 0}},   {4, kTiny, {15, 6, 0}},    {4, kHuge, {kHuge, 6, 0}},
        {4, -1, {15, 6, 0}},    {kHuge, kHuge, {1, 1, 1}},
    };
    for (const DecoderLayout& layout : layouts) {
        const DecodedState state = decode(layout, {65, 65, 65});
        EXPECT_EQ(state.buttonCount, 0) << layout.stride << ' ' << layout.firstOffset;
        EXPECT_EQ(state.axisCount, 0) << layout.stride << ' ' << layout.firstOffset;
    }
    EXPECT_EQ(decode({1, 0, {0, 0, kHuge}}, {65, 65, 65}).buttonCount, 21);
    EXPECT_EQ(decode({1, 60, {0, 0, kHuge}}, {65, 65, 65}).buttonCount, 2)
        << "a value's four bytes end at 65";
    EXPECT_EQ(decode({4, 4, {kTiny, -1, 0}}, {65, 65, 65}).buttonCount, 0);
}

// ---- Gathering the parts ----

std::optional<ControllerStateType> accept(FragmentStore& store, const std::string& wire,
                                          std::size_t length = 64) {
    const Bytes report = bytes(wire, length);
    return store.accept(report.data(), static_cast<int>(report.size()));
}

TEST(FragmentStore, CompletesInAnyOrderAndEachTypeOnItsOwn) {
    FragmentStore store;
    EXPECT_FALSE(accept(store, "13 00 AC 02 C2"));
    EXPECT_FALSE(accept(store, "14 00 AC 00 D0"));
    EXPECT_FALSE(accept(store, "13 00 AC 00 C0"));
    EXPECT_FALSE(accept(store, "13 00 AC 00 CC", 20)) << "a repeat replaces, but completes nothing";
    EXPECT_EQ(accept(store, "13 00 AC 01 C1", 65), ControllerStateType::input);
    EXPECT_EQ(store.stagedLengths(), (PartLengths{20, 65, 64}));
    EXPECT_EQ(store.staged()[4], 0xCC);
    EXPECT_EQ(store.staged()[65 + 4], 0xC1);
    EXPECT_EQ(store.staged()[130 + 4], 0xC2);

    EXPECT_FALSE(accept(store, "13 00 AC 01")) << "the mask was cleared";
    EXPECT_FALSE(accept(store, "14 00 AC 01"));
    EXPECT_EQ(accept(store, "14 00 AC 02"), ControllerStateType::report);
    EXPECT_EQ(store.staged()[4], 0xD0);
}

TEST(FragmentStore, IgnoresWhatIsNoPart) {
    FragmentStore store;
    ASSERT_FALSE(accept(store, "13 00 AC 00"));
    ASSERT_FALSE(accept(store, "13 00 AC 01"));
    const struct {
        const char* wire;
        std::size_t bytes;
    } strangers[] = {{"13 01 AC 02", 64}, {"13 00 AD 02", 64}, {"13 00 AC 03", 64}, {"13 00 AC FF", 64},
                     {"12 00 AC 02", 64}, {"15 00 AC 02", 64}, {"13 00 AC", 3},     {"13 00 AC 02", 66}};
    for (const auto& each : strangers)
        EXPECT_FALSE(accept(store, each.wire, each.bytes)) << each.wire;
    const Bytes report = bytes("13 00 AC 02", 64);
    for (const int length : {0, -1, kTiny, kHuge})
        EXPECT_FALSE(store.accept(report.data(), length));
    EXPECT_FALSE(store.accept(nullptr, 64));
    EXPECT_EQ(accept(store, "13 00 AC 02", 4), ControllerStateType::input)
        << "four bytes are enough for a part";
}

} // namespace
