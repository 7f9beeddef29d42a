#include "workers/controller_record.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

namespace Vantor {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

struct ClampCase {
    float decoded;
    float button;
    float axis;
};

TEST(ControllerRecord, ClampsEveryValue) {
    for (const ClampCase& value :
         {ClampCase{0, 0, 0}, ClampCase{42.5F, 42.5F, 42.5F}, ClampCase{100, 100, 100},
          ClampCase{150, 100, 100}, ClampCase{-3, 0, -3}, ClampCase{-100, 0, -100}, ClampCase{-250, 0, -100},
          ClampCase{kNan, 0, -100}, ClampCase{kInfinity, 100, 100}, ClampCase{-kInfinity, 0, -100}}) {
        DecodedState state;
        state.values.fill(value.decoded);
        state.buttonCount = 21;
        state.axisCount = 17;
        const ControllerData record = makeControllerData(state, 5, true);
        for (const float button : record.buttons)
            EXPECT_EQ(button, value.button) << value.decoded;
        for (const float axis : record.axes)
            EXPECT_EQ(axis, value.axis) << value.decoded;
    }
}

TEST(ControllerRecord, TakesWhatTheStateHoldsAndRoomAllows) {
    DecodedState state;
    for (std::size_t i = 0; i < state.values.size(); ++i)
        state.values[i] = static_cast<float>(i + 1);
    struct CountCase {
        std::int32_t buttons, axes;
        std::size_t expectedButtons, expectedAxes;
    };
    for (const CountCase& counts : {CountCase{0, 0, 0, 0}, CountCase{15, 9, 15, 9}, CountCase{21, 17, 21, 10},
                                    CountCase{-1, -2, 0, 0}, CountCase{1000, 1000, 21, 10}}) {
        state.buttonCount = counts.buttons;
        state.axisCount = counts.axes;
        const ControllerData record = makeControllerData(state, 0, false);
        for (std::size_t i = 0; i < record.buttons.size(); ++i)
            EXPECT_EQ(record.buttons[i], i < counts.expectedButtons ? static_cast<float>(i + 1) : 0.0F);
        for (std::size_t i = 0; i < record.axes.size(); ++i)
            EXPECT_EQ(record.axes[i], i < counts.expectedAxes ? static_cast<float>(i + 22) : 0.0F);
    }
}

TEST(ControllerRecord, HasItsFieldsWhereOtherProgramsReadThem) {
    DecodedState state;
    state.values[0] = 1;
    state.values[21] = -1;
    state.buttonCount = 1;
    state.axisCount = 1;
    const ControllerData record = makeControllerData(state, 0x0807060504030201, true);
    std::array<std::uint8_t, 256> bytes;
    std::memcpy(bytes.data(), &record, sizeof record);
    std::array<std::uint8_t, 256> expected{};
    expected[2] = 0x80; // 1.0
    expected[3] = 0x3F;
    expected[86] = 0x80; // -1.0
    expected[87] = 0xBF;
    for (std::uint8_t i = 0; i < 8; ++i)
        expected[168 + i] = static_cast<std::uint8_t>(i + 1);
    expected[176] = 1;
    EXPECT_EQ(bytes, expected);
}

} // namespace
} // namespace Vantor
