// The built plug-in in a host of its own: blocks, settings, and simulated adapters in hidapi's place. Tests
// know the plug-in by the host's interface, its properties and its panel's widgets, as any host does.

#pragma once

#include "host/iui_plugin.h"
#include "host/logging_service.h"
#include "host/memory_block_host.h"
#include "host/plugin_run_controller.h"
#include "host/settings_manager.h"
#include "host/shared_memory_accessor.h"
#include "simulator/virtual_adapter.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QCoreApplication>
#include <QJsonObject>
#include <QLabel>
#include <QPluginLoader>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QWidget>
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace Vantor {

inline constexpr int kPatienceMs = 10'000;

/// Runs the event loop until `condition` holds.
template<typename Condition>
testing::AssertionResult eventually(Condition condition) {
    return QTest::qWaitFor(condition, kPatienceMs)
               ? testing::AssertionSuccess()
               : testing::AssertionFailure() << "it did not happen in time";
}

using Report = std::array<unsigned char, 65>;

class PluginFixture : public testing::Test {
protected:
    PluginFixture() {
        virtual_adapter_reset();
        LoggingService::instance().clear();
        LoggingService::instance().setStderrEnabled(false);
        EXPECT_TRUE(blocks.create(
            standardBlocks(QStringLiteral("plugin-%1").arg(QCoreApplication::applicationPid()))))
            << qPrintable(blocks.errorString());
        object = loader.instance();
        plugin = qobject_cast<IUIPlugin*>(object);
    }

    ~PluginFixture() override {
        removePlugin();
        virtual_adapter_library_statistics counts{};
        counts.size = sizeof counts;
        virtual_adapter_get_library_statistics(&counts);
        EXPECT_EQ(counts.open_handles, 0U) << "a handle was left open";
        EXPECT_EQ(counts.inits, counts.exits);
        EXPECT_EQ(counts.lists_not_freed, 0U);
        EXPECT_EQ(counts.misuses, 0U);
    }

    void SetUp() override { ASSERT_NE(plugin, nullptr) << qPrintable(loader.errorString()); }

    bool bringUp() {
        plugin->setSettingsManager(&settings);
        plugin->setMemoryBlocks(blocks.blocks());
        return plugin->initialize();
    }
    void removePlugin() {
        delete object;
        object = nullptr;
        plugin = nullptr;
    }
    QWidget* showPanel() {
        panel.reset(plugin->createPanel(nullptr));
        panel->show();
        return panel.get();
    }
    void start() { plugin->runController()->requestStart(); }
    void stop() { plugin->runController()->requestStop(); }
    bool running() const { return plugin->runController()->isRunning(); }

    QJsonObject status() const { return object->property("status").toJsonObject(); }
    /// The status as a host knows it that looks only when it is told to; kept up to date from now on.
    std::shared_ptr<const QJsonObject> followStatus() {
        const auto known = std::make_shared<QJsonObject>(status());
        auto* const relay = new PluginRunController(object); // any object with a signal that has no arguments
        QObject::connect(object, SIGNAL(statusChanged()), relay, SIGNAL(startRequested()));
        QObject::connect(relay, &PluginRunController::startRequested, relay,
                         [this, known] { *known = status(); });
        return known;
    }
    QJsonObject transfer() const { return object->property("transfer").toJsonObject(); }
    QString transferState() const { return transfer()[QStringLiteral("state")].toString(); }
    bool loadSlotFile(int slot, const QString& path) {
        bool begun = false;
        EXPECT_TRUE(QMetaObject::invokeMethod(object, "loadSlotFile", Q_RETURN_ARG(bool, begun),
                                              Q_ARG(int, slot), Q_ARG(QString, path)));
        return begun;
    }
    void startCapture(bool keyboard, bool mouse, bool controller) {
        EXPECT_TRUE(QMetaObject::invokeMethod(object, "onKMGCaptureStartRequested", Q_ARG(bool, keyboard),
                                              Q_ARG(bool, mouse), Q_ARG(bool, controller)));
    }
    bool capturing() const { return status()[QStringLiteral("capturing")].toBool(); }
    bool acceptsCommands() const { return status()[QStringLiteral("accepts_commands")].toBool(); }
    SharedMemoryAccessor block(const char* name) const {
        for (const MemoryBlockInfo& info : blocks.blocks())
            if (info.name == QLatin1String(name))
                return SharedMemoryAccessor(info);
        return SharedMemoryAccessor({});
    }
    QString connection() const { return status()[QStringLiteral("connection")].toString(); }
    testing::AssertionResult becomes(const char* state) {
        auto result = eventually([&] { return connection() == QLatin1String(state); });
        return result ? result : result << ", the connection is " << qPrintable(connection());
    }

    QString shown(const char* accessibleName) const {
        for (const QLabel* const label : panel->findChildren<QLabel*>())
            if (label->accessibleName() == QLatin1String(accessibleName))
                return label->text();
        return {};
    }
    QComboBox* deviceList() const { return panel->findChild<QComboBox*>(QStringLiteral("deviceList")); }
    QAbstractButton* restartButton() const {
        return panel->findChild<QAbstractButton*>(QStringLiteral("restartButton"));
    }

    static bool logged(LogEntry::Level level, const QString& message, const char* source = "FerryLink") {
        for (const LogEntry& entry : LoggingService::instance().entries())
            if (entry.level == level && entry.source == QLatin1String(source) && entry.message == message)
                return true;
        return false;
    }
    QString storedSerial() const {
        return settings.getPluginValue(QStringLiteral("ferry_link"), QStringLiteral("selected_device_serial"))
            .toString();
    }
    /// Whether the plug-in is still up to something that a timer will bring.
    bool anyTimerRuns() const {
        for (const QTimer* const timer : object->findChildren<QTimer*>())
            if (timer->isActive())
                return true;
        return false;
    }

    static virtual_adapter_statistics statistics(int adapter) {
        virtual_adapter_statistics counts{};
        counts.size = sizeof counts;
        EXPECT_EQ(virtual_adapter_get_statistics(adapter, &counts), 0);
        return counts;
    }
    /// The adapter's received reports, the newest last.
    static std::vector<Report> received(int adapter) {
        std::vector<Report> reports(virtual_adapter_captured_count(adapter));
        for (std::size_t i = 0; i < reports.size(); ++i)
            EXPECT_EQ(virtual_adapter_captured(adapter, i, reports[i].data(), reports[i].size(), nullptr),
                      65);
        return reports;
    }

    MemoryBlockHost blocks;
    QTemporaryDir directory;
    SettingsManager settings{directory.filePath(QStringLiteral("settings.ini"))};
    QPluginLoader loader{QStringLiteral(FERRYLINK_PLUGIN_FILE)};
    QObject* object = nullptr; ///< the plug-in
    IUIPlugin* plugin = nullptr;
    std::unique_ptr<QWidget> panel;
};

} // namespace Vantor
