// The adapter's side of the protocol in bytes: what it expects of the fixed packets, and the reports that it
// sends of itself. Written down here a second time, on purpose: a mistake in the sender's tables must not be
// shared by its judge. Pure functions without allocation.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace Vantor::simulator {

inline constexpr std::size_t kReportBytes = 64;
using Report = std::array<std::uint8_t, kReportBytes>;

inline constexpr std::size_t kControllerButtons = 21;
inline constexpr std::size_t kControllerAxes = 17;
inline constexpr std::int32_t kFullValue = 100 * 65536;
/// One controller state: buttons (0..100), then axes (-100..100), in 16.16 fixed point.
using ControllerValues = std::array<std::int32_t, kControllerButtons + kControllerAxes>;

/// What an adapter tells of itself when it is initialised. Ports and protocol are the wire's values.
struct AdapterContent {
    std::array<std::uint8_t, 4> firmware{1, 2, 3, 4};
    std::uint8_t outputProtocol = 3;
    std::uint8_t portInputA = 10;
    std::uint8_t portInputB = 0;
    std::uint8_t portOutput = 3;
    std::uint8_t loadedSlot = 1; ///< 1..9, 0 for none
};

extern const std::array<Report, 5> kInitialisationPackets;
extern const Report kClosingPacket;
extern const Report kStopPacket;
/// The commands that change something; the byte at the command's place of choice is zero here.
extern const Report kLoadSlotPacket;
extern const Report kOutputProtocolPacket;
inline constexpr std::size_t kLoadSlotPlace = 5;
inline constexpr std::size_t kOutputProtocolPlace = 6;

Report firmwareReport(const AdapterContent& content) noexcept;
Report outputProtocolReport(const AdapterContent& content) noexcept;
Report usbPortsReport(const AdapterContent& content) noexcept;
Report loadedSlotReport(const AdapterContent& content) noexcept;

/// What the simulated controller sends at its `step`-th state: axes that swing to and fro without a rest, and
/// buttons that are pressed, let go and at rest for as long again, each a little behind its neighbour.
ControllerValues demoInput(std::uint64_t step) noexcept;
/// Part 0..2 of a controller state of `kind` 0x13 or 0x14.
Report controllerStateReport(std::uint8_t kind, unsigned part, const ControllerValues& values) noexcept;

} // namespace Vantor::simulator
