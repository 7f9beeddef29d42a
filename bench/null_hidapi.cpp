#include "bench/null_hidapi.h"

#include "platform/clock.h"

#include <array>

namespace Vantor::bench {

hid_device& sink(int index) {
    static std::array<hid_device, kSinks> sinks;
    return sinks.at(static_cast<std::size_t>(index));
}

} // namespace Vantor::bench

hid_device* hid_open_path(const char* path) {
    return &Vantor::bench::sink(path[0] - '0');
}

void hid_close(hid_device* /*device*/) {}

int hid_write(hid_device* device, const unsigned char* data, size_t length) {
    // Reading the last byte keeps the compiler from dropping the report that nobody sends.
    volatile unsigned char last = data[length - 1];
    static_cast<void>(last);
    if (++device->writes == device->expectedWrites) {
        device->writes = 0;
        device->lastNs.store(Vantor::platform::monotonicNowNs(), std::memory_order_release);
    }
    return static_cast<int>(length);
}

// What else the linked code refers to; no bench calls it.

int hid_read_timeout(hid_device* /*device*/, unsigned char* /*data*/, size_t /*length*/,
                     int /*milliseconds*/) {
    return -1;
}

int hid_get_serial_number_string(hid_device* /*device*/, wchar_t* /*text*/, size_t /*capacity*/) {
    return -1;
}

hid_device_info* hid_enumerate(unsigned short /*vendorId*/, unsigned short /*productId*/) {
    return nullptr;
}

void hid_free_enumeration(hid_device_info* /*list*/) {}
