// Loading slots through the plug-in: what a host that knows none of its types sees, and that a transfer
// survives neither the end of the bridge nor a write that fails.

#include "plugin_fixture.h"

#include <QFile>

namespace Vantor {
namespace {

const QString kExample = QStringLiteral(FERRYLINK_EXAMPLES_FOLDER "/toggle.gpc");
constexpr int kReportsOf8Kb = 137;

class SlotLoading : public PluginFixture {
protected:
    void connectToAdapter() {
        adapter = virtual_adapter_add("bus:1", "A", nullptr);
        ASSERT_TRUE(bringUp());
        start();
        ASSERT_TRUE(becomes("connected"));
        ASSERT_EQ(virtual_adapter_wait(adapter, VIRTUAL_ADAPTER_COUNT_INITIALISATIONS, 1, kPatienceMs), 1);
        ASSERT_TRUE(eventually([this] { return acceptsCommands(); }));
    }
    /// As large as a script can be: a jump behind the header, then whatever.
    QString bytecodeOf8Kb() {
        QByteArray bytes(8192, '\0');
        bytes.replace(0, 3, QByteArray::fromHex("100007"));
        QFile file(directory.filePath(QStringLiteral("large.gbc")));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
        return file.fileName();
    }
    testing::AssertionResult ends(const char* state) {
        auto result = eventually([this] {
            return transferState() == QLatin1String("done") || transferState() == QLatin1String("failed");
        });
        if (result && transferState() != QLatin1String(state))
            return testing::AssertionFailure() << qPrintable(transferState()) << ": "
                                               << qPrintable(transfer()[QStringLiteral("error")].toString());
        return result;
    }
    /// Commands of the adapter's received packets, one character each: t(ransfer), l(oad slot); others left
    /// out.
    std::string commands() const {
        std::string all;
        for (const Report& report : received(adapter))
            all += report[1] == 0x30 ? "t" : report[1] == 0xA0 ? "l" : "";
        return all;
    }

