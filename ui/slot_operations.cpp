// Every signal may end in a handler that destroys this object or asks something of it: state is settled
// before each one, and what comes after it looks at a QPointer first.

#include "ui/slot_operations.h"

#include "gpc/compiler.h"
#include "gpc/input_translator.h"
#include "gpc/preprocessor.h"
#include "host/logging_service.h"
#include "platform/clock.h"

#include <QDir>
#include <QFileInfo>
#include <QPointer>
#include <QStringList>

#include <string>
#include <utility>

namespace Vantor {

namespace {

QString logSource() {
    return QStringLiteral("FerryLink");
}

QString fileNameOf(const QString& path) {
    return QFileInfo(path).fileName();
}

QString textOf(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

std::span<const std::uint8_t> bytesOf(const QByteArray& content) {
    return {reinterpret_cast<const std::uint8_t*>(content.constData()),
            static_cast<std::size_t>(content.size())};
}

gpc::CompileResult compileFile(const QString& path, const QByteArray& source) {
    const QFileInfo info(path);
    return gpc::compile({source.constData(), static_cast<std::size_t>(source.size())},
                        {.buildStamp = 0,
                         .sourcePath = info.absoluteFilePath().toStdString(),
                         .includeDirectories = {info.absolutePath().toStdString()}});
}

} // namespace

MemorySlotOperations::MemorySlotOperations(PacketSender packetSender, QObject* parent)
    : MemorySlotOperations(std::move(packetSender), Timing{}, parent) {}

MemorySlotOperations::MemorySlotOperations(PacketSender packetSender, Timing timing, QObject* parent)
    : QObject(parent), sender(std::move(packetSender)), times(timing) {
    batchTimer.setSingleShot(true);
    connect(&batchTimer, &QTimer::timeout, this, &MemorySlotOperations::sendBatch);
    for (int slotIndex = 0; slotIndex < kMemorySlots; ++slotIndex) {
        QTimer& timer = pendingLoad(slotIndex).timer;
        timer.setSingleShot(true);
        timer.setTimerType(Qt::PreciseTimer); // a coarse one may fire early
        connect(&timer, &QTimer::timeout, this, [this, slotIndex] { slotLoadIsDue(slotIndex); });
    }
}

MemorySlotOperations::~MemorySlotOperations() = default;

// ---- From a file to a transfer ----

bool MemorySlotOperations::refuse(const QString& title, const QString& text) {
    emit failed(title, text);
    return false;
}

bool MemorySlotOperations::isRefusedAsBusy(const QString& title) {
    if (!transfer)
        return false;
    emit failed(title, tr("%1 is still on its way into slot %2. Try again when that is done.")
                           .arg(transfer->fileName, QString::number(transfer->slotIndex + 1)));
    return true;
}

std::shared_ptr<platform::RegularFile> MemorySlotOperations::openForLoading(const QString& path,
                                                                            const QString& title) {
    if (isRefusedAsBusy(title))
        return nullptr;
    auto file = openSlotFile(path);
    if (!file)
        refuse(title, tr("Could not open %1.").arg(fileNameOf(path)));
    return file;
}

std::optional<QByteArray> MemorySlotOperations::readForLoading(platform::RegularFile& file, std::size_t limit,
                                                               const QString& path, const QString& title) {
    QString error;
    auto content = readSlotFile(file, limit, error);
    if (!content)
        refuse(title, tr("Could not read %1: %2").arg(fileNameOf(path), error));
    return content;
}

bool MemorySlotOperations::loadGpcSource(int slotIndex, const QString& path) {
    const auto file = openForLoading(path, tr("GPC Script"));
    return file && loadSourceFrom(slotIndex, path, *file, gpc::kMaxSourceBytes);
}

bool MemorySlotOperations::loadSourceFrom(int slotIndex, const QString& path, platform::RegularFile& file,
                                          std::size_t limit) {
    const QString title = tr("GPC Script");
    if (file.size() > limit)
        return refuse(title, sourceTooLargeText(path, limit));
    const auto source = readForLoading(file, limit, path, title);
    if (!source)
        return false;
    if (static_cast<std::size_t>(source->size()) > limit)
        return refuse(title, sourceTooLargeText(path, limit));

    const gpc::CompileResult result = compileFile(path, *source);
    if (!result.diagnostics.empty())
        return refuse(tr("GPC Compilation Failed"), diagnosticsText(path, result.diagnostics));
    if (result.bytecode.empty() || result.bytecode.size() > kMaxBytecodeBytes)
        return refuse(title, tr("The compiled GPC bytecode is empty or exceeds the Titan Two 8 KB limit."));
    return transferBytecode(slotIndex, fileNameOf(path), result.bytecode);
}

QString MemorySlotOperations::sourceTooLargeText(const QString& path, std::size_t limit) {
    return tr("%1 is larger than %2 KB, more than a script may be.")
        .arg(fileNameOf(path), QString::number(limit / 1024));
}

QString MemorySlotOperations::diagnosticsText(const QString& path,
                                              const std::vector<gpc::Diagnostic>& diagnostics) {
    const QFileInfo source(path);
    QStringList lines;
    for (const gpc::Diagnostic& diagnostic : diagnostics) {
        const QString file = textOf(diagnostic.file);
        if (!file.isEmpty() && QFileInfo(file) != source)
            lines += tr("In %1:").arg(source.absoluteDir().relativeFilePath(file));
        lines += tr("Line %1, column %2: %3")
                     .arg(QString::number(diagnostic.line), QString::number(diagnostic.column),
                          textOf(diagnostic.message));
    }
    return lines.join(QLatin1Char('\n'));
}

bool MemorySlotOperations::loadBytecode(int slotIndex, const QString& path) {
    const QString title = tr("GPC Bytecode");
    const auto file = openForLoading(path, title);
    if (!file)
        return false;
    const auto content = readForLoading(*file, kMaxBytecodeBytes, path, title);
    return content && transferBytecode(slotIndex, fileNameOf(path), bytesOf(*content));
}

bool MemorySlotOperations::transferBytecode(int slotIndex, const QString& fileName,
                                            std::span<const std::uint8_t> bytes) {
    TransferPlan plan = bytecodeTransfer(slotIndex, bytes);
    if (!plan.error.empty())
        return refuse(tr("Invalid GPC Bytecode"), textOf(plan.error));
    return begin(Kind::bytecode, slotIndex, fileName, std::move(plan.packets));
}

bool MemorySlotOperations::loadInputTranslator(int slotIndex, const QString& path) {
    const auto file = openForLoading(path, tr("Input Translator"));
    return file && loadTranslatorFrom(slotIndex, path, *file);
}

bool MemorySlotOperations::loadTranslatorFrom(int slotIndex, const QString& path,
                                              platform::RegularFile& file) {
    const auto content = readForLoading(file, kMaxInputTranslatorBytes, path, tr("Input Translator"));
    if (!content)
        return false;
    TransferPlan plan = inputTranslatorTransfer(slotIndex, bytesOf(*content));
    // The adapter takes anything of the right size; what is no translator would only make it misbehave.
    gpc::InputTranslator parsed;
    std::string fault(plan.error);
    if (!fault.empty() || !gpc::parseInputTranslator(bytesOf(*content), parsed, fault))
        return refuse(tr("Invalid Input Translator"), textOf(fault));
    return begin(Kind::inputTranslator, slotIndex, fileNameOf(path), std::move(plan.packets));
}

bool MemorySlotOperations::loadFile(int slotIndex, const QString& path) {
    const auto kind = slotFileKind(path);
    if (!kind)
        return refuse(
            tr("Memory Slot"),
            tr("%1 cannot be loaded: its name does not end in .gpc, .gbc or .git.").arg(fileNameOf(path)));
    switch (*kind) {
    case SlotFileKind::gpcSource:
        return loadGpcSource(slotIndex, path);
    case SlotFileKind::gpcBytecode:
        return loadBytecode(slotIndex, path);
    case SlotFileKind::inputTranslator:
        return loadInputTranslator(slotIndex, path);
    }
    return false;
}

bool MemorySlotOperations::loadDroppedFile(int slotIndex, const DroppedFile& dropped) {
    if (dropped.kind == SlotFileKind::gpcBytecode)
        return loadDroppedBytecode(slotIndex, dropped);
    const bool isSource = dropped.kind == SlotFileKind::gpcSource;
    const QString title = isSource ? tr("GPC Script") : tr("Input Translator");
    if (isRefusedAsBusy(title))
        return false;
    if (!dropped.file)
        return refuse(title, tr("Could not open %1.").arg(fileNameOf(dropped.path)));
    return isSource ? loadSourceFrom(slotIndex, dropped.path, *dropped.file, kMaxDroppedBytes)
                    : loadTranslatorFrom(slotIndex, dropped.path, *dropped.file);
}

bool MemorySlotOperations::loadDroppedBytecode(int slotIndex, const DroppedFile& dropped) {
    const QString title = tr("GPC Bytecode");
    if (isRefusedAsBusy(title))
        return false;
    QString error;
    std::optional<QByteArray> content;
    if (dropped.file)
        content = readSlotFile(*dropped.file, kMaxBytecodeBytes, error);
    if (!content)
        return refuse(title, tr("The dropped resource is not a readable .gbc file."));
    if (static_cast<std::size_t>(content->size()) > kMaxBytecodeBytes)
        return refuse(title, tr("The dropped GBC exceeds the Titan Two 8 KB limit."));
    return transferBytecode(slotIndex, fileNameOf(dropped.path), bytesOf(*content));
}

// ---- A transfer on its way ----

bool MemorySlotOperations::begin(Kind kind, int slotIndex, const QString& fileName, TransferPackets packets) {
    const QPointer<MemorySlotOperations> self(this);
    dropPendingLoad(slotIndex); // would select the slot in the middle of its new content
    if (!self || isRefusedAsBusy(tr("Memory Slot")))
        return false;
    const int reports = static_cast<int>(packets.size());
    const unsigned id = ++lastTransferId;
    transfer = Transfer{kind, slotIndex, fileName, std::move(packets), 0, id};
    emit transferStarted(slotIndex + 1, fileName, reports);
    if (self && isCurrent(id))
        sendBatch();
    return true;
}

void MemorySlotOperations::sendBatch() {
    if (!transfer)
        return;
    const std::int64_t endNs = platform::monotonicNowNs() + times.batchNs;
    const TransferPackets& packets = transfer->packets;
    bool isWritten = true;
    do {
        isWritten = send(packets[transfer->sent]);
        transfer->sent += isWritten ? 1 : 0;
    } while (isWritten && transfer->sent < packets.size() && platform::monotonicNowNs() < endNs);
    if (!isWritten) {
        endBroken();
        return;
    }
    const QPointer<MemorySlotOperations> self(this);
    const unsigned id = transfer->id;
    emit transferProgressed(static_cast<int>(transfer->sent), static_cast<int>(packets.size()));
    if (!self || !isCurrent(id))
        return;
    if (transfer->sent < packets.size())
        batchTimer.start();
    else
        endComplete();
}

void MemorySlotOperations::endBroken() {
    const QPointer<MemorySlotOperations> self(this);
    const Transfer broken = takeTransfer();
    if (broken.kind == Kind::inputTranslator)
        LoggingService::instance().error(
            logSource(), tr("Failed to send input translator packet to slot %1").arg(broken.slotIndex + 1));
    tellBroken(broken, Notice::shown);
    if (self)
        loadDueSlots();
}

void MemorySlotOperations::tellBroken(const Transfer& broken, Notice notice) {
    const QPointer<MemorySlotOperations> self(this);
    const int slotNumber = broken.slotIndex + 1;
    emit transferFinished(slotNumber, broken.fileName, false, false);
    if (!self || notice == Notice::silent)
        return;
    emit failed(broken.kind == Kind::bytecode ? tr("GPC Bytecode") : tr("Input Translator"),
                tr("Failed to load %1 into slot %2.").arg(broken.fileName, QString::number(slotNumber)));
}

void MemorySlotOperations::endComplete() {
    const QPointer<MemorySlotOperations> self(this);
    const Transfer complete = takeTransfer();
    if (complete.kind == Kind::bytecode) {
        pendingLoad(complete.slotIndex).fileName = complete.fileName;
        pendingLoad(complete.slotIndex).timer.start(times.slotLoadDelayMs);
    } else {
        finishTranslator(complete);
    }
    if (self)
        loadDueSlots();
}

void MemorySlotOperations::finishTranslator(const Transfer& complete) {
    const QPointer<MemorySlotOperations> self(this);
    const int slotNumber = complete.slotIndex + 1;
    LoggingService& log = LoggingService::instance();
    const bool isLoaded = writeLoadSlot(complete.slotIndex);
    log.info(logSource(), tr("Loaded %1 to slot %2").arg(complete.fileName, QString::number(slotNumber)));
    if (!isLoaded)
        log.error(logSource(), tr("Failed to reload slot %1 after loading %2")
                                   .arg(QString::number(slotNumber), complete.fileName));
    emit transferFinished(slotNumber, complete.fileName, true, isLoaded);
    if (self && isLoaded)
        emit memorySlotLoadRequested(slotNumber);
}

MemorySlotOperations::Transfer MemorySlotOperations::takeTransfer() {
    batchTimer.stop();
    Transfer taken = std::move(*transfer);
    transfer.reset();
    return taken;
}

void MemorySlotOperations::cancel(Notice notice) {
    const QPointer<MemorySlotOperations> self(this);
    // Everything stands still before anybody hears of it: a handler may run an event loop.
    std::optional<Transfer> broken;
    if (transfer)
        broken = takeTransfer();
    std::vector<std::pair<int, QString>> dropped;
    for (int slotIndex = 0; slotIndex < kMemorySlots; ++slotIndex) {
        if (auto fileName = takePendingLoad(slotIndex))
            dropped.emplace_back(slotIndex, *std::move(fileName));
    }
    if (broken)
        tellBroken(*broken, notice);
    for (const auto& [slotIndex, fileName] : dropped) {
        if (self)
            tellNotLoaded(slotIndex, fileName, notice);
    }
}

// ---- Loading what was transferred ----

void MemorySlotOperations::slotLoadIsDue(int slotIndex) {
    pendingLoad(slotIndex).isDue = true;
    loadDueSlots();
}

/// Waits for the end of a transfer: the adapter is in the middle of another slot's content.
void MemorySlotOperations::loadDueSlots() {
    const QPointer<MemorySlotOperations> self(this);
    for (int slotIndex = 0; self && !transfer && slotIndex < kMemorySlots; ++slotIndex) {
        if (!pendingLoad(slotIndex).isDue)
            continue;
        const QString fileName = takePendingLoad(slotIndex).value_or(QString());
        if (!writeLoadSlot(slotIndex)) {
            tellNotLoaded(slotIndex, fileName, Notice::shown);
            continue;
        }
        emit transferFinished(slotIndex + 1, fileName, true, true);
        if (self)
            emit memorySlotLoadRequested(slotIndex + 1);
    }
}

std::optional<QString> MemorySlotOperations::takePendingLoad(int slotIndex) {
    PendingLoad& pending = pendingLoad(slotIndex);
    pending.timer.stop();
    pending.isDue = false;
    return std::exchange(pending.fileName, std::nullopt);
}

void MemorySlotOperations::dropPendingLoad(int slotIndex) {
    if (const auto fileName = takePendingLoad(slotIndex))
        tellNotLoaded(slotIndex, *fileName, Notice::silent);
}

void MemorySlotOperations::tellNotLoaded(int slotIndex, const QString& fileName, Notice notice) {
    const QPointer<MemorySlotOperations> self(this);
    emit transferFinished(slotIndex + 1, fileName, true, false);
    if (self && notice == Notice::shown)
        emit failed(tr("GPC Bytecode"),
                    tr("The bytecode was transferred, but slot %1 could not be loaded.").arg(slotIndex + 1));
}

// ---- Single packets ----

bool MemorySlotOperations::writeLoadSlot(int slotIndex) const {
    const auto packet = loadSlotPacket(slotIndex);
    return packet && send(*packet);
}

bool MemorySlotOperations::loadSlot(int slotIndex) {
    if (!sender || !isSlotIndex(slotIndex) || isRefusedAsBusy(tr("Memory Slot")))
        return false;
    if (!writeLoadSlot(slotIndex)) {
        LoggingService::instance().error(logSource(), tr("Failed to load slot %1").arg(slotIndex + 1));
        return false;
    }
    emit memorySlotLoadRequested(slotIndex + 1);
    return true;
}

bool MemorySlotOperations::removeScript(int slotIndex) {
    if (!clearComponent(slotIndex, SlotComponent::script))
        return false;
    LoggingService::instance().info(logSource(), tr("Removed GPC script from slot %1").arg(slotIndex + 1));
    dropPendingLoad(slotIndex); // there is nothing left to load
    return true;
}

bool MemorySlotOperations::removeInputTranslator(int slotIndex) {
    if (!clearComponent(slotIndex, SlotComponent::inputTranslator))
        return false;
    LoggingService::instance().info(logSource(),
                                    tr("Removed input translator from slot %1").arg(slotIndex + 1));
    return true;
}

bool MemorySlotOperations::clearComponent(int slotIndex, SlotComponent component) {
    const auto packet = clearSlotPacket(slotIndex, component);
    if (!packet || !sender || isRefusedAsBusy(tr("Memory Slot")))
        return false;
    if (send(*packet))
        return true;
    LoggingService::instance().error(logSource(), tr("Failed to clear slot %1 component").arg(slotIndex + 1));
    return false;
}

bool MemorySlotOperations::setOutputProtocol(int value, const QString& text) {
    if (!sender || isRefusedAsBusy(tr("Output Protocol")))
        return false;
    if (!send(outputProtocolPacket(value))) {
        LoggingService::instance().error(logSource(),
                                         tr("Failed to change the output protocol to %1").arg(text));
        return false;
    }
    LoggingService::instance().info(logSource(), tr("Output protocol changed to %1").arg(text));
    return true;
}

} // namespace Vantor
