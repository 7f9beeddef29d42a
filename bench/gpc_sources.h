// The sources that the compiler is measured with: the same work in the language of scripts, in C and in Lua,
// so that compilers can be compared on it. Deterministic.
#pragma once

#include <cstddef>
#include <string>

namespace Vantor::bench {

enum class Language { Script, C, Lua };

/// A program whose bytecode fills most of a memory slot: arithmetic, conditions, loops, calls, tables.
std::string fullSlotProgram(Language language);

/// The same with `units` functions, each with one call; about 135 bytes of bytecode each.
std::string unitsProgram(Language language, std::size_t units);

/// About `bytes` of comments, macros and code. Beyond what fits a memory slot the code is one sum of
/// constants, which every compiler reads and expands but which costs no bytecode.
std::string longProgram(Language language, std::size_t bytes);
inline std::string longScript(std::size_t bytes) {
    return longProgram(Language::Script, bytes);
}

} // namespace Vantor::bench
