// The simulated adapter: output reports in, input reports out, time given by the caller. It knows the
// protocol on its own and counts whatever breaks it. Entry points: AdapterModel::receive() and
// nextInputReport(). It has no thread, no clock and no device; front ends give it those. One thread at a
// time; nothing allocates after construction.

#pragma once

#include "simulator/adapter_reports.h"
#include "simulator/frame_ledger.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string_view>
#include <vector>

namespace Vantor::simulator {

struct AdapterStatistics {
    std::uint64_t reportsReceived = 0; ///< ill-formed ones included
    std::uint64_t errors = 0;
    std::uint64_t otherCommands = 0;   ///< known commands that this model takes without acting on them
    std::uint64_t initialisations = 0; ///< complete sequences of five packets
    std::uint64_t closingPackets = 0;
    std::uint64_t stopPackets = 0;
    std::uint64_t reportsSinceStop = 0; ///< received behind the last closing or stop packet
    std::uint64_t inputStates = 0;      ///< sent, first byte 0x13
    std::uint64_t reportStates = 0;     ///< sent, first byte 0x14
    std::uint64_t statesSkipped = 0;    ///< not sent since nobody asked in time
    std::uint64_t answersDropped = 0;
};

class AdapterModel {
public:
    static constexpr std::int64_t kNeverNs = std::numeric_limits<std::int64_t>::max();
    static constexpr unsigned kDefaultRateHz = 250;
    static constexpr unsigned kMaxRateHz = 10000;
    static constexpr std::size_t kErrorTexts = 8;

    explicit AdapterModel(const AdapterContent& content = defaultContent());

    /// Takes an output report as a program writes it: report id 0, then 64 bytes.
    void receiveWithId(std::span<const std::uint8_t> report, std::int64_t nowNs) noexcept;
    /// Takes an output report as it comes over the bus: 64 bytes.
    void receive(std::span<const std::uint8_t> report, std::int64_t nowNs) noexcept;

    /// The next input report that is due at `nowNs`; false when there is none. Call until it returns false.
    bool nextInputReport(std::int64_t nowNs, Report& report) noexcept;
    /// When the next input report is due (the past: now), or kNeverNs.
    std::int64_t nextDueNs() const noexcept;

    /// States per second of each kind, at most kMaxRateHz, 0 for none.
    void setStreamRates(unsigned inputHz, unsigned reportHz, std::int64_t nowNs) noexcept;
    /// Power was cut: streams end, answers and half a frame are lost. Counts stay.
    void powerOff() noexcept;

    const AdapterStatistics& statistics() const noexcept { return counts; }
    const FrameLedger& frames() const noexcept { return ledger; }
    /// The first kErrorTexts errors in words; empty behind the last.
    std::string_view errorText(std::size_t index) const noexcept;

private:
    struct Stream {
        std::uint8_t kind;
        std::int64_t periodNs = 0; ///< 0: off
        std::int64_t dueNs = 0;
        unsigned nextPart = 0;
        std::uint64_t step = 0;
    };
    static constexpr std::size_t kAnswers = 64;
    static constexpr std::size_t kErrorTextBytes = 120;

    [[gnu::format(printf, 2, 3)]] void reportError(const char* format, ...) noexcept;
    void takeInitialisation(std::span<const std::uint8_t, kReportBytes> packet, std::size_t index,
                            std::int64_t nowNs) noexcept;
    void takeEnd(std::span<const std::uint8_t, kReportBytes> packet) noexcept;
    void answer(std::size_t initialisationIndex, std::int64_t nowNs) noexcept;
    void queueAnswer(const Report& report) noexcept;
    void startStreams(std::int64_t nowNs) noexcept;
    static std::int64_t dueTimeOf(const Stream& stream) noexcept;
    bool nextStateReport(Stream& stream, std::int64_t nowNs, Report& report) noexcept;

    AdapterContent content;
    std::vector<Report> listing;
    FrameLedger ledger;
    AdapterStatistics counts;
    std::array<std::array<char, kErrorTextBytes>, kErrorTexts> errorTexts{};

    std::size_t initialisationStep = 0; ///< how many of the five packets have come in order
    bool streaming = false;
    std::array<Stream, 2> streams{Stream{.kind = 0x13}, Stream{.kind = 0x14}};
    std::array<Report, kAnswers> answers{};
    std::size_t answersBegin = 0;
    std::size_t answersCount = 0;
};

} // namespace Vantor::simulator
