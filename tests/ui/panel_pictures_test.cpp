// Every state of the panel at every width, theme and font size that it must fit. With the environment
// variable FERRYLINK_PICTURES naming a folder, each is also saved there as a picture, to be looked at.

#include "tests/ui/panel_fixture.h"
#include "ui/history_plot.h"
#include "ui/slot_files.h"
#include "ui/slot_list_view.h"
#include "ui/transfer_view.h"

#include <QDir>
#include <QDragEnterEvent>
#include <QMessageBox>
#include <QMimeData>
#include <QScrollArea>

#include <chrono>
#include <cmath>
#include <functional>
#include <vector>

namespace Vantor {
namespace {

QPalette darkPalette() {
    QPalette dark;
    for (const auto& [role, colour] :
         std::initializer_list<std::pair<QPalette::ColorRole, QRgb>>{{QPalette::Window, 0xff232629},
                                                                     {QPalette::WindowText, 0xfffcfcfc},
                                                                     {QPalette::Base, 0xff1b1e20},
                                                                     {QPalette::AlternateBase, 0xff232629},
                                                                     {QPalette::Text, 0xfffcfcfc},
                                                                     {QPalette::Button, 0xff31363b},
                                                                     {QPalette::ButtonText, 0xfffcfcfc},
                                                                     {QPalette::BrightText, 0xffffffff},
                                                                     {QPalette::Highlight, 0xff3daee9},
                                                                     {QPalette::HighlightedText, 0xffffffff},
                                                                     {QPalette::Link, 0xff2980b9},
                                                                     {QPalette::ToolTipBase, 0xff31363b},
                                                                     {QPalette::ToolTipText, 0xfffcfcfc}})
        dark.setColor(role, QColor(colour));
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        dark.setColor(QPalette::Disabled, role, QColor(0xff8a8d90));
    return dark;
}

class PanelPictures : public Panel {
protected:
    void fill() {
        connectAdapter();
        controller->setRunning(true);
        TitanUsbPortInfo ports;
        ports.inputA = QStringLiteral("Multi Interface HID");
        ports.inputB = QStringLiteral("Disconnected");
        ports.output = QStringLiteral("Playstation 4");
        ports.prog = QStringLiteral("Vantor");
        panel.setUsbPorts(ports);
        panel.setFirmwareVersion(QStringLiteral("1.2.3.4"));
        panel.setOutputProtocol(3, QStringLiteral("Playstation 4"));
        panel.setReportRates(250, 125);
        panel.setPacketRate(2883);
        if (auto* plot = child<QWidget>("historyPlot"))
            fillHistory(*plot);
        panel.setKmgCapturing(true);
        panel.setKmgRates(12, 125, 0);
    }
    void fillHistory(QWidget& plot);

    void take(const QString& name) {
        for (int i = 0; i < 5; ++i) // layouts of layouts settle
            QApplication::processEvents();
        const auto* const scroll = panel.findChild<QScrollArea*>();
        EXPECT_LE(scroll->widget()->width(), scroll->viewport()->width())
            << qPrintable(name) << ": cut off on the right";
        save(panel, name);
    }
    static void save(QWidget& widget, const QString& name) {
        const QString folder = qEnvironmentVariable("FERRYLINK_PICTURES");
        if (!folder.isEmpty()) {
            EXPECT_TRUE(widget.grab().save(QDir(folder).filePath(name + QStringLiteral(".png"))));
        }
    }
};

void PanelPictures::fillHistory(QWidget& plot) {
    auto* const history = qobject_cast<HistoryPlot*>(&plot);
    ASSERT_NE(history, nullptr);
    const auto nowMs = std::chrono::duration_cast<std::chrono::milliseconds>(
                           std::chrono::steady_clock::now().time_since_epoch())
                           .count();
    for (int age = 54; age >= 1; --age) {
        if (age > 40 && age < 44)
            continue; // the bridge was stopped
        const double wave = std::sin(age * 0.9) + std::sin(age * 0.37);
        history->addSample(age > 43 ? 480 + 20 * wave : 950 + 15 * wave, 0.05 + 0.012 * wave,
                           nowMs - age * 1000);
    }
    panel.setFrameRates(961, 0.0341, 0.013);
}

TEST_F(PanelPictures, FitsEveryWidthInEveryState) {
    struct Scene {
        const char* name;
        std::function<void()> set;
    };
    const std::vector<Scene> scenes{
        {"empty", [] {}},
        {"stopped",
         [this] { panel.setDevices({adapter(QStringLiteral("/dev/a"), QStringLiteral("A"))}, {}); }},
        {"connected", [this] { fill(); }},
        {"transferring",
         [this] {
             auto* const view = child<TransferView>("transferView");
             view->start(3, QStringLiteral("recoil_curve.gpc"), 137);
             view->setProgress(61, 137);
             panel.findChild<SlotListView*>()->setTransferShare(3, 61 / 137.0);
         }},
        {"dragging",
         [this] {
             child<TransferView>("transferView")->hide();
             panel.findChild<SlotListView*>()->setTransferShare(3, -1);
             slot(2)->setFocus();
             QMimeData data;
             data.setData(QLatin1String(kGpcSourceMimeType), "/a.gpc");
             QDragEnterEvent enter({9, 9}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
             QApplication::sendEvent(slot(3), &enter);
         }},
        {"reconnecting",
         [this] {
             panel.setConnectionState(ConnectionState::reconnecting);
             panel.setErrorMessage(
                 QStringLiteral("The device was disconnected. Waiting for it to come back."));
         }},
    };
    const QPalette light = QApplication::palette();
    for (const Scene& scene : scenes) {
        scene.set();
        for (const bool isDark : {false, true}) {
            QApplication::setPalette(isDark ? darkPalette() : light);
            for (const int width : {220, 300, 420, 700, 230}) {
                panel.resize(width, 1180);
                take(QStringLiteral("%1-%2-%3")
                         .arg(QLatin1String(scene.name))
                         .arg(width)
                         .arg(isDark ? QStringLiteral("dark") : QStringLiteral("light")));
            }
        }
        QApplication::setPalette(light);
    }
}

TEST_F(PanelPictures, FitsLargeFonts) {
    QFont font = QApplication::font();
    const QFont before = font;
    font.setPointSizeF(font.pointSizeF() * 1.6);
    QApplication::setFont(font);
    {
        PluginRunController other;
        FerryLinkWidget large(&other);
        large.setDevices({adapter(QStringLiteral("/dev/a"), QStringLiteral("A"))}, {});
        large.resize(340, 1400);
        large.show();
        for (int i = 0; i < 5; ++i)
            QApplication::processEvents();
        const auto* const scroll = large.findChild<QScrollArea*>();
        EXPECT_LE(scroll->widget()->width(), scroll->viewport()->width());
        save(large, QStringLiteral("large-font"));
    }
    QApplication::setFont(before);
}

TEST_F(PanelPictures, ShowsWarnings) {
    connectAdapter();
    panel.showWarningBox(QStringLiteral("GPC Compilation Failed"),
                         QStringLiteral("Line 12, column 5: unknown name 'recoil_step'"));
    panel.showWarningBox(QStringLiteral("GPC Bytecode"),
                         QStringLiteral("Failed to load aim.gbc into slot 3."));
    for (QMessageBox* const box : panel.findChildren<QMessageBox*>()) {
        EXPECT_TRUE(box->isVisible());
        save(*box, box->windowTitle());
    }
}

} // namespace
} // namespace Vantor
