// The slots under a user's hands: menu, keys, buttons, mouse, files dropped and chosen, and what reaches the
// adapter for it.

#include "tests/ui/panel_fixture.h"
#include "ui/slot_list_view.h"
#include "ui/slot_operations.h"

#include <QComboBox>
#include <QDragEnterEvent>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QProgressBar>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QUrl>
#include <gmock/gmock.h>

#include <functional>

namespace Vantor {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Bytes = std::vector<std::uint8_t>;

class Slots : public Panel {
protected:
    Slots() {
        QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        connectAdapter();
        panel.setSlotOperations(&operations);
    }

    QString file(const char* name, const QByteArray& content) const {
        QFile out(directory.filePath(QLatin1String(name)));
        EXPECT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(content);
        return out.fileName();
    }
    QMenu* menuOf(int number) { return slot(number)->findChild<QMenu*>(QStringLiteral("slotMenu")); }
    void settle() {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QApplication::processEvents();
    }
    /// Chooses an entry of a slot's menu as a user of the keyboard would.
    void choose(int number, const QString& entry) {
        QTest::keyClick(slot(number), Qt::Key_Return);
        QMenu* const menu = menuOf(number);
        ASSERT_NE(menu, nullptr);
        for (QAction* const action : menu->actions()) {
            QTest::keyClick(menu, Qt::Key_Down);
            if (menu->activeAction() != nullptr && menu->activeAction()->text() == entry)
                break;
            (void)action;
        }
        ASSERT_NE(menu->activeAction(), nullptr);
        ASSERT_EQ(menu->activeAction()->text(), entry);
        QTest::keyClick(menu, Qt::Key_Return);
        settle();
    }
    /// Types a path into the file dialog that is open.
    void pick(const QString& path) {
        auto* const dialog = panel.findChild<QFileDialog*>();
        ASSERT_NE(dialog, nullptr);
        auto* const name = dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
        ASSERT_NE(name, nullptr);
        name->setText(path);
        QTest::keyClick(name, Qt::Key_Return);
        settle();
    }
    std::vector<std::uint8_t> commands() const {
        std::vector<std::uint8_t> firstBytes;
        for (const Bytes& packet : sent)
            firstBytes.push_back(packet.front());
        return firstBytes;
    }

