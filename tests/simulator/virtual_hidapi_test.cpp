#include "simulator/virtual_adapter.h"

#include <gtest/gtest.h>
#include <hidapi/hidapi.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;
constexpr unsigned kPatienceMs = 20'000;

template<class Statistics>
Statistics sized() {
    Statistics statistics{};
    statistics.size = sizeof statistics;
    return statistics;
}

class VirtualHidapi : public testing::Test {
protected:
    void SetUp() override { adapter = virtual_adapter_add("/virtual/one", "A1", "ConsoleTuner"); }

    void TearDown() override {
        for (hid_device* handle : opened)
            hid_close(handle);
        auto library = sized<virtual_adapter_library_statistics>();
        EXPECT_EQ(virtual_adapter_get_library_statistics(&library), 0);
        EXPECT_EQ(library.open_handles, 0U);
        EXPECT_EQ(library.lists_not_freed, 0U);
        virtual_adapter_reset();
    }

    hid_device* open(const char* path = "/virtual/one") {
        hid_device* handle = hid_open_path(path);
        if (handle != nullptr)
            opened.push_back(handle);
        return handle;
    }

    static int writeByte(hid_device* handle, unsigned char command) {
        std::array<unsigned char, 65> report{};
        report[1] = command;
        return hid_write(handle, report.data(), report.size());
    }

    /// What one read gives: its bytes, none on a time-out, or {-1} as a failure.
    static int read(hid_device* handle, Bytes& bytes, int milliseconds) {
        bytes.assign(65, 0xEE);
        const int count = hid_read_timeout(handle, bytes.data(), bytes.size(), milliseconds);
        bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
        return count;
    }

    void inject(const Bytes& bytes) const {
        ASSERT_EQ(virtual_adapter_inject(adapter, bytes.data(), bytes.size()), 0);
    }

    virtual_adapter_statistics statistics() const {
        auto result = sized<virtual_adapter_statistics>();
        EXPECT_EQ(virtual_adapter_get_statistics(adapter, &result), 0);
        return result;
    }

    int adapter = -1;
    std::vector<hid_device*> opened;
};

TEST_F(VirtualHidapi, EnumeratesWhatWasAddedAndMatches) {
    const virtual_adapter_description foreign{.path = "/virtual/mouse",
                                              .serial = nullptr,
                                              .manufacturer = "",
                                              .product = "Mouse",
                                              .vendor_id = 0x1234,
                                              .product_id = 0x0032,
                                              .interface_number = 2};
    ASSERT_GE(virtual_adapter_add_device(&foreign), 0);
    hid_device_info* all = hid_enumerate(0, 0);
    ASSERT_NE(all, nullptr);
    EXPECT_STREQ(all->path, "/virtual/one");
    EXPECT_STREQ(all->serial_number, L"A1");
    ASSERT_NE(all->next, nullptr);
    EXPECT_STREQ(all->next->path, "/virtual/mouse");
    EXPECT_EQ(all->next->serial_number, nullptr);
    EXPECT_STREQ(all->next->manufacturer_string, L"");
    EXPECT_EQ(all->next->next, nullptr);
    hid_free_enumeration(all);

    hid_device_info* matching = hid_enumerate(0x2508, 0x0032);
    ASSERT_NE(matching, nullptr);
    EXPECT_EQ(matching->next, nullptr);
    hid_free_enumeration(matching);

    virtual_adapter_unplug(adapter);
    EXPECT_EQ(hid_enumerate(0x2508, 0x0032), nullptr);
}

TEST_F(VirtualHidapi, EveryHandleGetsEveryReportAndKeepsTheLatest) {
    hid_device* one = open();
    hid_device* two = open();
    Bytes bytes;
    inject({1, 2, 3});
    EXPECT_EQ(read(one, bytes, 0), 3);
    EXPECT_EQ(bytes, (Bytes{1, 2, 3}));
    EXPECT_EQ(read(one, bytes, 0), 0);
    EXPECT_EQ(read(two, bytes, 0), 3);

    for (unsigned char number = 0; number < VIRTUAL_ADAPTER_QUEUE_REPORTS + 6; ++number)
        inject({number});
    EXPECT_EQ(read(two, bytes, 0), 1);
    EXPECT_EQ(bytes, Bytes{6});
    EXPECT_EQ(statistics().reports_dropped, 12U);
}

