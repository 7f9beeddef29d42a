#include "event_pair.h"
#include "platform/clock.h"
#include "platform/event.h"
#include "platform/shared_memory.h"

#include <QCoreApplication>
#include <QProcess>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

namespace Vantor::platform {
namespace {

using Kind = WaitResult::Kind;

WaitResult waitFor(std::initializer_list<EventHandle> handles, std::uint32_t timeoutMs) {
    return waitAny(std::span(handles.begin(), handles.size()), timeoutMs);
}

TEST(Event, StaysSetUntilItIsReset) {
    Event event;
    ASSERT_TRUE(event.valid());
    EXPECT_EQ(waitFor({event.handle()}, 0).kind, Kind::timeout);
    EXPECT_TRUE(event.set());
    EXPECT_TRUE(event.set());
    for (int wait = 0; wait < 2; ++wait)
        EXPECT_EQ(waitFor({event.handle()}, kWaitForever).kind, Kind::signalled);
    EXPECT_TRUE(event.isSet());
    EXPECT_TRUE(event.reset());
    EXPECT_FALSE(event.isSet());
    EXPECT_EQ(waitFor({event.handle()}, 0).kind, Kind::timeout);
}

TEST(Event, TheLowestIndexWins) {
    std::array<Event, kMaxWaitEvents> events;
    std::array<EventHandle, kMaxWaitEvents> handles{};
    std::ranges::transform(events, handles.begin(), &Event::handle);
    for (std::size_t index = events.size(); index-- > 0;) {
        events[index].set();
        const WaitResult result = waitAny(handles, kWaitForever);
        EXPECT_EQ(result.kind, Kind::signalled);
        EXPECT_EQ(result.index, index);
    }
}

TEST(Event, ATimeoutIsNeverEarly) {
    const Event first;
    const Event second;
    for (const std::uint32_t timeoutMs : {1U, 30U}) {
        const std::int64_t start = monotonicNowNs();
        EXPECT_EQ(waitFor({first.handle(), second.handle()}, timeoutMs).kind, Kind::timeout);
        EXPECT_GE(monotonicNowNs() - start, std::int64_t{timeoutMs} * 1'000'000);
    }
}

TEST(Event, AWrongListFailsAtOnceEvenBesideASetEvent) {
    Event event;
    event.set();
    EXPECT_EQ(waitAny({}, kWaitForever).kind, Kind::failed);
    EXPECT_EQ(waitFor({event.handle(), nullptr}, kWaitForever).kind, Kind::failed);
    const std::vector<EventHandle> tooMany(kMaxWaitEvents + 1, event.handle());
    EXPECT_EQ(waitAny(tooMany, kWaitForever).kind, Kind::failed);
}

TEST(Event, WithoutAnEventEveryCallFails) {
    Event event;
    const EventHandle handle = event.handle();
    Event moved = std::move(event);
    EXPECT_EQ(moved.handle(), handle);
    moved = Event::none();
    for (Event* nothing :
         {&event, &moved}) { // NOLINT(bugprone-use-after-move): what a move leaves is the point
        EXPECT_FALSE(nothing->valid());
        EXPECT_EQ(nothing->handle(), nullptr);
        EXPECT_FALSE(nothing->set());
        EXPECT_FALSE(nothing->reset());
        EXPECT_FALSE(nothing->isSet());
    }
}

TEST(EventThreads, OneSetWakesEveryWaiter) {
    Event event;
    const Event idle;
    std::atomic<int> woken{0};
    std::vector<std::jthread> waiters(6);
    for (std::jthread& waiter : waiters) {
        waiter = std::jthread([&] {
            if (waitFor({idle.handle(), event.handle()}, test::kLostMs).index == 1)
                ++woken;
        });
    }
    event.set();
    waiters.clear();
    EXPECT_EQ(woken, 6);
}

TEST(EventThreads, NoHandOffIsLost) {
    constexpr int kRounds = FERRYLINK_HAND_OFFS;
    test::EventPair events;
    int answered = 0;
    std::jthread other([&] {
        while (answered < kRounds && test::take(events.ping)) {
            ++answered;
            events.pong.set();
        }
    });
    int rounds = 0;
    for (; rounds < kRounds; ++rounds) {
        events.ping.set();
        if (!test::take(events.pong))
            break;
    }
    other.join();
    EXPECT_EQ(rounds, kRounds);
    EXPECT_EQ(answered, kRounds);
}

// Setters that do not wait for the taker: whatever was counted before a set() must be seen after the reset().
TEST(EventThreads, WhatWasWrittenBeforeASetIsSeenAfterTheReset) {
    constexpr int kPerThread = FERRYLINK_HAND_OFFS;
    Event event;
    std::atomic<int> written{0};
    std::array<std::jthread, 2> setters;
    for (std::jthread& setter : setters) {
        setter = std::jthread([&] {
            for (int count = 0; count < kPerThread; ++count) {
                written.fetch_add(1, std::memory_order_relaxed);
                event.set();
            }
        });
    }
    int seen = 0;
    while (seen < 2 * kPerThread) {
        ASSERT_EQ(waitFor({event.handle()}, test::kLostMs).kind, Kind::signalled) << "after " << seen;
        event.reset();
        seen = written.load(std::memory_order_relaxed);
    }
}

TEST(EventThreads, NoHandOffBetweenProcessesIsLost) {
    constexpr int kRounds = FERRYLINK_HAND_OFFS / 5;
    const std::string name = "test.events." + std::to_string(QCoreApplication::applicationPid());
    SharedMemory memory;
    ASSERT_EQ(memory.create(name, test::kEventPairBytes), SharedMemory::Status::ok) << memory.systemError();
    test::EventPair events(name, memory.data());
    QProcess peer;
    peer.start(QCoreApplication::applicationDirPath() + "/ferrylink_event_peer",
               {QString::fromStdString(name), QString::number(kRounds)});
    ASSERT_TRUE(peer.waitForStarted());
    int rounds = 0;
    for (; rounds < kRounds; ++rounds) {
        events.ping.set();
        if (!test::take(events.pong))
            break;
    }
    SharedMemory::unlink(name);
    EXPECT_EQ(rounds, kRounds);
    ASSERT_TRUE(peer.waitForFinished());
    EXPECT_EQ(peer.exitCode(), 0);
}

} // namespace
} // namespace Vantor::platform
