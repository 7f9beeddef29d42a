// What the simulated hidapi and its control surface share: adapters, open handles, faults, waiting. Entry
// point: VirtualBus::instance(). One lock guards everything; every function takes it itself. No thread of its
// own: whoever calls in moves the adapters' time on. Reading and writing do not allocate.

#pragma once

#include "simulator/adapter_model.h"
#include "simulator/virtual_adapter.h"

#include <hidapi/hidapi.h>

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace Vantor::simulator {

/// Nanoseconds of the steady clock, which also stamps frames.
inline std::int64_t nowNs() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

inline std::chrono::steady_clock::time_point timePoint(std::int64_t timeNs) {
    using Clock = std::chrono::steady_clock;
    return Clock::time_point(std::chrono::duration_cast<Clock::duration>(std::chrono::nanoseconds(timeNs)));
}

/// Which calls of one operation fail or stall. Counts are of calls still to come.
struct Fault {
    unsigned callsBefore = 0;
    unsigned calls = 0; ///< VIRTUAL_ADAPTER_FOREVER: without end

    void arm(unsigned kth, unsigned count) noexcept;
    /// Accounts for one call; true when it is hit.
    bool strikes() noexcept;
};

struct InputReport {
    std::uint8_t length = 0;
    Report bytes{};
};

struct CapturedReport {
    std::int64_t timeNs = 0;
    int length = 0; ///< as given to the write
    std::array<std::uint8_t, kReportBytes + 1> bytes{};
};

struct DeviceTexts {
    std::optional<std::string> path;
    std::optional<std::wstring> serial;
    std::optional<std::wstring> manufacturer;
    std::optional<std::wstring> product;
    unsigned short vendorId = 0;
    unsigned short productId = 0;
    int interfaceNumber = 0;
};

struct VirtualAdapter {
    DeviceTexts texts;
    bool removed = false;
    bool plugged = true;
    unsigned plugGeneration = 0; ///< handles of an earlier one are dead
    AdapterModel model;
    std::array<Fault, VIRTUAL_ADAPTER_OPERATIONS> failures;
    std::array<Fault, VIRTUAL_ADAPTER_OPERATIONS> stalls;
    std::array<unsigned, VIRTUAL_ADAPTER_OPERATIONS> stallMs{};
    unsigned releases = 0; ///< a stalled call ends when it has changed
    virtual_adapter_statistics counts{};
    std::uint64_t capturedCount = 0;
    std::array<CapturedReport, VIRTUAL_ADAPTER_CAPTURED_REPORTS> captured;
};

} // namespace Vantor::simulator

/// An open handle, as hidapi names it. They live in a fixed pool, so that a stale pointer is noticed rather
/// than followed.
struct hid_device_ {
    bool open = false;
    bool nonBlocking = false;
    bool reads = false; ///< has been read from: what its queue loses is somebody's loss
    std::shared_ptr<Vantor::simulator::VirtualAdapter> adapter;
    unsigned plugGeneration = 0;
    std::uint64_t openNumber = 0; ///< tells one use of this pool entry from the next
    std::array<Vantor::simulator::InputReport, VIRTUAL_ADAPTER_QUEUE_REPORTS> queue;
    std::size_t queueBegin = 0;
    std::size_t queueCount = 0;
    hid_device_info* info = nullptr;
    const wchar_t* error = L"Success";
};

namespace Vantor::simulator {

class VirtualBus {
public:
    static VirtualBus& instance();

    // What hidapi's functions do, with their results.
    bool init();
    void exit();
    hid_device_info* enumerate(unsigned short vendorId, unsigned short productId);
    void freeEnumeration(hid_device_info* list);
    hid_device* openPath(const char* path);
    hid_device* open(unsigned short vendorId, unsigned short productId, const wchar_t* serial);
    void close(hid_device* handle);
    int write(hid_device* handle, const unsigned char* data, std::size_t length);
    int read(hid_device* handle, unsigned char* data, std::size_t length, int milliseconds);
    int readAsConfigured(hid_device* handle, unsigned char* data, std::size_t length);
    int setNonBlocking(hid_device* handle, bool nonBlocking);
    enum class Text { serial, manufacturer, product };
    int text(hid_device* handle, Text which, wchar_t* text, std::size_t capacity);
    hid_device_info* deviceInfo(hid_device* handle);
    /// Always fails: the simulated adapters have no such thing. -1.
    int unsupported(hid_device* handle);
    const wchar_t* errorText(hid_device* handle);

