// What can only be seen from the worker's side; the rest is tested through the thread.

#include "workers/packet_mailbox.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <future>
#include <thread>
#include <vector>

namespace Vantor {
namespace {

const std::vector<std::uint8_t> kPacket{0xA0, 0x01, 0x02};

/// A worker's half of the mailbox, played by the test's own thread.
class MailboxTest : public testing::Test {
protected:
    std::future<bool> submitElsewhere() {
        return std::async(std::launch::async, [this] { return mailbox.submit(kPacket); });
    }
    void awaitRequest() const {
        const std::array<platform::EventHandle, 1> request{mailbox.requestHandle()};
        ASSERT_EQ(platform::waitAny(request, 10'000).kind, platform::WaitResult::Kind::signalled);
    }

    PacketMailbox mailbox;
};

TEST_F(MailboxTest, ResetLeavesASubmissionInFlightToItsSubmitter) {
    mailbox.setReady(true);
    auto waiting = submitElsewhere();
    awaitRequest();
    mailbox.reset(); // must not take the events from under it
    mailbox.close();
    EXPECT_FALSE(waiting.get());
    mailbox.reset();
    const std::array<platform::EventHandle, 1> request{mailbox.requestHandle()};
    EXPECT_EQ(platform::waitAny(request, 0).kind, platform::WaitResult::Kind::timeout);
}

// Runs begin and end under several submitters. That it ends shows that none is left waiting; the counts show
// that true was said exactly of what was written.
TEST_F(MailboxTest, NoSubmitterIsLeftBehindWhenRunsEnd) {
    constexpr int kRuns = 2000;
    constexpr int kSubmitters = 3;
    std::atomic<bool> isOver{false};
    std::atomic<int> confirmed{0};
    std::vector<std::thread> submitters;
    submitters.reserve(kSubmitters);
    for (int i = 0; i < kSubmitters; ++i) {
        submitters.emplace_back([&] {
            while (!isOver.load()) {
                if (mailbox.submit(kPacket))
                    confirmed.fetch_add(1);
            }
        });
    }
    int written = 0;
    const std::array<platform::EventHandle, 1> request{mailbox.requestHandle()};
    for (int run = 0; run < kRuns; ++run) {
        mailbox.reset();
        mailbox.setReady(true);
        for (int wake = 0; wake <= run % 3; ++wake) {
            if (platform::waitAny(request, 1).kind == platform::WaitResult::Kind::signalled)
                mailbox.serve([&](const OutputReport&) { return ++written > 0; });
        }
        mailbox.close();
    }
    isOver.store(true);
    for (std::thread& submitter : submitters)
        submitter.join();
    EXPECT_EQ(confirmed.load(), written);
    EXPECT_GT(written, kRuns / 10);
}

} // namespace
} // namespace Vantor
