// The packets of captured input: the stream that declares the emulated devices, and the packet that carries
// the state of all three. Pure functions on records and report buffers. Any thread; nothing allocates.

#pragma once

#include "device/report.h"
#include "host/records.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace Vantor {

/// In the order of the start stream.
enum class KmgDevice : std::uint8_t { keyboard, mouse, controller };
inline constexpr std::size_t kKmgDevices = 3;
/// Which of them are captured, by KmgDevice.
using KmgCapture = std::array<bool, kKmgDevices>;

// ---- Declaring the devices ----

/// For each device in turn one length byte, and that many bytes of its USB report descriptor; a device that
/// is not captured has the length 0.
struct KmgStartStream {
    static constexpr std::size_t kMaxBytes = 183;
    std::array<std::uint8_t, kMaxBytes> bytes{};
    std::size_t size = 0; ///< kKmgDevices..kMaxBytes

    std::span<const std::uint8_t> view() const noexcept { return {bytes.data(), size}; }
};
KmgStartStream makeKmgStartStream(const KmgCapture& capture) noexcept;

/// Reports that carry the stream: 1..4.
std::size_t kmgStartReportCount(const KmgStartStream& stream) noexcept;
/// Report number `index` of them. Packet: 0x51, 0, stream length, index, up to 60 bytes of the stream.
OutputReport makeKmgStartReport(const KmgStartStream& stream, std::size_t index) noexcept;

// ---- The state of the devices ----

/// Nothing held, sticks centred. What a state is put into; packet: 0x52, 0, payload length 25, 0, then 8
/// bytes of keyboard, 8 of mouse and 9 of controller report.
extern const OutputReport kNeutralKmgReport;

/// Modifiers and the first six held keys in ascending order of their virtual-key codes. Keys that have no
/// USB usage do not count.
void putKeyboard(OutputReport& report, const KeyboardData& keyboard) noexcept;

/// Relative motion, in the units of MouseData; clamped by putMouse() to what one report holds.
struct MouseMotion {
    std::int64_t x = 0;
    std::int64_t y = 0;
    std::int64_t wheel = 0;
};
/// X and Y become -32768..32767, the wheel -127..127. Whatever goes beyond is dropped.
void putMouse(OutputReport& report, std::uint16_t buttons, const MouseMotion& motion) noexcept;
bool hasMotion(const OutputReport& report) noexcept;
/// Takes motion and wheel out, which must not be sent twice. Buttons stay.
void clearMotion(OutputReport& report) noexcept;

/// A button counts as pressed above 50; of opposite directions up and right win. Values out of range are
/// clamped, and NaN counts as at rest.
void putController(OutputReport& report, const ControllerData& controller) noexcept;

} // namespace Vantor
