// What passes through the real stack while the adapter stays where it is.

#include "usb_fixture.h"

#include <QJsonArray>

#include <unistd.h>

#include <algorithm>
#include <utility>

namespace Vantor {
namespace {

using simulator::AdapterStatistics;

class Bridge : public UsbScenario {};

TEST_F(Bridge, InitialisesReportsAndCloses) {
    const ServedAdapter adapter(first);
    ASSERT_TRUE(first.plug());
    waitForAdapters(1);
    UsbHost host;
    host.start(words({"--duration", "4"}));
    ASSERT_EQ(host.waitForEnd(), 0) << host.said().constData();

    // The five packets first and in order; the closing or stop packet last.
    const std::vector<simulator::Report> reports = adapter.captured();
    ASSERT_GT(reports.size(), simulator::kInitialisationPackets.size());
    EXPECT_TRUE(std::equal(simulator::kInitialisationPackets.begin(), simulator::kInitialisationPackets.end(),
                           reports.begin()));
    EXPECT_EQ(reports.back(), simulator::kStopPacket);
    EXPECT_EQ(adapter.count(&AdapterStatistics::closingPackets) +
                  adapter.count(&AdapterStatistics::stopPackets),
              reports.size() - simulator::kInitialisationPackets.size());
    adapter.expectNoErrors();

    // What it said of itself.
    EXPECT_EQ(host.reported("status/firmware").toString(), QStringLiteral("1.2.3.4"));
    EXPECT_EQ(host.reported("status/output_protocol").toString(), QStringLiteral("Playstation 4"));
    EXPECT_EQ(host.number("status/loaded_slot"), 1);
    EXPECT_EQ(host.reported("status/usb_ports/input_b").toString(), QStringLiteral("Disconnected"));
    EXPECT_EQ(host.reported("status/slots").toArray().size(), 4);

    // Controller states of both kinds, each published at most once.
    for (const auto& [block, sent] :
         {std::pair("blocks/ControllerInput/writes", adapter.count(&AdapterStatistics::inputStates)),
          std::pair("blocks/ControllerReport/writes", adapter.count(&AdapterStatistics::reportStates))}) {
        EXPECT_GT(host.number(block), 20) << block;
        EXPECT_LE(host.number(block), static_cast<qint64>(sent)) << block;
    }
    EXPECT_GT(host.number("rates/input_pps"), 5);
    EXPECT_GT(host.number("rates/state_pps"), 5);
}

TEST_F(Bridge, CarriesFramesOfEverySize) {
    ASSERT_TRUE(first.plug());
    waitForAdapters(1);
    for (const char* const bytes : {"20", "60", "61", "255", "256"}) {
        const ServedAdapter adapter(first);
        UsbHost host;
        host.start(words({"--feed", "20", "--frames", "60", "--bytes", bytes}));
        EXPECT_EQ(host.waitForEnd(), 0) << bytes << host.said().constData();
        const simulator::FrameStatistics frames = adapter.frames();
        EXPECT_EQ(host.number("frames/published"), 60) << bytes;
        EXPECT_GT(frames.intact, 30U) << bytes;
        EXPECT_EQ(frames.intact + frames.missing, frames.lastSequence - frames.firstSequence + 1) << bytes;
        adapter.expectCleanFrames();
        adapter.expectNoErrors();
    }
}

TEST_F(Bridge, TellsAnOrdinaryUserTheCure) {
    const ServedAdapter adapter(first);
    ASSERT_TRUE(first.plug());
    const QString node = waitForAdapters(1).value(0).path;
    constexpr unsigned kUser = 1000;
    const auto run = [] {
        UsbHost host;
        host.start(words({"--duration", "1"}), kUser);
        return std::pair(host.waitForEnd(), host.said());
    };
    const auto refused = run();
    EXPECT_EQ(refused.first, 1);
    EXPECT_TRUE(refused.second.contains("Failed to open Titan Two device")) << refused.second.constData();
    EXPECT_TRUE(refused.second.contains("70-ferrylink.rules")) << refused.second.constData();

    // The rule puts a mark on the adapter, and the login manager acts on it, which is played here.
    QProcess udevadm;
    udevadm.start(QStringLiteral("udevadm"), {QStringLiteral("test"), QStringLiteral("/sys/class/hidraw") +
                                                                          node.mid(node.lastIndexOf(u'/'))});
    ASSERT_TRUE(udevadm.waitForFinished(static_cast<int>(kPatience.count())))
        << qPrintable(udevadm.errorString());
    const QByteArray marks = udevadm.readAllStandardOutput() + udevadm.readAllStandardError();
    EXPECT_TRUE(marks.contains("TAGS=:uaccess:")) << marks.constData();
    ASSERT_EQ(chown(qPrintable(node), kUser, kUser), 0);
    const auto allowed = run();
    EXPECT_EQ(allowed.first, 0) << allowed.second.constData();
    EXPECT_EQ(adapter.count(&AdapterStatistics::initialisations), 1U);
}

} // namespace
} // namespace Vantor
