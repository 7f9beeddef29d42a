#include "block_fixture.h"
#include "host/shared_memory_accessor.h"
#include "platform/clock.h"
#include "proven_record.h"

#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <numeric>
#include <string>
#include <thread>

using namespace Qt::StringLiterals;

namespace Vantor {
namespace {

using Record = std::array<std::uint8_t, kMaxFrameBytes>;
using testing::HasSubstr;

class AccessorTest : public test::BlockTest {
protected:
    void SetUp() override {
        startHost();
        ASSERT_TRUE(writer.connect()) << qPrintable(writer.errorString());
        ASSERT_TRUE(reader.connect()) << qPrintable(reader.errorString());
        std::iota(record.begin(), record.end(), std::uint8_t{1});
    }

    template<class T>
    T field(std::size_t offset) const {
        return blockLoad<T>(reader.getHeaderPointer(), offset, std::memory_order_relaxed);
    }

    std::string error() const { return writer.errorString().toStdString(); }

    SharedMemoryAccessor writer{cvData};
    SharedMemoryAccessor reader{cvData};
    Record record{};
    Record copy{};
    std::int64_t sequence = -1;
};

TEST_F(AccessorTest, ARecordArrivesWithItsHeaderAndItsEvent) {
    const platform::EventHandle event = reader.getEventHandle();
    EXPECT_FALSE(reader.hasNewData(0));
    EXPECT_FALSE(reader.readData(copy.data(), copy.size(), sequence));

    writer.setWriterName(u"Łódź feed"_s);
    ASSERT_TRUE(writer.writeData(record.data(), 61, 12345)) << error();
    EXPECT_EQ(platform::waitAny({&event, 1}, 0).kind, platform::WaitResult::Kind::signalled);
    reader.resetEvent();
    EXPECT_EQ(platform::waitAny({&event, 1}, 0).kind, platform::WaitResult::Kind::timeout);
    EXPECT_EQ(field<std::int64_t>(0), 1);
    EXPECT_EQ(field<std::int64_t>(8), 12345);
    EXPECT_EQ(field<std::int32_t>(16), 1);
    EXPECT_EQ(field<std::uint32_t>(128), 61U);
    EXPECT_STREQ(reinterpret_cast<const char*>(reader.getHeaderPointer() + 256), "Łódź feed");
    EXPECT_EQ(reader.getDataPointer(), reader.getHeaderPointer() + 512);

    ASSERT_TRUE(reader.hasNewData(0));
    ASSERT_TRUE(reader.readData(copy.data(), copy.size(), sequence));
    EXPECT_EQ(sequence, 1);
    EXPECT_FALSE(reader.hasNewData(1));
    EXPECT_TRUE(std::equal(copy.begin(), copy.begin() + 61, record.begin()));
    EXPECT_EQ(std::count(copy.begin() + 61, copy.end(), 0), std::ptrdiff_t{kMaxFrameBytes - 61});

    const std::int64_t before = platform::monotonicNowNs();
    ASSERT_TRUE(writer.writeData(record.data(), 1));
    EXPECT_GE(field<std::int64_t>(8), before);
    EXPECT_LE(field<std::int64_t>(8), platform::monotonicNowNs());
    EXPECT_EQ(field<std::int64_t>(0), 2);
    // A shorter record leaves what lay behind it.
    EXPECT_EQ(std::to_integer<int>(reader.getDataPointer()[1]), 2);
}

TEST_F(AccessorTest, AReaderWithLittleRoomGetsTheBeginning) {
    ASSERT_TRUE(writer.writeData(record.data(), record.size()));
    ASSERT_TRUE(reader.readData(copy.data(), 5, sequence));
    EXPECT_EQ(copy[4], 5);
    EXPECT_EQ(copy[5], 0);
}

TEST_F(AccessorTest, WrongRecordsAreRefusedAndChangeNothing) {
    for (const std::size_t size :
         {std::size_t{0}, std::size_t{257}, std::numeric_limits<std::size_t>::max()}) {
        EXPECT_FALSE(writer.writeData(record.data(), size)) << size;
        EXPECT_THAT(error(), HasSubstr("\"CVData\" has 1 to 256 bytes"));
    }
    EXPECT_FALSE(writer.writeData(nullptr, 1));
    EXPECT_EQ(field<std::int64_t>(0), 0);
    EXPECT_EQ(field<std::int32_t>(16), 0);
}

TEST_F(AccessorTest, WithoutAConnectionNothingCrashes) {
    writer.disconnect();
    EXPECT_FALSE(writer.isConnected());
    EXPECT_FALSE(writer.writeData(record.data(), 1));
    EXPECT_THAT(error(), HasSubstr("not connected"));
    EXPECT_FALSE(writer.readData(copy.data(), 1, sequence));
    EXPECT_EQ(writer.getDataPointer(), nullptr);
    EXPECT_EQ(writer.getHeaderPointer(), nullptr);
    EXPECT_EQ(writer.getEventHandle(), nullptr);
    EXPECT_FALSE(writer.hasNewData(0));
    EXPECT_FALSE(writer.isHostRunning());
    writer.resetEvent();
}

TEST_F(AccessorTest, AForeignHeaderNeverLeadsBeyondTheData) {
    ASSERT_TRUE(writer.writeData(record.data(), 10));
    std::byte* header = writer.getHeaderPointer();
    for (const std::uint32_t length : {0U, 257U, 0xFFFFFFFFU}) {
        blockStore(header, BlockLayout::kPayloadLengthOffset, length, std::memory_order_relaxed);
        EXPECT_FALSE(reader.readData(copy.data(), copy.size(), sequence)) << length;
    }
    blockStore(header, BlockLayout::kPayloadLengthOffset, 10U, std::memory_order_relaxed);
    for (const std::int32_t state : {0, 2, 7, -1}) {
        blockStore(header, BlockLayout::kStateOffset, state, std::memory_order_relaxed);
        EXPECT_FALSE(reader.readData(copy.data(), copy.size(), sequence)) << state;
    }
    blockStore(header, BlockLayout::kSequenceOffset, std::numeric_limits<std::int64_t>::max(),
               std::memory_order_relaxed);
    ASSERT_TRUE(writer.writeData(record.data(), 10));
    ASSERT_TRUE(reader.readData(copy.data(), copy.size(), sequence));
    EXPECT_EQ(sequence, std::numeric_limits<std::int64_t>::min());
}

TEST_F(AccessorTest, ALongWriterNameIsCutBetweenCharacters) {
    writer.setWriterName(QString(62, u'a') + u"äb"_s);
    ASSERT_TRUE(writer.writeData(record.data(), 1));
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(reader.getHeaderPointer() + 256)),
              std::string(62, 'a'));
}

