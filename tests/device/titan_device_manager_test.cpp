#include "device/titan_device_manager.h"
#include "simulator/virtual_adapter.h"
#include "tests/support/bytes.h"

#include <QMetaMethod>
#include <QStringList>
#include <gtest/gtest.h>

namespace {

using namespace Vantor;
using test::bytes;
using Bytes = std::vector<std::uint8_t>;

const char* const kStopWire =
    "00 F1 00*3 01 01 00 0D 95 13 66 AE BD 00*10 6E 59 4B 46 FD 7F 00*8 80 00*18 0D 00*7";

class TitanDeviceManagerTest : public testing::Test {
protected:
    void TearDown() override {
        virtual_adapter_library_statistics library{};
        library.size = sizeof library;
        virtual_adapter_get_library_statistics(&library);
        EXPECT_EQ(library.open_handles, 0U);
        EXPECT_EQ(library.lists_not_freed, 0U);
        virtual_adapter_reset();
    }

    static int add(const char* path, unsigned short vendor, unsigned short product, const char* serial,
                   const char* manufacturer, int interface = 0) {
        const virtual_adapter_description description{path,   serial,  manufacturer, "Device",
                                                      vendor, product, interface};
        return virtual_adapter_add_device(&description);
    }

    static std::vector<Bytes> written(int adapter) {
        std::vector<Bytes> reports;
        for (std::uint64_t index = 0; index < virtual_adapter_captured_count(adapter); ++index) {
            Bytes report(65);
            report.resize(static_cast<std::size_t>(
                virtual_adapter_captured(adapter, index, report.data(), report.size(), nullptr)));
            reports.push_back(report);
        }
        return reports;
    }

