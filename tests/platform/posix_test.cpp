// What only Linux can get wrong: interrupted waits, kernels without futex_waitv(), per-thread priority.
#include "event_pair.h"
#include "platform/clock.h"
#include "platform/thread_priority.h"

#include <gtest/gtest.h>

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <thread>

namespace Vantor::platform {
namespace {

/// From now on futex_waitv() does not exist for the calling thread. There is no way back: for threads of a
/// test.
bool takeFutexWaitvAway() {
    std::array filter{
        sock_filter BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_futex_waitv, 0, 1),
        sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
        sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program{.len = filter.size(), .filter = filter.data()};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0 &&
           syscall(SYS_futex_waitv, nullptr, 0, 0, nullptr, 0) == -1 && errno == ENOSYS;
}

TEST(EventThreads, WorkWithoutFutexWaitv) {
    constexpr int kRounds = 500;
    test::EventPair events;
    int answered = 0;
    WaitResult single;
    WaitResult timedOut;
    std::int64_t waitedNs = 0;
    std::jthread other([&] {
        if (!takeFutexWaitvAway())
            return;
        while (answered < kRounds && test::take(events.ping)) {
            ++answered;
            events.pong.set();
        }
        const EventHandle ping = events.ping.handle();
        single = waitAny({&ping, 1}, test::kLostMs);
        events.ping.reset();
        const std::array both{ping, events.pong.handle()};
        const std::int64_t start = monotonicNowNs();
        timedOut = waitAny(both, 10);
        waitedNs = monotonicNowNs() - start;
    });
    for (int round = 0; round < kRounds; ++round) {
        events.ping.set();
        ASSERT_TRUE(test::take(events.pong)) << round;
    }
    events.ping.set();
    other.join();
    EXPECT_EQ(answered, kRounds);
    EXPECT_EQ(single.kind, WaitResult::Kind::signalled);
    EXPECT_EQ(timedOut.kind, WaitResult::Kind::timeout);
    EXPECT_GE(waitedNs, 10'000'000);
}

TEST(EventThreads, SignalsNeitherEndNorProlongAWait) {
    constexpr std::uint32_t kTimeoutMs = 50;
    std::signal(SIGUSR1, [](int) {});
    const Event event;
    std::atomic<bool> done{false};
    WaitResult result;
    std::int64_t waitedNs = 0;
    std::thread waiter([&] {
        const EventHandle handle = event.handle();
        const std::int64_t start = monotonicNowNs();
        result = waitAny({&handle, 1}, kTimeoutMs);
        waitedNs = monotonicNowNs() - start;
        done = true;
    });
    // A deadline that starts anew with every signal would never come.
    while (!done)
        pthread_kill(waiter.native_handle(), SIGUSR1);
    waiter.join();
    std::signal(SIGUSR1, SIG_DFL);
    EXPECT_EQ(result.kind, WaitResult::Kind::timeout);
    EXPECT_GE(waitedNs, std::int64_t{kTimeoutMs} * 1'000'000);
}

TEST(ThreadPriority, IsRaisedForTheCallingThreadAlone) {
    const auto nice = [] { return getpriority(PRIO_PROCESS, static_cast<id_t>(syscall(SYS_gettid))); };
    const int before = nice();
    bool raised = false;
    int after = 0;
    std::jthread([&] {
        raised = raiseCurrentThreadPriority();
        after = nice();
    }).join();
    EXPECT_EQ(after, raised ? std::min(before, -10) : before);
    EXPECT_EQ(nice(), before);
}

TEST(ThreadPriority, ThatTheUserSetHigherStays) {
    std::jthread([] {
        const auto thread = static_cast<id_t>(syscall(SYS_gettid));
        if (setpriority(PRIO_PROCESS, thread, -15) != 0)
            GTEST_SKIP() << "this user may not raise priorities";
        EXPECT_TRUE(raiseCurrentThreadPriority());
        EXPECT_EQ(getpriority(PRIO_PROCESS, thread), -15);
    }).join();
}

} // namespace
} // namespace Vantor::platform
