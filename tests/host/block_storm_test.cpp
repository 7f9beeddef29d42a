// Readers of a block against a producer in another process that writes without a pause, and one that is
// killed at whatever point it has reached. Environment for longer runs: FERRYLINK_MEMORY_READS (records
// taken), FERRYLINK_MEMORY_KILLS, FERRYLINK_MEMORY_SEED. What was seen is printed.

#include "block_fixture.h"
#include "platform/clock.h"
#include "platform/event.h"
#include "proven_record.h"

#include <cstdio>
#include <cstdlib>
#include <random>

namespace Vantor {
namespace {

constexpr std::int64_t kSecondNs = 1'000'000'000;
constexpr std::int64_t kSilenceNs = 30 * kSecondNs; ///< a producer that is heard of less often is not there
constexpr int kFewestNewRecords = 50; ///< a producer at full speed leaves few moments to take a new one
constexpr std::uint32_t kEventPatienceMs = 30'000;

long long fromEnvironment(const char* name, long long otherwise) {
    const char* const text = std::getenv(name);
    return text == nullptr ? otherwise : std::atoll(text);
}

class BlockStorm : public test::BlockTest {
protected:
    void SetUp() override {
        startHost();
        ASSERT_TRUE(reader.connect()) << qPrintable(reader.errorString());
    }

    ReadAttempt attempt() {
        const ReadAttempt result =
            tryReadRecord(reader.getHeaderPointer(), copy.data(), copy.size(), copy.size(), header);
        changed += result == ReadAttempt::changed ? 1 : 0;
        if (result == ReadAttempt::taken)
            account();
        return result;
    }
    void account() {
        ++taken;
        torn += test::ProvenRecord::isWhole(header, copy) ? 0 : 1;
        backward += header.sequence < last ? 1 : 0;
        fresh += header.sequence > last ? 1 : 0;
        last = header.sequence;
    }
    bool isLeftHalfWritten() const {
        return blockLoad<std::int32_t>(reader.getHeaderPointer(), BlockLayout::kStateOffset,
                                       std::memory_order_acquire) == BlockState::kWriting;
    }
    /// Waits for the event as the outbound thread does, and takes what it stands for.
    bool hearsTheProducer() {
        const std::int64_t before = last;
        while (last == before) {
            const platform::EventHandle event = reader.getEventHandle();
            if (platform::waitAny({&event, 1}, kEventPatienceMs).kind !=
                platform::WaitResult::Kind::signalled)
                return false;
            reader.resetEvent();
            attempt();
        }
        return true;
    }
    /// Goes on until `isEnough` and an attempt has met the writer, too.
    template<class IsEnough>
    void readUntil(IsEnough isEnough) {
        const std::int64_t start = platform::monotonicNowNs();
        std::int64_t lastFresh = start;
        while (!isEnough() || changed == 0) {
            const long long before = fresh;
            attempt();
            const std::int64_t now = platform::monotonicNowNs();
            if (fresh != before)
                lastFresh = now;
            ASSERT_LT(now - lastFresh, kSilenceNs) << "the producer is no longer there";
        }
        std::printf("%lld records taken, %lld of them new, %lld attempts met the writer, %lld torn, %.1f s\n",
                    taken, fresh, changed, torn,
                    static_cast<double>(platform::monotonicNowNs() - start) / static_cast<double>(kSecondNs));
        expectNoDamage();
    }
    void expectNoDamage() const {
        EXPECT_EQ(torn, 0);
        EXPECT_EQ(backward, 0);
    }

    SharedMemoryAccessor reader{cvData};
    RecordHeader header;
    std::array<std::uint8_t, kMaxFrameBytes> copy{};
    long long taken = 0;
    long long fresh = 0;
    long long changed = 0;
    long long torn = 0;
    long long backward = 0;
    std::int64_t last = 0;
};

TEST_F(BlockStorm, NoRecordOfAProducerAtFullSpeedIsTorn) {
    ASSERT_EQ(startPeer("flood"), "ready");
    const long long wanted = fromEnvironment("FERRYLINK_MEMORY_READS", 200'000);
    // Without new records the race was not run.
    readUntil([&] { return taken >= wanted && fresh >= kFewestNewRecords; });
}

TEST_F(BlockStorm, NoNewRecordOfAPacedProducerIsTorn) {
    ASSERT_EQ(startPeer("pace"), "ready");
    const long long wanted = fromEnvironment("FERRYLINK_MEMORY_READS", 20'000);
    readUntil([&] { return fresh >= wanted; });
}

TEST_F(BlockStorm, AProducerKilledAnywhereCostsARecordAndTheNextOneIsHeard) {
    constexpr int kMostAttemptsBeforeTheEnd = 20'000;
    const long long kills = fromEnvironment("FERRYLINK_MEMORY_KILLS", FERRYLINK_DEFAULT_KILLS);
    std::mt19937 random(static_cast<unsigned>(fromEnvironment("FERRYLINK_MEMORY_SEED", 1)));
    std::uniform_int_distribution<int> lifetime(0, kMostAttemptsBeforeTheEnd);
    long long halfWritten = 0;
    for (long long kill = 0; kill < kills; ++kill) {
        ASSERT_EQ(startPeer("flood"), "ready") << "kill " << kill;
        ASSERT_TRUE(hearsTheProducer()) << "kill " << kill;
        for (int left = lifetime(random); left > 0; --left)
            attempt();
        killPeer();
        halfWritten += isLeftHalfWritten() ? 1 : 0;
        // Nobody will ever finish that record; the reader is told so, at once.
        std::int64_t sequence = 0;
        EXPECT_EQ(reader.readData(copy.data(), copy.size(), sequence), !isLeftHalfWritten());
        reader.resetEvent();
    }
    std::printf("%lld producers killed, %lld of them inside a record, %lld records taken, %lld torn\n", kills,
                halfWritten, taken, torn);
    expectNoDamage();
}

} // namespace
} // namespace Vantor
