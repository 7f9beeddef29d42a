// What it costs to put a file of 8,192 bytes into a memory slot, from opening the file to its last report, as
// a ratio to a loop that does nothing but hand the same 137 reports to the same outbound thread. Both sides
// take turns within one run.

#include "bench/comparison.h"
#include "bench/null_hidapi.h"
#include "host/logging_service.h"
#include "platform/clock.h"
#include "ui/slot_operations.h"
#include "workers/titan_outbound_thread.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <thread>
#include <vector>

namespace {

using namespace Vantor;

constexpr int kSamples = 400;
constexpr int kWarmUp = 20;
constexpr double kGoal = 1.1;
constexpr qsizetype kFileBytes = 8192;
constexpr int kReports = 137;
constexpr std::int64_t kStartTimeoutNs = 5'000'000'000;

QByteArray bytecode() {
    QByteArray content(kFileBytes, '\x5A');
    content.replace(0, 3, QByteArray::fromHex("100007"));
    return content;
}

QString writeFile(const QTemporaryDir& directory, const QByteArray& content) {
    QFile file(directory.filePath(QStringLiteral("bench.gbc")));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write the file to transfer");
    return file.fileName();
}

bool submit(TitanOutboundThread& outbound, std::span<const std::uint8_t> packet) {
    return outbound.submitPacket(QByteArray::fromRawData(reinterpret_cast<const char*>(packet.data()),
                                                         static_cast<qsizetype>(packet.size())));
}

/// Nanoseconds until the last report was written.
std::int64_t transferNs(MemorySlotOperations& operations, const QString& path) {
    const std::int64_t start = platform::monotonicNowNs();
    if (!operations.loadBytecode(0, path))
        qFatal("the transfer was refused");
    while (operations.isBusy())
        QCoreApplication::processEvents();
    const std::int64_t spent = platform::monotonicNowNs() - start;
    operations.cancel(MemorySlotOperations::Notice::silent); // the load of the slot is not part of it
    return spent;
}

std::int64_t bareNs(TitanOutboundThread& outbound, const TransferPackets& packets) {
    const std::int64_t start = platform::monotonicNowNs();
    for (const Packet& packet : packets) {
        if (!submit(outbound, packet))
            qFatal("a packet was refused");
    }
    return platform::monotonicNowNs() - start;
}

void startAndAwait(TitanOutboundThread& outbound) {
    outbound.setDevicePath(QStringLiteral("0"));
    outbound.prepareStart();
    outbound.start(QThread::HighestPriority);
    const std::int64_t start = platform::monotonicNowNs();
    while (!outbound.isReady()) {
        if (platform::monotonicNowNs() - start > kStartTimeoutNs)
            qFatal("the outbound thread does not start");
        std::this_thread::yield();
    }
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    LoggingService::instance().setStderrEnabled(false); // says that there is no block with frames
    const QTemporaryDir directory;
    const QByteArray content = bytecode();
    const QString path = writeFile(directory, content);
    const TransferPackets packets =
        bytecodeTransfer(0, {reinterpret_cast<const std::uint8_t*>(content.constData()),
                             static_cast<std::size_t>(content.size())})
            .packets;
    if (packets.size() != kReports)
        qFatal("%zu reports instead of %d", packets.size(), kReports);

    TitanOutboundThread outbound;
    startAndAwait(outbound);
    int written = 0;
    MemorySlotOperations operations([&](std::span<const std::uint8_t> packet) {
        const bool isWritten = submit(outbound, packet);
        written += isWritten ? 1 : 0;
        return isWritten;
    });

    const bench::Samples samples = bench::inTurns(
        kWarmUp, kSamples, [&] { return transferNs(operations, path); },
        [&] { return bareNs(outbound, packets); });
    outbound.stop();
    if (written != (kWarmUp + kSamples) * kReports)
        qFatal("%d reports were written", written);
    bench::print("transfer of 8,192 bytes: file to last report", "137 packets to the same mailbox", kGoal,
                 samples);
    return 0;
}
