// Diagnostics for people: "PATH:LINE:COLUMN: error: MESSAGE", then the line of the source with a caret below
// it.

#pragma once

#include "gpc/diagnostic.h"

#include <string>
#include <string_view>

namespace Vantor::gpctool {

/// `source`: the main source, used for diagnostics in `mainPath`; other files are read again.
std::string diagnosticText(const gpc::Diagnostic& diagnostic, const std::string& mainPath,
                           std::string_view source);

/// Without bytes that would make a terminal do something.
std::string printable(std::string_view text);

/// The name that messages use for an input.
std::string shownPath(const std::string& path);

} // namespace Vantor::gpctool
