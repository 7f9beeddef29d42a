// What our events cost between two processes, beside the plainest pair that Linux has: two eventfds and
// poll(). Each benchmark hands a turn to a child process and back; compare the two times of one run, not with
// other runs.
#include "platform/event.h"
#include "platform/shared_memory.h"

#include <benchmark/benchmark.h>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using namespace Vantor::platform;

/// A child process that runs `answer` until it is killed.
template<class Answer>
pid_t startChild(Answer answer) {
    const pid_t child = fork();
    if (child == 0) {
        for (;;)
            answer();
    }
    return child;
}

/// Measures round trips and reports the median of one way, which a scheduler's outliers do not move.
template<class RoundTrip>
void measure(benchmark::State& state, pid_t child, RoundTrip roundTrip) {
    std::vector<double> microseconds;
    microseconds.reserve(1 << 20);
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        roundTrip();
        const std::chrono::duration<double, std::micro> elapsed = std::chrono::steady_clock::now() - start;
        microseconds.push_back(elapsed.count() / 2);
    }
    const auto middle = microseconds.begin() + static_cast<std::ptrdiff_t>(microseconds.size() / 2);
    std::nth_element(microseconds.begin(), middle, microseconds.end());
    state.counters["one_way_p50_us"] = *middle;
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
}

/// Three events are waited for, as the worker that forwards frames does; the last one is used.
void eventsBetweenProcesses(benchmark::State& state) {
    const std::string name = "bench." + std::to_string(getpid());
    SharedMemory memory;
    if (memory.create(name, 2 * kEventWordBytes) != SharedMemory::Status::ok) {
        state.SkipWithError("no shared memory");
        return;
    }
    SharedMemory::unlink(name);
    Event ping = Event::shared("ping", memory.data());
    Event pong = Event::shared("pong", memory.data() + kEventWordBytes);
    const Event idleA;
    const Event idleB;
    const auto take = [&](Event& event) {
        const std::array handles{idleA.handle(), idleB.handle(), event.handle()};
        waitAny(handles, 1000);
        event.reset();
    };
    const pid_t child = startChild([&] {
        take(ping);
        pong.set();
    });
    measure(state, child, [&] {
        ping.set();
        take(pong);
    });
}
BENCHMARK(eventsBetweenProcesses)->UseRealTime();

void eventfdAndPollBetweenProcesses(benchmark::State& state) {
    const int idleA = eventfd(0, 0);
    const int idleB = eventfd(0, 0);
    const int ping = eventfd(0, 0);
    const int pong = eventfd(0, 0);
    const auto set = [](int file) {
        constexpr std::uint64_t kOne = 1;
        return write(file, &kOne, sizeof kOne);
    };
    const auto take = [&](int file) {
        std::array<pollfd, 3> files{pollfd{idleA, POLLIN, 0}, pollfd{idleB, POLLIN, 0},
                                    pollfd{file, POLLIN, 0}};
        poll(files.data(), files.size(), 1000);
        std::uint64_t count = 0;
        return read(file, &count, sizeof count);
    };
    const pid_t child = startChild([&] {
        benchmark::DoNotOptimize(take(ping));
        benchmark::DoNotOptimize(set(pong));
    });
    measure(state, child, [&] {
        benchmark::DoNotOptimize(set(ping));
        benchmark::DoNotOptimize(take(pong));
    });
    for (const int file : {idleA, idleB, ping, pong})
        close(file);
}
BENCHMARK(eventfdAndPollBetweenProcesses)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
