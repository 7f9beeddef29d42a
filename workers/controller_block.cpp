#include "workers/controller_block.h"

#include "workers/worker_log.h"

#include <cstring>

namespace Vantor {

void ControllerBlock::offer(const MemoryBlockInfo& info) {
    if (info.name != QLatin1String(blockName))
        return;
    current = nullptr;
    accessor = std::make_unique<SharedMemoryAccessor>(info);
}

void ControllerBlock::connect() {
    current = nullptr;
    if (accessor != nullptr && accessor->connect()) {
        accessor->setWriterName(logSource());
        current = accessor->getDataPointer();
        return;
    }
    warnOfMissingBlock(blockName, accessor != nullptr ? accessor->errorString() : blockNotOffered(),
                       "The adapter's controller state is not published in it");
}

void ControllerBlock::publish(const ControllerData& record) {
    // Nobody else writes this block, so its bytes can be compared where they lie.
    if (current == nullptr || std::memcmp(current, &record, sizeof record) == 0)
        return;
    if (!accessor->writeData(&record, sizeof record, static_cast<std::int64_t>(record.timestampNs))) {
        current = nullptr;
        warnOfRefusedBlock(blockName, accessor->errorString());
    }
}

} // namespace Vantor
