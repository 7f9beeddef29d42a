// Combos: bodies inside the main section that suspend themselves and go on in a later tick.
// The bits of a combo's state and every transition are those of docs/gbc.md.

#include "simulator/script_machine_state.h"

#include <algorithm>
#include <array>
#include <optional>

namespace Vantor::simulator {

namespace {

using gpc::Opcode;

enum class ComboPhase : std::uint8_t { Stopped, Running, Paused, Starting };

struct ComboState {
    ComboPhase phase = ComboPhase::Stopped;
    std::uint32_t entry = 0;
    std::uint32_t waitMs = 0;
};

constexpr unsigned kPhaseShift = 30;
constexpr unsigned kEntryShift = 16;
constexpr std::uint32_t kEntryMask = 0x3FFF;
constexpr std::uint32_t kWaitMask = 0x7FFF;
constexpr unsigned kStateBytes = 4;
constexpr unsigned kEntryBytes = 2;
/// What looking at a wait-table entry costs, in bytes moved in bulk.
constexpr unsigned kEntryWork = 16;

ComboState readState(ScriptState& s, std::uint32_t address) {
    const std::uint32_t bits = s.memory.read(address, kStateBytes);
    return {static_cast<ComboPhase>(bits >> kPhaseShift), bits >> kEntryShift & kEntryMask, bits & kWaitMask};
}

void writeState(ScriptState& s, std::uint32_t address, const ComboState& state) {
    s.memory.write(address, kStateBytes,
                   static_cast<std::uint32_t>(state.phase) << kPhaseShift | state.entry << kEntryShift |
                       state.waitMs);
}

/// Forgets the `call` that the combo is suspended in. The called combo's state address; nullopt without a
/// call.
std::optional<std::uint32_t> takeCall(ScriptState& s, std::uint32_t caller) {
    const auto call = std::find_if(s.comboCalls.begin(), s.comboCalls.end(),
                                   [caller](const ComboCall& each) { return each.caller == caller; });
    if (call == s.comboCalls.end()) {
        return std::nullopt;
    }
    const std::uint32_t called = call->called;
    *call = s.comboCalls.back();
    s.comboCalls.pop_back();
    return called;
}

/// Ends the `call` that the combo is suspended in, if any: the called combo stops, and what that one called.
void endCalls(ScriptState& s, std::uint32_t caller) {
    while (const auto called = takeCall(s, caller)) {
        caller = *called;
        writeState(s, caller, {});
    }
}

void comboStart(ScriptState& s, const ScriptInstruction& i) {
    const std::uint32_t address = s.variableAddress(i.operands[0]);
    const auto table = static_cast<std::uint32_t>(i.operands[1]);
    const auto end = static_cast<std::uint32_t>(i.operands[2]);
    ComboState state = readState(s, address);
    if (state.phase == ComboPhase::Stopped || state.phase == ComboPhase::Paused) {
        s.jump(end);
        return;
    }
    if (state.phase == ComboPhase::Starting) {
        state = {ComboPhase::Running, 0, 0};
    } else {
        state.waitMs -= std::min(state.waitMs, s.device.tickMs);
    }
    writeState(s, address, state);
    if (state.waitMs > 0) {
        s.jump(end);
        return;
    }
    s.combo = {address, table, true};
    s.jump(s.memory.read(table + kEntryBytes * state.entry, kEntryBytes));
}

/// Index of the wait-table entry that holds `target`. Entries ascend, and the table ends before the code
/// begins.
std::uint32_t entryOf(ScriptState& s, std::uint32_t target) {
    for (std::uint32_t entry = 0; entry <= kEntryMask; ++entry) {
        const std::uint32_t at = s.combo.waitTable + kEntryBytes * entry;
        if (at + kEntryBytes > s.codeOffset || s.memory.failed()) {
            break;
        }
        const std::uint32_t address = s.memory.read(at, kEntryBytes);
        s.memory.addBulkWork(kEntryWork);
        if (address == target) {
            return entry;
        }
        if (address > target) {
            break;
        }
    }
    s.fail("the wait table has no entry for this place");
    return 0;
}

bool insideCombo(ScriptState& s, std::uint32_t stateAddress) {
    if (!s.combo.active || s.combo.stateAddress != stateAddress) {
        s.fail("combo instruction outside its combo");
        return false;
    }
    return true;
}

/// Suspends the combo in hand, to go on at `resume` when `waitMs` have passed, and leaves its body.
void suspend(ScriptState& s, std::uint32_t resume, std::uint32_t waitMs, std::int32_t end) {
    const std::uint32_t address = s.combo.stateAddress;
    ComboState state = readState(s, address);
    // A body that stopped or restarted its own combo has settled what happens next.
    if (state.phase == ComboPhase::Running || state.phase == ComboPhase::Paused) {
        state.entry = entryOf(s, resume);
        state.waitMs = waitMs;
        writeState(s, address, state);
    }
    s.combo.active = false;
    s.jump(static_cast<std::uint32_t>(end));
}

void comboEnd(ScriptState& s, const ScriptInstruction& i) {
    const std::uint32_t address = s.variableAddress(i.operands[0]);
    if (!insideCombo(s, address)) {
        return;
    }
    s.combo.active = false;
    if (readState(s, address).phase != ComboPhase::Starting) {
        writeState(s, address, {});
    }
}

void wait(ScriptState& s, const ScriptInstruction& i) {
    if (insideCombo(s, s.variableAddress(i.operands[0]))) {
        const auto duration = static_cast<std::uint32_t>(std::max(i.operands[1], 0));
        suspend(s, i.next, duration, i.operands[2]);
    }
}

void beginWait(ScriptState& s, const ScriptInstruction& i) {
    insideCombo(s, s.variableAddress(i.operands[0]));
}

void endWait(ScriptState& s, const ScriptInstruction& i) {
    const auto duration =
        static_cast<std::uint32_t>(std::clamp(s.popSigned(), 0, static_cast<std::int32_t>(kWaitMask)));
    if (insideCombo(s, s.variableAddress(i.operands[0]))) {
        suspend(s, i.next, duration, i.operands[1]);
    }
}

void comboRestart(ScriptState& s, const ScriptInstruction& i) {
    const std::uint32_t address = s.variableAddress(i.operands[0]);
    endCalls(s, address);
    writeState(s, address, {ComboPhase::Starting, 0, 0});
}

void callCombo(ScriptState& s, const ScriptInstruction& i) {
    if (!s.combo.active) {
        s.fail("combo instruction outside its combo");
        return;
    }
    const std::uint32_t caller = s.combo.stateAddress;
    // A body that has just stopped or restarted its own combo is about to end: it calls nobody any more. Nor
    // does one whose call stops it, because it was itself called by the combo that it calls.
    if (readState(s, caller).phase == ComboPhase::Running) {
        comboRestart(s, i);
        if (readState(s, caller).phase == ComboPhase::Running) {
            takeCall(s, caller);
            s.comboCalls.push_back({.caller = caller, .called = s.variableAddress(i.operands[0])});
        }
    }
    suspend(s, i.next, 0, i.operands[1]);
}

void awaitCombo(ScriptState& s, const ScriptInstruction& i) {
    const std::uint32_t caller = s.variableAddress(i.operands[0]);
    const std::uint32_t called = s.variableAddress(i.operands[1]);
    if (!insideCombo(s, caller)) {
        return;
    }
    if (readState(s, called).phase == ComboPhase::Stopped) {
        takeCall(s, caller);
        return;
    }
    suspend(s, i.address, 0, i.operands[2]);
}

void comboRun(ScriptState& s, const ScriptInstruction& i) {
    const std::uint32_t address = s.variableAddress(i.operands[0]);
    ComboState state = readState(s, address);
    if (state.phase == ComboPhase::Stopped) {
        writeState(s, address, {ComboPhase::Starting, 0, 0});
    } else if (state.phase == ComboPhase::Paused) {
        state.phase = ComboPhase::Running;
        writeState(s, address, state);
    }
}

void comboPause(ScriptState& s, const ScriptInstruction& i) {
    const std::uint32_t address = s.variableAddress(i.operands[0]);
    ComboState state = readState(s, address);
    if (state.phase == ComboPhase::Running) {
        state.phase = ComboPhase::Paused;
        writeState(s, address, state);
    }
}

void comboStop(ScriptState& s, const ScriptInstruction& i) {
    const std::uint32_t address = s.variableAddress(i.operands[0]);
    endCalls(s, address);
    writeState(s, address, {});
}

constexpr std::array kRows{
    ScriptHandlerRow{Opcode::ComboStart, comboStart},
    ScriptHandlerRow{Opcode::ComboEnd, comboEnd},
    ScriptHandlerRow{Opcode::Wait, wait},
    ScriptHandlerRow{Opcode::BeginWait, beginWait},
    ScriptHandlerRow{Opcode::EndWait, endWait},
    ScriptHandlerRow{Opcode::CallCombo, callCombo},
    ScriptHandlerRow{Opcode::AwaitCombo, awaitCombo},
    ScriptHandlerRow{Opcode::ComboRun, comboRun},
    ScriptHandlerRow{Opcode::ComboRestart, comboRestart},
    ScriptHandlerRow{Opcode::ComboPause, comboPause},
    ScriptHandlerRow{Opcode::ComboStop, comboStop},
};

} // namespace

std::span<const ScriptHandlerRow> comboHandlers() {
    return kRows;
}

} // namespace Vantor::simulator
