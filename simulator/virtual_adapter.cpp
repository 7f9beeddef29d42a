#include "simulator/virtual_adapter.h"

#include "simulator/virtual_bus.h"

#include <algorithm>
#include <cstring>

using Vantor::simulator::VirtualBus;

namespace {

constexpr unsigned short kAdapterVendorId = 0x2508;
constexpr unsigned short kAdapterProductId = 0x0032;

// The caller may have been built against a header with fewer fields: fill what it knows of, keep its size
// field.
template<class Statistics>
int copyKnownPart(const Statistics& from, Statistics* to) {
    const std::size_t known = std::min(to->size, sizeof(Statistics));
    if (known <= sizeof(to->size))
        return -1;
    std::memcpy(reinterpret_cast<char*>(to) +
                    sizeof(to->size), // NOLINT(bugprone-undefined-memory-manipulation)
                reinterpret_cast<const char*>(&from) + sizeof(to->size), known - sizeof(to->size));
    return 0;
}

} // namespace

int virtual_adapter_add(const char* path, const char* serial, const char* manufacturer) {
    const virtual_adapter_description description{.path = path,
                                                  .serial = serial,
                                                  .manufacturer = manufacturer,
                                                  .product = "Virtual adapter",
                                                  .vendor_id = kAdapterVendorId,
                                                  .product_id = kAdapterProductId,
                                                  .interface_number = 0};
    return VirtualBus::instance().add(description);
}

int virtual_adapter_add_device(const virtual_adapter_description* description) {
    return description == nullptr ? -1 : VirtualBus::instance().add(*description);
}

int virtual_adapter_unplug(int adapter) {
    return VirtualBus::instance().unplug(adapter);
}

int virtual_adapter_replug(int adapter, const char* path) {
    return VirtualBus::instance().replug(adapter, path);
}

int virtual_adapter_remove(int adapter) {
    return VirtualBus::instance().remove(adapter);
}

void virtual_adapter_reset(void) {
    VirtualBus::instance().reset();
}

int virtual_adapter_fail(int adapter, virtual_adapter_operation operation, unsigned kth, unsigned count) {
    return VirtualBus::instance().fail(adapter, operation, kth, count);
}

int virtual_adapter_stall(int adapter, virtual_adapter_operation operation, unsigned kth,
                          unsigned milliseconds) {
    return VirtualBus::instance().stall(adapter, operation, kth, milliseconds);
}

int virtual_adapter_release(int adapter) {
    return VirtualBus::instance().release(adapter);
}

int virtual_adapter_inject(int adapter, const unsigned char* report, size_t length) {
    return VirtualBus::instance().inject(adapter, report, length);
}

int virtual_adapter_set_rates(int adapter, unsigned inputHz, unsigned stateHz) {
    return VirtualBus::instance().setRates(adapter, inputHz, stateHz);
}

int virtual_adapter_set_slot_file(int adapter, int slot, virtual_adapter_slot_part part,
                                  const unsigned char* bytes, size_t length) {
    return VirtualBus::instance().setSlotFile(adapter, slot, part, bytes, length);
}

int virtual_adapter_load_slot(int adapter, int slot) {
    return VirtualBus::instance().loadSlot(adapter, slot);
}

int virtual_adapter_set_output_protocol(int adapter, unsigned char protocol) {
    return VirtualBus::instance().setOutputProtocol(adapter, protocol);
}

int virtual_adapter_slot_file(int adapter, int slot, virtual_adapter_slot_part part, unsigned char* bytes,
                              size_t capacity) {
    return VirtualBus::instance().slotFile(adapter, slot, part, bytes, capacity);
}

int virtual_adapter_script_error(int adapter, char* text, size_t capacity) {
    return VirtualBus::instance().scriptError(adapter, text, capacity);
}

uint64_t virtual_adapter_captured_count(int adapter) {
    return VirtualBus::instance().capturedCount(adapter);
}

int virtual_adapter_captured(int adapter, uint64_t index, unsigned char* report, size_t capacity,
                             int64_t* timeNs) {
    return VirtualBus::instance().captured(adapter, index, report, capacity, timeNs);
}

int virtual_adapter_get_statistics(int adapter, virtual_adapter_statistics* statistics) {
    virtual_adapter_statistics all{};
    if (statistics == nullptr || VirtualBus::instance().statistics(adapter, all) != 0)
        return -1;
    return copyKnownPart(all, statistics);
}

int virtual_adapter_error_text(int adapter, unsigned index, char* text, size_t capacity) {
    return VirtualBus::instance().errorTextOf(adapter, index, text, capacity);
}

int virtual_adapter_get_library_statistics(virtual_adapter_library_statistics* statistics) {
    virtual_adapter_library_statistics all{};
    if (statistics == nullptr || VirtualBus::instance().libraryStatistics(all) != 0)
        return -1;
    return copyKnownPart(all, statistics);
}

int virtual_adapter_wait(int adapter, virtual_adapter_counter counter, uint64_t atLeast, unsigned timeoutMs) {
    return VirtualBus::instance().wait(adapter, counter, atLeast, timeoutMs);
}
