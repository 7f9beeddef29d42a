// What our events cost between two processes, beside the plainest pair that Linux has: two eventfds and
// poll(). Each side hands a turn to a child process of its own and back; a sample is one way, half of that.
#include "bench/comparison.h"
#include "platform/clock.h"
#include "platform/event.h"
#include "platform/shared_memory.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

using namespace Vantor;
using namespace Vantor::platform;

constexpr int kWarmUp = 1000;
constexpr int kSamples = 20'000;
constexpr double kGoal = 1.1;
constexpr std::uint32_t kTimeoutMs = 10'000;

void check(bool good, const char* what) {
    if (good)
        return;
    std::perror(what);
    std::exit(1);
}

/// Our events, in shared memory. Both sides wait for three, as the worker that forwards frames does; the last
/// one is used.
class OurEvents {
public:
    OurEvents() {
        const std::string name = "bench." + std::to_string(getpid());
        check(memory.create(name, 2 * kEventWordBytes) == SharedMemory::Status::ok, "shared memory");
        SharedMemory::unlink(name);
        events = {Event::shared("ping", memory.data()),
                  Event::shared("pong", memory.data() + kEventWordBytes)};
    }
    void set(std::size_t index) { events[index].set(); }
    void take(std::size_t index) {
        const std::array handles{idleA.handle(), idleB.handle(), events[index].handle()};
        check(waitAny(handles, kTimeoutMs).index == 2, "no answer to an event");
        events[index].reset();
    }

private:
    SharedMemory memory;
    std::array<Event, 2> events{Event::none(), Event::none()};
    const Event idleA;
    const Event idleB;
};

class EventFiles {
public:
    void set(std::size_t index) {
        constexpr std::uint64_t kOne = 1;
        check(write(files[index], &kOne, sizeof kOne) == sizeof kOne, "eventfd");
    }
    void take(std::size_t index) {
        std::array<pollfd, 3> waiting{pollfd{idleA, POLLIN, 0}, pollfd{idleB, POLLIN, 0},
                                      pollfd{files[index], POLLIN, 0}};
        check(poll(waiting.data(), waiting.size(), kTimeoutMs) == 1, "no answer to an eventfd");
        std::uint64_t count = 0;
        check(read(files[index], &count, sizeof count) == sizeof count, "eventfd");
    }

private:
    const int idleA = eventfd(0, 0);
    const int idleB = eventfd(0, 0);
    const std::array<int, 2> files{eventfd(0, 0), eventfd(0, 0)};
};

/// One pair of events and a child process that answers the first with the second until it is killed.
template<class Pair>
class Turns {
public:
    Turns() : child(fork()) {
        check(child >= 0, "fork");
        while (child == 0) {
            pair.take(0);
            pair.set(1);
        }
    }
    ~Turns() {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
    Turns(const Turns&) = delete;
    Turns& operator=(const Turns&) = delete;

    double oneWayNs() {
        const std::int64_t start = monotonicNowNs();
        pair.set(0);
        pair.take(1);
        return static_cast<double>(monotonicNowNs() - start) / 2;
    }

private:
    Pair pair;
    const pid_t child;
};

} // namespace

int main() {
    Turns<OurEvents> ours;
    Turns<EventFiles> plain;
    bench::print("event: one way between processes", "eventfd and poll", kGoal,
                 bench::inTurns(
                     kWarmUp, kSamples, [&] { return ours.oneWayNs(); }, [&] { return plain.oneWayNs(); }));
    return 0;
}
