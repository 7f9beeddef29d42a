// Whether a diagnostic points at a place that the user's source has.

#pragma once

#include "fuzz/target.h"
#include "gpc/diagnostic.h"

namespace Vantor::fuzz {

/// Of a source without a file. Lines and columns count from 1; the place right behind a line's end is one,
/// too.
inline void checkPlace(std::string_view source, std::uint64_t line, std::uint64_t column) {
    check(line >= 1 && column >= 1, "lines and columns count from 1");
    for (; line > 1; --line) {
        const std::size_t end = source.find('\n');
        check(end != std::string_view::npos, "the line is one of the source's");
        source.remove_prefix(end + 1);
    }
    check(column <= source.substr(0, source.find('\n')).size() + 1, "the column is one of its line's");
}

inline void checkDiagnostic(std::string_view source, const gpc::Diagnostic& diagnostic) {
    check(!diagnostic.message.empty(), "a diagnostic says something");
    check(diagnostic.file.empty(), "a source without a path has its faults in no file");
    checkPlace(source, diagnostic.line, diagnostic.column);
}

} // namespace Vantor::fuzz
