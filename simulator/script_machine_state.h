// What the rooms of the script machine share: the running script's state and the tables of instruction
// handlers. Internal to the machine; everybody else includes script_machine.h.

#pragma once

#include "gpc/opcodes.h"
#include "simulator/script_machine.h"
#include "simulator/script_machine_device.h"
#include "simulator/script_machine_memory.h"

#include <cstdint>
#include <span>
#include <vector>

namespace Vantor::simulator {

/// The combo whose body is being executed; set by combo_start.
struct ActiveCombo {
    std::uint32_t stateAddress = 0;
    std::uint32_t waitTable = 0;
    bool active = false;
};

/// State addresses of a combo that is suspended in a call, and of the combo that it called.
struct ComboCall {
    std::uint32_t caller = 0;
    std::uint32_t called = 0;
};

struct ScriptState {
    ScriptMemory memory;
    ScriptDevice device;
    std::uint32_t codeOffset = 0;
    std::uint32_t next = 0;         ///< address of the instruction that follows; handlers that jump set it
    std::uint32_t framePointer = 0; ///< meaningful while callDepth > 0
    std::uint32_t callDepth = 0;
    std::uint32_t stackBase = 0;   ///< stack pointer below the storage
    std::uint32_t mainAddress = 0; ///< 0 until init has ended
    std::uint64_t random = 1;
    bool sectionEnded = false; ///< end_init or end_main was executed
    ActiveCombo combo;
    std::vector<ComboCall> comboCalls; ///< each caller at most once

    void fail(std::string reason) { memory.fail(std::move(reason)); }
    void push(std::uint32_t value) { memory.push(value); }
    void push(bool value) { memory.push(value ? 1U : 0U); }
    std::uint32_t pop() { return memory.pop(); }
    std::int32_t popSigned() { return static_cast<std::int32_t>(memory.pop()); }

    /// Goes on at `target`, which must lie in the code.
    void jump(std::uint32_t target);
    /// Where a variable operand points: frame-relative when its top bit is set, else an address.
    std::uint32_t variableAddress(std::int32_t operand);
    std::uint32_t nextRandom();
};

using ScriptHandler = void (*)(ScriptState&, const ScriptInstruction&);

struct ScriptHandlerRow {
    gpc::Opcode opcode{};
    ScriptHandler run = nullptr;
};

std::span<const ScriptHandlerRow> controlHandlers();
std::span<const ScriptHandlerRow> memoryHandlers();
std::span<const ScriptHandlerRow> arithmeticHandlers();
std::span<const ScriptHandlerRow> comboHandlers();
std::span<const ScriptHandlerRow> controllerHandlers();
std::span<const ScriptHandlerRow> deviceHandlers();

} // namespace Vantor::simulator
