// Making blocks, taking over those of dead hosts, and removing them.

#include "host/memory_block_host.h"

#include "host/block_access.h"
#include "platform/event.h"
#include "platform/shared_memory.h"

#include <algorithm>
#include <array>
#include <vector>

using namespace Qt::StringLiterals;

namespace Vantor {

namespace {

struct StandardBlock {
    const char* name;
    std::size_t dataBytes;
};

constexpr std::array kStandardBlocks{
    StandardBlock{BlockName::kControllerInput, sizeof(ControllerData)},
    StandardBlock{BlockName::kControllerOutput, sizeof(ControllerData)},
    StandardBlock{BlockName::kControllerReport, sizeof(ControllerData)},
    StandardBlock{BlockName::kCVData, kMaxFrameBytes},
    StandardBlock{BlockName::kKeyboardRawInput, sizeof(KeyboardData)},
    StandardBlock{BlockName::kMouseRawInput, sizeof(MouseData)},
};

/// Far above every record; keeps a mistaken size from reserving all of the machine's memory.
constexpr std::size_t kMaxDataBytes = std::size_t{1} << 20;

platform::ProcessIdentity ownerOf(const std::byte* block) noexcept {
    using namespace BlockLayout;
    return {.id = blockLoad<std::uint32_t>(block, kOwnerIdOffset, std::memory_order_acquire),
            .startTime = blockLoad<std::uint64_t>(block, kOwnerStartOffset, std::memory_order_relaxed)};
}

bool isFinished(const std::byte* block) noexcept {
    return blockLoad<std::uint32_t>(block, BlockLayout::kMagicOffset, std::memory_order_acquire) ==
           BlockLayout::kBlockMagic;
}

/// Makes the block ours and empty. The sequence goes on from where it was, so that whoever is still attached
/// takes the next record for a new one.
void initialise(std::byte* block, const MemoryBlockInfo& info) {
    using namespace BlockLayout;
    const platform::ProcessIdentity self = platform::currentProcess();
    blockStore(block, kStateOffset, BlockState::kEmpty, std::memory_order_relaxed);
    blockStore(block, kDataBytesOffset, static_cast<std::uint32_t>(info.dataBytes),
               std::memory_order_relaxed);
    blockStore(block, kOwnerStartOffset, self.startTime, std::memory_order_relaxed);
    blockStore(block, kOwnerIdOffset, self.id, std::memory_order_release);
    blockStore(block, kMagicOffset, kBlockMagic, std::memory_order_release);
}

} // namespace

QList<MemoryBlockInfo> standardBlocks(const QString& instance) {
    const QString prefix = instance.isEmpty() ? u"vantor."_s : u"vantor.%1."_s.arg(instance);
    QList<MemoryBlockInfo> blocks;
    for (const StandardBlock& block : kStandardBlocks) {
        const QString name = QString::fromLatin1(block.name);
        blocks.append({.name = name, .segmentName = prefix + name, .dataBytes = block.dataBytes});
    }
    return blocks;
}

QString defaultInstance() {
    return qEnvironmentVariable("VANTOR_INSTANCE");
}

bool isValidInstance(const QString& instance) {
    static constexpr qsizetype kMaxLength = 32;
    const auto isAllowed = [](QChar character) {
        return character.unicode() < 128 &&
               (character.isLetterOrNumber() || character == u'-' || character == u'_');
    };
    return instance.size() <= kMaxLength && std::all_of(instance.begin(), instance.end(), isAllowed);
}

struct MemoryBlockHost::Private {
    struct Block {
        std::string segment;
        platform::SharedMemory memory;
        /// Held for as long as the block: on Windows a named event lives only as long as somebody has it
        /// open.
        platform::Event event = platform::Event::none();
    };

    bool createOne(const MemoryBlockInfo& info);
    bool createObject(const MemoryBlockInfo& info, Block& block);
    bool fail(const QString& text);
    void removeAll() noexcept;

