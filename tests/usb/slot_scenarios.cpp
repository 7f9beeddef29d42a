// Files and commands for memory slots, and captured input, through the real stack.

#include "simulator/capture_monitor.h"
#include "simulator/memory_slots.h"
#include "ui/slot_operations.h"
#include "usb_fixture.h"
#include "workers/titan_outbound_thread.h"

#include <QFile>
#include <QSignalSpy>

#include <algorithm>
#include <span>
#include <vector>

namespace Vantor {
namespace {

using simulator::AdapterModel;
using simulator::AdapterStatistics;
using simulator::SlotPart;

using Bytes = std::vector<std::uint8_t>;

class Slots : public UsbScenario {
protected:
    void SetUp() override {
        ASSERT_TRUE(first.plug());
        path = waitForAdapters(1).value(0).path;
    }
    QString keep(const char* name, const Bytes& bytes) {
        QFile file(directory.filePath(QString::fromLatin1(name)));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) &&
                    file.write(reinterpret_cast<const char*>(bytes.data()),
                               static_cast<qint64>(bytes.size())) == static_cast<qint64>(bytes.size()));
        return file.fileName();
    }
    Bytes slotFile(unsigned slot, SlotPart part) const {
        return adapter.inspect([=](const AdapterModel& model) {
            const auto file = model.memorySlots().file(slot, part);
            return Bytes(file.begin(), file.end());
        });
    }
    qsizetype capturedWith(std::uint8_t command) const {
        const std::vector<simulator::Report> reports = adapter.captured();
        return std::count_if(reports.begin(), reports.end(),
                             [=](const simulator::Report& report) { return report[0] == command; });
    }

    ServedAdapter adapter{first};
    QTemporaryDir directory;
    QString path;
};

TEST_F(Slots, AnEightKilobyteScriptArrivesByteByByte) {
    Bytes script(simulator::MemorySlots::kMaxScriptBytes);
    // Behind the code of a script that does nothing: bytes of which no two neighbouring reports are alike.
    std::size_t used = simulator::writeIdleScript(script, "Full", 1, 0, "FerryLink");
    ASSERT_GT(used, 0U);
    for (; used < script.size(); ++used)
        script[used] = static_cast<std::uint8_t>(used * 31 + used / 60);
    UsbHost host;
    host.start({QStringLiteral("--load"), QStringLiteral("3=") + keep("full.gbc", script),
                QStringLiteral("--duration"), QStringLiteral("1")});
    ASSERT_EQ(host.waitForEnd(), 0) << host.said().constData();
    EXPECT_EQ(slotFile(3, SlotPart::script), script);
    EXPECT_EQ(capturedWith(0x30), 137) << "a slot number and 8192 bytes, in pieces of 60";
    EXPECT_EQ(adapter.count(&AdapterStatistics::scriptTransfers), 1U);
    EXPECT_EQ(adapter.inspect([](const AdapterModel& model) { return model.loadedSlot(); }), 3U);
    adapter.expectNoErrors();
}

TEST_F(Slots, SourceAndTranslatorReachTheirSlotsWhileFramesFlow) {
    // No title, and one section that fills the rest but for the end marker.
    Bytes translator(simulator::MemorySlots::kMaxTranslatorBytes);
    for (std::size_t index = 0; index < translator.size(); ++index)
        translator[index] = static_cast<std::uint8_t>(index * 7 + 1);
    constexpr std::size_t kAround = 6;
    const Bytes begin{0x10, 0x01, 0x00, 0x30, static_cast<std::uint8_t>(translator.size() - kAround)};
    std::copy(begin.begin(), begin.end(), translator.begin());
    translator.back() = 0x00;
    UsbHost host;
    host.start({QStringLiteral("--load"), QStringLiteral("2=/opt/ferrylink/examples/toggle.gpc"),
                QStringLiteral("--load"), QStringLiteral("9=") + keep("map.git", translator),
                QStringLiteral("--feed"), QStringLiteral("20"), QStringLiteral("--duration"),
                QStringLiteral("4")});
    ASSERT_EQ(host.waitForEnd(), 0) << host.said().constData();
    EXPECT_EQ(slotFile(9, SlotPart::translator), translator);
    EXPECT_EQ(capturedWith(0x31), 5) << "a slot number and 254 bytes, in pieces of 60";
    const Bytes script = slotFile(2, SlotPart::script);
    ASSERT_FALSE(script.empty());
    EXPECT_EQ(script[0], 0x10) << "bytecode begins with a jump";
    EXPECT_EQ(adapter.count(&AdapterStatistics::scriptTransfers), 1U);
    EXPECT_EQ(adapter.count(&AdapterStatistics::translatorTransfers), 1U);
    EXPECT_EQ(adapter.count(&AdapterStatistics::transfersFailed), 0U);
    adapter.expectCleanFrames();
    adapter.expectNoErrors();
}

