// The growing bytes of one file: instructions, operands, and jumps whose targets come later. Used by every
// code generator of one compilation; not shared between threads.
// Failure is sticky: an operand that does not fit 16 bits sets addressOverflow() and every later call stays
// harmless; the statement compiler turns it into a diagnostic. Positions are offsets from the file's start.
#pragma once

#include "gpc/opcodes.h"

#include <cstdint>
#include <span>
#include <vector>

namespace Vantor::gpc {

/// Places in the code that wait for one address. Owned by whoever defines that address; the links are kept
/// by the Emitter that made them.
struct FixupList {
    static constexpr std::uint32_t kEmpty = 0xFFFFFFFF;
    std::uint32_t head = kEmpty;
};

class Emitter {
public:
    std::uint32_t here() const { return static_cast<std::uint32_t>(code.size()); }
    /// Cuts back to an earlier length. Nothing behind it may stand on a FixupList.
    void truncate(std::uint32_t length) { code.resize(length); }

    void emitByte(std::uint8_t byte) { code.push_back(byte); }
    void emitU16(std::uint32_t value);
    void emitU32(std::uint32_t value);
    void emitBytes(std::span<const std::uint8_t> bytes) {
        code.insert(code.end(), bytes.begin(), bytes.end());
    }
    void emit(Opcode opcode) { emitByte(static_cast<std::uint8_t>(opcode)); }
    /// Opcode and a two-byte operand: an address, a size, a variable operand.
    void emit(Opcode opcode, std::uint32_t operand);

    /// Opcode and a placeholder; returns the placeholder's position for patchU16.
    std::uint32_t emitJump(Opcode opcode);
    /// Opcode and a placeholder that `target` will fill.
    void emitJump(Opcode opcode, FixupList& target);
    /// A placeholder alone.
    void emitFixup(FixupList& target);
    /// Makes two bytes that are already there a placeholder.
    void addFixup(std::uint32_t position, FixupList& target);

    void patchU16(std::uint32_t position, std::uint32_t value);
    void patchU32(std::uint32_t position, std::uint32_t value);
    /// Fills every place on the list and empties it.
    void patch(FixupList& list, std::uint32_t address);
    void patchHere(std::uint32_t position) { patchU16(position, here()); }
    void patchHere(FixupList& list) { patch(list, here()); }

    /// The shortest push of a signed 32-bit constant, given as its bits.
    void emitConstant(std::uint32_t bits);
    /// A push whose constant stands in 4 bytes, to be patched; returns the position of those bytes.
    std::uint32_t emitWideConstant(std::uint32_t bits);

    bool addressOverflow() const { return overflow; }
    std::vector<std::uint8_t>& bytes() { return code; }

private:
    struct Link {
        std::uint32_t position;
        std::uint32_t next;
    };
    std::vector<std::uint8_t> code;
    std::vector<Link> links;
    bool overflow = false;
};

} // namespace Vantor::gpc
