// The records that processes exchange through shared-memory blocks, and the layout of a block. Little-endian.
// Layouts are fixed: other programs of the host read and write them. No behaviour here.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace Vantor {

/// Names of the blocks. Exact, case-sensitive.
namespace BlockName {
inline constexpr char kControllerInput[] = "ControllerInput";
inline constexpr char kControllerOutput[] = "ControllerOutput";
inline constexpr char kControllerReport[] = "ControllerReport";
inline constexpr char kCVData[] = "CVData";
inline constexpr char kKeyboardRawInput[] = "KeyboardRawInput";
inline constexpr char kMouseRawInput[] = "MouseRawInput";
} // namespace BlockName

/// Every block: 512 bytes of header, then the data area. Offsets are from the start of the header.
namespace BlockLayout {
inline constexpr std::size_t kSequenceOffset =
    0; ///< int64, number of the current record, from 1; 0 = none yet
inline constexpr std::size_t kTimestampOffset = 8; ///< int64, monotonic nanoseconds of the writer; 0 = none
inline constexpr std::size_t kStateOffset = 16;    ///< int32, see BlockState
inline constexpr std::size_t kEventWordOffset =
    20; ///< uint32, carries the block's event where the system needs it
inline constexpr std::size_t kMagicOffset = 24;      ///< uint32, kBlockMagic once the creator has finished
inline constexpr std::size_t kDataBytesOffset = 28;  ///< uint32, size of the data area
inline constexpr std::size_t kOwnerIdOffset = 32;    ///< uint32, process id of the creator
inline constexpr std::size_t kOwnerStartOffset = 40; ///< uint64, start time of the creator's process
inline constexpr std::size_t kWriterIdOffset =
    48; ///< uint32, process id of the writer holding the block; 0 = nobody
inline constexpr std::size_t kWriterTokenOffset = 52; ///< uint32, which of that process's accessors holds it
inline constexpr std::size_t kWriterStartOffset = 56; ///< uint64, start time of that process
inline constexpr std::size_t kPayloadLengthOffset = 128; ///< uint32, bytes of the current record
inline constexpr std::size_t kReservedOffsetA = 144;     ///< kept for the host
inline constexpr std::size_t kWriterNameOffset = 256;    ///< kWriterNameBytes of UTF-8, zero-terminated
inline constexpr std::size_t kWriterNameBytes = 64;
inline constexpr std::size_t kReservedOffsetB = 400; ///< kept for the host
inline constexpr std::size_t kHeaderBytes = 512;

inline constexpr std::uint32_t kBlockMagic = 0x4B4C4256; // "VBLK"
} // namespace BlockLayout

/// Values of the state word. Any other value means the same as kWriting.
namespace BlockState {
inline constexpr std::int32_t kEmpty = 0;
inline constexpr std::int32_t kStable = 1;
inline constexpr std::int32_t kWriting = 2;
} // namespace BlockState

/// Payload bytes of a CVData frame: 1..256.
inline constexpr std::size_t kMaxFrameBytes = 256;

/// A controller's state. Defaults: everything at rest, no time stamp, not connected.
struct ControllerData {
    static constexpr std::size_t kButtons = 21;
    static constexpr std::size_t kAxes = 10;

    std::array<float, kButtons> buttons{}; ///< 0..100
    std::array<float, kAxes> axes{};       ///< -100..100; triggers 0..100
    std::array<std::uint8_t, 44> reservedA{};
    std::uint64_t timestampNs = 0; ///< monotonic nanoseconds of the publication
    std::uint8_t connected = 0;    ///< 1 while the source of the state is connected
    std::array<std::uint8_t, 79> reservedB{};
};

static_assert(sizeof(ControllerData) == 256);
static_assert(offsetof(ControllerData, axes) == 84);
static_assert(offsetof(ControllerData, timestampNs) == 168);
static_assert(offsetof(ControllerData, connected) == 176);
static_assert(std::is_trivially_copyable_v<ControllerData>);

/// Bits of KeyboardData::modifiers.
namespace KeyModifier {
inline constexpr std::uint32_t kLeftShift = 0x01;
inline constexpr std::uint32_t kRightShift = 0x02;
inline constexpr std::uint32_t kLeftCtrl = 0x04;
inline constexpr std::uint32_t kRightCtrl = 0x08;
inline constexpr std::uint32_t kLeftAlt = 0x10;
inline constexpr std::uint32_t kRightAlt = 0x20;
inline constexpr std::uint32_t kLeftWindows = 0x40;
inline constexpr std::uint32_t kRightWindows = 0x80;
} // namespace KeyModifier

/// Which keys are held. Defaults: none.
struct KeyboardData {
    static constexpr std::size_t kKeys = 256;

    std::array<std::uint8_t, kKeys> keys{}; ///< by Windows virtual-key code; anything but 0 = held
    std::array<std::uint8_t, 64> reservedA{};
    std::uint32_t modifiers = 0; ///< KeyModifier bits of the held ones
    std::array<std::uint8_t, 4> reservedB{};
    std::uint64_t timestampNs = 0; ///< monotonic nanoseconds of the publication; 0 = none
    std::array<std::uint8_t, 176> reservedC{};
};

static_assert(sizeof(KeyboardData) == 512);
static_assert(offsetof(KeyboardData, modifiers) == 320);
static_assert(offsetof(KeyboardData, timestampNs) == 328);
static_assert(std::is_trivially_copyable_v<KeyboardData>);

/// Bits of MouseData::buttons; the bits above are further buttons.
namespace MouseButton {
inline constexpr std::uint16_t kLeft = 0x01;
inline constexpr std::uint16_t kRight = 0x02;
inline constexpr std::uint16_t kMiddle = 0x04;
inline constexpr std::uint16_t kBack = 0x08;
inline constexpr std::uint16_t kForward = 0x10;
} // namespace MouseButton

/// Held buttons, and the motion since the record before. A block keeps only its latest record, so motion
/// would be lost with each record that a reader does not get to see; a writer that can therefore also adds up
/// what it has published. A reader that knows an earlier record of the same totals takes the difference of
/// the totals for the motion in between, and ignores `motionX`, `motionY` and `wheel`.
struct MouseData {
    std::int32_t motionX = 0;  ///< counts, right is positive
    std::int32_t motionY = 0;  ///< counts, down is positive
    std::int32_t wheel = 0;    ///< notches, away from the user is positive
    std::uint16_t buttons = 0; ///< MouseButton bits of the held ones
    std::array<std::uint8_t, 2> reservedA{};
    /// Sums of motionX, motionY and wheel over all records of these totals, this one included; they wrap.
    std::int64_t totalX = 0;
    std::int64_t totalY = 0;
    std::int64_t totalWheel = 0;
    /// Tells one writer's totals from another's: monotonic nanoseconds of when they began at 0. 0 = this
    /// writer keeps none.
    std::uint64_t totalsStartNs = 0;
    std::uint64_t timestampNs = 0; ///< monotonic nanoseconds of the publication; 0 = none
    std::array<std::uint8_t, 200> reservedB{};
};

static_assert(sizeof(MouseData) == 256);
static_assert(offsetof(MouseData, buttons) == 12);
static_assert(offsetof(MouseData, totalX) == 16);
static_assert(offsetof(MouseData, totalsStartNs) == 40);
static_assert(std::is_trivially_copyable_v<MouseData>);

} // namespace Vantor
