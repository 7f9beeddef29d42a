// The words that mean something by themselves. Their NameIds are their places in kWords; the builtins and the
// named constants follow them in the order of their tables. Constant data; any thread.
#pragma once

#include "gpc/builtins.h"
#include "gpc/token_stream.h"
#include "gpc/types.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace Vantor::gpc {

enum class Word : std::uint32_t {
    Void = kTypeNames.size(), ///< the type names come first, in the order of kTypeNames
    Const,
    Static,
    Data,
    Init,
    Main,
    Combo,
    If,
    Else,
    While,
    Do,
    For,
    Switch,
    Case,
    Default,
    Break,
    Continue,
    Goto,
    Return,
    Wait,
    Call,
    ComboRun, ///< the four controls stand together, in the order of their opcodes
    ComboRestart,
    ComboPause,
    ComboStop,
    Count
};

inline constexpr std::array kWords = std::to_array<std::string_view>(
    {"bool",   "uint8",  "char",  "int8",      "uint16",        "int",         "int16",
     "uint32", "int32",  "fix32", "void",      "const",         "static",      "data",
     "init",   "main",   "combo", "if",        "else",          "while",       "do",
     "for",    "switch", "case",  "default",   "break",         "continue",    "goto",
     "return", "wait",   "call",  "combo_run", "combo_restart", "combo_pause", "combo_stop"});
static_assert(kWords.size() == static_cast<std::size_t>(Word::Count));
static_assert(kWords[static_cast<std::size_t>(Word::Void)] == "void");
static_assert(kWords[static_cast<std::size_t>(Word::Return)] == "return");
static_assert(kWords[0] == kTypeNames[0].name && kWords[9] == kTypeNames[9].name);

inline constexpr NameId kFirstBuiltinName = kWords.size();

constexpr NameId nameOf(Word word) {
    return static_cast<NameId>(word);
}

/// The scalar type that a name stands for.
constexpr std::optional<Type> typeOfName(NameId name) {
    if (name >= kTypeNames.size())
        return std::nullopt;
    return Type{kTypeNames[name].code};
}

/// Builtin, or nullptr. The user's own symbols win over these; ask for them first.
inline const Builtin* builtinOfName(NameId name) {
    const std::uint32_t row = name - kFirstBuiltinName;
    return row < builtins().size() ? &builtins()[row] : nullptr;
}

inline const NamedConstant* constantOfName(NameId name) {
    const std::uint32_t row = name - kFirstBuiltinName - static_cast<std::uint32_t>(builtins().size());
    return row < namedConstants().size() ? &namedConstants()[row] : nullptr;
}

} // namespace Vantor::gpc
