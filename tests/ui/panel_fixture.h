// The panel in a window, with words for what a user finds in it.

#pragma once

#include "host/plugin_run_controller.h"
#include "ui/ferry_link_widget.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QTest>
#include <gtest/gtest.h>

#include <memory>

namespace Vantor {

inline TitanDevice adapter(const QString& path, const QString& serial) {
    TitanDevice device;
    device.path = path;
    device.name = QStringLiteral("Titan Two Device 1");
    device.serialNumber = serial;
    device.manufacturer = QStringLiteral("ConsoleTuner");
    return device;
}

inline TitanScriptInfo script(int slot, const QString& name, const QString& version, const QString& author,
                              const QString& translator) {
    TitanScriptInfo info;
    info.slot = slot;
    info.name = name;
    info.version = version;
    info.author = author;
    info.inputTranslator = translator;
    return info;
}

class Panel : public testing::Test {
protected:
    Panel() {
        panel.resize(320, 900);
        panel.show();
        panel.activateWindow();
        QApplication::setActiveWindow(&panel);
    }

    /// A connected adapter with something in its slots.
    void connectAdapter() {
        panel.setDevices({adapter(QStringLiteral("/dev/a"), QStringLiteral("A"))}, {});
        panel.setConnectionState(ConnectionState::connected);
        panel.setScripts({script(1, QStringLiteral("Rapid Fire"), QStringLiteral("1.05"),
                                 QStringLiteral("FerryLink"), QStringLiteral("[RK] Desk")),
                          script(2, QStringLiteral("Combo Trainer"), QStringLiteral("2.10"),
                                 QStringLiteral("FerryLink"), {}),
                          script(4, {}, {}, {}, QStringLiteral("[KM] Keyboard and Mouse"))});
        panel.setLoadedSlot(1);
    }

    template<typename Widget>
    Widget* child(const char* name) {
        return panel.findChild<Widget*>(QString::fromLatin1(name));
    }
    QAbstractButton* button(const QString& accessibleName) {
        for (QAbstractButton* const candidate : panel.findChildren<QAbstractButton*>())
            if (candidate->accessibleName() == accessibleName)
                return candidate;
        return nullptr;
    }
    static void click(QAbstractButton* target) {
        ASSERT_NE(target, nullptr);
        QTest::mouseClick(target, Qt::LeftButton);
    }
    /// What stands behind a caption.
    QString value(const QString& caption) {
        for (QLabel* const label : panel.findChildren<QLabel*>())
            if (label->accessibleName() == caption)
                return label->text();
        return QStringLiteral("(no such row)");
    }
    QWidget* slot(int number) {
        return panel.findChild<QWidget*>(QStringLiteral("memorySlot%1").arg(number));
    }
    QString slotText(int number) {
        const QWidget* const item = slot(number);
        return item == nullptr ? QStringLiteral("(no such slot)") : item->accessibleName();
    }

    std::unique_ptr<PluginRunController> controller = std::make_unique<PluginRunController>();
    FerryLinkWidget panel{controller.get()};
};

} // namespace Vantor