TEST_F(AccessorTest, ConnectingSaysWhatIsWrong) {
    const auto failure = [](const MemoryBlockInfo& info) {
        SharedMemoryAccessor accessor(info);
        EXPECT_FALSE(accessor.connect());
        EXPECT_FALSE(accessor.isConnected());
        EXPECT_EQ(accessor.isBlockMissing(), info.segmentName.endsWith(u"missing"));
        return accessor.errorString().toStdString();
    };
    MemoryBlockInfo info = cvData;
    info.segmentName += u".missing";
    EXPECT_EQ(failure(info), "The block \"CVData\" does not exist. Start the host first.");
    info = cvData;
    info.dataBytes = 64 * 1024;
    EXPECT_THAT(failure(info), HasSubstr("smaller than its 65536 data bytes"));

    std::byte* header = writer.getHeaderPointer();
    blockStore(header, BlockLayout::kDataBytesOffset, 255U, std::memory_order_relaxed);
    EXPECT_THAT(failure(cvData), HasSubstr("smaller than the 256 data bytes"));
    blockStore(header, BlockLayout::kMagicOffset, 0U, std::memory_order_relaxed);
    EXPECT_THAT(failure(cvData), HasSubstr("No host has finished"));
    EXPECT_FALSE(reader.isHostRunning());
}

TEST_F(AccessorTest, TheBlockGoesToOneWriterAtATime) {
    SharedMemoryAccessor second(cvData);
    ASSERT_TRUE(second.connect());
    ASSERT_TRUE(writer.writeData(record.data(), 1));
    EXPECT_FALSE(second.writeData(record.data(), 1));
    writer.disconnect();
    EXPECT_TRUE(second.writeData(record.data(), 1));
    ASSERT_TRUE(writer.connect());
    EXPECT_FALSE(writer.writeData(record.data(), 1));
    EXPECT_EQ(field<std::int64_t>(0), 2);
}

