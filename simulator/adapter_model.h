// The simulated adapter: output reports in, input reports out, time given by the caller. It knows the
// protocol on its own and counts whatever breaks it. Entry points: AdapterModel::receive() and
// nextInputReport(). It has no thread, no clock and no device; front ends give it those. One thread at a
// time; after construction only the start of a script allocates, and a script that prints.

#pragma once

#include "simulator/adapter_reports.h"
#include "simulator/capture_monitor.h"
#include "simulator/frame_ledger.h"
#include "simulator/memory_slots.h"
#include "simulator/script_runner.h"
#include "simulator/transfer_assembler.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string_view>

namespace Vantor::simulator {

struct AdapterStatistics {
    std::uint64_t reportsReceived = 0; ///< ill-formed ones included
    std::uint64_t errors = 0;
    std::uint64_t otherCommands = 0;   ///< packets of slots, protocol, transfers and capture, good or bad
    std::uint64_t initialisations = 0; ///< complete sequences of five packets
    std::uint64_t closingPackets = 0;
    std::uint64_t stopPackets = 0;
    std::uint64_t reportsSinceStop = 0; ///< received behind the last closing or stop packet
    std::uint64_t inputStates = 0;      ///< sent, first byte 0x13
    std::uint64_t reportStates = 0;     ///< sent, first byte 0x14
    std::uint64_t statesSkipped = 0;    ///< not sent since nobody asked in time
    std::uint64_t answersDropped = 0;

    std::uint64_t scriptTransfers = 0; ///< complete, checked and kept
    std::uint64_t translatorTransfers = 0;
    std::uint64_t transfersFailed = 0;    ///< dropped because they broke a rule
    std::uint64_t transfersAbandoned = 0; ///< not finished by their sender
    std::uint64_t slotLoads = 0;
    std::uint64_t slotLoadsRefused = 0; ///< of slots that hold nothing
    std::uint64_t clears = 0;
    std::uint64_t protocolChanges = 0; ///< by command or at the adapter
    std::uint64_t listings = 0;        ///< sent
};

class AdapterModel {
public:
    static constexpr std::int64_t kNeverNs = std::numeric_limits<std::int64_t>::max();
    static constexpr unsigned kDefaultRateHz = 250;
    static constexpr unsigned kMaxRateHz = 10000;
    static constexpr std::size_t kErrorTexts = 8;

    /// An adapter with three scripts that do nothing, one of them with an input translator, and a lone
    /// translator.
    AdapterModel();
    /// An adapter whose slots are empty.
    explicit AdapterModel(const AdapterContent& content);

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
    /// Power was cut: streams end, answers, half a frame and half a transfer are lost. Counts, slots and
    /// settings stay; the loaded script begins anew with the next initialisation.
    void powerOff() noexcept;

    // What a person does at the adapter itself. All three send the reports that a host is told of it with.
    /// Puts a file into slot 1..9; an empty one takes away what is there. False, and nothing changes, when
    /// the slot does not exist or could not hold it.
    bool setSlotFile(unsigned slot, SlotPart part, std::span<const std::uint8_t> file,
                     std::int64_t nowNs) noexcept;
    /// Loads slot 1..9. A slot that holds nothing is not loaded: what was loaded stays, and is reported.
    bool loadSlot(unsigned slot, std::int64_t nowNs) noexcept;
    void setOutputProtocol(std::uint8_t protocol) noexcept;

    const AdapterStatistics& statistics() const noexcept { return counts; }
    const FrameLedger& frames() const noexcept { return ledger; }
    const CaptureStatistics& captureStatistics() const noexcept { return capture.statistics(); }
    const MemorySlots& memorySlots() const noexcept { return memory; }
    const ScriptRunner& script() const noexcept { return runner; }
    unsigned loadedSlot() const noexcept { return content.loadedSlot; } ///< 0 for none
    std::uint8_t outputProtocol() const noexcept { return content.outputProtocol; }
    /// The first kErrorTexts errors in words; empty behind the last.
    std::string_view errorText(std::size_t index) const noexcept;

private:
    struct Stream {
        std::uint8_t kind;
        std::int64_t periodNs = 0; ///< 0: off
        std::int64_t dueNs = 0;
        unsigned nextPart = 0;
        std::uint64_t step = 0;
        ControllerValues values{}; ///< of the state that is under way
    };
    using Packet = std::span<const std::uint8_t, kReportBytes>;
    struct Command;
    static const std::array<Command, 9> kCommands;
    static constexpr std::size_t kAnswers = 64;
    static constexpr std::size_t kErrorTextBytes = 120;

    [[gnu::format(printf, 2, 3)]] void reportError(const char* format, ...) noexcept;
    void takeInitialisation(Packet packet, std::int64_t nowNs) noexcept;
    void takeFrame(Packet packet, std::int64_t nowNs) noexcept;
    void takeEnd(Packet packet, std::int64_t nowNs) noexcept;
    void takeLoadSlot(Packet packet, std::int64_t nowNs) noexcept;
    void takeClear(Packet packet, std::int64_t nowNs) noexcept;
    void takeOutputProtocol(Packet packet, std::int64_t nowNs) noexcept;
    void takeTransfer(Packet packet, std::int64_t nowNs) noexcept;
    void takeCaptureStart(Packet packet, std::int64_t nowNs) noexcept;
    void takeCaptureInput(Packet packet, std::int64_t nowNs) noexcept;
    bool isTemplate(Packet packet, const Report& expected, std::size_t place, const char* name) noexcept;
    void reportCaptureProblem(const char* what, const char* problem) noexcept;

    void answer(std::size_t initialisationIndex, std::int64_t nowNs) noexcept;
    void queueAnswer(const Report& report) noexcept;
    void requestListing(std::int64_t nowNs) noexcept;
    void queueListing(std::int64_t nowNs) noexcept;
    void slotChanged(unsigned slot, std::int64_t nowNs) noexcept;
    void startScript(std::int64_t nowNs) noexcept;
    unsigned occupiedSlots() const noexcept; ///< bit n: slot n holds a script
    void startStreams(std::int64_t nowNs) noexcept;
    static std::int64_t dueTimeOf(const Stream& stream) noexcept;
    bool nextStateReport(Stream& stream, std::int64_t nowNs, Report& report) noexcept;
    void beginState(Stream& stream) noexcept;

    AdapterContent content;
    MemorySlots memory;
    ScriptRunner runner;
    bool scriptWanted = true; ///< the loaded slot's script is to begin with the streams
    TransferAssembler transfer;
    CaptureMonitor capture;
    FrameLedger ledger;
    AdapterStatistics counts;
    std::array<std::array<char, kErrorTextBytes>, kErrorTexts> errorTexts{};

    std::size_t initialisationStep = 0; ///< how many of the five packets have come in order
    bool streaming = false;
    std::array<Stream, 2> streams{Stream{.kind = 0x13}, Stream{.kind = 0x14}};
    std::array<Report, kAnswers> answers{};
    std::size_t answersBegin = 0;
    std::size_t answersCount = 0;
    std::int64_t listingDueNs = kNeverNs; ///< a listing that has to wait for the last one to be taken in
    std::int64_t listingSpacedNs = std::numeric_limits<std::int64_t>::min(); ///< not before this time
};

} // namespace Vantor::simulator
