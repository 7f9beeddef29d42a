#include "workers/kmg_reports.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace Vantor {

namespace {

// ---- USB report descriptors ----

constexpr std::array<std::uint8_t, 43> kKeyboardDescriptor{
    0x05, 0x01, 0x09, 0x06, 0xA1, 0x01,                                                 // keyboard
    0x05, 0x07, 0x19, 0xE0, 0x29, 0xE7, 0x15, 0x00, 0x25, 0x01, 0x75, 0x01, 0x95, 0x08, // 8 modifiers
    0x81, 0x02, 0x81, 0x03,                                                             // constant byte
    0x95, 0x06, 0x75, 0x08, 0x15, 0x00, 0x26, 0xA4, 0x00, 0x05, 0x07,                   // 6 usages
    0x19, 0x00, 0x2A, 0xA4, 0x00, 0x81, 0x00, 0xC0};

constexpr std::array<std::uint8_t, 68> kMouseDescriptor{
    0x05, 0x01, 0x09, 0x02, 0xA1, 0x01,                                                 // mouse
    0x06, 0x00, 0xFF, 0x15, 0x00, 0x25, 0x01, 0x75, 0x08, 0x95, 0x01, 0x09, 0x01,       // vendor byte
    0x81, 0x02, 0x05, 0x01, 0x16, 0x00, 0x80, 0x26, 0xFF, 0x7F, 0x75, 0x10, 0x95, 0x02, // X, Y
    0x09, 0x30, 0x09, 0x31, 0x81, 0x06,                                                 //
    0x15, 0x81, 0x25, 0x7F, 0x75, 0x08, 0x95, 0x01, 0x09, 0x38, 0x81, 0x06,             // wheel
    0x05, 0x09, 0x19, 0x01, 0x29, 0x10, 0x15, 0x00, 0x25, 0x01, 0x95, 0x10, 0x75, 0x01, // 16 buttons
    0x81, 0x02, 0xC0};

constexpr std::array<std::uint8_t, 69> kControllerDescriptor{
    0x05, 0x01, 0x09, 0x05, 0xA1, 0x01,                                                 // gamepad
    0x05, 0x09, 0x19, 0x01, 0x29, 0x0E, 0x15, 0x00, 0x25, 0x01, 0x75, 0x01, 0x95, 0x14, // 20 bits
    0x81, 0x02, 0x05, 0x01, 0x09, 0x39, 0x15, 0x01, 0x25, 0x08, 0x35, 0x00, 0x46, 0x3B, // hat
    0x01, 0x65, 0x14, 0x75, 0x04, 0x95, 0x01, 0x81, 0x42, 0x65, 0x00,                   //
    0x09, 0x30, 0x09, 0x31, 0x09, 0x32, 0x09, 0x35, 0x09, 0x33, 0x09, 0x34,             // X Y Z Rz Rx Ry
    0x15, 0x00, 0x26, 0xFF, 0x00, 0x75, 0x08, 0x95, 0x06, 0x81, 0x02, 0xC0};

/// By KmgDevice.
constexpr std::array<std::span<const std::uint8_t>, kKmgDevices> kDescriptors{
    kKeyboardDescriptor, kMouseDescriptor, kControllerDescriptor};
static_assert(kKmgDevices + kKeyboardDescriptor.size() + kMouseDescriptor.size() +
                  kControllerDescriptor.size() ==
              KmgStartStream::kMaxBytes);

constexpr std::uint8_t kStartCommand = 0x51;
constexpr std::size_t kStartPieceBytes = 60;
constexpr std::size_t kStartPieceOffset = 5;

// ---- The input packet; offsets are those of the report, report id included ----

constexpr std::uint8_t kInputCommand = 0x52;
constexpr std::uint8_t kInputPayloadBytes = 25;
constexpr std::size_t kModifiersOffset = 5;
constexpr std::size_t kUsagesOffset = 7;
constexpr std::size_t kUsages = 6;
constexpr std::size_t kMouseMarkOffset = 13;
constexpr std::uint8_t kMouseMark = 0x01;
constexpr std::size_t kMotionOffset = 14; ///< X, Y, wheel
constexpr std::size_t kMotionBytes = 5;
constexpr std::size_t kMouseButtonsOffset = 19;
constexpr std::size_t kControllerBitsOffset = 21;
constexpr std::size_t kControllerBitBytes = 3;
constexpr std::size_t kSticksOffset = 24;
constexpr std::size_t kTriggersOffset = 28;
constexpr std::uint8_t kCentredStick = 0x7F;

constexpr OutputReport makeNeutralReport() {
    OutputReport report{0x00, kInputCommand, 0x00, kInputPayloadBytes};
    std::fill_n(report.begin() + kSticksOffset, kTriggersOffset - kSticksOffset, kCentredStick);
    return report;
}

void putLittleEndian16(std::uint8_t* bytes, std::uint16_t value) noexcept {
    bytes[0] = static_cast<std::uint8_t>(value);
    bytes[1] = static_cast<std::uint8_t>(value >> 8);
}

// ---- Keyboard ----

/// A run of virtual-key codes and the USB usages of each.
struct KeyRun {
    std::uint8_t firstKey;
    std::array<std::uint8_t, 12> usages; ///< 0: none, or behind the run's end
};

constexpr std::array kKeyRuns{
    KeyRun{0x08, {0x2A, 0x2B}},                                           // backspace, tab
    KeyRun{0x0D, {0x28}},                                                 // return
    KeyRun{0x13, {0x48, 0x39}},                                           // pause, caps lock
    KeyRun{0x1B, {0x29}},                                                 // escape
    KeyRun{0x20, {0x2C, 0x4B, 0x4E, 0x4D, 0x4A, 0x50, 0x52, 0x4F, 0x51}}, // space, page up .. arrow down
    KeyRun{0x2C, {0x46, 0x49, 0x4C}},                                     // print, insert, delete
    KeyRun{0x30, {0x27, 0x1E, 0x1F, 0x20, 0x21, 0x22, 0x23, 0x24, 0x25, 0x26}},             // 0..9
    KeyRun{0x41, {0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0A, 0x0B, 0x0C, 0x0D, 0x0E, 0x0F}}, // A..L
    KeyRun{0x4D, {0x10, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18, 0x19, 0x1A, 0x1B}}, // M..X
    KeyRun{0x59, {0x1C, 0x1D}},                                                             // Y, Z
    KeyRun{0x60, {0x62, 0x59, 0x5A, 0x5B, 0x5C, 0x5D, 0x5E, 0x5F, 0x60, 0x61, 0x55, 0x57}}, // pad 0..9 * +
    KeyRun{0x6D, {0x56, 0x63, 0x54}},                                                       // pad - . /
    KeyRun{0x70, {0x3A, 0x3B, 0x3C, 0x3D, 0x3E, 0x3F, 0x40, 0x41, 0x42, 0x43, 0x44, 0x45}}, // F1..F12
    KeyRun{0x90, {0x53, 0x47}},                               // num lock, scroll lock
    KeyRun{0xBA, {0x33, 0x2E, 0x36, 0x2D, 0x37, 0x38, 0x35}}, // ; = , - . / `
    KeyRun{0xDB, {0x2F, 0x31, 0x30, 0x34}},                   // [ \ ] '
};

constexpr auto kUsageOfKey = [] {
    std::array<std::uint8_t, KeyboardData::kKeys> usages{};
    for (const KeyRun& run : kKeyRuns)
        for (std::size_t i = 0; i < run.usages.size(); ++i)
            if (run.usages[i] != 0)
                usages[run.firstKey + i] = run.usages[i];
    return usages;
}();

/// The record's modifier bits in the order of the bits of a USB keyboard report.
constexpr std::array kUsbModifiers{
    KeyModifier::kLeftCtrl,  KeyModifier::kLeftShift,  KeyModifier::kLeftAlt,  KeyModifier::kLeftWindows,
    KeyModifier::kRightCtrl, KeyModifier::kRightShift, KeyModifier::kRightAlt, KeyModifier::kRightWindows};

// ---- Controller ----

// Positions among the record's values: its buttons, and its axes behind them.
constexpr std::size_t kUp = 9;
constexpr std::size_t kDown = 10;
constexpr std::size_t kLeft = 11;
constexpr std::size_t kRight = 12;
constexpr std::array<std::size_t, 4> kStickAxes{23, 24, 21, 22};
constexpr std::array<std::size_t, 2> kTriggerButtons{7, 4};
constexpr float kPressedAbove = 50;

struct ControllerBit {
    std::uint8_t byte; ///< of the controller report
    std::uint8_t bit;
    std::uint8_t button;
};
constexpr std::array<ControllerBit, 15> kControllerBits{{{0, 0, 16},
                                                         {0, 1, 15},
                                                         {0, 2, 14},
                                                         {0, 3, 13},
                                                         {0, 4, 6},
                                                         {0, 5, 3},
                                                         {1, 0, 1},
                                                         {1, 1, 2},
                                                         {1, 2, 8},
                                                         {1, 3, 5},
                                                         {1, 4, 0},
                                                         {1, 5, 17},
                                                         {1, 6, 18},
                                                         {1, 7, 19},
                                                         {2, 0, 20}}};

/// By vertical (none, up, down) and horizontal (none, right, left) direction.
constexpr std::array<std::array<std::uint8_t, 3>, 3> kHats{{{0, 3, 7}, {1, 2, 8}, {5, 4, 6}}};
constexpr std::size_t kHatByte = 2;
constexpr unsigned kHatShift = 4;

/// Truncates to 0..255. NaN becomes 0.
std::uint8_t toByte(double value) noexcept {
    constexpr double kMax = std::numeric_limits<std::uint8_t>::max();
    return value > 0 ? static_cast<std::uint8_t>(std::min(value, kMax)) : std::uint8_t{0};
}

// Both scale in whole numbers and divide last. Products of the decimal fractions would fall just short of
// the whole number in places (a trigger at 50: 127 for 128).

/// 1.275 * value + 128: -100..100 becomes 0..255.
std::uint8_t stickByte(float value) noexcept {
    const double defined = value == value ? value : 0; // NaN is no deflection
    return toByte((1275 * defined + 128'000) / 1000);
}

/// 2.55 * value + 0.5: 0..100 becomes 0..255.
std::uint8_t triggerByte(float value) noexcept {
    return toByte((255 * static_cast<double>(value) + 50) / 100);
}

} // namespace

constinit const OutputReport kNeutralKmgReport = makeNeutralReport();

KmgStartStream makeKmgStartStream(const KmgCapture& capture) noexcept {
    KmgStartStream stream;
    for (std::size_t i = 0; i < kKmgDevices; ++i) {
        const std::span descriptor = capture[i] ? kDescriptors[i] : std::span<const std::uint8_t>{};
        stream.bytes[stream.size++] = static_cast<std::uint8_t>(descriptor.size());
        std::copy(descriptor.begin(), descriptor.end(), stream.bytes.begin() + stream.size);
        stream.size += descriptor.size();
    }
    return stream;
}

std::size_t kmgStartReportCount(const KmgStartStream& stream) noexcept {
    return (stream.size + kStartPieceBytes - 1) / kStartPieceBytes;
}

OutputReport makeKmgStartReport(const KmgStartStream& stream, std::size_t index) noexcept {
    OutputReport report{0x00, kStartCommand, 0x00, static_cast<std::uint8_t>(stream.size),
                        static_cast<std::uint8_t>(index)};
    const std::size_t start = index * kStartPieceBytes;
    const std::span piece = stream.view().subspan(start, std::min(stream.size - start, kStartPieceBytes));
    std::copy(piece.begin(), piece.end(), report.begin() + kStartPieceOffset);
    return report;
}

void putKeyboard(OutputReport& report, const KeyboardData& keyboard) noexcept {
    unsigned modifiers = 0;
    for (std::size_t bit = 0; bit < kUsbModifiers.size(); ++bit)
        modifiers |= (keyboard.modifiers & kUsbModifiers[bit]) != 0 ? 1U << bit : 0U;
    report[kModifiersOffset] = static_cast<std::uint8_t>(modifiers);

    std::array<std::uint8_t, kUsages> usages{};
    std::size_t count = 0;
    for (std::size_t key = 0; key < keyboard.keys.size() && count < kUsages; ++key) {
        if (keyboard.keys[key] != 0 && kUsageOfKey[key] != 0)
            usages[count++] = kUsageOfKey[key];
    }
    std::copy(usages.begin(), usages.end(), report.begin() + kUsagesOffset);
}

void putMouse(OutputReport& report, std::uint16_t buttons, const MouseMotion& motion) noexcept {
    constexpr std::int64_t kMinMotion = std::numeric_limits<std::int16_t>::min();
    constexpr std::int64_t kMaxMotion = std::numeric_limits<std::int16_t>::max();
    constexpr std::int64_t kMaxWheel = std::numeric_limits<std::int8_t>::max();
    std::uint8_t* bytes = report.data() + kMotionOffset;
    report[kMouseMarkOffset] = kMouseMark;
    putLittleEndian16(bytes, static_cast<std::uint16_t>(std::clamp(motion.x, kMinMotion, kMaxMotion)));
    putLittleEndian16(bytes + 2, static_cast<std::uint16_t>(std::clamp(motion.y, kMinMotion, kMaxMotion)));
    bytes[4] = static_cast<std::uint8_t>(std::clamp(motion.wheel, -kMaxWheel, kMaxWheel));
    putLittleEndian16(report.data() + kMouseButtonsOffset, buttons);
}

bool hasMotion(const OutputReport& report) noexcept {
    const auto* motion = report.begin() + kMotionOffset;
    return std::any_of(motion, motion + kMotionBytes, [](std::uint8_t byte) { return byte != 0; });
}

void clearMotion(OutputReport& report) noexcept {
    std::fill_n(report.begin() + kMotionOffset, kMotionBytes, std::uint8_t{0});
}

void putController(OutputReport& report, const ControllerData& controller) noexcept {
    const auto isPressed = [&](std::size_t button) { return controller.buttons[button] > kPressedAbove; };
    const auto direction = [&](std::size_t first, std::size_t second) -> std::size_t {
        return isPressed(first) ? 1 : isPressed(second) ? 2 : 0;
    };
    std::array<std::uint8_t, kControllerBitBytes> bits{};
    for (const ControllerBit& entry : kControllerBits)
        bits[entry.byte] |= static_cast<std::uint8_t>(isPressed(entry.button) ? 1U << entry.bit : 0U);
    bits[kHatByte] |=
        static_cast<std::uint8_t>(kHats[direction(kUp, kDown)][direction(kRight, kLeft)] << kHatShift);
    std::copy(bits.begin(), bits.end(), report.begin() + kControllerBitsOffset);

    for (std::size_t i = 0; i < kStickAxes.size(); ++i)
        report[kSticksOffset + i] = stickByte(controller.axes[kStickAxes[i] - ControllerData::kButtons]);
    for (std::size_t i = 0; i < kTriggerButtons.size(); ++i)
        report[kTriggersOffset + i] = triggerByte(controller.buttons[kTriggerButtons[i]]);
}

} // namespace Vantor
