// The baseline of the measurement over USB: makes test frames at a steady rate and writes their reports to
// the adapter's hidraw node itself, with nothing in between. A process of its own, as a frame's producer is.
// bare_writer NODE FRAMES HZ BYTES

#include "simulator/test_frame.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <span>

namespace {

constexpr std::int64_t kNsPerSecond = 1'000'000'000;
constexpr std::size_t kChunkBytes = 60;

std::int64_t nowNs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * kNsPerSecond + now.tv_nsec;
}

void sleepUntil(std::int64_t whenNs) {
    const timespec when{.tv_sec = whenNs / kNsPerSecond, .tv_nsec = whenNs % kNsPerSecond};
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &when, nullptr) != 0)
        continue;
}

bool writeFrame(int node, std::span<const std::uint8_t> frame) {
    for (std::size_t chunk = 0; chunk * kChunkBytes < frame.size(); ++chunk) {
        const auto bytes =
            frame.subspan(chunk * kChunkBytes, std::min(kChunkBytes, frame.size() - chunk * kChunkBytes));
        std::array<std::uint8_t, 65> report{0, 0x60, 0, static_cast<std::uint8_t>(frame.size()),
                                            static_cast<std::uint8_t>(chunk)};
        std::copy(bytes.begin(), bytes.end(), report.begin() + 5);
        if (write(node, report.data(), report.size()) != static_cast<ssize_t>(report.size()))
            return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        std::fputs("bare_writer NODE FRAMES HZ BYTES\n", stderr);
        return 2;
    }
    const int node = open(argv[1], O_RDWR | O_CLOEXEC);
    const std::uint64_t frames = std::strtoull(argv[2], nullptr, 10);
    const std::int64_t periodNs = kNsPerSecond / std::max(1, std::atoi(argv[3]));
    std::array<std::uint8_t, Vantor::simulator::kMaxTestFrameBytes> storage{};
    const auto frame =
        std::span(storage).first(static_cast<std::size_t>(std::atoi(argv[4])) % storage.size());
    if (node < 0) {
        std::perror(argv[1]);
        return 1;
    }
    const std::int64_t beginNs = nowNs();
    for (std::uint64_t sequence = 1; sequence <= frames; ++sequence) {
        sleepUntil(beginNs + static_cast<std::int64_t>(sequence) * periodNs);
        if (!Vantor::simulator::fillTestFrame(frame, sequence, static_cast<std::uint64_t>(nowNs())) ||
            !writeFrame(node, frame)) {
            std::perror("bare_writer");
            return 1;
        }
    }
    return 0;
}
