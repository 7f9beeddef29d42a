// Every flow, seen from outside: the packets that leave, the signals and log lines that come, in their order.

#include "gpc/compiler.h"
#include "host/logging_service.h"
#include "ui/slot_operations.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QSignalSpy>
#include <QStringList>
#include <QTemporaryDir>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <memory>

namespace Vantor {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::int64_t kWholeTransferNs = std::numeric_limits<std::int32_t>::max();
constexpr int kLargestReports = 137;

QByteArray gbc(qsizetype size) {
    QByteArray file(size, '\0');
    file.replace(0, 3, QByteArray::fromHex("100007"));
    return file;
}

/// The smallest translator there is.
QByteArray git() {
    return QByteArray::fromHex("10010000");
}

class SlotOperations : public testing::Test {
protected:
    SlotOperations() {
        LoggingService::instance().clear();
        LoggingService::instance().setStderrEnabled(false);
        make({.slotLoadDelayMs = 0, .batchNs = kWholeTransferNs});
    }

    void make(MemorySlotOperations::Timing timing, bool isLinked = true) {
        PacketSender sender;
        if (isLinked)
            sender = [this](std::span<const std::uint8_t> packet) { return write(packet); };
        operations = std::make_unique<MemorySlotOperations>(sender, timing);
        record();
    }
    void record() {
        MemorySlotOperations* const source = operations.get();
        using Ops = MemorySlotOperations;
        const auto say = [this](const QString& line) {
            said.push_back(line.toStdString());
            if (onSignal)
                onSignal(line);
        };
        QObject::connect(source, &Ops::memorySlotLoadRequested,
                         [=](int slot) { say(QStringLiteral("requested %1").arg(slot)); });
        QObject::connect(source, &Ops::failed, [=](const QString& title, const QString& text) {
            say(QStringLiteral("[%1] %2").arg(title, text));
        });
        QObject::connect(source, &Ops::transferStarted, [=](int slot, const QString& file, int reports) {
            say(QStringLiteral("started %1 %2 %3")
                    .arg(QString::number(slot), file, QString::number(reports)));
        });
        QObject::connect(source, &Ops::transferProgressed,
                         [=](int done, int reports) { say(QStringLiteral("%1/%2").arg(done).arg(reports)); });
        QObject::connect(source, &Ops::transferFinished,
                         [=](int slot, const QString& file, bool transferred, bool loaded) {
                             say(QStringLiteral("finished %1 %2%3%4")
                                     .arg(QString::number(slot), file,
                                          transferred ? QStringLiteral(" transferred") : QString(),
                                          loaded ? QStringLiteral(" loaded") : QString()));
                         });
    }
    bool write(std::span<const std::uint8_t> packet) {
        if (static_cast<int>(sent.size()) == refusedAt)
            return false;
        sent.emplace_back(packet.begin(), packet.end());
        return true;
    }

    void refuseAt(int position) { refusedAt = position; }

    QString file(const char* name, const QByteArray& content) const {
        QFile out(directory.filePath(QLatin1String(name)));
        EXPECT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(content);
        return out.fileName();
    }
    /// Lets the event loop run until a transfer is over.
    void awaitFinish() const {
        QSignalSpy finished(operations.get(), &MemorySlotOperations::transferFinished);
        EXPECT_TRUE(finished.wait());
    }
    std::vector<std::string> takeSaid() { return std::exchange(said, {}); }
    std::vector<std::vector<std::uint8_t>> takeSent() { return std::exchange(sent, {}); }
    /// Level, source and message of each entry.
    static std::vector<std::string> takeLog() {
        std::vector<std::string> lines;
        for (const LogEntry& entry : LoggingService::instance().entries())
            lines.push_back(("IWE"[static_cast<int>(entry.level)] +
                             QStringLiteral(" %1: %2").arg(entry.source, entry.message))
                                .toStdString());
        LoggingService::instance().clear();
        return lines;
    }

