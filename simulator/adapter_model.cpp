#include "simulator/adapter_model.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace Vantor::simulator {

namespace {

constexpr std::int64_t kSecondNs = 1'000'000'000;
// States that are kept for a program that does not read for a while; the rest is skipped, as a real adapter's
// would be lost.
constexpr std::int64_t kBacklogStates = 16;
constexpr std::uint8_t kInputKind = 0x13;

std::int64_t periodOf(unsigned hz) noexcept {
    return hz == 0 ? 0 : kSecondNs / std::min(hz, AdapterModel::kMaxRateHz);
}

} // namespace

struct AdapterModel::Command {
    std::uint8_t first;
    bool other; ///< counted as one of the other commands
    void (AdapterModel::*take)(Packet, std::int64_t) noexcept;
};

constexpr std::array<AdapterModel::Command, 9> AdapterModel::kCommands{{
    {0x60, false, &AdapterModel::takeFrame},
    {0xF1, false, &AdapterModel::takeEnd},
    {0xA0, true, &AdapterModel::takeLoadSlot},
    {0x40, true, &AdapterModel::takeClear},
    {0x41, true, &AdapterModel::takeClear},
    {0x30, true, &AdapterModel::takeTransfer},
    {0x31, true, &AdapterModel::takeTransfer},
    {0x51, true, &AdapterModel::takeCaptureStart},
    {0x52, true, &AdapterModel::takeCaptureInput},
}};

AdapterModel::AdapterModel(const AdapterContent& adapterContent) : content(adapterContent) {
    for (Stream& stream : streams)
        stream.periodNs = periodOf(kDefaultRateHz);
    streams[0].values = demoInput(0);
}

AdapterModel::AdapterModel() : AdapterModel(AdapterContent{}) {
    constexpr std::array<std::uint8_t, 16> kDesk{0x10, 0x09, 'D',  'e',  's',  'k',  '.',  'g',
                                                 'i',  't',  0x00, 0x21, 0x00, 0x30, 0x00, 0x00};
    constexpr std::string_view kLone = "Keyboard and Mouse.git";
    struct Preset {
        unsigned slot;
        std::string_view title;
        std::uint8_t major;
        std::uint8_t minor;
        std::string_view author;
    };
    constexpr std::array<Preset, 3> kPresets{{{1, "Rapid Fire", 1, 5, "FerryLink"},
                                              {2, "Combo Trainer", 2, 10, "FerryLink"},
                                              {9, "LED Status", 1, 20, ""}}};
    std::array<std::uint8_t, 128> file{};
    for (const Preset& preset : kPresets) {
        const std::size_t bytes =
            writeIdleScript(file, preset.title, preset.major, preset.minor, preset.author);
        memory.keep(preset.slot, SlotPart::script, std::span(file).first(bytes));
    }
    memory.keep(1, SlotPart::translator, kDesk);
    std::size_t bytes = 0;
    file[bytes++] = 0x10;
    file[bytes++] = static_cast<std::uint8_t>(kLone.size() + 1);
    bytes += kLone.copy(reinterpret_cast<char*>(file.data()) + bytes, kLone.size());
    for (const std::uint8_t byte : {0x00, 0x30, 0x00, 0x40, 0x00, 0x00})
        file[bytes++] = byte;
    memory.keep(4, SlotPart::translator, std::span(file).first(bytes));
}

void AdapterModel::receiveWithId(std::span<const std::uint8_t> report, std::int64_t nowNs) noexcept {
    if (report.size() != kReportBytes + 1 || report[0] != 0) {
        ++counts.reportsReceived;
        ++counts.reportsSinceStop;
        if (report.size() != kReportBytes + 1)
            reportError("output report of %u bytes instead of 65", static_cast<unsigned>(report.size()));
        else
            reportError("output report with id 0x%02X instead of 0", report[0]);
        return;
    }
    receive(report.subspan(1), nowNs);
}