TEST_F(VirtualHidapi, UnplugWakesAReaderThatWaitsWithoutEnd) {
    hid_device* handle = open();
    int result = 0;
    std::thread reader([&] {
        Bytes bytes;
        result = read(handle, bytes, -1);
    });
    ASSERT_EQ(virtual_adapter_wait(adapter, VIRTUAL_ADAPTER_COUNT_READ_CALLS, 1, kPatienceMs), 1);
    virtual_adapter_unplug(adapter);
    reader.join();
    EXPECT_EQ(result, -1);
    EXPECT_EQ(writeByte(handle, 0xA0), -1);

    ASSERT_EQ(virtual_adapter_replug(adapter, "/virtual/two"), 0);
    EXPECT_EQ(writeByte(handle, 0xA0), -1) << "a handle of before stays dead";
    EXPECT_EQ(open("/virtual/one"), nullptr);
    EXPECT_EQ(writeByte(open("/virtual/two"), 0xA0), 65);
}

TEST_F(VirtualHidapi, FailsTheCallsThatItWasToldTo) {
    hid_device* handle = open();
    virtual_adapter_fail(adapter, VIRTUAL_ADAPTER_WRITE, 2, 2);
    const std::vector<int> expected{65, -1, -1, 65};
    for (const int result : expected)
        EXPECT_EQ(writeByte(handle, 0xA0), result);
    EXPECT_EQ(virtual_adapter_captured_count(adapter), 2U);

    Bytes bytes;
    virtual_adapter_fail(adapter, VIRTUAL_ADAPTER_READ, 1, VIRTUAL_ADAPTER_FOREVER);
    for (int call = 0; call < 300; ++call)
        ASSERT_EQ(read(handle, bytes, 0), -1);
    virtual_adapter_fail(adapter, VIRTUAL_ADAPTER_READ, 1, 0);
    EXPECT_EQ(read(handle, bytes, 0), 0);

    std::array<wchar_t, 8> serial{};
    virtual_adapter_fail(adapter, VIRTUAL_ADAPTER_SERIAL, 1, 1);
    EXPECT_EQ(hid_get_serial_number_string(handle, serial.data(), serial.size()), -1);
    EXPECT_EQ(hid_get_serial_number_string(handle, serial.data(), serial.size()), 0);
    EXPECT_STREQ(serial.data(), L"A1");

    virtual_adapter_fail(adapter, VIRTUAL_ADAPTER_OPEN, 1, 1);
    EXPECT_EQ(open(), nullptr);
    virtual_adapter_fail(VIRTUAL_ADAPTER_LIBRARY, VIRTUAL_ADAPTER_INIT, 1, 1);
    EXPECT_EQ(hid_init(), -1);
    EXPECT_EQ(hid_init(), 0);
    virtual_adapter_fail(VIRTUAL_ADAPTER_LIBRARY, VIRTUAL_ADAPTER_ENUMERATE, 1, 1);
    EXPECT_EQ(hid_enumerate(0, 0), nullptr);
}

TEST_F(VirtualHidapi, AStalledWriteWaitsForItsReleaseWhileOthersGoOn) {
    hid_device* slow = open();
    hid_device* other = open();
    virtual_adapter_stall(adapter, VIRTUAL_ADAPTER_WRITE, 1, VIRTUAL_ADAPTER_FOREVER);
    int result = 0;
    std::thread writer([&] { result = writeByte(slow, 0xA0); });
    ASSERT_EQ(virtual_adapter_wait(adapter, VIRTUAL_ADAPTER_COUNT_STALLED, 1, kPatienceMs), 1);
    EXPECT_EQ(writeByte(other, 0x40), 65);
    virtual_adapter_release(adapter);
    writer.join();
    EXPECT_EQ(result, 65);

    std::array<unsigned char, 65> report{};
    EXPECT_EQ(virtual_adapter_captured(adapter, 0, report.data(), report.size(), nullptr), 65);
    EXPECT_EQ(report[1], 0x40);
    EXPECT_EQ(virtual_adapter_captured(adapter, 1, report.data(), report.size(), nullptr), 65);
    EXPECT_EQ(report[1], 0xA0);
    EXPECT_EQ(virtual_adapter_captured(adapter, 2, report.data(), report.size(), nullptr), -1);
}

TEST_F(VirtualHidapi, AStalledReadEndsWithTheAdapter) {
    hid_device* handle = open();
    virtual_adapter_stall(adapter, VIRTUAL_ADAPTER_READ, 1, VIRTUAL_ADAPTER_FOREVER);
    int result = 0;
    std::thread reader([&] {
        Bytes bytes;
        result = read(handle, bytes, 0);
    });
    ASSERT_EQ(virtual_adapter_wait(adapter, VIRTUAL_ADAPTER_COUNT_STALLED, 1, kPatienceMs), 1);
    virtual_adapter_remove(adapter);
    reader.join();
    EXPECT_EQ(result, -1);
    EXPECT_EQ(virtual_adapter_unplug(adapter), -1);
}