TEST_F(Slots, CommandsReachTheAdapter) {
    TitanOutboundThread outbound;
    QSignalSpy ready(&outbound, &TitanOutboundThread::outboundReady);
    outbound.setDevicePath(path);
    outbound.prepareStart();
    outbound.start();
    ASSERT_TRUE(ready.wait(static_cast<int>(kPatience.count())));
    MemorySlotOperations operations([&](std::span<const std::uint8_t> packet) {
        return outbound.submitPacket(
            QByteArray(reinterpret_cast<const char*>(packet.data()), static_cast<qsizetype>(packet.size())));
    });
    constexpr int kProtocol = 5;
    EXPECT_TRUE(operations.loadSlot(1));
    EXPECT_TRUE(operations.removeScript(0));
    EXPECT_TRUE(operations.removeInputTranslator(0));
    EXPECT_TRUE(operations.setOutputProtocol(kProtocol, QStringLiteral("a protocol")));
    EXPECT_TRUE(adapter.waitForCount(&AdapterStatistics::protocolChanges, 1));
    outbound.stop();
    EXPECT_EQ(adapter.count(&AdapterStatistics::slotLoads), 1U);
    EXPECT_EQ(adapter.count(&AdapterStatistics::clears), 2U);
    EXPECT_TRUE(slotFile(1, SlotPart::script).empty());
    EXPECT_TRUE(slotFile(1, SlotPart::translator).empty());
    EXPECT_EQ(adapter.inspect([](const AdapterModel& model) { return model.outputProtocol(); }), kProtocol);
    adapter.expectNoErrors();
}

class Capture : public UsbScenario {};

TEST_F(Capture, DeclaresItsDevicesAndSendsTheirInput) {
    struct Case {
        const char* devices;
        unsigned declared;
        int startReports;
    };
    using namespace simulator;
    ASSERT_TRUE(first.plug());
    waitForAdapters(1);
    for (const auto& [devices, declared, startReports] :
         {Case{"keyboard,mouse,controller", kCaptureKeyboard | kCaptureMouse | kCaptureController, 4},
          Case{"mouse", kCaptureMouse, 2}}) {
        const ServedAdapter adapter(first);
        UsbHost host;
        host.start(words({"--capture", devices, "--duration", "4"}));
        EXPECT_EQ(host.waitForEnd(), 0) << devices << host.said().constData();
        const CaptureStatistics counts =
            adapter.inspect([](const AdapterModel& model) { return model.captureStatistics(); });
        EXPECT_EQ(counts.starts, 1U) << devices;
        EXPECT_EQ(counts.devices, declared) << devices;
        EXPECT_GE(counts.neutralPackets, 2U) << devices << ": one at each end";
        const std::vector<Report> reports = adapter.captured();
        EXPECT_EQ(std::count_if(reports.begin(), reports.end(), [](const Report& r) { return r[0] == 0x51; }),
                  startReports)
            << devices;
        for (const auto& [device, packets] : {std::pair(kCaptureKeyboard, counts.keyboardPackets),
                                              std::pair(kCaptureMouse, counts.mousePackets),
                                              std::pair(kCaptureController, counts.controllerPackets)})
            EXPECT_EQ(packets > 10, (declared & device) != 0) << devices << ", device " << device;
        adapter.expectNoErrors();
    }
}

} // namespace
} // namespace Vantor
