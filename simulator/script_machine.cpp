#include "simulator/script_machine.h"

#include "simulator/script_machine_state.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace Vantor::simulator {

namespace {

using gpc::OperandKind;

constexpr std::size_t kEntryHeaderBytes = 7;
constexpr std::uint8_t kEntryOpcode = 0x10;
/// How many bytes moved in bulk count as an instruction against the step limit: without that, a script that
/// clears memory in a loop would hold its caller up for seconds.
constexpr std::uint64_t kBytesPerStep = 64;

using Dispatch = std::array<ScriptHandler, 256>;

const Dispatch& dispatchTable() {
    static const Dispatch table = [] {
        Dispatch handlers{};
        for (const auto rows : {controlHandlers(), memoryHandlers(), arithmeticHandlers(), comboHandlers(),
                                controllerHandlers(), deviceHandlers()}) {
            for (const ScriptHandlerRow& row : rows) {
                handlers[static_cast<std::uint8_t>(row.opcode)] = row.run;
            }
        }
        return handlers;
    }();
    return table;
}

std::string refusal(std::span<const std::uint8_t> file) {
    if (file.size() < kEntryHeaderBytes) {
        return "the file is shorter than its seven-byte entry header";
    }
    if (file.size() > kScriptFileLimitBytes) {
        return "the file is longer than 8192 bytes";
    }
    if (file[0] != kEntryOpcode) {
        return "the file does not begin with the entry jump";
    }
    const std::size_t codeOffset = static_cast<std::size_t>(file[1]) << 8 | file[2];
    if (codeOffset < kEntryHeaderBytes || codeOffset >= file.size()) {
        return "the code offset lies outside the file";
    }
    return {};
}

} // namespace

void ScriptState::jump(std::uint32_t target) {
    if (target < codeOffset || target >= memory.fileBytes()) {
        fail("jump outside the code");
        return;
    }
    next = target;
}

std::uint32_t ScriptState::variableAddress(std::int32_t operand) {
    const auto bits = static_cast<std::uint16_t>(operand);
    if ((bits & 0x8000U) == 0) {
        return bits;
    }
    if (callDepth == 0) {
        fail("frame variable outside a function");
        return 0;
    }
    return framePointer - (0x10000U - bits);
}

std::uint32_t ScriptState::nextRandom() {
    // A 64-bit linear congruential generator; its upper bits are good enough for scripts and the same
    // everywhere.
    random = random * 6364136223846793005ULL + 1442695040888963407ULL;
    return static_cast<std::uint32_t>(random >> 32);
}

struct ScriptMachine::Impl {
    ScriptMachineOptions options;
    ScriptState state;
    std::string error;
    std::uint64_t steps = 0;
    Trace trace;
    bool loaded = false;

    bool stop(std::uint32_t address, const std::string& reason) {
        std::array<char, 32> place{};
        std::snprintf(place.data(), place.size(), "0x%04X: ", address);
        error = place.data() + reason;
        return false;
    }

    /// Decodes the instruction at `address`; the reason when there is none.
    const char* decode(std::uint32_t address, ScriptInstruction& instruction) {
        ScriptMemory& memory = state.memory;
        if (address < state.codeOffset || address >= memory.fileBytes()) {
            return "execution left the code";
        }
        instruction.address = address;
        instruction.info = gpc::findOpcode(memory.bytes()[address]);
        if (instruction.info == nullptr) {
            return "no instruction has this opcode";
        }
        instruction.next = address + static_cast<std::uint32_t>(gpc::instructionSize(*instruction.info));
        if (instruction.next > memory.fileBytes()) {
            return "the file ends inside an instruction";
        }
        std::uint32_t at = address + 1;
        for (std::size_t i = 0; i < instruction.operands.size(); ++i) {
            const OperandKind kind = instruction.info->operands[i];
            const auto size = static_cast<unsigned>(gpc::operandSize(kind));
            const bool hasSign =
                kind == OperandKind::S8 || kind == OperandKind::S16 || kind == OperandKind::S32;
            instruction.operands[i] = size == 0 ? 0
                                      : hasSign ? memory.readSigned(at, size)
                                                : static_cast<std::int32_t>(memory.read(at, size));
            at += size;
        }
        return nullptr;
    }

