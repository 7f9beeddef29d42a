#include "simulator/memory_slots.h"

#include <algorithm>

namespace Vantor::simulator {

namespace {

constexpr std::size_t kEntryHeaderBytes = 7;
constexpr std::uint8_t kEntryOpcode = 0x10;
constexpr std::size_t kListedTextBytes = 63;
// A translator without any section that has a letter: without a bit its record would read as an empty slot.
constexpr std::uint8_t kOccupiedFlag = 0x01;

// Appends to a buffer; what does not fit is left out.
class Writer {
public:
    explicit Writer(std::span<std::uint8_t> target) : buffer(target) {}

    void put(std::uint8_t byte) noexcept {
        if (used < buffer.size())
            buffer[used] = byte;
        ++used;
    }
    void text(std::string_view bytes) noexcept {
        for (const char byte : bytes)
            put(static_cast<std::uint8_t>(byte));
        put(0);
    }
    bool overflowed() const noexcept { return used > buffer.size(); }
    std::size_t size() const noexcept { return std::min(used, buffer.size()); }

private:
    std::span<std::uint8_t> buffer;
    std::size_t used = 0;
};

std::string_view asText(std::span<const std::uint8_t> bytes) noexcept {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// Takes a zero-terminated text off the front; without its zero it is not taken for one.
std::string_view takeText(std::span<const std::uint8_t>& bytes) noexcept {
    const auto zero = std::find(bytes.begin(), bytes.end(), std::uint8_t{0});
    if (zero == bytes.end()) {
        bytes = {};
        return {};
    }
    const auto count = static_cast<std::size_t>(zero - bytes.begin());
    const std::string_view text = asText(bytes.first(count));
    bytes = bytes.subspan(count + 1);
    return text;
}

struct ScriptDescription {
    std::string_view title;
    std::uint8_t major = 0;
    std::uint8_t minor = 0;
    std::string_view author;
};

/// The script information stands between the entry header and the code.
ScriptDescription describeScript(std::span<const std::uint8_t> file) noexcept {
    const std::size_t codeOffset = std::size_t{file[1]} << 8 | file[2];
    auto rest = file.first(codeOffset).subspan(kEntryHeaderBytes);
    ScriptDescription description;
    description.title = takeText(rest);
    if (rest.size() >= 2) {
        description.major = rest[0];
        description.minor = rest[1];
        rest = rest.subspan(2);
        description.author = takeText(rest);
    }
    return description;
}

struct TranslatorDescription {
    std::string_view title;
    std::uint8_t flags = kOccupiedFlag;
};

struct SectionFlag {
    std::uint8_t tag;
    std::uint8_t flag;
};
constexpr std::array<SectionFlag, 5> kSectionFlags{
    {{0x21, 0x02}, {0x22, 0x02}, {0x30, 0x04}, {0x40, 0x08}, {0x51, 0x10}}};

/// Title and the kinds of map that are in it. What cannot be read has neither.
TranslatorDescription describeTranslator(std::span<const std::uint8_t> file) noexcept {
    TranslatorDescription description;
    if (file.size() < 4 || file[0] != kEntryOpcode || file[1] == 0 || file[1] + std::size_t{2} > file.size())
        return description;
    auto title = file.subspan(2, file[1]);
    description.title = takeText(title);
    std::uint8_t flags = 0;
    for (auto rest = file.subspan(file[1] + std::size_t{2}); rest.size() >= 2 && rest[0] != 0;) {
        for (const SectionFlag& section : kSectionFlags)
            flags |= section.tag == rest[0] ? section.flag : 0;
        rest = rest.subspan(std::min<std::size_t>(rest.size(), rest[1] + std::size_t{2}));
    }
    if (flags != 0)
        description.flags = flags;
    return description;
}

const char* scriptProblem(std::span<const std::uint8_t> file) noexcept {
    if (file.size() > MemorySlots::kMaxScriptBytes)
        return "the file is longer than 8192 bytes";
    if (file.size() < kEntryHeaderBytes)
        return "the file is shorter than its entry header";
    if (file[0] != kEntryOpcode)
        return "the file does not begin with the jump opcode";
    const std::size_t codeOffset = std::size_t{file[1]} << 8 | file[2];
    if (codeOffset < kEntryHeaderBytes || codeOffset >= file.size())
        return "the code offset lies outside the file";
    return nullptr;
}

const char* translatorProblem(std::span<const std::uint8_t> file) noexcept {
    if (file.size() > MemorySlots::kMaxTranslatorBytes)
        return "the file is longer than 254 bytes";
    return file.empty() ? "the file is empty" : nullptr;
}

constexpr bool isSlot(unsigned slot) noexcept {
    return slot >= 1 && slot <= kMemorySlots;
}

} // namespace

const char* MemorySlots::keep(unsigned slot, SlotPart part, std::span<const std::uint8_t> file) noexcept {
    if (!isSlot(slot))
        return "there is no such slot";
    Slot& place = places[slot - 1];
    if (part == SlotPart::translator) {
        if (const char* problem = translatorProblem(file))
            return problem;
        std::copy(file.begin(), file.end(), place.translator.begin());
        place.translatorBytes = file.size();
        return nullptr;
    }
    if (const char* problem = scriptProblem(file))
        return problem;
    std::copy(file.begin(), file.end(), place.script.begin());
    place.scriptBytes = file.size();
    return nullptr;
}

void MemorySlots::clear(unsigned slot, SlotPart part) noexcept {
    if (!isSlot(slot))
        return;
    Slot& place = places[slot - 1];
    (part == SlotPart::script ? place.scriptBytes : place.translatorBytes) = 0;
}

std::span<const std::uint8_t> MemorySlots::file(unsigned slot, SlotPart part) const noexcept {
    if (!isSlot(slot))
        return {};
    const Slot& place = places[slot - 1];
    if (part == SlotPart::script)
        return std::span(place.script).first(place.scriptBytes);
    return std::span(place.translator).first(place.translatorBytes);
}

bool MemorySlots::isEmpty(unsigned slot) const noexcept {
    return file(slot, SlotPart::script).empty() && file(slot, SlotPart::translator).empty();
}

std::size_t MemorySlots::writeListing(std::span<std::uint8_t, kListingBytes> stream) const noexcept {
    Writer writer(stream);
    for (unsigned slot = 1; slot <= kMemorySlots; ++slot) {
        const auto script = file(slot, SlotPart::script);
        const auto translator = file(slot, SlotPart::translator);
        const TranslatorDescription inputs = translator.empty()
                                                 ? TranslatorDescription{.title = {}, .flags = 0}
                                                 : describeTranslator(translator);
        writer.put(static_cast<std::uint8_t>(slot));
        writer.put(script.empty() ? 0 : 1);
        writer.put(inputs.flags);
        if (!script.empty()) {
            const ScriptDescription description = describeScript(script);
            for (int unknown = 0; unknown < 4; ++unknown)
                writer.put(0);
            writer.text(description.title.substr(0, kListedTextBytes));
            writer.put(description.major);
            writer.put(description.minor);
            writer.text(description.author.substr(0, kListedTextBytes));
        }
        if (!isEmpty(slot))
            writer.text(inputs.title.substr(0, kListedTextBytes));
    }
    static_assert(kListingBytes >= kMemorySlots * (3 + 4 + 2 + 3 * (kListedTextBytes + 1)));
    return writer.size();
}

std::size_t writeIdleScript(std::span<std::uint8_t> file, std::string_view title, std::uint8_t major,
                            std::uint8_t minor, std::string_view author) noexcept {
    constexpr std::uint8_t kEndInit = 0x01;
    constexpr std::uint8_t kEndMain = 0x00;
    const std::size_t codeOffset = kEntryHeaderBytes + title.size() + author.size() + 4;
    Writer writer(file);
    writer.put(kEntryOpcode);
    writer.put(static_cast<std::uint8_t>(codeOffset >> 8));
    writer.put(static_cast<std::uint8_t>(codeOffset));
    for (int stamp = 0; stamp < 4; ++stamp)
        writer.put(0);
    writer.text(title);
    writer.put(major);
    writer.put(minor);
    writer.text(author);
    writer.put(kEndInit);
    writer.put(kEndMain);
    return writer.overflowed() || codeOffset > 0xFFFF ? 0 : writer.size();
}

} // namespace Vantor::simulator