    QTemporaryDir directory;
    std::unique_ptr<MemorySlotOperations> operations;
    std::vector<std::string> said;
    std::function<void(const QString&)> onSignal;
    std::vector<std::vector<std::uint8_t>> sent;
    int refusedAt = -1;
};

std::vector<std::uint8_t> packet(const std::optional<Packet>& built) {
    return {built->begin(), built->end()};
}

// ---- Bytecode ----

TEST_F(SlotOperations, TheLargestBytecodeGoesOutAndItsSlotIsLoadedAfterwards) {
    const QByteArray content = gbc(8192);
    EXPECT_TRUE(operations->loadBytecode(8, file("big.gbc", content)));
    EXPECT_FALSE(operations->isBusy());
    EXPECT_EQ(sent.size(), 137U) << "the slot is loaded later";
    awaitFinish();

    const auto plan = bytecodeTransfer(
        8, {reinterpret_cast<const std::uint8_t*>(content.data()), static_cast<std::size_t>(content.size())});
    const auto packets = takeSent();
    ASSERT_EQ(packets.size(), 138U);
    for (std::size_t index = 0; index < plan.packets.size(); ++index)
        EXPECT_EQ(packets[index], packet(plan.packets[index])) << index;
    EXPECT_EQ(packets.back(), packet(loadSlotPacket(8)));
    EXPECT_THAT(takeSaid(), ElementsAre("started 9 big.gbc 137", "137/137",
                                        "finished 9 big.gbc transferred loaded", "requested 9"));
    EXPECT_THAT(takeLog(), IsEmpty());
}

TEST_F(SlotOperations, TheSlotIsLoadedHalfASecondAfterTheLastReport) {
    operations = std::make_unique<MemorySlotOperations>(
        [this](std::span<const std::uint8_t> bytes) { return write(bytes); });
    QElapsedTimer timer;
    timer.start();
    ASSERT_TRUE(operations->loadBytecode(0, file("a.gbc", gbc(8))));
    awaitFinish();
    EXPECT_GE(timer.elapsed(), 500);
    EXPECT_EQ(takeSent().back(), packet(loadSlotPacket(0)));
}

TEST_F(SlotOperations, ARefusalAtAnyReportSaysSoAndLeavesEverythingWorking) {
    const QString path = file("big.gbc", gbc(8192));
    for (refusedAt = 0; refusedAt < kLargestReports; ++refusedAt) {
        ASSERT_TRUE(operations->loadBytecode(2, path));
        ASSERT_THAT(takeSaid(), ElementsAre("started 3 big.gbc 137", "finished 3 big.gbc",
                                            "[GPC Bytecode] Failed to load big.gbc into slot 3."))
            << refusedAt;
        ASSERT_EQ(takeSent().size(), static_cast<std::size_t>(refusedAt));
    }
    refusedAt = kLargestReports; // the load-slot packet
    ASSERT_TRUE(operations->loadBytecode(2, path));
    awaitFinish();
    EXPECT_THAT(takeSaid(),
                ElementsAre("started 3 big.gbc 137", "137/137", "finished 3 big.gbc transferred",
                            "[GPC Bytecode] The bytecode was transferred, but slot 3 could not be loaded."));
    sent.clear();
    refusedAt = -1;
    ASSERT_TRUE(operations->loadBytecode(2, path));
    awaitFinish();
    EXPECT_EQ(takeSent().size(), 138U);
}

TEST_F(SlotOperations, BadBytecodeIsRefusedBeforeAnythingIsSent) {
    const QString good = file("good.gbc", gbc(8));
    const QString missing = directory.filePath(QStringLiteral("missing.gbc"));
    EXPECT_FALSE(operations->loadBytecode(0, missing));
    EXPECT_FALSE(operations->loadBytecode(0, directory.path()));
    EXPECT_FALSE(operations->loadBytecode(0, QString()));
    EXPECT_FALSE(operations->loadBytecode(0, file("big.gbc", gbc(8193))));
    EXPECT_FALSE(operations->loadBytecode(0, file("huge.gbc", gbc(1 << 20))));
    EXPECT_FALSE(operations->loadBytecode(0, file("empty.gbc", {})));
    EXPECT_FALSE(operations->loadBytecode(9, good));
    EXPECT_FALSE(operations->loadBytecode(-1, good));
    const std::string directoryName = directory.path().section(QLatin1Char('/'), -1).toStdString();
    EXPECT_THAT(takeSaid(),
                ElementsAre("[GPC Bytecode] Could not open missing.gbc.",
                            "[GPC Bytecode] Could not open " + directoryName + ".",
                            "[GPC Bytecode] Could not open .",
                            "[Invalid GPC Bytecode] GBC bytecode exceeds the Titan Two 8 KB limit",
                            "[Invalid GPC Bytecode] GBC bytecode exceeds the Titan Two 8 KB limit",
                            "[Invalid GPC Bytecode] GBC file is shorter than its seven-byte entry header",
                            "[Invalid GPC Bytecode] GPC memory slot must be between 1 and 9",
                            "[Invalid GPC Bytecode] GPC memory slot must be between 1 and 9"));
    EXPECT_THAT(takeSent(), IsEmpty());
}

// ---- Sources ----

TEST_F(SlotOperations, ASourceIsCompiledWithItsDirectoryAndTransferred) {
    file("value.gpc", "const uint8 kValue = 3;\n");
    const QString path =
        file("my script.GPC", "#include \"value.gpc\"\nmain { set_val(BUTTON_1, kValue); }\n");
    EXPECT_TRUE(operations->loadFile(0, path));
    awaitFinish();
    ASSERT_EQ(sent.size(), 2U);
    EXPECT_EQ(sent[0][0], 0x30);
    EXPECT_EQ(sent[0][5], 0x10) << "the file's jump opcode, behind the slot number";
    EXPECT_THAT(takeSaid(), ElementsAre("started 1 my script.GPC 1", "1/1",
                                        "finished 1 my script.GPC transferred loaded", "requested 1"));
}

TEST_F(SlotOperations, ACompileErrorSaysWhere) {
    EXPECT_FALSE(operations->loadGpcSource(0, file("a.gpc", "main {\n  nothing%1();\n}\n")));
    file("faulty.gpc", "\n\n  int32 = 4;\n");
    EXPECT_FALSE(operations->loadGpcSource(0, file("b.gpc", "#include \"faulty.gpc\"\nmain { }\n")));
    const auto lines = takeSaid();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_THAT(lines[0], testing::StartsWith("[GPC Compilation Failed] Line 2, column "));
    EXPECT_THAT(lines[1], testing::StartsWith("[GPC Compilation Failed] In faulty.gpc:\nLine 3, column "));
    EXPECT_THAT(takeSent(), IsEmpty());
}

TEST_F(SlotOperations, ABadSourceFileIsRefused) {
    EXPECT_FALSE(operations->loadGpcSource(0, directory.filePath(QStringLiteral("missing.gpc"))));
    EXPECT_FALSE(operations->loadGpcSource(0, file("huge.gpc", QByteArray((8 << 20) + 1, ' '))));
    EXPECT_FALSE(operations->loadFile(0, file("a.txt", "main { }")));
    EXPECT_THAT(
        takeSaid(),
        ElementsAre("[GPC Script] Could not open missing.gpc.",
                    "[GPC Script] huge.gpc is larger than 8192 KB, more than a script may be.",
                    "[Memory Slot] a.txt cannot be loaded: its name does not end in .gpc, .gbc or .git."));
    EXPECT_THAT(takeSent(), IsEmpty());
}

TEST_F(SlotOperations, CompiledBytecodeMayFillASlotToItsLastByte) {
    const auto script = [](std::size_t tableBytes) {
        QByteArray text("const uint8 table[] = {1");
        for (std::size_t i = 1; i < tableBytes; ++i)
            text += ",1";
        return text + "};\nmain { set_val(BUTTON_1, table[0]); }\n";
    };
    const std::size_t overhead = gpc::compile(script(1).toStdString(), {}).bytecode.size() - 1;
    EXPECT_TRUE(operations->loadGpcSource(0, file("full.gpc", script(8192 - overhead))));
    EXPECT_EQ(takeSent().size(), 137U);
    awaitFinish();
    takeSaid();
    EXPECT_FALSE(operations->loadGpcSource(0, file("over.gpc", script(8193 - overhead))));
    EXPECT_THAT(
        takeSaid(),
        ElementsAre("[GPC Script] The compiled GPC bytecode is empty or exceeds the Titan Two 8 KB limit."));
}

TEST_F(SlotOperations, AReadErrorIsToldWithTheSystemsText) {
    const QString unreadable = QStringLiteral("/proc/self/mem"); // opens, but has nothing at its start
    if (!QFile::exists(unreadable))
        GTEST_SKIP() << "no such file on this system";
    EXPECT_FALSE(operations->loadBytecode(0, unreadable));
    EXPECT_FALSE(operations->loadGpcSource(0, unreadable));
    EXPECT_FALSE(operations->loadInputTranslator(0, unreadable));
    EXPECT_FALSE(
        operations->loadDroppedFile(0, {SlotFileKind::gpcBytecode, unreadable, openSlotFile(unreadable)}));
    EXPECT_THAT(takeSaid(),
                ElementsAre(testing::MatchesRegex("\\[GPC Bytecode\\] Could not read mem: ..*"),
                            testing::MatchesRegex("\\[GPC Script\\] Could not read mem: ..*"),
                            testing::MatchesRegex("\\[Input Translator\\] Could not read mem: ..*"),
                            "[GPC Bytecode] The dropped resource is not a readable .gbc file."));
}

// ---- Input translators ----

TEST_F(SlotOperations, ATranslatorIsLoadedAtOnce) {
    EXPECT_TRUE(operations->loadInputTranslator(4, file("pad.bin", git())));
    EXPECT_EQ(sent.size(), 2U);
    EXPECT_EQ(sent[0][0], 0x31);
    EXPECT_EQ(sent[1], packet(loadSlotPacket(4)));
    EXPECT_THAT(takeSaid(), ElementsAre("started 5 pad.bin 1", "1/1", "finished 5 pad.bin transferred loaded",
                                        "requested 5"));
    EXPECT_THAT(takeLog(), ElementsAre("I FerryLink: Loaded pad.bin to slot 5"));
}

TEST_F(SlotOperations, ATranslatorThatCannotBeSentIsLogged) {
    const QString path = file("pad.git", git());
    refusedAt = 0;
    EXPECT_TRUE(operations->loadInputTranslator(4, path));
    EXPECT_THAT(takeSaid(), ElementsAre("started 5 pad.git 1", "finished 5 pad.git",
                                        "[Input Translator] Failed to load pad.git into slot 5."));
    EXPECT_THAT(takeLog(), ElementsAre("E FerryLink: Failed to send input translator packet to slot 5"));
    refusedAt = 1;
    EXPECT_TRUE(operations->loadInputTranslator(4, path));
    EXPECT_THAT(takeSaid(), ElementsAre("started 5 pad.git 1", "1/1", "finished 5 pad.git transferred"));
    EXPECT_THAT(takeLog(), ElementsAre("I FerryLink: Loaded pad.git to slot 5",
                                       "E FerryLink: Failed to reload slot 5 after loading pad.git"));
}

TEST_F(SlotOperations, ABadTranslatorIsRefused) {
    EXPECT_FALSE(operations->loadInputTranslator(0, directory.filePath(QStringLiteral("missing.git"))));
    EXPECT_FALSE(operations->loadInputTranslator(0, file("large.git", QByteArray(255, '\x10'))));
    EXPECT_FALSE(operations->loadInputTranslator(0, file("empty.git", {})));
    EXPECT_FALSE(operations->loadInputTranslator(9, file("pad.git", git())));
    EXPECT_THAT(
        takeSaid(),
        ElementsAre(
            "[Input Translator] Could not open missing.git.",
            "[Invalid Input Translator] input translator is too large; maximum .git size is 254 bytes",
            "[Invalid Input Translator] invalid GPC2 Input Translator header",
            "[Invalid Input Translator] input translator slot must be between 1 and 9"));
    EXPECT_THAT(takeSent(), IsEmpty());
}

// ---- Drops ----

TEST_F(SlotOperations, ADropIsReadFromTheFileThatWasChecked) {
    const auto dropped = [this](SlotFileKind kind, const char* name, const QByteArray& content) {
        const QString path = file(name, content);
        DroppedFile result{kind, path, openSlotFile(path)};
        QFile::remove(path);
        return result;
    };
    using Kind = SlotFileKind;
    EXPECT_TRUE(operations->loadDroppedFile(0, dropped(Kind::gpcBytecode, "a.gbc", gbc(8))));
    awaitFinish();
    EXPECT_TRUE(
        operations->loadDroppedFile(0, dropped(Kind::gpcSource, "a.gpc", "main { set_val(BUTTON_1, 1); }")));
    awaitFinish();
    EXPECT_TRUE(operations->loadDroppedFile(0, dropped(Kind::inputTranslator, "a.git", git())));
    EXPECT_EQ(takeSent().size(), 6U);
    takeSaid();

    EXPECT_FALSE(operations->loadDroppedFile(0, dropped(Kind::gpcBytecode, "big.gbc", gbc(8193))));
    EXPECT_FALSE(
        operations->loadDroppedFile(0, dropped(Kind::gpcSource, "grown.gpc", QByteArray(65537, ' '))));
    EXPECT_FALSE(operations->loadDroppedFile(0, {Kind::gpcBytecode, QStringLiteral("/x/a.gbc"), nullptr}));
    EXPECT_FALSE(
        operations->loadDroppedFile(0, {Kind::inputTranslator, QStringLiteral("/x/a.git"), nullptr}));
    EXPECT_THAT(takeSaid(),
                ElementsAre("[GPC Bytecode] The dropped GBC exceeds the Titan Two 8 KB limit.",
                            "[GPC Script] grown.gpc is larger than 64 KB, more than a script may be.",
                            "[GPC Bytecode] The dropped resource is not a readable .gbc file.",
                            "[Input Translator] Could not open a.git."));
    EXPECT_THAT(takeSent(), IsEmpty());
}

// ---- Single packets ----

TEST_F(SlotOperations, RemovingSendsItsOwnCommandOnly) {
    EXPECT_TRUE(operations->removeScript(8));
    EXPECT_TRUE(operations->removeInputTranslator(0));
    EXPECT_THAT(takeSent(), ElementsAre(packet(clearSlotPacket(8, SlotComponent::script)),
                                        packet(clearSlotPacket(0, SlotComponent::inputTranslator))));
    refusedAt = 0;
    EXPECT_FALSE(operations->removeScript(8));
    EXPECT_FALSE(operations->removeScript(9)) << "no such slot: nothing to say";
    EXPECT_THAT(takeLog(), ElementsAre("I FerryLink: Removed GPC script from slot 9",
                                       "I FerryLink: Removed input translator from slot 1",
                                       "E FerryLink: Failed to clear slot 9 component"));
    EXPECT_THAT(takeSaid(), IsEmpty());
}

TEST_F(SlotOperations, LoadingASlotIsSaidWhenThePacketWentOut) {
    EXPECT_TRUE(operations->loadSlot(8));
    EXPECT_FALSE(operations->loadSlot(9));
    refusedAt = 1;
    EXPECT_FALSE(operations->loadSlot(0));
    EXPECT_THAT(takeSaid(), ElementsAre("requested 9"));
    EXPECT_THAT(takeSent(), ElementsAre(packet(loadSlotPacket(8))));
    EXPECT_THAT(takeLog(), ElementsAre("E FerryLink: Failed to load slot 1"));
}

TEST_F(SlotOperations, TheOutputProtocolIsSentAndLogged) {
    EXPECT_TRUE(operations->setOutputProtocol(6, QStringLiteral("Xbox %1 Series")));
    refusedAt = 1;
    EXPECT_FALSE(operations->setOutputProtocol(0, QStringLiteral("Automatic")));
    EXPECT_THAT(takeSent(), ElementsAre(packet(outputProtocolPacket(6))));
    EXPECT_THAT(takeLog(), ElementsAre("I FerryLink: Output protocol changed to Xbox %1 Series",
                                       "E FerryLink: Failed to change the output protocol to Automatic"));
}

TEST_F(SlotOperations, WithoutALinkNothingSucceeds) {
    make({.slotLoadDelayMs = 0, .batchNs = kWholeTransferNs}, false);
    EXPECT_FALSE(operations->loadSlot(0));
    EXPECT_FALSE(operations->removeScript(0));
    EXPECT_FALSE(operations->setOutputProtocol(0, QStringLiteral("Automatic")));
    EXPECT_TRUE(operations->loadBytecode(0, file("a.gbc", gbc(8))));
    EXPECT_THAT(takeSaid(), ElementsAre("started 1 a.gbc 1", "finished 1 a.gbc",
                                        "[GPC Bytecode] Failed to load a.gbc into slot 1."));
}

// ---- Several things at once ----

TEST_F(SlotOperations, ATransferLetsTheEventLoopRunAndRefusesEverythingElse) {
    make({.slotLoadDelayMs = 0, .batchNs = 0}); // one report per turn
    const QString path = file("a.gbc", gbc(200));
    ASSERT_TRUE(operations->loadBytecode(0, path));
    EXPECT_TRUE(operations->isBusy());
    EXPECT_EQ(takeSent().size(), 1U);
    takeSaid();
    EXPECT_FALSE(operations->loadBytecode(1, path));
    EXPECT_FALSE(operations->loadInputTranslator(1, path));
    EXPECT_FALSE(operations->loadGpcSource(1, path));
    EXPECT_FALSE(operations->loadSlot(1));
    EXPECT_FALSE(operations->removeScript(1));
    EXPECT_FALSE(operations->setOutputProtocol(1, QString()));
    const std::string text = "a.gbc is still on its way into slot 1. Try again when that is done.";
    EXPECT_THAT(takeSaid(),
                ElementsAre("[GPC Bytecode] " + text, "[Input Translator] " + text, "[GPC Script] " + text,
                            "[Memory Slot] " + text, "[Memory Slot] " + text, "[Output Protocol] " + text));
    EXPECT_THAT(takeSent(), IsEmpty());
    awaitFinish();
    EXPECT_THAT(takeSaid(),
                ElementsAre("2/4", "3/4", "4/4", "finished 1 a.gbc transferred loaded", "requested 1"));
}

TEST_F(SlotOperations, CancellingEndsTheTransferAndTheLoadsToCome) {
    make({.slotLoadDelayMs = 60'000, .batchNs = 0});
    using Notice = MemorySlotOperations::Notice;
    for (const Notice notice : {Notice::shown, Notice::silent}) {
        ASSERT_TRUE(operations->loadBytecode(0, file("a.gbc", gbc(8))));
        ASSERT_TRUE(operations->loadBytecode(1, file("b.gbc", gbc(200))));
        takeSaid();
        takeSent();
        operations->cancel(notice);
        EXPECT_FALSE(operations->isBusy());
        if (notice == Notice::shown)
            EXPECT_THAT(
                takeSaid(),
                ElementsAre("finished 2 b.gbc", "[GPC Bytecode] Failed to load b.gbc into slot 2.",
                            "finished 1 a.gbc transferred",
                            "[GPC Bytecode] The bytecode was transferred, but slot 1 could not be loaded."));
        else
            EXPECT_THAT(takeSaid(), ElementsAre("finished 2 b.gbc", "finished 1 a.gbc transferred"));
        operations->cancel(notice);
        QCoreApplication::processEvents();
        EXPECT_THAT(takeSaid(), IsEmpty());
        EXPECT_THAT(takeSent(), IsEmpty());
    }
}

TEST_F(SlotOperations, ASlotLoadThatIsOverdueWaitsForTheTransferThatRuns) {
    make({.slotLoadDelayMs = 0, .batchNs = 0});
    ASSERT_TRUE(operations->loadBytecode(0, file("a.gbc", gbc(8))));
    ASSERT_TRUE(operations->loadBytecode(1, file("b.gbc", gbc(200))));
    awaitFinish();
    awaitFinish();
    const auto packets = takeSent();
    ASSERT_EQ(packets.size(), 7U);
    EXPECT_EQ(packets[5], packet(loadSlotPacket(0))) << "not among the reports for slot 2";
    EXPECT_EQ(packets[6], packet(loadSlotPacket(1)));
}

TEST_F(SlotOperations, NewContentForASlotTakesTheLoadOfTheOldOneWithIt) {
    make({.slotLoadDelayMs = 60'000, .batchNs = kWholeTransferNs});
    const auto transferAgain = [this] { operations->loadInputTranslator(0, file("b.git", git())); };
    const auto remove = [this] { operations->removeScript(0); };
    for (const std::function<void()>& next :
         {std::function<void()>(transferAgain), std::function<void()>(remove)}) {
        ASSERT_TRUE(operations->loadBytecode(0, file("a.gbc", gbc(8))));
        takeSaid();
        next();
        ASSERT_FALSE(said.empty());
        EXPECT_EQ(said.front(), "finished 1 a.gbc transferred");
        takeSaid();
        operations->cancel();
        EXPECT_THAT(takeSaid(), IsEmpty()) << "a load was still to come";
    }
}

TEST_F(SlotOperations, AHandlerMayStartTheNextTransfer) {
    const QString path = file("a.gbc", gbc(8));
    int slotIndex = 1;
    onSignal = [&](const QString& line) {
        if (line.startsWith(QLatin1String("finished")) && slotIndex < 4)
            operations->loadBytecode(slotIndex++, path);
    };
    operations->loadBytecode(0, path);
    for (int finished = 0; finished < 4; ++finished)
        awaitFinish();
    EXPECT_EQ(takeSent().size(), 8U);
}

TEST_F(SlotOperations, AHandlerMayDestroyTheObject) {
    const QString script = file("a.gbc", gbc(8));
    const QString translator = file("a.git", git());
    const struct {
        int signalCount;
        std::function<void()> run;
    } flows[] = {
        {4, [&] { operations->loadBytecode(0, script); }},
        {3, [&] { refuseAt(0), operations->loadBytecode(0, script); }},
        {4, [&] { refuseAt(1), operations->loadBytecode(0, script); }},
        {1, [&] { operations->loadBytecode(9, script); }},
        {4, [&] { operations->loadInputTranslator(0, translator); }},
        {3, [&] { refuseAt(0), operations->loadInputTranslator(0, translator); }},
        {3, [&] { refuseAt(1), operations->loadInputTranslator(0, translator); }},
        {1, [&] { operations->loadSlot(0); }},
        {7, // the second one drops what the first one still had to do
         [&] {
             if (operations->loadBytecode(0, script) && operations)
                 operations->loadInputTranslator(0, translator);
         }},
        {4,
         [&] {
             if (operations->loadBytecode(0, script) && operations)
                 operations->cancel();
         }},
    };
    for (const auto& flow : flows) {
        for (int fatal = 0; fatal <= flow.signalCount; ++fatal) {
            refuseAt(-1);
            takeSent();
            make({.slotLoadDelayMs = 0, .batchNs = kWholeTransferNs});
            int countdown = fatal;
            onSignal = [&](const QString&) {
                if (countdown-- == 0)
                    operations.reset();
            };
            flow.run();
            for (int turn = 0; turn < 10 && operations; ++turn)
                QCoreApplication::processEvents();
            EXPECT_EQ(operations == nullptr, fatal < flow.signalCount)
                << "flow " << &flow - flows << ", signal " << fatal;
        }
    }
}

} // namespace
} // namespace Vantor
