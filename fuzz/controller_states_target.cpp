// Controller states on their way from input reports to published records. The input begins with the layout
// (20 bytes), then come reports: {length, bytes}.

#include "device/controller_state_decoder.h"
#include "fuzz/target.h"
#include "host/block_access.h"
#include "workers/controller_record.h"

namespace Vantor::fuzz {

namespace {

struct alignas(8) Block {
    std::array<std::byte, blockBytes(sizeof(ControllerData))> bytes{};
};

DecoderLayout takeLayout(InputReader& reader) {
    DecoderLayout layout;
    // All zero stands for the layout that adapters have.
    DecoderLayout other{.stride = reader.number<std::int32_t>(),
                        .firstOffset = reader.number<std::int32_t>()};
    for (std::int32_t& count : other.buttonCounts)
        count = reader.number<std::int32_t>();
    const bool isZero = other.stride == 0 && other.firstOffset == 0;
    return isZero ? layout : other;
}

void checkRecord(const ControllerData& record) {
    for (const float button : record.buttons)
        check(button >= 0.0F && button <= 100.0F, "buttons lie within 0 and 100");
    for (const float axis : record.axes)
        check(axis >= -100.0F && axis <= 100.0F, "axes lie within -100 and 100");
}

void publish(Block& block, const ControllerData& record, std::int64_t stamp) {
    writeRecord(block.bytes.data(), &record, sizeof record, stamp);
    ControllerData read;
    RecordHeader header;
    check(tryReadRecord(block.bytes.data(), &read, sizeof read, sizeof read, header) == ReadAttempt::taken,
          "what was published can be read");
    // All of a record is published, what it reserves included, so its bytes are what has to be the same.
    // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
    check(std::memcmp(&read, &record, sizeof read) == 0, "what is read is what was published");
}

} // namespace

void takeInput(Bytes input) {
    InputReader reader(input);
    const DecoderLayout layout = takeLayout(reader);
    FragmentStore store;
    DecodedState state;
    Block block;
    std::uint64_t published = 0;
    while (!reader.atEnd()) {
        const Bytes report = reader.takePiece();
        if (!store.accept(report.data(), static_cast<int>(report.size())))
            continue;
        // A copy of its own: behind the store's there are other members, where a sanitizer sees no read too
        // far.
        const StagedState parts = store.staged();
        decodeControllerState(layout, parts, store.stagedLengths(), state);
        check(state.buttonCount >= 0 && state.buttonCount <= static_cast<int>(kMaxButtonValues),
              "at most 21 buttons");
        check(state.axisCount >= 0 && state.axisCount <= static_cast<int>(kMaxAxisValues), "at most 17 axes");
        const ControllerData record = makeControllerData(state, ++published, true);
        checkRecord(record);
        publish(block, record, static_cast<std::int64_t>(published));
    }
}

} // namespace Vantor::fuzz