    /// Every signal of the manager, in the order in which it came.
    static void record(TitanDeviceManager& manager, QStringList& log) {
        QObject::connect(&manager, &TitanDeviceManager::deviceListChanged,
                         [&log](const QList<TitanDevice>& devices) {
                             log << QStringLiteral("list %1").arg(devices.size());
                         });
        QObject::connect(&manager, &TitanDeviceManager::deviceConnected,
                         [&log](const QString& path) { log << "connected " + path; });
        QObject::connect(&manager, &TitanDeviceManager::deviceDisconnected,
                         [&log] { log << "disconnected"; });
        QObject::connect(&manager, &TitanDeviceManager::deviceError,
                         [&log](const QString& text) { log << text; });
        QObject::connect(&manager, &TitanDeviceManager::packetSent,
                         [&log](int size) { log << QStringLiteral("sent %1").arg(size); });
        QObject::connect(&manager, &TitanDeviceManager::packetReceived,
                         [&log](const QByteArray& packet) { log << "received " + packet.toHex(' '); });
        QObject::connect(&manager, &TitanDeviceManager::inboundReadingStarted, [&log] { log << "reading"; });
        QObject::connect(&manager, &TitanDeviceManager::inboundReadingStopped,
                         [&log] { log << "not reading"; });
    }
};

TEST_F(TitanDeviceManagerTest, ListsAdaptersAndNothingElse) {
    add("/mouse", 0x1234, 0x0032, "M", "Acme");
    add("/one", 0x2508, 0x0032, "S1", "Maker");
    add("/kin", 0x2508, 0x0033, "S2", "Maker");
    add("/two", 0x2508, 0x0032, nullptr, nullptr, 1);
    add(nullptr, 0x2508, 0x0032, "", "");
    const struct {
        QString path, name, serial, manufacturer;
    } expected[] = {{"/one", "Titan Two Device 1", "S1", "Maker"},
                    {"/two", "Titan Two Device 2", "Unknown", "ConsoleTuner"},
                    {"", "Titan Two Device 3", "Unknown", "ConsoleTuner"}};
    const QList<TitanDevice> devices = TitanDeviceManager::enumerateDevices();
    ASSERT_EQ(devices.size(), 3);
    for (qsizetype index = 0; index < devices.size(); ++index) {
        EXPECT_EQ(devices[index].path, expected[index].path);
        EXPECT_EQ(devices[index].name, expected[index].name);
        EXPECT_EQ(devices[index].serialNumber, expected[index].serial);
        EXPECT_EQ(devices[index].manufacturer, expected[index].manufacturer);
        EXPECT_FALSE(devices[index].isConnected);
    }
    virtual_adapter_fail(VIRTUAL_ADAPTER_LIBRARY, VIRTUAL_ADAPTER_ENUMERATE, 1, 1);
    EXPECT_TRUE(TitanDeviceManager::enumerateDevices().isEmpty());
}

TEST_F(TitanDeviceManagerTest, SendsTheStopPacketThroughAHandleOfItsOwn) {
    const int adapter = virtual_adapter_add("/one", "S1", "Maker");
    EXPECT_FALSE(TitanDeviceManager::sendStopPacket({}));
    EXPECT_FALSE(TitanDeviceManager::sendStopPacket("/nowhere"));
    EXPECT_TRUE(written(adapter).empty());

    EXPECT_TRUE(TitanDeviceManager::sendStopPacket("/one"));
    EXPECT_EQ(written(adapter), std::vector<Bytes>{bytes(kStopWire)});
    virtual_adapter_fail(adapter, VIRTUAL_ADAPTER_WRITE, 1, 1);
    EXPECT_FALSE(TitanDeviceManager::sendStopPacket("/one"));
}

TEST_F(TitanDeviceManagerTest, ShutDownStopsTheConnectedAdapterAndThenEveryOne) {
    const int one = virtual_adapter_add("/one", "S1", "Maker");
    const int two = virtual_adapter_add("/two", "S2", "Maker");
    const int foreign = add("/mouse", 0x1234, 0x0032, "M", "Acme");
    virtual_adapter_fail(one, VIRTUAL_ADAPTER_OPEN, 3, 1); // the second adapter gets its packet all the same
    TitanDeviceManager manager;
    QStringList log;
    ASSERT_TRUE(manager.connectDevice("/one"));
    record(manager, log);
    manager.shutDown();
    EXPECT_EQ(written(one), std::vector<Bytes>{bytes(kStopWire)});
    EXPECT_EQ(written(two), std::vector<Bytes>{bytes(kStopWire)});
    EXPECT_TRUE(written(foreign).empty());
    EXPECT_EQ(log, (QStringList{"not reading", "disconnected"}));
}

TEST_F(TitanDeviceManagerTest, SaysWhatItDoesInOrder) {
    const int adapter = virtual_adapter_add("/one", "S1", "Maker");
    QStringList log;
    {
        TitanDeviceManager manager;
        record(manager, log);
        manager.disconnectDevice();
        EXPECT_FALSE(manager.connectDevice({}));
        EXPECT_FALSE(manager.sendPacket("x"));
        manager.refreshDevices();
        manager.processInboundData();
        ASSERT_TRUE(manager.connectDevice("/one"));
        EXPECT_EQ(manager.currentDevicePath(), "/one");
        EXPECT_TRUE(manager.sendPacket(QByteArray(64, '\x40')));
        EXPECT_FALSE(manager.sendPacket(QByteArray(65, '\x40')));

        const Bytes report = bytes("11 00 01");
        virtual_adapter_inject(adapter, report.data(), report.size());
        manager.processInboundData();
        manager.processInboundData();
        virtual_adapter_unplug(adapter);
        manager.processInboundData();
        EXPECT_TRUE(manager.isDeviceConnected()) << "the workers notice, not this class";
    }
    EXPECT_EQ(log, (QStringList{"Failed to open Titan Two device",
                                "Failed to send a packet to the Titan Two device", "list 1", "connected /one",
                                "reading", "sent 64", "Failed to send a packet to the Titan Two device",
                                "received 11 00 01", "not reading", "disconnected"}));
}

TEST_F(TitanDeviceManagerTest, ItsMethodsStandInTheOrderThatOthersRelyOn) {
    const QMetaObject& meta = TitanDeviceManager::staticMetaObject;
    QStringList names;
    for (int index = meta.methodOffset(); index < meta.methodCount(); ++index)
        names << meta.method(index).name();
    EXPECT_EQ(names, (QStringList{"deviceListChanged", "deviceConnected", "deviceDisconnected", "deviceError",
                                  "packetSent", "packetReceived", "inboundReadingStarted",
                                  "inboundReadingStopped", "checkDeviceConnection", "processInboundData"}));
    const TitanDeviceManager manager;
    EXPECT_TRUE(QMetaType::fromName("QList<TitanDevice>").isValid());
}

} // namespace
