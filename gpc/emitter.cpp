// Bytes and back-patching. patchU16 and emitU16 are the only places that write an address.

#include "gpc/emitter.h"

namespace Vantor::gpc {

namespace {

constexpr std::uint32_t kMaxAddress = 0xFFFF;

constexpr std::uint8_t byteOf(std::uint32_t value, unsigned shift) {
    return static_cast<std::uint8_t>(value >> shift);
}

} // namespace

void Emitter::emitU16(std::uint32_t value) {
    overflow |= value > kMaxAddress;
    code.push_back(byteOf(value, 8));
    code.push_back(byteOf(value, 0));
}

void Emitter::emitU32(std::uint32_t value) {
    for (const unsigned shift : {24U, 16U, 8U, 0U})
        code.push_back(byteOf(value, shift));
}

void Emitter::emit(Opcode opcode, std::uint32_t operand) {
    emit(opcode);
    emitU16(operand);
}

std::uint32_t Emitter::emitJump(Opcode opcode) {
    emit(opcode, 0);
    return here() - 2;
}

void Emitter::emitJump(Opcode opcode, FixupList& target) {
    emit(opcode);
    emitFixup(target);
}

void Emitter::emitFixup(FixupList& target) {
    addFixup(here(), target);
    emitU16(0);
}

void Emitter::addFixup(std::uint32_t position, FixupList& target) {
    links.push_back({position, target.head});
    target.head = static_cast<std::uint32_t>(links.size() - 1);
}

void Emitter::patchU16(std::uint32_t position, std::uint32_t value) {
    overflow |= value > kMaxAddress;
    code[position] = byteOf(value, 8);
    code[position + 1] = byteOf(value, 0);
}

void Emitter::patchU32(std::uint32_t position, std::uint32_t value) {
    patchU16(position, value >> 16);
    patchU16(position + 2, value & 0xFFFF);
}

void Emitter::patch(FixupList& list, std::uint32_t address) {
    for (std::uint32_t link = list.head; link != FixupList::kEmpty; link = links[link].next)
        patchU16(links[link].position, address);
    list.head = FixupList::kEmpty;
}

void Emitter::emitConstant(std::uint32_t bits) {
    const auto value = static_cast<std::int32_t>(bits);
    if (value >= 0 && value <= 0xFF) {
        emit(Opcode::PushU8);
        emitByte(byteOf(bits, 0));
    } else if (value >= -0x80 && value < 0) {
        emit(Opcode::PushS8);
        emitByte(byteOf(bits, 0));
    } else if (value >= 0 && value <= 0xFFFF) {
        emit(Opcode::PushU16, bits);
    } else if (value >= -0x8000 && value < 0) {
        emit(Opcode::PushS16, bits & 0xFFFF);
    } else {
        emitWideConstant(bits);
    }
}

std::uint32_t Emitter::emitWideConstant(std::uint32_t bits) {
    emit(Opcode::Push32);
    emitU32(bits);
    return here() - 4;
}

} // namespace Vantor::gpc
