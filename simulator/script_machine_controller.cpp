// Builtins of the controller: inputs and outputs with their times, remapping, lights, motors, battery.

#include "simulator/script_machine_state.h"

#include <algorithm>
#include <array>

namespace Vantor::simulator {

namespace {

using gpc::Opcode;

/// Pops an index below `count`; 0 and a fault when it is not.
unsigned popIndex(ScriptState& s, unsigned count, const char* what) {
    const std::uint32_t index = s.pop();
    if (index < count) {
        return index;
    }
    s.fail("there is no " + std::string(what) + " " + std::to_string(static_cast<std::int32_t>(index)));
    return 0;
}

unsigned popInput(ScriptState& s) {
    return popIndex(s, kScriptInputCount, "input");
}

std::uint32_t bits(std::int32_t value) {
    return static_cast<std::uint32_t>(value);
}

bool isActive(const ScriptInput& input) {
    return input.value != 0;
}

/// Milliseconds that the input has been in the wanted state, 0 when it is in the other.
std::uint32_t timeIn(const ScriptState& s, const ScriptInput& input, bool active) {
    return isActive(input) == active ? s.device.nowMs - input.changedAtMs : 0;
}

void setVal(ScriptState& s, const ScriptInstruction&) {
    const std::int32_t value = s.popSigned();
    const unsigned index = popInput(s);
    s.device.outputs[index] = s.device.nowMs < s.device.inhibitedUntilMs[index] ? 0 : value;
}

void getVal(ScriptState& s, const ScriptInstruction&) {
    s.push(bits(s.device.outputs[popInput(s)]));
}

void getActual(ScriptState& s, const ScriptInstruction&) {
    s.push(bits(s.device.inputs[popInput(s)].value));
}

void getPrev(ScriptState& s, const ScriptInstruction&) {
    s.push(bits(s.device.inputs[popInput(s)].previous));
}

template<bool Active>
void isInState(ScriptState& s, const ScriptInstruction&) {
    s.push(isActive(s.device.inputs[popInput(s)]) == Active);
}

template<bool Active>
void timeInState(ScriptState& s, const ScriptInstruction&) {
    s.push(timeIn(s, s.device.inputs[popInput(s)], Active));
}

template<bool Active>
void eventOfState(ScriptState& s, const ScriptInstruction&) {
    const ScriptInput& input = s.device.inputs[popInput(s)];
    s.push(input.changed && isActive(input) == Active);
}

template<bool Active>
void checkState(ScriptState& s, const ScriptInstruction&) {
    const std::uint32_t wantedMs = s.pop();
    const ScriptInput& input = s.device.inputs[popInput(s)];
    s.push(isActive(input) == Active && timeIn(s, input, Active) >= wantedMs);
}

void inhibit(ScriptState& s, const ScriptInstruction&) {
    const std::int32_t durationMs = s.popSigned();
    const unsigned index = popInput(s);
    s.device.inhibitedUntilMs[index] = s.device.nowMs + bits(std::max(durationMs, 0));
    if (durationMs > 0) {
        s.device.outputs[index] = 0;
    }
}

void getPort(ScriptState& s, const ScriptInstruction&) {
    popInput(s);
    constexpr std::uint32_t kPortUsbA = 1;
    s.push(kPortUsbA);
}

void remapperSwap(ScriptState& s, const ScriptInstruction&) {
    const unsigned second = popInput(s);
    const unsigned first = popInput(s);
    std::swap(s.device.sources[first], s.device.sources[second]);
}

void remapperDisable(ScriptState& s, const ScriptInstruction&) {
    const unsigned disabled = popInput(s);
    for (std::uint8_t& source : s.device.sources) {
        source = source == disabled ? static_cast<std::uint8_t>(kScriptInputCount) : source;
    }
}

void remapperReset(ScriptState& s, const ScriptInstruction&) {
    s.device.resetSources();
}

void ledSet(ScriptState& s, const ScriptInstruction&) {
    const std::int32_t brightness = s.popSigned();
    s.device.leds[popIndex(s, kScriptLedCount, "LED")] = brightness;
}

void ledGet(ScriptState& s, const ScriptInstruction&) {
    s.push(bits(s.device.leds[popIndex(s, kScriptLedCount, "LED")]));
}

/// Nothing drives the LEDs or motors of the simulated controller, so that nothing is received for them.
void ledGetActual(ScriptState& s, const ScriptInstruction&) {
    popIndex(s, kScriptLedCount, "LED");
    s.push(0U);
}

void ledVmSet(ScriptState& s, const ScriptInstruction&) {
    const std::int32_t second = s.popSigned();
    const std::int32_t first = s.popSigned();
    s.device.ledTimes[popIndex(s, kScriptLedCount, "LED")] = {first, second};
}

void ledVmGet(ScriptState& s, const ScriptInstruction&) {
    s.push(static_cast<std::uint32_t>(static_cast<std::int16_t>(s.device.ledTimes[0][0])));
}

void ledReset(ScriptState& s, const ScriptInstruction&) {
    s.device.leds.fill(0);
    s.device.ledTimes.fill({});
}

void ffbSet(ScriptState& s, const ScriptInstruction&) {
    const std::int32_t strength = s.popSigned();
    s.device.motors[popIndex(s, kScriptMotorCount, "motor")] = strength;
}

void ffbGet(ScriptState& s, const ScriptInstruction&) {
    s.push(bits(s.device.motors[popIndex(s, kScriptMotorCount, "motor")]));
}

void ffbGetActual(ScriptState& s, const ScriptInstruction&) {
    popIndex(s, kScriptMotorCount, "motor");
    s.push(0U);
}

void ffbReset(ScriptState& s, const ScriptInstruction&) {
    s.device.motors.fill(0);
}

void batterySet(ScriptState& s, const ScriptInstruction&) {
    s.device.batteryLevel = s.popSigned();
    s.device.batteryStatus = s.popSigned();
}

void batteryGet(ScriptState& s, const ScriptInstruction&) {
    s.pop();
    s.push(bits(s.device.batteryLevel));
}

void batteryGetActual(ScriptState& s, const ScriptInstruction&) {
    s.pop();
    s.push(0U);
}

void batteryReset(ScriptState& s, const ScriptInstruction&) {
    s.device.batteryLevel = 0;
    s.device.batteryStatus = 0;
}

constexpr std::array kRows{
    ScriptHandlerRow{Opcode::SetVal, setVal},
    ScriptHandlerRow{Opcode::GetVal, getVal},
    ScriptHandlerRow{Opcode::GetActual, getActual},
    ScriptHandlerRow{Opcode::GetPrev, getPrev},
    ScriptHandlerRow{Opcode::IsActive, isInState<true>},
    ScriptHandlerRow{Opcode::IsRelease, isInState<false>},
    ScriptHandlerRow{Opcode::TimeActive, timeInState<true>},
    ScriptHandlerRow{Opcode::TimeRelease, timeInState<false>},
    ScriptHandlerRow{Opcode::EventActive, eventOfState<true>},
    ScriptHandlerRow{Opcode::EventRelease, eventOfState<false>},
    ScriptHandlerRow{Opcode::CheckActive, checkState<true>},
    ScriptHandlerRow{Opcode::CheckRelease, checkState<false>},
    ScriptHandlerRow{Opcode::Inhibit, inhibit},
    ScriptHandlerRow{Opcode::GetPort, getPort},
    ScriptHandlerRow{Opcode::RemapperSwap, remapperSwap},
    ScriptHandlerRow{Opcode::RemapperDisable, remapperDisable},
    ScriptHandlerRow{Opcode::RemapperReset, remapperReset},
    ScriptHandlerRow{Opcode::LedSet, ledSet},
    ScriptHandlerRow{Opcode::LedGet, ledGet},
    ScriptHandlerRow{Opcode::LedGetActual, ledGetActual},
    ScriptHandlerRow{Opcode::LedVmSet, ledVmSet},
    ScriptHandlerRow{Opcode::LedVmGet, ledVmGet},
    ScriptHandlerRow{Opcode::LedReset, ledReset},
    ScriptHandlerRow{Opcode::FfbSet, ffbSet},
    ScriptHandlerRow{Opcode::FfbGet, ffbGet},
    ScriptHandlerRow{Opcode::FfbGetActual, ffbGetActual},
    ScriptHandlerRow{Opcode::FfbReset, ffbReset},
    ScriptHandlerRow{Opcode::BatterySet, batterySet},
    ScriptHandlerRow{Opcode::BatteryGet, batteryGet},
    ScriptHandlerRow{Opcode::BatteryGetActual, batteryGetActual},
    ScriptHandlerRow{Opcode::BatteryReset, batteryReset},
};

} // namespace

std::span<const ScriptHandlerRow> controllerHandlers() {
    return kRows;
}

} // namespace Vantor::simulator