    /// Runs from `address` until a section ends.
    bool run(std::uint32_t address) {
        const Dispatch& handlers = dispatchTable();
        state.next = address;
        state.sectionEnded = false;
        state.combo = {};
        const std::uint64_t stepsBefore = steps;
        const std::uint64_t bulkBefore = state.memory.bulkWork();
        while (!state.sectionEnded) {
            ScriptInstruction instruction;
            const std::uint32_t at = state.next;
            const std::uint64_t moved = (state.memory.bulkWork() - bulkBefore) / kBytesPerStep;
            if (steps - stepsBefore + moved >= options.stepLimit) {
                return stop(at, "the step limit is reached");
            }
            if (const char* reason = decode(at, instruction)) {
                return stop(at, reason);
            }
            if (trace) {
                trace(instruction, state.memory.stackPointer());
            }
            state.next = instruction.next;
            handlers[static_cast<std::uint8_t>(instruction.info->opcode)](state, instruction);
            ++steps;
            if (state.memory.failed()) {
                return stop(at, state.memory.fault());
            }
        }
        return true;
    }

    /// Storage is taken off the stack before anything else; what is balanced later is balanced to this.
    bool reserveStorage() {
        ScriptInstruction first;
        const std::uint32_t at = state.codeOffset;
        if (const char* reason = decode(at, first)) {
            return stop(at, reason);
        }
        if (first.info->opcode != gpc::Opcode::Reserve) {
            state.next = at;
        } else {
            state.memory.reserve(static_cast<std::uint32_t>(first.operands[0]));
            state.next = first.next;
        }
        state.stackBase = state.memory.stackPointer();
        return !state.memory.failed() || stop(at, state.memory.fault());
    }
};

ScriptMachine::ScriptMachine(ScriptMachineOptions options) : impl(std::make_unique<Impl>()) {
    impl->options = options;
}

ScriptMachine::~ScriptMachine() = default;
ScriptMachine::ScriptMachine(ScriptMachine&&) noexcept = default;
ScriptMachine& ScriptMachine::operator=(ScriptMachine&&) noexcept = default;

bool ScriptMachine::load(std::span<const std::uint8_t> file) {
    const auto saved = impl->state.device.saved;
    impl->state = {};
    impl->state.device.saved = saved;
    impl->state.device.tickMs = impl->options.tickMs;
    impl->state.random = impl->options.seed;
    impl->steps = 0;
    impl->error = refusal(file);
    impl->loaded = impl->error.empty();
    if (!impl->loaded) {
        return false;
    }
    impl->state.memory.load(file);
    impl->state.codeOffset = static_cast<std::uint32_t>(file[1]) << 8 | file[2];
    return true;
}

bool ScriptMachine::tick() {
    Impl& machine = *impl;
    if (!machine.error.empty()) {
        return false;
    }
    if (!machine.loaded) {
        machine.error = "no script is loaded";
        return false;
    }
    ScriptState& state = machine.state;
    if (state.mainAddress != 0) {
        state.device.nowMs += state.device.tickMs;
    }
    state.device.beginTick();
    if (state.mainAddress == 0 && (!machine.reserveStorage() || !machine.run(state.next))) {
        return false;
    }
    const bool finished = machine.run(state.mainAddress);
    state.device.frameIsNew = false;
    return finished;
}

const std::string& ScriptMachine::error() const {
    return impl->error;
}

void ScriptMachine::setInput(unsigned index, std::int32_t value) {
    if (index < kScriptInputCount) {
        impl->state.device.pending[index] = value;
    }
}

void ScriptMachine::setFrameData(std::span<const std::uint8_t> bytes) {
    ScriptDevice& device = impl->state.device;
    const std::size_t count = std::min<std::size_t>(bytes.size(), kScriptFrameBytes);
    device.frame.fill(0);
    std::copy_n(bytes.begin(), count, device.frame.begin());
    device.frameIsNew = true;
}

ScriptDevice& ScriptMachine::device() {
    return impl->state.device;
}

const ScriptDevice& ScriptMachine::device() const {
    return impl->state.device;
}

std::string ScriptMachine::takeText() {
    return std::exchange(impl->state.device.text, {});
}

std::span<const std::uint8_t> ScriptMachine::memory() const {
    return impl->state.memory.bytes();
}

std::uint64_t ScriptMachine::steps() const {
    return impl->steps;
}

void ScriptMachine::setTrace(Trace trace) {
    impl->trace = std::move(trace);
}

} // namespace Vantor::simulator
