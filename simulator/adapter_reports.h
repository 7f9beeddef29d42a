// The adapter's side of the protocol in bytes: what it expects of the fixed packets, and the reports that it
// sends of itself. Written down here a second time, on purpose: a mistake in the sender's tables must not be
// shared by its judge. Pure functions, except that building a slot listing allocates.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Vantor::simulator {

inline constexpr std::size_t kReportBytes = 64;
using Report = std::array<std::uint8_t, kReportBytes>;

/// What a memory slot holds. A kind-0 record without translator and flags is an empty slot.
struct SlotContent {
    bool script = false;
    std::uint8_t flags = 0; ///< kinds of input: 0x02 R, 0x04 K, 0x08 M, 0x10 C
    std::string name{};
    std::uint8_t versionMajor = 0;
    std::uint8_t versionMinor = 0;
    std::string author{};
    std::string translator{};
};

/// What an adapter tells of itself when it is initialised. Ports and protocol are the wire's values.
struct AdapterContent {
    std::array<std::uint8_t, 4> firmware{1, 2, 3, 4};
    std::uint8_t outputProtocol = 3;
    std::uint8_t portInputA = 10;
    std::uint8_t portInputB = 0;
    std::uint8_t portOutput = 3;
    std::uint8_t loadedSlot = 1;
    std::array<SlotContent, 9> slots;
};

/// Three scripts, one of them with an input translator, a lone translator, and empty slots.
AdapterContent defaultContent();

extern const std::array<Report, 5> kInitialisationPackets;
extern const Report kClosingPacket;
extern const Report kStopPacket;

Report firmwareReport(const AdapterContent& content) noexcept;
Report outputProtocolReport(const AdapterContent& content) noexcept;
Report usbPortsReport(const AdapterContent& content) noexcept;
Report loadedSlotReport(const AdapterContent& content) noexcept;
/// The listing of all nine slots in order of its parts; at most 32 parts, what is behind them is cut off.
std::vector<Report> slotListingReports(const AdapterContent& content);

/// Part 0..2 of the `step`-th controller state of `kind` 0x13 or 0x14. Values move a little with each step.
Report controllerStateReport(std::uint8_t kind, unsigned part, std::uint64_t step) noexcept;

} // namespace Vantor::simulator
