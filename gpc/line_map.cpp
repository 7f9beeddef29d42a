// Segments are kept in text order as they come; a later one at the same offset replaces the earlier, empty
// one.

#include "gpc/line_map.h"

#include <algorithm>
#include <iterator>

namespace Vantor::gpc {

namespace {

constexpr std::uint64_t kMaxColumn = (1u << 31) - 1;

/// The last entry that begins at or before `offset`; the first entry when there is none.
template<typename Entries>
auto entryAt(const Entries& entries, std::uint64_t offset) {
    auto behind =
        std::upper_bound(entries.begin(), entries.end(), offset,
                         [](std::uint64_t wanted, const auto& entry) { return wanted < entry.offset; });
    return behind == entries.begin() ? behind : std::prev(behind);
}

} // namespace

void LineMap::beginFile(std::size_t offset, std::string_view path) {
    std::size_t known = 0;
    // The file that includes comes back behind every include: the last few paths are nearly always the
    // answer.
    for (known = paths.size(); known > 0 && paths[known - 1] != path; --known) {
    }
    if (known == 0) {
        paths.emplace_back(path);
        known = paths.size();
    }
    if (!files.empty() && files.back().offset == offset)
        files.pop_back();
    files.push_back({static_cast<std::uint32_t>(offset), static_cast<std::uint32_t>(known - 1)});
}

void LineMap::beginCopy(std::size_t offset, std::uint64_t line, std::uint64_t column) {
    add(offset, line, column, false);
}

void LineMap::beginMade(std::size_t offset, std::uint64_t line, std::uint64_t column) {
    add(offset, line, column, true);
}

void LineMap::add(std::size_t offset, std::uint64_t line, std::uint64_t column, bool made) {
    if (!segments.empty() && segments.back().offset == offset)
        segments.pop_back();
    segments.push_back({static_cast<std::uint32_t>(offset), static_cast<std::uint32_t>(line),
                        static_cast<std::uint32_t>(std::min(column, kMaxColumn)) & 0x7FFFFFFFu,
                        made ? 1u : 0u});
}

SourcePlace LineMap::locate(std::string_view text, std::uint64_t offset) const {
    SourcePlace place;
    if (!files.empty())
        place.file = paths[entryAt(files, offset)->path];
    if (segments.empty())
        return place;
    const Segment& segment = *entryAt(segments, offset);
    place.line = segment.line;
    place.column = segment.column;
    if (segment.made || offset <= segment.offset)
        return place;
    const std::string_view passed = text.substr(segment.offset, offset - segment.offset);
    const std::size_t lastFeed = passed.rfind('\n');
    if (lastFeed == std::string_view::npos) {
        place.column += passed.size();
    } else {
        place.line += static_cast<std::uint64_t>(std::count(passed.begin(), passed.end(), '\n'));
        place.column = passed.size() - lastFeed;
    }
    return place;
}

} // namespace Vantor::gpc
