// Attaching to a block, and the writer's claim on it. The sequence lock itself is in block_access.h.

#include "host/shared_memory_accessor.h"

#include "host/block_access.h"
#include "platform/clock.h"
#include "platform/shared_memory.h"

#include <array>
#include <atomic>

using namespace Qt::StringLiterals;

namespace Vantor {

namespace {

constexpr int kReadAttempts = 4;

/// Cuts UTF-8 to the bytes that the header has room for, zero included, without cutting a character in two.
std::array<char, BlockLayout::kWriterNameBytes> headerName(const QString& name) {
    std::array<char, BlockLayout::kWriterNameBytes> field{};
    const QByteArray utf8 = name.toUtf8();
    qsizetype length = std::min<qsizetype>(utf8.size(), field.size() - 1);
    constexpr unsigned kContinuationMask = 0xC0;
    constexpr unsigned kContinuationMark = 0x80;
    if (length < utf8.size()) {
        while (length > 0 &&
               (static_cast<unsigned char>(utf8[length]) & kContinuationMask) == kContinuationMark)
            --length;
    }
    std::copy_n(utf8.constData(), length, field.data());
    return field;
}

std::uint32_t nextWriterToken() noexcept {
    static std::atomic<std::uint32_t> last{0};
    return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

platform::ProcessIdentity writerOf(const std::byte* block) noexcept {
    return {.id = blockLoad<std::uint32_t>(block, BlockLayout::kWriterIdOffset, std::memory_order_acquire),
            .startTime =
                blockLoad<std::uint64_t>(block, BlockLayout::kWriterStartOffset, std::memory_order_relaxed)};
}

} // namespace

struct SharedMemoryAccessor::Private {
    explicit Private(MemoryBlockInfo block) : info(std::move(block)) {}

    QString quotedName() const { return u"\"%1\""_s.arg(info.name); }
    bool isWriter() const noexcept;
    bool mayWrite(const void* data, std::size_t size);
    bool claim();
    void release() noexcept;

