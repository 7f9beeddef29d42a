#include "simulator/script_runner.h"

#include <algorithm>
#include <exception>
#include <limits>

namespace Vantor::simulator {

namespace {

constexpr std::int64_t kMillisecondNs = 1'000'000;
// Room that a script's texts and requests get when it is loaded, so that a usual tick finds it.
constexpr std::size_t kTextRoomBytes = 4096;
constexpr std::size_t kModifierUsage = 0xE0;
constexpr std::size_t kModifiers = 8;

} // namespace

ScriptRunner::ScriptRunner() : machine(ScriptMachineOptions{.tickMs = 0, .stepLimit = kStepsPerTick}) {}

bool ScriptRunner::load(unsigned slot, std::span<const std::uint8_t> file, std::int64_t timeNs) noexcept {
    unload();
    errorText[0] = '\0';
    if (slot == 0 || slot > persistent.size())
        return false;
    const auto occupied = machine.device().occupiedSlots;
    machine.device().saved = persistent[slot - 1];
    try {
        if (!machine.load(file)) {
            fail(machine.error());
            return false;
        }
        machine.device().text.reserve(kTextRoomBytes);
        machine.device().requests.reserve(2 * ScriptDevice::kRequestLimit);
    } catch (const std::exception&) {
        fail("there is not enough memory to run the script");
        return false;
    }
    machine.device().occupiedSlots = occupied;
    machine.device().slot = static_cast<std::int32_t>(slot);
    loadedSlot = slot;
    lastMs = timeNs / kMillisecondNs;
    running = true;
    return true;
}

void ScriptRunner::unload() noexcept {
    running = false;
    if (loadedSlot != 0)
        persistent[loadedSlot - 1] = machine.device().saved;
    loadedSlot = 0;
}

void ScriptRunner::setOccupiedSlots(unsigned mask) noexcept {
    auto& occupied = machine.device().occupiedSlots;
    for (std::size_t slot = 0; slot < occupied.size(); ++slot)
        occupied[slot] = (mask >> slot & 1U) != 0;
}

void ScriptRunner::run(const ControllerValues& input, std::int64_t timeNs,
                       ControllerValues& output) noexcept {
    output = input;
    if (!running)
        return;
    for (unsigned index = 0; index < input.size(); ++index)
        machine.setInput(index, input[index]);
    const std::int64_t nowMs = timeNs / kMillisecondNs;
    machine.device().tickMs = static_cast<std::uint32_t>(
        std::clamp<std::int64_t>(nowMs - lastMs, 0, std::numeric_limits<std::int32_t>::max()));
    lastMs = nowMs;
    if (!tick())
        return;
    ++tickCount;
    const auto& outputs = machine.device().outputs;
    for (std::size_t index = 0; index < output.size(); ++index) {
        // A script may write anything; the report holds full deflection at most.
        const std::int32_t lowest = index < kControllerButtons ? 0 : -kFullValue;
        output[index] = std::clamp(outputs[index], lowest, kFullValue);
    }
}

bool ScriptRunner::tick() noexcept {
    ScriptDevice& device = machine.device();
    bool fine = false;
    try {
        fine = machine.tick();
        if (!fine)
            fail(machine.error());
    } catch (const std::exception&) {
        fail("there is not enough memory to run the script");
    }
    device.mouseMoves = {};
    device.text.clear();
    device.requests.clear();
    return fine;
}

void ScriptRunner::fail(std::string_view reason) noexcept {
    running = false;
    ++failureCount;
    const std::size_t length = std::min(reason.size(), errorText.size() - 1);
    std::copy_n(reason.begin(), length, errorText.begin());
    errorText[length] = '\0';
}

void ScriptRunner::setFrame(std::span<const std::uint8_t> frame) noexcept {
    if (running)
        machine.setFrameData(frame);
}

void ScriptRunner::setKeys(std::span<const std::uint8_t, 8> report) noexcept {
    auto& keys = machine.device().keysDown;
    keys = {};
    for (std::size_t modifier = 0; modifier < kModifiers; ++modifier)
        keys[kModifierUsage + modifier] = (report[0] >> modifier & 1U) != 0;
    for (const std::uint8_t usage : report.subspan<2>())
        keys[usage] = keys[usage] || usage != 0;
}

void ScriptRunner::addMouseMotion(int x, int y, int wheel) noexcept {
    // Motion that no tick fetches must not add up without bound.
    constexpr std::int32_t kLimit = 1'000'000;
    auto& moves = machine.device().mouseMoves;
    for (const auto& [index, counts] : {std::pair{0, x}, std::pair{1, y}, std::pair{2, wheel}})
        moves[static_cast<std::size_t>(index)] =
            std::clamp(moves[static_cast<std::size_t>(index)] + counts, -kLimit, kLimit);
}

} // namespace Vantor::simulator
