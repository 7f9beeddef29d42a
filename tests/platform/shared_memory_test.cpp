#include "platform/clock.h"
#include "platform/precise_sleep.h"
#include "platform/shared_memory.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

#include <algorithm>

namespace Vantor::platform {
namespace {

using Status = SharedMemory::Status;

class SharedMemoryTest : public testing::Test {
protected:
    ~SharedMemoryTest() override { SharedMemory::unlink(name); }

    const std::string name = "test.memory." + std::to_string(QCoreApplication::applicationPid());
};

TEST_F(SharedMemoryTest, ANewObjectIsZeroAndOthersSeeWhatIsWritten) {
    SharedMemory creator;
    SharedMemory reader;
    EXPECT_EQ(reader.open(name, 1), Status::missing);
    ASSERT_EQ(creator.create(name, 768), Status::ok) << creator.systemError();
    EXPECT_EQ(creator.size(), 768U);
    EXPECT_EQ(std::count(creator.data(), creator.data() + 768, std::byte{}), 768);
    creator.data()[767] = std::byte{0x5A};
    ASSERT_EQ(reader.open(name, 768), Status::ok) << reader.systemError();
    EXPECT_EQ(reader.data()[767], std::byte{0x5A});
    EXPECT_EQ(SharedMemory().create(name, 768), Status::exists);

    SharedMemory moved = std::move(reader);
    EXPECT_FALSE(reader.isMapped()); // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
    EXPECT_EQ(moved.data()[767], std::byte{0x5A});
}

TEST_F(SharedMemoryTest, AnObjectThatIsTooSmallIsNotMapped) {
    SharedMemory creator;
    // Just below and just above a page, since some systems only know whole pages.
    ASSERT_EQ(creator.create(name, 4095), Status::ok);
    SharedMemory reader;
    EXPECT_EQ(reader.open(name, 4097), Status::tooSmall);
    EXPECT_FALSE(reader.isMapped());
    EXPECT_FALSE(reader.systemError().empty());
    EXPECT_EQ(reader.open(name, 4095), Status::ok);
    EXPECT_TRUE(reader.systemError().empty());
}

TEST_F(SharedMemoryTest, MoreThanThereIsIsAnErrorAndLeavesNothing) {
    SharedMemory memory;
    EXPECT_EQ(memory.create(name, std::size_t{1} << 60), Status::refused);
    EXPECT_FALSE(memory.systemError().empty());
    EXPECT_EQ(memory.create(name, 0), Status::refused);
    EXPECT_EQ(memory.open(name, 0), Status::missing);
    EXPECT_EQ(memory.create(name, 8), Status::ok);
}

TEST_F(SharedMemoryTest, NamesThatLeadElsewhereAreRefused) {
    for (const std::string& wrong :
         {std::string(), std::string("a/b"), std::string("a\\b"), std::string("a b"), std::string("a\0b", 3),
          std::string("\xC3\xA4"), std::string(201, 'a')}) {
        SharedMemory memory;
        EXPECT_EQ(memory.create(wrong, 8), Status::refused) << wrong;
        EXPECT_EQ(memory.open(wrong, 8), Status::refused) << wrong;
        EXPECT_FALSE(SharedMemory::unlink(wrong)) << wrong;
        EXPECT_FALSE(NameGuard(wrong).isHeld()) << wrong;
    }
}

TEST_F(SharedMemoryTest, ANameGuardKeepsEverybodyElseOutAndLeavesNothing) {
    {
        const NameGuard guard(name);
        EXPECT_TRUE(guard.isHeld());
        EXPECT_FALSE(NameGuard(name).isHeld());
        EXPECT_TRUE(NameGuard(name + ".other").isHeld());
    }
    EXPECT_TRUE(NameGuard(name).isHeld());
    EXPECT_EQ(SharedMemory().open(name + ".lock", 0), Status::missing);
}

TEST(ProcessIdentity, ARecycledProcessIdIsAnotherProcess) {
    const ProcessIdentity self = currentProcess();
    EXPECT_NE(self.startTime, 0U);
    EXPECT_TRUE(isRunning(self));
    EXPECT_FALSE(isRunning({.id = self.id, .startTime = self.startTime + 1}));
    EXPECT_FALSE(isRunning({.id = self.id, .startTime = 0}));
    EXPECT_FALSE(isRunning({.id = 0, .startTime = self.startTime}));
    EXPECT_FALSE(isRunning({.id = 0xFFFFFFFF, .startTime = 0}));
}

TEST(PreciseSleep, EndsAtTheDeadlineAndNotBefore) {
    PreciseSleep sleep;
    const std::int64_t start = monotonicNowNs();
    sleep.until(start - 1);
    sleep.until(-1);
    sleep.until(start + 3'000'000);
    EXPECT_GE(monotonicNowNs(), start + 3'000'000);
}

} // namespace
} // namespace Vantor::platform