    int adapter = -1;
};

TEST_F(SlotLoading, CompilesAndSendsAScriptThenLoadsTheSlot) {
    connectToAdapter();
    ASSERT_TRUE(loadSlotFile(3, kExample));
    ASSERT_TRUE(ends("done"));
    const QJsonObject said = transfer();
    EXPECT_EQ(said[QStringLiteral("slot")].toInt(), 3);
    EXPECT_EQ(said[QStringLiteral("file")].toString(), QStringLiteral("toggle.gpc"));
    EXPECT_GT(said[QStringLiteral("reports")].toInt(), 0);
    EXPECT_EQ(said[QStringLiteral("sent")], said[QStringLiteral("reports")]);
    EXPECT_EQ(commands(),
              std::string(static_cast<std::size_t>(said[QStringLiteral("sent")].toInt()), 't') + 'l');
    EXPECT_EQ(received(adapter).back()[1 + 5], 3) << "another slot was loaded";
}

TEST_F(SlotLoading, SaysWhatCannotBeLoadedAndLogsItWithoutAPanel) {
    connectToAdapter();
    struct Case {
        int slot;
        QString file;
        const char* error;
    };
    const std::vector<Case> cases{
        {1, QStringLiteral("/no/such.gpc"), "GPC Script: Could not open such.gpc."},
        {0, kExample, "Invalid GPC Bytecode: GPC memory slot must be between 1 and 9"},
        {10, kExample, "Invalid GPC Bytecode: GPC memory slot must be between 1 and 9"},
    };
    for (const Case& c : cases) {
        EXPECT_FALSE(loadSlotFile(c.slot, c.file));
        EXPECT_EQ(transferState(), QStringLiteral("failed"));
        EXPECT_EQ(transfer()[QStringLiteral("error")].toString(), QString::fromLatin1(c.error));
        EXPECT_TRUE(logged(LogEntry::Level::error, QString::fromLatin1(c.error)));
    }
    EXPECT_EQ(commands(), "");
    EXPECT_TRUE(loadSlotFile(9, kExample));
    EXPECT_TRUE(ends("done"));
}

TEST_F(SlotLoading, WithoutABridgeFailsWithATextAndWorksOnceItRuns) {
    ASSERT_TRUE(bringUp());
    loadSlotFile(1, kExample);
    EXPECT_EQ(transferState(), QStringLiteral("failed"));
    EXPECT_EQ(transfer()[QStringLiteral("error")].toString(),
              QStringLiteral("GPC Bytecode: Failed to load toggle.gpc into slot 1."));
    connectToAdapter();
    loadSlotFile(1, kExample);
    EXPECT_TRUE(ends("done"));
}

TEST_F(SlotLoading, AWriteThatFailsAtAnyOfThe137ReportsLeavesAPluginThatWorksOn) {
    connectToAdapter();
    const QString file = bytecodeOf8Kb();
    for (int k = 1; k <= kReportsOf8Kb; ++k) {
        virtual_adapter_fail(adapter, VIRTUAL_ADAPTER_WRITE, static_cast<unsigned>(k), 1);
        loadSlotFile(2, file);
        ASSERT_TRUE(ends("failed")) << "report " << k;
        ASSERT_EQ(transfer()[QStringLiteral("error")].toString(),
                  QStringLiteral("GPC Bytecode: Failed to load large.gbc into slot 2."))
            << "report " << k;
        ASSERT_EQ(statistics(adapter).write_failures, static_cast<std::uint64_t>(k))
            << "it went on behind a failure";
    }
    EXPECT_EQ(connection(), QStringLiteral("connected"));
    loadSlotFile(2, file);
    EXPECT_TRUE(ends("done"));
    EXPECT_EQ(transfer()[QStringLiteral("sent")].toInt(), kReportsOf8Kb);
}

// The panel has no box for this, only the log a line; whoever asked must learn of it all the same.
TEST_F(SlotLoading, ATranslatorWhoseSlotCannotBeLoadedHasAText) {
    connectToAdapter();
    QFile file(directory.filePath(QStringLiteral("pad.git")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(QByteArray::fromHex("10010000")) == 4);
    file.close();
    virtual_adapter_fail(adapter, VIRTUAL_ADAPTER_WRITE, 2, 1);
    loadSlotFile(4, file.fileName());
    ASSERT_TRUE(ends("failed"));
    EXPECT_EQ(transfer()[QStringLiteral("error")].toString(),
              QStringLiteral("It was transferred, but the slot was not loaded."));
    loadSlotFile(4, file.fileName());
    EXPECT_TRUE(ends("done"));
}

TEST_F(SlotLoading, ATransferEndsWithTheBridgeAndNothingOfItFollows) {
    connectToAdapter();
    const QString file = bytecodeOf8Kb();
    for (const char* const ending : {"onStopBridgeRequested", "onDeviceDisconnected"}) {
        virtual_adapter_stall(adapter, VIRTUAL_ADAPTER_WRITE, 10, 30); // so that it takes more than one batch
        ASSERT_TRUE(loadSlotFile(1, file));
        ASSERT_EQ(transferState(), QStringLiteral("sending"));
        ASSERT_LT(transfer()[QStringLiteral("sent")].toInt(), kReportsOf8Kb);
        QMetaObject::invokeMethod(object, ending);
        EXPECT_TRUE(ends("failed")) << ending;
        start();
        ASSERT_TRUE(becomes("connected"));
        ASSERT_TRUE(eventually([this] { return acceptsCommands(); }));
    }
    EXPECT_EQ(commands().find('l'), std::string::npos);
    loadSlotFile(1, kExample);
    EXPECT_TRUE(ends("done"));
}

TEST_F(SlotLoading, ATransferThatTheUserEndsHasFailedWithAReasonOfItsOwn) {
    connectToAdapter();
    showPanel();
    virtual_adapter_stall(adapter, VIRTUAL_ADAPTER_WRITE, 10, 30);
    ASSERT_TRUE(loadSlotFile(1, bytecodeOf8Kb()));
    ASSERT_EQ(transferState(), QStringLiteral("sending"));
    panel->findChild<QAbstractButton*>(QStringLiteral("transferClose"))->click();
    ASSERT_TRUE(ends("failed"));
    EXPECT_EQ(transfer()[QStringLiteral("error")].toString(), QStringLiteral("The transfer was cancelled."));
}

TEST_F(SlotLoading, AStopInTheHalfSecondBeforeTheSlotIsLoadedLoadsNothing) {
    connectToAdapter();
    ASSERT_TRUE(loadSlotFile(1, kExample));
    ASSERT_TRUE(eventually([this] { return transferState() == QLatin1String("loading"); }));
    stop();
    EXPECT_TRUE(ends("failed"));
    EXPECT_FALSE(anyTimerRuns());
    EXPECT_EQ(commands().find('l'), std::string::npos);
}

} // namespace
} // namespace Vantor