void AdapterModel::receive(std::span<const std::uint8_t> report, std::int64_t nowNs) noexcept {
    ++counts.reportsReceived;
    ++counts.reportsSinceStop;
    if (report.size() != kReportBytes) {
        reportError("report of %u bytes instead of 64", static_cast<unsigned>(report.size()));
        return;
    }
    const Packet packet = report.first<kReportBytes>();
    // The second initialisation packet and the output protocol's command begin alike; byte 2 tells them
    // apart.
    if (packet[0] == kOutputProtocolPacket[0] && packet[2] == kOutputProtocolPacket[2]) {
        ++counts.otherCommands;
        takeOutputProtocol(packet, nowNs);
        return;
    }
    for (const Command& command : kCommands) {
        if (command.first == packet[0]) {
            counts.otherCommands += command.other ? 1 : 0;
            (this->*command.take)(packet, nowNs);
            return;
        }
    }
    takeInitialisation(packet, nowNs);
}

void AdapterModel::takeFrame(Packet packet, std::int64_t nowNs) noexcept {
    if (const char* problem = ledger.takePacket(packet, nowNs))
        reportError("%s (length %d, chunk %d)", problem, packet[2], packet[3]);
    else if (ledger.frameIsWhole())
        runner.setFrame(ledger.lastFrame());
}

void AdapterModel::takeInitialisation(Packet packet, std::int64_t nowNs) noexcept {
    std::size_t index = 0;
    while (index < kInitialisationPackets.size() && kInitialisationPackets[index][0] != packet[0])
        ++index;
    if (index == kInitialisationPackets.size()) {
        reportError("unknown command 0x%02X", packet[0]);
        return;
    }
    const Report& expected = kInitialisationPackets[index];
    const auto number = static_cast<unsigned>(index + 1);
    const auto difference = std::mismatch(packet.begin(), packet.end(), expected.begin());
    if (difference.first != packet.end()) {
        reportError("initialisation packet %u: byte %d is 0x%02X instead of 0x%02X", number,
                    static_cast<int>(difference.first - packet.begin()), *difference.first,
                    *difference.second);
        return;
    }
    // The first packet begins a new sequence whenever it comes: a program may have been killed half-way.
    if (index != 0 && index != initialisationStep) {
        reportError("initialisation packet %u came behind packet %u", number,
                    static_cast<unsigned>(initialisationStep));
        return;
    }
    initialisationStep = index + 1;
    answer(index, nowNs);
}

void AdapterModel::takeEnd(Packet packet, std::int64_t /*nowNs*/) noexcept {
    if (std::equal(packet.begin(), packet.end(), kClosingPacket.begin()))
        ++counts.closingPackets;
    else if (std::equal(packet.begin(), packet.end(), kStopPacket.begin()))
        ++counts.stopPackets;
    else {
        reportError("neither the closing nor the stop packet");
        return;
    }
    counts.reportsSinceStop = 0;
    streaming = false;
    initialisationStep = 0;
}

void AdapterModel::answer(std::size_t initialisationIndex, std::int64_t nowNs) noexcept {
    switch (initialisationIndex) {
    case 0:
        queueAnswer(firmwareReport(content));
        break;
    case 1:
        queueAnswer(outputProtocolReport(content));
        break;
    case 2:
        queueListing(nowNs);
        break;
    case 3:
        queueAnswer(usbPortsReport(content));
        break;
    default:
        queueAnswer(loadedSlotReport(content));
        ++counts.initialisations;
        startStreams(nowNs);
        break;
    }
}

void AdapterModel::queueAnswer(const Report& report) noexcept {
    if (answersCount == kAnswers) {
        answersBegin = (answersBegin + 1) % kAnswers;
        --answersCount;
        ++counts.answersDropped;
    }
    answers[(answersBegin + answersCount) % kAnswers] = report;
    ++answersCount;
}

void AdapterModel::startStreams(std::int64_t nowNs) noexcept {
    streaming = true;
    for (Stream& stream : streams) {
        stream.dueNs = nowNs + stream.periodNs;
        stream.nextPart = 0;
    }
    if (scriptWanted)
        startScript(nowNs);
}

