// From an offset in the preprocessed text back to the file, line and column where the user wrote it.
// The preprocessor builds it in text order; locate() is meant for diagnostics: a binary search and one scan
// of the piece that is found. Reading is safe from any thread once it is built.

#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace Vantor::gpc {

struct SourcePlace {
    std::string_view file; ///< owned by the map; empty when the source came without a path
    std::uint64_t line = 1;
    std::uint64_t column = 1; ///< in bytes, from 1
};

class LineMap {
public:
    /// From `offset` on the text belongs to the file `path`.
    void beginFile(std::size_t offset, std::string_view path);
    /// From `offset` on the text is an unchanged copy of the file from `line`, `column` on.
    void beginCopy(std::size_t offset, std::uint64_t line, std::uint64_t column);
    /// From `offset` on the text was made (by a macro, by an import); all of it belongs to `line`, `column`.
    void beginMade(std::size_t offset, std::uint64_t line, std::uint64_t column);

    /// `text`: the whole preprocessed text that this map was built for; `offset` may be its size.
    SourcePlace locate(std::string_view text, std::uint64_t offset) const;

private:
    struct FileSpan {
        std::uint32_t offset;
        std::uint32_t path;
    };
    /// 12 bytes, since a source of nothing but macro names has two of them per name.
    struct Segment {
        std::uint32_t offset;
        std::uint32_t line;
        std::uint32_t column : 31;
        std::uint32_t made : 1;
    };
    void add(std::size_t offset, std::uint64_t line, std::uint64_t column, bool made);

    std::vector<std::string> paths;
    std::vector<FileSpan> files;
    std::deque<Segment> segments; ///< sorted by offset; a deque grows without ever copying itself
};

} // namespace Vantor::gpc
