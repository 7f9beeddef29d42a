#include "device/slot_listing.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <vector>

namespace Vantor {

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t kPartPlaceByte = 3;
constexpr std::size_t kPartDataBegin = 4;
constexpr std::size_t kPartDataBytes = 60;
constexpr int kLastSlot = 9;
constexpr std::size_t kHeaderBytes = 3; // slot number, kind, flags
constexpr std::uint8_t kKindTranslator = 0;
constexpr std::uint8_t kKindScript = 1;
constexpr std::size_t kScriptNameBegin = 4; // behind four bytes of no interest

struct TagLetter {
    std::uint8_t flag;
    char letter;
};
constexpr std::array<TagLetter, 4> kTagLetters{{{0x02, 'R'}, {0x04, 'K'}, {0x08, 'M'}, {0x10, 'C'}}};

struct SlotHeader {
    std::size_t offset;
    int slot;
    std::uint8_t kind;
    std::uint8_t flags;
};

// The first header at or behind `begin` of a slot numbered `lowest` to `highest`.
std::optional<SlotHeader> findHeader(Bytes stream, std::size_t begin, int lowest, int highest) {
    for (std::size_t at = begin; at + kHeaderBytes <= stream.size(); ++at) {
        if (stream[at] >= lowest && stream[at] <= highest && stream[at + 1] <= kKindScript)
            return SlotHeader{
                .offset = at, .slot = stream[at], .kind = stream[at + 1], .flags = stream[at + 2]};
    }
    return std::nullopt;
}

QString latin1(Bytes bytes) {
    return QString::fromLatin1(reinterpret_cast<const char*>(bytes.data()),
                               static_cast<qsizetype>(bytes.size()))
        .trimmed();
}

// Reads up to a zero byte or the end and moves `offset` behind it; an offset at the end stays there.
QString readText(Bytes data, std::size_t& offset) {
    if (offset >= data.size())
        return {};
    const Bytes rest = data.subspan(offset);
    const auto end = std::find(rest.begin(), rest.end(), std::uint8_t{0});
    const auto length = static_cast<std::size_t>(end - rest.begin());
    offset += length + (end == rest.end() ? 0 : 1);
    return latin1(rest.first(length));
}

bool isAsciiSpace(QChar c) {
    return c == u' ' || (c >= u'\t' && c <= u'\r');
}

// A tag of capitals in brackets, alone or before a name on the same line. Not a QRegularExpression: that
// keeps a stack for every thread that matches, and where MinGW's run-time library is used, a thread's memory
// is gone before its end comes to release it, so that a worker's end would be a crash.
bool isTagged(QStringView text) {
    if (!text.startsWith(u'['))
        return false;
    const auto* const tagEnd =
        std::find_if_not(text.begin() + 1, text.end(), [](QChar c) { return c >= u'A' && c <= u'Z'; });
    if (tagEnd == text.begin() + 1 || tagEnd == text.end() || *tagEnd != u']')
        return false;
    const auto* const name = std::find_if_not(tagEnd + 1, text.end(), isAsciiSpace);
    const bool isAlone = tagEnd + 1 == text.end();
    return isAlone || (name != tagEnd + 1 && name != text.end() &&
                       std::find(name, text.end(), QChar(u'\n')) == text.end());
}

TitanScriptInfo named(int slot, const QString& name) {
    TitanScriptInfo info;
    info.slot = slot;
    info.name = name.isEmpty() ? QStringLiteral("Occupied slot") : name;
    return info;
}

TitanScriptInfo translatorOnly(int slot, const QString& translator) {
    TitanScriptInfo info;
    info.slot = slot;
    info.inputTranslator = translator;
    return info;
}

QString withTag(QString name, std::uint8_t flags) {
    QString tag;
    for (const TagLetter& each : kTagLetters) {
        if ((flags & each.flag) != 0)
            tag += QLatin1Char(each.letter);
    }
    if (!tag.isEmpty())
        tag = QStringLiteral("[%1]").arg(tag);
    if (name.endsWith(QLatin1String(".git"))) {
        name.chop(4);
        name = name.trimmed();
    }
    if (name.isEmpty())
        return tag;
    return tag.isEmpty() || isTagged(name) ? name : QStringLiteral("%1 %2").arg(tag, name);
}

TitanScriptInfo readTranslator(const SlotHeader& header, Bytes data) {
    std::size_t offset = 0;
    const QString translator = withTag(readText(data, offset), header.flags);
    return translator.isEmpty() ? named(header.slot, {}) : translatorOnly(header.slot, translator);
}

TitanScriptInfo readScript(const SlotHeader& header, Bytes data) {
    if (data.size() < kScriptNameBegin)
        return named(header.slot, {});
    std::size_t offset = kScriptNameBegin;
    QString name = readText(data, offset);
    if (name.startsWith(QLatin1Char('%')))
        name = name.mid(1).trimmed();
    if (isTagged(name))
        return translatorOnly(header.slot, withTag(name, header.flags));

    TitanScriptInfo info = named(header.slot, name);
    if (name.isEmpty() || data.size() - offset < 2)
        return info;
    info.version =
        QStringLiteral("%1.%2").arg(data[offset]).arg(int{data[offset + 1]}, 2, 10, QLatin1Char('0'));
    offset += 2;
    info.author = readText(data, offset);
    // A tagged name right behind an empty author starts here as well, so it needs no rule of its own.
    info.inputTranslator = withTag(readText(data, offset), header.flags);
    return info;
}

TitanScriptInfo readSlot(const SlotHeader& header, Bytes data) {
    return header.kind == kKindTranslator ? readTranslator(header, data) : readScript(header, data);
}

} // namespace

QList<TitanScriptInfo> decodeSlotListing(std::span<SlotListingPart> parts) {
    std::stable_sort(parts.begin(), parts.end(),
                     [](const SlotListingPart& left, const SlotListingPart& right) {
                         return left[kPartPlaceByte] < right[kPartPlaceByte];
                     });
    std::vector<std::uint8_t> stream;
    stream.reserve(parts.size() * kPartDataBytes);
    for (const SlotListingPart& part : parts)
        stream.insert(stream.end(), part.begin() + kPartDataBegin,
                      part.begin() + kPartDataBegin + kPartDataBytes);

    QList<TitanScriptInfo> scripts;
    std::size_t position = 0;
    for (int slot = 1; slot <= kLastSlot; ++slot) {
        const auto header = findHeader(stream, position, slot, slot);
        if (!header)
            break;
        const std::size_t begin = header->offset + kHeaderBytes;
        if (header->kind == kKindTranslator && header->flags == 0) { // an empty slot
            position = begin;
            continue;
        }
        const auto next = findHeader(stream, begin, slot + 1, kLastSlot);
        const std::size_t end = next ? next->offset : stream.size();
        scripts.append(readSlot(*header, Bytes(stream).subspan(begin, end - begin)));
        position = end;
    }
    return scripts;
}

} // namespace Vantor
