// The development host's own window around the plug-in that ships, with simulated adapters in hidapi's place,
// worked by mouse, keys and drags as a person does.

#pragma once

#include "host/logging_service.h"
#include "host/records.h"
#include "host/run_status_card.h"
#include "host/shared_memory_accessor.h"
#include "simulator/virtual_adapter.h"
#include "tools/ferrylink_host/command_line.h"
#include "tools/ferrylink_host/host_window.h"
#include "tools/ferrylink_host/plugin_session.h"
#include "tools/ferrylink_host/script_library.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

#include <array>
#include <memory>

namespace Vantor {

inline constexpr int kPatienceMs = 20'000;

/// Runs the event loop until `condition` holds.
template<typename Condition>
testing::AssertionResult eventually(Condition condition) {
    return QTest::qWaitFor(condition, kPatienceMs)
               ? testing::AssertionSuccess()
               : testing::AssertionFailure() << "it did not happen in time";
}

class HostWindowTest : public testing::Test {
protected:
    HostWindowTest() {
        virtual_adapter_reset();
        LoggingService::instance().clear();
        LoggingService::instance().setStderrEnabled(false);
    }
    ~HostWindowTest() override {
        closeHost();
        virtual_adapter_library_statistics counts{};
        counts.size = sizeof counts;
        virtual_adapter_get_library_statistics(&counts);
        EXPECT_EQ(counts.open_handles, 0U) << "a handle was left open";
        EXPECT_EQ(counts.misuses, 0U);
    }

    void openHost() {
        devhost::Options options;
        options.instance = QStringLiteral("window-%1").arg(QCoreApplication::applicationPid());
        options.settingsFile = directory.filePath(QStringLiteral("settings.ini"));
        session = std::make_unique<devhost::PluginSession>();
        ASSERT_TRUE(session->open(options)) << qPrintable(session->errorString());
        window = std::make_unique<devhost::HostWindow>(*session);
        window->show();
        window->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    }
    /// As the program does when its window was closed.
    void closeHost() {
        frames.stop();
        producer.reset();
        if (window)
            window->close();
        if (session)
            session->shutDown();
        window.reset();
        session.reset();
    }

    // ---- What is shown and said ----

    template<typename Widget>
    Widget* find(const char* objectName) const {
        auto* const widget = window->findChild<Widget*>(QString::fromLatin1(objectName));
        EXPECT_NE(widget, nullptr) << objectName;
        return widget;
    }
    QWidget* slot(int number) const {
        return find<QWidget>(qPrintable(QStringLiteral("memorySlot%1").arg(number)));
    }
    /// All that a slot says, as a screen reader hears it.
    QString slotText(int number) const { return slot(number)->accessibleName(); }
    testing::AssertionResult slotSays(int number, const char* text) const {
        auto result = eventually([&] { return slotText(number).contains(QLatin1String(text)); });
        return result ? result : result << ", slot " << number << " says " << qPrintable(slotText(number));
    }
    QJsonObject status() const { return session->status(); }
    QString connection() const { return status()[QStringLiteral("connection")].toString(); }
    testing::AssertionResult becomes(const char* state) const {
        auto result = eventually([&] { return connection() == QLatin1String(state); });
        return result ? result : result << ", the connection is " << qPrintable(connection());
    }
    /// The slots are known and can be filled.
    testing::AssertionResult ready() const {
        return eventually([&] {
            return status()[QStringLiteral("accepts_commands")].toBool() &&
                   status()[QStringLiteral("slots")].isArray();
        });
    }
    QMessageBox* box() const {
        for (QMessageBox* const shown : window->findChildren<QMessageBox*>())
            if (shown->isVisible())
                return shown;
        return nullptr;
    }
    /// Waits for a box with this title, closes it as a person does, and returns its text.
    QString readBox(const char* title) const {
        EXPECT_TRUE(eventually([&] { return box() != nullptr; })) << title;
        QMessageBox* const shown = box();
        if (shown == nullptr)
            return {};
        EXPECT_EQ(shown->windowTitle(), QString::fromLatin1(title));
        QString text = shown->text();
        QTest::mouseClick(shown->button(QMessageBox::Ok), Qt::LeftButton);
        EXPECT_TRUE(eventually([&] { return box() == nullptr; }));
        return text;
    }
    static virtual_adapter_statistics counts(int adapter) {
        virtual_adapter_statistics all{};
        all.size = sizeof all;
        EXPECT_EQ(virtual_adapter_get_statistics(adapter, &all), 0);
        return all;
    }
    SharedMemoryAccessor block(const char* name) const {
        for (const MemoryBlockInfo& info : session->memoryBlocks())
            if (info.name == QLatin1String(name))
                return SharedMemoryAccessor(info);
        return SharedMemoryAccessor({});
    }

