// The builtin functions and constants of the language. Entry points: findBuiltin(), findConstant(); the
// compiler numbers the tables' rows as names. Constant data; any thread.
#pragma once

#include "gpc/opcodes.h"
#include "gpc/types.h"

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace Vantor::gpc {

enum class ArgumentKind : std::uint8_t {
    None,
    Integer,    ///< any integer expression
    Fixed,      ///< fix32; an integer constant is taken as one
    SameClass,  ///< integer or fix32, the same for all of the call; decides the result's type
    Designator, ///< integer; a builtin constant must carry the builtin's prefix
    Pointer,    ///< any pointer, array or &variable
    String,     ///< pointer to 8-bit characters, or a string
    Value,      ///< integer or fix32; its type goes behind the opcode
    Target,     ///< pointer; the type it points to goes behind the opcode
    Format,     ///< a string written in place, then the arguments that it asks for
};

/// What a missing ';' behind the call is called, and how its opcode is written.
enum class BuiltinFamily : std::uint8_t { Plain, Output, Math, Mapping, Remapper, String, Memory };

struct Builtin {
    std::string_view name;
    Opcode opcode{};
    std::array<ArgumentKind, 5> arguments{}; ///< None behind the last
    Type result = kVoidType;                 ///< for SameClass arguments: only whether there is one
    BuiltinFamily family = BuiltinFamily::Plain;
    OpcodeOrigin origin = OpcodeOrigin::Ours; ///< of name, opcode and argument count; kinds are always ours
    Opcode unsignedOpcode = opcode;           ///< for SameClass arguments of which one is uint32
    std::string_view prefix = {};             ///< of Designator arguments

    constexpr std::size_t argumentCount() const {
        std::size_t count = 0;
        while (count < arguments.size() && arguments[count] != ArgumentKind::None)
            ++count;
        return count;
    }
};

struct NamedConstant {
    std::string_view name;
    std::int32_t value = 0;
};

/// Inputs and outputs of the controller: buttons from 0, then the axes from kFirstAxisIndex in table order.
inline constexpr std::int32_t kButtonCount = 21;
inline constexpr std::int32_t kFirstAxisIndex = kButtonCount;
inline constexpr std::int32_t kAxisCount = 21;
inline constexpr std::int32_t kControlCount = kButtonCount + kAxisCount;

std::span<const Builtin> builtins();
std::span<const NamedConstant> namedConstants();

/// By exact name; nullptr when there is none.
const Builtin* findBuiltin(std::string_view name);
const NamedConstant* findConstant(std::string_view name);

} // namespace Vantor::gpc
