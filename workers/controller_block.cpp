#include "workers/controller_block.h"

#include "workers/worker_log.h"

#include <cstring>

namespace Vantor {

void ControllerBlock::offer(const MemoryBlockInfo& info) {
    if (info.name == QLatin1String(blockName))
        accessor = std::make_unique<SharedMemoryAccessor>(info);
}

void ControllerBlock::connect() {
    isRefused = false;
    if (accessor != nullptr && accessor->connect()) {
        accessor->setWriterName(logSource());
        return;
    }
    warnOfMissingBlock(blockName, accessor != nullptr ? accessor->errorString() : blockNotOffered(),
                       "The adapter's controller state is not published in it");
}

void ControllerBlock::publish(const ControllerData& record) {
    if (accessor == nullptr || isRefused)
        return;
    // Nobody else writes this block, so its bytes can be compared where they lie.
    const std::byte* current = accessor->getDataPointer();
    const auto* bytes = reinterpret_cast<const std::byte*>(&record);
    if (current == nullptr || std::memcmp(current, bytes, sizeof record) == 0)
        return;
    if (!accessor->writeData(&record, sizeof record, static_cast<std::int64_t>(record.timestampNs))) {
        isRefused = true;
        warnOfRefusedBlock(blockName, accessor->errorString());
    }
}

} // namespace Vantor
