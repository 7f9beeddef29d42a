#include "simulator/virtual_bus.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <thread>

namespace Vantor::simulator {

namespace {

// A time far enough away to stand for "never" without overflowing inside the wait.
constexpr std::int64_t kFarNs = std::int64_t{3600} * 1'000'000'000;

wchar_t* copyOf(const std::optional<std::wstring>& text) {
    if (!text)
        return nullptr;
    auto* copy = new wchar_t[text->size() + 1];
    std::wmemcpy(copy, text->c_str(), text->size() + 1);
    return copy;
}

} // namespace

void Fault::arm(unsigned kth, unsigned count) noexcept {
    callsBefore = kth - 1;
    calls = count;
}

bool Fault::strikes() noexcept {
    if (calls == 0)
        return false;
    if (callsBefore > 0) {
        --callsBefore;
        return false;
    }
    if (calls != VIRTUAL_ADAPTER_FOREVER)
        --calls;
    return true;
}

VirtualBus& VirtualBus::instance() {
    // Never destroyed: handles may still be used while the program's own statics go.
    static auto* bus = new VirtualBus;
    return *bus;
}

/// Lets others run meanwhile: two threads on one processor would hardly ever meet in a call this short.
bool VirtualBus::SoleCall::enter(VirtualBus& bus) {
    const bool isAlone = bus.soleCalls.fetch_add(1) == 0;
    std::this_thread::yield();
    return isAlone;
}

VirtualBus::SoleCall::SoleCall(VirtualBus& calledBus)
    : bus(calledBus), isAlone(enter(calledBus)), lock(calledBus.mutex) {
    if (!isAlone)
        ++bus.counts.misuses;
}

// ---- Library and enumeration ----

bool VirtualBus::init() {
    const SoleCall call(*this);
    if (failures[VIRTUAL_ADAPTER_INIT].strikes()) {
        error = L"Initialisation was made to fail";
        return false;
    }
    ++counts.inits;
    return true;
}

void VirtualBus::exit() {
    const Lock lock(mutex);
    ++counts.exits;
}

hid_device_info* VirtualBus::enumerate(unsigned short vendorId, unsigned short productId) {
    const SoleCall call(*this);
    ++counts.enumerations;
    if (failures[VIRTUAL_ADAPTER_ENUMERATE].strikes()) {
        error = L"Enumeration was made to fail";
        return nullptr;
    }
    hid_device_info* first = nullptr;
    hid_device_info** end = &first;
    for (const auto& adapter : adapters) {
        if (!adapter || adapter->removed || !adapter->plugged ||
            (vendorId != 0 && vendorId != adapter->texts.vendorId) ||
            (productId != 0 && productId != adapter->texts.productId))
            continue;
        *end = describe(*adapter);
        end = &(*end)->next;
    }
    if (first != nullptr)
        ++counts.lists_not_freed;
    else
        error = L"No HID devices found in the system";
    return first;
}

hid_device_info* VirtualBus::describe(const VirtualAdapter& adapter) {
    const DeviceTexts& texts = adapter.texts;
    auto* info = new hid_device_info{};
    if (texts.path) {
        info->path = new char[texts.path->size() + 1];
        std::memcpy(info->path, texts.path->c_str(), texts.path->size() + 1);
    }
    info->vendor_id = texts.vendorId;
    info->product_id = texts.productId;
    info->serial_number = copyOf(texts.serial);
    info->manufacturer_string = copyOf(texts.manufacturer);
    info->product_string = copyOf(texts.product);
    info->release_number = 0x0100;
    info->usage_page = 0xFF00;
    info->usage = 1;
    info->interface_number = texts.interfaceNumber;
    info->bus_type = HID_API_BUS_USB;
    return info;
}

void VirtualBus::freeDescription(hid_device_info* info) {
    while (info != nullptr) {
        hid_device_info* next = info->next;
        delete[] info->path;
        delete[] info->serial_number;
        delete[] info->manufacturer_string;
        delete[] info->product_string;
        delete info;
        info = next;
    }
}

void VirtualBus::freeEnumeration(hid_device_info* list) {
    const Lock lock(mutex);
    if (list != nullptr && counts.lists_not_freed > 0)
        --counts.lists_not_freed;
    freeDescription(list);
}

// ---- Handles ----

hid_device* VirtualBus::openPath(const char* path) {
    const SoleCall call(*this);
    if (path != nullptr) {
        for (const auto& adapter : adapters) {
            if (adapter && !adapter->removed && adapter->plugged && adapter->texts.path == path)
                return openAdapter(adapter);
        }
    }
    error = L"No device has that path";
    return nullptr;
}

hid_device* VirtualBus::open(unsigned short vendorId, unsigned short productId, const wchar_t* serial) {
    const SoleCall call(*this);
    for (const auto& adapter : adapters) {
        if (adapter && !adapter->removed && adapter->plugged && adapter->texts.vendorId == vendorId &&
            adapter->texts.productId == productId && (serial == nullptr || adapter->texts.serial == serial))
            return openAdapter(adapter);
    }
    error = L"No such device";
    return nullptr;
}

hid_device* VirtualBus::openAdapter(const std::shared_ptr<VirtualAdapter>& adapter) {
    const auto entry =
        std::find_if(handles.begin(), handles.end(), [](const hid_device& each) { return !each.open; });
    if (adapter->failures[VIRTUAL_ADAPTER_OPEN].strikes() || entry == handles.end()) {
        ++adapter->counts.open_failures;
        error = L"Opening was made to fail, or too many handles are open";
        changed.notify_all();
        return nullptr;
    }
    advance(*adapter, nowNs()); // what was due before the opening is not for this handle
    entry->open = true;
    entry->nonBlocking = false;
    entry->reads = false;
    entry->adapter = adapter;
    entry->plugGeneration = adapter->plugGeneration;
    entry->openNumber = ++openNumbers;
    entry->queueBegin = entry->queueCount = 0;
    entry->error = L"Success";
    ++adapter->counts.opens;
    ++adapter->counts.open_handles;
    ++counts.open_handles;
    changed.notify_all();
    return &*entry;
}

bool VirtualBus::isOpen(hid_device* handle) {
    const auto entry = std::find_if(handles.begin(), handles.end(),
                                    [handle](const hid_device& each) { return &each == handle; });
    if (entry != handles.end() && entry->open)
        return true;
    ++counts.misuses;
    return false;
}

bool VirtualBus::isDead(const hid_device& handle) {
    return !handle.adapter->plugged || handle.adapter->plugGeneration != handle.plugGeneration;
}

void VirtualBus::close(hid_device* handle) {
    const Lock lock(mutex);
    if (!isOpen(handle))
        return;
    freeDescription(handle->info);
    handle->info = nullptr;
    --handle->adapter->counts.open_handles;
    --counts.open_handles;
    handle->adapter.reset();
    handle->open = false;
    changed.notify_all();
}

int VirtualBus::setNonBlocking(hid_device* handle, bool nonBlocking) {
    const Lock lock(mutex);
    if (!isOpen(handle))
        return -1;
    handle->nonBlocking = nonBlocking;
    return 0;
}

int VirtualBus::text(hid_device* handle, Text which, wchar_t* text, std::size_t capacity) {
    const SoleCall call(*this);
    if (!isOpen(handle))
        return -1;
    const DeviceTexts& texts = handle->adapter->texts;
    const auto& wanted = which == Text::serial         ? texts.serial
                         : which == Text::manufacturer ? texts.manufacturer
                                                       : texts.product;
    const bool fails = which == Text::serial && handle->adapter->failures[VIRTUAL_ADAPTER_SERIAL].strikes();
    if (fails || isDead(*handle) || !wanted || text == nullptr || capacity == 0) {
        handle->error = L"The device does not report that text";
        return -1;
    }
    const std::size_t length = std::min(wanted->size(), capacity - 1);
    std::wmemcpy(text, wanted->c_str(), length);
    text[length] = L'\0';
    return 0;
}

hid_device_info* VirtualBus::deviceInfo(hid_device* handle) {
    const Lock lock(mutex);
    if (!isOpen(handle))
        return nullptr;
    if (handle->info == nullptr)
        handle->info = describe(*handle->adapter);
    return handle->info;
}

int VirtualBus::unsupported(hid_device* handle) {
    const Lock lock(mutex);
    if (isOpen(handle))
        handle->error = L"The device does not support that";
    return -1;
}

const wchar_t* VirtualBus::errorText(hid_device* handle) {
    const Lock lock(mutex);
    if (handle == nullptr)
        return error;
    return isOpen(handle) ? handle->error : L"The handle is not open";
}

// ---- Reports ----

void VirtualBus::distribute(VirtualAdapter& adapter, const std::uint8_t* bytes, std::size_t length) {
    for (hid_device& handle : handles) {
        if (!handle.open || handle.adapter.get() != &adapter || isDead(handle))
            continue;
        if (handle.queueCount == handle.queue.size()) {
            handle.queueBegin = (handle.queueBegin + 1) % handle.queue.size();
            --handle.queueCount;
            if (handle.reads)
                ++adapter.counts.reports_dropped;
        }
        InputReport& place = handle.queue[(handle.queueBegin + handle.queueCount) % handle.queue.size()];
        place.length = static_cast<std::uint8_t>(length);
        std::copy_n(bytes, length, place.bytes.begin());
        ++handle.queueCount;
    }
}

void VirtualBus::advance(VirtualAdapter& adapter, std::int64_t now) {
    if (!adapter.plugged)
        return;
    Report report;
    bool any = false;
    while (adapter.model.nextInputReport(now, report)) {
        distribute(adapter, report.data(), report.size());
        any = true;
    }
    if (any)
        changed.notify_all();
}

bool VirtualBus::survivesFaults(Lock& lock, hid_device* handle, virtual_adapter_operation operation) {
    // Kept alive here: while the call stalls, another thread may remove the adapter.
    const std::shared_ptr<VirtualAdapter> adapter = handle->adapter;
    const std::uint64_t openNumber = handle->openNumber;
    if (adapter->stalls[operation].strikes())
        waitOutStall(lock, *handle, adapter->stallMs[operation]);
    if (!handle->open || handle->openNumber != openNumber)
        return false;
    return !adapter->failures[operation].strikes();
}

void VirtualBus::waitOutStall(Lock& lock, hid_device& handle, unsigned milliseconds) {
    const std::shared_ptr<VirtualAdapter> adapter = handle.adapter;
    const unsigned releases = adapter->releases;
    const unsigned generation = adapter->plugGeneration;
    const std::int64_t wait =
        milliseconds == VIRTUAL_ADAPTER_FOREVER ? kFarNs : std::int64_t{milliseconds} * 1'000'000;
    ++adapter->counts.stalled;
    changed.notify_all();
    changed.wait_until(lock, timePoint(nowNs() + wait), [&] {
        return adapter->releases != releases || adapter->plugGeneration != generation || !adapter->plugged;
    });
    --adapter->counts.stalled;
}

int VirtualBus::write(hid_device* handle, const unsigned char* data, std::size_t length) {
    Lock lock(mutex);
    if (!isOpen(handle))
        return -1;
    const std::shared_ptr<VirtualAdapter> adapter = handle->adapter;
    const bool survives = survivesFaults(lock, handle, VIRTUAL_ADAPTER_WRITE);
    if (!survives || isDead(*handle) || data == nullptr || length == 0) {
        ++adapter->counts.write_failures;
        if (handle->open)
            handle->error = L"Writing failed";
        changed.notify_all();
        return -1;
    }
    const std::int64_t now = nowNs();
    CapturedReport& copy = adapter->captured[adapter->capturedCount++ % adapter->captured.size()];
    copy.timeNs = now;
    copy.length = static_cast<int>(std::min<std::size_t>(length, INT32_MAX));
    std::copy_n(data, std::min(length, copy.bytes.size()), copy.bytes.begin());
    adapter->model.receiveWithId({data, length}, now);
    ++adapter->counts.writes;
    advance(*adapter, now);
    changed.notify_all();
    return copy.length;
}

int VirtualBus::readAsConfigured(hid_device* handle, unsigned char* data, std::size_t length) {
    bool nonBlocking = false;
    {
        const Lock lock(mutex);
        if (!isOpen(handle))
            return -1;
        nonBlocking = handle->nonBlocking;
    }
    return read(handle, data, length, nonBlocking ? 0 : -1);
}

int VirtualBus::read(hid_device* handle, unsigned char* data, std::size_t length, int milliseconds) {
    Lock lock(mutex);
    if (!isOpen(handle))
        return -1;
    const std::shared_ptr<VirtualAdapter> adapter = handle->adapter;
    ++adapter->counts.read_calls;
    handle->reads = true;
    changed.notify_all();
    const bool survives = survivesFaults(lock, handle, VIRTUAL_ADAPTER_READ);
    const int result =
        survives && data != nullptr ? waitForReport(lock, handle, data, length, milliseconds) : -1;
    if (result > 0)
        ++adapter->counts.reads;
    if (result < 0) {
        ++adapter->counts.read_failures;
        if (handle->open)
            handle->error = L"Reading failed";
    }
    changed.notify_all();
    return result;
}

int VirtualBus::waitForReport(Lock& lock, hid_device* handle, unsigned char* data, std::size_t length,
                              int milliseconds) {
    const std::shared_ptr<VirtualAdapter> adapter = handle->adapter;
    const std::uint64_t openNumber = handle->openNumber;
    const std::int64_t begin = nowNs();
    const std::int64_t deadline =
        begin + (milliseconds < 0 ? kFarNs : std::int64_t{milliseconds} * 1'000'000);
    for (std::int64_t now = begin;; now = nowNs()) {
        if (!handle->open || handle->openNumber != openNumber)
            return -1; // closed by another thread while waiting
        if (!isDead(*handle))
            advance(*adapter, now);
        if (handle->queueCount > 0) {
            const InputReport& report = handle->queue[handle->queueBegin];
            const std::size_t bytes = std::min<std::size_t>(report.length, length);
            std::copy_n(report.bytes.begin(), bytes, data);
            handle->queueBegin = (handle->queueBegin + 1) % handle->queue.size();
            --handle->queueCount;
            return static_cast<int>(bytes);
        }
        if (isDead(*handle))
            return -1;
        if (milliseconds >= 0 && now >= deadline)
            return 0;
        changed.wait_until(lock, timePoint(std::min(deadline, std::max(now, adapter->model.nextDueNs()))));
    }
}

} // namespace Vantor::simulator
