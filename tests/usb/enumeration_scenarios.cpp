// Which adapters are found on a real bus, what they say of themselves, and whether the wanted one is taken.

#include "usb_fixture.h"
#include "workers/ferry_link_thread.h"

#include <QSignalSpy>

namespace Vantor {
namespace {

class Enumeration : public UsbScenario {};

TEST_F(Enumeration, FindsNothingOnAnEmptyBus) {
    EXPECT_TRUE(waitForAdapters(0).isEmpty());
    UsbHost host;
    host.start(words({"--duration", "1"}));
    EXPECT_EQ(host.waitForEnd(), 1);
    EXPECT_TRUE(host.said().contains("No Titan Two devices found")) << host.said().constData();
}

TEST_F(Enumeration, ListsPathSerialAndManufacturer) {
    ASSERT_TRUE(first.plug());
    const QList<TitanDevice> found = waitForAdapters(1);
    ASSERT_EQ(found.size(), 1);
    EXPECT_TRUE(found[0].path.startsWith(QStringLiteral("/dev/hidraw"))) << qPrintable(found[0].path);
    EXPECT_EQ(found[0].name, QStringLiteral("Titan Two Device 1"));
    EXPECT_EQ(found[0].serialNumber, QLatin1String(kFirstSerial));
    EXPECT_EQ(found[0].manufacturer, QStringLiteral("ConsoleTuner"));
    first.unplug();
    waitForAdapters(0);
}

TEST_F(Enumeration, NumbersTwoAdaptersInOrder) {
    ASSERT_TRUE(second.setText("manufacturer", "Somebody Else"));
    ASSERT_TRUE(first.plug());
    waitForAdapters(1);
    ASSERT_TRUE(second.plug());
    const QList<TitanDevice> found = waitForAdapters(2);
    ASSERT_EQ(found.size(), 2);
    EXPECT_EQ(found[0].name, QStringLiteral("Titan Two Device 1"));
    EXPECT_EQ(found[1].name, QStringLiteral("Titan Two Device 2"));
    EXPECT_EQ(found[0].serialNumber, QLatin1String(kFirstSerial));
    EXPECT_EQ(found[1].serialNumber, QLatin1String(kSecondSerial));
    EXPECT_EQ(found[1].manufacturer, QStringLiteral("Somebody Else"));
    EXPECT_NE(found[0].path, found[1].path);
    first.unplug(); // the number goes by the order in the list, not by the adapter
    EXPECT_EQ(waitForAdapters(1).value(0).name, QStringLiteral("Titan Two Device 1"));
}

TEST_F(Enumeration, NamesWhatAnAdapterDoesNotSay) {
    ASSERT_TRUE(second.setText("serialnumber", ""));
    ASSERT_TRUE(second.setText("manufacturer", ""));
    ASSERT_TRUE(second.plug());
    const QList<TitanDevice> found = waitForAdapters(1);
    second.unplug();
    ASSERT_TRUE(second.setText("serialnumber", kSecondSerial));
    ASSERT_TRUE(second.setText("manufacturer", "ConsoleTuner"));
    ASSERT_EQ(found.size(), 1);
    EXPECT_EQ(found[0].serialNumber, QStringLiteral("Unknown"));
    EXPECT_EQ(found[0].manufacturer, QStringLiteral("ConsoleTuner"));
}

TEST_F(Enumeration, ChecksTheSerialOfWhatItOpened) {
    const ServedAdapter adapter(first);
    ASSERT_TRUE(first.plug());
    const QString path = waitForAdapters(1).value(0).path;
    struct Case {
        const char* serial;
        bool accepted;
    };
    for (const auto& [serial, accepted] :
         {Case{kSecondSerial, false}, Case{kFirstSerial, true}, Case{"", true}}) {
        FerryLinkThread bridge;
        QSignalSpy errors(&bridge, &FerryLinkThread::bridgeError);
        QSignalSpy firmware(&bridge, &FerryLinkThread::firmwareVersionReceived);
        bridge.setDevicePath(path);
        bridge.setDeviceSerial(QString::fromLatin1(serial));
        bridge.prepareStart();
        bridge.start();
        ASSERT_TRUE((accepted ? firmware : errors).wait(static_cast<int>(kPatience.count()))) << serial;
        bridge.stop();
        EXPECT_EQ(errors.size(), accepted ? 0 : 1) << serial;
        EXPECT_EQ(errors.value(0).value(0).toString(),
                  accepted ? QString() : QStringLiteral("Failed to open Titan Two device"))
            << serial;
    }
    EXPECT_EQ(adapter.count(&simulator::AdapterStatistics::initialisations), 2U);
    adapter.expectNoErrors();
}

TEST_F(Enumeration, TheHostTakesTheAdapterThatWasAskedFor) {
    const ServedAdapter notWanted(first);
    const ServedAdapter wanted(second);
    ASSERT_TRUE(first.plug() && second.plug());
    waitForAdapters(2);
    UsbHost host;
    host.start(words({"--serial", kSecondSerial, "--duration", "1"}));
    EXPECT_EQ(host.waitForEnd(), 0) << host.said().constData();
    EXPECT_EQ(host.reported("status/device_serial").toString(), QLatin1String(kSecondSerial));
    EXPECT_EQ(wanted.count(&simulator::AdapterStatistics::initialisations), 1U);
    EXPECT_EQ(notWanted.count(&simulator::AdapterStatistics::initialisations), 0U);
}

} // namespace
} // namespace Vantor
