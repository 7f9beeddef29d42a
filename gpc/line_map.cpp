// Segments are kept in text order as they come; a later one at the same offset replaces the earlier, empty
// one.

#include "gpc/line_map.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Vantor::gpc {

namespace {

/// The last entry that begins at or before `offset`; the first entry when there is none.
template<typename Entries>
auto entryAt(const Entries& entries, std::uint64_t offset) {
    auto behind =
        std::upper_bound(entries.begin(), entries.end(), offset,
                         [](std::uint64_t wanted, const auto& entry) { return wanted < entry.offset; });
    return behind == entries.begin() ? behind : std::prev(behind);
}

/// Moves the place over text that follows it.
void pass(SourcePlace& place, std::string_view passed) {
    const std::size_t lastFeed = passed.rfind('\n');
    if (lastFeed == std::string_view::npos) {
        place.column += passed.size();
        return;
    }
    place.line += static_cast<std::uint64_t>(std::count(passed.begin(), passed.end(), '\n'));
    place.column = passed.size() - lastFeed;
}

} // namespace

std::uint32_t LineMap::addFile(std::string path, std::string_view text) {
    files.push_back({std::move(path), {}, text});
    return static_cast<std::uint32_t>(files.size() - 1);
}

std::uint32_t LineMap::addOwnedFile(std::string path, std::string text) {
    File& file = files.emplace_back(File{std::move(path), std::move(text), {}});
    file.text = file.own;
    return static_cast<std::uint32_t>(files.size() - 1);
}

void LineMap::beginFile(std::size_t offset, std::uint32_t file) {
    if (!spans.empty() && spans.back().offset == offset)
        spans.pop_back();
    spans.push_back({static_cast<std::uint32_t>(offset), file});
}

SourcePlace LineMap::locate(FileOffset place) const {
    SourcePlace result;
    result.file = files[place.file].path;
    pass(result, files[place.file].text.substr(0, place.offset));
    return result;
}

SourcePlace LineMap::locate(std::string_view text, std::uint64_t offset) const {
    if (spans.empty())
        return {};
    const std::uint32_t file = entryAt(spans, offset)->file;
    if (segments.empty())
        return locate(FileOffset{file, 0});
    const Segment& segment = *entryAt(segments, offset);
    SourcePlace place = locate(FileOffset{file, segment.source});
    if (!segment.made && offset > segment.offset)
        pass(place, text.substr(segment.offset, offset - segment.offset));
    return place;
}

} // namespace Vantor::gpc
