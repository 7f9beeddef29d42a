#include "plugin_session.h"

#include "command_line.h"
#include "host/block_access.h"
#include "host/iui_plugin.h"
#include "host/plugin_run_controller.h"
#include "host/shared_memory_accessor.h"

#include <QCoreApplication>
#include <QDir>

#include <algorithm>

namespace Vantor::devhost {

namespace {

// From this program's directory.
constexpr char kPluginFile[] = FERRYLINK_PLUGIN_FILE;

} // namespace

PluginSession::PluginSession(QObject* parent) : QObject(parent) {}

PluginSession::~PluginSession() {
    shutDown();
    if (plugin != nullptr)
        delete loader.instance();
}

bool PluginSession::open(const Options& options) {
    if (!blocks.create(standardBlocks(options.instance))) {
        error = blocks.errorString();
        return false;
    }
    const QString built =
        QDir(QCoreApplication::applicationDirPath()).absoluteFilePath(QString::fromUtf8(kPluginFile));
    if (!loadPlugin(options.pluginFile.isEmpty() ? built : options.pluginFile))
        return false;

    settings = std::make_unique<SettingsManager>(options.settingsFile);
    if (!options.serial.isEmpty())
        settings->setPluginValue(QStringLiteral("ferry_link"), QStringLiteral("selected_device_serial"),
                                 options.serial);
    plugin->setSettingsManager(settings.get());
    if (!offerBlocks())
        return false;
    initialized = plugin->initialize();
    if (!initialized)
        error = QStringLiteral("The plug-in could not be initialised.");
    return initialized;
}

bool PluginSession::loadPlugin(const QString& file) {
    loader.setFileName(file);
    QObject* const object = loader.instance();
    if (object == nullptr) {
        error = QStringLiteral("The plug-in cannot be loaded from %1: %2").arg(file, loader.errorString());
        return false;
    }
    plugin = qobject_cast<IUIPlugin*>(object);
    if (plugin == nullptr) {
        error = QStringLiteral("%1 is a plug-in, but not for this host.").arg(file);
        return false;
    }
    // By name, for the type is the plug-in's own. One that publishes none of this has no such signal.
    if (object->metaObject()->indexOfSignal("statusChanged()") >= 0)
        connect(object, SIGNAL(statusChanged()), this, SIGNAL(statusChanged()));
    if (object->metaObject()->indexOfSignal("transferChanged()") >= 0)
        connect(object, SIGNAL(transferChanged()), this, SIGNAL(transferChanged()));
    return true;
}

bool PluginSession::offerBlocks() {
    QStringList names;
    for (const MemoryBlockInfo& block : blocks.blocks())
        names += block.name;
    for (const QString& required : plugin->requiredInputBlocks() + plugin->requiredOutputBlocks()) {
        if (names.contains(required))
            continue;
        error =
            QStringLiteral("The plug-in needs a block \"%1\", which this host does not have.").arg(required);
        return false;
    }
    plugin->setMemoryBlocks(blocks.blocks());
    return true;
}

void PluginSession::shutDown() {
    if (initialized)
        plugin->shutdown();
    initialized = false;
}

QWidget* PluginSession::createPanel(QWidget* parent) {
    return plugin->createPanel(parent);
}

PluginRunController* PluginSession::runController() const {
    return plugin->runController();
}

QObject* PluginSession::instance() const {
    return dynamic_cast<QObject*>(plugin);
}

QJsonObject PluginSession::rates() const {
    return instance()->property("rates").toJsonObject();
}

QJsonObject PluginSession::status() const {
    return instance()->property("status").toJsonObject();
}

QJsonObject PluginSession::transfer() const {
    return instance()->property("transfer").toJsonObject();
}

bool PluginSession::loadSlotFile(int slot, const QString& file) {
    bool begun = false;
    return QMetaObject::invokeMethod(instance(), "loadSlotFile", Qt::DirectConnection,
                                     Q_RETURN_ARG(bool, begun), Q_ARG(int, slot), Q_ARG(QString, file)) &&
           begun;
}

bool PluginSession::startCapture(const CaptureRequest& sources) {
    return QMetaObject::invokeMethod(instance(), "onKMGCaptureStartRequested", Qt::DirectConnection,
                                     Q_ARG(bool, sources.keyboard), Q_ARG(bool, sources.mouse),
                                     Q_ARG(bool, sources.controller));
}

qint64 PluginSession::recordsWritten(const char* blockName) const {
    const QList<MemoryBlockInfo>& all = blocks.blocks();
    const auto info = std::find_if(all.begin(), all.end(), [&](const MemoryBlockInfo& block) {
        return block.name == QLatin1String(blockName);
    });
    if (info == all.end())
        return -1;
    SharedMemoryAccessor block(*info);
    if (!block.connect())
        return -1;
    // A fresh block counts its records from 1.
    return blockLoad<std::int64_t>(block.getHeaderPointer(), BlockLayout::kSequenceOffset,
                                   std::memory_order_acquire);
}

} // namespace Vantor::devhost
