#include "virtual_keys.h"

#include "host/records.h"

#include <QStringList>

#include <algorithm>
#include <array>
#include <iterator>

namespace Vantor::devhost {

namespace {

/// `count` keys from `first` on have the codes from `virtualKey` on.
struct KeyRun {
    int first; ///< a Qt::Key
    int count;
    std::uint8_t virtualKey;
};

constexpr KeyRun kKeys[] = {
    {Qt::Key_0, 10, 0x30},
    {Qt::Key_A, 26, 0x41},
    {Qt::Key_F1, 24, 0x70},
    {Qt::Key_Backspace, 1, 0x08},
    {Qt::Key_Tab, 1, 0x09},
    {Qt::Key_Backtab, 1, 0x09},
    {Qt::Key_Clear, 1, 0x0C},
    {Qt::Key_Return, 1, 0x0D},
    {Qt::Key_Enter, 1, 0x0D},
    {Qt::Key_Pause, 1, 0x13},
    {Qt::Key_CapsLock, 1, 0x14},
    {Qt::Key_Escape, 1, 0x1B},
    {Qt::Key_Space, 1, 0x20},
    {Qt::Key_PageUp, 1, 0x21},
    {Qt::Key_PageDown, 1, 0x22},
    {Qt::Key_End, 1, 0x23},
    {Qt::Key_Home, 1, 0x24},
    {Qt::Key_Left, 4, 0x25}, // left, up, right, down
    {Qt::Key_Print, 1, 0x2C},
    {Qt::Key_SysReq, 1, 0x2C},
    {Qt::Key_Insert, 1, 0x2D},
    {Qt::Key_Delete, 1, 0x2E},
    {Qt::Key_Menu, 1, 0x5D},
    {Qt::Key_NumLock, 1, 0x90},
    {Qt::Key_ScrollLock, 1, 0x91},
    {Qt::Key_Shift, 1, 0xA0},
    {Qt::Key_Control, 1, 0xA2},
    {Qt::Key_Alt, 1, 0xA4},
    {Qt::Key_AltGr, 1, 0xA5},
    {Qt::Key_Meta, 1, 0x5B},
    // Symbols, and what Shift makes of them.
    {Qt::Key_Semicolon, 1, 0xBA},
    {Qt::Key_Colon, 1, 0xBA},
    {Qt::Key_Equal, 1, 0xBB},
    {Qt::Key_Plus, 1, 0xBB},
    {Qt::Key_Comma, 1, 0xBC},
    {Qt::Key_Less, 1, 0xBC},
    {Qt::Key_Minus, 1, 0xBD},
    {Qt::Key_Underscore, 1, 0xBD},
    {Qt::Key_Period, 1, 0xBE},
    {Qt::Key_Greater, 1, 0xBE},
    {Qt::Key_Slash, 1, 0xBF},
    {Qt::Key_Question, 1, 0xBF},
    {Qt::Key_QuoteLeft, 1, 0xC0},
    {Qt::Key_AsciiTilde, 1, 0xC0},
    {Qt::Key_BracketLeft, 1, 0xDB},
    {Qt::Key_BraceLeft, 1, 0xDB},
    {Qt::Key_Backslash, 1, 0xDC},
    {Qt::Key_Bar, 1, 0xDC},
    {Qt::Key_BracketRight, 1, 0xDD},
    {Qt::Key_BraceRight, 1, 0xDD},
    {Qt::Key_Apostrophe, 1, 0xDE},
    {Qt::Key_QuoteDbl, 1, 0xDE},
    {Qt::Key_Exclam, 1, 0x31},
    {Qt::Key_At, 1, 0x32},
    {Qt::Key_NumberSign, 3, 0x33}, // # $ %
    {Qt::Key_AsciiCircum, 1, 0x36},
    {Qt::Key_Ampersand, 1, 0x37},
    {Qt::Key_Asterisk, 1, 0x38},
    {Qt::Key_ParenLeft, 1, 0x39},
    {Qt::Key_ParenRight, 1, 0x30},
};

/// Keys of the numeric pad whose codes are others than on the rest of the keyboard.
constexpr KeyRun kPadKeys[] = {
    {Qt::Key_0, 10, 0x60},    {Qt::Key_Asterisk, 1, 0x6A}, {Qt::Key_Plus, 1, 0x6B},
    {Qt::Key_Minus, 1, 0x6D}, {Qt::Key_Period, 1, 0x6E},   {Qt::Key_Comma, 1, 0x6E},
    {Qt::Key_Slash, 1, 0x6F},
};

/// By keysym: what Qt's key does not tell apart.
constexpr KeyRun kModifierKeysyms[] = {
    {0xFFE1, 4, 0xA0}, // left and right Shift, left and right Ctrl
    {0xFFE9, 2, 0xA4}, // left and right Alt
    {0xFFEB, 2, 0x5B}, // left and right Windows
    {0xFE03, 1, 0xA5}, // AltGr
};

struct SidelessKey {
    std::uint8_t virtualKey;
    std::uint8_t left;
    std::uint8_t right;
    std::uint32_t rightScanCode; ///< bits that only the right one's scan code has
    std::uint32_t leftBit;
    std::uint32_t rightBit;
};
constexpr std::uint32_t kExtendedScanCode = 0x100;
constexpr SidelessKey kSidelessKeys[] = {
    {0x10, 0xA0, 0xA1, 0x14, KeyModifier::kLeftShift, KeyModifier::kRightShift}, // scan codes 0x2A, 0x36
    {0x11, 0xA2, 0xA3, kExtendedScanCode, KeyModifier::kLeftCtrl, KeyModifier::kRightCtrl},
    {0x12, 0xA4, 0xA5, kExtendedScanCode, KeyModifier::kLeftAlt, KeyModifier::kRightAlt},
    {0x00, 0x5B, 0x5C, 0, KeyModifier::kLeftWindows, KeyModifier::kRightWindows},
};

template<std::size_t Count>
std::uint8_t find(const KeyRun (&runs)[Count], int key) {
    const auto* run = std::find_if(std::begin(runs), std::end(runs), [key](const KeyRun& candidate) {
        return key >= candidate.first && key < candidate.first + candidate.count;
    });
    return run == std::end(runs) ? std::uint8_t{0}
                                 : static_cast<std::uint8_t>(run->virtualKey + (key - run->first));
}

const SidelessKey* modifierOf(std::uint8_t virtualKey) {
    const auto* key = std::find_if(std::begin(kSidelessKeys), std::end(kSidelessKeys),
                                   [virtualKey](const SidelessKey& candidate) {
                                       return virtualKey == candidate.left || virtualKey == candidate.right;
                                   });
    return key == std::end(kSidelessKeys) ? nullptr : key;
}

/// Windows may name a modifier without its side.
std::uint8_t withSide(std::uint32_t virtualKey, std::uint32_t scanCode) {
    for (const SidelessKey& key : kSidelessKeys) {
        if (virtualKey != 0 && virtualKey == key.virtualKey)
            return (scanCode & key.rightScanCode) == key.rightScanCode ? key.right : key.left;
    }
    return virtualKey < KeyboardData::kKeys ? static_cast<std::uint8_t>(virtualKey) : std::uint8_t{0};
}

} // namespace

NativeKeys nativeKeysOf(const QString& platformName) {
    if (platformName == QLatin1String("windows"))
        return NativeKeys::virtualKeys;
    if (platformName == QLatin1String("xcb") || platformName.startsWith(QLatin1String("wayland")))
        return NativeKeys::keysyms;
    return NativeKeys::unknown;
}

std::uint8_t virtualKeyOf(const QKeyEvent& event, NativeKeys native) {
    if (native == NativeKeys::virtualKeys && event.nativeVirtualKey() != 0)
        return withSide(event.nativeVirtualKey(), event.nativeScanCode());
    if (native == NativeKeys::keysyms) {
        if (const auto modifier = find(kModifierKeysyms, static_cast<int>(event.nativeVirtualKey())))
            return modifier;
    }
    if (event.modifiers().testFlag(Qt::KeypadModifier)) {
        if (const auto padKey = find(kPadKeys, event.key()))
            return padKey;
    }
    return find(kKeys, event.key());
}

std::uint32_t modifierBitOf(std::uint8_t virtualKey) {
    const SidelessKey* key = modifierOf(virtualKey);
    if (key == nullptr)
        return 0;
    return virtualKey == key->left ? key->leftBit : key->rightBit;
}

std::uint8_t sidelessKeyOf(std::uint8_t virtualKey) {
    const SidelessKey* key = modifierOf(virtualKey);
    return key == nullptr ? std::uint8_t{0} : key->virtualKey;
}

} // namespace Vantor::devhost
