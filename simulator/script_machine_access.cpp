// Constants, loads and stores, arguments, and the memory builtins that work on addresses.

#include "simulator/script_machine_state.h"

#include <array>

namespace Vantor::simulator {

namespace {

using gpc::Opcode;

std::uint32_t operand(const ScriptInstruction& i, std::size_t index) {
    return static_cast<std::uint32_t>(i.operands[index]);
}

void pushConstant(ScriptState& s, const ScriptInstruction& i) {
    s.push(operand(i, 0));
}

void addressOf(ScriptState& s, const ScriptInstruction& i) {
    s.push(s.variableAddress(i.operands[0]));
}

template<unsigned Width, bool Signed>
std::uint32_t fetch(ScriptState& s, std::uint32_t address) {
    return Signed ? static_cast<std::uint32_t>(s.memory.readSigned(address, Width))
                  : s.memory.read(address, Width);
}

template<unsigned Width, bool Signed>
void load(ScriptState& s, const ScriptInstruction& i) {
    s.push(fetch<Width, Signed>(s, s.variableAddress(i.operands[0])));
}

template<unsigned Width, bool Signed>
void loadThrough(ScriptState& s, const ScriptInstruction&) {
    s.push(fetch<Width, Signed>(s, s.pop()));
}

template<unsigned Width>
void argument(ScriptState& s, const ScriptInstruction& i) {
    const std::uint32_t value = s.pop();
    s.memory.write(s.memory.stackPointer() + operand(i, 0), Width, value);
}

template<unsigned Width>
void store(ScriptState& s, const ScriptInstruction& i) {
    const std::uint32_t value = s.pop();
    s.memory.write(s.variableAddress(i.operands[0]), Width, value);
}

template<unsigned Width, bool Keep>
void storeThrough(ScriptState& s, const ScriptInstruction&) {
    const std::uint32_t value = s.pop();
    const std::uint32_t address = s.pop();
    s.memory.write(address, Width, value);
    if (Keep) {
        s.push(address);
    }
}

template<unsigned Width, std::uint32_t By>
void step(ScriptState& s, const ScriptInstruction& i) {
    const std::uint32_t address = s.variableAddress(i.operands[0]);
    s.memory.write(address, Width, s.memory.read(address, Width) + By);
}

template<std::uint32_t Scale>
void index(ScriptState& s, const ScriptInstruction&) {
    const std::uint32_t element = s.pop();
    s.push((s.pop() + Scale * element) & 0xFFFFU);
}

void copyBlock(ScriptState& s, const ScriptInstruction& i) {
    s.memory.copy(s.variableAddress(i.operands[1]), operand(i, 0), operand(i, 2));
}

void memset(ScriptState& s, const ScriptInstruction&) {
    const std::uint32_t count = s.pop();
    const std::uint32_t value = s.pop();
    s.memory.fill(s.pop(), static_cast<std::uint8_t>(value), count);
}

void memcpy(ScriptState& s, const ScriptInstruction&) {
    const std::uint32_t count = s.pop();
    const std::uint32_t source = s.pop();
    s.memory.copy(s.pop(), source, count);
}

constexpr std::uint32_t kMinusOne = 0xFFFFFFFF;

constexpr std::array kRows{
    ScriptHandlerRow{Opcode::CopyBlock, copyBlock},
    ScriptHandlerRow{Opcode::PushU8, pushConstant},
    ScriptHandlerRow{Opcode::PushS8, pushConstant},
    ScriptHandlerRow{Opcode::PushU16, pushConstant},
    ScriptHandlerRow{Opcode::PushS16, pushConstant},
    ScriptHandlerRow{Opcode::Push32, pushConstant},
    ScriptHandlerRow{Opcode::AddressOf, addressOf},
    ScriptHandlerRow{Opcode::LoadU8, load<1, false>},
    ScriptHandlerRow{Opcode::LoadS8, load<1, true>},
    ScriptHandlerRow{Opcode::LoadU16, load<2, false>},
    ScriptHandlerRow{Opcode::LoadS16, load<2, true>},
    ScriptHandlerRow{Opcode::Load32, load<4, false>},
    ScriptHandlerRow{Opcode::LoadThroughU8, loadThrough<1, false>},
    ScriptHandlerRow{Opcode::LoadThroughS8, loadThrough<1, true>},
    ScriptHandlerRow{Opcode::LoadThroughU16, loadThrough<2, false>},
    ScriptHandlerRow{Opcode::LoadThroughS16, loadThrough<2, true>},
    ScriptHandlerRow{Opcode::LoadThrough32, loadThrough<4, false>},
    ScriptHandlerRow{Opcode::Argument8, argument<1>},
    ScriptHandlerRow{Opcode::Argument16, argument<2>},
    ScriptHandlerRow{Opcode::Argument32, argument<4>},
    ScriptHandlerRow{Opcode::ArgumentPointer, argument<2>},
    ScriptHandlerRow{Opcode::Store8, store<1>},
    ScriptHandlerRow{Opcode::Store16, store<2>},
    ScriptHandlerRow{Opcode::Store32, store<4>},
    ScriptHandlerRow{Opcode::StoreThrough8, storeThrough<1, false>},
    ScriptHandlerRow{Opcode::StoreThrough16, storeThrough<2, false>},
    ScriptHandlerRow{Opcode::StoreThrough32, storeThrough<4, false>},
    ScriptHandlerRow{Opcode::StoreKeep8, storeThrough<1, true>},
    ScriptHandlerRow{Opcode::StoreKeep16, storeThrough<2, true>},
    ScriptHandlerRow{Opcode::StoreKeep32, storeThrough<4, true>},
    ScriptHandlerRow{Opcode::Increment8, step<1, 1>},
    ScriptHandlerRow{Opcode::Increment16, step<2, 1>},
    ScriptHandlerRow{Opcode::Increment32, step<4, 1>},
    ScriptHandlerRow{Opcode::Decrement8, step<1, kMinusOne>},
    ScriptHandlerRow{Opcode::Decrement16, step<2, kMinusOne>},
    ScriptHandlerRow{Opcode::Decrement32, step<4, kMinusOne>},
    ScriptHandlerRow{Opcode::Index1, index<1>},
    ScriptHandlerRow{Opcode::Index2, index<2>},
    ScriptHandlerRow{Opcode::Index4, index<4>},
    ScriptHandlerRow{Opcode::MemSet, memset},
    ScriptHandlerRow{Opcode::MemCpy, memcpy},
};

} // namespace

std::span<const ScriptHandlerRow> memoryHandlers() {
    return kRows;
}

} // namespace Vantor::simulator