// What the workers do to one adapter at once, with the adapter coming and going under them.
TEST_F(VirtualHidapi, ServesReadersWritersAndUnpluggingAtOnce) {
    ASSERT_EQ(virtual_adapter_set_rates(adapter, 5000, 5000), 0);
    std::atomic<bool> done{false};
    std::atomic<int> failures{0};
    const auto untilDone = [&](const auto& work) {
        return std::thread([&done, &failures, work] {
            while (!done) {
                hid_device* handle = hid_open_path("/virtual/one");
                while (handle != nullptr && !done && work(handle) >= 0) {
                }
                if (handle != nullptr && !done)
                    ++failures;
                hid_close(handle);
            }
        });
    };
    const auto readOnce = [](hid_device* handle) {
        Bytes bytes;
        return read(handle, bytes, 5);
    };
    std::vector<std::thread> threads;
    threads.push_back(untilDone(readOnce));
    threads.push_back(untilDone(readOnce));
    threads.push_back(untilDone([](hid_device* handle) {
        const std::array<unsigned char, 65> frame{0x00, 0x60, 0x00, 60};
        return hid_write(handle, frame.data(), frame.size());
    }));
    for (int round = 1; round <= 20; ++round) {
        const std::uint64_t writes = statistics().writes;
        EXPECT_EQ(virtual_adapter_wait(adapter, VIRTUAL_ADAPTER_COUNT_WRITES, writes + 50, kPatienceMs), 1);
        const std::uint64_t opens = statistics().opens;
        EXPECT_EQ(virtual_adapter_unplug(adapter), 0);
        EXPECT_EQ(virtual_adapter_replug(adapter, "/virtual/one"), 0);
        EXPECT_EQ(virtual_adapter_wait(adapter, VIRTUAL_ADAPTER_COUNT_OPENS, opens + 1, kPatienceMs), 1);
    }
    done = true;
    for (std::thread& thread : threads)
        thread.join();
    // The writer had its handle open at every unplugging; the end may come before it noticed the last one.
    EXPECT_GE(failures, 19);
    EXPECT_EQ(statistics().errors, 0U);
}

TEST_F(VirtualHidapi, ATimeOutIsKeptAndNotMuchMore) {
    hid_device* handle = open();
    Bytes bytes;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(read(handle, bytes, 30), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(30));
}

TEST_F(VirtualHidapi, ClosedHandlesAndNonsenseAreRefused) {
    hid_device* handle = open();
    opened.clear();
    hid_close(handle);
    EXPECT_EQ(writeByte(handle, 0xA0), -1);
    Bytes bytes;
    EXPECT_EQ(read(handle, bytes, 0), -1);
    hid_close(handle);
    EXPECT_EQ(writeByte(nullptr, 0xA0), -1);
    auto library = sized<virtual_adapter_library_statistics>();
    virtual_adapter_get_library_statistics(&library);
    EXPECT_EQ(library.misuses, 4U);

    const unsigned char byte = 1;
    EXPECT_EQ(virtual_adapter_inject(adapter, &byte, 0), -1);
    EXPECT_EQ(virtual_adapter_inject(adapter, Bytes(65).data(), 65), -1);
    EXPECT_EQ(virtual_adapter_inject(99, &byte, 1), -1);
    EXPECT_EQ(virtual_adapter_fail(adapter, VIRTUAL_ADAPTER_INIT, 1, 1), -1);
    EXPECT_EQ(virtual_adapter_fail(VIRTUAL_ADAPTER_LIBRARY, VIRTUAL_ADAPTER_WRITE, 1, 1), -1);
    EXPECT_EQ(virtual_adapter_fail(adapter, VIRTUAL_ADAPTER_WRITE, 0, 1), -1);
    EXPECT_EQ(virtual_adapter_set_rates(adapter, 10'001, 0), -1);
    EXPECT_EQ(virtual_adapter_replug(adapter, nullptr), -1);
}

TEST_F(VirtualHidapi, AnOlderCallerGetsTheFieldsThatItKnows) {
    open();
    virtual_adapter_statistics statistics{};
    statistics.size = offsetof(virtual_adapter_statistics, open_failures);
    statistics.open_failures = 77;
    ASSERT_EQ(virtual_adapter_get_statistics(adapter, &statistics), 0);
    EXPECT_EQ(statistics.opens, 1U);
    EXPECT_EQ(statistics.open_failures, 77U);
    statistics.size = 0;
    EXPECT_EQ(virtual_adapter_get_statistics(adapter, &statistics), -1);
}

} // namespace
