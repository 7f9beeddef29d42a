// Flow of control: sections, jumps, switches, calls.

#include "simulator/script_machine_state.h"

#include <array>

namespace Vantor::simulator {

namespace {

using gpc::Opcode;

constexpr std::uint32_t kLinkBytes = 4; ///< return address and the caller's frame pointer

std::uint32_t operand(const ScriptInstruction& i, std::size_t index) {
    return static_cast<std::uint32_t>(i.operands[index]);
}

void endSection(ScriptState& s, bool inRightSection) {
    if (s.callDepth > 0 || !inRightSection) {
        s.fail("end of a section in the wrong place");
    } else if (s.memory.stackPointer() != s.stackBase) {
        s.fail("the stack is not balanced at the end of the section");
    }
    s.sectionEnded = true;
}

void endInit(ScriptState& s, const ScriptInstruction& i) {
    // A script without storage may begin with a call: then the first reservation was that call's frame.
    if (s.memory.stackPointer() == kScriptMemoryBytes) {
        s.stackBase = kScriptMemoryBytes;
    }
    endSection(s, s.mainAddress == 0);
    s.mainAddress = i.next;
}

void endMain(ScriptState& s, const ScriptInstruction&) {
    endSection(s, s.mainAddress != 0);
}

void reserve(ScriptState& s, const ScriptInstruction& i) {
    s.memory.addBulkWork(operand(i, 0));
    s.memory.reserve(operand(i, 0));
}

void jump(ScriptState& s, const ScriptInstruction& i) {
    s.jump(operand(i, 0));
}

void jumpIfFalse(ScriptState& s, const ScriptInstruction& i) {
    if (s.pop() == 0) {
        s.jump(operand(i, 0));
    }
}

void jumpIfTrue(ScriptState& s, const ScriptInstruction& i) {
    if (s.pop() != 0) {
        s.jump(operand(i, 0));
    }
}

void andJump(ScriptState& s, const ScriptInstruction& i) {
    if (s.pop() == 0) {
        s.push(false);
        s.jump(operand(i, 0));
    }
}

void orJump(ScriptState& s, const ScriptInstruction& i) {
    if (s.pop() != 0) {
        s.push(true);
        s.jump(operand(i, 0));
    }
}

void jumpIfCase(ScriptState& s, const ScriptInstruction& i) {
    const std::uint32_t selector = s.pop();
    if (selector == operand(i, 0)) {
        s.jump(operand(i, 1));
    } else {
        s.push(selector);
    }
}

void tableSwitch(ScriptState& s, const ScriptInstruction& i) {
    const std::uint32_t index = s.pop();
    s.jump(index <= operand(i, 1) ? s.memory.read(operand(i, 0) + 2 * index, 2) : operand(i, 2));
}

void call(ScriptState& s, const ScriptInstruction& i) {
    const std::uint32_t frame = s.memory.stackPointer() + operand(i, 1);
    s.memory.write(frame, 2, i.next);
    s.memory.write(frame + 2, 2, s.framePointer);
    s.framePointer = frame;
    ++s.callDepth;
    s.jump(operand(i, 0));
}

void doReturn(ScriptState& s, const ScriptInstruction&) {
    if (s.callDepth == 0) {
        s.fail("return outside a function");
        return;
    }
    const std::uint32_t frame = s.framePointer;
    const std::uint32_t target = s.memory.read(frame, 2);
    s.framePointer = s.memory.read(frame + 2, 2);
    s.memory.unwind(frame + kLinkBytes);
    --s.callDepth;
    s.jump(target);
}

void returnValue(ScriptState& s, const ScriptInstruction& i) {
    const std::uint32_t value = s.pop();
    doReturn(s, i);
    s.push(value);
}

void drop(ScriptState& s, const ScriptInstruction&) {
    s.pop();
}

void duplicate(ScriptState& s, const ScriptInstruction&) {
    const std::uint32_t value = s.pop();
    s.push(value);
    s.push(value);
}

constexpr std::array kRows{
    ScriptHandlerRow{Opcode::EndMain, endMain},
    ScriptHandlerRow{Opcode::EndInit, endInit},
    ScriptHandlerRow{Opcode::Reserve, reserve},
    ScriptHandlerRow{Opcode::JumpIfCase, jumpIfCase},
    ScriptHandlerRow{Opcode::Drop, drop},
    ScriptHandlerRow{Opcode::Duplicate, duplicate},
    ScriptHandlerRow{Opcode::Jump, jump},
    ScriptHandlerRow{Opcode::AndJump, andJump},
    ScriptHandlerRow{Opcode::OrJump, orJump},
    ScriptHandlerRow{Opcode::JumpIfFalse, jumpIfFalse},
    ScriptHandlerRow{Opcode::JumpIfTrue, jumpIfTrue},
    ScriptHandlerRow{Opcode::TableSwitch, tableSwitch},
    ScriptHandlerRow{Opcode::Call, call},
    ScriptHandlerRow{Opcode::Return, doReturn},
    ScriptHandlerRow{Opcode::ReturnValue, returnValue},
};

} // namespace

std::span<const ScriptHandlerRow> controlHandlers() {
    return kRows;
}

} // namespace Vantor::simulator
