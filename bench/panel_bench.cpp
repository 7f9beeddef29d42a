// What an open panel costs while everything that it shows changes at its fastest: new figures four times a
// second, all of them different, the history once a second. Processor time of a second's refreshes, drawn
// into memory, as a share of one core.
#include "bench/comparison.h"
#include "host/plugin_run_controller.h"
#include "ui/ferry_link_widget.h"

#include <QApplication>

namespace {

using namespace Vantor;

constexpr int kWarmUp = 20;
constexpr int kSamples = 300;
constexpr int kRefreshesPerSecond = 4;
constexpr double kSecondNs = 1e9;
constexpr double kGoal = 0.02;

TitanDevice device() {
    TitanDevice device;
    device.path = QStringLiteral("/dev/hidraw0");
    device.name = QStringLiteral("Titan Two Device 1");
    device.serialNumber = QStringLiteral("BENCH");
    return device;
}

QList<TitanScriptInfo> scripts() {
    QList<TitanScriptInfo> scripts;
    for (int slot = 1; slot <= 9; ++slot) {
        TitanScriptInfo script;
        script.slot = slot;
        script.name = QStringLiteral("Script %1").arg(slot);
        script.version = QStringLiteral("1.05");
        script.author = QStringLiteral("FerryLink");
        scripts.append(script);
    }
    return scripts;
}

/// Everything that changes within a second of a busy bridge with a capture.
void refreshForASecond(FerryLinkWidget& panel, quint32 step) {
    panel.setPacketRate(static_cast<int>(5000 + step));
    for (quint32 refresh = 0; refresh < kRefreshesPerSecond; ++refresh) {
        const quint32 change = step * kRefreshesPerSecond + refresh;
        panel.setFrameRates(1000 + change % 100, 0.02 + 0.001 * (change % 50), 0.01 + 0.001 * (change % 7));
        panel.setReportRates(1000 + change % 90, 990 + change % 80);
        panel.setKmgRates(100 + change % 70, 1000 + change % 60, 250 + change % 40);
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
    }
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    PluginRunController controller;
    FerryLinkWidget panel(&controller);
    panel.resize(360, 1000);
    panel.show();
    panel.setDevices({device()}, {});
    panel.setConnectionState(ConnectionState::connected);
    panel.setScripts(scripts());
    panel.setKmgCapturing(true);

    quint32 step = 0;
    const auto second = [&] {
        const double start = bench::processorTimeNs();
        refreshForASecond(panel, ++step);
        return bench::processorTimeNs() - start;
    };
    bench::print("panel at full rate", "one core for a second", kGoal,
                 bench::inTurns(kWarmUp, kSamples, second, [] { return kSecondNs; }));
    return 0;
}
