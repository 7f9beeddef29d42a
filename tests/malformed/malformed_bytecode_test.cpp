// A bytecode file with each of its bits the other way round, and cut off at each of its bytes, through
// disassembler, machine and transfer: each gives an answer, none hangs, and machine and transfer take the
// same files. FERRYLINK_LISTING_STRIDE=1 in the environment disassembles every flip instead of some.

#include "device/transfers.h"
#include "fuzz/bytecode_check.h"
#include "gpc/gbc.h"
#include "tests/malformed/damage.h"
#include "tests/malformed/full_slot.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace Vantor {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr int kTicks = 2;
/// More than a sound run takes; what a flip turns into an endless loop ends there.
constexpr std::uint64_t kStepLimit = 4000;

std::size_t listingStride() {
    const char* wanted = std::getenv("FERRYLINK_LISTING_STRIDE");
    const unsigned long stride = wanted != nullptr ? std::strtoul(wanted, nullptr, 10) : 0;
    return stride > 0 ? stride : FERRYLINK_LISTING_STRIDE;
}

/// The file that the packets carry, the slot number in front of it.
std::vector<std::uint8_t> payloadOf(const TransferPackets& packets, std::size_t bytes) {
    constexpr std::size_t kPacketHeaderBytes = 4;
    std::vector<std::uint8_t> payload;
    for (const Packet& packet : packets)
        payload.insert(payload.end(), packet.begin() + kPacketHeaderBytes, packet.end());
    EXPECT_GE(payload.size(), bytes);
    payload.resize(bytes);
    return payload;
}

class MalformedBytecode : public testing::Test {
protected:
    static void SetUpTestSuite() { sound = test::fullSlotBytecode(); }

    void SetUp() override { ASSERT_EQ(sound.size(), gpc::kMaxSlotBytes); }

    /// True when the machine takes the file.
    bool judge(Bytes file) {
        EXPECT_STREQ(fuzz::runComplaint(machine, file, kTicks), nullptr);
        const bool isTaken = machine.steps() > 0 || isFirstInstructionAtFault();
        const TransferPlan plan = bytecodeTransfer(0, file);
        EXPECT_EQ(isTaken, plan.error.empty()) << machine.error() << " / " << plan.error;
        EXPECT_EQ(plan.packets.empty(), !plan.error.empty());
        return isTaken;
    }
    /// What stops a script that was taken names an address; what refuses a file does not.
    bool isFirstInstructionAtFault() const { return machine.error().rfind("0x", 0) == 0; }

    static void judgeListing(Bytes file) {
        EXPECT_STREQ(fuzz::listingComplaint(gpc::disassemble(file), file), nullptr);
    }

    /// What the script left in its variables.
    std::vector<std::uint8_t> storage() const {
        const auto bytes = machine.memory().subspan(gpc::kMaxSlotBytes);
        return {bytes.begin(), bytes.end()};
    }

    static std::vector<std::uint8_t> sound;
    simulator::ScriptMachine machine{{.stepLimit = kStepLimit}};
};

std::vector<std::uint8_t> MalformedBytecode::sound;

TEST_F(MalformedBytecode, TheSoundFileRunsAndCarriesItself) {
    EXPECT_TRUE(judge(sound));
    EXPECT_EQ(machine.error(), "");
    const gpc::Listing listing = gpc::disassemble(sound);
    EXPECT_EQ(listing.error, "");
    EXPECT_STREQ(fuzz::listingComplaint(listing, sound), nullptr);
    std::vector<std::uint8_t> expected{4};
    expected.insert(expected.end(), sound.begin(), sound.end());
    EXPECT_EQ(payloadOf(bytecodeTransfer(3, sound).packets, expected.size()), expected);
}

TEST_F(MalformedBytecode, EveryFlippedBitHasAnAnswer) {
    judge(sound);
    const std::vector<std::uint8_t> soundStorage = storage();
    const std::size_t infoEnd = gpc::headerBytes(gpc::ScriptInfo{"A full slot", 1, 5, "FerryLink"});
    std::size_t stopped = 0;
    test::forEachFlip(sound, FERRYLINK_FLIP_STRIDE, [&](Bytes file, std::size_t position, std::size_t) {
        SCOPED_TRACE(position);
        const bool isTaken = judge(file);
        stopped += isTaken && !machine.error().empty() ? 1 : 0;
        if (position == 0) {
            EXPECT_FALSE(isTaken) << "the entry jump is no longer one";
        } else if (position >= gpc::kCodeOffsetPosition + 2 && position < infoEnd) {
            EXPECT_EQ(storage(), soundStorage) << "stamp and script information mean nothing to the script";
        }
    });
    // As a check of the check: damage to code is noticed, and not all of it stops a script.
    constexpr std::size_t kFlips = gpc::kMaxSlotBytes * 8 / FERRYLINK_FLIP_STRIDE;
    EXPECT_GT(stopped, kFlips / 10);
    EXPECT_LT(stopped, kFlips * 9 / 10);
    RecordProperty("stopped", static_cast<int>(stopped));
}

TEST_F(MalformedBytecode, EveryFlippedBitCanBeListedOrIsRefused) {
    test::forEachFlip(sound, listingStride(), [&](Bytes file, std::size_t position, std::size_t) {
        SCOPED_TRACE(position);
        judgeListing(file);
    });
}

TEST_F(MalformedBytecode, EveryTruncationHasAnAnswer) {
    const std::size_t codeOffset = sound[1] << 8U | sound[2];
    std::size_t length = 0;
    test::forEachTruncation(sound, FERRYLINK_FLIP_STRIDE, [&](Bytes file) {
        SCOPED_TRACE(file.size());
        EXPECT_EQ(judge(file), file.size() > codeOffset);
        if (length++ % listingStride() == 0)
            judgeListing(file);
    });
}

} // namespace
} // namespace Vantor
