#include "simulator/adapter_model.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace Vantor::simulator {

namespace {

constexpr std::int64_t kSecondNs = 1'000'000'000;
constexpr std::uint8_t kFrameCommand = 0x60;
constexpr std::uint8_t kEndCommand = 0xF1;
constexpr std::uint8_t kProtocolCommand = 0x02;
// States that are kept for a program that does not read for a while; the rest is skipped, as a real adapter's
// would be lost.
constexpr std::int64_t kBacklogStates = 16;

// Known commands without a behaviour here: slot, clear, transfers, capture.
constexpr std::array<std::uint8_t, 7> kOtherCommands{0xA0, 0x40, 0x41, 0x30, 0x31, 0x51, 0x52};

std::int64_t periodOf(unsigned hz) noexcept {
    return hz == 0 ? 0 : kSecondNs / std::min(hz, AdapterModel::kMaxRateHz);
}

} // namespace

AdapterModel::AdapterModel(const AdapterContent& adapterContent)
    : content(adapterContent), listing(slotListingReports(adapterContent)) {
    for (Stream& stream : streams)
        stream.periodNs = periodOf(kDefaultRateHz);
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
    const auto packet = report.first<kReportBytes>();
    const std::uint8_t command = packet[0];
    if (command == kFrameCommand) {
        if (const char* problem = ledger.takePacket(packet, nowNs))
            reportError("%s (length %d, chunk %d)", problem, packet[2], packet[3]);
        return;
    }
    if (command == kEndCommand) {
        takeEnd(packet);
        return;
    }
    // The second initialisation packet and the output protocol's command begin alike; byte 2 tells them
    // apart.
    const bool protocolCommand = command == kProtocolCommand && packet[2] == 0x03;
    if (protocolCommand ||
        std::find(kOtherCommands.begin(), kOtherCommands.end(), command) != kOtherCommands.end()) {
        ++counts.otherCommands;
        return;
    }
    for (std::size_t index = 0; index < kInitialisationPackets.size(); ++index) {
        if (kInitialisationPackets[index][0] == command) {
            takeInitialisation(packet, index, nowNs);
            return;
        }
    }
    reportError("unknown command 0x%02X", command);
}

void AdapterModel::takeInitialisation(std::span<const std::uint8_t, kReportBytes> packet, std::size_t index,
                                      std::int64_t nowNs) noexcept {
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

void AdapterModel::takeEnd(std::span<const std::uint8_t, kReportBytes> packet) noexcept {
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
        for (const Report& part : listing)
            queueAnswer(part);
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
}

bool AdapterModel::nextInputReport(std::int64_t nowNs, Report& report) noexcept {
    if (answersCount > 0) {
        report = answers[answersBegin];
        answersBegin = (answersBegin + 1) % kAnswers;
        --answersCount;
        return true;
    }
    if (!streaming)
        return false;
    // A state that has begun is finished before the other kind's turn.
    const bool secondFirst = streams[1].nextPart != 0;
    return nextStateReport(streams[secondFirst ? 1 : 0], nowNs, report) ||
           nextStateReport(streams[secondFirst ? 0 : 1], nowNs, report);
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
    report = controllerStateReport(stream.kind, stream.nextPart, stream.step);
    if (++stream.nextPart == 3) {
        stream.nextPart = 0;
        ++stream.step;
        stream.dueNs += stream.periodNs;
        ++(stream.kind == 0x13 ? counts.inputStates : counts.reportStates);
    }
    return true;
}

/// A state that has begun is due at once, whatever became of its rate meanwhile.
std::int64_t AdapterModel::dueTimeOf(const Stream& stream) noexcept {
    return stream.nextPart != 0 ? std::numeric_limits<std::int64_t>::min() : stream.dueNs;
}

std::int64_t AdapterModel::nextDueNs() const noexcept {
    if (answersCount > 0)
        return std::numeric_limits<std::int64_t>::min();
    std::int64_t due = kNeverNs;
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
    ledger.dropPartialFrame();
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
