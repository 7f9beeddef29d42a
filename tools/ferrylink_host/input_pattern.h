// Scripted input: what a keyboard, a mouse and a controller do when nobody is there to use them. Every step
// is a function of its number alone, so that whoever receives the input can tell what it should be. Any
// thread.

#pragma once

#include "host/records.h"

#include <cstdint>

namespace Vantor::devhost {

/// A letter, held for two steps in four, from A to Z over and over; left Shift held for eight steps in
/// sixteen.
KeyboardData patternKeyboard(std::uint64_t step);

/// Motion and wheel of this step and the held buttons; totals and stamp are for the publisher to fill in.
/// Four steps go round a square of kPatternMotion counts; the wheel turns one notch up and one down, the left
/// button is held for four steps, in every thirty-two.
MouseData patternMouse(std::uint64_t step);
inline constexpr std::int32_t kPatternMotion = 8;

/// One button after the other, eight steps each, and all axes between -100 and 100 and back in eighty steps.
/// Connected.
ControllerData patternController(std::uint64_t step);

} // namespace Vantor::devhost
