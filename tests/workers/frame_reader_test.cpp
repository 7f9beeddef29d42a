#include "host/block_access.h"
#include "tests/workers/blocks.h"
#include "workers/frame_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <limits>
#include <thread>

namespace Vantor {
namespace {

/// A block's memory without a host, so that it can be put into any state.
class FrameReading : public testing::Test {
protected:
    void publish(std::int64_t stampNs, std::size_t bytes, std::uint8_t fill) {
        std::array<std::uint8_t, kMaxFrameBytes> payload;
        payload.fill(fill);
        writeRecord(block.data(), payload.data(), bytes, stampNs);
    }
    template<class T>
    void set(std::size_t offset, T value) {
        blockStore(block.data(), offset, value, std::memory_order_relaxed);
    }
    bool read() { return readFrame(block.data(), kMaxFrameBytes, frame); }

    alignas(8) std::array<std::byte, blockBytes(kMaxFrameBytes)> block{};
    Frame frame;
};

TEST_F(FrameReading, GivesTheCurrentFrame) {
    publish(7, 10, 0x11);
    publish(8, 256, 0x22);
    ASSERT_TRUE(read());
    EXPECT_EQ(frame.sequence, 2);
    EXPECT_EQ(frame.timestampNs, 8);
    EXPECT_EQ(frame.length, 256U);
    EXPECT_TRUE(
        std::all_of(frame.payload.begin(), frame.payload.end(), [](auto byte) { return byte == 0x22; }));
}

TEST_F(FrameReading, RefusesWhatIsNoStableFrame) {
    EXPECT_FALSE(read()) << "nothing published yet";
    for (const std::uint32_t length : {0U, 257U, std::numeric_limits<std::uint32_t>::max()}) {
        publish(1, 8, 1);
        set(BlockLayout::kPayloadLengthOffset, length);
        EXPECT_FALSE(read()) << length << " bytes";
    }
    for (const std::int32_t state : {0, 2, 3, -1, std::numeric_limits<std::int32_t>::max()}) {
        publish(1, 8, 1);
        set(BlockLayout::kStateOffset, state);
        EXPECT_FALSE(read()) << "state " << state;
    }
    publish(1, 8, 1);
    EXPECT_TRUE(read()) << "the next complete frame is there to be taken";
}

// Every byte and the stamp of a frame follow from its sequence number, which a torn copy would not survive.
TEST_F(FrameReading, NeverMixesTwoFrames) {
    constexpr int kFrames = 20'000;
    std::atomic<bool> isOver{false};
    std::thread writer([&] {
        for (std::int64_t sequence = 1; !isOver.load(std::memory_order_relaxed); ++sequence) {
            const auto length = static_cast<std::size_t>(1 + sequence % 256);
            publish(sequence * 3, length, static_cast<std::uint8_t>(sequence));
        }
    });
    int taken = 0;
    int overtaken = 0;
    int torn = 0;
    // Until the writer has been met inside a write often enough for the check to mean something.
    while (taken < kFrames || overtaken == 0) {
        if (!read()) {
            ++overtaken;
            continue;
        }
        ++taken;
        const auto fill = static_cast<std::uint8_t>(frame.sequence);
        const bool isWhole = frame.timestampNs == frame.sequence * 3 &&
                             frame.length == static_cast<std::uint32_t>(1 + frame.sequence % 256) &&
                             std::all_of(frame.payload.begin(), frame.payload.begin() + frame.length,
                                         [fill](std::uint8_t byte) { return byte == fill; });
        torn += isWhole ? 0 : 1;
    }
    isOver.store(true);
    writer.join();
    EXPECT_EQ(torn, 0);
}

// A block may be described as smaller than a full frame; a length from its header must not lead behind its
// end.
TEST(FrameReader, TrustsNoLengthBeyondTheBlock) {
    const test::Blocks blocks;
    MemoryBlockInfo info = blocks.info(BlockName::kCVData);
    info.dataBytes = 64;
    FrameReader reader(info);
    ASSERT_TRUE(reader.connect());
    test::Peer producer(blocks, BlockName::kCVData);
    const std::array<std::uint8_t, 65> payload{};
    Frame frame;
    ASSERT_TRUE(producer.writeData(payload.data(), 64));
    EXPECT_TRUE(reader.read(frame));
    ASSERT_TRUE(producer.writeData(payload.data(), 65));
    EXPECT_TRUE(reader.hasNewFrame(1));
    EXPECT_FALSE(reader.read(frame));
}

TEST(FrameReader, WithoutItsBlockHasNothingToWaitFor) {
    FrameReader reader({QStringLiteral("CVData"), QStringLiteral("vantor.test-none.CVData"), 256});
    Frame frame;
    EXPECT_FALSE(reader.connect());
    EXPECT_FALSE(reader.errorString().isEmpty());
    EXPECT_EQ(reader.eventHandle(), nullptr);
    EXPECT_FALSE(reader.hasNewFrame(0));
    EXPECT_FALSE(reader.read(frame));
}

} // namespace
} // namespace Vantor
