// Turns one script into the bytes of one GBC file, or into the first diagnostic. Entry point: compile().
// Keeps nothing between calls, touches no device; reads files only for includes and imports. Any thread.
#pragma once

#include "gpc/diagnostic.h"
#include "gpc/preprocessor.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Vantor::gpc {

struct CompileOptions {
    std::uint32_t buildStamp = 0;                ///< written into the header; 0 means seconds since 1970, now
    std::string sourcePath;                      ///< UTF-8; empty when the source has no file
    std::vector<std::string> includeDirectories; ///< UTF-8, searched in this order
    std::size_t growthLimitBytes = kMaxGrowthBytes; ///< see PreprocessOptions
};

/// Never both: `bytecode` is empty when there are diagnostics.
struct CompileResult {
    std::vector<std::uint8_t> bytecode;
    std::vector<Diagnostic> diagnostics; ///< at most one: the first error ends the compilation
};

/// The file may be longer than a memory slot (8192 bytes); who transfers it checks that.
CompileResult compile(std::string_view source, const CompileOptions& options);

} // namespace Vantor::gpc