bool AdapterModel::nextInputReport(std::int64_t nowNs, Report& report) noexcept {
    if (answersCount == 0 && listingDueNs <= nowNs)
        queueListing(nowNs);
    if (answersCount > 0) {
        report = answers[answersBegin];
        answersBegin = (answersBegin + 1) % kAnswers;
        --answersCount;
        return true;
    }
    if (!streaming)
        return false;
    // A state that has begun is finished before the other kind's turn; otherwise the earlier one's turn it
    // is, so that the script meets each input in its time.
    const auto isFirst = [](const Stream& one, const Stream& other) {
        return one.nextPart != 0 ||
               (other.nextPart == 0 && (other.periodNs == 0 || one.dueNs <= other.dueNs));
    };
    const std::size_t first = isFirst(streams[0], streams[1]) ? 0 : 1;
    return nextStateReport(streams[first], nowNs, report) ||
           nextStateReport(streams[1 - first], nowNs, report);
}

bool AdapterModel::nextStateReport(Stream& stream, std::int64_t nowNs, Report& report) noexcept {
    if (stream.periodNs == 0 || (stream.nextPart == 0 && stream.dueNs > nowNs))
        return false;
    const std::int64_t backlog = (nowNs - stream.dueNs) / stream.periodNs;
    if (stream.nextPart == 0 && backlog > kBacklogStates) {
        const std::int64_t skipped = backlog - kBacklogStates;
        stream.dueNs += skipped * stream.periodNs;
        stream.step += static_cast<std::uint64_t>(skipped);
        counts.statesSkipped += static_cast<std::uint64_t>(skipped);
    }
    if (stream.nextPart == 0)
        beginState(stream);
    report = controllerStateReport(stream.kind, stream.nextPart, stream.values);
    if (++stream.nextPart == 3) {
        stream.nextPart = 0;
        ++stream.step;
        stream.dueNs += stream.periodNs;
        ++(stream.kind == kInputKind ? counts.inputStates : counts.reportStates);
    }
    return true;
}

/// A state that has begun is due at once, whatever became of its rate meanwhile.
std::int64_t AdapterModel::dueTimeOf(const Stream& stream) noexcept {
    return stream.nextPart != 0 ? std::numeric_limits<std::int64_t>::min() : stream.dueNs;
}

void AdapterModel::beginState(Stream& stream) noexcept {
    if (stream.kind == kInputKind)
        stream.values = demoInput(stream.step);
    else
        runner.run(streams[0].values, stream.dueNs, stream.values);
}

std::int64_t AdapterModel::nextDueNs() const noexcept {
    if (answersCount > 0)
        return std::numeric_limits<std::int64_t>::min();
    std::int64_t due = listingDueNs;
    if (streaming) {
        for (const Stream& stream : streams)
            if (stream.periodNs != 0)
                due = std::min(due, dueTimeOf(stream));
    }
    return due;
}

void AdapterModel::setStreamRates(unsigned inputHz, unsigned reportHz, std::int64_t nowNs) noexcept {
    streams[0].periodNs = periodOf(inputHz);
    streams[1].periodNs = periodOf(reportHz);
    for (Stream& stream : streams)
        stream.dueNs = nowNs + stream.periodNs;
}

void AdapterModel::powerOff() noexcept {
    streaming = false;
    initialisationStep = 0;
    answersCount = 0;
    listingDueNs = kNeverNs;
    ledger.dropPartialFrame();
    capture.powerOff();
    counts.transfersAbandoned += transfer.drop() ? 1 : 0;
    runner.unload();
    scriptWanted = true;
}

std::string_view AdapterModel::errorText(std::size_t index) const noexcept {
    return index < errorTexts.size() ? std::string_view(errorTexts[index].data()) : std::string_view();
}

void AdapterModel::reportError(const char* format, ...) noexcept {
    const std::uint64_t index = counts.errors++;
    if (index >= errorTexts.size())
        return;
    std::va_list arguments;
    va_start(arguments, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the analyser does not know this va_start
    std::vsnprintf(errorTexts[index].data(), errorTexts[index].size(), format, arguments);
    va_end(arguments);
}

} // namespace Vantor::simulator
