// What hosts learn of the plug-in: from the file before they load it, and from the object.

#include "plugin_fixture.h"

#include <QJsonDocument>
#include <QMetaMethod>

namespace Vantor {
namespace {

TEST(PluginMetadata, IsReadFromTheFileWithoutLoadingIt) {
    const QPluginLoader file(QStringLiteral(FERRYLINK_PLUGIN_FILE));
    const bool loadedByOthers = file.isLoaded(); // when all tests run in one process
    const QJsonObject all = file.metaData();
    EXPECT_EQ(all[QStringLiteral("IID")].toString(), QStringLiteral("com.vantor.IUIPlugin"));
    EXPECT_EQ(all[QStringLiteral("className")].toString(), QStringLiteral("FerryLinkPlugin"));
    const QJsonDocument expected = QJsonDocument::fromJson(R"({
        "name": "Ferry Link",
        "Keys": ["com.vantor.IUIPlugin"],
        "MetaData": {
            "author": "Vantor Project",
            "communication_method": "event_driven",
            "cpu_efficient": true,
            "dependencies": ["setupapi", "hid", "winusb"],
            "description": "High-performance bridge for transmitting CV Data to Titan Two devices",
            "displayName": "Ferry Link",
            "features": ["titan_two", "usb_communication", "sub_millisecond_latency", "cv_bridge"],
            "performance_critical": true,
            "platform": "windows",
            "real_time": true,
            "requirements": {"dedicated_cpu_core": "recommended", "min_windows_version": "10.0", "usb_version": "2.0"},
            "shared_memory_blocks": {"reads": ["CVData"], "writes": []},
            "type": "communication_bridge",
            "version": "1.0.0"
        }
    })");
    ASSERT_FALSE(expected.isNull());
    EXPECT_EQ(QJsonDocument(all[QStringLiteral("MetaData")].toObject()).toJson().toStdString(),
              expected.toJson().toStdString());
    EXPECT_EQ(file.isLoaded(), loadedByOthers);
}

using PluginObject = PluginFixture;

TEST_F(PluginObject, DescribesItselfAtRunTime) {
    EXPECT_EQ(plugin->name(), QStringLiteral("ferrylink"));
    const QJsonDocument expected = QJsonDocument::fromJson(R"({
        "type": "communication_bridge", "displayName": "Ferry Link",
        "description": "Simple bridge for Titan Two devices", "author": "Vantor Project", "version": "1.0.0",
        "features": ["titan_two", "usb_communication"], "platform": "windows"})");
    EXPECT_EQ(QJsonDocument(plugin->metadata()).toJson().toStdString(), expected.toJson().toStdString());
    const QStringList names{QStringLiteral("ControllerInput"),  QStringLiteral("ControllerOutput"),
                            QStringLiteral("ControllerReport"), QStringLiteral("CVData"),
                            QStringLiteral("KeyboardRawInput"), QStringLiteral("MouseRawInput")};
    EXPECT_EQ(plugin->requiredInputBlocks(), names);
    EXPECT_EQ(plugin->requiredOutputBlocks(), names);
}

TEST_F(PluginObject, OffersItsSlotsByNameInTheirOrder) {
    QByteArrayList found;
    const QMetaObject* const meta = object->metaObject();
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i)
        if (meta->method(i).methodType() == QMetaMethod::Slot)
            found += meta->method(i).methodSignature();
    const QByteArrayList expected{"onKMGCaptureStartRequested(bool,bool,bool)",
                                  "onKMGCaptureStopRequested()",
                                  "onStartBridgeRequested(QString)",
                                  "onStopBridgeRequested()",
                                  "onRestartBridgeRequested(QString)",
                                  "onBridgeError(QString)",
                                  "onBridgeStarted()",
                                  "onBridgeStopped()",
                                  "onPerformanceUpdate(uint,uint)",
                                  "onConnectionStatusChanged(bool)",
                                  "onCVDataPerformanceUpdate(uint,double,double)",
                                  "onDeviceSelectionChanged()",
                                  "onDeviceDisconnected()",
                                  "attemptReconnection()"};
    EXPECT_EQ(found.join(' ').toStdString(), expected.join(' ').toStdString());
}

TEST_F(PluginObject, PublishesNullsForWhatIsNotKnownYet) {
    ASSERT_TRUE(bringUp());
    const QJsonDocument noStatus =
        QJsonDocument::fromJson(R"({"connection": "disconnected", "device_serial": null,
        "accepts_commands": false, "capturing": false, "listings": 0, "firmware": null, "loaded_slot": null, "output_protocol": null, "usb_ports": null, "slots": null})");
    const QJsonDocument noRates = QJsonDocument::fromJson(
        R"({"cv_hz": null, "latency_ms": null, "jitter_ms": null, "input_pps": null, "state_pps": null,
            "keyboard_hz": 0, "mouse_hz": 0, "controller_hz": 0})");
    const QJsonDocument noTransfer = QJsonDocument::fromJson(
        R"({"state": "idle", "slot": 0, "file": "", "sent": 0, "reports": 0, "error": ""})");
    EXPECT_EQ(QJsonDocument(status()).toJson().toStdString(), noStatus.toJson().toStdString());
    EXPECT_EQ(QJsonDocument(object->property("rates").toJsonObject()).toJson().toStdString(),
              noRates.toJson().toStdString());
    EXPECT_EQ(QJsonDocument(object->property("transfer").toJsonObject()).toJson().toStdString(),
              noTransfer.toJson().toStdString());
}

} // namespace
} // namespace Vantor
