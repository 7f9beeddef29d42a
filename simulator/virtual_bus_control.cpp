// The half of the bus behind virtual_adapter.h: adapters come and go, faults are armed, counts are read.

#include "simulator/virtual_bus.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <string_view>

namespace Vantor::simulator {

namespace {

std::optional<std::wstring> widened(const char* text) {
    if (text == nullptr)
        return std::nullopt;
    return std::wstring(text, text + std::strlen(text));
}

bool isFaultOf(int adapter, virtual_adapter_operation operation) {
    const bool ofLibrary = operation == VIRTUAL_ADAPTER_INIT || operation == VIRTUAL_ADAPTER_ENUMERATE;
    return operation >= 0 && operation < VIRTUAL_ADAPTER_OPERATIONS &&
           ofLibrary == (adapter == VIRTUAL_ADAPTER_LIBRARY);
}

constexpr std::array kCounters{
    &virtual_adapter_statistics::opens,
    &virtual_adapter_statistics::writes,
    &virtual_adapter_statistics::write_failures,
    &virtual_adapter_statistics::read_calls,
    &virtual_adapter_statistics::reads,
    &virtual_adapter_statistics::read_failures,
    &virtual_adapter_statistics::stalled,
    &virtual_adapter_statistics::initialisations,
    &virtual_adapter_statistics::closing_packets,
    &virtual_adapter_statistics::stop_packets,
    &virtual_adapter_statistics::input_states_sent,
    &virtual_adapter_statistics::report_states_sent,
    &virtual_adapter_statistics::frames_intact,
    &virtual_adapter_statistics::errors,
    &virtual_adapter_statistics::script_transfers,
    &virtual_adapter_statistics::translator_transfers,
    &virtual_adapter_statistics::slot_loads,
    &virtual_adapter_statistics::slot_loads_refused,
    &virtual_adapter_statistics::clears,
    &virtual_adapter_statistics::protocol_changes,
    &virtual_adapter_statistics::listings_sent,
    &virtual_adapter_statistics::script_ticks,
    &virtual_adapter_statistics::script_failures,
    &virtual_adapter_statistics::capture_starts,
    &virtual_adapter_statistics::capture_packets,
    &virtual_adapter_statistics::capture_neutral_packets,
};
static_assert(kCounters.size() == VIRTUAL_ADAPTER_COUNTERS);

// A slot number that any check refuses stands for one that is negative.
unsigned slotNumber(int slot) {
    return slot < 0 ? 0U : static_cast<unsigned>(slot);
}

std::optional<SlotPart> slotPart(virtual_adapter_slot_part part) {
    if (part == VIRTUAL_ADAPTER_SCRIPT)
        return SlotPart::script;
    return part == VIRTUAL_ADAPTER_TRANSLATOR ? std::optional(SlotPart::translator) : std::nullopt;
}

// Zero-terminated, cut to what fits. Returns the whole text's length.
int copyText(std::string_view from, char* text, std::size_t capacity) {
    const std::size_t length = std::min(from.size(), capacity - 1);
    std::copy_n(from.begin(), length, text);
    text[length] = '\0';
    return static_cast<int>(from.size());
}

} // namespace

// ---- Control ----

std::shared_ptr<VirtualAdapter> VirtualBus::find(int adapter) {
    if (adapter < 0 || static_cast<std::size_t>(adapter) >= adapters.size())
        return nullptr;
    const auto& found = adapters[static_cast<std::size_t>(adapter)];
    return found && !found->removed ? found : nullptr;
}

int VirtualBus::add(const virtual_adapter_description& description) {
    auto adapter = std::make_shared<VirtualAdapter>();
    if (description.path != nullptr)
        adapter->texts.path = description.path;
    adapter->texts.serial = widened(description.serial);
    adapter->texts.manufacturer = widened(description.manufacturer);
    adapter->texts.product = widened(description.product);
    adapter->texts.vendorId = description.vendor_id;
    adapter->texts.productId = description.product_id;
    adapter->texts.interfaceNumber = description.interface_number;
    const Lock lock(mutex);
    if (adaptersAdded == adapters.size())
        return -1;
    adapters[adaptersAdded] = std::move(adapter);
    return static_cast<int>(adaptersAdded++);
}

void VirtualBus::cutPower(VirtualAdapter& adapter) {
    adapter.plugged = false;
    ++adapter.plugGeneration;
    adapter.model.powerOff();
}

int VirtualBus::unplug(int adapter) {
    const Lock lock(mutex);
    const auto found = find(adapter);
    if (!found || !found->plugged)
        return -1;
    cutPower(*found);
    changed.notify_all();
    return 0;
}

int VirtualBus::replug(int adapter, const char* path) {
    const Lock lock(mutex);
    const auto found = find(adapter);
    if (!found || found->plugged)
        return -1;
    if (path != nullptr)
        found->texts.path = path;
    found->plugged = true;
    return 0;
}

int VirtualBus::remove(int adapter) {
    const Lock lock(mutex);
    const auto found = find(adapter);
    if (!found)
        return -1;
    cutPower(*found);
    found->removed = true;
    changed.notify_all();
    return 0;
}

void VirtualBus::reset() {
    const Lock lock(mutex);
    for (auto& adapter : adapters) {
        if (!adapter)
            continue;
        cutPower(*adapter); // handles that are still open share it until they are closed
        ++adapter->releases;
        adapter.reset();
    }
    adaptersAdded = 0;
    failures = {};
    const std::uint64_t openHandles = counts.open_handles;
    const std::uint64_t lists = counts.lists_not_freed;
    counts = {};
    counts.open_handles = openHandles;
    counts.lists_not_freed = lists;
    error = L"Success";
    changed.notify_all();
}

int VirtualBus::fail(int adapter, virtual_adapter_operation operation, unsigned kth, unsigned count) {
    const Lock lock(mutex);
    const auto found = find(adapter);
    if (!isFaultOf(adapter, operation) || kth == 0 || (!found && adapter != VIRTUAL_ADAPTER_LIBRARY))
        return -1;
    (found ? found->failures : failures)[operation].arm(kth, count);
    return 0;
}

int VirtualBus::stall(int adapter, virtual_adapter_operation operation, unsigned kth, unsigned milliseconds) {
    const Lock lock(mutex);
    const auto found = find(adapter);
    if (!found || kth == 0 || (operation != VIRTUAL_ADAPTER_WRITE && operation != VIRTUAL_ADAPTER_READ))
        return -1;
    found->stalls[operation].arm(kth, 1);
    found->stallMs[operation] = milliseconds;
    return 0;
}

int VirtualBus::release(int adapter) {
    const Lock lock(mutex);
    const auto found = find(adapter);
    if (!found)
        return -1;
    found->stalls = {};
    ++found->releases;
    changed.notify_all();
    return 0;
}

int VirtualBus::inject(int adapter, const unsigned char* report, std::size_t length) {
    const Lock lock(mutex);
    const auto found = find(adapter);
    if (!found || !found->plugged || report == nullptr || length == 0 || length > kReportBytes)
        return -1;
    advance(*found, nowNs());
    distribute(*found, report, length);
    changed.notify_all();
    return 0;
}

int VirtualBus::setRates(int adapter, unsigned inputHz, unsigned reportHz) {
    const Lock lock(mutex);
    const auto found = find(adapter);
    if (!found || inputHz > AdapterModel::kMaxRateHz || reportHz > AdapterModel::kMaxRateHz)
        return -1;
    const std::int64_t now = nowNs();
    advance(*found, now);
    found->model.setStreamRates(inputHz, reportHz, now);
    changed.notify_all();
    return 0;
}

template<class Change>
bool VirtualBus::changeAtAdapter(int adapter, const Change& change) {
    const Lock lock(mutex);
    const auto found = find(adapter);
    if (!found || !found->plugged)
        return false;
    const std::int64_t now = nowNs();
    advance(*found, now);
    const bool done = change(found->model, now);
    advance(*found, now);
    changed.notify_all();
    return done;
}

int VirtualBus::setSlotFile(int adapter, int slot, virtual_adapter_slot_part part, const unsigned char* bytes,
                            std::size_t length) {
    const auto wanted = slotPart(part);
    if (!wanted || (bytes == nullptr && length > 0))
        return -1;
    const auto change = [&](AdapterModel& model, std::int64_t now) {
        return model.setSlotFile(slotNumber(slot), *wanted, std::span(bytes, length), now);
    };
    return changeAtAdapter(adapter, change) ? 0 : -1;
}

int VirtualBus::loadSlot(int adapter, int slot) {
    const auto change = [&](AdapterModel& model, std::int64_t now) {
        return model.loadSlot(slotNumber(slot), now);
    };
    return changeAtAdapter(adapter, change) ? 0 : -1;
}

int VirtualBus::setOutputProtocol(int adapter, unsigned char protocol) {
    const auto change = [&](AdapterModel& model, std::int64_t) {
        model.setOutputProtocol(protocol);
        return true;
    };
    return changeAtAdapter(adapter, change) ? 0 : -1;
}

// ---- Observation ----

int VirtualBus::slotFile(int adapter, int slot, virtual_adapter_slot_part part, unsigned char* bytes,
                         std::size_t capacity) {
    const Lock lock(mutex);
    const auto found = find(adapter);
    const auto wanted = slotPart(part);
    if (!found || !wanted || slot < 1 || slot > VIRTUAL_ADAPTER_SLOTS || (bytes == nullptr && capacity > 0))
        return -1;
    const auto file = found->model.memorySlots().file(slotNumber(slot), *wanted);
    std::copy_n(file.begin(), std::min(file.size(), capacity), bytes);
    return static_cast<int>(file.size());
}

int VirtualBus::scriptError(int adapter, char* text, std::size_t capacity) {
    const Lock lock(mutex);
    const auto found = find(adapter);
    if (!found || text == nullptr || capacity == 0)
        return -1;
    return copyText(found->model.script().error(), text, capacity);
}

std::uint64_t VirtualBus::capturedCount(int adapter) {
    const Lock lock(mutex);
    const auto found = find(adapter);
    return found ? found->capturedCount : 0;
}

int VirtualBus::captured(int adapter, std::uint64_t index, unsigned char* report, std::size_t capacity,
                         std::int64_t* timeNs) {
    const Lock lock(mutex);
    const auto found = find(adapter);
    if (!found || report == nullptr || index >= found->capturedCount ||
        found->capturedCount - index > found->captured.size())
        return -1;
    const CapturedReport& wanted = found->captured[index % found->captured.size()];
    const std::size_t kept = std::min(static_cast<std::size_t>(wanted.length), wanted.bytes.size());
    std::copy_n(wanted.bytes.begin(), std::min(kept, capacity), report);
    if (timeNs != nullptr)
        *timeNs = wanted.timeNs;
    return wanted.length;
}

namespace {

void fillSlotCounts(const AdapterModel& model, virtual_adapter_statistics& statistics) {
    const AdapterStatistics& counts = model.statistics();
    statistics.script_transfers = counts.scriptTransfers;
    statistics.translator_transfers = counts.translatorTransfers;
    statistics.transfers_failed = counts.transfersFailed;
    statistics.transfers_abandoned = counts.transfersAbandoned;
    statistics.slot_loads = counts.slotLoads;
    statistics.slot_loads_refused = counts.slotLoadsRefused;
    statistics.clears = counts.clears;
    statistics.protocol_changes = counts.protocolChanges;
    statistics.listings_sent = counts.listings;
    statistics.loaded_slot = model.loadedSlot();
    statistics.output_protocol = model.outputProtocol();
    for (unsigned slot = 1; slot <= VIRTUAL_ADAPTER_SLOTS; ++slot) {
        statistics.script_bytes[slot - 1] = model.memorySlots().file(slot, SlotPart::script).size();
        statistics.translator_bytes[slot - 1] = model.memorySlots().file(slot, SlotPart::translator).size();
    }
    statistics.script_running = model.script().isRunning() ? 1 : 0;
    statistics.script_ticks = model.script().ticks();
    statistics.script_failures = model.script().failures();
}

void fillCaptureCounts(const CaptureStatistics& capture, virtual_adapter_statistics& statistics) {
    statistics.capture_starts = capture.starts;
    statistics.capture_devices = capture.devices;
    statistics.capture_packets = capture.packets;
    statistics.capture_neutral_packets = capture.neutralPackets;
    statistics.capture_keyboard_packets = capture.keyboardPackets;
    statistics.capture_mouse_packets = capture.mousePackets;
    statistics.capture_controller_packets = capture.controllerPackets;
    std::copy(capture.lastPacket.begin(), capture.lastPacket.end(), statistics.capture_last_packet);
}

} // namespace

void VirtualBus::fillModelCounts(const VirtualAdapter& adapter, virtual_adapter_statistics& statistics) {
    const AdapterStatistics& model = adapter.model.statistics();
    statistics.errors = model.errors;
    statistics.other_commands = model.otherCommands;
    statistics.initialisations = model.initialisations;
    statistics.closing_packets = model.closingPackets;
    statistics.stop_packets = model.stopPackets;
    statistics.reports_since_stop = model.reportsSinceStop;
    statistics.input_states_sent = model.inputStates;
    statistics.report_states_sent = model.reportStates;
    const FrameStatistics& frames = adapter.model.frames().statistics();
    statistics.frames_intact = frames.intact;
    statistics.frames_corrupt = frames.corrupt;
    statistics.frames_repeated = frames.repeated;
    statistics.frames_out_of_order = frames.outOfOrder;
    statistics.frames_missing = frames.missing;
    statistics.frames_foreign = frames.foreign;
    statistics.first_sequence = frames.firstSequence;
    statistics.last_sequence = frames.lastSequence;
    fillSlotCounts(adapter.model, statistics);
    fillCaptureCounts(adapter.model.captureStatistics(), statistics);
}

int VirtualBus::statistics(int adapter, virtual_adapter_statistics& statistics) {
    const Lock lock(mutex);
    const auto found = find(adapter);
    if (!found)
        return -1;
    advance(*found, nowNs());
    statistics = found->counts;
    fillModelCounts(*found, statistics);
    const LatencyHistogram& latency = found->model.frames().latency();
    statistics.latency_samples = latency.samples();
    statistics.latency_p50_ns = latency.percentile(50);
    statistics.latency_p99_ns = latency.percentile(99);
    statistics.latency_max_ns = latency.maximum();
    return 0;
}

int VirtualBus::errorTextOf(int adapter, unsigned index, char* text, std::size_t capacity) {
    const Lock lock(mutex);
    const auto found = find(adapter);
    if (!found || text == nullptr || capacity == 0)
        return -1;
    const std::string_view wanted = found->model.errorText(index);
    if (wanted.empty())
        return -1;
    return copyText(wanted, text, capacity);
}

int VirtualBus::libraryStatistics(virtual_adapter_library_statistics& statistics) {
    const Lock lock(mutex);
    statistics = counts;
    return 0;
}

int VirtualBus::wait(int adapter, virtual_adapter_counter counter, std::uint64_t atLeast,
                     unsigned timeoutMs) {
    Lock lock(mutex);
    const auto found = find(adapter);
    if (!found || counter < 0 || counter >= VIRTUAL_ADAPTER_COUNTERS)
        return -1;
    const std::int64_t deadline = nowNs() + std::int64_t{timeoutMs} * 1'000'000;
    for (;;) {
        const std::int64_t now = nowNs();
        advance(*found, now);
        virtual_adapter_statistics current = found->counts;
        fillModelCounts(*found, current);
        if (current.*kCounters[counter] >= atLeast)
            return 1;
        if (now >= deadline)
            return 0;
        // Nobody else may be moving this adapter's time on, so its next state wakes this wait too.
        const std::int64_t due = found->plugged ? std::max(now, found->model.nextDueNs()) : deadline;
        changed.wait_until(lock, timePoint(std::min(deadline, due)));
    }
}

} // namespace Vantor::simulator
