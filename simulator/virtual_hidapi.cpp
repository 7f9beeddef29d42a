// hidapi's C interface over the simulated adapters. Behaves as the hidraw library does: a queue per open
// handle, time-outs kept, -1 once the adapter is gone. Safe from several threads.

#include "simulator/virtual_bus.h"

// The project hides symbols unless told otherwise; these are the library's purpose.
#pragma GCC visibility push(default)

using Vantor::simulator::VirtualBus;

extern "C" {

int HID_API_EXPORT HID_API_CALL hid_init(void) {
    return VirtualBus::instance().init() ? 0 : -1;
}

int HID_API_EXPORT HID_API_CALL hid_exit(void) {
    VirtualBus::instance().exit();
    return 0;
}

struct hid_device_info HID_API_EXPORT* HID_API_CALL hid_enumerate(unsigned short vendorId,
                                                                  unsigned short productId) {
    return VirtualBus::instance().enumerate(vendorId, productId);
}

void HID_API_EXPORT HID_API_CALL hid_free_enumeration(struct hid_device_info* devices) {
    VirtualBus::instance().freeEnumeration(devices);
}

HID_API_EXPORT hid_device* HID_API_CALL hid_open(unsigned short vendorId, unsigned short productId,
                                                 const wchar_t* serial) {
    return VirtualBus::instance().open(vendorId, productId, serial);
}

HID_API_EXPORT hid_device* HID_API_CALL hid_open_path(const char* path) {
    return VirtualBus::instance().openPath(path);
}

void HID_API_EXPORT HID_API_CALL hid_close(hid_device* device) {
    if (device != nullptr)
        VirtualBus::instance().close(device);
}

int HID_API_EXPORT HID_API_CALL hid_write(hid_device* device, const unsigned char* data, size_t length) {
    return VirtualBus::instance().write(device, data, length);
}

int HID_API_EXPORT HID_API_CALL hid_read_timeout(hid_device* device, unsigned char* data, size_t length,
                                                 int milliseconds) {
    return VirtualBus::instance().read(device, data, length, milliseconds);
}

int HID_API_EXPORT HID_API_CALL hid_read(hid_device* device, unsigned char* data, size_t length) {
    return VirtualBus::instance().readAsConfigured(device, data, length);
}

int HID_API_EXPORT HID_API_CALL hid_set_nonblocking(hid_device* device, int nonBlocking) {
    return VirtualBus::instance().setNonBlocking(device, nonBlocking != 0);
}

int HID_API_EXPORT HID_API_CALL hid_send_feature_report(hid_device* device, const unsigned char*, size_t) {
    return VirtualBus::instance().unsupported(device);
}

int HID_API_EXPORT HID_API_CALL hid_get_feature_report(hid_device* device, unsigned char*, size_t) {
    return VirtualBus::instance().unsupported(device);
}

int HID_API_EXPORT HID_API_CALL hid_get_input_report(hid_device* device, unsigned char*, size_t) {
    return VirtualBus::instance().unsupported(device);
}

int HID_API_EXPORT_CALL hid_get_manufacturer_string(hid_device* device, wchar_t* text, size_t capacity) {
    return VirtualBus::instance().text(device, VirtualBus::Text::manufacturer, text, capacity);
}

int HID_API_EXPORT_CALL hid_get_product_string(hid_device* device, wchar_t* text, size_t capacity) {
    return VirtualBus::instance().text(device, VirtualBus::Text::product, text, capacity);
}

int HID_API_EXPORT_CALL hid_get_serial_number_string(hid_device* device, wchar_t* text, size_t capacity) {
    return VirtualBus::instance().text(device, VirtualBus::Text::serial, text, capacity);
}

int HID_API_EXPORT_CALL hid_get_indexed_string(hid_device* device, int, wchar_t*, size_t) {
    return VirtualBus::instance().unsupported(device);
}

struct hid_device_info HID_API_EXPORT* HID_API_CALL hid_get_device_info(hid_device* device) {
    return VirtualBus::instance().deviceInfo(device);
}

HID_API_EXPORT const wchar_t* HID_API_CALL hid_error(hid_device* device) {
    return VirtualBus::instance().errorText(device);
}

HID_API_EXPORT const struct hid_api_version* HID_API_CALL hid_version(void) {
    static const hid_api_version version{HID_API_VERSION_MAJOR, HID_API_VERSION_MINOR, HID_API_VERSION_PATCH};
    return &version;
}

HID_API_EXPORT const char* HID_API_CALL hid_version_str(void) {
    return HID_API_VERSION_STR;
}

} // extern "C"

#pragma GCC visibility pop
