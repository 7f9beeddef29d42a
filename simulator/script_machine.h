// Executes a compiled script exactly as docs/gbc.md describes it: init once, then main and the combos once
// per tick.
//
// Load a file, set inputs, call tick(), look at device(). Time, inputs and random numbers are the caller's,
// so that the same calls give the same results everywhere. Bytecode that does something wrong stops the
// machine with a reason; nothing outside the machine's own memory is ever touched. One thread at a time.

#pragma once

#include "gpc/opcodes.h"
#include "simulator/script_machine_device.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

namespace Vantor::simulator {

struct ScriptMachineOptions {
    std::uint32_t tickMs = 10;
    /// Instructions that init, or one tick, may execute; 64 bytes moved at once count as one more.
    std::uint64_t stepLimit = 1'000'000;
    std::uint32_t seed = 1; ///< of rand and irand
};

/// An instruction that is about to be executed.
struct ScriptInstruction {
    std::uint32_t address = 0;
    const gpc::OpcodeInfo* info = nullptr;
    std::array<std::int32_t, 3> operands{}; ///< as in the file, extended by sign where the kind has one
    std::uint32_t next = 0;                 ///< address behind it
};

class ScriptMachine {
public:
    using Trace = std::function<void(const ScriptInstruction&, std::uint32_t stackPointer)>;

    explicit ScriptMachine(ScriptMachineOptions options = {});
    ~ScriptMachine();
    ScriptMachine(ScriptMachine&&) noexcept;
    ScriptMachine& operator=(ScriptMachine&&) noexcept;

    /// Takes a copy of the file and starts over; persistent bytes that were saved stay. False, with error()
    /// set, when the file is not one that the machine can start.
    bool load(std::span<const std::uint8_t> file);

    /// Runs one tick; the first one runs init before. False when the script had to be stopped, now or
    /// earlier: error() says why.
    bool tick();

    /// What stopped the script, with the address of the instruction; empty while all is well.
    [[nodiscard]] const std::string& error() const;

    /// Value of an input (0..41) from the next tick on, fix32. Other indices are ignored.
    void setInput(unsigned index, std::int32_t value);
    /// Frame data for gcv_read, cut to kScriptFrameBytes; gcv_ready tells of it in the next tick.
    void setFrameData(std::span<const std::uint8_t> bytes);

    [[nodiscard]] ScriptDevice& device();
    [[nodiscard]] const ScriptDevice& device() const;
    /// What printf wrote since the last call.
    std::string takeText();

    /// The whole memory; storage variables lie at its upper end.
    [[nodiscard]] std::span<const std::uint8_t> memory() const;
    /// Instructions executed since load().
    [[nodiscard]] std::uint64_t steps() const;
    /// Called before each instruction; an empty function ends it.
    void setTrace(Trace trace);

private:
    struct Impl;
    std::unique_ptr<Impl> impl;
};

} // namespace Vantor::simulator
