// What the host expects of a plug-in. All operations run on the GUI thread.
// Order: setSettingsManager, setMemoryBlocks, initialize, createPanel (at most one panel at a time), ...,
// shutdown.

#pragma once

#include "host/memory_block_info.h"

#include <QJsonObject>
#include <QStringList>
#include <QtPlugin>

class QWidget;

namespace Vantor {

class PluginRunController;
class SettingsManager;

class IUIPlugin {
public:
    virtual ~IUIPlugin() = default;

    /// The plug-in's plain name, for logs and files.
    virtual QString name() const = 0;
    /// What the host shows about a loaded plug-in.
    virtual QJsonObject metadata() const = 0;

    /// Blocks that the plug-in reads, and blocks that it writes. The host offers every block in either list.
    virtual QStringList requiredInputBlocks() const = 0;
    virtual QStringList requiredOutputBlocks() const = 0;
    virtual void setMemoryBlocks(const QList<MemoryBlockInfo>& blocks) = 0;
    /// Not owned; outlives the plug-in's use of it. May be null.
    virtual void setSettingsManager(SettingsManager* settings) = 0;

    /// False: the plug-in could not start and has logged why; shutdown() then need not be called.
    virtual bool initialize() = 0;
    virtual void shutdown() = 0;

    /// Builds the dock panel; the parent owns it.
    virtual QWidget* createPanel(QWidget* parent) = 0;
    /// Through which the host starts and stops the plug-in's work; owned by the plug-in, valid while it is
    /// loaded.
    virtual PluginRunController* runController() = 0;
};

} // namespace Vantor

Q_DECLARE_INTERFACE(Vantor::IUIPlugin, "com.vantor.IUIPlugin")