    QTemporaryDir directory;
    std::vector<Bytes> sent;
    bool refused = false;
    MemorySlotOperations operations{[this](std::span<const std::uint8_t> packet) {
                                        if (!refused)
                                            sent.emplace_back(packet.begin(), packet.end());
                                        return !refused;
                                    },
                                    {.slotLoadDelayMs = 0, .batchNs = 1'000'000'000}};
};

TEST_F(Slots, EveryWayToTheMenuLeadsToTheSameFourEntries) {
    const std::vector<std::pair<const char*, std::function<void()>>> ways{
        {"return", [this] { QTest::keyClick(slot(3), Qt::Key_Return); }},
        {"menu key", [this] { QTest::keyClick(slot(3), Qt::Key_Menu); }},
        {"shift+F10", [this] { QTest::keyClick(slot(3), Qt::Key_F10, Qt::ShiftModifier); }},
        {"button", [this] { click(button(QStringLiteral("Actions of slot 3"))); }},
        {"right click",
         [this] {
             QContextMenuEvent event(QContextMenuEvent::Mouse, {5, 5}, slot(3)->mapToGlobal(QPoint(5, 5)));
             QApplication::sendEvent(slot(3), &event);
         }},
        {"key and platform at once",
         [this] {
             QTest::keyClick(slot(3), Qt::Key_Menu);
             QContextMenuEvent event(QContextMenuEvent::Keyboard, {5, 5}, slot(3)->mapToGlobal(QPoint(5, 5)));
             QApplication::sendEvent(slot(3), &event);
         }},
    };
    for (const auto& [name, open] : ways) {
        open();
        const QList<QMenu*> menus = slot(3)->findChildren<QMenu*>();
        ASSERT_EQ(menus.size(), 1) << name;
        QStringList texts;
        for (const QAction* const action : menus.first()->actions())
            texts += action->text();
        EXPECT_EQ(texts.join(u'|').toStdString(),
                  "Load GPC Script...|Load Input Translator...|Remove GPC Script|Remove Input Translator")
            << name;
        menus.first()->close();
        settle();
    }
}

TEST_F(Slots, RemovingSendsTheCommandOfWhatIsRemoved) {
    choose(2, QStringLiteral("Remove GPC Script"));
    choose(9, QStringLiteral("Remove Input Translator"));
    ASSERT_EQ(sent.size(), 2U);
    EXPECT_EQ(sent[0][0], 0x40);
    EXPECT_EQ(sent[0][4], 2);
    EXPECT_EQ(sent[1][0], 0x41);
    EXPECT_EQ(sent[1][4], 9);
}

TEST_F(Slots, WithoutAConnectionFilesCanBeChosenButNothingRemovedOrRun) {
    panel.setConnectionState(ConnectionState::reconnecting);
    QTest::keyClick(slot(2), Qt::Key_Return);
    std::vector<bool> enabled;
    for (const QAction* const action : menuOf(2)->actions())
        enabled.push_back(action->isEnabled());
    EXPECT_THAT(enabled, ElementsAre(true, true, false, false));
    EXPECT_FALSE(button(QStringLiteral("Run slot 2"))->isVisible());
    menuOf(2)->close();
    QTest::mouseDClick(slot(2), Qt::LeftButton);
    QTest::keyClick(slot(2), Qt::Key_Space);
    EXPECT_THAT(sent, IsEmpty());
}

TEST_F(Slots, ASlotRunsByButtonSpaceAndDoubleClickAndAnEmptyOneAsksForAScript) {
    QSignalSpy requests(&panel, &FerryLinkWidget::memorySlotLoadRequested);
    click(button(QStringLiteral("Run slot 2")));
    QTest::keyClick(slot(4), Qt::Key_Space);
    QTest::mouseDClick(slot(2), Qt::LeftButton);
    EXPECT_THAT(commands(), ElementsAre(0xA0, 0xA0, 0xA0));
    ASSERT_EQ(requests.count(), 3);
    EXPECT_EQ(requests[1].first().toInt(), 4);
    EXPECT_FALSE(button(QStringLiteral("Run slot 1"))->isVisible()) << "it runs already";

    QTest::mouseDClick(slot(5), Qt::LeftButton);
    ASSERT_NE(panel.findChild<QFileDialog*>(), nullptr);
    EXPECT_EQ(sent.size(), 3U);
}

TEST_F(Slots, DialogsAskForTheRightFilesAndRememberTheFolder) {
    choose(3, QStringLiteral("Load GPC Script..."));
    auto* dialog = panel.findChild<QFileDialog*>();
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->windowTitle(), QStringLiteral("Load GPC Script"));
    EXPECT_EQ(dialog->nameFilters().join(QStringLiteral(";;")),
              QStringLiteral("GPC Scripts (*.gpc *.gbc);;GPC Source (*.gpc);;GPC Bytecode (*.gbc)"));
    pick(file("fine.gpc", "main { }\n"));
    ASSERT_EQ(panel.findChild<QFileDialog*>(), nullptr) << "the dialog has gone";
    EXPECT_THAT(commands(), ElementsAre(0x30, 0xA0));
    EXPECT_EQ(sent.front()[4], 3) << "the slot's number leads the payload";

    choose(3, QStringLiteral("Load Input Translator..."));
    dialog = panel.findChild<QFileDialog*>();
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->windowTitle(), QStringLiteral("Load GPC2 Input Translator"));
    EXPECT_EQ(dialog->nameFilters().join(QStringLiteral(";;")),
              QStringLiteral("GPC2 Input Translator (*.git);;All Files (*)"));
    EXPECT_EQ(dialog->directory().canonicalPath(), QDir(directory.path()).canonicalPath());
}

TEST_F(Slots, ChosenFilesGoTheWayOfTheirKind) {
    struct Case {
        const char* entry;
        const char* name;
        QByteArray content;
        std::uint8_t firstCommand;
    };
    const std::vector<Case> cases{
        {"Load GPC Script...", "a.gpc", "main { }\n", 0x30},
        {"Load GPC Script...", "b.GBC", QByteArray::fromHex("10000700000000") + QByteArray(9, '\0'), 0x30},
        {"Load Input Translator...", "c.git", QByteArray::fromHex("10010000"), 0x31},
        {"Load Input Translator...", "d.bin", QByteArray::fromHex("10010000"), 0x31},
    };
    for (const Case& c : cases) {
        sent.clear();
        choose(7, QLatin1String(c.entry));
        pick(file(c.name, c.content));
        QApplication::processEvents(); // a bytecode's slot load is due at once, from a timer
        ASSERT_FALSE(sent.empty()) << c.name;
        EXPECT_EQ(sent.front().front(), c.firstCommand) << c.name;
        operations.cancel(MemorySlotOperations::Notice::silent);
    }
}

TEST_F(Slots, TakesDropsOfItsFormatsAndOfOneLocalFile) {
    const QString source = file("s.gpc", "main { }\n");
    const QString bytecode = file("b.gbc", "x");
    const QString translator = file("T.GIT", "x");
    const QString text = file("readme.txt", "x");
    const auto own = [](const char* format, const QString& path) {
        return [format, path](QMimeData& data) { data.setData(QLatin1String(format), path.toUtf8()); };
    };
    const auto urls = [](const QList<QUrl>& list) { return [list](QMimeData& data) { data.setUrls(list); }; };
    const QUrl sourceUrl = QUrl::fromLocalFile(source);
    struct Case {
        const char* what;
        std::function<void(QMimeData&)> fill;
        bool entered;
        bool taken;
    };
    const std::vector<Case> cases{
        {"source", own(kGpcSourceMimeType, source), true, true},
        {"bytecode", own(kGpcBytecodeMimeType, bytecode), true, true},
        {"translator", own(kInputTranslatorMimeType, translator), true, true},
        {"suffix of another format", own(kGpcSourceMimeType, bytecode), true, false},
        {"missing file", own(kGpcSourceMimeType, source + QStringLiteral("x.gpc")), true, false},
        {"relative path", own(kGpcSourceMimeType, QStringLiteral("s.gpc")), true, false},
        {"from a file manager", urls({sourceUrl}), true, true},
        {"its upper case", urls({QUrl::fromLocalFile(translator)}), true, true},
        {"another kind of file", urls({QUrl::fromLocalFile(text)}), false, false},
        {"two files", urls({sourceUrl, sourceUrl}), false, false},
        {"of another computer", urls({QUrl(QStringLiteral("https://example.org/s.gpc"))}), false, false},
        {"a folder", urls({QUrl::fromLocalFile(directory.path())}), false, false},
        {"plain text", [](QMimeData& data) { data.setText(QStringLiteral("main { }")); }, false, false},
    };
    QSignalSpy drops(panel.findChild<SlotListView*>(), &SlotListView::fileDropped);
    QWidget* const item = slot(6);
    for (const Case& c : cases) {
        drops.clear();
        QMimeData data;
        c.fill(data);
        QDragEnterEvent enter({9, 9}, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(item, &enter);
        EXPECT_EQ(enter.isAccepted(), c.entered) << c.what;
        EXPECT_TRUE(!c.entered || enter.dropAction() == Qt::CopyAction) << c.what;
        // Comes to the slot only when the drag was accepted, as from a real mouse.
        QDropEvent drop({9, 9}, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, Qt::NoModifier);
        drop.ignore();
        QApplication::sendEvent(item, &drop);
        EXPECT_EQ(drop.isAccepted(), c.taken) << c.what;
        ASSERT_EQ(drops.count(), c.taken ? 1 : 0) << c.what;
        if (c.taken) {
            EXPECT_EQ(drops.first().first().toInt(), 5) << c.what;
        }
        if (!c.taken) {
            EXPECT_EQ(child<QWidget>("transferView")->isVisible(), c.entered) << "a refusal says why";
        }
        operations.cancel(MemorySlotOperations::Notice::silent);
        for (QMessageBox* const box : panel.findChildren<QMessageBox*>())
            box->close();
        child<QWidget>("transferView")->hide();
    }
}

TEST_F(Slots, ADroppedScriptIsCompiledSentAndRun) {
    QMimeData data;
    data.setData(QLatin1String(kGpcSourceMimeType), file("s.gpc", "main { }\n").toUtf8());
    QSignalSpy requests(&panel, &FerryLinkWidget::memorySlotLoadRequested);
    QDragEnterEvent enter({9, 9}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(slot(6), &enter);
    QDropEvent drop({9, 9}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(slot(6), &drop);
    ASSERT_TRUE(requests.count() > 0 || requests.wait());
    EXPECT_EQ(requests.first().first().toInt(), 6);
    EXPECT_THAT(commands(), ElementsAre(0x30, 0xA0));
}

TEST_F(Slots, TransfersShowTheirProgressAndHowTheyEnded) {
    auto* const bar = child<QProgressBar>("transferProgress");
    auto* const view = child<QWidget>("transferView");
    EXPECT_FALSE(view->isVisible());
    QApplication::processEvents();
    const QPoint place = slot(3)->mapTo(&panel, QPoint());
    emit operations.transferStarted(3, QStringLiteral("aim.gpc"), 137);
    QApplication::processEvents();
    EXPECT_EQ(slot(3)->mapTo(&panel, QPoint()), place) << "slots must not move from under the mouse";
    EXPECT_TRUE(bar->isVisible());
    EXPECT_EQ(value(QStringLiteral("Transfer")), QStringLiteral("aim.gpc \u2192 slot 3"));
    emit operations.transferProgressed(61, 137);
    EXPECT_EQ(bar->maximum(), 137);
    EXPECT_EQ(bar->value(), 61);
    emit operations.transferFinished(3, QStringLiteral("aim.gpc"), true, true);
    EXPECT_FALSE(bar->isVisible());
    EXPECT_EQ(value(QStringLiteral("Transfer")), QStringLiteral("aim.gpc runs in slot 3"));
    click(button(QStringLiteral("Dismiss")));
    EXPECT_FALSE(view->isVisible());
    emit operations.transferFinished(3, QStringLiteral("aim.gpc"), false, false);
    EXPECT_EQ(value(QStringLiteral("Transfer")), QStringLiteral("aim.gpc was not transferred"));
}

TEST_F(Slots, ARefusedDropLeavesARunningTransferInSight) {
    emit operations.transferStarted(3, QStringLiteral("%2.gpc"), 137);
    QMimeData data;
    data.setData(QLatin1String(kGpcSourceMimeType), "/no/such.gpc");
    QDropEvent drop({9, 9}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(slot(6), &drop);
    EXPECT_TRUE(child<QProgressBar>("transferProgress")->isVisible());
    EXPECT_NE(button(QStringLiteral("Cancel transfer")), nullptr);
    EXPECT_EQ(value(QStringLiteral("Transfer")), QStringLiteral("%2.gpc \u2192 slot 3"));
    emit operations.transferFinished(3, QStringLiteral("%2.gpc"), true, true);
    EXPECT_EQ(value(QStringLiteral("Transfer")), QStringLiteral("%2.gpc runs in slot 3"));
}

TEST_F(Slots, NamesThatLookLikeMarkupAreShownAsTheyAre) {
    const QString name = QStringLiteral("<img src='//example.org/x.png'>");
    panel.setDevices({adapter(QStringLiteral("/dev/b"), name)}, {});
    panel.setScripts({script(5, name, QStringLiteral("1.00"), {}, {})});
    const auto* const devices = child<QComboBox>("deviceList");
    for (const QString& tip : {slot(5)->toolTip(), devices->itemData(0, Qt::ToolTipRole).toString()}) {
        EXPECT_FALSE(tip.contains(QStringLiteral("<img"))) << qPrintable(tip);
        EXPECT_TRUE(tip.contains(QStringLiteral("&lt;img"))) << qPrintable(tip);
    }
    EXPECT_FALSE(slot(2)->toolTip().contains(u'<')) << "an ordinary one stays as it is";
}

TEST_F(Slots, TheCrossEndsARunningTransfer) {
    MemorySlotOperations slow([](std::span<const std::uint8_t>) { return true; },
                              {.slotLoadDelayMs = 0, .batchNs = 0}); // one report per turn
    panel.setSlotOperations(&slow);
    ASSERT_TRUE(slow.loadBytecode(0, file("l.gbc", QByteArray::fromHex("100007") + QByteArray(8000, '\0'))));
    ASSERT_TRUE(slow.isBusy());
    click(button(QStringLiteral("Cancel transfer")));
    EXPECT_FALSE(slow.isBusy());
    EXPECT_EQ(value(QStringLiteral("Transfer")), QStringLiteral("l.gbc was not transferred"));
    panel.setSlotOperations(nullptr);
}

TEST_F(Slots, StyleSheetsSeeWhichSlotsHoldSomething) {
    const auto property = [this](int number) { return slot(number)->property("hasContent"); };
    EXPECT_EQ(property(1), QVariant(true));
    EXPECT_EQ(property(3), QVariant(false));
    EXPECT_EQ(property(4), QVariant(true)) << "a translator is content";
    panel.setScripts({});
    EXPECT_EQ(property(1), QVariant(false));
}

TEST_F(Slots, OutlivesTheOperations) {
    auto gone = std::make_unique<MemorySlotOperations>(PacketSender());
    panel.setSlotOperations(gone.get());
    emit gone->transferStarted(2, QStringLiteral("aim.gpc"), 3);
    EXPECT_TRUE(child<QWidget>("transferView")->isVisible());
    gone.reset();
    EXPECT_FALSE(child<QWidget>("transferView")->isVisible()) << "nobody would end it";
    click(button(QStringLiteral("Run slot 2")));
    choose(2, QStringLiteral("Remove GPC Script"));
    EXPECT_THAT(sent, IsEmpty());
}

} // namespace
} // namespace Vantor
