// Reads the case files described in cases/README.md. Entry point: readCases().

#pragma once

#include <optional>
#include <string>
#include <vector>

namespace Vantor::gpc {

struct ExpectedDiagnostic {
    std::string file; ///< as in Diagnostic::file
    unsigned long line = 0;
    unsigned long column = 0;
    std::string message;
};

struct Case {
    std::string title;
    std::string path;       ///< of the case file, which the source claims to come from
    unsigned firstLine = 0; ///< of the source in the case file
    std::string source;
    bool expectsOk = false;
    std::vector<ExpectedDiagnostic> diagnostics;
    std::optional<std::vector<std::string>> listing;
    std::optional<std::vector<std::string>> text;
};

/// All cases of all files, in the order of the file names. A malformed file leaves a case without
/// expectations, which the runner reports.
std::vector<Case> readCases();

/// Without blanks at both ends; runs of blanks inside become one when `squeeze` is set.
std::string tidied(const std::string& line, bool squeeze);

std::vector<std::string> splitLines(const std::string& text);

} // namespace Vantor::gpc
