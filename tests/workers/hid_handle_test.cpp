// Opening adapters from several threads at once.

#include "device/titan_device_manager.h"
#include "tests/workers/worker_fixture.h"
#include "workers/hid_handle.h"

#include <latch>
#include <thread>

namespace Vantor {
namespace {

TEST(HidLibrary, HasOneCallAtATimeOfThreadsThatOpenAndList) {
    constexpr int kRounds = 2000;
    const test::Adapter adapter; // at its end no misuse may have been counted
    std::latch start(3);
    const auto open = [&](const char* path, bool isThere) {
        start.arrive_and_wait();
        for (int i = 0; i < kRounds; ++i)
            ASSERT_EQ(openHid(QString::fromLatin1(path)) != nullptr, isThere);
    };
    const std::jthread worker(open, test::Adapter::kPath, true);
    const std::jthread other(open, "virtual/nowhere", false);
    start.arrive_and_wait();
    for (int i = 0; i < kRounds; ++i)
        ASSERT_EQ(TitanDeviceManager::enumerateDevices().size(), 1);
}

} // namespace
} // namespace Vantor
