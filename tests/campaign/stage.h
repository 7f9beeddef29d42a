// The shipped plug-in with its panel and one simulated adapter, in a process of its own, with words for what
// a user and a host do and see. It asserts nothing: what looks wrong is told by complaints. GUI thread only.

#pragma once

#include "host/iui_plugin.h"
#include "host/memory_block_host.h"
#include "host/plugin_run_controller.h"
#include "host/settings_manager.h"
#include "host/shared_memory_accessor.h"
#include "simulator/virtual_adapter.h"

#include <QAbstractButton>
#include <QJsonObject>
#include <QPluginLoader>
#include <QStringList>
#include <QTemporaryDir>
#include <QWidget>

#include <cstdint>
#include <functional>
#include <memory>

namespace Vantor::campaign {

class Stage {
public:
    Stage();
    ~Stage();
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    /// Empty when the plug-in is loaded, initialised and shown, else why not.
    QString problem() const { return setUpProblem; }
    int adapter() const { return adapterNumber; }

    /// Runs the event loop until `condition` holds; false when it does not in twenty seconds.
    static bool until(const std::function<bool()>& condition);

    // ---- What a user and a host do ----
    /// Starts or stops, whatever the button offers.
    void clickRun();
    void restart();
    void reconnectNow();
    void startCapture();
    void stopCapture();
    bool loadSlot(int slotNumber, const QString& file);
    bool initialize() { return plugin->initialize(); }
    void shutdown() { plugin->shutdown(); }
    void closeBoxes();
    /// Publishes one test frame of 1..5 packets.
    bool publishFrame(unsigned packets);
    bool publishKey(bool held);

    // ---- What they see ----
    QString connection() const { return status(QStringLiteral("connection")).toString(); }
    bool isRunning() const { return plugin->runController()->isRunning(); }
    bool acceptsCommands() const { return status(QStringLiteral("accepts_commands")).toBool(); }
    bool isCapturing() const { return status(QStringLiteral("capturing")).toBool(); }
    QString transferState() const { return transfer(QStringLiteral("state")); }
    QString transferError() const { return transfer(QStringLiteral("error")); }
    QString errorShown() const;
    /// "TITLE: TEXT" of each warning box.
    QStringList boxes() const;
    /// Texts of the log's warnings and errors since the last call.
    QStringList takeComplaintsOfTheLog();
    /// What the panel shows that does not go with the plug-in's state; empty when all does.
    QStringList contradictionsInThePanel() const;
    bool anyTimerRuns() const;

    virtual_adapter_statistics adapterCounts() const;
    static virtual_adapter_library_statistics libraryCounts();
    /// Waits for a controller state to be published.
    bool seesAState();

    QString scriptFile, fullScriptFile, translatorFile;

private:
    QJsonValue status(const QString& key) const;
    QString transfer(const QString& key) const;
    QString labelText(const char* accessibleName) const;
    QAbstractButton* button(const char* name) const;
    void writeFiles();

    QString setUpProblem;
    MemoryBlockHost blocks;
    QTemporaryDir directory;
    SettingsManager settings{directory.filePath(QStringLiteral("settings.ini"))};
    QPluginLoader loader{QStringLiteral(FERRYLINK_PLUGIN_FILE)};
    QObject* object = nullptr;
    IUIPlugin* plugin = nullptr;
    std::unique_ptr<QWidget> panel;
    int adapterNumber = -1;
    std::unique_ptr<SharedMemoryAccessor> producer, keyboard, states;
    std::uint64_t frames = 0;
};

} // namespace Vantor::campaign
