// Builtins of the device: keyboard and mouse, memory slots, persistent bytes, frame data, time, printing.
// What has no effect that this machine could show is recorded as a request, with its name and arguments.

#include "simulator/script_machine_format.h"
#include "simulator/script_machine_state.h"

#include <algorithm>
#include <array>

namespace Vantor::simulator {

namespace {

using gpc::Opcode;

constexpr std::array<unsigned, 8> kTypeWidths{1, 1, 2, 2, 4, 4, 4, 2};

std::uint32_t bits(std::int32_t value) {
    return static_cast<std::uint32_t>(value);
}

/// Takes the arguments that the table gives the instruction and keeps them for whoever looks.
void request(ScriptState& s, const ScriptInstruction& i) {
    ScriptRequest wanted{.name = i.info->name, .arguments = {}, .argumentCount = 0, .text = {}};
    wanted.argumentCount =
        static_cast<std::uint8_t>(i.info->pops); // none of these takes a number that varies
    for (unsigned k = wanted.argumentCount; k-- > 0;) {
        wanted.arguments[k] = s.popSigned();
    }
    if (!s.memory.failed()) {
        s.device.request(std::move(wanted));
    }
}

template<std::uint32_t Result>
void requestWithResult(ScriptState& s, const ScriptInstruction& i) {
    request(s, i);
    s.push(Result);
}

/// As `request`; the one argument is the address of a name.
void requestByName(ScriptState& s, const ScriptInstruction& i) {
    ScriptRequest wanted{.name = i.info->name, .arguments = {}, .argumentCount = 0, .text = {}};
    wanted.text = readText(s.memory, s.pop());
    if (!s.memory.failed()) {
        s.device.request(std::move(wanted));
    }
}

unsigned popKey(ScriptState& s) {
    return s.pop() % kScriptKeyCount;
}

void keyStatus(ScriptState& s, const ScriptInstruction&) {
    s.push(s.device.keysDown[popKey(s)]);
}

void keyCheck(ScriptState& s, const ScriptInstruction&) {
    const auto& keys = s.device.keysDown;
    s.push(std::find(keys.begin(), keys.end(), true) != keys.end());
}

void keySet(ScriptState& s, const ScriptInstruction&) {
    const std::uint32_t value = s.pop();
    s.device.keys[popKey(s)] = static_cast<std::uint8_t>(value);
}

void keyGet(ScriptState& s, const ScriptInstruction&) {
    s.push(static_cast<std::uint32_t>(s.device.keys[popKey(s)]));
}

void mouseStatus(ScriptState& s, const ScriptInstruction&) {
    s.push(bits(s.device.mouseMoves[popKey(s)]));
}

void mouseSet(ScriptState& s, const ScriptInstruction&) {
    const std::int32_t value = s.popSigned();
    s.device.mouse[popKey(s)] = value;
}

void mouseGet(ScriptState& s, const ScriptInstruction&) {
    s.push(bits(s.device.mouse[popKey(s)]));
}

unsigned typeWidth(ScriptState& s, const ScriptInstruction& i) {
    const auto type = static_cast<std::uint32_t>(i.operands[0]);
    if (type >= kTypeWidths.size()) {
        s.fail("no such type code");
        return 1;
    }
    return kTypeWidths[type];
}

/// Whether `width` bytes at `offset` lie inside a block of `size` bytes; a fault when they do not.
bool inside(ScriptState& s, std::uint32_t offset, unsigned width, std::size_t size, const char* what) {
    if (offset <= size && width <= size - offset) {
        return true;
    }
    s.fail(std::string("access outside the ") + what);
    return false;
}

template<typename Block>
void readBlock(ScriptState& s, const ScriptInstruction& i, const Block& block, const char* what) {
    const unsigned width = typeWidth(s, i);
    const std::uint32_t address = s.pop();
    const std::uint32_t offset = s.pop();
    if (!inside(s, offset, width, block.size(), what)) {
        return;
    }
    std::uint32_t value = 0;
    for (unsigned k = 0; k < width; ++k) {
        value = value << 8 | block[offset + k];
    }
    s.memory.write(address, width, value);
}

void gcvRead(ScriptState& s, const ScriptInstruction& i) {
    readBlock(s, i, s.device.frame, "frame data");
}

void gcvReady(ScriptState& s, const ScriptInstruction&) {
    s.push(s.device.frameIsNew);
}

void pmemRead(ScriptState& s, const ScriptInstruction& i) {
    readBlock(s, i, s.device.persistent, "persistent bytes");
}

void pmemWrite(ScriptState& s, const ScriptInstruction& i) {
    const unsigned width = typeWidth(s, i);
    std::uint32_t value = s.pop();
    const std::uint32_t offset = s.pop();
    if (!inside(s, offset, width, s.device.persistent.size(), "persistent bytes")) {
        return;
    }
    for (unsigned k = width; k-- > 0; value >>= 8) {
        s.device.persistent[offset + k] = static_cast<std::uint8_t>(value);
    }
}

void pmemLoad(ScriptState& s, const ScriptInstruction&) {
    s.device.persistent = s.device.saved;
}

void pmemSave(ScriptState& s, const ScriptInstruction&) {
    s.device.saved = s.device.persistent;
}

void mslotGet(ScriptState& s, const ScriptInstruction&) {
    s.push(bits(s.device.slot));
}

void mslotCheck(ScriptState& s, const ScriptInstruction&) {
    const std::uint32_t slot = s.pop();
    s.push(slot < s.device.occupiedSlots.size() && s.device.occupiedSlots[slot]);
}

void systemTime(ScriptState& s, const ScriptInstruction&) {
    s.push(s.device.nowMs);
}

/// Both are the tick's length here: the machine reports once per tick.
void tickLength(ScriptState& s, const ScriptInstruction&) {
    s.push(s.mainAddress == 0 ? 0U : s.device.tickMs);
}

void print(ScriptState& s, const ScriptInstruction& i) {
    std::array<std::uint32_t, 256> arguments{};
    const auto count = static_cast<std::size_t>(i.operands[1]);
    for (std::size_t k = count; k-- > 0;) {
        arguments[k] = s.pop();
    }
    const std::string_view format = readText(s.memory, bits(i.operands[0]));
    formatText(s.memory, format, std::span(arguments).first(count), s.device.text);
    if (s.device.text.size() > ScriptDevice::kTextLimitBytes) {
        s.fail("printed more than 64 KB that nobody took");
    }
}

constexpr std::array kRows{
    ScriptHandlerRow{Opcode::MxyConverterHOffset, request},
    ScriptHandlerRow{Opcode::MxyConverterVOffset, request},
    ScriptHandlerRow{Opcode::MxyConverter, request},
    ScriptHandlerRow{Opcode::MxyConverterReset, request},
    ScriptHandlerRow{Opcode::Remapper, request},
    ScriptHandlerRow{Opcode::RemapperMask, request},
    ScriptHandlerRow{Opcode::KeyMapping, request},
    ScriptHandlerRow{Opcode::KeyMappingReset, request},
    ScriptHandlerRow{Opcode::MouseMapping, request},
    ScriptHandlerRow{Opcode::MouseMappingReset, request},
    ScriptHandlerRow{Opcode::KeyStatus, keyStatus},
    ScriptHandlerRow{Opcode::KeyCheck, keyCheck},
    ScriptHandlerRow{Opcode::MouseStatus, mouseStatus},
    ScriptHandlerRow{Opcode::KeySet, keySet},
    ScriptHandlerRow{Opcode::KeyPassthru, request},
    ScriptHandlerRow{Opcode::MouseSet, mouseSet},
    ScriptHandlerRow{Opcode::MousePassthru, request},
    ScriptHandlerRow{Opcode::KeyGet, keyGet},
    ScriptHandlerRow{Opcode::MouseGet, mouseGet},
    ScriptHandlerRow{Opcode::MacroRun, requestByName},
    ScriptHandlerRow{Opcode::MacroTime, requestWithResult<0>},
    ScriptHandlerRow{Opcode::MacroStop, request},
    ScriptHandlerRow{Opcode::MacroRec, requestByName},
    ScriptHandlerRow{Opcode::ScriptLoad, requestByName},
    ScriptHandlerRow{Opcode::Printf, print},
    ScriptHandlerRow{Opcode::GcvRead, gcvRead},
    ScriptHandlerRow{Opcode::GcvReady, gcvReady},
    ScriptHandlerRow{Opcode::PmemLoad, pmemLoad},
    ScriptHandlerRow{Opcode::PmemSave, pmemSave},
    ScriptHandlerRow{Opcode::PmemRead, pmemRead},
    ScriptHandlerRow{Opcode::PmemWrite, pmemWrite},
    ScriptHandlerRow{Opcode::MslotGet, mslotGet},
    ScriptHandlerRow{Opcode::MslotLoad, request},
    ScriptHandlerRow{Opcode::MslotCheck, mslotCheck},
    ScriptHandlerRow{Opcode::SystemTime, systemTime},
    ScriptHandlerRow{Opcode::ElapsedTime, tickLength},
    ScriptHandlerRow{Opcode::PortStatus, requestWithResult<0>},
    ScriptHandlerRow{Opcode::PortConnect, request},
    ScriptHandlerRow{Opcode::PortDisconnect, request},
    ScriptHandlerRow{Opcode::PortInhibitFfb, request},
    ScriptHandlerRow{Opcode::PortPermitFfb, request},
    ScriptHandlerRow{Opcode::PortTurnoff, request},
    ScriptHandlerRow{Opcode::PortUsbPoweron, request},
    ScriptHandlerRow{Opcode::PortUsbPoweroff, request},
    ScriptHandlerRow{Opcode::PowerSource, requestWithResult<0>},
    ScriptHandlerRow{Opcode::PushToTalk, request},
    ScriptHandlerRow{Opcode::DevicePoweroff, request},
    ScriptHandlerRow{Opcode::OutputTime, tickLength},
    ScriptHandlerRow{Opcode::DisplayOverlay, request},
};

} // namespace

std::span<const ScriptHandlerRow> deviceHandlers() {
    return kRows;
}

} // namespace Vantor::simulator
