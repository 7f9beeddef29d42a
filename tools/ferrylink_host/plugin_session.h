// The plug-in's life inside this host: loading, blocks, settings, initialisation, panel, shutdown. It knows
// the plug-in by the host's interface and by what the object publishes as properties, never by type. GUI
// thread only.

#pragma once

#include "host/memory_block_host.h"
#include "host/settings_manager.h"

#include <QJsonObject>
#include <QObject>
#include <QPluginLoader>

#include <memory>

class QWidget;

namespace Vantor {

class IUIPlugin;
class PluginRunController;

namespace devhost {

struct CaptureRequest;
struct Options;

class PluginSession : public QObject {
    Q_OBJECT

public:
    explicit PluginSession(QObject* parent = nullptr);
    ~PluginSession() override; ///< shuts the plug-in down and deletes it; the library stays loaded

    /// Makes the blocks, loads the plug-in and brings it up. False: errorString() says what went wrong.
    bool open(const Options& options);
    void shutDown();
    QString errorString() const { return error; }

    QWidget* createPanel(QWidget* parent);
    PluginRunController* runController() const;

    /// What the plug-in publishes; empty objects when it publishes none.
    QJsonObject rates() const;
    QJsonObject status() const;
    QJsonObject transfer() const;
    /// Asks the plug-in to load a file into slot 1..9; transfer() says what becomes of it. False: nothing is
    /// sent.
    bool loadSlotFile(int slot, const QString& file);
    /// Asks it to capture; status() says whether it does. False: it does not know how.
    bool startCapture(const CaptureRequest& sources);
    /// For other parts of the host that write or read them.
    const QList<MemoryBlockInfo>& memoryBlocks() const { return blocks.blocks(); }
    /// Records that have been written to this block, or -1 when it cannot be read.
    qint64 recordsWritten(const char* blockName) const;

signals:
    void statusChanged();
    void transferChanged();

private:
    bool loadPlugin(const QString& file);
    bool offerBlocks();
    QObject* instance() const;

    MemoryBlockHost blocks;
    std::unique_ptr<SettingsManager> settings;
    QPluginLoader loader;
    IUIPlugin* plugin = nullptr; ///< the loader's instance
    bool initialized = false;
    QString error;
};

} // namespace devhost
} // namespace Vantor