TEST_F(AccessorTest, ASecondWritingProcessIsRefusedUntilTheFirstEnds) {
    ASSERT_EQ(startPeer("write"), "ready");
    EXPECT_FALSE(writer.writeData(record.data(), 1));
    EXPECT_EQ(error(), "Another writer (process " + std::to_string(peer.processId()) +
                           ") holds the block \"CVData\". Only one can publish at a time.");
    EXPECT_EQ(field<std::int64_t>(0), 1);
    killPeer();
    EXPECT_TRUE(writer.writeData(record.data(), 1)) << error();
    EXPECT_EQ(field<std::int64_t>(0), 2);
}

TEST_F(AccessorTest, AWriterKilledInTheMiddleCostsOneRecord) {
    ASSERT_EQ(startPeer("torn"), "ready");
    killPeer();
    EXPECT_FALSE(reader.readData(copy.data(), copy.size(), sequence));
    ASSERT_TRUE(writer.writeData(record.data(), record.size())) << error();
    ASSERT_TRUE(reader.readData(copy.data(), copy.size(), sequence));
    EXPECT_EQ(sequence, 2);
    EXPECT_EQ(copy, record);
}

/// Two threads, so that ThreadSanitizer sees both ends of the race. FERRYLINK_MEMORY_READS asks for a longer
/// one.
class AccessorStorm : public AccessorTest {
protected:
    struct Counts {
        long long taken = 0;
        long long fresh = 0;
        long long changed = 0;
        long long torn = 0;
    };

    template<class IsEnough>
    Counts readBesideAProducer(test::Pace pace, IsEnough isEnough) {
        constexpr std::int64_t kSilenceNs = 60'000'000'000;
        // One mapping for both: of two, the sanitizer would take each for memory of its own.
        std::byte* const block = writer.getHeaderPointer();
        std::atomic<bool> done{false};
        std::jthread producer([&] {
            for (std::int64_t number = 1; !done; ++number) {
                const test::ProvenRecord next(number);
                writeRecord(block, next.bytes.data(), next.length, next.timestampNs);
                pace.pause(next);
            }
        });
        Counts counts;
        std::int64_t last = 0;
        std::int64_t lastFreshNs = platform::monotonicNowNs();
        for (std::int64_t now = lastFreshNs; !isEnough(counts) && now - lastFreshNs < kSilenceNs;
             now = platform::monotonicNowNs()) {
            RecordHeader header;
            const ReadAttempt attempt = tryReadRecord(block, copy.data(), copy.size(), copy.size(), header);
            counts.changed += attempt == ReadAttempt::changed ? 1 : 0;
            if (attempt != ReadAttempt::taken)
                continue;
            ++counts.taken;
            counts.torn += test::ProvenRecord::isWhole(header, copy) && header.sequence >= last ? 0 : 1;
            if (header.sequence > last) {
                ++counts.fresh;
                lastFreshNs = now;
            }
            last = header.sequence;
        }
        done = true;
        std::printf("%lld records taken, %lld of them new, %lld attempts met the writer, %lld torn\n",
                    counts.taken, counts.fresh, counts.changed, counts.torn);
        return counts;
    }

    static long long wanted() {
        const char* const text = std::getenv("FERRYLINK_MEMORY_READS");
        return text == nullptr ? 20'000 : std::atoll(text);
    }
};

TEST_F(AccessorStorm, TornCopiesAreNoticedAtFullSpeed) {
    const auto isEnough = [](const Counts& counts) {
        return counts.taken >= wanted() && counts.changed >= wanted();
    };
    const Counts counts = readBesideAProducer(test::Pace(false), isEnough);
    EXPECT_TRUE(isEnough(counts)) << "the producer is no longer heard";
    EXPECT_EQ(counts.torn, 0);
}

TEST_F(AccessorStorm, TornCopiesAreNoticedAmongNewRecords) {
    const auto isEnough = [](const Counts& counts) { return counts.fresh >= wanted() && counts.changed > 0; };
    const Counts counts = readBesideAProducer(test::Pace(true), isEnough);
    EXPECT_TRUE(isEnough(counts)) << "the producer is no longer heard";
    EXPECT_EQ(counts.torn, 0);
}

} // namespace
} // namespace Vantor