    const MemoryBlockInfo info;
    const platform::ProcessIdentity self = platform::currentProcess();
    const std::uint32_t token = nextWriterToken();
    platform::SharedMemory memory;
    platform::Event event = platform::Event::none();
    QString writerName;
    QString error;
    bool blockMissing = false;
};

inline bool SharedMemoryAccessor::Private::isWriter() const noexcept {
    const std::byte* block = memory.data();
    const platform::ProcessIdentity writer = writerOf(block);
    return writer.id == self.id && writer.startTime == self.startTime &&
           blockLoad<std::uint32_t>(block, BlockLayout::kWriterTokenOffset, std::memory_order_relaxed) ==
               token;
}

/// The slow part of writeData(): claims the block, or says in `error` why there can be no record.
bool SharedMemoryAccessor::Private::mayWrite(const void* data, std::size_t size) {
    if (!memory.isMapped()) {
        error = u"The block %1 is not connected."_s.arg(quotedName());
        return false;
    }
    if (data == nullptr || size == 0 || size > info.dataBytes) {
        error = u"A record of the block %1 has 1 to %2 bytes, not %3."_s.arg(quotedName())
                    .arg(info.dataBytes)
                    .arg(size);
        return false;
    }
    return isWriter() || claim();
}

bool SharedMemoryAccessor::Private::claim() {
    const platform::NameGuard guard(info.segmentName.toStdString() + ".writer");
    if (!guard.isHeld()) {
        error = u"Another program is attaching to the block %1 as its writer right now."_s.arg(quotedName());
        return false;
    }
    std::byte* block = memory.data();
    const platform::ProcessIdentity writer = writerOf(block);
    if (platform::isRunning(writer)) {
        error = u"Another writer (process %1) holds the block %2. Only one can publish at a time."_s
                    .arg(writer.id)
                    .arg(quotedName());
        return false;
    }
    using namespace BlockLayout;
    const auto name = headerName(writerName);
    copyToBlock(block + kWriterNameOffset, name.data(), name.size());
    blockStore(block, kWriterTokenOffset, token, std::memory_order_relaxed);
    blockStore(block, kWriterStartOffset, self.startTime, std::memory_order_relaxed);
    blockStore(block, kWriterIdOffset, self.id, std::memory_order_release);
    return true;
}

void SharedMemoryAccessor::Private::release() noexcept {
    if (memory.isMapped() && isWriter())
        blockStore<std::uint32_t>(memory.data(), BlockLayout::kWriterIdOffset, 0, std::memory_order_release);
}

SharedMemoryAccessor::SharedMemoryAccessor(MemoryBlockInfo info)
    : d(std::make_unique<Private>(std::move(info))) {}

SharedMemoryAccessor::~SharedMemoryAccessor() {
    disconnect();
}

bool SharedMemoryAccessor::connect() {
    disconnect();
    d->error.clear();
    d->blockMissing = false;
    const std::string segment = d->info.segmentName.toStdString();
    using Status = platform::SharedMemory::Status;
    switch (d->memory.open(segment, blockBytes(d->info.dataBytes))) {
    case Status::ok:
        break;
    case Status::missing:
        d->blockMissing = true;
        d->error = u"The block %1 does not exist. Start the host first."_s.arg(d->quotedName());
        return false;
    case Status::tooSmall:
        d->error = u"The block %1 is smaller than its %2 data bytes: %3."_s.arg(d->quotedName())
                       .arg(d->info.dataBytes)
                       .arg(QString::fromLocal8Bit(d->memory.systemError()));
        return false;
    case Status::exists:
    case Status::refused:
        d->error = u"The block %1 cannot be opened: %2."_s.arg(
            d->quotedName(), QString::fromLocal8Bit(d->memory.systemError()));
        return false;
    }

    using namespace BlockLayout;
    const std::byte* block = d->memory.data();
    if (blockLoad<std::uint32_t>(block, kMagicOffset, std::memory_order_acquire) != kBlockMagic) {
        d->error = u"No host has finished making the block %1, or it has ended."_s.arg(d->quotedName());
    } else if (blockLoad<std::uint32_t>(block, kDataBytesOffset, std::memory_order_relaxed) <
               d->info.dataBytes) {
        d->error = u"The host made the block %1 smaller than the %2 data bytes that are expected."_s
                       .arg(d->quotedName())
                       .arg(d->info.dataBytes);
    } else {
        d->event = platform::Event::shared(segment + ".event", d->memory.data() + kEventWordOffset);
        if (!d->event.valid())
            d->error = u"The event of the block %1 cannot be opened."_s.arg(d->quotedName());
    }
    if (!d->error.isEmpty())
        d->memory.close();
    return d->memory.isMapped();
}

void SharedMemoryAccessor::disconnect() {
    d->release();
    d->event = platform::Event::none();
    d->memory.close();
}

bool SharedMemoryAccessor::isConnected() const {
    return d->memory.isMapped();
}

QString SharedMemoryAccessor::errorString() const {
    return d->error;
}

bool SharedMemoryAccessor::isBlockMissing() const {
    return d->blockMissing;
}

bool SharedMemoryAccessor::isHostRunning() const {
    const std::byte* block = d->memory.data();
    using namespace BlockLayout;
    // A host that ends takes the magic number away; one that dies cannot.
    if (block == nullptr ||
        blockLoad<std::uint32_t>(block, kMagicOffset, std::memory_order_acquire) != kBlockMagic)
        return false;
    return platform::isRunning(
        {.id = blockLoad<std::uint32_t>(block, kOwnerIdOffset, std::memory_order_acquire),
         .startTime = blockLoad<std::uint64_t>(block, kOwnerStartOffset, std::memory_order_relaxed)});
}

void SharedMemoryAccessor::setWriterName(const QString& name) {
    d->writerName = name;
}

const std::byte* SharedMemoryAccessor::getDataPointer() const {
    return isConnected() ? d->memory.data() + BlockLayout::kHeaderBytes : nullptr;
}

std::byte* SharedMemoryAccessor::getHeaderPointer() const {
    return d->memory.data();
}

bool SharedMemoryAccessor::writeData(const void* data, std::size_t size) {
    return writeData(data, size, platform::monotonicNowNs());
}

bool SharedMemoryAccessor::writeData(const void* data, std::size_t size, std::int64_t timestampNs) {
    const bool isPlain = d->memory.isMapped() && data != nullptr && size != 0 && size <= d->info.dataBytes;
    if (!(isPlain && d->isWriter()) && !d->mayWrite(data, size))
        return false;
    writeRecord(d->memory.data(), data, size, timestampNs);
    return d->event.set();
}

bool SharedMemoryAccessor::readData(void* data, std::size_t size, std::int64_t& sequence) const {
    if (!isConnected() || data == nullptr)
        return false;
    RecordHeader header;
    for (int attempt = 0; attempt < kReadAttempts; ++attempt) {
        switch (tryReadRecord(d->memory.data(), data, size, d->info.dataBytes, header)) {
        case ReadAttempt::taken:
            sequence = header.sequence;
            return true;
        case ReadAttempt::none:
            return false;
        case ReadAttempt::changed:
            break;
        }
    }
    return false;
}

platform::EventHandle SharedMemoryAccessor::getEventHandle() const {
    return d->event.handle();
}

void SharedMemoryAccessor::resetEvent() {
    d->event.reset();
}

bool SharedMemoryAccessor::hasNewData(std::int64_t lastSequence) const {
    using namespace BlockLayout;
    const std::byte* block = d->memory.data();
    return block != nullptr &&
           blockLoad<std::int32_t>(block, kStateOffset, std::memory_order_acquire) != BlockState::kEmpty &&
           blockLoad<std::int64_t>(block, kSequenceOffset, std::memory_order_acquire) != lastSequence;
}

} // namespace Vantor
