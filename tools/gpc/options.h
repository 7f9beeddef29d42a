// What the command line asked for, and the exit codes. Filled by main.cpp, read by the commands.

#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Vantor::gpctool {

inline constexpr int kExitFine = 0;
inline constexpr int kExitFaulty = 1; ///< a diagnostic, a malformed file, or a script that had to be stopped
inline constexpr int kExitUsage = 2;  ///< a wrong command line, or a file that cannot be read or written

struct Options {
    std::string command;
    std::string input;  ///< a path, or "-" for standard input
    std::string output; ///< a path, "-" for standard output, or empty for the command's default
    std::vector<std::string> includeDirectories;
    std::uint32_t stamp = 0;
    std::string format = "text";
    bool json = false; ///< follows from `format`
    std::uint64_t ticks = 100;
    bool trace = false;
};

} // namespace Vantor::gpctool
