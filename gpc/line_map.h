// From an offset in the preprocessed text back to the file, line and column where the user wrote it.
// The preprocessor builds it in text order and notes offsets only; lines are counted when somebody asks,
// which is once at most, for a diagnostic. Reading is safe from any thread once it is built.

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

/// A byte of a file, by its place among the files of the map.
struct FileOffset {
    std::uint32_t file = 0;
    std::uint32_t offset = 0;
};

class LineMap {
public:
    LineMap() = default;
    LineMap(LineMap&&) = default;
    LineMap& operator=(LineMap&&) = default;

    /// A file whose text somebody else owns and keeps for as long as the map is asked.
    std::uint32_t addFile(std::string path, std::string_view text);
    /// A file whose text the map keeps.
    std::uint32_t addOwnedFile(std::string path, std::string text);
    std::string_view textOf(std::uint32_t file) const { return files[file].text; }
    const std::string& pathOf(std::uint32_t file) const { return files[file].path; }

    /// From `offset` of the preprocessed text on it belongs to `file`.
    void beginFile(std::size_t offset, std::uint32_t file);
    /// From `offset` on the text is a copy of the file from `source` on; only what ends a line may lack in
    /// it.
    void beginCopy(std::size_t offset, std::size_t source) { add(offset, source, false); }
    /// From `offset` on the text was made (by a macro, by an import); all of it belongs to the byte `source`.
    void beginMade(std::size_t offset, std::size_t source) { add(offset, source, true); }

    /// `text`: the whole preprocessed text that this map was built for; `offset` may be its size.
    SourcePlace locate(std::string_view text, std::uint64_t offset) const;
    SourcePlace locate(FileOffset place) const;

private:
    struct File {
        std::string path;
        std::string own;
        std::string_view text;
    };
    struct FileSpan {
        std::uint32_t offset;
        std::uint32_t file;
    };
    /// 8 bytes, since a source of nothing but macro names has two of them per name.
    struct Segment {
        std::uint32_t offset;
        std::uint32_t source : 31;
        std::uint32_t made : 1;
    };
    void add(std::size_t offset, std::size_t source, bool made) {
        if (!segments.empty() && segments.back().offset == offset)
            segments.pop_back();
        segments.push_back({static_cast<std::uint32_t>(offset),
                            static_cast<std::uint32_t>(source) & 0x7FFFFFFFu, made ? 1u : 0u});
    }

    std::deque<File> files; ///< in the order in which they were opened; a deque keeps them where they are
    std::vector<FileSpan> spans;
    std::deque<Segment> segments; ///< sorted by offset; a deque grows without ever copying itself
};

} // namespace Vantor::gpc
