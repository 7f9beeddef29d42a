#include "input_pattern.h"

#include <array>

namespace Vantor::devhost {

KeyboardData patternKeyboard(std::uint64_t step) {
    constexpr std::uint64_t kFirstLetter = 0x41;
    constexpr std::uint64_t kLetters = 26;
    constexpr std::uint8_t kLeftShift = 0xA0;
    constexpr std::uint8_t kShift = 0x10;
    KeyboardData keyboard;
    if (step % 4 < 2)
        keyboard.keys[kFirstLetter + step / 4 % kLetters] = 1;
    if (step % 16 >= 8) {
        keyboard.modifiers = KeyModifier::kLeftShift;
        keyboard.keys[kLeftShift] = 1;
        keyboard.keys[kShift] = 1;
    }
    return keyboard;
}

MouseData patternMouse(std::uint64_t step) {
    struct Move {
        std::int32_t x, y;
    };
    constexpr std::array<Move, 4> kSquare{
        {{kPatternMotion, 0}, {0, kPatternMotion}, {-kPatternMotion, 0}, {0, -kPatternMotion}}};
    constexpr std::uint64_t kRound = 32;
    const Move move = kSquare[step % kSquare.size()];
    const std::uint64_t place = step % kRound;
    MouseData mouse;
    mouse.motionX = move.x;
    mouse.motionY = move.y;
    if (place == 0 || place == kRound / 2)
        mouse.wheel = place == 0 ? 1 : -1;
    mouse.buttons = place < 4 ? MouseButton::kLeft : std::uint16_t{0};
    return mouse;
}

ControllerData patternController(std::uint64_t step) {
    constexpr std::uint64_t kButtonSteps = 8;
    constexpr std::uint64_t kSweepSteps = 80;
    constexpr float kFull = 100;
    constexpr float kPerStep = 4 * kFull / kSweepSteps;
    ControllerData controller;
    controller.buttons[step / kButtonSteps % ControllerData::kButtons] = kFull;
    const std::uint64_t place = step % kSweepSteps;
    const std::uint64_t distance = place <= kSweepSteps / 2 ? place : kSweepSteps - place;
    controller.axes.fill(-kFull + kPerStep * static_cast<float>(distance));
    controller.connected = 1;
    return controller;
}

} // namespace Vantor::devhost
