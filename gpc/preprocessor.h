// Directives, macros, includes and imports: turns what the user wrote into the one text that the lexer reads.
// Entry point: preprocess(). The text is expanded but not parsed: tokens are none of its business.
// No state between calls. Reads files (includes, imports) on the caller's thread.

#pragma once

#include "gpc/diagnostic.h"
#include "gpc/line_map.h"

#include <cstddef>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

namespace Vantor::gpc {

/// The largest single file, the main source included, that is read at all.
inline constexpr std::size_t kMaxSourceBytes = 8u << 20;
/// How much longer than the main source the preprocessed text may become through macros and includes, unless
/// the caller allows less.
inline constexpr std::size_t kMaxGrowthBytes = 8u << 20;

struct PreprocessOptions {
    std::string sourcePath;                      ///< UTF-8; empty when the source has no file
    std::vector<std::string> includeDirectories; ///< UTF-8, searched in this order
    std::time_t startTime = 0;                   ///< what __DATE__ and __TIME__ show; 0 means now
    /// How much longer than the source the text may become; what expansions may handle on the way shrinks
    /// with it.
    std::size_t growthLimitBytes = kMaxGrowthBytes;
};

struct PreprocessResult {
    std::string text;                    ///< empty when there are diagnostics
    LineMap lines;                       ///< where each byte of `text` came from
    std::vector<Diagnostic> diagnostics; ///< at most one: the first fault ends the work
};

/// The text has every line that is kept, expanded and without its comments. `source` must outlive the
/// result's `lines`.
PreprocessResult preprocess(std::string_view source, const PreprocessOptions& options);

} // namespace Vantor::gpc
