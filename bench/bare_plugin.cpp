// The least that a plug-in of this kind can be: it tells the host its name, starts hidapi, asks once for the
// adapters that are there, and ends hidapi. What bench/start_bench.cpp compares the start with.
#include "host/iui_plugin.h"
#include "host/plugin_run_controller.h"

#include <QObject>
#include <QWidget>
#include <hidapi/hidapi.h>

namespace Vantor {

class BarePlugin : public QObject, public IUIPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "com.vantor.IUIPlugin")
    Q_INTERFACES(Vantor::IUIPlugin)

public:
    QString name() const override { return QStringLiteral("bare"); }
    QJsonObject metadata() const override { return {}; }
    QStringList requiredInputBlocks() const override { return {}; }
    QStringList requiredOutputBlocks() const override { return {}; }
    void setMemoryBlocks(const QList<MemoryBlockInfo>& /*blocks*/) override {}
    void setSettingsManager(SettingsManager* /*settings*/) override {}
    bool initialize() override {
        constexpr unsigned short kVendor = 0x2508;
        constexpr unsigned short kProduct = 0x0032;
        if (hid_init() != 0)
            return false;
        hid_free_enumeration(hid_enumerate(kVendor, kProduct));
        return true;
    }
    void shutdown() override { hid_exit(); }
    QWidget* createPanel(QWidget* parent) override { return new QWidget(parent); }
    PluginRunController* runController() override { return &controller; }

private:
    PluginRunController controller;
};

} // namespace Vantor

#include "bare_plugin.moc"