    // What the control surface's functions do, with their results.
    int add(const virtual_adapter_description& description);
    int unplug(int adapter);
    int replug(int adapter, const char* path);
    int remove(int adapter);
    void reset();
    int fail(int adapter, virtual_adapter_operation operation, unsigned kth, unsigned count);
    int stall(int adapter, virtual_adapter_operation operation, unsigned kth, unsigned milliseconds);
    int release(int adapter);
    int inject(int adapter, const unsigned char* report, std::size_t length);
    int setRates(int adapter, unsigned inputHz, unsigned reportHz);
    int setSlotFile(int adapter, int slot, virtual_adapter_slot_part part, const unsigned char* bytes,
                    std::size_t length);
    int loadSlot(int adapter, int slot);
    int setOutputProtocol(int adapter, unsigned char protocol);
    int slotFile(int adapter, int slot, virtual_adapter_slot_part part, unsigned char* bytes,
                 std::size_t capacity);
    int scriptError(int adapter, char* text, std::size_t capacity);
    std::uint64_t capturedCount(int adapter);
    int captured(int adapter, std::uint64_t index, unsigned char* report, std::size_t capacity,
                 std::int64_t* timeNs);
    int statistics(int adapter, virtual_adapter_statistics& statistics);
    int errorTextOf(int adapter, unsigned index, char* text, std::size_t capacity);
    int libraryStatistics(virtual_adapter_library_statistics& statistics);
    int wait(int adapter, virtual_adapter_counter counter, std::uint64_t atLeast, unsigned timeoutMs);

private:
    VirtualBus() = default;

    using Lock = std::unique_lock<std::mutex>;
    /// The lock, in those calls in which the real hidapi replaces one text without any: two at once are a
    /// misuse.
    class SoleCall {
    public:
        explicit SoleCall(VirtualBus& calledBus);
        ~SoleCall() { bus.soleCalls.fetch_sub(1); }
        SoleCall(const SoleCall&) = delete;
        SoleCall& operator=(const SoleCall&) = delete;

    private:
        static bool enter(VirtualBus& bus);

        VirtualBus& bus;
        bool isAlone;
        Lock lock;
    };
    // All below: with the lock held.
    std::shared_ptr<VirtualAdapter> find(int adapter);
    hid_device* openAdapter(const std::shared_ptr<VirtualAdapter>& adapter);
    bool isOpen(hid_device* handle);
    static bool isDead(const hid_device& handle);
    void advance(VirtualAdapter& adapter, std::int64_t nowNs);
    void distribute(VirtualAdapter& adapter, const std::uint8_t* bytes, std::size_t length);
    bool survivesFaults(Lock& lock, hid_device* handle, virtual_adapter_operation operation);
    void waitOutStall(Lock& lock, hid_device& handle, unsigned milliseconds);
    int waitForReport(Lock& lock, hid_device* handle, unsigned char* data, std::size_t length,
                      int milliseconds);
    static void cutPower(VirtualAdapter& adapter);
    /// Applies `change(model, now)` at the adapter; its result, or false when there is no such plugged
    /// adapter.
    template<class Change>
    bool changeAtAdapter(int adapter, const Change& change);
    static void fillModelCounts(const VirtualAdapter& adapter, virtual_adapter_statistics& statistics);
    static hid_device_info* describe(const VirtualAdapter& adapter);
    static void freeDescription(hid_device_info* info);

    std::atomic<int> soleCalls{0}; ///< that are going on or waiting for the lock
    std::mutex mutex;
    std::condition_variable changed; ///< anything a blocked call may wait for
    std::array<std::shared_ptr<VirtualAdapter>, VIRTUAL_ADAPTER_MAX_ADAPTERS> adapters;
    std::size_t adaptersAdded = 0;
    std::array<hid_device, VIRTUAL_ADAPTER_MAX_HANDLES> handles;
    std::uint64_t openNumbers = 0;
    std::array<Fault, VIRTUAL_ADAPTER_OPERATIONS> failures;
    virtual_adapter_library_statistics counts{};
    const wchar_t* error = L"Success";
};

} // namespace Vantor::simulator
