// Windows virtual-key codes of Qt's key events, which is what the keyboard's record speaks in on every
// system. Entry point: virtualKeyOf(). Pure functions; any thread.

#pragma once

#include <QKeyEvent>
#include <QString>

#include <cstdint>

namespace Vantor::devhost {

/// What QKeyEvent::nativeVirtualKey() holds on the window system in use.
enum class NativeKeys : std::uint8_t {
    unknown,
    keysyms,    ///< X11 and Wayland
    virtualKeys ///< Windows
};
NativeKeys nativeKeysOf(const QString& platformName);

/// 1..255, or 0 for a key that has no code. Modifiers get the code of their side, the left one where the
/// system does not tell. Without native codes it goes by Qt's key, with the symbols where a US keyboard has
/// them.
std::uint8_t virtualKeyOf(const QKeyEvent& event, NativeKeys native);

/// KeyModifier bit of a modifier's code; 0 for any other key.
std::uint32_t modifierBitOf(std::uint8_t virtualKey);
/// The code that Windows gives to either side of a modifier; 0 for any other key.
std::uint8_t sidelessKeyOf(std::uint8_t virtualKey);

} // namespace Vantor::devhost
