#include "device/titan_script_info_parser.h"

#include "device/protocol_names.h"

#include <algorithm>
#include <array>
#include <chrono>

namespace Vantor {

namespace {

constexpr int kMaxSlot = 9;
constexpr int kListingPartBytes = 64;

bool beginsWith(const std::uint8_t* report, int length, std::initializer_list<std::uint8_t> head,
                int minimum) {
    return length >= minimum && std::equal(head.begin(), head.end(), report);
}

bool isListingPart(const std::uint8_t* report, int length) {
    return beginsWith(report, length, {0x03, 0x00}, kListingPartBytes);
}

std::int64_t steadyNowNs() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

} // namespace

TitanScriptInfoParser::TitanScriptInfoParser(QObject* parent) : QObject(parent) {
    qRegisterMetaType<QList<TitanScriptInfo>>("QList<TitanScriptInfo>");
    qRegisterMetaType<TitanUsbPortInfo>("TitanUsbPortInfo");
    parts.reserve(kMaxListingParts);
}

void TitanScriptInfoParser::parse(const std::uint8_t* report, int length) {
    if (report == nullptr || length < 1 || ignores(report, length))
        return;
    // Only listings depend on the time; every other report is spared the clock.
    parse(report, length, collecting || isListingPart(report, length) ? steadyNowNs() : 0);
}

void TitanScriptInfoParser::parse(const std::uint8_t* report, int length, std::int64_t nowNs) {
    if (report == nullptr || length < 1)
        return;
    if (parseStatus(report, length))
        return;
    if (isListingPart(report, length))
        collect(report, length, nowNs);
    else if (collecting)
        publishCompleteListing(nowNs);
}

bool TitanScriptInfoParser::parseStatus(const std::uint8_t* report, int length) {
    if (beginsWith(report, length, {0x11, 0x00}, 5)) {
        if (report[4] <= kMaxSlot)
            emit loadedSlotChanged(report[4]);
        return true;
    }
    if (beginsWith(report, length, {0x12, 0x00, 0x18, 0x00}, 13)) {
        emit usbPortInfoUpdated({.inputA = protocolName(report[8]),
                                 .inputB = protocolName(report[11]),
                                 .output = protocolName(report[5]),
                                 .prog = QStringLiteral("Vantor")});
        return true;
    }
    if (beginsWith(report, length, {0x02, 0x02, 0x00, 0x00}, 5)) {
        emit outputProtocolReceived(report[4]);
        return true;
    }
    if (beginsWith(report, length, {0x01, 0x00, 0x22, 0x00}, 8)) {
        emit firmwareVersionReceived(
            QStringLiteral("%1.%2.%3.%4").arg(report[4]).arg(report[5]).arg(report[6]).arg(report[7]));
        return true;
    }
    return false;
}

void TitanScriptInfoParser::collect(const std::uint8_t* report, int length, std::int64_t nowNs) {
    if (parts.size() < kMaxListingParts) {
        SlotListingPart& part = parts.emplace_back();
        std::copy_n(report, std::min(static_cast<std::size_t>(length), part.size()), part.begin());
    }
    lastPartNs = nowNs;
    collecting = true;
}

void TitanScriptInfoParser::publishCompleteListing(std::int64_t nowNs) {
    if (nowNs - lastPartNs < kListingQuietNs)
        return; // more of it may be on its way
    const QList<TitanScriptInfo> scripts = decodeSlotListing(parts);
    parts.clear();
    collecting = false;
    emit scriptInfoUpdated(scripts);
}

} // namespace Vantor
