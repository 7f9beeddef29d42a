// A simulated adapter without any hidapi around it, with verbs for what a host does to it. Time stands still
// unless a test moves it on.

#pragma once

#include "simulator/adapter_model.h"
#include "tests/support/bytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace Vantor::test {

using Bytes = std::vector<std::uint8_t>;
inline constexpr std::int64_t kMsNs = 1'000'000;

// Whole output reports, id first.
inline const char* const kInitialisation[] = {
    "00 01 00*14 3C 00*27 C7 1A 0E C0 97 01 00*3 06 00*11",
    "00 02 00*3 ED 00*10 50 C8 01 8C B7 01 00*10 50 C8 01 8C B7 01 00*2 08 7E B5 FD F7 7F 00*2 06 00*15 50",
    "00 03 00*3 ED 00*10 50 C8 01 8C B7 01 00*3 02 00*6 50 C8 01 8C B7 01 00*2 08 7E B5 FD F7 7F 00*2 06 "
    "00*15 50",
    "00 05 00*3 ED 00*2 65 00*7 65 00*8 65 00*7 50 C8 01 8C B7 01 00*2 D1 80 B5 FD F7 7F 00*2 D0 EE CD FD F7 "
    "7F "
    "00*10",
    "00 F0 00*3 ED 00*2 01 00*7 01 00*16 50 C8 01 8C B7 01 00*2 D1 80 B5 FD F7 7F 00*2 D4 EE CE FD F7 7F "
    "00*10",
};
inline const char* const kClosing =
    "00 F1 00*3 01 01 00 0D 95 13 66 AE BD 00*10 6E 59 4B 46 FD 7F 00*9 80 00*17 0D 00*7";
inline const char* const kStop =
    "00 F1 00*3 01 01 00 0D 95 13 66 AE BD 00*10 6E 59 4B 46 FD 7F 00*8 80 00*18 0D 00*7";

inline Bytes loadSlotReport(unsigned slot) {
    Bytes report =
        bytes("00 A0 00 02 00 03 00 00 39 01 A4 90 F8 7F 00*2 B0 A8 EF CF 93 00*3 1D 00*7 68 D8 EB 90 "
              "F6 7F 00*2 02 00*7 08 00*7 F1 FC D0 D3 FF 7F 00*2 30");
    report[6] = static_cast<std::uint8_t>(slot);
    return report;
}

inline Bytes outputProtocolReport(std::uint8_t protocol) {
    Bytes report =
        bytes("00 02 00 03 00*4 C6 F8 66 A4 FD 7F 00*2 B8 A8 99 F3 BD 00*3 B8 A8 99 F3 BD 00*14 80 BD "
              "00*3 A8 FF C2 6B 02 02 00*2 9A 55 78 A4 FD 7F 00*2 70");
    report[7] = protocol;
    return report;
}

inline Bytes clearReport(std::uint8_t command, unsigned slot) {
    return bytes("00 " + std::string(command == 0x40 ? "40" : "41") + " 00 01 00 0" + std::to_string(slot),
                 65);
}

/// The reports that carry a payload in pieces of 60 bytes behind `command`, length and index.
inline std::vector<Bytes> pieces(std::uint8_t command, const Bytes& payload) {
    std::vector<Bytes> reports;
    for (std::size_t begin = 0; begin < payload.size(); begin += 60) {
        Bytes& report = reports.emplace_back(65);
        report[1] = command;
        report[2] = static_cast<std::uint8_t>(payload.size() >> 8);
        report[3] = static_cast<std::uint8_t>(payload.size());
        report[4] = static_cast<std::uint8_t>(begin / 60);
        std::copy_n(payload.begin() + static_cast<std::ptrdiff_t>(begin),
                    std::min<std::size_t>(60, payload.size() - begin), report.begin() + 5);
    }
    return reports;
}

/// A transfer of `file` into `slot`: command 0x30 for bytecode, 0x31 for a translator.
inline std::vector<Bytes> transfer(std::uint8_t command, unsigned slot, const Bytes& file) {
    Bytes payload{static_cast<std::uint8_t>(slot)};
    payload.insert(payload.end(), file.begin(), file.end());
    return pieces(command, payload);
}

class AdapterTest : public testing::Test {
protected:
    void send(const Bytes& report) { model.receiveWithId(report, now); }
    void send(const std::vector<Bytes>& reports) {
        for (const Bytes& report : reports)
            send(report);
    }
    void initialise() {
        for (const char* packet : kInitialisation)
            send(bytes(packet));
    }
    std::vector<simulator::Report> drain() {
        std::vector<simulator::Report> reports;
        for (simulator::Report report; model.nextInputReport(now, report);)
            reports.push_back(report);
        return reports;
    }
    /// The first five bytes of what is due.
    std::vector<Bytes> drainHeads() {
        std::vector<Bytes> heads;
        for (const simulator::Report& report : drain())
            heads.emplace_back(report.begin(), report.begin() + 5);
        return heads;
    }
    const simulator::AdapterStatistics& counts() const { return model.statistics(); }

    simulator::AdapterModel model;
    std::int64_t now = 1000 * kMsNs;
};

} // namespace Vantor::test
