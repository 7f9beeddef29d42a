// What the toolchain says about a faulty source. Every diagnostic is an error; there are no warnings.

#pragma once

#include <cstdint>
#include <string>

namespace Vantor::gpc {

/// One error, at the place where the user wrote what caused it.
struct Diagnostic {
    std::uint64_t position = 0; ///< byte offset in the preprocessed text; 0 when preprocessing itself failed
    std::uint64_t line = 0;     ///< in `file`, from 1
    std::uint64_t column = 0;   ///< in bytes, from 1
    std::string message;
    std::string file =
        {}; ///< path of the file that `line` counts in; empty when the source came without a path
};

} // namespace Vantor::gpc
