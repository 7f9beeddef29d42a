// What names stand for: variables, functions, combos, and which of them a name means at the current place.
// A name is looked up by its NameId, so that every look-up is an array access. One compilation, one thread.
#pragma once

#include "gpc/emitter.h"
#include "gpc/token_stream.h"
#include "gpc/types.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace Vantor::gpc {

inline constexpr std::uint32_t kNoIndex = 0xFFFFFFFF;

enum class StorageClass : std::uint8_t {
    Global,
    ConstData, ///< const global or const local: lives in the data image
    MainLocal, ///< of `init` too
    ComboLocal,
    StaticLocal,
    Parameter,
    FunctionLocal,
    ComboState
};

struct Variable {
    NameId name = 0;
    Type type;
    bool array = false;
    StorageClass storage = StorageClass::Global;
    std::uint32_t count = 1;   ///< elements; 0 for an array whose length nobody could tell
    std::uint16_t address = 0; ///< negated counter value, or the offset in the file for const data

    constexpr bool readOnly() const { return storage == StorageClass::ConstData; }
    /// Frame variables, and const data (which sets the second storage-kind flag), are written plainly.
    constexpr bool plainOperand() const {
        return readOnly() || storage == StorageClass::Parameter || storage == StorageClass::FunctionLocal;
    }
    constexpr std::uint64_t byteSize() const { return std::uint64_t{count} * type.width(); }
};

/// The stack begins at 0x2400: a biased address is the variable's place in memory.
inline constexpr std::uint32_t kStorageBias = 0x2400;

/// The two-byte operand that names the variable in the bytecode.
constexpr std::uint16_t variableOperand(const Variable& variable) {
    const std::uint32_t bias = variable.plainOperand() ? 0 : kStorageBias;
    return static_cast<std::uint16_t>(variable.address + bias);
}

struct Function {
    NameId name = 0;
    std::uint32_t token = 0; ///< its name where it is first declared
    Type result = kVoidType;
    std::vector<std::uint32_t> parameters; ///< indices of Variables
    std::uint32_t frameSize = 0;           ///< parameters and locals
    bool compiled = false;
    std::uint32_t address = 0;
    FixupList calls; ///< waiting for the address
};

struct Combo {
    NameId name = 0;
    std::uint32_t token = 0;        ///< its name in its definition
    std::uint32_t state = kNoIndex; ///< Variable
    std::uint32_t waitTable = 0;    ///< offset in the file
    std::uint32_t scannedWaits = 0; ///< entries that the scan counted
    std::uint32_t filledWaits = 0;
    FixupList end;
};

/// One declared local, in the order of the source; the passes check what they read against it.
struct LocalDeclaration {
    std::uint32_t nameToken = 0;
    std::uint32_t variable = kNoIndex;
    std::uint32_t endToken = 0;     ///< the ',' or ';' behind the declarator
    std::uint32_t imageAddress = 0; ///< of an array's initial values
    bool complete = false;          ///< length and initial values, if any, are known
    std::uint32_t valueHash = 0;    ///< of the encoded initial values
};

/// Which variable, function and combo each name means now. Variables are scoped, the others are not.
class SymbolTable {
public:
    explicit SymbolTable(std::size_t nameCount) : entries(nameCount) {}

    std::uint32_t variable(NameId name) const { return entries[name].variable; }
    std::uint32_t function(NameId name) const { return entries[name].function; }
    std::uint32_t combo(NameId name) const { return entries[name].combo; }
    void setFunction(NameId name, std::uint32_t index) { entries[name].function = index; }
    void setCombo(NameId name, std::uint32_t index) { entries[name].combo = index; }

    /// Opens a scope; the returned mark closes it.
    std::size_t openScope();
    void closeScope(std::size_t mark);
    /// Whether the innermost scope has a variable of that name.
    bool boundHere(NameId name) const {
        return entries[name].depth == depth && entries[name].variable != kNoIndex;
    }
    void bind(NameId name, std::uint32_t variableIndex);

private:
    struct Entry {
        std::uint32_t variable = kNoIndex;
        std::uint32_t depth = 0; ///< scope that bound the variable
        std::uint32_t function = kNoIndex;
        std::uint32_t combo = kNoIndex;
    };
    struct Shadowed {
        NameId name;
        std::uint32_t variable;
        std::uint32_t depth;
    };
    std::vector<Entry> entries;
    std::vector<Shadowed> shadowed;
    std::uint32_t depth = 0; ///< 0 is the file
};

} // namespace Vantor::gpc