    /// The leading number of a figure in the panel; 0 where there is none.
    double figureShown(const char* caption) const {
        for (const QWidget* const widget : find<QWidget>("FerryLinkWidget")->findChildren<QWidget*>())
            if (widget->accessibleName() == QLatin1String(caption))
                return widget->property("text").toString().section(u' ', 0, 0).toDouble();
        ADD_FAILURE() << caption << " is not shown";
        return 0;
    }

    /// Publishes a frame each millisecond, until the host is closed.
    void feed() {
        producer.reset(new SharedMemoryAccessor(block(BlockName::kCVData))); // neither copied nor moved
        ASSERT_TRUE(producer->connect());
        QObject::connect(&frames, &QTimer::timeout, window.get(), [this] {
            const std::array<std::uint8_t, 256> frame{};
            producer->writeData(frame.data(), frame.size());
        });
        frames.start(1);
    }

    // ---- What a person does ----

    void pressRun() {
        auto* const button = find<QWidget>("FerryLinkWidget")->findChild<RunControlButton*>();
        ASSERT_NE(button, nullptr);
        QTest::mouseClick(button, Qt::LeftButton);
    }
    void chooseFromMenu(int slotNumber, const char* entry) {
        QWidget* const item = slot(slotNumber);
        const QPoint place = item->rect().center();
        QContextMenuEvent wish(QContextMenuEvent::Mouse, place, item->mapToGlobal(place));
        QCoreApplication::sendEvent(item, &wish);
        auto* const menu = item->findChild<QMenu*>();
        ASSERT_NE(menu, nullptr);
        for (QAction* const action : menu->actions()) {
            if (action->text() != QLatin1String(entry))
                continue;
            QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(action).center());
            EXPECT_TRUE(eventually([&] { return item->findChild<QMenu*>() == nullptr; }));
            return;
        }
        FAIL() << "the menu has no entry " << entry;
    }
    void typeIntoFileDialog(const char* title, const QString& path) {
        QFileDialog* dialog = nullptr;
        ASSERT_TRUE(eventually([&] { return (dialog = window->findChild<QFileDialog*>()) != nullptr; }));
        EXPECT_EQ(dialog->windowTitle(), QString::fromLatin1(title));
        auto* const name = dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
        ASSERT_NE(name, nullptr);
        name->clear();
        QTest::keyClicks(name, QFileInfo(path).absoluteFilePath()); // where paths have drives, with its drive
        QTest::keyClick(name, Qt::Key_Return);
        EXPECT_TRUE(eventually([&] { return window->findChild<QFileDialog*>() == nullptr; }));
    }
    /// Whether the slot took what was dropped on it.
    bool drop(int slotNumber, const QMimeData& dragged) {
        QWidget* const item = slot(slotNumber);
        const QPoint place = item->rect().center();
        QDragEnterEvent enter(place, Qt::CopyAction, &dragged, Qt::LeftButton, {});
        QCoreApplication::sendEvent(item, &enter);
        if (!enter.isAccepted())
            return false;
        QDragMoveEvent move(place, Qt::CopyAction, &dragged, Qt::LeftButton, {});
        QCoreApplication::sendEvent(item, &move);
        QDropEvent release(place, Qt::CopyAction, &dragged, Qt::LeftButton, {});
        QCoreApplication::sendEvent(item, &release);
        return release.isAccepted();
    }
    /// Drags an entry of the window's own list.
    bool dropFromLibrary(int slotNumber, const char* fileName) {
        auto* const library = find<devhost::ScriptLibrary>("scriptLibrary");
        for (int row = 0; row < library->count(); ++row) {
            const QModelIndex index = library->model()->index(row, 0);
            if (!index.data(Qt::UserRole).toString().endsWith(QLatin1Char('/') + QLatin1String(fileName)))
                continue;
            const std::unique_ptr<QMimeData> dragged(library->model()->mimeData({index}));
            return drop(slotNumber, *dragged);
        }
        ADD_FAILURE() << fileName << " is not in the list";
        return false;
    }
    bool dropFile(int slotNumber, const QString& path, const char* format) {
        QMimeData dragged;
        dragged.setData(QString::fromLatin1(format), path.toUtf8());
        return drop(slotNumber, dragged);
    }
    QString write(const char* fileName, const QByteArray& bytes) const {
        QFile file(directory.filePath(QString::fromLatin1(fileName)));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
        return file.fileName();
    }

    QTemporaryDir directory;
    std::unique_ptr<devhost::PluginSession> session;
    std::unique_ptr<devhost::HostWindow> window;
    QTimer frames;
    std::unique_ptr<SharedMemoryAccessor> producer;
};

} // namespace Vantor