    QList<MemoryBlockInfo> infos;
    std::vector<Block> made;
    QString error;
};

bool MemoryBlockHost::Private::fail(const QString& text) {
    error = text;
    return false;
}

/// Gets the block's memory, new or left by a dead host. The caller keeps other hosts out meanwhile, so that
/// an object without an owner, or not finished, is one whose creator died over it.
bool MemoryBlockHost::Private::createObject(const MemoryBlockInfo& info, Block& block) {
    using Status = platform::SharedMemory::Status;
    const std::size_t bytes = blockBytes(info.dataBytes);
    Status status = block.memory.create(block.segment, bytes);
    if (status == Status::ok)
        return true;
    if (status == Status::exists) {
        status = block.memory.open(block.segment, BlockLayout::kHeaderBytes);
        const std::byte* found = block.memory.data();
        const bool finished = found != nullptr && isFinished(found);
        if (finished && platform::isRunning(ownerOf(found)))
            return fail(
                u"Another Vantor host (process %1) holds the block \"%2\". Close it, or start this one with "
                "another instance name."_s.arg(ownerOf(found).id)
                    .arg(info.name));
        const bool fits = found != nullptr && block.memory.size() >= bytes;
        if (finished && fits &&
            blockLoad<std::uint32_t>(found, BlockLayout::kDataBytesOffset, std::memory_order_relaxed) ==
                info.dataBytes)
            return true;
        if (status != Status::refused) {
            platform::SharedMemory::unlink(block.segment);
            platform::SharedMemory fresh;
            status = fresh.create(block.segment, bytes);
            if (status == Status::ok)
                block.memory = std::move(fresh);
            // A system without unlinking: the object stays for as long as some program has it open.
            if (status == Status::ok || fits)
                return true;
        }
    }
    if (status == Status::exists || status == Status::tooSmall)
        return fail(
            u"A program still holds the block \"%1\" of an earlier host. Close it first."_s.arg(info.name));
    return fail(u"The block \"%1\" cannot be made: %2."_s.arg(
        info.name, QString::fromLocal8Bit(block.memory.systemError())));
}

bool MemoryBlockHost::Private::createOne(const MemoryBlockInfo& info) {
    Block block;
    block.segment = info.segmentName.toStdString();
    if (info.dataBytes == 0 || info.dataBytes > kMaxDataBytes)
        return fail(u"The block \"%1\" cannot have %2 data bytes."_s.arg(info.name).arg(info.dataBytes));
    const platform::NameGuard guard(block.segment);
    if (!guard.isHeld())
        return fail(
            u"Another Vantor host is making or removing the block \"%1\" right now."_s.arg(info.name));
    if (!createObject(info, block))
        return false;
    block.event = platform::Event::shared(block.segment + ".event",
                                          block.memory.data() + BlockLayout::kEventWordOffset);
    if (!block.event.valid())
        return fail(u"The event of the block \"%1\" cannot be made."_s.arg(info.name));
    block.event.reset();
    initialise(block.memory.data(), info);
    made.push_back(std::move(block));
    return true;
}

void MemoryBlockHost::Private::removeAll() noexcept {
    for (Block& block : made) {
        // First the name and then the mark: a host that starts meanwhile sees a block of a running host, or
        // none.
        platform::SharedMemory::unlink(block.segment);
        blockStore<std::uint32_t>(block.memory.data(), BlockLayout::kMagicOffset, 0,
                                  std::memory_order_release);
    }
    made.clear();
    infos.clear();
}

MemoryBlockHost::MemoryBlockHost() : d(std::make_unique<Private>()) {}

MemoryBlockHost::~MemoryBlockHost() {
    d->removeAll();
}

bool MemoryBlockHost::create(const QList<MemoryBlockInfo>& blocks) {
    d->removeAll();
    d->error.clear();
    for (const MemoryBlockInfo& info : blocks) {
        if (!d->createOne(info)) {
            d->removeAll();
            return false;
        }
    }
    d->infos = blocks;
    return true;
}

QString MemoryBlockHost::errorString() const {
    return d->error;
}

const QList<MemoryBlockInfo>& MemoryBlockHost::blocks() const {
    return d->infos;
}

} // namespace Vantor
