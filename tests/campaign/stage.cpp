#include "stage.h"

#include "host/logging_service.h"
#include "platform/event.h"
#include "simulator/test_frame.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QLabel>
#include <QMessageBox>
#include <QTimer>

#include <array>

namespace Vantor::campaign {

namespace {

constexpr int kPatienceMs = 20'000;
constexpr int kLookIntervalMs = 2;
constexpr std::uint32_t kStatePatienceMs = 5000;
constexpr std::size_t kPacketPayloadBytes = 60;
constexpr std::uint8_t kVirtualKeyA = 0x41;

QByteArray bytecode(qsizetype size) {
    QByteArray file(size, '\0');
    file.replace(0, 3, QByteArray::fromHex("100007")); // a jump behind the header
    return file;
}

} // namespace

Stage::Stage() {
    virtual_adapter_reset();
    LoggingService::instance().setStderrEnabled(false);
    if (!blocks.create(
            standardBlocks(QStringLiteral("campaign-%1").arg(QCoreApplication::applicationPid())))) {
        setUpProblem = blocks.errorString();
        return;
    }
    adapterNumber = virtual_adapter_add("bus:1", "A", nullptr);
    object = loader.instance();
    plugin = qobject_cast<IUIPlugin*>(object);
    if (plugin == nullptr) {
        setUpProblem = loader.errorString();
        return;
    }
    writeFiles();
    plugin->setSettingsManager(&settings);
    plugin->setMemoryBlocks(blocks.blocks());
    if (!plugin->initialize())
        setUpProblem = QStringLiteral("the plug-in does not initialise");
    panel.reset(plugin->createPanel(nullptr));
    panel->show();
    const auto connect = [this](std::unique_ptr<SharedMemoryAccessor>& accessor, const char* name) {
        for (const MemoryBlockInfo& info : blocks.blocks())
            if (info.name == QLatin1String(name))
                accessor = std::make_unique<SharedMemoryAccessor>(info);
        if (!accessor->connect())
            setUpProblem = accessor->errorString();
    };
    connect(producer, BlockName::kCVData);
    connect(keyboard, BlockName::kKeyboardRawInput);
    connect(states, BlockName::kControllerInput);
}

Stage::~Stage() {
    panel.reset();
    delete object;
}

void Stage::writeFiles() {
    const auto write = [this](const char* name, const QByteArray& content) {
        QFile file(directory.filePath(QString::fromLatin1(name)));
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            setUpProblem = file.errorString();
        return file.fileName();
    };
    constexpr qsizetype kFullSlotBytes = 8192;
    constexpr qsizetype kSmallBytes = 150; // three reports
    scriptFile = write("small.gbc", bytecode(kSmallBytes));
    fullScriptFile = write("full.gbc", bytecode(kFullSlotBytes));
    translatorFile = write("pad.git", QByteArray::fromHex("10010000"));
}

bool Stage::until(const std::function<bool()>& condition) {
    const QDeadlineTimer deadline(kPatienceMs);
    QTimer look; // what only the adapter counts wakes no event loop
    look.start(kLookIntervalMs);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

// ---- What a user and a host do ----

QAbstractButton* Stage::button(const char* name) const {
    for (QAbstractButton* const candidate : panel->findChildren<QAbstractButton*>())
        if (candidate->accessibleName() == QLatin1String(name) ||
            candidate->objectName() == QLatin1String(name))
            return candidate;
    return nullptr;
}

void Stage::clickRun() {
    if (QAbstractButton* const run = button(isRunning() ? "Stop Bridge" : "Start Bridge"))
        run->click();
}

void Stage::restart() {
    button("restartButton")->click();
}

void Stage::reconnectNow() {
    QMetaObject::invokeMethod(object, "attemptReconnection");
}

void Stage::startCapture() {
    QMetaObject::invokeMethod(object, "onKMGCaptureStartRequested", Q_ARG(bool, true), Q_ARG(bool, true),
                              Q_ARG(bool, true));
}

void Stage::stopCapture() {
    QMetaObject::invokeMethod(object, "onKMGCaptureStopRequested");
}

bool Stage::loadSlot(int slotNumber, const QString& file) {
    bool begun = false;
    QMetaObject::invokeMethod(object, "loadSlotFile", Q_RETURN_ARG(bool, begun), Q_ARG(int, slotNumber),
                              Q_ARG(QString, file));
    return begun;
}

void Stage::closeBoxes() {
    for (QMessageBox* const box : panel->findChildren<QMessageBox*>())
        box->button(QMessageBox::Ok)->click();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

bool Stage::publishFrame(unsigned packets) {
    std::array<std::uint8_t, kPacketPayloadBytes * 5> frame{};
    const std::span used(frame.data(), kPacketPayloadBytes * packets - (packets == 5 ? 45 : 0));
    simulator::fillTestFrame(used, ++frames, 0);
    return producer->writeData(used.data(), used.size(), 0);
}

bool Stage::publishKey(bool held) {
    KeyboardData record;
    record.keys[kVirtualKeyA] = held ? 1 : 0;
    return keyboard->writeData(&record, sizeof record);
}

// ---- What they see ----

QJsonValue Stage::status(const QString& key) const {
    return object->property("status").toJsonObject()[key];
}

QString Stage::transfer(const QString& key) const {
    return object->property("transfer").toJsonObject()[key].toString();
}

QString Stage::labelText(const char* accessibleName) const {
    for (const QLabel* const label : panel->findChildren<QLabel*>())
        if (label->accessibleName() == QLatin1String(accessibleName))
            return label->text();
    return QStringLiteral("(no such label)");
}

QString Stage::errorShown() const {
    return labelText("Error message");
}

QStringList Stage::boxes() const {
    QStringList all;
    for (const QMessageBox* const box : panel->findChildren<QMessageBox*>())
        if (box->isVisible())
            all += box->windowTitle() + QStringLiteral(": ") + box->text();
    return all;
}

QStringList Stage::takeComplaintsOfTheLog() {
    QStringList all;
    for (const LogEntry& entry : LoggingService::instance().entries())
        if (entry.level != LogEntry::Level::info)
            all += entry.message;
    LoggingService::instance().clear();
    return all;
}

QStringList Stage::contradictionsInThePanel() const {
    QStringList all;
    const auto expect = [&all](bool isSo, const char* what) {
        if (!isSo)
            all += QString::fromLatin1(what);
    };
    const bool isConnected = connection() == QLatin1String("connected");
    const QAbstractButton* const run = button(isRunning() ? "Stop Bridge" : "Start Bridge");
    expect(run != nullptr && run->isEnabled(), "the run button does not go with the state");
    expect(button("restartButton")->isEnabled(), "the restart button is disabled");
    const QAbstractButton* const capture = button("captureButton");
    expect(capture->isEnabled() == (isConnected || isCapturing()),
           "the capture button does not go with the state");
    expect(capture->text().startsWith(isCapturing() ? QLatin1String("Stop") : QLatin1String("Start")),
           "the capture button says the wrong thing");
    expect(panel->findChild<QComboBox*>(QStringLiteral("outputProtocol"))->isEnabled() == isConnected,
           "the protocol list does not go with the state");
    expect(labelText("Connection").startsWith(connection(), Qt::CaseInsensitive),
           "the panel shows another connection");
    expect(isRunning() == (connection() != QLatin1String("disconnected")),
           "the run controls contradict the connection");
    expect(isConnected || !isCapturing(), "input is captured without a connection");
    expect(isConnected || !acceptsCommands(), "commands are taken without a connection");
    const QAbstractButton* const close = button("transferClose");
    expect(!close->isVisible() || close->accessibleName() == QLatin1String("Dismiss"),
           "a transfer seems to be under way");
    return all;
}

bool Stage::anyTimerRuns() const {
    for (const QTimer* const timer : object->findChildren<QTimer*>())
        if (timer->isActive())
            return true;
    return false;
}

virtual_adapter_statistics Stage::adapterCounts() const {
    virtual_adapter_statistics counts{};
    counts.size = sizeof counts;
    virtual_adapter_get_statistics(adapterNumber, &counts);
    return counts;
}

virtual_adapter_library_statistics Stage::libraryCounts() {
    virtual_adapter_library_statistics counts{};
    counts.size = sizeof counts;
    virtual_adapter_get_library_statistics(&counts);
    return counts;
}

bool Stage::seesAState() {
    states->resetEvent();
    const platform::EventHandle event = states->getEventHandle();
    return platform::waitAny({&event, 1}, kStatePatienceMs).kind == platform::WaitResult::Kind::signalled;
}

} // namespace Vantor::campaign
