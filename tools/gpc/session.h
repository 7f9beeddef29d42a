// What all commands share: the input, the report in either form, and the way from a source to bytecode.

#pragma once

#include "files.h"
#include "gpc/diagnostic.h"
#include "gpc/preprocessor.h"
#include "options.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Vantor::gpctool {

/// One byte more than the toolchain takes, so that it notices.
inline constexpr std::size_t kSourceReadLimit = gpc::kMaxSourceBytes + 1;
/// A GBC file addresses 64 KB; more is malformed and need not be read.
inline constexpr std::size_t kBytecodeReadLimit = (64u << 10) + 1;
inline constexpr std::size_t kSlotBytes = 8192;

class Session {
public:
    explicit Session(const Options& commandOptions);

    /// Fills `input`; otherwise the command ends with finish(kExitUsage).
    bool read(std::size_t limit);
    /// Writes to `path`; the same.
    bool write(const std::string& path, std::string_view content);
    /// Compiles `input`, and refuses what no memory slot takes. False: diagnostics are reported.
    bool compile(std::vector<std::uint8_t>& bytecode);

    void fail(const std::string& message); ///< an error without a place
    void report(const std::vector<gpc::Diagnostic>& diagnostics);
    /// Prints what is left to print and returns the exit code to end with.
    int finish(int exitCode);

    /// As the library wants it: empty for standard input.
    std::string sourcePath() const;
    /// Standard input has no folder of its own; its includes are looked up from the working directory.
    std::vector<std::string> includeDirectories() const;

    const Options& options;
    InputBytes input;
    nlohmann::ordered_json document; ///< printed with Options::json only

private:
    std::string errorText; ///< gathered, so that it comes after what the command prints
};

} // namespace Vantor::gpctool
